// Timers: a list sorted by due time. Times are compared in whole milliseconds, so that timers of the
// same millisecond run in the order in which they were armed.
#include "bundled/libubox/uloop_internal.h"

#include <limits.h>
#include <time.h>

namespace
{
list_head timers = LIST_HEAD_INIT(timers);

constexpr int64_t usPerSecond = 1000000;

timeval monotonic_now()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return { now.tv_sec, static_cast<suseconds_t>(now.tv_nsec / 1000) };
}

int64_t microseconds_between(const timeval &from, const timeval &to)
{
    return (int64_t{ to.tv_sec } - from.tv_sec) * usPerSecond + (int64_t{ to.tv_usec } - from.tv_usec);
}

int clamp_to_int(int64_t value)
{
    return value > INT_MAX ? INT_MAX : value < INT_MIN ? INT_MIN : static_cast<int>(value);
}

timeval moved(const timeval &base, int msecs)
{
    const int64_t us = int64_t{ base.tv_usec } + int64_t{ msecs } * 1000;
    int64_t seconds = us / usPerSecond;
    int64_t rest = us % usPerSecond;
    if (rest < 0) {
        rest += usPerSecond;
        seconds--;
    }
    return { static_cast<time_t>(base.tv_sec + seconds), static_cast<suseconds_t>(rest) };
}
} // namespace

int uloop_timeout_add(uloop_timeout *timeout)
{
    if (timeout->pending)
        return -1;
    // From the end: most timers are armed for later than those that wait already.
    list_head *before = timers.prev;
    while (before != &timers) {
        const auto *other = list_entry(before, uloop_timeout, list);
        if (microseconds_between(timeout->time, other->time) / 1000 <= 0)
            break;
        before = before->prev;
    }
    list_add(&timeout->list, before);
    timeout->pending = true;
    return 0;
}

int uloop_timeout_set(uloop_timeout *timeout, int msecs)
{
    if (timeout->pending)
        uloop_timeout_cancel(timeout);
    timeout->time = moved(monotonic_now(), msecs);
    uloop_timeout_add(timeout);
    return 0;
}

int uloop_timeout_cancel(uloop_timeout *timeout)
{
    if (!timeout->pending)
        return -1;
    list_del(&timeout->list);
    timeout->pending = false;
    return 0;
}

int64_t uloop_timeout_remaining64(uloop_timeout *timeout)
{
    return timeout->pending ? microseconds_between(monotonic_now(), timeout->time) / 1000 : -1;
}

int uloop_timeout_remaining(uloop_timeout *timeout)
{
    return clamp_to_int(uloop_timeout_remaining64(timeout));
}

int uloop_timers_wait()
{
    if (list_empty(&timers))
        return -1;
    const int64_t us =
        microseconds_between(monotonic_now(), list_first_entry(&timers, uloop_timeout, list)->time);
    return us <= 0 ? 0 : clamp_to_int((us + 999) / 1000);
}

int uloop_get_next_timeout()
{
    return uloop_timers_wait();
}

void uloop_timers_run()
{
    const timeval now = monotonic_now();
    while (!list_empty(&timers)) {
        auto *timer = list_first_entry(&timers, uloop_timeout, list);
        if (microseconds_between(now, timer->time) > 0)
            break;
        uloop_timeout_cancel(timer);
        if (timer->cb)
            timer->cb(timer);
    }
}

void uloop_timers_clear()
{
    while (!list_empty(&timers))
        uloop_timeout_cancel(list_first_entry(&timers, uloop_timeout, list));
}
