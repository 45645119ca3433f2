// The list is circular with a static head, sorted by ascending expiry. A timer is taken off the list
// before its callback runs, so that the callback may stop or arm whatever it likes; `running` lets it
// stop itself.
#include "foundation/csrv_timer.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace
{

CsrvTimer head = { &head, &head, 0, nullptr, 0, 0, {}, 0 };
int32_t lastId = 0;
CsrvTimer *running = nullptr;
void (*rearmHook)(void) = nullptr;

int read_clock(CsrvTime *time)
{
    *time = {};
    timespec now;
    if (clock_gettime(CLOCK_MONOTONIC, &now) != 0)
        return -1;
    time->sec = static_cast<int32_t>(now.tv_sec);
    time->msec = static_cast<int32_t>(now.tv_nsec / 1000000);
    return 0;
}

bool is_due(const CsrvTime *now, const CsrvTime *expire)
{
    if (now == nullptr || expire == nullptr)
        return false;
    return now->sec > expire->sec || (now->sec == expire->sec && now->msec >= expire->msec);
}

void expire_in(CsrvTime *expire, int ms)
{
    read_clock(expire);
    if (ms <= 0)
        return;
    expire->sec += ms / 1000;
    expire->msec += ms % 1000;
    expire->sec += expire->msec / 1000;
    expire->msec %= 1000;
}

void unlink_timer(CsrvTimer *timer)
{
    timer->prev->next = timer->next;
    timer->next->prev = timer->prev;
    timer->next = nullptr;
    timer->prev = nullptr;
}

void call_rearm_hook()
{
    if (rearmHook != nullptr)
        rearmHook();
}

/** Past the largest identifier comes 0. */
int32_t next_id()
{
    lastId = lastId == INT32_MAX ? 0 : lastId + 1;
    return lastId;
}

int arm(int ms, int period, csrv_callback callback, uint32_t arg1, uint32_t arg2)
{
    auto *timer = static_cast<CsrvTimer *>(malloc(sizeof(CsrvTimer)));
    if (timer == nullptr) {
        puts("csrv_start_timer failed, failed to alloc memory");
        return -1;
    }
    *timer = { nullptr, nullptr, next_id(), callback, arg1, arg2, {}, period };
    expire_in(&timer->expire, ms);
    const int id = timer->id;
    add_timer(timer);
    call_rearm_hook();
    return id;
}

/** The period is read after the callback, which may have stopped its own timer by setting it to 0. */
void run_timer(CsrvTimer *timer)
{
    running = timer;
    timer->callback(timer->arg1, timer->arg2);
    const int32_t period = timer->period;
    running = nullptr;
    if (period == 0) {
        free(timer);
        return;
    }
    expire_in(&timer->expire, period);
    add_timer(timer);
}

CsrvTimer *find_timer(int id)
{
    for (CsrvTimer *timer = head.next; timer != &head; timer = timer->next)
        if (timer->id == id)
            return timer;
    return nullptr;
}

} // namespace

int csrv_start_timer(int ms, csrv_callback callback, uint32_t arg1, uint32_t arg2)
{
    return arm(ms, 0, callback, arg1, arg2);
}

int csrv_start_periodic_timer(int ms, csrv_callback callback, uint32_t arg1, uint32_t arg2)
{
    return arm(ms, std::max(ms, 0), callback, arg1, arg2);
}

int csrv_stop_timer(int id)
{
    if (CsrvTimer *timer = find_timer(id)) {
        unlink_timer(timer);
        free(timer);
        call_rearm_hook();
        return 0;
    }
    if (running != nullptr && running->id == id) {
        running->period = 0;
        return 0;
    }
    return -1;
}

// A new timer goes in front of the first one that isn't earlier: of equals the last armed runs first.
void add_timer(CsrvTimer *timer)
{
    if (timer == nullptr)
        return;
    CsrvTimer *place = head.next;
    while (place != &head && !is_due(&place->expire, &timer->expire))
        place = place->next;
    timer->next = place;
    timer->prev = place->prev;
    place->prev->next = timer;
    place->prev = timer;
}

void timer_expired(CsrvTime *now)
{
    if (now == nullptr)
        return;
    while (head.next != &head && is_due(now, &head.next->expire)) {
        CsrvTimer *timer = head.next;
        unlink_timer(timer);
        run_timer(timer);
    }
}

void csrv_run_timers(void)
{
    CsrvTime now;
    if (read_clock(&now) == 0)
        timer_expired(&now);
    call_rearm_hook();
}

int csrv_next_timeout(void)
{
    if (head.next == &head)
        return -1;
    CsrvTime now;
    read_clock(&now);
    const CsrvTime &expire = head.next->expire;
    const int64_t left = (int64_t{ expire.sec } - now.sec) * 1000 + expire.msec - now.msec;
    return static_cast<int>(std::clamp<int64_t>(left, 1, INT_MAX));
}

int csrv_timer_count(void)
{
    int count = 0;
    for (const CsrvTimer *timer = head.next; timer != &head; timer = timer->next)
        ++count;
    return count;
}

void csrv_clear_timers(void)
{
    CsrvTimer *timer = head.next;
    head.next = head.prev = &head;
    while (timer != &head) {
        CsrvTimer *next = timer->next;
        free(timer);
        timer = next;
    }
    call_rearm_hook();
}

void csrv_set_rearm_hook(void (*hook)(void))
{
    rearmHook = hook;
}
