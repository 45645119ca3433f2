// Taking the bus object off the bus and putting it back while the daemon runs. Adding always removes first,
// so that an object that is there gets registered anew; one that isn't costs an ERROR line of the remove
// step.
#include "source/vesk_main/vesk_main.h"

#include "bus/stub.h"
#include "include/merka.h"
#include "source/vesk_main/log.h"
#include "source/vesk_main/records.h"

namespace
{
constexpr int objectSize = static_cast<int>(sizeof(ubus_object));

/** The context that the object goes to; NULL, logged for the caller, if there is no object or no bus. */
ubus_context *object_context(VeskLogSite caller = VESK_CALLER)
{
    if (vesk_get_vesk_info()->ubusObj == nullptr) {
        VESK_LOG_AS(caller, ERROR, " Failed to get object TamloPelkVesk_object\n\n");
        return nullptr;
    }
    ubus_context *ctx = merkaGetContext();
    if (ctx == nullptr)
        VESK_LOG_AS(caller, ERROR, " Failed to request bus context for vesk service\n\n");
    return ctx;
}
} // namespace

ubus_object *vesk_get_ubus_obj()
{
    ubus_object *object = TamloPelkVesk_object_get();
    vesk_get_vesk_info()->ubusObj = object;
    return object;
}

void vesk_remove_ubus_obj()
{
    VESK_LOG(INFO, " Remove vesk ubus obj start objSize[%d]\n", objectSize);
    ubus_context *ctx = object_context();
    if (ctx == nullptr)
        return;
    if (ubus_remove_object(ctx, vesk_get_vesk_info()->ubusObj) != 0) {
        VESK_LOG(ERROR, " Failed to remove object TamloPelkVesk.\n\n");
        return;
    }
    VESK_LOG(INFO, " Remove vesk ubus obj end objSize[%d]\n", objectSize);
}

void vesk_add_ubus_obj()
{
    VESK_LOG(INFO, " Add vesk ubus obj start objSize[%d]\n", objectSize);
    vesk_remove_ubus_obj();
    ubus_context *ctx = object_context();
    if (ctx == nullptr)
        return;
    if (ubus_add_object(ctx, vesk_get_vesk_info()->ubusObj) != 0) {
        VESK_LOG(ERROR, " Failed to add object TamloPelkVesk.\n\n");
        return;
    }
    VESK_LOG(INFO, " Add vesk ubus obj end objSize[%d]\n", objectSize);
}
