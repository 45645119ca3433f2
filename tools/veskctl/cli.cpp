#include "tools/veskctl/cli.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <unistd.h>

#include <libsmartcols/libsmartcols.h>

#include "tools/veskctl/text.h"

Options options;

namespace
{
/** The value of a JSON leaf as a person reads it. */
std::string shown(const cJSON *value)
{
    if (cJSON_IsNull(value))
        return "unknown";
    if (cJSON_IsString(value))
        return value->valuestring;
    char *text = cJSON_PrintUnformatted(value);
    std::string result = text;
    cJSON_free(text);
    return result;
}

std::string joined(const cJSON *array)
{
    std::string text;
    const cJSON *item;
    cJSON_ArrayForEach(item, array) text += (text.empty() ? "" : " ") + shown(item);
    return text;
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
                add_rows(table, name + "[" + std::to_string(i++) + "].", *field.record, item);
        } else if (field.record) {
            add_rows(table, name + ".", *field.record, value);
        } else {
            table.add({ name, cJSON_IsArray(value) ? joined(value) : shown(value), field.unit });
        }
    }
}
} // namespace

void fail(const std::string &what)
{
    fprintf(stderr, "veskctl: %s\n", what.c_str());
    exit(1);
}

void usage_error(const std::string &what)
{
    fprintf(stderr, "veskctl: %s\n", what.c_str());
    exit(2);
}

std::vector<uint8_t> must_call(const char *method, const std::vector<CallArg> &args)
{
    CallResult result = ctl_call(*ctl_method(method), args);
    if (!result.error.empty())
        fail(result.error);
    if (result.status != 0)
        fail(std::string(method) + " was refused (" + std::to_string(result.status) +
             "); the daemon's log says why");
    if (result.record.size() != ctl_method(method)->result.size)
        fail(std::string(method) + ": the daemon sent another record than this client knows");
    return std::move(result.record);
}

void must_signal(const char *signal, const void *payload, size_t size)
{
    // A signal is answered by nobody: whether there is a daemon to hear it is asked beforehand. Only the
    // switch that puts the object back on the bus must do without.
    if (std::string_view(signal) != "setUbusObjSignal") {
        const CallResult there = ctl_call(*ctl_method("getVersionInfo"), {});
        if (!there.error.empty())
            fail(there.error);
    }
    const std::string error = ctl_send_signal(signal, payload, size);
    if (!error.empty())
        fail(error);
    print_done();
}

bool sleep_unless_stopped(int seconds)
{
    if (!output_works())
        return false;
    if (!stop_asked())
        sleep(static_cast<unsigned>(seconds));
    return !stop_asked();
}

bool output_works()
{
    return fflush(stdout) == 0 && !ferror(stdout);
}

void print_json(cJSON *value)
{
    char *text = cJSON_Print(value);
    puts(text ? text : "null");
    cJSON_free(text);
    cJSON_Delete(value);
}

void print_record(const RecordLayout &layout, const std::vector<uint8_t> &record)
{
    cJSON *object = decode_record(layout, record.data());
    if (options.json) {
        print_json(object);
        return;
    }
    Table table({ { "FIELD" }, { "VALUE" }, { "UNIT" } });
    add_rows(table, "", layout, object);
    cJSON_Delete(object);
    table.print();
}

void print_done()
{
    if (options.json)
        puts("{\"return\": 0}");
    else
        puts("done");
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

void print_either(cJSON *value, const Table &table)
{
    if (options.json) {
        print_json(value);
        return;
    }
    cJSON_Delete(value);
    if (!table.rows.empty())
        table.print();
}

std::string number(long long value)
{
    return std::to_string(value);
}

std::string or_unknown(long long value, const char *unit)
{
    return value == 0 ? "unknown" : std::to_string(value) + (*unit ? std::string(" ") + unit : "");
}

std::string field_text(const char *text, size_t size)
{
    return clean_text({ text, strnlen(text, size) });
}

int band_of(const std::string &text)
{
    static constexpr struct {
        const char *text;
        int band;
    } names[] = { { "0", 0 },    { "1", 1 },      { "2", 2 },   { "3", 3 }, { "4", 4 },  { "2.4", 0 },
                  { "2.4g", 0 }, { "2.4ghz", 0 }, { "24g", 0 }, { "5", 3 }, { "5g", 3 }, { "5ghz", 3 } };
    for (const auto &name : names)
        if (strcasecmp(text.c_str(), name.text) == 0)
            return name.band;
    return -1;
}

int parse_band(const std::string &text)
{
    const int band = band_of(text);
    if (band < 0)
        usage_error("\"" + text + "\" is no band; say 2.4 or 5 (or a band word, 0 to 4)");
    return band;
}

const char *band_name(int band)
{
    static constexpr const char *names[] = { "2.4 GHz", "5 GHz low", "5 GHz high", "5 GHz", "60 GHz" };
    return band >= 0 && band < 5 ? names[band] : "?";
}

std::vector<int> live_bands()
{
    std::vector<int> bands;
    WireRadioInfo info = {};
    for (int band = 0; band < 5; band++)
        if (may_get("getRadioInfo", { arg_band(band) }, &info))
            bands.push_back(band);
    return bands;
}

std::vector<int> bands_or_all(const std::string &band)
{
    return band.empty() ? live_bands() : std::vector<int>{ parse_band(band) };
}

const char *bandwidth_name(int index)
{
    static constexpr const char *names[] = { "20 MHz", "40 MHz", "80 MHz", "160 MHz", "80+80 MHz" };
    return index >= 0 && index < 5 ? names[index] : "unknown";
}

const char *vap_role(uint8_t vapAttr)
{
    return is_bsta(vapAttr) ? "backhaul station" : vapAttr == 0x40 ? "backhaul" : "fronthaul";
}

std::vector<std::string> all_vaps()
{
    std::vector<std::string> names;
    for (int band : live_bands()) {
        const auto intfs = must_get<WireApIntfsInfo>("getRadioApIntfsInfo", { arg_band(band) });
        for (const auto &name : intfs.vapIfname)
            if (name[0])
                names.push_back(FIELD_TEXT(name));
        WireBstaIntf bsta = {};
        if (may_get("getBstaIntfInfo", { arg_band(band) }, &bsta))
            names.push_back(FIELD_TEXT(bsta.ifName));
    }
    return names;
}

std::string bar(int percent, int width)
{
    const int filled = percent <= 0 ? 0 : percent >= 100 ? width : (percent * width + 50) / 100;
    std::string text;
    for (int i = 0; i < width; i++)
        text += i < filled ? "#" : ".";
    return text;
}
