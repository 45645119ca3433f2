#include "tests/unit/fixtures.h"

using ScanResult = ScanTest;

TEST_F(ScanResult, Smoothing) {
    vesk_init_scan_info();
    using Row = std::array<double, 4>; // noiseEval, stored value, raw floor; result
    for (auto [noiseEval, stored, floor, smoothed] :
         { Row{ 5, 0, -92, -86 }, Row{ 5, -86, -72, -84 }, Row{ 5, 0, -40, -50 }, Row{ 5, 0, -253, -247 },
           Row{ 5, -80, -254, -105 }, Row{ 1, -86, -72, -76 }, Row{ 0, -86, -72, -82 }, Row{ 100, -86, -72, -85.9 },
           Row{ 5, 0, INT_MAX, -50 }, Row{ 5, 0, INT_MIN, -105 } }) {
        scan_cfg(1)->noiseEval = static_cast<int32_t>(noiseEval);
        *vesk_scan_channel_at(4) = { 40, 0, 0, 0, static_cast<int32_t>(floor), stored };
        vesk_smooth_channel_noise(scan, 1);
        EXPECT_NEAR(vesk_scan_channel_at(4)->smoothedNoise, smoothed, 1e-9) << floor;
    }
    free(std::exchange(scan->channels[3], nullptr)); // a record that is missing
    vesk_smooth_channel_noise(scan, 1);
    EXPECT_TRUE(logged(" Vesk get channel[40] noise invalid floor[-254], use default value[-105]\n"));
    radio[0].curBw = INT_MAX; // radio 0's counts for both
    EXPECT_EQ(vesk_get_noise_bias(14) + vesk_get_noise_bias(15), 12);
}

TEST_F(ScanResult, OneChannelPerCallAndTheEndOfACycle) {
    vesk_init_scan_info(), calls();
    set_flags(0, 1, 0, 1), set_flags(1, 1, 0, 1);
    scan->scanEnable = 0, vesk_scan_5GA_result_ubus_handle(nullptr); // nothing is taken
    scan->scanEnable = 1, vesk_scan_2G_result_ubus_handle(nullptr);
    EXPECT_EQ(calls(), (Texts{ "getScanNeighborApOneChannel wifi0 1", "getScanChannelResult wifi0",
                               "setEnableNoiseFloor wifi0" }));
    EXPECT_TRUE(logged(" band=0, radio=wifi0, scanning=1, chanIdx=0, offChListNum=3, alreadyScanCount=0\n"));
    EXPECT_EQ(flags(0), (Numbers{ 1, 0, 1, 1 }));
    EXPECT_EQ(+vesk_scan_channel_at(2)->smoothedNoise, -50.0); // the whole list is smoothed
    vesk_scan_2G_result_ubus_handle(nullptr), vesk_scan_2G_result_ubus_handle(nullptr);
    EXPECT_TRUE(logged(" ==== reset scan list band=0 ====\n"));
    EXPECT_EQ(flags(0), (Numbers{ 0, 1, 0, 0 }));
    EXPECT_EQ(scan->scanTime + static_cast<int>(scan_cfg(0)->chScanned[0]), 0);
    for (int i = 0; i < 4; i++) vesk_scan_5GA_result_ubus_handle(nullptr);
    EXPECT_TRUE(logged(" ====reset scan list band=1 ====\n"));
    EXPECT_EQ(flags(1), (Numbers{ 1, 1, 0, 0 })); // isFirstScan is left alone here
    EXPECT_EQ(scan->scanTime, 1700000000);
}

TEST_F(ScanResult, ListsThatDontFitStillCloseTheirCycle) {
    using Row = std::tuple<Channels, Channels, int>; // both lists, results until radio 1's cycle closes
    for (const auto &[channels0, channels1, results] :
         { Row{ channel_range(1, 40), channel_range(100, 40), 24 }, Row{ { 1 }, { 36, 40, 36, 40 }, 2 },
           Row{ { 36, 1 }, { 36, 40 }, 2 }, Row{ channel_range(1, 64), channel_range(100, 4), 1 } }) {
        restart(channels0, channels1), vesk_init_scan_info();
        for (int i = 0; i < results; i++) {
            EXPECT_EQ(scan_cfg(1)->isScanEnd, 0) << i;
            vesk_scan_5GA_result_ubus_handle(nullptr);
        }
        EXPECT_EQ(scan_cfg(1)->isScanEnd, 1);
        set_flags(1, 1, 0, 0);
        vesk_first_scanning(&radio[1].band);
        EXPECT_EQ(flags(1), (Numbers{ 0, 1, 0, 0 }));
    }
}
