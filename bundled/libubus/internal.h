// What the parts of the bus client share: outgoing messages, the stream, the dispatch.
#pragma once

#include "bundled/libubus/outgoing.h"

#include <libubus.h>

// Sends everything, waiting for room in the socket. False: connection dead (sock.eof is set then) or
// message too long.
bool stream_send(ubus_context *ctx, OutMessage &out);
// Keeps a message to go out with the next one.
bool stream_hold(ubus_context *ctx, OutMessage &out);
bool stream_flush(ubus_context *ctx);

struct InMessage {
    uint8_t type;
    uint16_t seq;
    uint32_t peer;
    blob_attr *body;
};

enum class Received { some, drained, nothing, lost };
// Reads what the socket has, without waiting. drained: and it has no more.
Received stream_receive(ubus_context *ctx);
// Takes the next whole message out of the buffer. It stands until the next stream_receive, unless
// the buffer is pinned.
bool stream_next(ubus_context *ctx, InMessage &message);
bool stream_wait(ubus_context *ctx, int timeout); // false: nothing within `timeout` ms (-1: for ever)
void stream_reset(ubus_context *ctx);
void stream_free(ubus_context *ctx);

// While one stands, messages in the receive buffer stay where they are.
struct StreamPin {
    char *buffer;
    char *outer;
};
StreamPin stream_pin(ubus_context *ctx);
void stream_unpin(ubus_context *ctx, StreamPin pin);

// Zeroes and numbers a request; `peer` as its answers carry it.
void request_init(ubus_context *ctx, ubus_request &req, uint32_t peer);
// Sends, waits for the status and returns it; INVALID_ARGUMENT when it can't be sent.
int request_run(ubus_context *ctx, ubus_request &req, OutMessage &out, int timeout);
void request_answer(ubus_context *ctx, const InMessage &message); // STATUS or DATA

bool parse_attributes(blob_attr *body, blob_attr *(&attr)[UBUS_ATTR_MAX]);
void dispatch(ubus_context *ctx, const InMessage &message);
void dispatch_available(ubus_context *ctx);
void dispatch_pending(ubus_context *ctx);
void dispatch_pending_soon(ubus_context *ctx); // after a synchronous call
void connection_gone(ubus_context *ctx);
void serve_invoke(ubus_context *ctx, const InMessage &message);
void refuse_invoke(ubus_context *ctx, const InMessage &message, int status); // no handler runs
