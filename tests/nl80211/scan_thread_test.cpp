// Scans: the thread that runs them, what is kept of them, and the daemon's threads that ask for it at the same time.
#include "platform/nl80211/netlink.h"
#include "platform/nl80211/scan.h"
#include "tests/nl80211/world.h"

#include <unistd.h>

#include <algorithm>

namespace {

constexpr uint32_t CHANNELS[] = { 1, 6, 11, 36, 60 };
constexpr size_t COUNT = std::size(CHANNELS);
using Table = std::vector<VeskScanNeighbor *>;

Blob heard(uint8_t last, uint32_t frequency, int mbm, uint32_t age) {
    return nest(NL80211_ATTR_BSS, { mac(NL80211_BSS_BSSID, last), number(NL80211_BSS_FREQUENCY, frequency),
                                    number(NL80211_BSS_SIGNAL_MBM, mbm), number(NL80211_BSS_SEEN_MS_AGO, age),
                                    attribute(NL80211_BSS_INFORMATION_ELEMENTS, "\0\3Bar", 5) });
}

struct ScanThread : World {
    ScanThread() {
        clock_stop();
        rilk_initDriver();
        rilk_initScanChannelList(CHANNELS, COUNT);
        for (size_t i = 0; i < COUNT; i++) {
            records[i].smoothedNoise = -77.5;
            channels[i] = &records[i];
        }
        kernel.on(NL80211_CMD_TRIGGER_SCAN, [&](const Asked &asked) {
            if (busy-- > 0) return Reply{ {}, -EBUSY };
            const int wiphy = asked.frequency < 3000 ? 0 : 1;
            kernel.send_event(NL80211_CMD_NEW_SCAN_RESULTS, 1 - wiphy); // the other radio's
            if (ending) kernel.send_event(ending, wiphy);
            return Reply{};
        });
    }
    ~ScanThread() override {
        for (VeskScanNeighbor *block : table) free(block);
    }

    int trigger(const char *radio, int channel, const char *ifName = "wlan0", int dwell = 150) {
        VeskScanParam param = { .channel = static_cast<uint8_t>(channel), .dwell = dwell };
        std::string(ifName).copy(param.baseVap, sizeof param.baseVap);
        return rilk_triggerScan(radio, &param);
    }
    std::vector<Asked> triggered() { return kernel.asked(NL80211_CMD_TRIGGER_SCAN); }
    /** Asks until a channel of the list has a result, or until the kernel was asked for `count` scans. */
    bool has_result(size_t i) {
        for (int tries = 0; tries < 5000 && records[i].ch == 0; tries++) {
            usleep(2000);
            rilk_getScanChannelResult(i < 3 ? "phy0" : "phy1", channels);
        }
        return records[i].ch != 0;
    }
    bool asked_for(size_t count) {
        for (int tries = 0; tries < 5000 && triggered().size() < count; tries++) usleep(2000);
        return triggered().size() >= count;
    }
    VeskScanNeighbor *&slot(size_t row, size_t at) { return table[row * VESK_SCAN_NEIGHBORS_PER_CHANNEL + at]; }

