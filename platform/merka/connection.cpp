// The connection to the broker, and its return after a loss.
//
// The bus library's connect waits for the broker's greeting without limit. So a non-blocking connection of
// our own, the probe, goes first, and only when the greeting has arrived there does the library connect
// too. In the loop the probe is a descriptor among others and one timer paces the attempts; at start-up,
// when there is no loop yet, the probe is waited for with a limit.
#include <fcntl.h>
#include <unistd.h>

#include "platform/merka/greeting.h"
#include "platform/merka/merka_internal.h"
#include "platform/merka/watchdog.h"

namespace
{

constexpr int retryMs = 250;         // between attempts when the broker can't be reached
constexpr int greetingMs = 1000;     // how long an accepted connection may stay without a greeting
constexpr int mendMs = 1000;         // until an object or subscription that was refused is tried again
constexpr int settleMs = 1000;       // listeners reconnect as well: let them be back before we send
constexpr int statusBadGreeting = 9; // ubus_reconnect: connected, but greeted wrongly

void on_retry(uloop_timeout *timer);
void on_probe(uloop_fd *fd, unsigned events);

struct Connection {
    ubus_context memory;
    ubus_context *ctx; // &memory from the first success on, for good
    void (*readable)(uloop_fd *fd, unsigned events);
    void (*pending)(uloop_timeout *timer);
    bool up;
    bool inLoop;
    uloop_timeout retry;
    uloop_timeout passOver;
    uloop_fd probe;
} bus = { .probe = { .cb = on_probe, .fd = -1 } };

void try_again_in(int ms)
{
    bus.retry.cb = on_retry;
    uloop_timeout_set(&bus.retry, ms);
}

/**
 * Runs inside a bus call as well as from the loop, and twice for one loss, so it does no more than arm the
 * timer. Without it the library's default would end the loop, or leave it running on a dead connection.
 */
void on_connection_lost(ubus_context *)
{
    if (!bus.up)
        return;
    bus.up = false;
    try_again_in(retryMs);
}

/** What the loop calls of the library, under the watchdog's eyes. */
void on_readable(uloop_fd *fd, unsigned events)
{
    merka::watchdog_enter();
    bus.readable(fd, events);
    merka::watchdog_leave();
}

void on_pending(uloop_timeout *timer)
{
    merka::watchdog_enter();
    bus.pending(timer);
    merka::watchdog_leave();
}

bool connect_first()
{
    if (ubus_connect_ctx(&bus.memory, merka::socket_path()) != 0)
        return false;
    bus.ctx = &bus.memory;
    bus.readable = bus.ctx->sock.cb;
    bus.ctx->sock.cb = on_readable;
    bus.pending = bus.ctx->pending_timer.cb;
    bus.ctx->pending_timer.cb = on_pending;
    return true;
}

/** Connects the library, for the first time or anew with its objects. */
bool connect_library()
{
    merka::watchdog_start(&bus.memory);
    if (bus.ctx == nullptr)
        return connect_first();
    merka::remember_objects(bus.ctx);
    const int status = ubus_reconnect(bus.ctx, merka::socket_path());
    if (status == statusBadGreeting)
        bus.ctx->sock.fd = -1; // already closed; the next attempt would close a stranger's descriptor
    return status == 0 && !bus.ctx->sock.eof;
}

/** Out of the loop's callbacks a call ends with the pass. */
void on_pass_over(uloop_timeout *)
{
    merka::watchdog_leave();
}

/** A reconnect restores objects, but neither the place in the loop nor the event subscriptions. */
bool bring_up(int settle)
{
    merka::watch_this_pass();
    if (!connect_library())
        return false;
    bus.up = true;
    bus.ctx->connection_lost = on_connection_lost;
    fcntl(bus.ctx->sock.fd, F_SETFD, FD_CLOEXEC);
    uloop_timeout_cancel(&bus.retry);
    ubus_add_uloop(bus.ctx);
    merka::forget_registrations();
    merka::complete_registration();
    if (bus.up)
        merka::resume_sending(settle);
    return true;
}

/** Each attempt starts over with a new probe: the socket's path may belong to a new broker by now. */
void on_retry(uloop_timeout *)
{
    if (bus.up) {
        merka::complete_registration();
        return;
    }
    merka::close_watched(bus.probe);
    if (bus.ctx != nullptr)
        uloop_fd_delete(&bus.ctx->sock); // a half-closed one would keep the loop busy
    bus.probe.fd = greeting_open(merka::socket_path());
    if (bus.probe.fd >= 0)
        uloop_fd_add(&bus.probe, ULOOP_READ);
    try_again_in(bus.probe.fd >= 0 ? greetingMs : retryMs);
}

void on_probe(uloop_fd *fd, unsigned)
{
    const Greeting greeting = greeting_look(fd->fd);
    if (greeting == Greeting::missing && !fd->error && !fd->eof)
        return;
    merka::close_watched(bus.probe);
    if (greeting != Greeting::ready || !bring_up(settleMs))
        try_again_in(retryMs);
}

} // namespace

ubus_context *merka::connected_context()
{
    return bus.up ? bus.ctx : nullptr;
}

void merka::close_watched(uloop_fd &watched)
{
    if (watched.fd < 0)
        return;
    uloop_fd_delete(&watched);
    close(watched.fd);
    watched.fd = -1;
}

void merka::watch_this_pass()
{
    watchdog_enter();
    bus.passOver.cb = on_pass_over;
    uloop_timeout_set(&bus.passOver, 0);
}

void merka::complete_registration()
{
    if (!bus.up)
        return;
    watch_this_pass();
    const bool objects = restore_objects(bus.ctx);
    const bool subscriptions = register_missing(bus.ctx);
    if (bus.up && !(objects && subscriptions))
        try_again_in(mendMs);
}

void merka::connect_before_loop()
{
    if (bus.up || greeting_await(merka::socket_path(), greetingMs) != Greeting::ready)
        return;
    const bool first = bus.ctx == nullptr;
    bring_up(first ? 0 : settleMs);
}

void merka::enter_loop()
{
    bus.inLoop = true;
    watchdog_leave();
    if (!bus.up)
        try_again_in(0);
}

void merka::leave_loop()
{
    bus.inLoop = false;
}

bool merka::in_loop()
{
    return bus.inLoop;
}
