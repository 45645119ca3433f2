// A tear-down beside a running first scan, on real threads. The fakes aren't made for two threads at once:
// the hooks hand over between them, so that only one is at work.
#include <semaphore>
#include <thread>

#include "tests/unit/scan_fixture.h"

using ScanThread = ScanTest;

TEST_F(ScanThread, TearDownWaitsForTheRunsNextStep) {
    vesk_init_scan_info();
    std::binary_semaphore isScanning{ 0 }, goesOn{ 0 };
    int polls = 0;
    fakeLibc.realThreads = true;
    fakeLibc.onSleep = [&](unsigned us) {
        if (us == 500000) {
            isScanning.release();
            goesOn.acquire();
        } else {
            if (++polls == 3) goesOn.release(); // the pause is over; the run finds itself stopped
            std::this_thread::sleep_for(5ms);
        }
    };
    vesk_scan_2G_first_ubus_handle(nullptr);
    isScanning.acquire();
    vesk_destory_scan_info();
    EXPECT_TRUE(polls >= 3 && polls < 60) << polls;
    EXPECT_EQ(scan->channels, nullptr);
    EXPECT_EQ(fakeDevice.log.back().name, "rilk_triggerScan"); // nothing fetched into freed tables
}
