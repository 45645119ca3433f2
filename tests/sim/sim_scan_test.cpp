// Visits of channels: when results arrive, what they say, and what becomes of the blocks that they replace.
#include "tests/sim/sim_fixture.h"

#include <set>
#include <thread>

namespace
{

constexpr uint32_t CHANNELS[] = { 1, 6, 11, 36, 44 };
constexpr int DWELL = 60; // ms

/** The daemon's tables. */
class SimScanTest : public SimTest
{
protected:
    void SetUp() override
    {
        SimTest::SetUp();
        rilk_initScanChannelList(CHANNELS, 5);
        for (size_t i = 0; i < 5; i++) {
            records[i].smoothedNoise = -77.5;
            channels[i] = &records[i];
        }
    }
    void TearDown() override
    {
        for (VeskScanNeighbor *&slot : table) {
            free(slot);
            slot = nullptr;
        }
        SimTest::TearDown();
    }

    int trigger(const char *radio, int channel, const char *baseVap)
    {
        VeskScanParam param = {};
        param.channel = static_cast<uint8_t>(channel);
        param.dwell = DWELL;
        sim_copy(param.baseVap, baseVap);
        return rilk_triggerScan(radio, &param);
    }

    void visit(int channel)
    {
        ASSERT_EQ(trigger("wifi0", channel, "ath0"), 0);
        usleep((DWELL + 10) * 1000);
        ASSERT_EQ(rilk_getScanNeighborApOneChannel("wifi0", channel, table.data()), 0);
        ASSERT_EQ(rilk_getScanChannelResult("wifi0", channels), 0);
    }

    int result(size_t i) { return records[i].ch; }
    VeskScanNeighbor *slot(size_t row, size_t at)
    {
        return table[row * VESK_SCAN_NEIGHBORS_PER_CHANNEL + at];
    }

    VeskScanChannel records[5] = {};
    VeskScanChannel *channels[5];
    std::vector<VeskScanNeighbor *> table =
        std::vector<VeskScanNeighbor *>(VESK_SCAN_CHANNELS * VESK_SCAN_NEIGHBORS_PER_CHANNEL);
};

} // namespace

TEST_F(SimScanTest, ResultsComeAfterTheDwell)
{
    channels[2] = nullptr;
    ASSERT_EQ(trigger("wifi0", 6, "ath0"), 0);
    rilk_getScanChannelResult("wifi0", channels);
    rilk_getScanNeighborApOneChannel("wifi0", 6, table.data());
    EXPECT_EQ(result(1), 0);
    EXPECT_EQ(slot(1, 0), nullptr);
    usleep((DWELL + 10) * 1000);
    rilk_getScanChannelResult("wifi0", channels);
    EXPECT_EQ(result(0), 0);
    EXPECT_EQ(result(1), 6);
    EXPECT_EQ(double{ records[1].smoothedNoise }, -77.5);
    EXPECT_LT(int{ records[1].noise }, -80);
}

TEST_F(SimScanTest, WholeListTakesADwellForEachChannel)
{
    describe(R"({"radios": [{"channels": [1, 6, 11]}]})");
    ASSERT_EQ(trigger("wifi0", 0, "ath0"), 0);
    usleep((DWELL + 10) * 1000);
    rilk_getScanChannelResult("wifi0", channels);
    EXPECT_EQ(result(2), 0);
    usleep(2 * DWELL * 1000);
    rilk_getScanChannelResult("wifi0", channels);
    EXPECT_EQ(result(0), 1);
    EXPECT_EQ(result(2), 11);
    EXPECT_EQ(result(3), 0);
}

TEST_F(SimScanTest, RefusedTriggers)
{
    describe(R"({"radios": [{}, {"status": 0}]})");
    const struct {
        const char *radio;
        int channel;
        const char *baseVap;
    } rows[] = {
        { "wifi0", 36, "ath0" },  { "wifi0", 6, "" },     { "wifi0", 6, "ath10" },
        { "wifi1", 36, "ath10" }, { "wifi9", 6, "ath0" },
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(std::string(row.radio) + row.baseVap);
        EXPECT_EQ(trigger(row.radio, row.channel, row.baseVap), -1);
    }
}

