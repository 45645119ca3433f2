// What a scan thread reads of the model, while refreshes and the channel poller write it. The reader has no part in
// the fakes, and nothing orders the two: the thread sanitizer is the judge.
#include <atomic>

#include "tests/unit/fixtures.h"

using ModelThread = ScanTest;

TEST_F(ModelThread, RefreshesAndChannelChangesBesideAReader) {
    vesk_init_scan_info();
    *vesk_scan_channel_at(3) = { 36, 0, 0, 70, -92, 0.0 };
    vesk_get_vesk_info()->logLevel = 0; // a line's lock would order them
    std::atomic<int> reads = 0;
    std::atomic<bool> isDone = false;
    std::string strange;
    std::thread reader([&] {
        for (; !isDone; reads++) {
            char name[VESK_IFNAME_SIZE] = {};
            vesk_get_base_vap(0, name);
            if (name[0] && name != std::string_view("ath0") && name != std::string_view("ath1")) strange = name;
            scan_refresh_cur_channel(&radio[1], 3);
            vesk_get_noise_bias(36);
        }
    });
    for (int i = 0; i < 200 || reads < 200; i++) {
        const bool odd = i % 2;
        fakeDevice.vap("ath0")->status = odd;
        if (i == 100) fakeDevice.addVap(0, "ath2"); // takes a slot
        fakeDevice.radio[0].dyn.bw = odd, fakeDevice.radio[1].channel = odd ? 36 : 40;
        vesk_update_radio_info(), vesk_update_vap_info(), vesk_channel_change_handle(nullptr);
        WireCurChannelInfo shown;
        vesk_getCurChannelInfo(3, &shown), vesk_scan_process(1);
    }
    isDone = true, reader.join();
    EXPECT_EQ(strange, "");
    EXPECT_EQ(radio[1].curChannelInfo.ccaIdle, 30);
}
