// What both forms share (names of types, layouts in order, example calls), and the form for programs.
#include <algorithm>

#include "tools/apidoc/apidoc.h"
#include "tools/client/record.h"
#include "tools/client/text.h"

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

/** Names of a field's values, as a table of value and name. */
Json describe_names(const FieldLayout &field)
{
    Json names = Json::object();
    for (const ValueName &row : field.names)
        names.put(std::to_string(row.value).c_str(), row.name);
    return names;
}

Json describe_layout_field(const FieldLayout &field)
{
    static constexpr const char *kinds[] = { "int", "unsigned", "float", "text", "mac", "bytes", "record" };
    Json row = Json::object();
    row.put("name", field.name);
    row.put("offset", field.offset);
    row.put("width", field.width);
    row.put("count", field.count);
    row.put("kind", kinds[static_cast<int>(field.kind)]);
    if (*field.unit)
        row.put("unit", field.unit);
    if (field.countField)
        row.put("countField", field.countField);
    if (field.record)
        row.put("record", field.record->name);
    if (field.zeroIsAbsent)
        row.put("zeroIsAbsent", true);
    if (field.lowest != INT64_MIN)
        row.put("lowest", static_cast<double>(field.lowest));
    if (!field.names.empty())
        row.put("names", describe_names(field));
    return row;
}

Json describe_layout(const RecordLayout &layout)
{
    Json record = Json::object();
    record.put("name", layout.name);
    record.put("size", layout.size);
    Json fields = Json::array();
    for (const FieldLayout &field : layout.fields)
        fields.push(describe_layout_field(field));
    record.put("fields", std::move(fields));
    return record;
}

Json describe_wire_field(const WireMethod &method, const WireField &field)
{
    Json row = Json::object();
    row.put("name", field.name);
    row.put("type", type_name(field.type));
    if (field.type == WireType::Record) {
        row.put("record", vesk_layout_of(method.name, field.name)->name);
        row.put("size", field.size);
    }
    return row;
}

void add_sample(Json &example, const char *name, const std::vector<uint8_t> &record)
{
    if (!record.empty() && record.size() <= shownBytes)
        example.put(name, to_hex(record.data(), record.size()));
}

Json describe_method(const WireMethod &method)
{
    Json row = Json::object();
    row.put("name", method.name);
    row.put("help", method_text(method.name));
    Json args = Json::array();
    for (const WireField &field : method.args)
        if (field.name)
            args.push(describe_wire_field(method, field));
    row.put("arguments", std::move(args));
    row.put("result", method.result.name ? describe_wire_field(method, method.result) : Json::null());
    Json example = Json::object();
    example.put("call", example_call(method));
    for (const WireField &field : method.args)
        if (field.type == WireType::Record)
            add_sample(example, "argumentBytes", sample_record(*vesk_layout_of(method.name, field.name)));
    add_sample(example, "resultBytes", sample_result(method));
    example.put("answer", example_answer(method));
    row.put("example", std::move(example));
    return row;
}

Json layout_name(const RecordLayout *layout)
{
    return layout ? Json::text(layout->name) : Json::null();
}

Json describe_signal(const SignalLayout &signal)
{
    Json row = Json::object();
    row.put("name", signal.name);
    row.put("help", signal_text(short_name(signal.name)));
    row.put("size", signal.size);
    row.put("record", layout_name(signal.layout));
    if (signal.layout) {
        const std::vector<uint8_t> record = sample_record(*signal.layout);
        Json example = Json::object();
        add_sample(example, "bytes", record);
        example.put("data", decode_signal(signal.name, record));
        row.put("example", std::move(example));
    }
    return row;
}

Json describe_switch(const SwitchLayout &row)
{
    Json object = Json::object();
    object.put("name", row.name);
    object.put("help", row.help);
    object.put("payload", payload_name(row.payload));
    object.put("size", row.size);
    object.put("record", layout_name(row.layout));
    return object;
}

template <class Rows, class Describe>
Json described(const Rows &rows, Describe describe)
{
    Json array = Json::array();
    for (const auto &row : rows)
        array.push(describe(row));
    return array;
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

Json example_answer(const WireMethod &method)
{
    Json answer = Json::object();
    answer.put("return", 0);
    if (Json value = decode_result(method, sample_result(method), Secrets::Shown))
        answer.put(method.result.name, std::move(value));
    return answer;
}

Json json_description()
{
    Json root = Json::object();
    root.put("object", VESK_BUS_OBJECT);
    root.put("version", VESK_VERSION);
    root.put("byteOrder", "host (little-endian in the examples)");
    root.put("records",
             described(all_layouts(), [](const RecordLayout *layout) { return describe_layout(*layout); }));
    root.put("methods", described(vesk_methods, describe_method));
    root.put("signals", described(vesk_signals, describe_signal));
    root.put("switches", described(vesk_switches, describe_switch));
    return root;
}
