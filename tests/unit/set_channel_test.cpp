#include "tests/unit/fixtures.h"

using SetChannel = ScanTest;

TEST_F(SetChannel, BandwidthThenChannelTwoSecondsLater) {
    // clang-format off
    using Row = std::tuple<uint8_t, int, int, int, int, int, Texts>; // request, both results; result, next pass (ms), calls
    const std::string chanSpec = "setRadioChanSpec wifi1 ", set = "setRadioCurChannel wifi1 ";
    for (const auto &[channel, bw, specResult, channelResult, result, passDue, called] :
         { Row{ 40, 2, 0, 0, 0, 60000, { chanSpec + "2 40", set + "40" } }, Row{ 0, 4, 0, 0, 0, 60000, { chanSpec + "4 0" } },
           Row{ 0, 5, 0, 0, -1, 60000, {} }, Row{ 40, 0, 3, 0, -1, 60000, { chanSpec + "0 40" } },
           Row{ 40, 2, 0, -1, -5, 60000, { chanSpec + "2 40", set + "40" } }, Row{ 36, 1, 0, 0, 77, 58000, {} }, // what it has
           Row{ 36, 5, 0, 0, 0, 60000, { set + "36" } }, Row{ 40, 6, 0, 0, -1, 58000, {} }, Row{ 40, -1, 0, 0, -1, 58000, {} } }) {
        // clang-format on
        restart(), vesk_start_scan_ubus_timer();
        radio[1].curBw = 1, radio[1].setResult = 77;
        radio[1].setChannel = channel, radio[1].setBw = bw;
        fakeDevice.rc = { { "rilk_setRadioChanSpec", specResult }, { "rilk_setRadioCurChannel", channelResult } };
        vesk_start_set_channel_timer(1), fake_advance(2s);
        EXPECT_EQ(calls(), called);
        EXPECT_EQ(radio[1].setResult, result) << bw;
        EXPECT_EQ(fakeLoop.due(&scan->scanTimer), passDue);
        EXPECT_EQ(fake_logged("ERROR", " Set radio cur bandwidth error !!! \n"), specResult != 0);
        EXPECT_EQ(logged(" vesk radio wifi1 set channel 40 failure (-1).\n"), channelResult != 0);
    }
}