    std::atomic<int> busy = 0;
    std::atomic<uint8_t> ending = NL80211_CMD_NEW_SCAN_RESULTS; // 0: the scan never ends
    VeskScanChannel records[COUNT] = {};
    VeskScanChannel *channels[COUNT];
    Table table = Table(VESK_SCAN_CHANNELS * VESK_SCAN_NEIGHBORS_PER_CHANNEL);
};

TEST_F(ScanThread, AScanFromItsRequestToItsFigures) {
    ASSERT_EQ(trigger("phy0", 1), 0);
    ASSERT_TRUE(has_result(0));
    const Asked asked = triggered()[0];
    EXPECT_EQ(std::tuple(asked.ifindex, asked.frequency, asked.flags, asked.active, asked.duration),
              std::tuple(2u, 2412u, uint32_t{ NL80211_SCAN_FLAG_AP }, false, -1));
    EXPECT_EQ(std::tuple(int{ records[0].ch }, int{ records[0].noise }, int{ records[0].cac }), std::tuple(1, -92, 0));
    EXPECT_EQ(double{ records[0].smoothedNoise }, -77.5);
    EXPECT_EQ(int{ records[1].ch }, 0) << "not scanned";
    EXPECT_TRUE(logged("takes no dwell time"));
}

TEST_F(ScanThread, NeighboursOfTheScannedChannel) {
    EXPECT_EQ(rilk_getScanNeighborApOneChannel("phy0", 6, table.data()), 0) << "not scanned yet";
    EXPECT_EQ(slot(1, 0), nullptr);
    kernel.on(NL80211_CMD_GET_SCAN, [](const Asked &) {
        auto messages = recorded("scan");
        const uint8_t age[] = { 8, 0, NL80211_BSS_SEEN_MS_AGO, 0 }; // 28 ms, recorded
        const auto at = std::search(messages[0].begin(), messages[0].end(), std::begin(age), std::end(age));
        if (at != messages[0].end()) at[4] = 0;
        messages.push_back(heard(1, 2437, -7550, 0));
        messages.push_back(heard(2, 2437, -5000, 60000)); // of an earlier scan
        messages.push_back(heard(3, 2412, -5000, 0));     // of another channel
        return Reply{ messages };
    });
    ASSERT_EQ(trigger("phy0", 6), 0);
    ASSERT_TRUE(has_result(1));
    ASSERT_EQ(rilk_getScanNeighborApOneChannel("phy0", 6, table.data()), 0);
    EXPECT_EQ(int{ records[1].inC }, 2);
    ASSERT_TRUE(slot(1, 0) && slot(1, 1) && !slot(1, 2) && !slot(0, 0));
    EXPECT_STREQ(slot(1, 0)->bssid, "02:00:00:00:05:00");
    EXPECT_STREQ(slot(1, 0)->ssid, "upstream");
    EXPECT_STREQ(slot(1, 0)->text, "WPA2-PSK/WPA3-SAE");
    EXPECT_EQ(std::tuple(int{ slot(1, 0)->ch }, int{ slot(1, 0)->rssi }, int{ slot(1, 0)->value1 },
                         int{ slot(1, 0)->value2 }),
              std::tuple(6, -20, 20, 0x411));
    EXPECT_STREQ(slot(1, 1)->ssid, "Bar");
    EXPECT_EQ(int{ slot(1, 1)->rssi }, -75);
    VeskScanNeighbor *old = slot(1, 0);
    for (int i = 0; i < 3; i++) rilk_getScanNeighborApOneChannel("phy0", 6, table.data());
    EXPECT_NE(slot(1, 0), old);
    EXPECT_STREQ(old->ssid, "upstream") << "replaced, and still readable";
    clock_advance(radio::scanBlockLife + 1);
    rilk_getScanNeighborApOneChannel("phy0", 6, table.data());
    EXPECT_STREQ(slot(1, 0)->ssid, "upstream");
}

struct RequestCase {
    const char *name, *radio;
    int channel;
    const char *ifName;
    int result;
};
const RequestCase requests[] = {
    { "no such radio", "phy9", 6, "wlan0", -1 },
    { "no radio of ours", "phy4", 36, "wlan4", -1 },
    { "channel of the other band", "phy0", 36, "wlan0", -1 },
    { "no channel", "phy1", 35, "wlan1", -1 },
    { "interface of the other radio", "phy0", 6, "wlan1", -1 },
    { "no interface", "phy0", 6, "", -1 },
    { "an interface that isn't there", "phy0", 6, "wlan7", -1 },
    { "a name without an end", "phy0", 6, "0123456789abcdefg", -1 },
    { "a channel that is off the list", "phy0", 13, "wlan0", 0 }, // and one that the kernel has disabled: no result
};

TEST_F(ScanThread, RefusedRequests) {
    for (const RequestCase &c : requests) EXPECT_EQ(trigger(c.radio, c.channel, c.ifName), c.result) << c.name;
    EXPECT_EQ(rilk_triggerScan("phy0", nullptr), -1);
    EXPECT_EQ(rilk_setMinMaxDwellTime("phy0", 0, 100) + rilk_setMinMaxDwellTime("phy0", 100, 99), -2);
    EXPECT_EQ(rilk_setMinMaxDwellTime("phy0", 55, 150), 0);
    EXPECT_EQ(rilk_getScanNeighborApOneChannel("phy0", 9, table.data()), -1);
    EXPECT_EQ(rilk_getScanNeighborApOneChannel("phy1", 6, table.data()), -1);
    EXPECT_EQ(rilk_initScanChannelList(nullptr, 3) + rilk_getScanChannelResult("phy0", nullptr), -2);
    int taken = 0;
    ending = 0;
    while (taken < 100 && trigger("phy0", 6) == 0) taken++;
    EXPECT_TRUE(taken >= 63 && taken <= 65) << taken; // the queue, and the one under way
    kernel.send_event(NL80211_CMD_SCAN_ABORTED, 0);
    ending = NL80211_CMD_NEW_SCAN_RESULTS;
}

TEST_F(ScanThread, PassiveOrActive) {
    int count = 0;
    for (const auto &[radio, channel, ifName, dwell, active] : { std::tuple("phy0", 6, "wlan0", 99, true),
                                                                 { "phy0", 6, "wlan0", 100, false },
                                                                 { "phy1", 36, "wlan1", 55, true },
                                                                 { "phy1", 60, "wlan1", 55, false } }) { // radar
        ASSERT_EQ(trigger(radio, channel, ifName, dwell), 0);
        ASSERT_TRUE(asked_for(static_cast<size_t>(++count)));
        EXPECT_EQ(triggered().back().active, active) << channel << " " << dwell;
    }
    ASSERT_TRUE(has_result(4));
    EXPECT_EQ(int{ records[4].cac }, 1);
    EXPECT_EQ(std::tuple(int{ records[4].chnUtil }, int{ records[4].noise }), std::tuple(-1, -254))
        << "no survey of it";
}

TEST_F(ScanThread, DwellTimeWhereTheDriverTakesOne) {
    auto pieces = recorded("wiphy");
    constexpr size_t BIT = NL80211_EXT_FEATURE_SET_SCAN_DWELL;
    Blob features(BIT / 8 + 1);
    features[BIT / 8] = 1 << BIT % 8;
    pieces.push_back(attribute(NL80211_ATTR_EXT_FEATURES, features.data(), features.size()));
    kernel.on(NL80211_CMD_GET_WIPHY, { pieces });
    ASSERT_EQ(trigger("phy0", 1, "wlan0", 150), 0);
    ASSERT_TRUE(asked_for(1));
    EXPECT_EQ(triggered()[0].duration, 146); // units of 1.024 ms
}

TEST_F(ScanThread, ABusyRadioIsAskedAgainAndGivenUpInTime) {
    busy = 3; // for 60 ms
    kernel.on(NL80211_CMD_GET_SCAN, { { heard(1, 2412, -5000, 50) } });
    ASSERT_EQ(trigger("phy0", 1), 0);
    ASSERT_TRUE(has_result(0));
    EXPECT_EQ(triggered().size(), 4u);
    EXPECT_EQ(int{ records[0].inC }, 0) << "heard while the radio was busy with something else";
    busy = 1000000;
    ASSERT_EQ(trigger("phy0", 6), 0);
    ASSERT_TRUE(asked_for(4 + 26)); // each 20 ms for half a second
    busy = 0;
    ASSERT_EQ(trigger("phy0", 11), 0);
    ASSERT_TRUE(has_result(2));
    EXPECT_EQ(triggered().size(), 31u);
    EXPECT_EQ(int{ records[1].ch }, 0);
}

TEST_F(ScanThread, AScanThatWasAbortedLeavesWhatWasKnown) {
    ASSERT_EQ(trigger("phy0", 1), 0);
    ASSERT_TRUE(has_result(0));
    ending = NL80211_CMD_SCAN_ABORTED;
    kernel.on(NL80211_CMD_GET_SURVEY, Reply{});
    ASSERT_EQ(trigger("phy0", 1), 0);
    ASSERT_TRUE(asked_for(2));
    ending = NL80211_CMD_NEW_SCAN_RESULTS;
    ASSERT_EQ(trigger("phy0", 6), 0);
    ASSERT_TRUE(has_result(1));
    EXPECT_EQ(int{ records[0].noise }, -92);
    EXPECT_EQ(int{ records[1].noise }, -254);
}

TEST_F(ScanThread, TheWholeListInOneRequest) {
    ASSERT_EQ(trigger("phy0", 0), 0);
    for (const size_t i : { 0u, 1u, 2u }) EXPECT_TRUE(has_result(i)) << i;
    EXPECT_EQ(triggered().size(), 3u);
}

TEST_F(ScanThread, ReadersBesideScans) {
    std::atomic<bool> over = false;
    std::thread stations([&] {
        int32_t number;
        VeskCurChannelInfo info;
        while (!over) {
            rilk_getVapAssocStationNumber("wlan0", &number);
            rilk_getCurChannelInfo("phy0", &info);
        }
    });
    std::vector<std::thread> scanners;
    for (const size_t row : { 0u, 3u })
        scanners.emplace_back([&, row] {
            const char *radio = row < 3 ? "phy0" : "phy1";
            for (int i = 0; i < 40; i++) {
                trigger(radio, static_cast<int>(CHANNELS[row]), row < 3 ? "wlan0" : "wlan1");
                rilk_getScanNeighborApOneChannel(radio, static_cast<int>(CHANNELS[row]), table.data());
                usleep(1000);
            }
        });
    for (std::thread &scanner : scanners) scanner.join();
    over = true;
    stations.join();
    EXPECT_TRUE(has_result(0) && has_result(3));
}

} // namespace
