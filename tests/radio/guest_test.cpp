// The guest itself: without these the other tests would prove nothing.
#include "tests/radio/world.h"

namespace {

TEST(Guest, HasSixRadios) {
    EXPECT_EQ(join_words(find_all(sh("ls /sys/class/ieee80211"), "phy[0-9]+")), "phy0 phy1 phy2 phy3 phy4 phy5");
}

TEST(Guest, TimeIsVirtual) {
    const auto before = Clock::now();
    sh("sleep 120");
    EXPECT_GE(Clock::now() - before, 120s);
}

struct Bss {
    const char *name, *line; // the line is one of `iw dev NAME info`
};
const Bss bsses[] = {
    { "wlan0", "ssid Lindenhof$" },
    { "wlan0", "channel 6 \\(2437 MHz\\), width: 20 MHz" },
    { "wlan0b", "ssid Lindenhof-bh$" },
    { "wlan0s", "ssid Lindenhof-sae$" },
    { "wlan1", "channel 36 \\(5180 MHz\\), width: 80 MHz, center1: 5210 MHz" },
    { "wlan1b", "type AP$" },
    { "wlan1o", "ssid Lindenhof-Gast$" },
    { "wlan5", "channel 149 \\(5745 MHz\\), width: 80 MHz" },
};

TEST(Guest, AccessPointsAreUp) {
    for (const Bss &bss : bsses) {
        SCOPED_TRACE(bss.name);
        const std::string info = sh(std::string("iw dev ") + bss.name + " info");
        EXPECT_NE(find(info, bss.line), "") << bss.line << " in\n" << info;
        EXPECT_EQ(read_file(std::string("/sys/class/net/") + bss.name + "/operstate"), "up\n");
    }
}

struct Link {
    const char *name, *station;
    int network;
    const char *seen; // the interface that lists it
};
const Link links[] = {
    { "2.4 GHz", "wlan2", LINDENHOF_24, "wlan0" },
    { "5 GHz", "wlan2", LINDENHOF_5, "wlan1" },
    { "open", "wlan2", GUESTS, "wlan1o" },
    { "backhaul, on an interface of its own", "wlan3", 0, "wlan1b.sta1" },
};

TEST(Guest, StationsJoin) {
    for (const Link &link : links) {
        SCOPED_TRACE(link.name);
        const Joined joined(link.station, link.network);
        const std::string dump = sh(std::string("iw dev ") + link.seen + " station dump");
        EXPECT_NE(find(dump, "authorized:\\s*yes"), "") << dump;
    }
}

TEST(Guest, AccessPointsScan) {
    const std::string heard = sh("iw dev wlan0 scan freq 2412 flush ap-force passive");
    EXPECT_NE(find(heard, "SSID: Familie Petersen"), "") << heard;
}

} // namespace
