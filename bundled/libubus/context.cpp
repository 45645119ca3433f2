// The connection: opened, kept, lost, opened anew; and what arrives on it, handed on.
#include "bundled/libubus/internal.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{
constexpr const char *defaultPath = "/var/run/ubus.sock";
constexpr int pendingDelay = 1; // ms

// A call that arrived while handlers couldn't run; its body follows in the same block.
struct Pending {
    list_head list;
    InMessage message;
};

// Without memory the caller hears at once that there is none.
void keep_for_later(ubus_context *ctx, const InMessage &message)
{
    const size_t length = blob_raw_len(message.body);
    auto *pending = static_cast<Pending *>(malloc(sizeof(Pending) + length));
    if (!pending) {
        refuse_invoke(ctx, message, UBUS_STATUS_NO_MEMORY);
        return;
    }
    pending->message = message;
    pending->message.body = reinterpret_cast<blob_attr *>(pending + 1);
    memcpy(pending->message.body, message.body, length);
    list_add_tail(&pending->list, &ctx->pending);
}

void drop_pending(ubus_context *ctx)
{
    while (!list_empty(&ctx->pending)) {
        auto *pending = list_first_entry(&ctx->pending, Pending, list);
        list_del(&pending->list);
        free(pending);
    }
    uloop_timeout_cancel(&ctx->pending_timer);
}

void on_pending_timer(uloop_timeout *timer)
{
    dispatch_pending(container_of(timer, ubus_context, pending_timer));
}

void on_readable(uloop_fd *sock, unsigned int)
{
    ubus_context *ctx = container_of(sock, ubus_context, sock);
    dispatch_pending(ctx);
    // After a hang-up the loop doesn't report the descriptor again: read to the very end.
    const bool hangup = sock->eof || sock->error;
    Received received;
    do {
        received = stream_receive(ctx);
        dispatch_available(ctx);
    } while (received == Received::some || (hangup && received == Received::drained));
    dispatch_pending(ctx);
    if (received == Received::lost || (hangup && received == Received::nothing))
        connection_gone(ctx);
}

void default_connection_lost(ubus_context *ctx)
{
    if (ctx->sock.registered)
        uloop_end();
}

int open_socket(const char *path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (strlen(path) >= sizeof address.sun_path)
        return -1;
    memcpy(address.sun_path, path, strlen(path) + 1);
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return -1;
    if (connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0)
        return fd;
    close(fd);
    return -1;
}

bool read_exactly(int fd, void *data, size_t length)
{
    for (size_t done = 0; done < length;) {
        const ssize_t count = read(fd, static_cast<char *>(data) + done, length - done);
        if (count == 0 || (count < 0 && errno != EINTR))
            return false;
        done += count > 0 ? static_cast<size_t>(count) : 0;
    }
    return true;
}

struct [[gnu::packed]] Greeting {
    ubus_msghdr header;
    uint32_t idLen;
};
static_assert(sizeof(Greeting) == 12);

// Reads the broker's greeting; false when that is something else. Nothing in its payload matters.
bool read_greeting(int fd, uint32_t *localId)
{
    Greeting greeting;
    if (!read_exactly(fd, &greeting, sizeof greeting))
        return false;
    size_t rest = be32_to_cpu(greeting.idLen) & BLOB_ATTR_LEN_MASK;
    if (greeting.header.version != 0 || greeting.header.type != UBUS_MSG_HELLO || rest < sizeof(blob_attr) ||
        rest > UBUS_MAX_MSGLEN)
        return false;
    for (rest -= sizeof(blob_attr); rest;) {
        char ignored[64];
        const size_t step = rest < sizeof ignored ? rest : sizeof ignored;
        if (!read_exactly(fd, ignored, step))
            return false;
        rest -= step;
    }
    *localId = greeting.header.peer;
    return *localId > 1;
}

void close_connection(ubus_context *ctx)
{
    uloop_fd_delete(&ctx->sock);
    if (ctx->sock.fd >= 0)
        close(ctx->sock.fd);
    ctx->sock.fd = -1;
    ctx->sock.eof = true; // nothing can be sent until there is a new one
    stream_reset(ctx);
}

// Puts the objects of an earlier connection back, under new ids.
void add_objects_again(ubus_context *ctx)
{
    list_head known = LIST_HEAD_INIT(known);
    ubus_object *obj;
    ubus_object *following;
    list_for_each_entry_safe(obj, following, &ctx->objects, link)
    {
        list_del(&obj->link);
        list_add_tail(&obj->link, &known);
        obj->id = 0;
        if (obj->type)
            obj->type->id = 0;
    }
    while (!list_empty(&known)) {
        obj = list_first_entry(&known, ubus_object, link);
        list_del(&obj->link);
        ubus_add_object(ctx, obj); // a refusal leaves it with id 0, off the bus
    }
}
} // namespace

