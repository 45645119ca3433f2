// What the files of the bus client library share. Everything runs on the main loop's thread.
//
//   connection     owns the context: connects, notices the loss, reconnects
//   objects        makes sure that a reconnect brings every object back
//   subscriptions  which signals come in, and whose handlers get them
//   outbox         which signals go out, at once or in order from a queue
#pragma once

#include "foundation/ubus_headers.h"
#include "include/merka.h"

namespace merka
{

constexpr int longestName = 127; // two 63-character halves and the point

/** Path of the broker's socket. A file of its own, so that a test links another one. */
const char *socket_path();

/** The context while it is connected, else NULL. */
ubus_context *connected_context();

/** Ends watching a descriptor of its own and closes it; nothing if none is open (-1). */
void close_watched(uloop_fd &watched);

/** Connects at start-up, waiting for the broker's greeting for at most a second. */
void connect_before_loop();

/** Notes all objects of the context before a reconnect; adds those that it left behind afterwards, if it can.
 */
void remember_objects(ubus_context *ctx);
bool restore_objects(ubus_context *ctx);

/** Bounds the bus calls that follow, until the loop's next pass. */
void watch_this_pass();

/** Puts on the bus what it lacks of our objects and subscriptions; what is refused is tried again each
 * second. */
void complete_registration();

/** Marks the loop as running: from here on connecting happens in the background only. */
void enter_loop();
void leave_loop();
bool in_loop();

int note_signal(const char *name);
int set_signal_table(const MerkaSignalRow *rows, int count);

/** For a connection that knows none of them yet. */
void forget_registrations();

/** Registers the noted signals that the connection doesn't know; whether it knows all of them now. */
bool register_missing(ubus_context *ctx);

int send_signal(const char *name, const void *payload, int size);

/** The bus is (back) up: what waits goes out in `settleMs` milliseconds, until then everything queues. */
void resume_sending(int settleMs);

} // namespace merka
