// Objects that this side offers: put on the bus, taken off it, their calls served and answered.
#include "bundled/libubus/internal.h"

namespace
{
// One table per method: an INT32 per argument that holds the type of the argument.
bool put_method(blob_buf *signature, const ubus_method &method)
{
    void *table = blobmsg_open_table(signature, method.name);
    if (!table)
        return false;
    bool whole = true;
    for (int i = 0; i < method.n_policy; i++) {
        if (method.mask && !(method.mask & 1ul << i))
            continue;
        whole &= blobmsg_add_u32(signature, method.policy[i].name, method.policy[i].type) == 0;
    }
    blobmsg_close_table(signature, table);
    return whole;
}

bool build_signature(blob_buf *signature, const ubus_object_type &type)
{
    if (blob_buf_init(signature, UBUS_ATTR_SIGNATURE) != 0)
        return false;
    bool whole = true;
    for (int i = 0; i < type.n_methods; i++)
        whole &= put_method(signature, type.methods[i]);
    return whole;
}

struct Addition {
    ubus_object *obj;
    bool known; // among the context's objects already
};

// Here, not when the status has come: the object's first call may stand right behind the answer.
void on_added(ubus_request *req, int, blob_attr *msg)
{
    auto *addition = static_cast<Addition *>(req->priv);
    ubus_object *obj = addition->obj;
    blob_attr *attr[UBUS_ATTR_MAX];
    parse_attributes(msg, attr);
    if (!attr[UBUS_ATTR_OBJID])
        return;
    obj->id = blob_get_u32(attr[UBUS_ATTR_OBJID]);
    if (!addition->known)
        list_add_tail(&obj->link, &req->ctx->objects);
    addition->known = true;
    if (attr[UBUS_ATTR_OBJTYPE] && obj->type)
        obj->type->id = blob_get_u32(attr[UBUS_ATTR_OBJTYPE]);
}

void on_removed(ubus_request *req, int, blob_attr *msg)
{
    auto *obj = static_cast<ubus_object *>(req->priv);
    blob_attr *attr[UBUS_ATTR_MAX];
    parse_attributes(msg, attr);
    if (!attr[UBUS_ATTR_OBJID])
        return;
    obj->id = 0;
    if (attr[UBUS_ATTR_OBJTYPE] && obj->type)
        obj->type->id = 0; // it was the last object of its type
}

ubus_object *find_object(ubus_context *ctx, uint32_t id)
{
    ubus_object *obj;
    list_for_each_entry(obj, &ctx->objects, link)
    {
        if (obj->id == id)
            return obj;
    }
    return nullptr;
}

const ubus_method *find_method(const ubus_object *obj, const char *name)
{
    for (const ubus_method *method = obj->methods; method < obj->methods + obj->n_methods; method++)
        if (!method->name || strcmp(method->name, name) == 0)
            return method;
    return nullptr;
}

// Events have no caller (peer 0): the broker would throw the status away.
void send_status(ubus_context *ctx, const ubus_request_data &req, int status)
{
    if (!req.peer) {
        stream_flush(ctx);
        return;
    }
    OutMessage out;
    out_begin(out, UBUS_MSG_STATUS, req.seq, req.peer);
    out_u32(out, UBUS_ATTR_STATUS, static_cast<uint32_t>(status));
    out_u32(out, UBUS_ATTR_OBJID, req.object);
    stream_send(ctx, out);
}

const char *optional_string(const blob_attr *attr)
{
    return attr ? blob_get_string(attr) : nullptr;
}

int run_handler(ubus_context *ctx, ubus_object *obj, const ubus_method *method, ubus_request_data *req,
                blob_attr *const (&attr)[UBUS_ATTR_MAX])
{
    const StreamPin pin = stream_pin(ctx);
    ubus_request_data *outer = ctx->stream.serving;
    ctx->stream.serving = req;
    ctx->stack_depth++;
    const int status =
        method->handler(ctx, obj, req, blob_get_string(attr[UBUS_ATTR_METHOD]), attr[UBUS_ATTR_DATA]);
    ctx->stack_depth--;
    ctx->stream.serving = outer;
    stream_unpin(ctx, pin);
    return status;
}
} // namespace

