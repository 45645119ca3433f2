// The event loop on a virtual clock: nothing runs but what fake_advance lets fall due.
#include "tests/fakes/fakes.h"

#include <algorithm>

FakeLoop fakeLoop;

namespace
{
struct Pending {
    uloop_timeout *timer;
    int64_t dueMs;
    uint64_t order;
};
std::vector<Pending> pending;
uint64_t armed;

std::vector<Pending>::iterator find(const uloop_timeout *t)
{
    return std::find_if(pending.begin(), pending.end(), [t](const Pending &p) { return p.timer == t; });
}
} // namespace

void fake_reset_uloop()
{
    pending.clear();
    fakeLoop = FakeLoop{};
}

// clang-format off
int FakeLoop::pendingTimers() const { return static_cast<int>(::pending.size()); }
// clang-format on

int64_t FakeLoop::due(const uloop_timeout *timer) const
{
    auto p = find(timer);
    return p == ::pending.end() ? -1 : p->dueMs - nowMs;
}

void fake_advance(std::chrono::milliseconds span)
{
    const int64_t end = fakeLoop.nowMs + span.count();
    for (;;) {
        auto first = std::min_element(pending.begin(), pending.end(), [](const Pending &a, const Pending &b) {
            return a.dueMs != b.dueMs ? a.dueMs < b.dueMs : a.order < b.order;
        });
        if (first == pending.end() || first->dueMs > end)
            break;
        fakeLoop.nowMs = std::max(fakeLoop.nowMs, first->dueMs);
        uloop_timeout *timer = first->timer;
        pending.erase(first);
        timer->pending = false;
        if (timer->cb)
            timer->cb(timer);
    }
    fakeLoop.nowMs = std::max(fakeLoop.nowMs, end);
}

extern "C" {
/** These doubles of the library's variables and functions are meant. */
const char *__asan_default_options(void)
{
    return "detect_odr_violation=0";
}

bool uloop_cancelled;
bool uloop_handle_sigchld = true;

// clang-format off
int uloop_init(void) { return 0; }
int uloop_run_timeout(int) { return 0; }
void uloop_done(void) {}
int uloop_timeout_remaining(uloop_timeout *timer) { return static_cast<int>(fakeLoop.due(timer)); }
// clang-format on

int uloop_timeout_cancel(uloop_timeout *timer)
{
    auto p = find(timer);
    if (p == pending.end())
        return -1;
    pending.erase(p);
    timer->pending = false;
    return 0;
}

int uloop_timeout_set(uloop_timeout *timer, int ms)
{
    uloop_timeout_cancel(timer);
    pending.push_back({ timer, fakeLoop.nowMs + ms, ++armed });
    timer->pending = true;
    return 0;
}

int uloop_fd_add(uloop_fd *fd, unsigned)
{
    if (fd->fd < 0)
        return -1;
    fd->registered = true;
    fakeLoop.fds.push_back(fd);
    return 0;
}

int uloop_fd_delete(uloop_fd *fd)
{
    fd->registered = false;
    std::erase(fakeLoop.fds, fd);
    return 0;
}
}