bool parse_attributes(blob_attr *body, blob_attr *(&attr)[UBUS_ATTR_MAX])
{
    return blob_parse(body, attr, attributeTypes, UBUS_ATTR_MAX) > 0;
}

void dispatch(ubus_context *ctx, const InMessage &message)
{
    switch (message.type) {
    case UBUS_MSG_STATUS:
    case UBUS_MSG_DATA:
        request_answer(ctx, message);
        return;
    case UBUS_MSG_INVOKE:
        dispatch_pending(ctx); // those came first
        if (ctx->stack_depth)
            keep_for_later(ctx, message);
        else
            serve_invoke(ctx, message);
        return;
    default:
        return;
    }
}

void dispatch_available(ubus_context *ctx)
{
    InMessage message;
    while (stream_next(ctx, message))
        dispatch(ctx, message);
}

void dispatch_pending(ubus_context *ctx)
{
    while (!ctx->stack_depth && !list_empty(&ctx->pending)) {
        auto *pending = list_first_entry(&ctx->pending, Pending, list);
        list_del(&pending->list);
        serve_invoke(ctx, pending->message);
        free(pending);
    }
}

void dispatch_pending_soon(ubus_context *ctx)
{
    if (ctx->stack_depth || list_empty(&ctx->pending))
        return;
    if (ctx->sock.registered)
        uloop_timeout_set(&ctx->pending_timer, pendingDelay);
    else
        dispatch_pending(ctx);
}

void connection_gone(ubus_context *ctx)
{
    ctx->sock.eof = true;
    ubus_flush_requests(ctx);
    if (ctx->connection_lost)
        ctx->connection_lost(ctx);
}

int ubus_reconnect(ubus_context *ctx, const char *path)
{
    close_connection(ctx);
    const int fd = open_socket(path ? path : defaultPath);
    if (fd < 0)
        return UBUS_STATUS_CONNECTION_FAILED;
    ctx->sock.fd = fd; // before the wait: whoever has to end it can
    if (!read_greeting(fd, &ctx->local_id)) {
        close(fd);
        ctx->sock.fd = -1;
        return UBUS_STATUS_UNKNOWN_ERROR;
    }
    fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK);
    ctx->sock.eof = false;
    ctx->sock.error = false;
    add_objects_again(ctx);
    return UBUS_STATUS_OK;
}

int ubus_connect_ctx(ubus_context *ctx, const char *path)
{
    uloop_init();
    memset(ctx, 0, sizeof *ctx);
    INIT_LIST_HEAD(&ctx->requests);
    INIT_LIST_HEAD(&ctx->objects);
    INIT_LIST_HEAD(&ctx->pending);
    ctx->sock.fd = -1;
    ctx->sock.cb = on_readable;
    ctx->pending_timer.cb = on_pending_timer;
    ctx->connection_lost = default_connection_lost;
    return ubus_reconnect(ctx, path) == UBUS_STATUS_OK ? 0 : -1;
}

ubus_context *ubus_connect(const char *path)
{
    auto *ctx = static_cast<ubus_context *>(malloc(sizeof(ubus_context)));
    if (ctx && ubus_connect_ctx(ctx, path) != 0) {
        free(ctx);
        return nullptr;
    }
    return ctx;
}

void ubus_shutdown(ubus_context *ctx)
{
    if (!ctx)
        return;
    close_connection(ctx);
    drop_pending(ctx);
    stream_free(ctx);
}

void ubus_free(ubus_context *ctx)
{
    ubus_shutdown(ctx);
    free(ctx);
}

const char *ubus_strerror(int error)
{
    static constexpr const char *texts[] = {
        "Success",
        "Invalid command",
        "Invalid argument",
        "Method not found",
        "Not found",
        "No response",
        "Permission denied",
        "Request timed out",
        "Operation not supported",
        "Unknown error",
        "Connection failed",
        "Out of memory",
        "Parsing message data failed",
        "System error",
    };
    static_assert(ARRAY_SIZE(texts) == __UBUS_STATUS_LAST);
    static char unknown[32];
    if (error >= 0 && error < __UBUS_STATUS_LAST)
        return texts[error];
    snprintf(unknown, sizeof unknown, "Unknown error: %d", error);
    return unknown;
}
