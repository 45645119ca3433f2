// Lifecycle of the process: instance lock, signals and clean-up, ready flag, presence of the bus object.
#pragma once

/** Waits for the bus broker's socket; one line on stderr every 2 seconds. */
void vesk_wait_for_bus();
/** Takes the instance lock for the life of the process. 0, or -1 with a line on stderr. */
int vesk_lock_instance();
/** Holds the signals that end the process back until vesk_init_signals: in between the loop library takes
 * some of them for itself, and one that came then would be lost. */
void vesk_hold_signals();
/** Installs the handlers of those signals, lets them in and blocks SIGCHLD; needs uloop_init before. */
void vesk_init_signals();
/** Stops everything in a fixed order and exits with 0. */
[[noreturn]] void vesk_clean_up();

/** Creates /tmp/vesk_ready. */
void vesk_create_ready_flag();
/** Writes the model to the log and saves a copy of the log. */
void vesk_print();

/** Asks the stub for the bus object and keeps it in the daemon record. */
struct ubus_object *vesk_get_ubus_obj();
void vesk_add_ubus_obj();
void vesk_remove_ubus_obj();
