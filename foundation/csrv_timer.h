// A list of heap-allocated timers on the monotonic clock, each known to its owner by an identifier only.
// It stands beside the event loop's own timers: those are structures inside the owner's record, these
// repeat by themselves and carry two opaque arguments. Single-threaded: main loop only.
#pragma once

#include <cstdint>

using csrv_callback = void (*)(uint32_t arg1, uint32_t arg2);

/** A point on the monotonic clock. */
struct CsrvTime {
    int32_t sec;  // seconds
    int32_t msec; // 0 to 999
};

/** One armed timer; on the list, or running its callback, never both. */
struct CsrvTimer {
    CsrvTimer *next;
    CsrvTimer *prev;
    int32_t id;
    csrv_callback callback;
    uint32_t arg1; // handed back unchanged
    uint32_t arg2;
    CsrvTime expire; // next expiry
    int32_t period;  // milliseconds from the end of one run to the next; 0: one-shot
};

/** Arms a one-shot timer due in `ms` milliseconds (0 or less: at once). The identifier, or -1. */
int csrv_start_timer(int ms, csrv_callback callback, uint32_t arg1, uint32_t arg2);

/** Arms a timer that repeats every `ms` milliseconds; 0 or less makes it one-shot, due at once. As above. */
int csrv_start_periodic_timer(int ms, csrv_callback callback, uint32_t arg1, uint32_t arg2);

/** Stops a timer, also from inside its own callback. 0, or -1 if there is no such timer. */
int csrv_stop_timer(int id);

/** Puts a heap record (malloc) at its sorted place; the list owns it from then on. NULL is ignored. */
void add_timer(CsrvTimer *timer);

/** Runs every timer due at `now`; the callbacks may arm and stop timers. NULL is ignored. */
void timer_expired(CsrvTime *now);

/** The tick: reads the clock and runs what is due. */
void csrv_run_timers(void);

/** Milliseconds until the next expiry, at least 1; -1 while no timer is armed. */
int csrv_next_timeout(void);

/** Number of timers on the list; one that is running its callback isn't counted. */
int csrv_timer_count(void);

/** Unlinks and frees all timers on the list. */
void csrv_clear_timers(void);

/**
 * Names the function to call after every start, stop, clear and run, so that whoever drives the tick can
 * re-arm its own timer with csrv_next_timeout. NULL for none. The hook must not start or stop timers.
 */
void csrv_set_rearm_hook(void (*hook)(void));
