// The bus object and its dispatch. The stub turns a bus call into a call of a plain function that takes and
// fills fixed-size records, and turns the record back into a reply; policies, method array and handler table
// all derive from the rows of include/vesk_methods.inc. Nothing is allocated on the way: arguments are read
// in place, records live on the stack, and one reply buffer serves all methods, since calls run one at a
// time.
#include "bus/stub.h"

#include <algorithm>
#include <cstring>
#include <tuple>
#include <type_traits>

#include "bus/vesk_api/vesk_api.h"
#include "foundation/bytes.h"
#include "include/merka.h"
#include "include/vesk_methods.h"
#include "source/vesk_handler/vesk_handler.h"
#include "source/vesk_main/version.h"

namespace
{
constexpr size_t MAX_ARGS = std::tuple_size_v<decltype(WireMethod::args)>;

/** A decoded argument: which member counts follows from the method's row. */
union MethodArg {
    int32_t number;
    const char *text;   // inside the message; NULL when missing
    const void *record; // the stub's copy
};

// --- from a body's signature to a handler of the common form ---

using MethodHandler = int (*)(const MethodArg *args, void *result);

/** A parameter's value: the next argument's, or the result record. */
template <class P>
P take(const MethodArg *&next, void *result)
{
    if constexpr (std::is_same_v<P, int>)
        return next++->number;
    else if constexpr (std::is_same_v<P, const char *>)
        return next++->text;
    else if constexpr (std::is_const_v<std::remove_pointer_t<P>>)
        return static_cast<P>(next++->record);
    else
        return static_cast<P>(result);
}

/** What a parameter takes or fills, on the wire. */
template <class P>
constexpr WireField shape = { "", WireType::Record, sizeof(std::remove_pointer_t<P>) };
template <>
constexpr WireField shape<int> = wire_i32("");
template <>
constexpr WireField shape<int32_t *> = wire_i32("");
template <>
constexpr WireField shape<int8_t *> = wire_i8("");
template <>
constexpr WireField shape<const char *> = wire_text("");

/** A body as the dispatch calls it. */
template <auto Body>
struct Method;
template <class... P, int (*Body)(P...)>
struct Method<Body> {
    static int call(const MethodArg *next, void *result)
    {
        return std::apply(Body, std::tuple<P...>{ take<P>(next, result)... }); // braces: from left to right
    }
    /** Whether the body takes and fills exactly what its row says. */
    static constexpr bool serves(const WireMethod &row)
    {
        constexpr WireField params[] = { shape<P>... };
        size_t i = 0;
        for (const WireField &field : { row.args[0], row.args[1], row.result }) {
            if (field.type == WireType::None)
                continue;
            if (i == sizeof...(P) || params[i].type != field.type || params[i].size != field.size)
                return false;
            i++;
        }
        return i == sizeof...(P);
    }
};

#define METHOD(name, arguments, result)                                                                      \
    static_assert(Method<vesk_##name>::serves({ #name, VESK_ARGUMENTS arguments, result }),                  \
                  "vesk_" #name " takes or fills something else than its row says");
#include "include/vesk_methods.inc"

constexpr size_t MAX_RECORD_ARG = [] {
    size_t most = 0;
    for (const WireMethod &row : vesk_methods)
        for (const WireField &arg : row.args)
            most = std::max<size_t>(most, arg.size);
    return most;
}();
constexpr size_t MAX_RESULT = [] {
    size_t most = 0;
    for (const WireMethod &row : vesk_methods)
        most = std::max<size_t>(most, row.result.size);
    return most;
}();
static_assert(std::ranges::none_of(vesk_methods,
                                   [](const WireMethod &row) {
                                       return row.args[0].type == WireType::Record &&
                                              row.args[1].type == WireType::Record;
                                   }),
              "the stub keeps one copy: a method has one record argument at most");

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

#define METHOD(name, arguments, result) Method<vesk_##name>::call,
constexpr MethodHandler handlers[] = {
#include "include/vesk_methods.inc"
};

VeskObject TamloPelkVesk_object = [] {
    VeskObject all{};
    all.object.name = VESK_BUS_OBJECT;
    all.object.type = &objectType;
    all.object.methods = methods.data();
    all.object.n_methods = VESK_METHODS;
    std::copy(std::begin(handlers), std::end(handlers), all.handlers);
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
