#include "tests/unit/fixtures.h"

using ScanRecords = ScanTest;

TEST_F(ScanRecords, InitWithAndWithoutMemory) {
    for (int n = 0; n <= 9; n++) { // array, 7 records, table; the tenth doesn't exist
        SCOPED_TRACE(n);
        restart();
        strcpy(radio[0].chipName, "MTK7592"), strcpy(radio[1].chipName, "MTK7592X"); // exactly the first
        fakeLibc.failAlloc = n;
        vesk_init_scan_info();
        fakeLibc.failAlloc = -1;
        EXPECT_EQ(calls(), (Texts{ "initScanChannelList 7", "setMinMaxDwellTime wifi0 0 150",
                                   "setMinMaxDwellTime wifi1 0 150" }));
        EXPECT_EQ(flags(1), (Numbers{ 1, 0, 0, 0 }));
        EXPECT_EQ(words(+scan_cfg(0)->isSupportScan, +scan_cfg(1)->isSupportScan, scan_cfg(0)->bstaAutoTimer),
                  "0 1 -1 ");
        EXPECT_EQ(scan->channels == nullptr && scan->neighbors == nullptr, n < 9);
        EXPECT_EQ(scan->channelNums, (n < 9 ? 0 : 7));
        EXPECT_FALSE(vesk_scan_channel_at(7));
        EXPECT_EQ(fake_logged("ERROR", " channel or neighbor calloc NULL\n"), n < 9);
        vesk_first_scanning(&radio[0].band);
        EXPECT_EQ(flags(0), (Numbers{ 0, 1, 0, 0 })); // nothing to wait for
        vesk_scan_2G_result_ubus_handle(nullptr);
        EXPECT_EQ(fakeDevice.count("rilk_getScanChannelResult"), n < 9 ? 0 : 4);
    }
}

TEST_F(ScanRecords, TearDownStopsEverythingAndAutoConnectTheScan) {
    memset(&fakeDevice.neighbors[40].emplace_back(), 'x', sizeof(VeskScanNeighbor)); // texts without an end
    vesk_init_scan_info(), scan_fetch_neighbors(scan, scan_cfg(1), 40), vesk_print_scan_info();
    const std::string texts = "bssid=" + std::string(17, 'x') + ", ssid=" + std::string(64, 'x') + ", rssi=";
    EXPECT_NE(fake_stderr().find(texts), std::string::npos);
    vesk_check_all_ready(), vesk_start_backhaul_credential_timer();
    for (uint32_t band : { 0u, 1u, 2u }) { // there is no radio 2
        vesk_start_first_scan_ubus_timer(band, 1), vesk_start_period_scan_ubus_timer(band, 1);
        vesk_start_scan_result_ubus_timer(band, 1);
    }
    EXPECT_EQ(fakeLoop.pendingTimers(), 9);
    vesk_destory_scan_info(), vesk_destory_scan_info();
    EXPECT_EQ(fakeLoop.pendingTimers(), 0);

    restart(); // auto-connect overrides a request to scan
    for (const uint8_t enabled : { uint8_t{ 0 }, uint8_t{ 2 } }) {
        scan_cfg(0)->bstaAuto.enableAuto = enabled;
        fake_clear_log();
        vesk_set_scan_status(257); // one byte counts
        EXPECT_EQ(vesk_get_scan_status(), enabled == 0);
        vesk_set_scan_status(0);
        EXPECT_TRUE(logged(" set offScan->scanEnable = 0\n")) << "off is never refused";
    }
    EXPECT_TRUE(logged(" offScan->scanCfg[0].bstaAuto.enableAuto=2, not enable scan\n"));
}

TEST_F(ScanRecords, BaseVapIsTheFirstThatIsUpAndAnAccessPoint) {
    using Row = std::tuple<uint8_t, const char *, const char *>; // of ath10; base
    for (const auto &[status, mode, base] :
         { Row{ 1, "ap", "ath10" }, Row{ 0, "ap", "ath11" }, Row{ 1, "sta", "ath11" }, Row{ 1, "", "ath11" },
           Row{ 1, "wds-ap", "ath10" } }) {
        vap_of("ath10").status = status;
        strcpy(vap_of("ath10").mode, mode);
        EXPECT_STREQ(scan_param(1, 36).baseVap, base) << mode;
    }
}

TEST_F(ScanRecords, Resets) {
    vesk_init_scan_info();
    set_flags(0, 0, 1, 1), set_flags(1, 0, 1, 1);
    scan_mark_visited(scan_cfg(1), 4);
    vesk_reset_scan_status();
    EXPECT_EQ(flags(0), (Numbers{ 0, 1, 0, 0 }));
    EXPECT_EQ(flags(1), (Numbers{ 0, 1, 0, 1 }));
    EXPECT_EQ(scan->scanTime, 1700000000);
    radio[1].curChannelInfo.noise = -90, vesk_scan_channel_at(0)->ch = 1;
    set_flags(1, 0, 1, 1);
    for (const bool isStale : { false, true }) {
        scan->needResetScan = isStale, radio[0].chListNums = 2;
        vesk_reset_scan_info();
        // needResetScan, noise, the first record's channel, a visited channel, and the radios' lists as they are now
        EXPECT_EQ(words(+scan->needResetScan, +radio[1].curChannelInfo.noise, +vesk_scan_channel_at(0)->ch,
                        scan_is_visited(scan_cfg(1), 4), scan->channelNums),
                  isStale ? "0 0 0 0 6 " : "0 -90 1 1 7 ");
        EXPECT_EQ(flags(1), isStale ? (Numbers{ 1, 0, 0, 0 }) : (Numbers{ 0, 1, 1, 1 }));
    }
}
