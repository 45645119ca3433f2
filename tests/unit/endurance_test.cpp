// A week of polls, scans, joins and leaves on the virtual clock, and the clock's jumps: nothing grows,
// nothing stops.
#include "tests/unit/daemon_fixture.h"

namespace {
struct Footprint {
    size_t heap; // bytes; always 0 under the address sanitizer, which looks for leaks by itself
    std::vector<int64_t> counts;
};

void drop_records() {
    fakeDevice.log.clear(), fakeBus.signals.clear(), fakeBus.replies.clear(), fake_clear_log();
    fakeLibc.sleepsUs.clear(), fakeLibc.popens.clear(), fakeLibc.systems.clear();
}

Footprint footprint() {
    int timers = 0;
    for (int second = 0; second < 120; second++) { // whole rounds of scans
        fake_advance(1s);
        timers = std::max(timers, fakeLoop.pendingTimers());
    }
    drop_records();
    const auto files = std::filesystem::directory_iterator("/proc/self/fd");
    return { mallinfo2().uordblks, // timers, stations, descriptors
             { timers, csrv_timer_count(), kvhlist_count(&vesk_get_sta_info()->staDb.list),
               std::distance(begin(files), end(files)) } };
}

void expect_no_growth_since(const Footprint &before) {
    const Footprint now = footprint();
    EXPECT_EQ(now.counts, before.counts);
    EXPECT_LT(now.heap, before.heap + 4096); // what the allocator keeps at hand counts as used, too
}

struct Endurance : DaemonTest {
    int sender = -1;

    void SetUp() override {
        begin_anew();
        int pair[2]; // in the place of the daemon's socket
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM, 0, pair), 0);
        dup2(pair[0], fakeLoop.fds.at(0)->fd), close(pair[0]);
        sender = pair[1];
        fakeLibc.popenFails = fakeLibc.statFails = true; // system calls would be most of the time
    }
    /** With the pollers as the built-in configuration has them. */
    static void begin_anew() {
        reset();
        put_file("/configs/vesk/vesk.conf", "VESK_SCAN_24G_INTERVAL=60\nVESK_SCAN_CONFIG=1\nVESK_LOG_LEVEL=0\n"
                                            "VESK_UPDATE_INTF_ENABLE=0\nVESK_UPDATE_INTF_STAT_INTERVAL=29\n"
                                            "VESK_UPDATE_CLIENTS_INTERVAL=13\nVESK_CH_CHANGE_INTERVAL=5\n");
        start();
    }
    void TearDown() override { close(sender), DaemonTest::TearDown(); }
    void send_event(uint32_t id, uint32_t station, size_t size) {
        const Bytes bytes = datagram(id, "ath10", Bytes(size).u8(16, 2).i32(18, station));
        ASSERT_GT(send(sender, bytes.data(), bytes.size(), 0), 0);
        fakeLoop.fds[0]->cb(fakeLoop.fds[0], ULOOP_READ);
    }
    /** As many stations join and leave, in groups spread over the span; each is on the device for 10 s. */
    void live(std::chrono::milliseconds span, uint32_t joins) {
        constexpr uint32_t group = 50;
        std::vector<FakeStation> &stations = fakeDevice.vap("ath10")->stations;
        for (uint32_t first = 0; first < joins; first += group) {
            for (uint32_t i = first; i < first + group; i++) {
                fakeDevice.addStation("ath10", { 2, 0, 0, 1, uint8_t(i >> 8), uint8_t(i) });
                send_event(VESK_EVENT_CLIENT_JOIN, i, 621);
            }
            fake_advance(10s);
            ASSERT_EQ(kvhlist_count(&vesk_get_sta_info()->staDb.list), 1 + static_cast<int>(group));
            stations.clear();
            for (uint32_t i = first; i < first + group; i++) send_event(VESK_EVENT_CLIENT_LEAVE, i, 22);
            ASSERT_EQ(fakeBus.signals.size(), 2 * group);
            fake_advance(span / (joins / group) - 10s);
            drop_records();
        }
    }
};
} // namespace

TEST_F(Endurance, AWeekLeavesNothingBehind) {
    live(1h, 500);
    const Footprint before = footprint();
    live(7 * 24h, 100000);
    expect_no_growth_since(before);
    EXPECT_EQ(call(vesk_methods[7], 0).result[0], 1); // the station on the backhaul BSS
}

TEST_F(Endurance, AThousandRefreshesAmongCallsLeaveNothingBehind) {
    const auto refresh = [](int times) {
        for (int i = 0; i < times; i++) {
            fakeBus.rows[3].handler("", "", &i, sizeof i); // notifyWlanChange
            fake_advance(4s);
            ASSERT_EQ(fakeDevice.count("hul_getRadioInfo"), 2);
            if (i % 20 == 0) answers(); // of every method
            drop_records();
        }
    };
    drop_records(), refresh(100);
    const Footprint before = footprint();
    refresh(1000);
    expect_no_growth_since(before);
}

TEST_F(Endurance, AJumpOfTheWallClockMovesNothingButWallClockTimes) {
    Answers withoutJump;
    for (int days : { 0, 365, -365 }) {
        SCOPED_TRACE(days);
        begin_anew();
        call(vesk_methods[20], 0); // setStaMon
        fakeLoop.wallSec += days * 86400;
        fake_advance(50min);
        EXPECT_GT(fakeDevice.count("rilk_getVapAssocStationNumber"), 200);     // the polls went on
        EXPECT_NE(vesk_sta_mon_get(Bytes(6).mac(0, 0x99).data(), 6), nullptr); // and it isn't an hour yet
        const Answers now = answers();
        if (days == 0) withoutJump = now;
        EXPECT_EQ(differing(now, withoutJump), days ? "getOffChannelInfo " : ""); // when a channel was measured
    }
}
