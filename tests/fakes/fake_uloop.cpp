// The event loop on a virtual clock: nothing runs but what fake_advance lets fall due.
#include "tests/fakes/fakes.h"

#include <algorithm>

FakeLoop fakeLoop;

namespace {
const auto find = [](const uloop_timeout *timer) {
    return std::ranges::find(fakeLoop.timers, timer, [](const auto &pending) { return pending.second; });
};
} // namespace

int64_t FakeLoop::due(const uloop_timeout *timer) const {
    const auto found = find(timer);
    return found == timers.end() ? -1 : found->first - nowMs;
}

void fake_advance(std::chrono::milliseconds span) {
    const int64_t end = fakeLoop.nowMs + span.count();
    while (!fakeLoop.timers.empty() && fakeLoop.timers.begin()->first <= end) {
        const auto [due, timer] = *fakeLoop.timers.begin();
        fakeLoop.nowMs = std::max(fakeLoop.nowMs, due);
        uloop_timeout_cancel(timer);
        if (timer->cb) timer->cb(timer);
    }
    fakeLoop.nowMs = std::max(fakeLoop.nowMs, end);
}

extern "C" {
/** These doubles of the library's variables and functions are meant. */
const char *__asan_default_options(void) { return "detect_odr_violation=0"; }

bool uloop_cancelled;
bool uloop_handle_sigchld = true;

// clang-format off
int uloop_init(void) { return 0; }
int uloop_run_timeout(int) { return 0; }
void uloop_done(void) {}
int uloop_timeout_remaining(uloop_timeout *timer) { return static_cast<int>(fakeLoop.due(timer)); }
// clang-format on

int uloop_timeout_cancel(uloop_timeout *timer) {
    const auto found = find(timer);
    if (found == fakeLoop.timers.end()) return -1;
    fakeLoop.timers.erase(found);
    timer->pending = false;
    return 0;
}

int uloop_timeout_set(uloop_timeout *timer, int ms) {
    uloop_timeout_cancel(timer);
    fakeLoop.timers.emplace(fakeLoop.nowMs + ms, timer);
    timer->pending = true;
    return 0;
}

int uloop_fd_add(uloop_fd *fd, unsigned) {
    if (fd->fd < 0) return -1;
    fd->registered = true;
    fakeLoop.fds.push_back(fd);
    return 0;
}

int uloop_fd_delete(uloop_fd *fd) {
    fd->registered = false;
    std::erase(fakeLoop.fds, fd);
    return 0;
}
}
