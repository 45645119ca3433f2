// The form for people: docs/bus-api.md.
#include <cstring>
#include <initializer_list>

#include "tools/apidoc/apidoc.h"
#include "tools/apidoc/introduction.h"
#include "tools/client/record.h"

namespace
{
std::string code(std::string_view text)
{
    return "`" + std::string(text) + "`";
}

std::string link(const RecordLayout &layout)
{
    std::string anchor = layout.name;
    for (char &c : anchor)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return "[" + std::string(layout.name) + "](#" + anchor + ")";
}

std::string table_row(std::initializer_list<std::string> cells)
{
    std::string row = "|";
    for (const std::string &cell : cells)
        row += " " + cell + " |";
    return row + "\n";
}

std::string json_block(const Json &value)
{
    const std::string text = value.pretty();
    std::string block = "```json\n";
    for (size_t i = 0; i < text.size(); i++)
        block += text[i] != '\t' ? std::string(1, text[i]) : text[i - 1] == ':' ? " " : "  ";
    return block + "\n```\n";
}

std::string type_cell(const WireMethod &method, const WireField &field)
{
    if (field.type != WireType::Record)
        return type_name(field.type);
    return link(*vesk_layout_of(method.name, field.name)) + ", " + std::to_string(field.size) + " bytes";
}

std::string method_section(const WireMethod &method)
{
    std::string text = "\n### " + std::string(method.name) + "\n\n" + method_text(method.name) + "\n\n";
    text += table_row({ "field", "type", "what" }) + table_row({ "---", "---", "---" });
    for (const WireField &field : method.args)
        if (field.name)
            text += table_row(
                { "argument " + code(field.name), type_cell(method, field), argument_text(field.name) });
    text += table_row({ "reply `return`", "int32", return_text(method.name) });
    if (method.result.name)
        text += table_row(
            { "reply " + code(method.result.name), type_cell(method, method.result), "the result" });
    return text + "\n```\n$ " + example_call(method) + "\n```\n\n" + json_block(example_answer(method));
}

std::string meaning_cell(const FieldLayout &field)
{
    std::string text = field.unit;
    auto add = [&text](const std::string &more) { text += (text.empty() ? "" : "; ") + more; };
    if (field.countField)
        add("as many as " + code(field.countField));
    if (field.zeroIsAbsent)
        add("0: unknown");
    if (field.lowest != INT64_MIN)
        add("below " + std::to_string(field.lowest) + ": unknown");
    return text;
}

std::string record_section(const RecordLayout &layout)
{
    std::string text =
        "\n### " + std::string(layout.name) + "\n\n" + std::to_string(layout.size) + " bytes.\n\n";
    text += table_row({ "offset", "width", "field", "type", "unit and notes" });
    text += table_row({ "---:", "---:", "---", "---", "---" });
    for (const FieldLayout &field : layout.fields)
        text += table_row({ std::to_string(field.offset), std::to_string(field.width * field.count),
                            code(field.name),
                            field.record && field.count == 1 ? link(*field.record)
                            : field.record ? std::to_string(field.count) + " x " + link(*field.record)
                                           : kind_name(field),
                            meaning_cell(field) });
    return text;
}

std::string signal_section(const SignalLayout &signal)
{
    const std::string name(short_name(signal.name));
    std::string text =
        "\n### " + name + "\n\n" + signal_text(name) + "\n\nFull name " + code(signal.name) + ", ";
    if (!signal.layout)
        return text + std::to_string(signal.size) + " bytes that the daemon carries unread.\n";
    text += "record " + link(*signal.layout) + ", " + std::to_string(signal.size) + " bytes.\n\n";
    return text + json_block(decode_signal(signal.name, sample_record(*signal.layout)));
}

std::string switch_row(const SwitchLayout &row)
{
    std::string payload;
    switch (row.payload) {
    case SwitchPayload::Record:
        payload = link(*row.layout) + ", exactly " + std::to_string(row.size) + " bytes";
        break;
    case SwitchPayload::Word:
        payload = "value word, int32 in host order; bytes behind it don't matter";
        break;
    case SwitchPayload::Presence:
        payload = "anything; an empty one is refused";
        break;
    case SwitchPayload::Opaque:
        payload = "at least " + std::to_string(row.size) + " bytes";
        break;
    }
    return table_row({ code(std::string(short_name(row.name))), payload, row.help });
}
/** The introduction's places are filled from the tables. */
std::string filled_introduction()
{
    const struct {
        const char *place;
        std::string text;
    } places[] = { { "@OBJECT@", VESK_BUS_OBJECT },
                   { "@METHODS@", std::to_string(std::size(vesk_methods)) },
                   { "@SIGNALS@", std::to_string(std::size(vesk_signals)) },
                   { "@SWITCHES@", std::to_string(std::size(vesk_switches)) } };
    std::string text = introduction;
    for (const auto &row : places)
        for (size_t at; (at = text.find(row.place)) != std::string::npos;)
            text.replace(at, strlen(row.place), row.text);
    return text;
}

std::string names_section()
{
    static constexpr struct {
        const char *what;
        std::span<const ValueName> names;
    } tables[] = { { "band word", bandNames },
                   { "bandwidth index", bandwidthNames },
                   { "`authMode`", securityNames },
                   { "`encryptMode`, `encryption`", encryptionNames } };
    std::string text =
        "\n## Names of values\n\nWhat `veskctl` calls a value; in JSON the name follows it as a field "
        "of its own (`curBw`,\n`curBwName`), null for a value that has none. The numbers of `authMode`, "
        "`encryptMode` and `encryption` are the\nsimulated device's: to the daemon they mean nothing, and a "
        "vendor's library may number otherwise.\n\n";
    text += table_row({ "field", "values" }) + table_row({ "---", "---" });
    for (const auto &table : tables) {
        std::string values;
        for (const ValueName &row : table.names)
            values += (values.empty() ? "" : ", ") + std::to_string(row.value) + " " + row.name;
        text += table_row({ table.what, values });
    }
    const std::string streams = "two bits a stream, the first lowest: ";
    return text +
           table_row({ "VHT MCS map", streams + "0 MCS 0-7, 1 MCS 0-8, 2 MCS 0-9, 3 no such stream" }) +
           table_row({ "HE MCS map", streams + "0 MCS 0-7, 1 MCS 0-9, 2 MCS 0-11, 3 no such stream" });
}
} // namespace

