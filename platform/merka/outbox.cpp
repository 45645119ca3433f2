// Signals that go out. A signal is handed to the broker without waiting for its answer, and only while
// the socket takes it: the bus library's send waits until the whole message is out. What can't go now
// waits in a ring, and as long as anything waits there, later signals go behind it. A full socket is watched
// through a second descriptor of it, since the library's own is in the loop for reading.
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/merka/merka_internal.h"

namespace
{

constexpr unsigned ringSize = 1024;
constexpr int pollMs = 10;          // how often a full socket is looked at again when it can't be watched
constexpr int memoryMs = 1000;      // after how long a message is built again that there was no memory for
constexpr uint32_t eventObject = 1; // the broker's own object that passes events on
// A Unix socket is writable while no more than a quarter of its send buffer (160 KiB and up) is used, so
// that a message of this size always fits when it is.
constexpr int largestPayload = 32768;

/** The payload follows in the same block. */
struct Waiting {
    int size;
    char name[merka::longestName + 1];
};

void on_writable(uloop_fd *watch, unsigned events);

struct Outbox {
    Waiting *ring[ringSize];
    unsigned first;
    unsigned count;
    unsigned dropped; // since it was last reported
    bool settling;    // the bus is back, its listeners may not be
    uloop_timeout timer;
    uloop_fd watch;
    blob_buf message; // memory is kept from signal to signal
} out = { .watch = { .cb = on_writable, .fd = -1 } };

bool socket_takes_it()
{
    ubus_context *ctx = merka::connected_context();
    if (ctx == nullptr || ctx->sock.eof)
        return false;
    pollfd entry = { ctx->sock.fd, POLLOUT, 0 };
    return poll(&entry, 1, 0) == 1 && entry.revents == POLLOUT;
}

/** Whether there was memory for the whole message. */
bool build(const char *name, const void *payload, int size)
{
    if (blob_buf_init(&out.message, 0) != 0 || blobmsg_add_string(&out.message, "id", name) != 0)
        return false;
    void *data = blobmsg_open_table(&out.message, "data");
    if (data == nullptr)
        return false;
    if (size > 0 && blobmsg_add_field(&out.message, BLOBMSG_TYPE_UNSPEC, "payload", payload,
                                      static_cast<unsigned>(size)) != 0)
        return false;
    blobmsg_close_table(&out.message, data);
    return true;
}

enum class Handed { over, noMemory, refused };

/** The request isn't completed, so the library keeps no trace of it and ignores the broker's answer. */
Handed hand_over(const char *name, const void *payload, int size)
{
    if (!build(name, payload, size))
        return Handed::noMemory;
    ubus_request request = {};
    const int status =
        ubus_invoke_async(merka::connected_context(), eventObject, "send", out.message.head, &request);
    return status == 0 ? Handed::over : Handed::refused;
}

void drop_first()
{
    free(out.ring[out.first]);
    out.ring[out.first] = nullptr;
    out.first = (out.first + 1) % ringSize;
    --out.count;
}

int put_aside(const char *name, const void *payload, int size)
{
    auto *entry = static_cast<Waiting *>(malloc(sizeof(Waiting) + static_cast<size_t>(size)));
    if (entry == nullptr) {
        ++out.dropped;
        return -1;
    }
    entry->size = size;
    strcpy(entry->name, name);
    if (size > 0)
        memcpy(entry + 1, payload, static_cast<size_t>(size));
    if (out.count == ringSize) {
        drop_first();
        ++out.dropped;
    }
    out.ring[(out.first + out.count++) % ringSize] = entry;
    return 0;
}

void report_dropped()
{
    if (out.dropped == 0)
        return;
    fprintf(stderr, "merka: signals go out again, %u were dropped\n", out.dropped);
    out.dropped = 0;
}

void on_timer(uloop_timeout *);

void look_again_in(int ms)
{
    out.timer.cb = on_timer;
    uloop_timeout_set(&out.timer, ms);
}

/** Comes back as soon as the socket takes more. */
void await_room()
{
    if (out.watch.fd >= 0)
        return;
    out.watch.fd = fcntl(merka::connected_context()->sock.fd, F_DUPFD_CLOEXEC, 0);
    if (out.watch.fd < 0 || uloop_fd_add(&out.watch, ULOOP_WRITE | ULOOP_BLOCKING) != 0) {
        merka::close_watched(out.watch);
        look_again_in(pollMs);
    }
}

/** Goes on when what was in the way may be gone. A socket that takes more doesn't tell of memory. */
void await(Handed last)
{
    if (last == Handed::noMemory)
        look_again_in(memoryMs);
    else
        await_room();
}

/** Sends what waits for as long as the socket takes it. Without a connection resume_sending starts anew. */
void send_waiting()
{
    Handed handed = Handed::over;
    while (out.count > 0 && socket_takes_it()) {
        const Waiting *entry = out.ring[out.first];
        handed = hand_over(entry->name, entry + 1, entry->size);
        if (handed != Handed::over)
            break;
        report_dropped();
        drop_first();
    }
    if (out.count > 0 && merka::connected_context() != nullptr)
        await(handed);
}

void on_writable(uloop_fd *, unsigned)
{
    merka::close_watched(out.watch);
    send_waiting();
}

void on_timer(uloop_timeout *)
{
    out.settling = false;
    send_waiting();
}

} // namespace

int merka::send_signal(const char *name, const void *payload, int size)
{
    if (name == nullptr || name[0] == '\0' || strlen(name) > longestName)
        return -1;
    if (size < 0 || size > largestPayload || (payload == nullptr && size > 0))
        return -1;
    Handed handed = Handed::refused;
    if (out.count == 0 && !out.settling && socket_takes_it())
        handed = hand_over(name, payload, size);
    if (handed == Handed::over) {
        report_dropped();
        return 0;
    }
    const int result = put_aside(name, payload, size);
    if (connected_context() != nullptr && !out.timer.pending && out.count > 0)
        await(handed);
    return result;
}

void merka::resume_sending(int settleMs)
{
    close_watched(out.watch); // of the connection that is gone
    out.settling = settleMs > 0;
    if (out.settling)
        look_again_in(settleMs);
    else
        send_waiting();
}
