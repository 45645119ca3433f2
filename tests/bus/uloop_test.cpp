// The loop: what runs, in which order, how often, and what ends it.
#include "tests/bus/clock.h"
#include "tests/bus/harness.h"

#include <fcntl.h>
#include <sys/socket.h>

namespace {
struct ULoop : testing::Test {
    void SetUp() override { ASSERT_EQ(uloop_init(), 0); }
    void TearDown() override { uloop_done(), testClock = {}; }
};

std::string ran; // letters of the callbacks, in their order

struct Lettered : uloop_timeout {
    char letter;
    int again; // ms to re-arm with, once; below -100: no
};

void note(uloop_timeout *t) {
    auto *timer = static_cast<Lettered *>(t);
    EXPECT_FALSE(timer->pending);
    ran += timer->letter;
    if (timer->again > -100) uloop_timeout_set(timer, std::exchange(timer->again, -101));
    if (timer->letter == 'z') uloop_end();
}

// clang-format off
const struct { const char *name; int ms[3], againA; const char *order; } orders[] = {
    { "by time", { 30, 10, 20 }, -101, "bcaz" },
    { "same time: as armed", { 5, 5, 5 }, -101, "abcz" },
    { "negative before 0", { 0, -5, -20 }, -101, "cbaz" },
    { "re-armed in its callback", { 1, 10, 40 }, 20, "abacz" },
    { "re-armed with 0", { 0, 0, 0 }, 0, "abcaz" },
};

const struct { const char *name; unsigned int flags; const char *left; int how, calls; bool error, stays; } ends[] = {
    { "data alone", ULOOP_READ, "rest", -1, 1, false, true },
    { "hang-up", ULOOP_READ, "", SHUT_RDWR, 1, true, false },
    { "hang-up, data left", ULOOP_READ | ULOOP_BLOCKING, "rest", SHUT_RDWR, 1, true, false },
    { "hang-up, errors wanted", ULOOP_READ | ULOOP_ERROR_CB, "", SHUT_RDWR, 4, true, true },
    { "half-close", ULOOP_READ, "", SHUT_WR, 4, false, true },
};
// clang-format on

TEST_F(ULoop, RunsTimersInOrder) {
    for (const auto &c : orders) {
        SCOPED_TRACE(c.name);
        ran.clear();
        testClock.stop();
        testClock.onPass = [] { testClock.advance(1); };
        const int64_t begin = testClock.stoppedAt;
        Lettered timers[4] = {};
        for (int i = 0; i < 4; i++) {
            timers[i] = { { .cb = note }, "abcz"[i], i ? -101 : c.againA };
            testClock.us = (3 - i) * 300; // the later one is due before, in the same millisecond
            EXPECT_EQ(uloop_timeout_set(&timers[i], i < 3 ? c.ms[i] : 50), 0);
        }
        EXPECT_EQ(uloop_timeout_add(&timers[3]), -1); // it is pending
        uloop_end();                                  // forgotten when the run begins
        EXPECT_EQ(uloop_run(), 0);
        EXPECT_EQ(testClock.stoppedAt - begin, 50);
        EXPECT_EQ(ran, c.order);
    }
}

// A connection whose one end the loop watches.
struct Watched : uloop_fd {
    int peer, calls = 0;
    std::string data;
    uloop_fd *victim = nullptr; // deleted in the callback
    explicit Watched(unsigned int wanted) : uloop_fd{} {
        int both[2];
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, both), 0);
        fd = both[0];
        peer = both[1];
        cb = [](uloop_fd *u, unsigned int) { static_cast<Watched *>(u)->hear(); };
        EXPECT_EQ(uloop_fd_add(this, wanted), 0);
        EXPECT_EQ((fcntl(fd, F_GETFL) & O_NONBLOCK) == 0, (wanted & ULOOP_BLOCKING) != 0);
    }
    ~Watched() {
        EXPECT_EQ(uloop_fd_delete(this), 0); // also when it isn't registered
        close(fd);
        EXPECT_EQ(uloop_fd_add(this, ULOOP_READ), -1);
        close(peer);
    }
    void hear() {
        calls++;
        char byte;
        while (recv(fd, &byte, 1, MSG_DONTWAIT) == 1) data += byte;
        if (victim) uloop_fd_delete(victim);
    }
};

