#include "tests/unit/scan_fixture.h"

using ScanRecords = ScanTest;

TEST_F(ScanRecords, ListsRunOnFromRadioToRadio)
{
    for (auto [nums0, nums1, all, first] :
         { std::array{ 3, 4, 7, 3 }, { 0, 0, 0, -1 }, { 40, 40, 64, 40 }, { 64, 4, 64, -1 } }) {
        restart(channel_range(1, nums0), channel_range(100, nums1));
        vesk_init_scan_info();
        EXPECT_EQ((Numbers{ scan_cfg(0)->offChListNums, scan_cfg(1)->offChListNums, scan->channelNums }),
                  (Numbers{ nums0, nums1, all }));
        EXPECT_EQ(vesk_find_channel_idx(100, scan->channelList, scan->channelNums), first);
        EXPECT_EQ(vesk_scan_channel_at(scan->channelNums), nullptr);
    }
}

TEST_F(ScanRecords, InitWithAndWithoutMemory)
{
    for (int n = 0; n <= 9; n++) { // array, 7 records, table; the tenth doesn't exist
        SCOPED_TRACE(n);
        restart();
        strcpy(radio[0].chipName, "MTK7592"); // exactly this name
        strcpy(radio[1].chipName, "MTK7592X");
        fakeLibc.failAlloc = n;
        vesk_init_scan_info();
        fakeLibc.failAlloc = -1;
        EXPECT_EQ(calls(), (Texts{ "initScanChannelList 7", "setMinMaxDwellTime wifi0 0 150",
                                   "setMinMaxDwellTime wifi1 0 150" }));
        EXPECT_EQ(flags(1), (Numbers{ 1, 0, 0, 0 }));
        EXPECT_EQ((Numbers{ scan_cfg(0)->isSupportScan, scan_cfg(1)->isSupportScan,
                            scan_cfg(0)->bstaAutoTimer, fakeLoop.due(&scan->scanTimer) }),
                  (Numbers{ 0, 1, -1, 60000 }));
        EXPECT_EQ(scan->channels == nullptr && scan->neighbors == nullptr, n < 9);
        EXPECT_EQ(fake_logged("ERROR", " channel or neighbor calloc NULL\n"), n < 9);
        vesk_first_scanning(&radio[0].band);
        EXPECT_EQ(flags(0), (Numbers{ 0, 1, 0, 0 })); // nothing to wait for
        vesk_scan_2G_result_ubus_handle(nullptr);
        EXPECT_EQ(fakeDevice.count("rilk_getScanChannelResult"), n < 9 ? 0 : 4);
    }
}

TEST_F(ScanRecords, TearDownStopsEverythingAndTwice)
{
    VeskScanNeighbor neighbor;
    memset(&neighbor, 'x', sizeof neighbor); // texts without an end
    neighbor.ch = neighbor.rssi = 40;
    fakeDevice.neighbors[40] = { neighbor };
    vesk_init_scan_info();
    scan_fetch_neighbors(scan, scan_cfg(1), 40);
    vesk_print_scan_info();
    const std::string line = "channelNums=7\r\nj=4, i=0, ch=40, bssid=" + std::string(17, 'x') +
                             ", ssid=" + std::string(64, 'x') + ", rssi=40\r\n";
    EXPECT_TRUE(fake_stderr().ends_with(line)) << fake_stderr();
    vesk_check_all_ready();
    vesk_start_backhaul_credential_timer();
    for (uint32_t band : { 0, 1, 2 }) { // there is no radio 2
        vesk_start_first_scan_ubus_timer(band, 1);
        vesk_start_period_scan_ubus_timer(band, 1);
        vesk_start_scan_result_ubus_timer(band, 1);
    }
    EXPECT_EQ(fakeLoop.pendingTimers(), 9);
    vesk_destory_scan_info();
    vesk_destory_scan_info();
    EXPECT_EQ(fakeLoop.pendingTimers(), 0);
}

TEST_F(ScanRecords, AutoConnectOverridesARequestToScan)
{
    for (uint8_t enabled : { 0, 2 }) {
        scan_cfg(1)->bstaAuto.enableAuto = enabled;
        vesk_set_scan_status(257); // one byte counts
        EXPECT_EQ(vesk_get_scan_status(), enabled == 0);
    }
    EXPECT_TRUE(logged(" offScan->scanCfg[1].bstaAuto.enableAuto=2, not enable scan\n"));
}
