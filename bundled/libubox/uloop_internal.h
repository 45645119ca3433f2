// What the parts of the event loop share.
#pragma once

#include <libubox/uloop.h>

// Milliseconds that a poll has to wait for the first timer: 0 when one is due, -1 when there is none or when
// the alarm is going to end the wait.
int uloop_timers_wait(void);
// Runs what is due. Timers armed by the callbacks for later than the pass's start wait for the next pass.
void uloop_timers_run(void);
void uloop_timers_clear(void);
// The descriptor that wakes the loop for its first timer; without it the poll's own limit does.
void uloop_alarm_open(void);
void uloop_alarm_close(void);

int uloop_poll_open(void);
void uloop_poll_close(void);
// Waits at most `timeout` milliseconds (-1: for ever) and runs one descriptor's callback.
void uloop_poll_once(int timeout);

int uloop_signals_open(void); // the wake-up pipe and the actions that end the loop
void uloop_signals_close(void);
int uloop_stop_signal(void); // number of the signal that stopped the loop, 0: none
void uloop_clear_stop(void);
