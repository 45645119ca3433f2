// The bus object and its dispatch. The stub turns a bus call into a call of a plain function that takes and
// fills fixed-size records, and turns the record back into a reply; policies, method array and handler table
// all derive from the rows of include/vesk_methods.h. Nothing is allocated on the way: arguments are read in
// place, records live on the stack, and one reply buffer serves all methods, since calls run one at a time.
#include "bus/stub.h"

#include <cstring>
#include <string_view>
#include <type_traits>
#include <utility>

#include "bus/vesk_api/vesk_api.h"
#include "foundation/bytes.h"
#include "include/merka.h"
#include "include/vesk_methods.h"
#include "source/vesk_handler/vesk_handler.h"

namespace
{
constexpr int MAX_ARGS = 2;
constexpr size_t MAX_RECORD_ARG = sizeof(WireBeaconReq);
constexpr size_t MAX_RESULT = sizeof(WireStaInfo);

/** A decoded argument: which member counts follows from the method's row. */
union MethodArg {
    int32_t number;
    const char *text;   // inside the message; NULL when missing
    const void *record; // the stub's copy
};

using MethodHandler = int (*)(const MethodArg *args, void *result);

// --- from a body's signature to a handler of the common form ---

template <class P>
constexpr bool is_result = std::is_pointer_v<P> && !std::is_const_v<std::remove_pointer_t<P>>;

template <class P>
P argument(const MethodArg &arg, void *result)
{
    if constexpr (std::is_same_v<P, int>)
        return arg.number;
    else if constexpr (std::is_same_v<P, const char *>)
        return arg.text;
    else if constexpr (is_result<P>)
        return static_cast<P>(result);
    else
        return static_cast<P>(arg.record);
}

template <class P>
constexpr WireField shape()
{
    if constexpr (std::is_same_v<P, int>)
        return wire_i32("");
    else if constexpr (std::is_same_v<P, const char *>)
        return wire_text("");
    else if constexpr (std::is_same_v<P, int32_t *>)
        return wire_i32("");
    else if constexpr (std::is_same_v<P, int8_t *>)
        return wire_i8("");
    else
        return { "", WireType::Record, sizeof(std::remove_pointer_t<P>) };
}

/** A handler with the name of its method and the shape of its body's parameters, result included. */
struct BoundMethod {
    const char *name;
    MethodHandler handler;
    WireField params[MAX_ARGS + 1];
};

template <auto Body, class... P, size_t... I>
constexpr BoundMethod bind_body(const char *name, int (*)(P...), std::index_sequence<I...>)
{
    return { name,
             [](const MethodArg *args, void *result) -> int { return Body(argument<P>(args[I], result)...); },
             { shape<P>()... } };
}

template <auto Body, class... P>
constexpr BoundMethod bind_signature(const char *name, int (*body)(P...))
{
    return bind_body<Body>(name, body, std::index_sequence_for<P...>{});
}

template <auto Body>
constexpr BoundMethod call(const char *name)
{
    return bind_signature<Body>(name, Body);
}

constexpr BoundMethod bound[] = {
    call<vesk_getVersionInfo>("getVersionInfo"),
    call<vesk_getRadioCapability>("getRadioCapability"),
    call<vesk_getRadioInfo>("getRadioInfo"),
    call<vesk_getRadioApIntfsInfo>("getRadioApIntfsInfo"),
    call<vesk_getRadioIntfStats>("getRadioIntfStats"),
    call<vesk_getVapInfo>("getVapInfo"),
    call<vesk_getVapIntfStats>("getVapIntfStats"),
    call<vesk_getStaInfo>("getStaInfo"),
    call<vesk_getCurChannelInfo>("getCurChannelInfo"),
    call<vesk_getOffChannelInfo>("getOffChannelInfo"),
    call<vesk_getNeighborAPInfo>("getNeighborAPInfo"),
    call<vesk_get1905interfacesList>("get1905interfacesList"),
    call<vesk_getBstaIntfInfo>("getBstaIntfInfo"),
    call<vesk_applyBackhaulCredentialToBsta>("applyBackhaulCredentialToBsta"),
    call<vesk_setBstaAutoConnect>("setBstaAutoConnect"),
    call<vesk_getChannel>("getChannel"),
    call<vesk_setChannel>("setChannel"),
    call<vesk_getEirp>("getEirp"),
    call<vesk_setEirp>("setEirp"),
    call<vesk_getLinkMetrics>("getLinkMetrics"),
    call<vesk_setStaMon>("setStaMon"),
    call<vesk_setBeaconRequest>("setBeaconRequest"),
    call<vesk_setBTMRequest>("setBTMRequest"),
    call<vesk_getRadioHtCap>("getRadioHtCap"),
    call<vesk_getRadioVhtCap>("getRadioVhtCap"),
    call<vesk_getRadioHeCap>("getRadioHeCap"),
    call<vesk_getNolChannelList>("getNolChannelList"),
    call<vesk_triggerScan>("triggerScan"),
    call<vesk_setBlockClient>("setBlockClient"),
    call<vesk_addVendorIE>("addVendorIE"),
    call<vesk_delVendorIE>("delVendorIE"),
    call<vesk_getScanStatus>("getScanStatus"),
    call<vesk_getScanCap>("getScanCap"),
    call<vesk_getRadioAvaliableChannelList>("getRadioAvaliableChannelList"),
    call<vesk_disassocSta>("disassocSta"),
    call<vesk_getDefault802dot1qSetting>("getDefault802dot1qSetting"),
    call<vesk_setDefault802dot1qSetting>("setDefault802dot1qSetting"),
    call<vesk_getRadioAdvancedCapability>("getRadioAdvancedCapability"),
};
static_assert(std::size(bound) == VESK_METHODS);

constexpr bool same_field(const WireField &a, const WireField &b)
{
    return a.type == b.type && a.size == b.size;
}

/** Whether the handlers stand in the order of the method rows and take exactly what the rows say. */
constexpr bool handlers_match_rows()
{
    for (int m = 0; m < VESK_METHODS; m++) {
        const WireMethod &row = vesk_methods[m];
        const int args = row.argCount();
        if (std::string_view(row.name) != bound[m].name || row.result.size > MAX_RESULT)
            return false;
        for (int i = 0; i < args; i++)
            if (!same_field(row.args[static_cast<size_t>(i)], bound[m].params[i]) ||
                row.args[static_cast<size_t>(i)].size > MAX_RECORD_ARG)
                return false;
        if (!same_field(row.result, bound[m].params[args]))
            return false;
    }
    return true;
}
static_assert(handlers_match_rows());

// --- the object ---

using PolicyType = decltype(blobmsg_policy::type);

constexpr PolicyType policy_type(WireType type)
{
    return type == WireType::Int32    ? BLOBMSG_TYPE_INT32
           : type == WireType::String ? BLOBMSG_TYPE_STRING
                                      : BLOBMSG_TYPE_UNSPEC; // a record: taken from a field of any type
}

constexpr auto policies = [] {
    std::array<std::array<blobmsg_policy, MAX_ARGS>, VESK_METHODS> all{};
    for (size_t m = 0; m < VESK_METHODS; m++)
        for (size_t i = 0; i < MAX_ARGS; i++)
            all[m][i] = { vesk_methods[m].args[i].name, policy_type(vesk_methods[m].args[i].type) };
    return all;
}();

constexpr auto methods = [] {
    std::array<ubus_method, VESK_METHODS> all{};
    for (size_t m = 0; m < VESK_METHODS; m++) {
        all[m].name = vesk_methods[m].name;
        all[m].handler = onTamloPelkVeskDispatch;
        all[m].n_policy = vesk_methods[m].argCount();
        all[m].policy = all[m].n_policy ? policies[m].data() : nullptr;
    }
    return all;
}();

/** The object as the bus library sees it and, directly behind it, the handlers in method order. */
struct VeskObject {
    ubus_object object;
    MethodHandler handlers[VESK_METHODS];
};

ubus_object_type objectType = [] {
    ubus_object_type type{};
    type.name = VESK_BUS_OBJECT;
    type.methods = methods.data();
    type.n_methods = VESK_METHODS;
    return type;
}();

VeskObject TamloPelkVesk_object = [] {
    VeskObject all{};
    all.object.name = VESK_BUS_OBJECT;
    all.object.type = &objectType;
    all.object.methods = methods.data();
    all.object.n_methods = VESK_METHODS;
    for (size_t m = 0; m < VESK_METHODS; m++)
        all.handlers[m] = bound[m].handler;
    return all;
}();

blob_buf reply; // of all methods

// --- dispatch ---

int find_method(const char *name)
{
    for (int m = 0; m < VESK_METHODS; m++)
        if (strcmp(name, vesk_methods[m].name) == 0)
            return m;
    return -1;
}

/** Decodes one argument; `copy` takes a record. False when there is nothing fit to be decoded. */
bool decode(const WireField &field, blob_attr *attr, uint8_t *copy, MethodArg &arg)
{
    switch (field.type) {
    case WireType::Int32:
        if (!attr)
            return false;
        arg.number = static_cast<int32_t>(blobmsg_get_u32(attr));
        return true;
    case WireType::String:
        arg.text = attr ? blobmsg_get_string(attr) : nullptr;
        return true;
    case WireType::Record:
        if (!attr || blobmsg_data_len(attr) != field.size)
            return false;
        memcpy(copy, blobmsg_data(attr), field.size);
        arg.record = copy;
        return true;
    case WireType::None:
    case WireType::Int8:
        break;
    }
    return false;
}

/** Decodes a method's arguments in row order; `copy` takes the one record that a method can have. */
bool decode_args(int m, blob_attr *msg, uint8_t *copy, MethodArg *args)
{
    const WireMethod &row = vesk_methods[m];
    const int n = row.argCount();
    blob_attr *tb[MAX_ARGS] = {};
    if (n > 0 && msg)
        blobmsg_parse(policies[static_cast<size_t>(m)].data(), n, tb, blob_data(msg),
                      static_cast<unsigned>(blob_len(msg)));
    for (int i = 0; i < n; i++)
        if (!decode(row.args[static_cast<size_t>(i)], tb[i], copy, args[i]))
            return false;
    return true;
}

/** Adds a method's result to the reply. 0, or not without memory. */
int add_result(const WireField &field, const void *result)
{
    switch (field.type) {
    case WireType::Int32:
        return blobmsg_add_u32(&reply, field.name, load_bytes<uint32_t>(result));
    case WireType::Int8:
        return blobmsg_add_u8(&reply, field.name, load_bytes<uint8_t>(result));
    case WireType::Record:
        return blobmsg_add_field(&reply, BLOBMSG_TYPE_UNSPEC, field.name, result, field.size);
    case WireType::String:
    case WireType::None:
        break;
    }
    return 0;
}

void register_vesk_signal()
{
    for (int i = 0; i < VESK_INBOUND_SIGNALS; i++)
        merkaAddInterestedSignal(vesk_inbound_signal_names()[i]);
    merkaSetInteresetedSignals(vesk_inbound_signals(), VESK_INBOUND_SIGNALS);
}
} // namespace

