// Bytes in and out of the connection. Outgoing messages are gathered from where their pieces stand;
// incoming ones are read ahead into one buffer that grows to the longest message and is kept.
#include "bundled/libubus/internal.h"

#include <errno.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/socket.h>

namespace
{
constexpr size_t headerLength = sizeof(ubus_msghdr);
constexpr size_t minMessage = headerLength + sizeof(blob_attr);
constexpr size_t firstReceiveBuffer = 16 * 1024;
constexpr size_t heldLimit = 16 * 1024;
constexpr size_t pageSize = 4096;

bool wait_writable(int fd)
{
    pollfd one = { fd, POLLOUT, 0 };
    return poll(&one, 1, -1) >= 0 || errno == EINTR;
}

bool send_all(ubus_context *ctx, iovec *part, int parts)
{
    while (parts) {
        if (pieces_send(ctx->sock.fd, part, parts) >= 0 || errno == EINTR ||
            (errno == EAGAIN && wait_writable(ctx->sock.fd)))
            continue;
        ctx->sock.eof = true;
        return false;
    }
    return true;
}

// Bytes from the head of the buffer on that the message there takes, as far as it is known.
size_t message_length(const ubus_stream &s)
{
    if (!s.rx || s.rx_tail - s.rx_head < minMessage)
        return minMessage;
    const auto *body = reinterpret_cast<const blob_attr *>(s.rx + s.rx_head + headerLength);
    return headerLength + blob_raw_len(body);
}

// Room for the whole message at the head and for at least one byte more to read.
bool make_room(ubus_stream &s)
{
    const size_t unread = s.rx ? s.rx_tail - s.rx_head : 0;
    const bool pinned = s.rx && s.rx_pinned == s.rx;
    const size_t needed = message_length(s);
    if (!unread && !pinned)
        s.rx_head = s.rx_tail = 0;
    if (s.rx && s.rx_head + needed <= s.rx_cap && s.rx_tail < s.rx_cap)
        return true;
    size_t capacity = s.rx_cap > firstReceiveBuffer ? s.rx_cap : firstReceiveBuffer;
    if (needed > capacity)
        capacity = (needed + pageSize - 1) / pageSize * pageSize;
    if (pinned || capacity > s.rx_cap) {
        char *fresh = static_cast<char *>(malloc(capacity));
        if (!fresh)
            return false;
        if (unread)
            memcpy(fresh, s.rx + s.rx_head, unread);
        if (!pinned)
            free(s.rx);
        s.rx = fresh;
        s.rx_cap = capacity;
    } else if (unread) {
        memmove(s.rx, s.rx + s.rx_head, unread);
    }
    s.rx_head = 0;
    s.rx_tail = unread;
    return true;
}

bool acceptable(const ubus_msghdr &header, const blob_attr *body)
{
    return header.version == 0 && blob_raw_len(body) >= sizeof(blob_attr) &&
           blob_pad_len(body) <= UBUS_MAX_MSGLEN;
}
} // namespace

bool stream_send(ubus_context *ctx, OutMessage &out)
{
    ubus_stream &s = ctx->stream;
    if (ctx->sock.eof || out.length > UBUS_MAX_MSGLEN)
        return false;
    out_finish(out);
    iovec part[1 + ARRAY_SIZE(out.part)];
    int parts = 0;
    if (s.tx_len)
        part[parts++] = { s.tx, s.tx_len };
    for (int i = 0; i < out.parts; i++)
        part[parts++] = out.part[i];
    s.tx_len = 0;
    return send_all(ctx, part, parts);
}

bool stream_hold(ubus_context *ctx, OutMessage &out)
{
    ubus_stream &s = ctx->stream;
    if (!s.tx)
        s.tx = static_cast<char *>(malloc(heldLimit));
    if (!s.tx || ctx->sock.eof || s.tx_len + headerLength + out.length > heldLimit)
        return stream_send(ctx, out);
    out_finish(out);
    for (int i = 0; i < out.parts; i++) {
        memcpy(s.tx + s.tx_len, out.part[i].iov_base, out.part[i].iov_len);
        s.tx_len += out.part[i].iov_len;
    }
    return true;
}

bool stream_flush(ubus_context *ctx)
{
    iovec part = { ctx->stream.tx, ctx->stream.tx_len };
    ctx->stream.tx_len = 0;
    return !part.iov_len || (!ctx->sock.eof && send_all(ctx, &part, 1));
}

Received stream_receive(ubus_context *ctx)
{
    ubus_stream &s = ctx->stream;
    if (!make_room(s))
        return Received::lost;
    const size_t room = s.rx_cap - s.rx_tail;
    ssize_t count;
    do
        count = recv(ctx->sock.fd, s.rx + s.rx_tail, room, MSG_DONTWAIT);
    while (count < 0 && errno == EINTR);
    if (count < 0)
        return errno == EAGAIN ? Received::nothing : Received::lost;
    if (count == 0)
        return Received::lost;
    s.rx_tail += static_cast<size_t>(count);
    return static_cast<size_t>(count) < room ? Received::drained : Received::some;
}

bool stream_next(ubus_context *ctx, InMessage &message)
{
    ubus_stream &s = ctx->stream;
    while (s.rx_tail - s.rx_head >= minMessage) {
        ubus_msghdr header;
        char *start = s.rx + s.rx_head;
        memcpy(&header, start, sizeof header);
        message.body = reinterpret_cast<blob_attr *>(start + headerLength);
        if (!acceptable(header, message.body)) {
            s.rx_head += minMessage;
            continue;
        }
        if (s.rx_tail - s.rx_head < message_length(s))
            return false;
        s.rx_head += message_length(s);
        message.type = header.type;
        message.seq = be16_to_cpu(header.seq);
        message.peer = be32_to_cpu(header.peer);
        return true;
    }
    return false;
}

bool stream_wait(ubus_context *ctx, int timeout)
{
    pollfd one = { ctx->sock.fd, POLLIN, 0 };
    const int ready = poll(&one, 1, timeout);
    return ready > 0 || (ready < 0 && errno == EINTR);
}

void stream_reset(ubus_context *ctx)
{
    ubus_stream &s = ctx->stream;
    if (s.rx && s.rx_pinned == s.rx) {
        s.rx = nullptr; // the callback that uses it frees it
        s.rx_cap = 0;
    }
    s.rx_head = s.rx_tail = 0;
    s.tx_len = 0;
}

void stream_free(ubus_context *ctx)
{
    stream_reset(ctx);
    free(ctx->stream.rx);
    free(ctx->stream.tx);
    ctx->stream.rx = ctx->stream.tx = nullptr;
    ctx->stream.rx_cap = 0;
}

StreamPin stream_pin(ubus_context *ctx)
{
    ubus_stream &s = ctx->stream;
    const StreamPin pin = { s.rx, s.rx_pinned };
    s.rx_pinned = s.rx;
    return pin;
}

void stream_unpin(ubus_context *ctx, StreamPin pin)
{
    ubus_stream &s = ctx->stream;
    // Replaced meanwhile: the buffer is this callback's, unless an outer one stands in it, too.
    if (pin.buffer != s.rx && pin.buffer != pin.outer)
        free(pin.buffer);
    s.rx_pinned = pin.outer;
}
