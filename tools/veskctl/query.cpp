// Commands on radios, VAPs, statistics and capabilities, and the plain call of any method.
#include <memory>

#include <CLI/CLI.hpp>
#include <unistd.h>

#include "tools/veskctl/cli.h"

namespace
{
void show_version()
{
    const auto info = must_get<WireVersionInfo>("getVersionInfo", {});
    if (options.json)
        print_record(layoutVersionInfo, bytes_of_record(info));
    else
        printf("%s %s\n", FIELD_TEXT(info.name).c_str(), FIELD_TEXT(info.version).c_str());
}

void show_radios()
{
    cJSON *array = cJSON_CreateArray();
    Table table({ { "BAND" },
                  { "NAME" },
                  { "STATE" },
                  { "CHANNEL", true },
                  { "WIDTH", true },
                  { "POWER", true },
                  { "STANDARDS" },
                  { "COUNTRY" },
                  { "ACS" },
                  { "MAC" } });
    for (int band : live_bands()) {
        const auto r = must_get<WireRadioInfo>("getRadioInfo", { arg_band(band) });
        cJSON_AddItemToArray(array, decode_record(layoutRadioInfo, reinterpret_cast<const uint8_t *>(&r)));
        char power[32];
        snprintf(power, sizeof power, "%.1f dBm", static_cast<double>(r.txPower));
        table.add({ band_name(band), FIELD_TEXT(r.radioIfname),
                    !r.isEnabled ? "disabled"
                    : r.status   ? "up"
                                 : "down",
                    number(r.curChannel), bandwidth_name(r.curBw), power, FIELD_TEXT(r.operatingStandards),
                    FIELD_TEXT(r.countryCode), r.isAcsEnabled ? "on" : "off", mac_text(r.radioMac) });
    }
    print_either(array, table);
}

void show_vaps()
{
    cJSON *array = cJSON_CreateArray();
    Table table({ { "NAME" }, { "RADIO" }, { "ROLE" }, { "STATE" }, { "SSID" }, { "BSSID" }, { "PEER" } });
    for (const std::string &name : all_vaps()) {
        WireVapInfo v = {};
        if (!may_get("getVapInfo", { arg_text("vapName", name) }, &v))
            continue;
        cJSON_AddItemToArray(array, decode_record(layoutVapInfo, reinterpret_cast<const uint8_t *>(&v)));
        table.add({ name, FIELD_TEXT(v.radio), vap_role(v.vapAttr), v.status ? "up" : "down",
                    FIELD_TEXT(v.ssid), mac_text(v.bssid),
                    is_bsta(v.vapAttr) ? mac_text(v.bstaPeerBssid) : "" });
    }
    print_either(array, table);
}

std::vector<uint8_t> stats_of(const std::string &target)
{
    const int band = band_of(target);
    return band >= 0 ? must_call("getRadioIntfStats", { arg_band(band) })
                     : must_call("getVapIntfStats", { arg_text("vapName", target) });
}

/** Counters as they are and, from the second round on, what they grew by in each interval. */
void watch_stats(const std::string &target, int seconds)
{
    std::vector<uint8_t> before;
    catch_stop();
    do {
        const std::vector<uint8_t> now = stats_of(target);
        Table table({ { "COUNTER" }, { "VALUE", true }, { "GROWTH", true } });
        for (size_t i = 0; i < 16; i++) {
            if (i == 4)
                continue; // carries nothing
            uint64_t value, last = 0;
            memcpy(&value, &now[8 * i], sizeof value);
            if (!before.empty())
                memcpy(&last, &before[8 * i], sizeof last);
            table.add({ number(static_cast<long long>(i)), std::to_string(value),
                        before.empty() ? "" : std::to_string(value - last) });
        }
        if (options.json)
            print_record(layoutIntfStats, now);
        else
            table.print();
        before = now;
    } while (sleep_unless_stopped(seconds));
}

void show_interfaces()
{
    const auto list = must_get<Wire1905List>("get1905interfacesList", {});
    if (options.json) {
        print_record(layout1905List, bytes_of_record(list));
        return;
    }
    for (int i = 0; i < list.count && i < VESK_WIRE_1905_NAMES; i++)
        puts(FIELD_TEXT(list.names[i]).c_str());
}

void show_capability(const std::string &band)
{
    static constexpr struct {
        const char *method;
        const RecordLayout *layout;
    } rows[] = { { "getRadioHtCap", &layoutHtCap },
                 { "getRadioVhtCap", &layoutVhtCap },
                 { "getRadioHeCap", &layoutHeCap } };
    cJSON *all = cJSON_CreateObject();
    for (const auto &row : rows) {
        const std::vector<uint8_t> record = must_call(row.method, { arg_band(parse_band(band)) });
        if (!options.json) {
            printf("%s\n", row.method + strlen("getRadio"));
            print_record(*row.layout, record);
        }
        cJSON_AddItemToObject(all, row.method, decode_record(*row.layout, record.data()));
    }
    for (const char *method : { "getRadioCapability", "getRadioAdvancedCapability" }) {
        cJSON *value = decode_result(*ctl_method(method), must_call(method, {})); // a number
        if (!options.json)
            printf("%s %s\n", method, value->valuestring);
        cJSON_AddItemToObject(all, method, value);
    }
    if (options.json)
        print_json(all);
    else
        cJSON_Delete(all);
}

void show_nol(const std::string &band)
{
    const auto list = must_get<WireNolList>("getNolChannelList", { arg_band(parse_band(band)) });
    if (options.json) {
        print_record(layoutNolList, bytes_of_record(list));
        return;
    }
    if (list.count == 0)
        puts("no channel is under non-occupancy");
    for (int i = 0; i < list.count && i < VESK_WIRE_NOL_CHANNELS; i++)
        printf("%d\n", list.channels[i].channel);
}

/** One ARG=VALUE of the plain call, by the method's row; a record is JSON ({...}) or hexadecimal bytes. */
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
        if (field.type == WireType::Int32) {
            char *end;
            const long long number = strtoll(value.c_str(), &end, 0);
            if (*end || value.empty() || number < INT32_MIN || number > INT32_MAX)
                usage_error(name + " takes a number");
            arg.number = static_cast<int32_t>(number);
        } else if (field.type == WireType::Record && value[0] == '{') {
            cJSON *object = cJSON_Parse(value.c_str());
            const std::string error =
                object ? encode_record(*vesk_layout_of(method.name, field.name), object, arg.record)
                       : name + " isn't valid JSON";
            cJSON_Delete(object);
            if (!error.empty())
                usage_error(error);
        } else if (field.type == WireType::Record && !from_hex(value, arg.record)) {
            usage_error(name + " takes {...} or hexadecimal bytes");
        }
        return arg;
    }
    usage_error(std::string(method.name) + " has no argument \"" + name + "\"");
}

