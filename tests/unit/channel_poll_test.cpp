// The channel change poller: which poll sees what, the record it sends, and its switch.
#include "tests/unit/fixtures.h"

struct ChannelPollTest : DeviceTest {
    /** The signals sent by so many polls. */
    static size_t poll(int times = 1) {
        fakeBus.signals.clear();
        while (times-- > 0) vesk_channel_change_handle(nullptr);
        return fakeBus.signals.size();
    }
};

TEST_F(ChannelPollTest, RecordCarriesOldAndNewWhileTheScanStandsStill) {
    fill();
    scan->scanEnable = scan->scanEnableCfg = 1;
    FakeRadio &device = fakeDevice.radio[1];
    device.channel = 149, device.dyn.bw = 3, device.power = 17.5f; // the power waits for a full read
    strcpy(device.dyn.operatingStandards, "ac");
    int during = -1;
    fakeDevice.onCall = [&](const FakeCall &) { during = vesk_get_scan_status(); };
    ASSERT_EQ(poll(), 1u);
    const VeskChChange expected = { 1, 3, 36, 1, 0, "a,n,ac,ax", 20.f, 149, 3, 0, "ac", 20.f, 3 };
    EXPECT_EQ(fakeBus.signals[0].payload, bytes_of(expected));
    EXPECT_EQ(words(during, +vesk_get_scan_status(), radio[1].curFreq), "0 1 5745 ");
    scan->scanEnableCfg = 0, device.channel = 36;
    EXPECT_EQ(poll(), 1u);
    EXPECT_EQ(vesk_get_scan_status(), 0);
}

TEST_F(ChannelPollTest, WhichPollSeesIt) {
    // channel, bandwidth, known and present power, flag, status, polls that see nothing, signals of the next
    using Row = std::tuple<int, int, float, float, uint8_t, uint8_t, int, size_t>;
    for (const auto &[channel, bw, known, power, ctl, status, blind, signals] :
         { Row{ 11, 0, 20.f, 20.f, 0, 1, 0, 1 }, Row{ 6, 2, 20.f, 20.f, 0, 1, 19, 1 },
           Row{ 6, 0, 20.f, 10.f, 0, 1, 19, 1 }, Row{ 6, 0, 20.f, 10.f, 1, 1, 0, 1 }, Row{ 6, 0, NAN, NAN, 1, 1, 0, 0 },
           Row{ 11, 0, 20.f, 20.f, 0, 0, 25, 0 } }) {
        SetUp(), fill();
        FakeRadio &device = fakeDevice.radio[0];
        device.channel = channel, device.dyn.bw = bw, device.power = power;
        radio[0].txPower = known, radio[0].intfPollCtl = ctl, radio[0].status = status;
        EXPECT_EQ(poll(blind), 0u);
        EXPECT_EQ(poll(), signals) << channel << " " << bw << " " << known << " " << power;
        EXPECT_EQ(radio[0].intfPollCtl, 0);
        EXPECT_EQ(status ? poll(20) : 0, 0u) << "known from now on";
    }
    radio[0].status = 1; // after 26 polls of radio 1 alone
    poll(13);
    EXPECT_EQ(fakeDevice.count("rilk_getRadioTxpower"), 1) << "no count while down";
}

TEST_F(ChannelPollTest, Switch) {
    VeskChChangePoll &poller = vesk_get_vesk_info()->chChange;
    poller.timeItv = 5;
    vesk_set_channel_change_timer_status(1), fake_advance(12s); // two polls
    vesk_set_channel_change_timer_status(1);
    EXPECT_EQ(fakeLoop.due(&poller.timer), 3000) << "same status, same phase";
    vesk_set_channel_change_timer_status(0);
    EXPECT_EQ(fakeLoop.due(&poller.timer), -1) << "cancelled while the flag was on";
}
