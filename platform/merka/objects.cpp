// The bus library puts its objects back after a reconnect, but forgets for good those whose turn comes
// when the new connection is already lost, or that the broker refuses. They are remembered here, so that
// a broker that dies at the wrong moment costs one more attempt and not the object.
#include <cstddef>

#include "platform/merka/merka_internal.h"

namespace
{

constexpr int mostObjects = 32;

struct Objects {
    ubus_object *known[mostObjects]; // owned by whoever added them, for the life of the process
    int count;
} objects = {};

void remember(ubus_object *object)
{
    for (int i = 0; i < objects.count; ++i)
        if (objects.known[i] == object)
            return;
    if (objects.count < mostObjects)
        objects.known[objects.count++] = object;
}

/** The context keeps its objects in a tree threaded by a list, or in a plain list, by the library used. */
template <class Context, class Object>
void for_each_object(Context *ctx, void (*visit)(Object *))
{
    list_head *head;
    size_t link;
    if constexpr (requires { ctx->objects.list_head; }) {
        head = &ctx->objects.list_head;
        link = offsetof(Object, avl) + offsetof(decltype(Object::avl), list);
    } else {
        head = &ctx->objects;
        link = offsetof(Object, link);
    }
    for (list_head *at = head->next; at != head; at = at->next)
        visit(reinterpret_cast<Object *>(reinterpret_cast<char *>(at) - link));
}

} // namespace

void merka::remember_objects(ubus_context *ctx)
{
    for_each_object<ubus_context, ubus_object>(ctx, remember);
}

bool merka::restore_objects(ubus_context *ctx)
{
    int missing = 0;
    for (int i = 0; i < objects.count; ++i) {
        ubus_object *object = objects.known[i];
        if (object->id == 0 && connected_context() != nullptr)
            ubus_add_object(ctx, object);
        if (object->id == 0)
            objects.known[missing++] = object;
    }
    objects.count = missing;
    return missing == 0;
}