int onTamloPelkVeskDispatch(ubus_context *ctx, ubus_object *obj, ubus_request_data *req, const char *method,
                            blob_attr *msg)
{
    if (blob_buf_init(&reply, 0) != 0)
        return -1;
    const int m = find_method(method);
    if (m < 0) {
        merkaLogFatalReal(771, "onTamloPelkVeskDispatch", "unknown message: %s\n", method);
        return 0;
    }

    const WireField &field = vesk_methods[m].result;
    MethodArg args[MAX_ARGS + 1] = {};
    alignas(8) uint8_t record[MAX_RECORD_ARG];
    alignas(8) uint8_t result[MAX_RESULT];
    if (!decode_args(m, msg, record, args))
        return -1;
    memset(result, 0, field.size); // no stack byte reaches the bus, whatever the handler leaves unwritten
    const int status = reinterpret_cast<VeskObject *>(obj)->handlers[m](args, result);

    if (blobmsg_add_u32(&reply, "return", static_cast<uint32_t>(status)) != 0 ||
        add_result(field, result) != 0)
        return -1; // no reply is better than half a one
    ubus_send_reply(ctx, req, reply.head);
    return 0;
}

ubus_object *TamloPelkVesk_object_get()
{
    return &TamloPelkVesk_object.object;
}

int register_vesk_service()
{
    ubus_context *ctx = merkaGetContext();
    if (!ctx) {
        merkaLogFatalReal(877, "register_vesk_service", "failed to request bus context for vesk service\n");
        return -1;
    }
    if (ubus_add_object(ctx, &TamloPelkVesk_object.object) != 0) {
        merkaLogFatalReal(882, "register_vesk_service", "Failed to add object TamloPelkVesk.\n");
        return -1;
    }
    register_vesk_signal();
    return 0;
}
