// The three refresh timers on the virtual clock, driven through the timer service where it is theirs.
#include "tests/unit/fixtures.h"

struct IntfPollTest : DeviceTest {
    void SetUp() override {
        DeviceTest::SetUp();
        scan->scanEnable = scan->scanEnableCfg = radio[0].intfPollEnable = radio[0].isIntfStatEnabled = 1;
        vesk_get_sta_info()->timeItv = vesk_get_sta_info()->isStaPollEnabled = 10;
        radio[0].intfPollItv = 30, radio[0].intfStatItv = 20;
    }
    void TearDown() override {
        vesk_deinit_devide_info();
        EXPECT_EQ(vesk_get_sta_info()->staDb.pool, nullptr);
        EXPECT_EQ(csrv_timer_count() + fakeLoop.pendingTimers(), 0) << "everything is stopped at the end";
    }
    static int refreshes() { return fakeDevice.count("hul_getRadioInfo") / 2 - 1; }
};

TEST_F(IntfPollTest, PollsUntilTheFirstTriggerAndNeverAgain) {
    vesk_init_device_info();
    fake_advance(59999ms);
    EXPECT_EQ(refreshes(), 1);
    vesk_retrigger_intf_timer(3); // not supported yet: nothing is armed, but polling ends and the scan stops
    EXPECT_EQ(vesk_get_scan_status(), 0);
    fake_advance(90s);
    radio[0].intfSupportTrigger = 1;
    vesk_retrigger_intf_timer(3), fake_advance(2s);
    vesk_retrigger_intf_timer(3), fake_advance(2999ms);
    EXPECT_EQ(refreshes(), 1);
    fakeDevice.radio[0].channel = 11; // found by the refresh, as the channel poller is off
    fake_advance(90s);
    EXPECT_EQ(refreshes(), 2) << "one for the burst";
    EXPECT_EQ(vesk_get_scan_status(), 1);
    EXPECT_EQ(radio[0].curChannel, 11);
    scan->scanEnableCfg = 0;
    vesk_retrigger_intf_timer(3), fake_advance(3s);
    EXPECT_EQ(vesk_get_scan_status(), 0) << "off by configuration";
    vesk_retrigger_intf_timer(3); // is stopped in the end, too
}

TEST_F(IntfPollTest, Statistics) {
    fakeDevice.addVap(0, "apcli0"); // the driver lists the backhaul station, too
    fakeDevice.vap("ath11")->status = 0;
    vesk_init_device_info(), fakeDevice.log.clear();
    fakeDevice.radio[0].status = 0, vesk_update_radio_info();
    fakeDevice.radio[0].ap.vapNums = 0; // all names count all the same
    fake_advance(20s);
    std::string asked;
    for (const FakeCall &call : fakeDevice.log)
        if (call.name == "rilk_getRadioIfStat" || call.name == "rilk_getVapIfStat") asked += call.args + " ";
    EXPECT_EQ(asked, "ath0 ath1 wifi1 ath10 ");
    uloop_timeout *timer = &radio[0].intfStatTimer;
    fake_advance(7s), vesk_set_intf_stat_status(1);
    EXPECT_EQ(fakeLoop.due(timer), 13000) << "same status, same phase";
    vesk_set_intf_stat_status(0);
    EXPECT_EQ(fakeLoop.due(timer), -1);
}
