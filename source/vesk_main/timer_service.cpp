// The event loop's side of the timer service: one loop timer that is always set to the service's next expiry.
// The service calls rearm after everything that may have changed that expiry.
#include "source/vesk_main/timer_service.h"

#include "foundation/csrv_timer.h"
#include "foundation/ubus_headers.h"

namespace
{

uloop_timeout tick; // static: this module's only

void rearm()
{
    const int ms = csrv_next_timeout();
    if (ms < 0)
        uloop_timeout_cancel(&tick);
    else
        uloop_timeout_set(&tick, ms);
}

void run_tick(uloop_timeout *)
{
    csrv_run_timers();
}

} // namespace

void vesk_start_timer_service()
{
    tick.cb = run_tick;
    csrv_set_rearm_hook(rearm);
    rearm(); // timers armed before now
}

void vesk_stop_timer_service()
{
    csrv_set_rearm_hook(nullptr);
    uloop_timeout_cancel(&tick);
}