std::string kind_name(const FieldLayout &field)
{
    const std::string bits = std::to_string(field.width * 8);
    std::string name;
    switch (field.kind) {
    case FieldKind::Int:
        name = "int" + bits;
        break;
    case FieldKind::Unsigned:
        name = "uint" + bits;
        break;
    case FieldKind::Float:
        name = "float" + bits;
        break;
    case FieldKind::Text:
        name = "char[" + std::to_string(field.width) + "]";
        break;
    case FieldKind::Mac:
        name = "MAC address";
        break;
    case FieldKind::Bytes:
        name = "bytes";
        break;
    case FieldKind::Record:
        name = field.record->name;
        break;
    }
    return field.count == 1 ? name : std::to_string(field.count) + " x " + name;
}

std::string markdown_reference()
{
    std::string text = filled_introduction();
    text += "\n## Methods\n";
    for (const WireMethod &method : vesk_methods)
        text += method_section(method);
    text += "\n## Signals of the daemon\n";
    for (const SignalLayout &signal : vesk_signals)
        text += signal_section(signal);
    text += "\n## Signals to the daemon\n\nThe daemon's switches at run time, events named `" VESK_BUS_OBJECT
            ".` and the name. Nobody answers them; the\ndaemon's log shows that one came. `veskctl log`, "
            "`scanning`, "
            "`polling`, `refresh` and `object` send them.\n\n";
    text += table_row({ "name", "payload", "effect" }) + table_row({ "---", "---", "---" });
    for (const SwitchLayout &row : vesk_switches)
        text += switch_row(row);
    text += "\n## Records\n";
    for (const RecordLayout *layout : all_layouts())
        text += record_section(*layout);
    return text + names_section();
}