void serve_invoke(ubus_context *ctx, const InMessage &message)
{
    blob_attr *attr[UBUS_ATTR_MAX];
    parse_attributes(message.body, attr);
    if (!attr[UBUS_ATTR_OBJID] || !attr[UBUS_ATTR_METHOD])
        return;
    ubus_request_data req = {};
    req.object = blob_get_u32(attr[UBUS_ATTR_OBJID]);
    req.peer = message.peer;
    req.seq = message.seq;
    req.fd = req.req_fd = -1;
    ubus_object *obj = find_object(ctx, req.object);
    if (!obj)
        return; // taken off the bus while the call was on its way; nobody could be answered
    req.acl = { optional_string(attr[UBUS_ATTR_USER]), optional_string(attr[UBUS_ATTR_GROUP]), obj->name };

    const bool silent = attr[UBUS_ATTR_NO_REPLY] && blob_get_u8(attr[UBUS_ATTR_NO_REPLY]);
    const ubus_method *method = find_method(obj, blob_get_string(attr[UBUS_ATTR_METHOD]));
    int status = UBUS_STATUS_METHOD_NOT_FOUND;
    if (method && attr[UBUS_ATTR_DATA])
        status = run_handler(ctx, obj, method, &req, attr);
    else if (method)
        status = UBUS_STATUS_INVALID_ARGUMENT;
    if (req.deferred || silent)
        stream_flush(ctx);
    else
        send_status(ctx, req, status);
}

void refuse_invoke(ubus_context *ctx, const InMessage &message, int status)
{
    blob_attr *attr[UBUS_ATTR_MAX];
    parse_attributes(message.body, attr);
    ubus_request_data req = {};
    req.object = attr[UBUS_ATTR_OBJID] ? blob_get_u32(attr[UBUS_ATTR_OBJID]) : 0;
    req.peer = message.peer;
    req.seq = message.seq;
    send_status(ctx, req, status);
}

int ubus_send_reply(ubus_context *ctx, ubus_request_data *req, blob_attr *msg)
{
    OutMessage out;
    out_begin(out, UBUS_MSG_DATA, req->seq, req->peer);
    out_u32(out, UBUS_ATTR_OBJID, req->object);
    out_data(out, msg);
    // The result of the running handler goes out together with its status.
    const bool sent = ctx->stream.serving == req ? stream_hold(ctx, out) : stream_send(ctx, out);
    return sent ? UBUS_STATUS_OK : UBUS_STATUS_NO_DATA;
}

void ubus_complete_deferred_request(ubus_context *ctx, ubus_request_data *req, int ret)
{
    send_status(ctx, *req, ret);
}

int ubus_add_object(ubus_context *ctx, ubus_object *obj)
{
    ubus_request req;
    OutMessage out;
    blob_buf signature = {};
    const bool described = obj->name && obj->type && !obj->type->id;
    if (described && !build_signature(&signature, *obj->type)) {
        blob_buf_free(&signature);
        return UBUS_STATUS_NO_MEMORY; // without its methods nobody would find it
    }
    request_init(ctx, req, 0);
    out_begin(out, UBUS_MSG_ADD_OBJECT, req.seq, 0);
    if (obj->name && obj->type) {
        out_string(out, UBUS_ATTR_OBJPATH, obj->name);
        if (!described)
            out_u32(out, UBUS_ATTR_OBJTYPE, obj->type->id);
        else
            out_bytes(out, UBUS_ATTR_SIGNATURE, blob_data(signature.head), blob_len(signature.head));
    }
    const uint32_t before = obj->id;
    Addition addition = { obj, before != 0 };
    obj->id = 0;
    req.raw_data_cb = on_added;
    req.priv = &addition;
    int status = request_run(ctx, req, out, 0);
    blob_buf_free(&signature);
    if (!status && !obj->id)
        status = UBUS_STATUS_NO_DATA;
    if (!obj->id)
        obj->id = before; // an object that is on the bus already stays there
    return status;
}

int ubus_remove_object(ubus_context *ctx, ubus_object *obj)
{
    ubus_request req;
    OutMessage out;
    request_init(ctx, req, 0);
    out_begin(out, UBUS_MSG_REMOVE_OBJECT, req.seq, 0);
    out_u32(out, UBUS_ATTR_OBJID, obj->id);
    req.raw_data_cb = on_removed;
    req.priv = obj;
    const int status = request_run(ctx, req, out, 0);
    if (status)
        return status;
    if (obj->id)
        return UBUS_STATUS_NO_DATA;
    list_del(&obj->link);
    return UBUS_STATUS_OK;
}