TEST_F(SimScanTest, FiguresAreExactWhereDescribedAndMoveElsewhere)
{
    describe(R"({"radios": [{"channels": [{"ch": 1, "util": 41, "noise": -254, "inC": 0, "cac": 1}, 6]}]})");
    std::set<int> utils;
    for (int i = 0; i < 6; i++) {
        visit(6);
        utils.insert(records[1].chnUtil);
    }
    visit(1);
    EXPECT_EQ(int{ records[0].chnUtil }, 41);
    EXPECT_EQ(int{ records[0].noise }, -254);
    EXPECT_EQ(int{ records[0].inC }, 0);
    EXPECT_EQ(records[0].cac, 1);
    EXPECT_GT(utils.size(), 1u);
    for (const int util : utils) {
        EXPECT_GE(util, 0);
        EXPECT_LE(util, 100);
    }
}

TEST_F(SimScanTest, NeighborsComeAndGoAndOldBlocksStayReadable)
{
    describe(R"({"radios": [{"neighbors": [
        {"channel": 11, "bssid": "02:00:00:00:00:01", "ssid": "always", "rssi": -40, "value1": 7, "text": "note"},
        {"channel": 11, "bssid": "02:00:00:00:00:02", "ssid": "at times", "visits": [1, 1]}]}]})");
    visit(11);
    VeskScanNeighbor *first = slot(2, 0);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(int{ first->ch }, 11);
    EXPECT_STREQ(first->bssid, "02:00:00:00:00:01");
    EXPECT_STREQ(first->ssid, "always");
    EXPECT_STREQ(first->text, "note");
    EXPECT_EQ(int{ first->rssi }, -40);
    EXPECT_EQ(uint16_t{ first->value1 }, 7);
    VeskScanNeighbor *second = slot(2, 1);
    ASSERT_NE(second, nullptr);

    visit(11);
    EXPECT_EQ(slot(2, 1), nullptr);
    EXPECT_NE(slot(2, 0), first);
    EXPECT_STREQ(second->bssid, "02:00:00:00:00:02"); // replaced, and still whole
    visit(11);
    ASSERT_NE(slot(2, 1), nullptr);
    EXPECT_STREQ(slot(2, 1)->ssid, "at times");
}

TEST_F(SimScanTest, RowHoldsAtMost128Neighbors)
{
    std::string json = R"({"radios": [{"neighbors": [{"channel": 6})";
    for (int i = 1; i < 200; i++)
        json += R"(, {"channel": 6})";
    describe(json + "]}]}");
    visit(6);
    EXPECT_NE(slot(1, 127), nullptr);
    EXPECT_EQ(slot(2, 0), nullptr);
}

TEST_F(SimScanTest, GarbageSparesTheSmoothedNoise)
{
    describe(
        R"({"functions": {"rilk_getScanChannelResult": {"garbage": 255}, "rilk_getScanNeighborApOneChannel": {"garbage": true}}})");
    visit(6);
    EXPECT_EQ(result(1), -1);
    EXPECT_EQ(double{ records[1].smoothedNoise }, -77.5);
    EXPECT_EQ(result(3), 0); // of the other radio
    ASSERT_NE(slot(1, 0), nullptr);
    EXPECT_EQ(memchr(slot(1, 0), 0, sizeof(VeskScanNeighbor)), nullptr);
}

TEST_F(SimScanTest, SeveralThreadsAtOnce)
{
    const auto sweep = [this](const char *radio, const char *vap, std::vector<int> list) {
        for (int i = 0; i < 40; i++) {
            const int channel = list[static_cast<size_t>(i) % list.size()];
            trigger(radio, channel, vap);
            usleep(2000);
            rilk_getScanNeighborApOneChannel(radio, channel, table.data());
            rilk_getScanChannelResult(radio, channels);
        }
    };
    std::thread first(sweep, "wifi0", "ath0", std::vector<int>{ 1, 6, 11 });
    std::thread second(sweep, "wifi1", "ath10", std::vector<int>{ 36, 44 });
    for (int i = 0; i < 40; i++) {
        VeskCurChannelInfo info;
        rilk_getCurChannelInfo("wifi0", &info);
        describe(i % 2 ? R"({"role": 1})" : R"({"role": 2})");
        usleep(2000);
    }
    first.join();
    second.join();
    visit(1);
    EXPECT_EQ(result(0), 1);
}
