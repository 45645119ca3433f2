// The client of the control sockets, and vesk-radio.json, which says where they are.
#include "platform/nl80211/config.h"
#include "platform/nl80211/ctrl.h"
#include "tests/nl80211/world.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace radio;

namespace {

struct Ctrl : World {
    const std::string path = root + "/run/hostapd/wlan0";
    char reply[64] = "untouched";
    int ask(const std::string &where, const char *command) {
        return ctrl_ask(where.c_str(), command, reply, sizeof reply);
    }
};

TEST_F(Ctrl, Replies) {
    FakeHostapd hostapd(path, { { "PING", "PONG\n" },
                                { "EMPTY", "" },
                                { "BESIDE", "<3>AP-STA-CONNECTED\fOK\n" },
                                { "LONG", std::string(200, 'x') },
                                { "SET", "OK\n" },
                                { "DENY", "FAIL\n" },
                                { "OKAY", "UNKNOWN COMMAND\n" } });
    for (const auto &[command, expected] : { std::pair("PING", std::string("PONG\n")),
                                             { "EMPTY", "" },
                                             { "LONG", std::string(63, 'x') },
                                             { "BESIDE", "OK\n" } }) {
        EXPECT_EQ(ask(path, command), 0);
        EXPECT_EQ(reply, expected);
    }
    EXPECT_EQ(ctrl_tell(CtrlPeer::accessPoint, "wlan0", "SET %s %d", "rrm_beacon_report", 1), 0);
    EXPECT_EQ(hostapd.commands().back(), "SET rrm_beacon_report 1");
    for (const char *command : { "DENY", "OKAY" })
        EXPECT_EQ(ctrl_tell(CtrlPeer::accessPoint, "wlan0", "%s", command), -1);
    EXPECT_EQ(ctrl_tell(CtrlPeer::accessPoint, "wlan0", "SET %s", std::string(4092, 'x').c_str()), -1);
    for (const char *name : { "wlan1", "", "../wlan0", "a/b", "0123456789abcdef" })
        EXPECT_EQ(ctrl_tell(CtrlPeer::accessPoint, name, "SET"), -1) << name;
}

TEST_F(Ctrl, NobodyToAsk) {
    EXPECT_EQ(ask(path, "PING"), ctrlNobody) << "no socket";
    EXPECT_EQ(ask("/" + std::string(107, 'x'), "PING"), ctrlNobody);
    EXPECT_TRUE(logged("path of a control socket is too long"));
    const std::string stale = root + "/stale"; // left behind by one that was killed
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    stale.copy(address.sun_path, sizeof address.sun_path - 1);
    const int fd = socket(AF_UNIX, SOCK_DGRAM, 0);
    EXPECT_EQ(bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    close(fd);
    EXPECT_EQ(ask(stale, "PING"), ctrlNobody);
    EXPECT_STREQ(reply, "untouched");
}

TEST_F(Ctrl, OneThatIsSilentIsLetAloneForAWhile) {
    FakeHostapd hostapd(path, {});
    ctrl_set_patience(ctrlPatience);
    EXPECT_EQ(ask(path, "PING"), -1);
    EXPECT_TRUE(logged("no reply within 50 ms"));
    hostapd.say("PING", "PONG");
    for (int i = 0; i < 3; i++) EXPECT_EQ(ask(path, "PING"), ctrlNobody);
    EXPECT_EQ(hostapd.commands().size(), 1u);
    clock_advance(ctrlRest);
    ctrl_set_patience(20000);
    EXPECT_EQ(ask(path, "PING"), 0);
}

struct ConfigCase {
    const char *json, *logged;
};
const ConfigCase configs[] = {
    { "[]", "vesk-radio.json: isn't a JSON object" },
    { "{", "vesk-radio.json: isn't a JSON object" },
    { R"({"rolle": 1})", ": rolle: nobody knows this key" },
    { R"({"role": "1"})", ": role: should be a number from 0 to 255" },
    { R"({"role": 256})", ": role: should be a number" },
    { R"({"radios": {}})", ": radios: should be a list of at most two objects" },
    { R"({"radios": [{}, {}, {}]})", ": radios: should be a list" },
    { R"({"radios": [{}, 7]})", ": radios[1]. should be an object" },
    { R"({"radios": [{}, {"acs": 2}]})", ": radios[1].acs: should be true or false" },
    { R"({"radios": [{"chip": "0123456789abcdef"}]})", ": radios[0].chip: should be a text of at most 15" },
    { R"({"radios": [{"excluded": [1, "x"]}]})", ": radios[0].excluded: should be a list of at most 64" },
    { R"({"hostapdConfig": ["a", 1]})", ": hostapdConfig: should be a path, or a list" },
    { R"({"csaCount": 0})", ": csaCount: should be a number from 1 to 255" },
};

TEST_F(Ctrl, ConfigurationFaultsAreNamedAndTheRestHolds) {
    for (const ConfigCase &c : configs) {
        SCOPED_TRACE(c.json);
        std::string json = c.json;
        if (json[0] == '{' && json.size() > 1) json.insert(1, R"("wpaDir": "/wpa", )");
        put("/usr/etc/vesk-radio.json", json);
        config_forget();
        EXPECT_STREQ(config_get().wpaDir, json.size() > 2 ? "/wpa" : "");
        EXPECT_TRUE(logged(c.logged)) << log;
        EXPECT_TRUE(config_get().role == 0 && config_get().radios[1].acs && config_get().radios[0].excludedCount == 0);
    }
}

TEST_F(Ctrl, Configuration) {
    put("/usr/etc/vesk-radio.json",
        R"({"radios": [{"phy": "phy7", "enabled": 0, "acs": false, "chip": "x", "excluded": [12, 13]}, {}], "role": 2,
            "roleFile": "/r", "hostapdDir": "/h", "hostapdConfig": ["/a", "/b"], "monitor": true, "csaCount": 9})");
    const Config &config = config_get();
    const RadioConfig &radio = config.radios[0];
    EXPECT_STREQ(radio.phy, "phy7");
    EXPECT_STREQ(radio.chip, "x");
    EXPECT_TRUE(!radio.enabled && !radio.acs && config.radios[1].enabled && config.radios[1].acs);
    EXPECT_TRUE(radio.excludedCount == 2 && radio.excluded[1] == 13 && config.role == 2 && config.monitor &&
                config.csaCount == 9);
    EXPECT_STREQ(config.hostapdConfig[1], "/b");
    Path where;
    ASSERT_TRUE(ctrl_path(CtrlPeer::accessPoint, "wlan0", where));
    EXPECT_EQ(where, root + "/h/wlan0");
    EXPECT_FALSE(logged("vesk-radio.json"));
}

} // namespace
