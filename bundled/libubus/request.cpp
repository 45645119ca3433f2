// Requests of this side: numbered, sent, matched with their answers by (number, peer).
#include "bundled/libubus/internal.h"

#include <time.h>

namespace
{
int64_t now_ms()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{ now.tv_sec } * 1000 + now.tv_nsec / 1000000;
}

bool listed(const ubus_request *req)
{
    return req->list.next && !list_empty(&req->list);
}

ubus_request *find_request(ubus_context *ctx, const InMessage &message)
{
    ubus_request *req;
    list_for_each_entry(req, &ctx->requests, list)
    {
        if (req->seq == message.seq && req->peer == message.peer)
            return req;
    }
    return nullptr;
}

void complete(ubus_request *req, int status)
{
    if (listed(req))
        list_del_init(&req->list);
    req->status_code = status;
    req->status_msg = true;
    if (!req->blocked && req->complete_cb)
        req->complete_cb(req, status); // may free the request
}

void take_data(ubus_context *ctx, ubus_request *req, const InMessage &message, blob_attr *data)
{
    const StreamPin pin = stream_pin(ctx);
    req->blocked = true;
    if (req->raw_data_cb)
        req->raw_data_cb(req, message.type, message.body);
    if (!req->cancelled && req->data_cb && data)
        req->data_cb(req, message.type, data);
    stream_unpin(ctx, pin);
    req->blocked = false;
    if (req->status_msg && !req->cancelled)
        complete(req, req->status_code);
}

// One more turn of a synchronous wait. False: time is up, or the connection is.
bool wait_turn(ubus_context *ctx, ubus_request *req, int timeout, int64_t deadline)
{
    int wait = -1;
    if (timeout) {
        const int64_t left = deadline - now_ms();
        if (left < 0)
            return req->status_code = UBUS_STATUS_TIMEOUT, false;
        wait = static_cast<int>(left);
    }
    if (!stream_wait(ctx, wait))
        return req->status_code = UBUS_STATUS_TIMEOUT, false;
    const Received received = stream_receive(ctx);
    dispatch_available(ctx);
    if (received != Received::lost)
        return true;
    if (!req->status_msg) {
        req->status_code = UBUS_STATUS_CONNECTION_FAILED;
        list_del_init(&req->list);
    }
    connection_gone(ctx);
    return false;
}
} // namespace

void request_init(ubus_context *ctx, ubus_request &req, uint32_t peer)
{
    memset(&req, 0, sizeof req);
    INIT_LIST_HEAD(&req.list);
    INIT_LIST_HEAD(&req.pending);
    req.ctx = ctx;
    req.peer = peer;
    req.seq = ++ctx->request_seq;
    req.fd = -1;
}

int request_run(ubus_context *ctx, ubus_request &req, OutMessage &out, int timeout)
{
    if (!stream_send(ctx, out))
        return UBUS_STATUS_INVALID_ARGUMENT;
    return ubus_complete_request(ctx, &req, timeout);
}

void request_answer(ubus_context *ctx, const InMessage &message)
{
    ubus_request *req = find_request(ctx, message);
    if (!req)
        return;
    blob_attr *attr[UBUS_ATTR_MAX];
    parse_attributes(message.body, attr);
    if (message.type == UBUS_MSG_DATA)
        take_data(ctx, req, message, attr[UBUS_ATTR_DATA]);
    else
        complete(req, attr[UBUS_ATTR_STATUS] ? blob_get_int32(attr[UBUS_ATTR_STATUS])
                                             : static_cast<int>(UBUS_STATUS_INVALID_ARGUMENT));
}

void ubus_complete_request_async(ubus_context *ctx, ubus_request *req)
{
    if (!listed(req))
        list_add_tail(&req->list, &ctx->requests);
}

int ubus_complete_request(ubus_context *ctx, ubus_request *req, int timeout)
{
    ubus_complete_request_async(ctx, req);
    const int64_t deadline = now_ms() + timeout;
    ctx->stack_depth++;
    // Answers may stand in the buffer already, read together with what this call was made from.
    dispatch_available(ctx);
    while (!req->status_msg && !req->cancelled && wait_turn(ctx, req, timeout, deadline)) {
    }
    if (listed(req))
        list_del_init(&req->list);
    ctx->stack_depth--;
    dispatch_pending_soon(ctx);
    return req->status_code;
}

void ubus_abort_request(ubus_context *, ubus_request *req)
{
    req->cancelled = true;
    if (listed(req))
        list_del_init(&req->list);
}

void ubus_flush_requests(ubus_context *ctx)
{
    while (!list_empty(&ctx->requests))
        complete(list_first_entry(&ctx->requests, ubus_request, list), UBUS_STATUS_TIMEOUT);
}

int ubus_invoke_async(ubus_context *ctx, uint32_t obj, const char *method, blob_attr *msg, ubus_request *req)
{
    request_init(ctx, *req, obj);
    OutMessage out;
    out_begin(out, UBUS_MSG_INVOKE, req->seq, obj);
    out_u32(out, UBUS_ATTR_OBJID, obj);
    out_string(out, UBUS_ATTR_METHOD, method);
    out_data(out, msg);
    return stream_send(ctx, out) ? UBUS_STATUS_OK : UBUS_STATUS_INVALID_ARGUMENT;
}

int ubus_invoke(ubus_context *ctx, uint32_t obj, const char *method, blob_attr *msg, ubus_data_handler_t cb,
                void *priv, int timeout)
{
    ubus_request req;
    const int status = ubus_invoke_async(ctx, obj, method, msg, &req);
    if (status)
        return status;
    req.data_cb = cb;
    req.priv = priv;
    return ubus_complete_request(ctx, &req, timeout);
}
