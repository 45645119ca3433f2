// Lets the event loop run the timer service of foundation.
#pragma once

/** From now on one uloop timer runs the timer service; stop cancels it. */
void vesk_start_timer_service();
void vesk_stop_timer_service();
