// Scans of librilk.so on the radios' access points, against iw's survey and its list of what was heard.
#include "include/rilk.h"

#include <algorithm>
#include <thread>

#include "tests/radio/table.h"

namespace {

const uint32_t channels[] = { 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 36, 52, 149 };
constexpr int channel_count = sizeof channels / sizeof *channels;

/** The daemon's tables. */
struct Scan : testing::Test {
    VeskScanChannel records[channel_count] = {};
    VeskScanChannel *pointers[channel_count];
    std::vector<VeskScanNeighbor *> neighbors =
        std::vector<VeskScanNeighbor *>(VESK_SCAN_CHANNELS * VESK_SCAN_NEIGHBORS_PER_CHANNEL);
    Clock::duration quickest = 1h; // of the triggers: the guest's one CPU may let the scan's thread go first

    Scan() {
        for (int i = 0; i < channel_count; i++) pointers[i] = &records[i];
        rilk_initDriver();
        rilk_initScanChannelList(channels, channel_count);
    }
    ~Scan() override {
        for (VeskScanNeighbor *neighbor : neighbors) free(neighbor);
    }

    /** Triggers, waits as the daemon does, fetches. */
    const VeskScanChannel &visit(const std::string &phy, int channel, const std::string &vap) {
        VeskScanParam param = { static_cast<uint8_t>(channel), 150, 0, "" };
        snprintf(param.baseVap, sizeof param.baseVap, "%s", vap.c_str());
        const auto begin = Clock::now();
        EXPECT_EQ(rilk_triggerScan(phy.c_str(), &param), 0);
        const auto took = Clock::now() - begin;
        EXPECT_LE(took, 50ms) << "a scan of one channel takes 125 ms";
        quickest = std::min(quickest, took);
        std::this_thread::sleep_for(500ms);
        EXPECT_EQ(rilk_getScanNeighborApOneChannel(phy.c_str(), channel, neighbors.data()), 0);
        EXPECT_EQ(rilk_getScanChannelResult(phy.c_str(), pointers), 0);
        return records[std::ranges::find(channels, static_cast<uint32_t>(channel)) - channels];
    }

    std::string kept(int channel) const {
        std::vector<std::string> all;
        for (const VeskScanNeighbor *n : neighbors) {
            if (n && n->ch == channel) all.push_back(text("%s '%s' %d", n->bssid, n->ssid, n->rssi));
        }
        std::ranges::sort(all);
        return join_words(all);
    }
};

std::string heard_text(const std::string &interface, int frequency) {
    std::vector<std::string> all;
    for (const Heard &heard : heard_on(interface, frequency))
        all.push_back(heard.bssid + " '" + heard.ssid + "' " + heard.rssi);
    return join_words(all);
}

struct Visit {
    const char *name, *phy, *vap;
    int channel, frequency;
    bool radar;
    size_t networks;
};
const Visit visits[] = {
    { "two neighbours, one of them hidden", "phy0", "wlan0", 1, 2412, false, 2 },
    { "nobody", "phy0", "wlan0", 9, 2452, false, 0 },
    { "the operating channel, which the driver doesn't survey", "phy0", "wlan0", 6, 2437, false, 0 },
    { "on a backhaul BSS", "phy0", "wlan0b", 1, 2412, false, 2 },
    { "a radar channel", "phy1", "wlan1", 52, 5260, true, 0 },
    { "a neighbour at 5 GHz", "phy1", "wlan1", 149, 5745, false, 1 },
};

TEST_F(Scan, EqualsTheTruth) {
    for (const Visit &v : visits) {
        SCOPED_TRACE(v.name);
        sh(std::string("iw dev ") + v.vap + " scan freq 2462 5825 flush ap-force passive"); // forgets what was heard
        const VeskScanChannel &got = visit(v.phy, v.channel, v.vap);
        EXPECT_EQ(text("%d %d", got.chnUtil, got.noise), surveyed(v.vap, v.frequency));
        EXPECT_EQ(got.ch, v.channel);
        EXPECT_EQ(got.cac, v.radar);
        EXPECT_EQ(got.inC, static_cast<int>(v.networks));
        EXPECT_EQ(kept(v.channel), heard_text(v.vap, v.frequency));
        EXPECT_EQ(heard_on(v.vap, v.frequency).size(), v.networks);
    }
    EXPECT_LE(quickest, 5ms);
}

TEST_F(Scan, WhatNeighboursSayOfThemselves) {
    visit("phy0", 1, "wlan0");
    visit("phy1", 149, "wlan1");
    std::vector<std::string> said;
    for (const VeskScanNeighbor *n : neighbors) {
        if (n) said.push_back(text("%s width=%d privacy=%d %s", n->ssid, n->value1, n->value2 >> 4 & 1, n->text));
    }
    std::ranges::sort(said);
    EXPECT_EQ(said,
              (std::vector<std::string>{ " width=20 privacy=0 OPEN", "Familie Petersen width=20 privacy=1 WPA2-PSK",
                                         "Werkstatt width=80 privacy=1 WPA3-SAE" }));
}

TEST_F(Scan, WaitsForAnother) {
    for (int i = 0; i < 5; i++) {
        records[2] = {};
        sh("iw dev wlan0 scan trigger freq 2417 ap-force passive");
        EXPECT_EQ(visit("phy0", 3, "wlan0").ch, 3);
        EXPECT_EQ(text("%d %d", records[2].chnUtil, records[2].noise), surveyed("wlan0", 2422));
    }
}

TEST_F(Scan, ANeighbourThatIsGoneIsReplaced) {
    visit("phy1", 149, "wlan1");
    EXPECT_NE(kept(149), "");
    sh("hostapd_cli -p /run/neighbor -i wlan5 disable");
    visit("phy1", 149, "wlan1");
    EXPECT_EQ(kept(149), "");
    sh("hostapd_cli -p /run/neighbor -i wlan5 enable");
    EXPECT_TRUE(within(20s, [] { return is_up("wlan5") == "1"; }));
}

} // namespace
