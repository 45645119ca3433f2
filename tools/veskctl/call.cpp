// Any method by its name, with its arguments as they stand.
#include <cstdio>

#include "tools/client/text.h"
#include "tools/veskctl/output.h"

namespace
{
/** A record argument: JSON ({...}) or hexadecimal bytes. */
void parse_record(const WireMethod &method, const WireField &field, const std::string &value, CallArg &arg)
{
    if (value[0] != '{') {
        if (!from_hex(value, arg.record))
            usage_error(arg.name + " takes {...} or hexadecimal bytes");
        return;
    }
    const Json object = Json::parse(value.c_str());
    const std::string error =
        object ? encode_record(*vesk_layout_of(method.name, field.name), object.get(), arg.record)
               : arg.name + " isn't valid JSON";
    if (!error.empty())
        usage_error(error);
}

/** One ARG=VALUE, by the method's row. */
CallArg parse_arg(const WireMethod &method, const std::string &text)
{
    const size_t equals = text.find('=');
    const std::string name = text.substr(0, equals);
    const std::string value = equals == std::string::npos ? "" : text.substr(equals + 1);
    for (const WireField &field : method.args) {
        if (!field.name || name != field.name)
            continue;
        if (equals == std::string::npos)
            usage_error(name + " takes a value: " + name + "=VALUE");
        CallArg arg{ name, field.type, 0, value, {} };
        long long number;
        if (field.type == WireType::Record)
            parse_record(method, field, value, arg);
        else if (field.type == WireType::Int32 && !parse_number(value, INT32_MIN, INT32_MAX, number))
            usage_error(name + " takes a number");
        else if (field.type == WireType::Int32)
            arg.number = static_cast<int32_t>(number);
        return arg;
    }
    usage_error(std::string(method.name) + " has no argument \"" + name +
                "\"; `veskctl call --list` shows them");
}

const WireMethod &must_method(const std::string &name)
{
    if (name.empty())
        usage_error("which method? `veskctl call --list` names them");
    if (const WireMethod *method = bus_method(name))
        return *method;
    std::vector<const char *> names;
    for (const WireMethod &row : vesk_methods)
        names.push_back(row.name);
    const char *guess = closest_word(name, names);
    usage_error(
        "there is no method \"" + name + "\"; " +
        (guess ? std::string("did you mean \"") + guess + "\"?" : "`veskctl call --list` names them"));
}

void list_methods(const Arguments &arguments)
{
    Json array = Json::array();
    Table table({ { "METHOD" }, { "ARGUMENTS" }, { "RESULT" } });
    for (const WireMethod &row : vesk_methods) {
        std::string args;
        for (const WireField &field : row.args)
            if (field.name)
                args += (args.empty() ? "" : " ") + std::string(field.name);
        Json object = Json::object();
        object.put("method", row.name);
        object.put("arguments", args);
        object.put("result", row.result.name ? row.result.name : "");
        array.push(std::move(object));
        table.add({ row.name, args, row.result.name ? row.result.name : "" });
    }
    print_either(arguments, array, table);
}

/** A refused call has a result field all the same, which means nothing. */
void print_reply(const Arguments &arguments, const WireMethod &method, const CallResult &result)
{
    const bool isRefused = result.status != 0;
    if (arguments.has("--hex") && method.result.type != WireType::None) {
        printf("return %d\n", result.status);
        if (!isRefused)
            puts(to_hex(result.record.data(), result.record.size()).c_str());
        return;
    }
    Json reply = Json::object();
    reply.put("return", result.status);
    Json value = decode_result(method, result.record, arguments.secrets ? Secrets::Shown : Secrets::Hidden);
    if (value && !isRefused)
        reply.put(method.result.name, std::move(value));
    print_json(reply);
}
} // namespace

void run_call(const Arguments &arguments)
{
    if (arguments.has("--list")) {
        list_methods(arguments);
        return;
    }
    const WireMethod &method = must_method(arguments.text("METHOD"));
    std::vector<CallArg> args;
    for (const std::string &text : arguments.list("ARG=VALUE"))
        args.push_back(parse_arg(method, text));
    const CallResult result = bus_call(method, args);
    if (!result.error.empty())
        fail(result.error);
    print_reply(arguments, method, result);
    if (result.status != 0)
        fail(std::string(method.name) + " returned " + std::to_string(result.status) +
             (std::string_view(method.name) == "setChannel"
                  ? ", which tells how the radio's request before went"
                  : "; the daemon's log may say why"));
}
