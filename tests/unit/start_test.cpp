// main() itself, up to its loop: in which order, and what it leaves running.
#include "tests/unit/daemon_fixture.h"

int vesk_main();

struct Start : DaemonTest {
    void SetUp() override {
        reset();
        put_file("/var/run/ubus.sock", "");
        fakeLoop.fds.clear();
    }
    void TearDown() override { DaemonTest::TearDown(), vesk_log_use_stderr(), unlink("/var/run/ubus.sock"); }
};

TEST_F(Start, EveryInitialiserInItsPlaceThenTheLoop) {
    put_file("/configs/vesk/vesk.conf", "VESK_SCAN_CONFIG=1\nVESK_SCAN_FIRST_INTERVAL=10\nVESK_LOG_LEVEL=7\n");
    EXPECT_EQ(vesk_main(), 0);
    const std::string log = file_text(VESK_LOG_FILE);
    size_t at = 0;
    for (const char *text :
         { "vesk version [1.4.3] load vesk conf", "| vesk_load_platform_config:", " Call hul_getRadioInfo, radio=3",
           " Call hul_getEnabledVapCfg, ifname=ath10", "| vesk_start_channel_change_timer:", " Vesk init wd done",
           " vesk_init_scan_info\n", " vesk_start_pthread\n", "band=0, scanEnable=1, scanEnableCfg=1, itv=1\n",
           "band=1, scanEnable=1, scanEnableCfg=1, itv=11\n", " Vesk print\n", " vesk_check_all_ready\n" }) {
        const size_t found = log.find(text, at);
        ASSERT_NE(found, std::string::npos) << text << "\n" << log.substr(at);
        at = found;
    }
    const auto first = std::ranges::find_if(fakeDevice.log, [](auto &c) { return c.name.starts_with("rilk_"); });
    EXPECT_EQ(first->name, "rilk_initDriver");
    EXPECT_EQ(fakeDevice.count("rilk_getRadioIfStat"), 2); // counters are there before the first call
    EXPECT_EQ(words(fakeBus.calls.front(), fakeBus.calls.back()), "ubus_add_object tamlo.pelk.vesk merkaMainLoop ");
    EXPECT_NE(vesk_get_vesk_info()->ubusObj, nullptr);
    EXPECT_EQ(fakeLoop.fds.size(), 2u); // signals and events
}

TEST_F(Start, OpensNothingThatChildrenInherit) {
    std::set<int> before, opened;
    const auto open_now = [](std::set<int> &fds) {
        for (int fd = 3; fd < 1024; fd++)
            if (fcntl(fd, F_GETFD) >= 0) fds.insert(fd);
    };
    open_now(before), vesk_main(), open_now(opened);
    std::erase_if(opened, [&](int fd) { return before.contains(fd); });
    EXPECT_EQ(opened.size(), 5u); // lock, both ends of the signals' pipe, log, events
    for (const int fd : opened) EXPECT_EQ(fcntl(fd, F_GETFD), FD_CLOEXEC) << fd;
}

TEST_F(Start, LeavesEveryPollerAndMonitorRunning) {
    vesk_main();
    vesk_log_use_stderr();
    const std::pair<const char *, int> calls[] = { // within 32 s, first fill included
                                                   { "hul_getRadioInfo", 4 },
                                                   { "rilk_getRadioIfStat", 4 },
                                                   { "rilk_getVapAssocStationNumber", 9 },
                                                   { "rilk_triggerScan", 8 },
                                                   { "rilk_getRadioCurChannel", 14 }
    };
    const Bytes probe = datagram(VESK_EVENT_PROBE_REQ, "ath0", Bytes(27).mac(16, 0x99).u8(22, 6).i32(23, -71));
    call(vesk_methods[20], 0); // setStaMon
    vesk_get_eventCb(VESK_EVENT_PROBE_REQ)(const_cast<uint8_t *>(&probe[41]), "ath0");
    fake_advance(32s);
    for (const auto &[name, count] : calls) EXPECT_EQ(fakeDevice.count(name), count) << name;
    EXPECT_EQ(fakeLibc.popens.size(), 2u); // the sibling's watch
    EXPECT_EQ(std::ranges::count(fakeLibc.systems, "touch /tmp/vesk_ready"), 1);
    ASSERT_EQ(std::ranges::count(fakeBus.signals, VESK_SIGNAL_UNASSOC_METRICS, &FakeSignal::name), 1);
    EXPECT_EQ(fakeBus.signals.back().payload.at(16 + 5), 0x99);
}
