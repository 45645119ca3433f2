// The monitor's list and its routine on the virtual clock.
#include "tests/unit/fixtures.h"

struct StaMon : testing::Test {
    void SetUp() override { fake_reset(), vesk_sta_mon_destroy(); }
    static int set(int channel) { return vesk_sta_mon_set(STA.data(), channel); }
    static VeskStaMon *get(int channel) { return vesk_sta_mon_get(STA.data(), channel); }
    static void hear(int channel) {
        std::tie(get(channel)->rssi, get(channel)->lastProbeTime) = std::tuple(-70, 0x1234);
        strcpy(get(channel)->ifName, "ath10.v0");
    }
};

TEST_F(StaMon, ChannelZeroIsAWildcardOfTheQueryOnlyAndTheListIsBounded) {
    for (int channel : { 6, 11 }) EXPECT_EQ(set(channel), 0);
    EXPECT_EQ(get(0), get(11)); // newest first
    hear(11);
    fake_advance(7s);
    set(0); // takes over the newest
    EXPECT_FALSE(get(11));
    EXPECT_EQ(words(+get(0)->channel, +get(0)->rssi, get(0)->queryTime, get(6)->queryTime), "0 -70 1007 1000 ");
    vesk_sta_mon_remove(STA.data(), 6);
    EXPECT_FALSE(get(6));
    EXPECT_TRUE(get(0));
    EXPECT_EQ(vesk_sta_mon_remove(STA.data(), 6), 0);
    vesk_sta_mon_remove(STA.data(), 0);
    vesk_get_vesk_info()->logLevel = 3;
    fakeLibc.failAlloc = 0;
    EXPECT_EQ(set(1), -1);
    EXPECT_FALSE(get(0));
    EXPECT_EQ(vesk_sta_mon_set(nullptr, 1), -1);
    for (int channel = 1; channel <= 1024; channel++) ASSERT_EQ(set(channel), 0);
    EXPECT_EQ(words(set(2000), set(7)), "-1 0 "); // a refresh needs no room
}

TEST_F(StaMon, RoutineReportsEachRequestOnceAndDropsItAfterAnHour) {
    vesk_start_sta_mon_timer();
    set(1), set(2), set(0x106); // the last one is the head
    fake_advance(29999ms);
    const std::string line = " vesk_sta_mon_routine_check: common check, current time = 1030\n\n";
    EXPECT_FALSE(fake_logged("DEBUG", line));
    set(2); // a second younger as the routine sees it
    fake_advance(1ms);
    EXPECT_TRUE(fake_logged("DEBUG", line));
    hear(0x106); // owed until now
    fake_advance(60s);
    ASSERT_EQ(sent(), Texts{ "veskUnassocClientMetrics 31" });
    EXPECT_EQ(fakeBus.signals[0].payload,
              Bytes(31).text(0, "ath10.v0").put(16, STA).u8(22, 6).i32(23, -70).u16(27, 0x1234));
    vesk_stop_sta_mon_timer();
    fake_advance(3509s), vesk_sta_mon_routine_check(nullptr);
    for (int channel : { 0x106, 2, 1 }) EXPECT_TRUE(get(channel)) << channel; // 3599 seconds
    get(0x106)->needReport = 1;
    fake_advance(1s), vesk_sta_mon_routine_check(nullptr);
    EXPECT_EQ(sent().size(), 2u); // goes out before its node does
    for (int channel : { 0x106, 2, 1 }) EXPECT_EQ(get(channel) != nullptr, channel == 2) << channel;
    EXPECT_TRUE(fake_logged("INFO", " monotor timeout. it's not head node, remove\n\n"));
}
