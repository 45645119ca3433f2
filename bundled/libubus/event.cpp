// What the broker itself offers: look-ups, and events through its object 1.
#include "bundled/libubus/internal.h"

namespace
{
struct Lookup {
    ubus_lookup_handler_t cb;
    void *priv;
};

void on_hit(ubus_request *req, int, blob_attr *msg)
{
    const auto *lookup = static_cast<Lookup *>(req->priv);
    blob_attr *attr[UBUS_ATTR_MAX];
    parse_attributes(msg, attr);
    if (!attr[UBUS_ATTR_OBJID] || !attr[UBUS_ATTR_OBJPATH] || !attr[UBUS_ATTR_OBJTYPE])
        return;
    ubus_object_data hit = {};
    hit.id = blob_get_u32(attr[UBUS_ATTR_OBJID]);
    hit.type_id = blob_get_u32(attr[UBUS_ATTR_OBJTYPE]);
    hit.path = blob_get_string(attr[UBUS_ATTR_OBJPATH]);
    hit.signature = attr[UBUS_ATTR_SIGNATURE];
    lookup->cb(req->ctx, &hit, lookup->priv);
}

void take_id(ubus_context *, ubus_object_data *obj, void *priv)
{
    *static_cast<uint32_t *>(priv) = obj->id;
}

int run_event_callback(ubus_context *ctx, ubus_object *obj, ubus_request_data *, const char *method,
                       blob_attr *msg)
{
    auto *ev = container_of(obj, ubus_event_handler, obj);
    ev->cb(ctx, ev, method, msg);
    return UBUS_STATUS_OK;
}

const ubus_method anyEvent = { .name = nullptr, .handler = run_event_callback };

// Calls a method of the broker's event object with what the buffer holds.
int event_object(ubus_context *ctx, const char *method, blob_buf *message, bool whole)
{
    const int status =
        whole ? ubus_invoke(ctx, UBUS_SYSTEM_OBJECT_EVENT, method, message->head, nullptr, nullptr, 0)
              : static_cast<int>(UBUS_STATUS_NO_MEMORY);
    blob_buf_free(message);
    return status;
}
} // namespace

int ubus_lookup(ubus_context *ctx, const char *path, ubus_lookup_handler_t cb, void *priv)
{
    ubus_request req;
    OutMessage out;
    Lookup lookup = { cb, priv };
    request_init(ctx, req, 0);
    out_begin(out, UBUS_MSG_LOOKUP, req.seq, 0);
    if (path)
        out_string(out, UBUS_ATTR_OBJPATH, path);
    req.raw_data_cb = on_hit;
    req.priv = &lookup;
    return request_run(ctx, req, out, 0);
}

int ubus_lookup_id(ubus_context *ctx, const char *path, uint32_t *id)
{
    return ubus_lookup(ctx, path, take_id, id);
}

int ubus_send_event(ubus_context *ctx, const char *id, blob_attr *data)
{
    blob_buf message = {};
    const bool whole = blob_buf_init(&message, 0) == 0 && blobmsg_add_string(&message, "id", id) == 0 &&
                       blobmsg_add_field(&message, BLOBMSG_TYPE_TABLE, "data", blob_data(data),
                                         static_cast<unsigned int>(blob_len(data))) == 0;
    return event_object(ctx, "send", &message, whole);
}

int ubus_register_event_handler(ubus_context *ctx, ubus_event_handler *ev, const char *pattern)
{
    if (!pattern)
        return UBUS_STATUS_INVALID_ARGUMENT;
    if (!ev->obj.id) {
        ev->obj.methods = &anyEvent;
        ev->obj.n_methods = 1;
        const int status = ubus_add_object(ctx, &ev->obj);
        if (status)
            return status;
    }
    blob_buf message = {};
    const bool whole = blob_buf_init(&message, 0) == 0 &&
                       blobmsg_add_u32(&message, "object", ev->obj.id) == 0 &&
                       blobmsg_add_string(&message, "pattern", pattern) == 0;
    return event_object(ctx, "register", &message, whole);
}
