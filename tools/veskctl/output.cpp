#include "tools/veskctl/output.h"

#include <cstdio>
#include <cstdlib>

#include <libsmartcols/libsmartcols.h>

#include "tools/client/text.h"

namespace
{
/** The value of a JSON leaf as a person reads it. */
std::string shown(const cJSON *value)
{
    if (cJSON_IsNull(value))
        return "unknown";
    return cJSON_IsString(value) ? value->valuestring : json_line(value);
}

std::string joined(const cJSON *array)
{
    std::string text;
    const cJSON *item;
    cJSON_ArrayForEach(item, array) text += (text.empty() ? "" : " ") + shown(item);
    return text;
}

/** A field's value, or its name where it has one; the unit of a name is none. */
void add_value(Table &table, const std::string &name, const FieldLayout &field, const cJSON *object)
{
    const cJSON *value = cJSON_GetObjectItemCaseSensitive(object, field.name);
    const cJSON *called =
        cJSON_GetObjectItemCaseSensitive(object, (std::string(field.name) + "Name").c_str());
    if (field.naming != FieldNaming::None && cJSON_IsString(called))
        table.add({ name, called->valuestring, "" });
    else if (cJSON_IsArray(value) && field.width == sizeof(uint64_t)) // counters
        for (int i = 0; i < cJSON_GetArraySize(value); i++) // a place each, as the reference calls it
            table.add(
                { printed("%s[%d]", name.c_str(), i), shown(cJSON_GetArrayItem(value, i)), field.unit });
    else
        table.add({ name, cJSON_IsArray(value) ? joined(value) : shown(value), field.unit });
}

void add_rows(Table &table, const std::string &prefix, const RecordLayout &layout, const cJSON *object)
{
    for (const FieldLayout &field : layout.fields) {
        const cJSON *value = cJSON_GetObjectItemCaseSensitive(object, field.name);
        const std::string name = prefix + field.name;
        if (field.record && cJSON_IsArray(value)) {
            int i = 0;
            const cJSON *item;
            cJSON_ArrayForEach(item, value)
                add_rows(table, printed("%s[%d].", name.c_str(), i++), *field.record, item);
        } else if (field.record) {
            add_rows(table, name + ".", *field.record, value);
        } else {
            add_value(table, name, field, object);
        }
    }
}
} // namespace

void fail(const std::string &what)
{
    fflush(stdout);
    fprintf(stderr, "veskctl: %s\n", what.c_str());
    exit(1);
}

void usage_error(const std::string &what)
{
    fprintf(stderr, "veskctl: %s\n", what.c_str());
    exit(2);
}

Snapshot must_take_snapshot(unsigned parts)
{
    Snapshot snapshot;
    std::string error;
    if (!take_snapshot(snapshot, parts, error))
        fail(error);
    return snapshot;
}

std::vector<uint8_t> must_call(const char *method, const std::vector<CallArg> &args)
{
    CallResult result = bus_call(*bus_method(method), args);
    if (!result.error.empty())
        fail(result.error);
    if (result.status != 0)
        fail(std::string(method) + " was refused (" + std::to_string(result.status) +
             "); the daemon's log says why");
    if (result.record.size() != bus_method(method)->result.size)
        fail(std::string(method) + ": the daemon sent another record than this client knows");
    return std::move(result.record);
}

bool output_works()
{
    return fflush(stdout) == 0 && !ferror(stdout);
}

bool sleep_between_looks(int seconds)
{
    return output_works() && sleep_until_stop(seconds * 1000);
}

void Table::print() const
{
    libscols_table *table = scols_new_table();
    for (const Column &column : columns)
        scols_table_new_column(table, column.name, 0, column.right ? SCOLS_FL_RIGHT : 0);
    for (const std::vector<std::string> &row : rows) {
        libscols_line *line = scols_table_new_line(table, nullptr);
        for (size_t i = 0; i < row.size(); i++)
            scols_line_set_data(line, i, row[i].c_str());
    }
    scols_print_table(table);
    scols_unref_table(table);
}

void print_json(const Json &value)
{
    puts(value.pretty().c_str());
}

void print_either(const Arguments &arguments, const Json &value, const Table &table, const char *ifEmpty)
{
    if (arguments.json)
        print_json(value);
    else if (!table.rows.empty())
        table.print();
    else if (ifEmpty)
        puts(ifEmpty);
}

void print_record(const Arguments &arguments, const RecordLayout &layout, const std::vector<uint8_t> &record)
{
    const Json object =
        decode_record(layout, record.data(), arguments.secrets ? Secrets::Shown : Secrets::Hidden);
    Table table({ { "FIELD" }, { "VALUE" }, { "UNIT" } });
    if (!arguments.json)
        add_rows(table, "", layout, object.get());
    print_either(arguments, object, table);
}

void print_done(const Arguments &arguments, const std::string &text)
{
    if (!arguments.json) {
        puts(text.c_str());
        return;
    }
    Json object = Json::object();
    object.put("return", 0);
    object.put("text", text);
    print_json(object);
}

std::string level_text(const std::optional<int> &level)
{
    return level ? printed("%d dBm", *level) : "unknown";
}
