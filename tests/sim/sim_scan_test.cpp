// Visits of channels: when results arrive, what they say, and what becomes of the blocks that they replace.
#include "tests/sim/sim_fixture.h"

#include <algorithm>
#include <set>

namespace {

constexpr uint32_t CHANNELS[] = { 1, 6, 11, 36, 44 };
constexpr int DWELL = 60; // ms

/** The daemon's tables. */
struct SimScanTest : SimTest {
    void SetUp() override {
        SimTest::SetUp();
        rilk_initScanChannelList(CHANNELS, 5);
        for (size_t i = 0; i < 5; i++) channels[i] = &records[i], records[i].smoothedNoise = -77.5;
    }
    ~SimScanTest() override { std::ranges::for_each(table, free); }

    int trigger(const char *radio, int channel, const char *baseVap) {
        VeskScanParam param = { .channel = static_cast<uint8_t>(channel), .dwell = DWELL };
        sim_copy(param.baseVap, baseVap);
        return rilk_triggerScan(radio, &param);
    }

    void visit(int channel) {
        ASSERT_EQ(trigger("wifi0", channel, "ath0"), 0);
        sim_advance(DWELL);
        ASSERT_EQ(rilk_getScanNeighborApOneChannel("wifi0", channel, table.data()), 0);
        ASSERT_EQ(rilk_getScanChannelResult("wifi0", channels), 0);
    }

    VeskScanNeighbor *slot(size_t row, size_t at) { return table[row * VESK_SCAN_NEIGHBORS_PER_CHANNEL + at]; }

    VeskScanChannel records[5] = {};
    VeskScanChannel *channels[5];
    std::vector<VeskScanNeighbor *> table{ VESK_SCAN_CHANNELS * VESK_SCAN_NEIGHBORS_PER_CHANNEL, nullptr };
};

} // namespace

TEST_F(SimScanTest, ResultsComeAfterADwellForEachChannel) {
    describe(R"({"radios": [{"channels": [1, 6, 11]}]})");
    channels[1] = nullptr;
    ASSERT_EQ(trigger("wifi0", 0, "ath0"), 0); // the whole list
    for (const auto &[ms, first, last] :
         { std::tuple(DWELL - 1, 0, 0), { 1, 1, 0 }, { 2 * DWELL - 1, 1, 0 }, { 1, 1, 11 } }) {
        sim_advance(ms);
        rilk_getScanChannelResult("wifi0", channels);
        rilk_getScanNeighborApOneChannel("wifi0", 11, table.data());
        EXPECT_EQ(words(+records[0].ch, +records[2].ch, slot(2, 0) != nullptr), words(first, last, last != 0));
    }
    EXPECT_EQ(words(+records[1].ch, +records[3].ch, +records[0].smoothedNoise), "0 0 -77.5 ");
    EXPECT_LT(int{ records[0].noise }, -80);
}

TEST_F(SimScanTest, RefusedTriggers) {
    describe(R"({"radios": [{}, {"status": 0}]})");
    for (const auto &[radio, channel, baseVap] :
         { std::tuple("wifi0", 36, "ath0"), { "wifi0", 6, "" }, { "wifi0", 6, "ath10" }, { "wifi1", 36, "ath10" } })
        EXPECT_EQ(trigger(radio, channel, baseVap), -1) << radio << channel << baseVap;
}

TEST_F(SimScanTest, FiguresAreExactWhereDescribedAndMoveElsewhere) {
    describe(R"({"radios": [{"channels": [{"ch": 1, "util": 41, "noise": -254}, 6]}]})");
    std::set<int> utils;
    for (const int channel : { 1, 6, 6, 6, 6 }) {
        visit(channel);
        utils.insert(int{ records[1].chnUtil });
    }
    EXPECT_EQ(words(+records[0].chnUtil, +records[0].noise), "41 -254 ");
    EXPECT_GT(utils.size(), 2);
    EXPECT_GE(*utils.begin(), 0);
    EXPECT_LE(*utils.rbegin(), 100); // 0 before the first
}

TEST_F(SimScanTest, NeighborsComeAndGoAndOldBlocksStayReadable) {
    describe(R"({"radios": [{"neighbors": [
        {"channel": 11, "bssid": "02:00:00:00:00:01", "ssid": "always", "rssi": -40, "value1": 7, "text": "note"},
        {"channel": 11, "bssid": "02:00:00:00:00:02", "ssid": "at times", "visits": [1, 1]}]}]})");
    visit(11);
    VeskScanNeighbor *first = slot(2, 0), *second = slot(2, 1);
    ASSERT_TRUE(first);
    ASSERT_TRUE(second);
    EXPECT_EQ(words(first->bssid, first->text, +first->rssi), "02:00:00:00:00:01 note -40 ");
    visit(11);
    EXPECT_EQ(slot(2, 1), nullptr);
    EXPECT_NE(slot(2, 0), first);
    EXPECT_STREQ(second->bssid, "02:00:00:00:00:02"); // replaced, and still whole
    visit(11);
    ASSERT_NE(slot(2, 1), nullptr);
    EXPECT_STREQ(slot(2, 1)->ssid, "at times");
}

TEST_F(SimScanTest, RowHoldsAtMost128Neighbors) {
    std::string json = R"({"radios": [{"neighbors": [{"channel": 6})";
    for (int i = 1; i < 200; i++) json += R"(, {"channel": 6})";
    describe(json + "]}]}");
    visit(6);
    EXPECT_TRUE(slot(1, 127));
    EXPECT_FALSE(slot(2, 0));
}

TEST_F(SimScanTest, GarbageSparesTheSmoothedNoise) {
    describe(R"({"functions": {"rilk_getScanChannelResult": {"garbage": 255},
                               "rilk_getScanNeighborApOneChannel": {"garbage": true}}})");
    visit(6);
    EXPECT_EQ(words(+records[1].ch, +records[1].smoothedNoise, +records[3].ch), "-1 -77.5 0 "); // of the other radio
    ASSERT_NE(slot(1, 0), nullptr);
    EXPECT_EQ(memchr(slot(1, 0), 0, sizeof(VeskScanNeighbor)), nullptr);
}
