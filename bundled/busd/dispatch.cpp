// One message of a client: what it carries, who handles it, what is answered.
#include "bundled/busd/busd.h"

#include <new>

namespace
{
void send_status(Client &client, uint16_t seq, uint32_t peer, int status)
{
    OutMessage out;
    out_begin(out, UBUS_MSG_STATUS, seq, peer);
    out_u32(out, UBUS_ATTR_STATUS, static_cast<uint32_t>(status));
    client_tell(client, out);
}

int ping(Request &request)
{
    OutMessage out;
    answer_begin(request, out, UBUS_MSG_DATA);
    out_raw(out, blob_data(request.body), blob_len(request.body));
    client_send(request.client, out);
    return UBUS_STATUS_OK;
}

// A call goes on to the object's owner, whose answers find back by the caller's id in `peer`.
int invoke(Request &request)
{
    blob_attr *const *attr = request.attr;
    if (!attr[UBUS_ATTR_OBJID] || !attr[UBUS_ATTR_METHOD])
        return UBUS_STATUS_INVALID_ARGUMENT;
    const uint32_t id = blob_get_u32(attr[UBUS_ATTR_OBJID]);
    if (id == UBUS_SYSTEM_OBJECT_EVENT)
        return event_call(request);
    const Object *object = find(broker().objects, id);
    if (!object)
        return UBUS_STATUS_NOT_FOUND;
    OutMessage out;
    out_begin(out, UBUS_MSG_INVOKE, request.seq, request.client.id);
    out_u32(out, UBUS_ATTR_OBJID, id);
    out_bytes(out, UBUS_ATTR_METHOD, blob_data(attr[UBUS_ATTR_METHOD]), blob_len(attr[UBUS_ATTR_METHOD]));
    if (attr[UBUS_ATTR_DATA])
        out_data(out, attr[UBUS_ATTR_DATA]);
    client_send(*object->owner, out, request.buffer);
    return noStatus;
}

// DATA or STATUS of a served call, back to the caller. What fits nowhere is dropped without notice; without
// memory the call ends for its caller here, since half an answer would pass for a whole one.
int relay(Request &request, int required)
{
    if (!request.attr[UBUS_ATTR_OBJID] || !request.attr[required])
        return noStatus;
    const Object *object = find(broker().objects, blob_get_u32(request.attr[UBUS_ATTR_OBJID]));
    if (!object || object->owner != &request.client)
        return noStatus;
    Client *caller = find(broker().clients, request.peer);
    if (!caller)
        return noStatus;
    OutMessage out;
    out_begin(out, static_cast<ubus_msg_type>(request.type), request.seq, object->id);
    out_raw(out, blob_data(request.body), blob_len(request.body));
    try {
        client_send(*caller, out, request.buffer);
    } catch (const std::bad_alloc &) {
        say_no_memory(*caller, "its call ends with an error");
        send_status(*caller, request.seq, object->id, UBUS_STATUS_NO_MEMORY);
    }
    return noStatus;
}

int relay_status(Request &request)
{
    return relay(request, UBUS_ATTR_STATUS);
}
int relay_data(Request &request)
{
    return relay(request, UBUS_ATTR_DATA);
}
int refuse(Request &)
{
    return UBUS_STATUS_INVALID_COMMAND;
}
int refuse_unsupported(Request &)
{
    return UBUS_STATUS_NOT_SUPPORTED;
}

constexpr int (*handlers[])(Request &) = {
    refuse,             // HELLO
    relay_status,       // STATUS
    relay_data,         // DATA
    ping,               // PING
    object_lookup,      // LOOKUP
    invoke,             // INVOKE
    object_add,         // ADD_OBJECT
    object_remove,      // REMOVE_OBJECT
    refuse_unsupported, // SUBSCRIBE
    refuse_unsupported, // UNSUBSCRIBE
    refuse_unsupported, // NOTIFY
    refuse,             // MONITOR
};
static_assert(ARRAY_SIZE(handlers) == __UBUS_MSG_LAST);

int handle(Request &request)
{
    try {
        return request.type < ARRAY_SIZE(handlers) ? handlers[request.type](request) : refuse(request);
    } catch (const std::bad_alloc &) {
        say_no_memory(request.client, "its request is refused");
        return UBUS_STATUS_NO_MEMORY;
    }
}
} // namespace

void answer_begin(const Request &request, OutMessage &out, ubus_msg_type type)
{
    out_begin(out, type, request.seq, request.peer);
}

void dispatch(Client &client, const ubus_msghdr &header, blob_attr *body, Buffer *buffer)
{
    Request request = { client, header.type, be16_to_cpu(header.seq), be32_to_cpu(header.peer), body,
                        buffer, {} };
    blob_parse(body, request.attr, attributeTypes, UBUS_ATTR_MAX);
    const int status = handle(request);
    if (status != noStatus)
        send_status(client, request.seq, request.peer, status);
}
