// vesk-radio-check over the same world: nothing differs, and what is put in on purpose is named.
#include "tests/radio/world.h"

namespace {

struct Case {
    const char *environment, *found; // the lines that differ, as "OF VALUE"
};
const Case cases[] = {
    { "", "" },
    { "VESK_FAULTS=1 ", "phy0 power phy1 power wlan1o list of stations" },
};

/** Findings with a verdict, each on one line. */
std::string findings(const std::string &json, const std::string &verdict) {
    std::string all;
    size_t at = 0;
    const auto text = [&](const char *key) {
        at = json.find('"', json.find(':', json.find(std::string("\"") + key + "\"", at))) + 1;
        return json.substr(at, json.find('"', at) - at);
    };
    while ((at = json.find("\"of\"", at)) != std::string::npos) {
        const std::string of = text("of"), value = text("value");
        if (text("verdict") == verdict) all += (all.empty() ? "" : " ") + of + " " + value;
    }
    return all;
}

/** Rule 8: reading takes no capability. */
TEST(Check, NamesWhatDiffersAndNothingElse) {
    const Joined telephone("wlan2", LINDENHOF_24), node("wlan3", 0);
    for (const Case &c : cases) {
        const std::string json =
            sh(c.environment + std::string("LD_PRELOAD=/vesk/lib/faults/libfaults.so"
                                           " /vesk/setpriv --bounding-set=-all vesk-radio-check --json; echo $?"));
        EXPECT_EQ(findings(json, "differs"), c.found) << json;
        EXPECT_TRUE(json.ends_with(*c.found ? "\n1\n" : "\n0\n"));
        EXPECT_NE(findings(json, "same").find("wlan0 " + phone + " signal avg"), std::string::npos);
        EXPECT_NE(findings(json, "absent").find("phy0 load"), std::string::npos);
    }
}

} // namespace
