// What the parts of the event loop share.
#pragma once

#include <libubox/uloop.h>

// Milliseconds until the first timer, rounded up; 0 when due, -1 when there is none.
int uloop_timers_wait(void);
// Runs what is due. Timers armed by the callbacks for later than the pass's start wait for the next pass.
void uloop_timers_run(void);
void uloop_timers_clear(void);

int uloop_poll_open(void);
void uloop_poll_close(void);
// Waits at most `timeout` milliseconds (-1: for ever) and runs one descriptor's callback.
void uloop_poll_once(int timeout);

int uloop_signals_open(void); // the wake-up pipe and the actions that end the loop
void uloop_signals_close(void);
int uloop_stop_signal(void); // number of the signal that stopped the loop, 0: none
void uloop_clear_stop(void);
