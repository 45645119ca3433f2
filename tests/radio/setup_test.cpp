// vesk-setup on the guest's radios: the daemon answers from its file as it does from the one written by hand.
#include "tests/radio/table.h"

namespace {

/** Where both files speak of the same: how many radios, the radio's names, every interface and its role. */
std::string answers() {
    sh("LD_LIBRARY_PATH=/vesk/lib/nl80211 vesk >/dev/null 2>&1 &");
    const bool is_up = within(30s, [] { return sh("veskctl version").starts_with("vesk "); });
    const std::string said = is_up ? sh("veskctl call getRadioCapability; veskctl vaps; veskctl radios;"
                                        " for i in 0 3; do veskctl call getBstaIntfInfo $i; done")
                                   : "no daemon";
    sh("killall vesk");
    within(10s, [] { return sh("pidof vesk").empty(); });
    return said;
}

TEST(Setup, TheDaemonAnswersAsFromTheFileWrittenByHand) {
    sh("vesk-busd >/dev/null 2>&1 &");
    const std::string by_hand = answers();
    EXPECT_EQ(find_all(by_hand, "wlan0s|wlan1o|bsta0").size(), 3u) << by_hand;
    EXPECT_NE(sh("vesk-setup").find("is there already"), std::string::npos);
    const std::string said = sh("vesk-setup --force");
    EXPECT_NE(said.find("wlan0 is in no bridge"), std::string::npos) << said;
    EXPECT_EQ(said.find("control socket"), std::string::npos) << said;
    EXPECT_EQ(answers(), by_hand) << said << read_file("/usr/etc/kor-product-cfg.json");
    sh("cp /etc/radio/kor-product-cfg.json /etc/radio/vesk-radio.json /usr/etc/; killall vesk-busd");
}

} // namespace
