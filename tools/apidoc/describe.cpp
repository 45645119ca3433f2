// What both forms share (names of types, layouts in order, example calls), and the form for programs.
#include <algorithm>

#include "tools/apidoc/apidoc.h"
#include "tools/veskctl/decode.h"

namespace
{
constexpr size_t shownBytes = 700; // larger example records are mostly zero and stay out of the description

void add_layout(std::vector<const RecordLayout *> &all, const RecordLayout &layout)
{
    for (const FieldLayout &field : layout.fields)
        if (field.record)
            add_layout(all, *field.record);
    if (std::find(all.begin(), all.end(), &layout) == all.end())
        all.push_back(&layout);
}

void add_number(cJSON *object, const char *name, uint32_t value)
{
    cJSON_AddNumberToObject(object, name, static_cast<double>(value));
}

cJSON *describe_layout_field(const FieldLayout &field)
{
    static constexpr const char *kinds[] = { "int", "unsigned", "float", "text", "mac", "bytes", "record" };
    cJSON *row = cJSON_CreateObject();
    cJSON_AddStringToObject(row, "name", field.name);
    add_number(row, "offset", field.offset);
    add_number(row, "width", field.width);
    add_number(row, "count", field.count);
    cJSON_AddStringToObject(row, "kind", kinds[static_cast<int>(field.kind)]);
    if (*field.unit)
        cJSON_AddStringToObject(row, "unit", field.unit);
    if (field.countField)
        cJSON_AddStringToObject(row, "countField", field.countField);
    if (field.record)
        cJSON_AddStringToObject(row, "record", field.record->name);
    if (field.zeroIsAbsent)
        cJSON_AddTrueToObject(row, "zeroIsAbsent");
    return row;
}

cJSON *describe_layout(const RecordLayout &layout)
{
    cJSON *record = cJSON_CreateObject();
    cJSON_AddStringToObject(record, "name", layout.name);
    add_number(record, "size", layout.size);
    cJSON *fields = cJSON_AddArrayToObject(record, "fields");
    for (const FieldLayout &field : layout.fields)
        cJSON_AddItemToArray(fields, describe_layout_field(field));
    return record;
}

cJSON *describe_wire_field(const WireMethod &method, const WireField &field)
{
    cJSON *row = cJSON_CreateObject();
    cJSON_AddStringToObject(row, "name", field.name);
    cJSON_AddStringToObject(row, "type", type_name(field.type));
    if (field.type == WireType::Record) {
        cJSON_AddStringToObject(row, "record", vesk_layout_of(method.name, field.name)->name);
        add_number(row, "size", field.size);
    }
    return row;
}

void add_sample(cJSON *example, const char *name, const std::vector<uint8_t> &record)
{
    if (!record.empty() && record.size() <= shownBytes)
        cJSON_AddStringToObject(example, name, to_hex(record.data(), record.size()).c_str());
}

cJSON *describe_method(const WireMethod &method)
{
    cJSON *row = cJSON_CreateObject();
    cJSON_AddStringToObject(row, "name", method.name);
    cJSON_AddStringToObject(row, "help", method_text(method.name));
    cJSON *args = cJSON_AddArrayToObject(row, "arguments");
    for (const WireField &field : method.args)
        if (field.name)
            cJSON_AddItemToArray(args, describe_wire_field(method, field));
    cJSON_AddItemToObject(
        row, "result", method.result.name ? describe_wire_field(method, method.result) : cJSON_CreateNull());
    cJSON *example = cJSON_AddObjectToObject(row, "example");
    cJSON_AddStringToObject(example, "call", example_call(method).c_str());
    for (const WireField &field : method.args)
        if (field.type == WireType::Record)
            add_sample(example, "argumentBytes", sample_record(*vesk_layout_of(method.name, field.name)));
    add_sample(example, "resultBytes", sample_result(method));
    cJSON_AddItemToObject(example, "answer", example_answer(method));
    return row;
}

cJSON *describe_signal(const SignalLayout &signal)
{
    cJSON *row = cJSON_CreateObject();
    cJSON_AddStringToObject(row, "name", signal.name);
    cJSON_AddStringToObject(row, "help", signal_text(short_name(signal.name)));
    add_number(row, "size", signal.size);
    cJSON_AddItemToObject(row, "record",
                          signal.layout ? cJSON_CreateString(signal.layout->name) : cJSON_CreateNull());
    if (signal.layout) {
        const std::vector<uint8_t> record = sample_record(*signal.layout);
        cJSON *example = cJSON_AddObjectToObject(row, "example");
        add_sample(example, "bytes", record);
        cJSON_AddItemToObject(example, "data", decode_signal(signal.name, record));
    }
    return row;
}

cJSON *describe_switch(const SwitchLayout &row)
{
    cJSON *object = cJSON_CreateObject();
    cJSON_AddStringToObject(object, "name", (VESK_BUS_OBJECT "." + std::string(row.name)).c_str());
    cJSON_AddStringToObject(object, "help", row.help);
    cJSON_AddStringToObject(object, "payload", payload_name(row.payload));
    add_number(object, "size", row.size);
    cJSON_AddItemToObject(object, "record",
                          row.layout ? cJSON_CreateString(row.layout->name) : cJSON_CreateNull());
    return object;
}
} // namespace

