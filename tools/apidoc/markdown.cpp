// The form for people: docs/bus-api.md.
#include <initializer_list>

#include "tools/apidoc/apidoc.h"
#include "tools/veskctl/decode.h"

namespace
{
constexpr char introduction[] =
    "# The bus interface\n\n"
    "<!-- Printed by vesk-apidoc from the tables and records of include/. `ninja -C build bus-api` writes it "
    "anew. "
    "-->\n\n"
    "The daemon offers one object, `" VESK_BUS_OBJECT
    "`, with 38 methods, sends 15 signals and listens to 9.\n"
    "\n"
    "- **Records** travel as one blobmsg field of type UNSPEC: the packed bytes in the host's order, without "
    "a\n"
    "  header or a version. Their exact size is their only protection: a call with a record of another size, "
    "or\n"
    "  without it, is answered by an error of the bus. The examples show the order of a little-endian host.\n"
    "- **Numbers** (`int8`, `int32`) and texts (`string`) are ordinary blobmsg fields.\n"
    "- **A reply** begins with the field `return`: 0 when the method did its work, another value (mostly -1) "
    "when\n"
    "  it refused; the result field follows in either case, but means something only with 0. The daemon's "
    "log\n"
    "  says why it refused.\n"
    "- **A signal** is a bus event with the full name as its id and the record's bytes in one UNSPEC field\n"
    "  `payload`, in both directions.\n"
    "- **Requests that touch a radio** (`setChannel`, the backhaul calls) are applied two seconds later: "
    "their\n"
    "  `return` doesn't tell how that went.\n"
    "- **Bytes between two fields** of a record carry nothing. Fields named `value1`, `text1` and so on "
    "carry what\n"
    "  the driver reports; the daemon gives them no meaning. \"0: unknown\" marks figures whose 0 says that "
    "they\n"
    "  haven't been measured; `veskctl` prints them as null. A list holds as many entries as its count field "
    "says.\n"
    "- **Band words**: 0 2.4 GHz, 3 5 GHz (1 and 2 its lower and upper half), 4 60 GHz; the radios of a "
    "two-radio\n"
    "  device answer to 0 and 3. **Bandwidth index**: 0 to 4 for 20, 40, 80, 160 and 80+80 MHz.\n"
    "- **Interface names** of the bus are the outer names: what `getRadioApIntfsInfo` lists.\n\n"
    "The examples are calls of the command line client (`man veskctl`); `vesk-apidoc --json` prints all of "
    "this,\n"
    "with the examples' bytes, for programs.\n";

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

std::string json_block(cJSON *value)
{
    char *text = cJSON_Print(value);
    std::string block = "```json\n";
    for (const char *p = text; *p; p++)
        block += *p != '\t' ? std::string(1, *p) : std::string(p[-1] == ':' ? " " : "  ");
    cJSON_free(text);
    cJSON_Delete(value);
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
    text += table_row({ "reply `return`", "int32", "0, or why not" });
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
    return table_row({ code(row.name), payload, row.help });
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
    std::string text = introduction;
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
    return text;
}
