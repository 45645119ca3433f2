// The timer service on the virtual clock: order, identifiers, and callbacks that stop or arm timers.
#include "tests/unit/common.h"

namespace {

std::string ran; // a letter per callback
int toStop;
int stopResult;

// clang-format off
void note(uint32_t letter, uint32_t) { ran += static_cast<char>(letter); }
void stop(uint32_t letter, uint32_t) { note(letter, 0), stopResult = csrv_stop_timer(toStop); }
// clang-format on

struct CsrvTimerTest : testing::Test {
    CsrvTimerTest() { fake_reset(), fakeLoop.nowMs += 600; } // so that milliseconds carry over
    ~CsrvTimerTest() override { csrv_set_rearm_hook(nullptr), csrv_clear_timers(); }
    std::string run_after(int ms) {
        ran.clear(), fakeLoop.nowMs += ms;
        return csrv_run_timers(), ran;
    }
};

TEST_F(CsrvTimerTest, RunsByExpiryAndTheLaterArmedFirstAmongEquals) {
    EXPECT_EQ(csrv_next_timeout(), -1);
    const int first = csrv_start_timer(1500, note, 'a', 0);
    EXPECT_EQ(csrv_start_timer(1500, note, 'b', 0), first + 1);
    csrv_start_timer(999, note, 'c', 0), csrv_start_timer(2501, note, 'd', 0);
    EXPECT_EQ(csrv_next_timeout(), 999);
    EXPECT_EQ(run_after(998), "");
    EXPECT_EQ(run_after(502), "cba");
    EXPECT_EQ(words(csrv_next_timeout(), csrv_stop_timer(first)), "1001 -1 ");
}

TEST_F(CsrvTimerTest, TimesAtTheEdgesAndThePeriodFromTheEndOfTheCallback) {
    for (int ms : { 0, -1, INT_MIN }) {
        csrv_start_periodic_timer(ms, note, 'p', 0), csrv_start_timer(ms, note, 's', 0);
        EXPECT_EQ(csrv_next_timeout(), 1);
        EXPECT_EQ(run_after(0), "sp") << "due at once, and once only";
        EXPECT_EQ(csrv_timer_count(), 0);
    }
    csrv_start_timer(INT_MAX, note, 'x', 0);
    EXPECT_EQ(csrv_next_timeout(), INT_MAX);
    const auto slow = [](uint32_t letter, uint32_t ms) { fakeLoop.nowMs += ms, note(letter, 0); };
    csrv_start_periodic_timer(1000, slow, 'p', 300);
    EXPECT_EQ(run_after(5000), "p") << "no ticks to catch up";
    EXPECT_EQ(csrv_next_timeout(), 1000);
}

TEST_F(CsrvTimerTest, CallbackStopsItselfOrAnother) {
    for (auto *start : { csrv_start_timer, csrv_start_periodic_timer }) {
        toStop = start(10, stop, 'o', 0);
        EXPECT_EQ(run_after(10), "o");
        EXPECT_EQ(words(stopResult, csrv_timer_count(), csrv_stop_timer(toStop)), "0 0 -1 ");
    }
    toStop = csrv_start_timer(20, note, 'x', 0);
    csrv_start_timer(10, stop, 's', 0);
    EXPECT_EQ(run_after(30), "s");
}

TEST_F(CsrvTimerTest, HookFollowsEveryStartStopRunAndClear) {
    static std::string timeouts;
    csrv_set_rearm_hook([] { timeouts += words(csrv_next_timeout()); });
    csrv_start_timer(700, note, 'a', 0);
    csrv_stop_timer(csrv_start_timer(500, note, 'b', 0));
    run_after(700);
    csrv_clear_timers();
    EXPECT_EQ(timeouts, "700 500 700 -1 -1 ");
}

} // namespace
