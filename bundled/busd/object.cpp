// Objects and their types: created, removed, looked up.
#include "bundled/busd/busd.h"

#include <algorithm>
#include <memory>
#include <new>

namespace
{
// A signature is a row of named tables, one per method; anything else voids the whole type.
bool signature_whole(blob_attr *signature)
{
    size_t rem;
    blob_attr *method;
    blob_for_each_attr(method, signature, rem)
    {
        if (blobmsg_type(method) != BLOBMSG_TYPE_TABLE || !blobmsg_check_attr_len(method, true, rem))
            return false;
    }
    return true;
}

ObjectType *type_of_request(const Request &request)
{
    if (request.attr[UBUS_ATTR_OBJTYPE])
        return find(broker().types, blob_get_u32(request.attr[UBUS_ATTR_OBJTYPE]));
    blob_attr *signature = request.attr[UBUS_ATTR_SIGNATURE];
    if (!signature || !signature_whole(signature))
        return nullptr;
    auto type = std::make_unique<ObjectType>(ObjectType{
        fresh_id(broker().types), 0, { static_cast<char *>(blob_data(signature)), blob_len(signature) } });
    broker().types.emplace(type->id, type.get());
    return type.release();
}

void release_type(ObjectType *type)
{
    if (!type || --type->objects)
        return;
    broker().types.erase(type->id);
    delete type;
}

void take_off(Object *object)
{
    broker().objects.erase(object->id);
    if (object->named)
        broker().paths.erase(object->path);
    event_forget(*object);
}

void announce(const char *event, const Object &object)
{
    if (object.named)
        event_object_changed(event, object);
}

void destroy(Object *object)
{
    object->owner->kept -= object->kept;
    release_type(object->type);
    delete object;
}

// From where an object is known, its owner's list last.
void enlist(Object *object)
{
    Broker &bus = broker();
    try {
        bus.objects.emplace(object->id, object);
        if (object->named)
            bus.paths.emplace(object->path, object);
        object->owner->objects.push_back(object);
    } catch (const std::bad_alloc &) {
        take_off(object);
        throw;
    }
}

// The object's way off the bus.
void drop(Object *object)
{
    std::erase(object->owner->objects, object);
    take_off(object);
    announce("ubus.object.remove", *object);
    destroy(object);
}

void send_hit(const Request &request, const Object &object)
{
    if (!object.type)
        return;
    OutMessage out;
    answer_begin(request, out, UBUS_MSG_DATA);
    out_string(out, UBUS_ATTR_OBJPATH, object.path.c_str());
    out_u32(out, UBUS_ATTR_OBJID, object.id);
    out_u32(out, UBUS_ATTR_OBJTYPE, object.type->id);
    out_bytes(out, UBUS_ATTR_SIGNATURE, object.type->signature.data(), object.type->signature.size());
    client_send(request.client, out);
}

void send_object(const Request &request, uint32_t objectId, const ObjectType *type)
{
    OutMessage out;
    answer_begin(request, out, UBUS_MSG_DATA);
    out_u32(out, UBUS_ATTR_OBJID, objectId);
    if (type)
        out_u32(out, UBUS_ATTR_OBJTYPE, type->id);
    client_send(request.client, out);
}
} // namespace

int object_add(Request &request)
{
    Broker &bus = broker();
    const blob_attr *path = request.attr[UBUS_ATTR_OBJPATH];
    if (path && bus.paths.count(blob_get_string(path)))
        return UBUS_STATUS_INVALID_ARGUMENT;
    const blob_attr *signature = request.attr[UBUS_ATTR_SIGNATURE];
    std::unique_ptr<Object, decltype(&destroy)> made(new Object{ fresh_id(bus.objects),
                                                                 &request.client,
                                                                 nullptr,
                                                                 path != nullptr,
                                                                 path ? blob_get_string(path) : "",
                                                                 {},
                                                                 0 },
                                                     destroy);
    if (!client_charge(request.client, made->kept,
                       objectCost + (path ? blob_len(path) : 0) + (signature ? blob_len(signature) : 0)))
        return UBUS_STATUS_NO_MEMORY;
    made->type = type_of_request(request);
    if (made->type)
        made->type->objects++;
    enlist(made.get());
    Object *object = made.release();
    announce("ubus.object.add", *object);
    try {
        send_object(request, object->id, signature ? object->type : nullptr);
    } catch (const std::bad_alloc &) {
        drop(object); // its client will not know its id
        throw;
    }
    return UBUS_STATUS_OK;
}

int object_remove(Request &request)
{
    if (!request.attr[UBUS_ATTR_OBJID])
        return UBUS_STATUS_INVALID_ARGUMENT;
    Object *object = find(broker().objects, blob_get_u32(request.attr[UBUS_ATTR_OBJID]));
    if (!object)
        return UBUS_STATUS_NOT_FOUND;
    if (object->owner != &request.client)
        return UBUS_STATUS_PERMISSION_DENIED;
    const bool lastOfType = object->type && object->type->objects == 1;
    send_object(request, object->id, lastOfType ? object->type : nullptr);
    drop(object);
    return UBUS_STATUS_OK;
}

int object_lookup(Request &request)
{
    const auto &paths = broker().paths;
    if (!request.attr[UBUS_ATTR_OBJPATH]) {
        for (const auto &[path, object] : paths)
            send_hit(request, *object);
        return UBUS_STATUS_OK;
    }
    std::string pattern = blob_get_string(request.attr[UBUS_ATTR_OBJPATH]);
    if (pattern.empty())
        return UBUS_STATUS_INVALID_ARGUMENT;
    if (pattern.back() != '*') {
        const Object *object = find(paths, pattern);
        if (!object)
            return UBUS_STATUS_NOT_FOUND;
        send_hit(request, *object);
        return UBUS_STATUS_OK;
    }
    pattern.pop_back();
    int status = UBUS_STATUS_NOT_FOUND;
    for (auto hit = paths.lower_bound(pattern); hit != paths.end() && hit->first.starts_with(pattern);
         ++hit) {
        send_hit(request, *hit->second);
        status = UBUS_STATUS_OK;
    }
    return status;
}

void objects_of_gone_client(Client &client)
{
    while (!client.objects.empty())
        drop(client.objects.back());
}
