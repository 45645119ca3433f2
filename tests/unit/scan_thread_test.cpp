// A tear-down beside a running first scan, on real threads. The fakes aren't made for two threads at once:
// the hooks hand over between them, so that only one is at work.
#include <semaphore>

#include "tests/unit/fixtures.h"

using ScanThread = ScanTest;

/** Threads of this process; the thread sanitizer adds one of its own when the first is started. */
static ptrdiff_t threads() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return std::distance(begin(tasks), end(tasks));
}

TEST_F(ScanThread, TearDownWaitsForTheRunsNextStepAndNoLongerThan600Milliseconds) {
    for (const int endsAt : { 3, 99 }) { // poll of the tear-down, 10 ms each
        SCOPED_TRACE(endsAt);
        begin_scans(), vesk_init_scan_info();
        std::binary_semaphore isScanning{ 0 }, goesOn{ 0 };
        ptrdiff_t whileRunning = 0;
        const auto end_run = [&] {
            goesOn.release(); // the pause is over; the run finds itself stopped
            while (threads() >= whileRunning) std::this_thread::yield();
        };
        int polls = 0;
        fakeLibc.realThreads = true;
        fakeLibc.onSleep = [&](unsigned us) {
            if (us == 500000) {
                isScanning.release();
                goesOn.acquire();
            } else if (++polls == endsAt) {
                end_run();
            }
        };
        vesk_scan_2G_first_ubus_handle(nullptr);
        isScanning.acquire();
        whileRunning = threads();
        vesk_destory_scan_info();
        EXPECT_EQ(polls, endsAt == 3 ? 3 : 60);
        EXPECT_EQ(scan->channels == nullptr, endsAt == 3); // left to a thread that is still in there
        if (endsAt != 3) end_run();
        EXPECT_EQ(fakeDevice.log.back().name, "rilk_triggerScan"); // nothing fetched into freed tables
    }
}
