// Ends a wait inside the bus library that a broker which stands still would make endless. The library's
// synchronous calls, its sending of a long reply, its reading of half a message and its connecting wait
// without limit; whoever calls into it stands between enter and leave. A thread, asleep as long as nothing
// calls, looks twice a second whether the same call is still under way; when the broker doesn't greet a
// connection of the thread's own either, it shuts the library's connection down and interrupts the caller.
// The call fails, the loss is noticed as any other, and the loop goes on.
#pragma once

struct ubus_context;

namespace merka
{

/** Starts the thread, once; `ctx` stays for good. Without a thread waits are as long as the library makes
 * them. */
void watchdog_start(const ubus_context *ctx);

/** Both on the main loop's thread. A second enter changes nothing, a second leave neither. */
void watchdog_enter();
void watchdog_leave();

} // namespace merka
