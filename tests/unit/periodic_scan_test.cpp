#include "tests/unit/fixtures.h"

struct PeriodicScan : ScanTest {
    void SetUp() override { start_idle(); }

    /** The first scans are over. */
    template <class... Lists>
    void start_idle(Lists... channels) {
        restart(channels...), vesk_init_scan_info();
        set_flags(0, 0, 1, 0), set_flags(1, 0, 1, 0);
    }
};

// Every reason to stand back, in order. Each row adds its reason to those behind it: only the first may speak.
TEST_F(PeriodicScan, RefusalsInOrder) {
    const uint8_t station[280] = { 2, 2, 2 };
    Kvhmgr *stations = &vesk_get_sta_info()->staDb;
    // clang-format off
    const std::pair<std::string, std::function<void()>> rows[] = {
        { "The node is UNSELECTED AP - exit", [] { fakeDevice.role = 0; } },
        { "band=[0] is not allowed to scan return!", [this] { scan->scanEnable = 0; } },
        { "Radio wifi0 is not enable - exit", [this] { radio[0].status = 0; } },
        { "offScan->scanCfg[1].bstaAuto.enableAuto=1, scan return", [] { vesk_set_bsta_auto_status(1); } },
        { "====First scan is doing now return timer band=0 ====", [] { set_flags(0, 0, 0, 0); } },
        { "Radio wifi0 chipName MTK7612 is not support - exit", [this] { strcpy(radio[0].chipName, "MTK7612"); } },
        { "band=0, ccaInbss=10, ccaTxUtil=0, out range return", [] { fakeDevice.radio[0].cur.ccaInbss = 10; } },
        { "Has station connected , band=0 do not scan", [&] { kvhmgr_set(stations, station, 280); } },
        { "radioInfo[0].isAcsEnabled = 0, scan return", [this] { radio[0].isAcsEnabled = 0; } },
        { "", [] { memset(scan_cfg(0)->chScanned, 1, 256); } }, // nothing left: no line
        { "Trigger scan base vap interface name is NULL, break", [this] { vap_of("ath0").status = vap_of("ath1").status = 0; } },
        { "Trigger scan base vap interface is backhaul, break", [this] { vap_of("ath0").vapAttr = 0x40; } },
    };
    // clang-format on
    for (size_t first = 0; first < std::size(rows); first++) {
        SCOPED_TRACE(rows[first].first);
        start_idle();
        kvhmgr_init(stations, 64, 256, 280, vesk_sta_hash, vesk_sta_mac_cmp);
        for (size_t i = first; i < std::size(rows); i++) rows[i].second();
        vesk_scan_process(0);
        for (size_t i = 0; i < std::size(rows); i++) // the second line is common to the first four
            EXPECT_EQ(logged(" " + rows[i].first + "\n"), i == 1 ? first < 4 : i == first && i != 9) << i;
        EXPECT_EQ(fakeDevice.count("rilk_triggerScan"), 0);
        EXPECT_EQ(fakeDevice.count("rilk_getCurChannelInfo"), first > 5);
    }
}

TEST_F(PeriodicScan, LoadIsComparedUnsignedAndEqualRefuses) {
    using Row = std::array<int, 5>; // both figures, both limits; scans
    for (auto [inbss, tx, rxThd, txThd, scans] :
         { Row{ 9, 9, 10, 10, 1 }, Row{ 0, 10, 10, 10, 0 }, Row{ 0, 0, 0, 10, 0 }, Row{ -1, 0, 100, 100, 0 },
           Row{ 15, 5, 20, 10, 1 } }) {
        fakeDevice.log.clear();
        VeskCurChannelInfo &cur = fakeDevice.radio[0].cur;
        cur.ccaInbss = static_cast<uint32_t>(inbss), cur.ccaTxUtil = static_cast<uint32_t>(tx);
        scan_cfg(0)->rxThd = rxThd, scan_cfg(0)->txThd = txThd;
        vesk_scan_process(0);
        EXPECT_EQ(fakeDevice.count("rilk_triggerScan"), scans) << inbss;
    }
}

TEST_F(PeriodicScan, FullCycleOf13And16Channels) {
    start_idle(channel_range(1, 13), channel_range(36, 16));
    Texts seen, expected;
    fakeDevice.onCall = [&](const FakeCall &call) {
        if (call.name == "rilk_triggerScan" || call.name == "rilk_getScanNeighborApOneChannel")
            seen.push_back(words(fakeLoop.nowMs / 1000, call.args.substr(0, call.args.find(" dwell"))));
    };
    for (int pass = 1; pass <= 16; pass++) {
        const std::string ch0 = std::to_string((pass - 1) % 13 + 1), ch1 = std::to_string(35 + pass);
        const int at = 60 + pass * 60;
        expected.insert(expected.end(), { words(at + 1, "wifi0 channel=" + ch0), words(at + 2, "wifi0", ch0),
                                          words(at + 3, "wifi1 channel=" + ch1), words(at + 4, "wifi1", ch1) });
    }
    scan->scanEnable = 0, fake_advance(65s); // skips the first pass, and the timer goes on
    scan->scanEnable = 1, fake_advance(960s);
    EXPECT_EQ(seen, expected);
    EXPECT_EQ(words(scan_cfg(0)->alreadyScanCount, scan_cfg(1)->alreadyScanCount, scan->scanTime), "3 0 1700001024 ");
}

TEST_F(PeriodicScan, SwitchedOffByConfigurationNothingIsArmedOrCancelled) {
    scan->scanEnableCfg = 0, fake_clear_log();
    vesk_start_scan_ubus_timer(), vesk_stop_scan_ubus_timer();
    const std::string exit = " Scan channel metric polling not enabled ----exit\n",
                      switches = "scanEnable=1, scanEnableCfg=0\n";
    EXPECT_EQ(messages(), (Texts{ " vesk_start_scan_ubus_timer " + switches, exit,
                                  " vesk_stop_scan_ubus_timer " + switches, exit }));
    EXPECT_EQ(fakeLoop.due(&scan->scanTimer), 60000); // as it was
}

TEST_F(PeriodicScan, OwedFirstScanIsRetriggeredOnce) {
    for (uint32_t band = 0; band < 2; band++) {
        set_flags(band, 1, 0, 0);
        vesk_scan_process(band);
        EXPECT_EQ(words(fakeLoop.due(&scan_cfg(band)->firstTimer), fakeLoop.due(&scan_cfg(band)->resultTimer)),
                  band == 0 ? "1000 -1 " : "11000 -1 ");
        EXPECT_EQ(scan_cfg(band)->isFirstScan, 1);
        vesk_stop_first_scan_ubus_timer(band);
        vesk_retrigger_scan(band);
        EXPECT_EQ(fakeLoop.due(&scan_cfg(band)->firstTimer), -1); // turned down while owed
        vesk_scan_process(band);                                  // no longer waits for it
        EXPECT_EQ(fakeLoop.due(&scan_cfg(band)->resultTimer), 1000);
    }
}