TEST_F(ULoop, UnregistersOnAHangUpBeforeItsOnlyCall) {
    for (const auto &c : ends) {
        SCOPED_TRACE(c.name);
        Watched watched(c.flags);
        send(watched.peer, c.left, strlen(c.left), 0);
        if (c.how >= 0) shutdown(watched.peer, c.how);
        uloop_run_timeout(1), uloop_run_timeout(1), uloop_run_timeout(1), uloop_run_timeout(1);
        EXPECT_EQ(watched.calls, c.calls);
        EXPECT_EQ(watched.data, c.left);
        EXPECT_EQ(watched.error, c.error);
        EXPECT_EQ(watched.eof, c.how >= 0);
        EXPECT_EQ(watched.registered, c.stays);
    }
}

// Both are ready in one batch; whoever comes first takes the other out.
TEST_F(ULoop, ADeletedDescriptorIsNotCalledFromTheBatch) {
    Watched a(ULOOP_READ), b(ULOOP_READ);
    a.victim = &b;
    b.victim = &a;
    EXPECT_EQ(send(a.peer, "x", 1, 0) + send(b.peer, "x", 1, 0), 2);
    uloop_run_timeout(1), uloop_run_timeout(1), uloop_run_timeout(1), uloop_run_timeout(1);
    EXPECT_EQ(a.calls + b.calls, 1);
}

// A wait in progress is cut short by a timer armed meanwhile, and a timer that is gone wakes nobody.
TEST_F(ULoop, WaitsForWhatIsFirstNow) {
    static uloop_timeout late, first;
    static int passes;
    late.cb = first.cb = [](uloop_timeout *timer) { timer == &late ? uloop_end() : void(passes++); };
    uloop_timeout_set(&late, 7200000); // a test that waits for one of these two doesn't end
    uloop_timeout_set(&first, 3600000);
    Watched nudge(ULOOP_READ);
    nudge.cb = [](uloop_fd *u, unsigned int) {
        static_cast<Watched *>(u)->hear();
        uloop_timeout_cancel(&first); // the wait was for this one
        uloop_timeout_set(&late, 100);
    };
    send(nudge.peer, "x", 1, 0);
    const int64_t begin = now_ms();
    EXPECT_EQ(uloop_run(), 0);
    EXPECT_GE(now_ms() - begin, 99);
    EXPECT_EQ(passes, 0);
    EXPECT_LT(testClock.passes, 10); // it slept
}

// Each in a child: signals and their actions belong to the process.
TEST(ULoopSignals, EndTheLoopUnlessTheyAreSomeoneElses) {
    const auto ended_by = [](void (*before)(), uloop_timeout_handler end) {
        signal(SIGINT, SIG_DFL); // in the background it is ignored
        before();
        uloop_init();
        raise(SIGPIPE); // is nothing
        raise(SIGTERM); // before the run: forgotten
        uloop_timeout timer = { .cb = end };
        uloop_timeout_set(&timer, 10);
        _exit(uloop_run());
    };
    const auto interrupt = [](uloop_timeout *) { raise(SIGINT); };
    EXPECT_EXIT(ended_by([] {}, interrupt), testing::ExitedWithCode(SIGINT), "");
    EXPECT_EXIT(ended_by([] { signal(SIGINT, [](int) { _exit(7); }); }, interrupt), testing::ExitedWithCode(7), "");
    EXPECT_EXIT(ended_by([] {}, [](uloop_timeout *) { uloop_end(); }), testing::ExitedWithCode(0), "");
}
} // namespace
