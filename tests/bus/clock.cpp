// Stand in front of the C library's functions of the same names: the bus libraries call these.
#include "tests/bus/clock.h"

#include <poll.h>
#include <sys/epoll.h>
#include <sys/syscall.h>
#include <sys/timerfd.h>
#include <time.h>
#include <unistd.h>

#include "tests/bus/harness.h"

TestClock testClock;

namespace {
const auto is_stopped = [] { return testClock.stoppedAt >= 0; };
} // namespace

void TestClock::stop() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    stoppedAt = int64_t{ now.tv_sec } * 1000;
}

extern "C" {
int clock_gettime(clockid_t clock, timespec *now) noexcept {
    if (clock != CLOCK_MONOTONIC || !is_stopped()) return static_cast<int>(syscall(SYS_clock_gettime, clock, now));
    *now = { static_cast<time_t>(testClock.stoppedAt / 1000),
             static_cast<long>((testClock.stoppedAt % 1000 * 1000 + testClock.us) * 1000) };
    return 0;
}

int poll(pollfd *fds, nfds_t count, int limit) {
    testClock.limitedPolls += limit > 0;
    const bool elapses = limit > 0 && is_stopped() && testClock.pollsElapse;
    const int waited = elapses ? 0 : limit > 0 && is_stopped() ? PATIENCE : limit;
    const timespec span = { waited / 1000, waited % 1000 * 1000000L };
    const int ready = ppoll(fds, count, waited < 0 ? nullptr : &span, nullptr);
    if (ready == 0 && elapses) testClock.advance(limit);
    return ready;
}

/** On a stopped clock no wait is long: whoever waits for something else looks again. */
int epoll_wait(int fd, epoll_event *events, int count, int limit) {
    testClock.passes++;
    if (testClock.onPass) testClock.onPass();
    return epoll_pwait(fd, events, count, is_stopped() ? limit == 0 ? 0 : 1 : limit, nullptr);
}

/** The kernel's alarms don't know of a stopped clock: there are none then. */
int timerfd_settime(int fd, int flags, const itimerspec *when, itimerspec *old) noexcept {
    return is_stopped() ? -1 : static_cast<int>(syscall(SYS_timerfd_settime, fd, flags, when, old));
}
}
