// Events: who listens to what, and one event to all of them. Object 1 of the bus.
#include "bundled/busd/busd.h"

#include <algorithm>
#include <new>
#include <string_view>

namespace
{
constexpr size_t sharedFrom = 1024; // a shorter payload is copied for every listener

bool matches(std::string_view pattern, std::string_view id)
{
    if (pattern.ends_with('*'))
        return id.starts_with(pattern.substr(0, pattern.size() - 1));
    return pattern == id;
}

bool listens(const Object &object, std::string_view id)
{
    return std::any_of(object.patterns.begin(), object.patterns.end(),
                       [id](const std::string &pattern) { return matches(pattern, id); });
}

// Delivers once per listening object, except to those of `sender` (may be NULL). False: some listener missed
// it for want of memory.
bool deliver(const Client *sender, const char *id, const void *payload, size_t length)
{
    bool whole = true;
    Broker &bus = broker();
    Buffer *shared = nullptr;
    const uint16_t seq = ++bus.eventSeq;
    for (const Object *object : bus.listeners) {
        if (object->owner == sender || !listens(*object, id))
            continue;
        if (!shared && length >= sharedFrom) {
            shared = buffer_new(length);
            memcpy(shared->bytes(), payload, length);
            shared->used = static_cast<uint32_t>(length);
        }
        OutMessage out;
        out_begin(out, UBUS_MSG_INVOKE, seq, 0);
        out_u32(out, UBUS_ATTR_OBJID, object->id);
        out_string(out, UBUS_ATTR_METHOD, id);
        out_bytes(out, UBUS_ATTR_DATA, shared ? shared->bytes() : payload, length);
        try {
            client_send(*object->owner, out, shared);
        } catch (const std::bad_alloc &) {
            say_no_memory(*object->owner, "it misses an event");
            whole = false;
        }
    }
    if (shared)
        buffer_release(shared);
    return whole;
}

int register_pattern(Client &client, blob_attr *data)
{
    enum { objectField, patternField, fields };
    static constexpr blobmsg_policy policy[] = {
        { "object", BLOBMSG_TYPE_INT32 },
        { "pattern", BLOBMSG_TYPE_STRING },
    };
    blob_attr *field[fields];
    if (blobmsg_parse_attr(policy, fields, field, data) != 0 || !field[objectField] || !field[patternField])
        return UBUS_STATUS_INVALID_ARGUMENT;
    const uint32_t id = blobmsg_get_u32(field[objectField]);
    if (id < UBUS_SYSTEM_OBJECT_MAX)
        return UBUS_STATUS_PERMISSION_DENIED;
    Object *object = find(broker().objects, id);
    if (!object)
        return UBUS_STATUS_NOT_FOUND;
    std::string pattern = blobmsg_get_string(field[patternField]);
    if (object->owner != &client || pattern.empty())
        return UBUS_STATUS_PERMISSION_DENIED;
    if (std::find(object->patterns.begin(), object->patterns.end(), pattern) != object->patterns.end())
        return UBUS_STATUS_OK;
    // Room first: what is charged isn't given back when there is none.
    make_room(object->patterns, object->patterns.size() + 1);
    make_room(broker().listeners, broker().listeners.size() + 1);
    if (!client_charge(client, object->kept, sizeof pattern + pattern.size()))
        return UBUS_STATUS_NO_MEMORY;
    if (object->patterns.empty())
        broker().listeners.push_back(object);
    object->patterns.push_back(std::move(pattern));
    return UBUS_STATUS_OK;
}

int send_event(const Client &client, blob_attr *data)
{
    enum { idField, dataField, fields };
    static constexpr blobmsg_policy policy[] = {
        { "id", BLOBMSG_TYPE_STRING },
        { "data", BLOBMSG_TYPE_TABLE },
    };
    blob_attr *field[fields];
    if (blobmsg_parse_attr(policy, fields, field, data) != 0 || !field[idField] || !field[dataField])
        return UBUS_STATUS_INVALID_ARGUMENT;
    const char *id = blobmsg_get_string(field[idField]);
    if (std::string_view(id).starts_with("ubus."))
        return UBUS_STATUS_PERMISSION_DENIED; // the broker's own
    const bool whole =
        deliver(&client, id, blobmsg_data(field[dataField]), blobmsg_data_len(field[dataField]));
    return whole ? UBUS_STATUS_OK : UBUS_STATUS_NO_MEMORY;
}
} // namespace

int event_call(Request &request)
{
    blob_attr *data = request.attr[UBUS_ATTR_DATA];
    const std::string_view method = blob_get_string(request.attr[UBUS_ATTR_METHOD]);
    if (method != "register" && method != "send")
        return UBUS_STATUS_INVALID_COMMAND;
    if (!data)
        return UBUS_STATUS_INVALID_ARGUMENT;
    return method == "send" ? send_event(request.client, data) : register_pattern(request.client, data);
}

void event_object_changed(const char *id, const Object &object)
{
    static blob_buf message; // its memory is used again
    try {
        if (blob_buf_init(&message, 0) != 0 || blobmsg_add_u32(&message, "id", object.id) != 0 ||
            blobmsg_add_string(&message, "path", object.path.c_str()) != 0)
            throw std::bad_alloc();
        deliver(nullptr, id, blob_data(message.head), blob_len(message.head));
    } catch (const std::bad_alloc &) {
        say_no_memory(*object.owner, "nobody hears of its object");
    }
}

void event_forget(const Object &object)
{
    std::vector<Object *> &listeners = broker().listeners;
    listeners.erase(std::remove(listeners.begin(), listeners.end(), &object), listeners.end());
}