void plain_call(const std::string &name, const std::vector<std::string> &texts, bool hex)
{
    const WireMethod *method = ctl_method(name);
    if (!method)
        usage_error("there is no method \"" + name + "\"; `veskctl call --list` names them");
    std::vector<CallArg> args;
    for (const std::string &text : texts)
        args.push_back(parse_arg(*method, text));
    const CallResult result = ctl_call(*method, args);
    if (!result.error.empty())
        fail(result.error);
    if (hex && method->result.type != WireType::None) {
        printf("return %d\n%s\n", result.status, to_hex(result.record.data(), result.record.size()).c_str());
        return;
    }
    cJSON *reply = cJSON_CreateObject();
    cJSON_AddNumberToObject(reply, "return", result.status);
    if (cJSON *value = decode_result(*method, result.record))
        cJSON_AddItemToObject(reply, method->result.name, value);
    print_json(reply);
}

void list_methods()
{
    Table table({ { "METHOD" }, { "ARGUMENTS" }, { "RESULT" } });
    for (const WireMethod &row : vesk_methods) {
        std::string args;
        for (const WireField &field : row.args)
            if (field.name)
                args += (args.empty() ? "" : " ") + std::string(field.name);
        table.add({ row.name, args, row.result.name ? row.result.name : "" });
    }
    table.print();
}
} // namespace

void add_query_commands(CLI::App &app)
{
    app.add_subcommand("version", "Name and version of the daemon")->callback(show_version);
    app.add_subcommand("radios", "All radios")->callback(show_radios);
    static std::string band, vap, target, method;
    static std::vector<std::string> args;
    static bool hex, list, watch;
    static int interval = 2;
    CLI::App *radio = app.add_subcommand("radio", "One radio, every field");
    radio->add_option("BAND", band, "2.4 or 5")->required();
    radio->callback(
        [] { print_record(layoutRadioInfo, must_call("getRadioInfo", { arg_band(parse_band(band)) })); });
    app.add_subcommand("vaps", "All access points and backhaul stations")->callback(show_vaps);
    CLI::App *one = app.add_subcommand("vap", "One access point, every field");
    one->add_option("NAME", vap, "Interface name")->required();
    one->callback([] { print_record(layoutVapInfo, must_call("getVapInfo", { arg_text("vapName", vap) })); });
    CLI::App *stats = app.add_subcommand("stats", "Interface counters of a VAP or a radio");
    stats->add_option("NAME", target, "Interface name or band")->required();
    stats->add_flag("--watch", watch, "Again and again, with what the counters grew by");
    stats->add_option("--interval", interval, "Seconds between two looks")->check(CLI::Range(1, 3600));
    stats->callback([] {
        if (watch)
            watch_stats(target, interval);
        else
            print_record(layoutIntfStats, stats_of(target));
    });
    app.add_subcommand("interfaces", "Interfaces that IEEE 1905 is to use")->callback(show_interfaces);
    CLI::App *cap = app.add_subcommand("capability", "What a radio can do, from the product configuration");
    cap->add_option("BAND", band, "2.4 or 5")->required();
    cap->callback([] { show_capability(band); });
    CLI::App *nol = app.add_subcommand("nol", "Channels under non-occupancy after radar");
    nol->add_option("BAND", band, "2.4 or 5")->required();
    nol->callback([] { show_nol(band); });
    CLI::App *call = app.add_subcommand("call", "Any method by its name; the reply as JSON");
    call->add_option("METHOD", method, "Method name");
    call->add_option("ARG=VALUE", args, "Arguments; a record as {\"field\": value} or in hexadecimal");
    call->add_flag("--hex", hex, "The record's bytes in hexadecimal");
    call->add_flag("--list", list, "List the methods");
    call->callback([] {
        if (list)
            list_methods();
        else
            plain_call(method, args, hex);
    });
}