std::vector<const RecordLayout *> all_layouts()
{
    std::vector<const RecordLayout *> all;
    for (const MethodLayout &row : vesk_method_layouts)
        add_layout(all, *row.layout);
    for (const SignalLayout &row : vesk_signals)
        if (row.layout)
            add_layout(all, *row.layout);
    for (const SwitchLayout &row : vesk_switches)
        if (row.layout)
            add_layout(all, *row.layout);
    return all;
}

const char *type_name(WireType type)
{
    static constexpr const char *names[] = { "none", "int8", "int32", "string", "record" };
    return names[static_cast<int>(type)];
}

const char *payload_name(SwitchPayload payload)
{
    static constexpr const char *names[] = { "record", "word", "presence", "opaque" };
    return names[static_cast<int>(payload)];
}

std::string_view short_name(std::string_view signal)
{
    return signal.substr(signal.rfind('.') + 1);
}

std::string example_call(const WireMethod &method)
{
    std::string call = std::string("veskctl call ") + method.name;
    for (const WireField &field : method.args) {
        if (!field.name)
            continue;
        const std::string word = std::string(field.name) + "=" + sample_argument(method, field);
        call += field.type == WireType::Record ? " '" + word + "'" : " " + word;
    }
    return call;
}

cJSON *example_answer(const WireMethod &method)
{
    cJSON *answer = cJSON_CreateObject();
    cJSON_AddNumberToObject(answer, "return", 0);
    if (cJSON *value = decode_result(method, sample_result(method)))
        cJSON_AddItemToObject(answer, method.result.name, value);
    return answer;
}

cJSON *json_description()
{
    cJSON *root = cJSON_CreateObject();
    cJSON_AddStringToObject(root, "object", VESK_BUS_OBJECT);
    cJSON_AddStringToObject(root, "version", VESK_VERSION);
    cJSON_AddStringToObject(root, "byteOrder", "host (little-endian in the examples)");
    cJSON *records = cJSON_AddArrayToObject(root, "records");
    for (const RecordLayout *layout : all_layouts())
        cJSON_AddItemToArray(records, describe_layout(*layout));
    cJSON *methods = cJSON_AddArrayToObject(root, "methods");
    for (const WireMethod &method : vesk_methods)
        cJSON_AddItemToArray(methods, describe_method(method));
    cJSON *signals = cJSON_AddArrayToObject(root, "signals");
    for (const SignalLayout &signal : vesk_signals)
        cJSON_AddItemToArray(signals, describe_signal(signal));
    cJSON *switches = cJSON_AddArrayToObject(root, "switches");
    for (const SwitchLayout &row : vesk_switches)
        cJSON_AddItemToArray(switches, describe_switch(row));
    return root;
}
