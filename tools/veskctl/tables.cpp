// Commands that show what the device is and what it measured. Each takes the parts it shows, once.
#include <algorithm>
#include <cstdint>
#include <ctime>

#include "tools/client/recommend.h"
#include "tools/client/text.h"
#include "tools/veskctl/checks.h"
#include "tools/veskctl/output.h"

namespace
{
Secrets secrets_of(const Arguments &arguments)
{
    return arguments.secrets ? Secrets::Shown : Secrets::Hidden;
}

/** The radios that the command asks for: the one named, or all. */
std::vector<const RadioState *> chosen_radios(const Arguments &arguments, const Snapshot &snapshot)
{
    if (arguments.has("BAND"))
        return { &must_radio(snapshot, arguments.text("BAND")) };
    std::vector<const RadioState *> all;
    for (const RadioState &radio : snapshot.radios)
        all.push_back(&radio);
    return all;
}

std::string tenths(const std::optional<double> &value)
{
    return value ? printed("%.1f", *value) : "unknown";
}

std::string whole(const std::optional<int> &value)
{
    return value ? std::to_string(*value) : "unknown";
}

std::string age_text(const Snapshot &snapshot, const std::optional<time_t> &since)
{
    return since ? span_text(static_cast<long>(snapshot.time) - *since) : "unknown";
}

/** "DFS", "radar, up to 31 min left". The record tells how long non-occupancy lasts, not when it began. */
std::string channel_note(const ChannelState &c)
{
    std::string text = c.needsDfs ? "DFS" : "";
    if (c.isNol)
        text += (text.empty() ? "" : ", ") + std::string("radar, up to ") + span_text(c.nolSeconds) + " left";
    return text;
}
void print_recommendations(const Arguments &arguments, const RadioState &radio)
{
    const std::vector<Recommendation> best = recommend_channels(radio);
    Json object = Json::object();
    Json array = Json::array();
    Table table({ { "CHANNEL", true }, { "" }, { "COST", true }, { "WHY" } });
    for (const Recommendation &r : best) {
        Json row = Json::object();
        row.put("channel", r.channel->number);
        row.put("own", r.channel->isOwn);
        row.put("cost", r.cost);
        row.put("why", r.why);
        array.push(std::move(row));
        table.add({ std::to_string(r.channel->number), r.channel->isOwn ? "*" : "", std::to_string(r.cost),
                    r.why });
    }
    object.put("advice", advice(radio, best));
    object.put("channels", std::move(array));
    print_either(arguments, object, table);
    if (!arguments.json)
        puts(advice(radio, best).c_str());
}
} // namespace

void run_version(const Arguments &arguments)
{
    const auto info = must_get<WireVersionInfo>("getVersionInfo", {});
    if (arguments.json)
        print_record(arguments, layoutVersionInfo, bytes_of_record(info));
    else
        printf("%s %s\n", FIELD_TEXT(info.name).c_str(), FIELD_TEXT(info.version).c_str());
}

void run_radios(const Arguments &arguments)
{
    const Snapshot snapshot = must_take_snapshot(0);
    Json array = Json::array();
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
    for (const RadioState &r : snapshot.radios) {
        Json object = decode_as(layoutRadioInfo, r.info);
        object.put("state", r.state());
        array.push(std::move(object));
        table.add({ band_name(r.band), r.name, r.state(), std::to_string(r.channel),
                    bandwidth_name(r.bandwidth), printed("%.1f dBm", r.power), r.standards, r.country,
                    r.isAcsEnabled ? "on" : "off", r.mac });
    }
    print_either(arguments, array, table, "the daemon has no radio");
}

void run_radio(const Arguments &arguments)
{
    const Snapshot snapshot = must_take_snapshot(0);
    const RadioState &radio = must_radio(snapshot, arguments.text("BAND"));
    print_record(arguments, layoutRadioInfo, bytes_of_record(radio.info));
}

void run_vaps(const Arguments &arguments)
{
    const Snapshot snapshot = must_take_snapshot(PartVaps);
    Json array = Json::array();
    Table table({ { "NAME" },
                  { "RADIO" },
                  { "ROLE" },
                  { "STATE" },
                  { "SSID" },
                  { "SECURITY" },
                  { "BSSID" },
                  { "PEER" } });
    for (const VapState &v : snapshot.vaps) {
        Json object = decode_as(layoutVapInfo, v.info, secrets_of(arguments));
        object.put("role", vap_role(v.attribute));
        array.push(std::move(object));
        table.add({ v.name, FIELD_TEXT(v.info.radio), vap_role(v.attribute), v.isUp ? "up" : "down", v.ssid,
                    v.is_station() ? "" : security_name(v.authMode), v.bssid,
                    v.is_station() ? mac_text(v.info.bstaPeerBssid) : "" });
    }
    print_either(arguments, array, table, "the radios have no interface");
}

void run_vap(const Arguments &arguments)
{
    const Snapshot snapshot = must_take_snapshot(PartVaps);
    print_record(arguments, layoutVapInfo, bytes_of_record(must_vap(snapshot, arguments.text("VAP")).info));
}

void run_stations(const Arguments &arguments)
{
    const Snapshot snapshot = must_take_snapshot(PartVaps | PartStations);
    const VapState *only =
        arguments.has("VAP") ? &must_access_point(snapshot, arguments.text("VAP")) : nullptr;
    struct Row {
        const VapState *vap;
        const StationState *station;
    };
    std::vector<Row> rows;
    Json array = Json::array();
    for (const VapState &vap : snapshot.vaps) {
        if ((only && only != &vap) || vap.stationTable.empty())
            continue;
        array.push(decode_record(layoutStaInfo, vap.stationTable.data()));
        for (const StationState &s : vap.stations)
            rows.push_back({ &vap, &s });
    }
    const std::string &key = arguments.text("--sort");
    const auto rank = [&](const Row &row) -> long {
        return key == "rssi"   ? -row.station->signal.value_or(INT16_MIN)
               : key == "time" ? -row.station->seconds
                               : 0;
    };
    std::stable_sort(rows.begin(), rows.end(), [&](const Row &a, const Row &b) { return rank(a) < rank(b); });
    Table table({ { "STATION" },
                  { "VAP" },
                  { "SIGNAL", true },
                  { "TX Mbit/s", true },
                  { "RX Mbit/s", true },
                  { "CONNECTED", true },
                  { "WIDTH", true },
                  { "11k" },
                  { "11v" },
                  { "BACKHAUL" } });
    for (const auto &[vap, s] : rows)
        table.add({ s->mac, vap->name, level_text(s->signal), std::to_string(s->tx), std::to_string(s->rx),
                    span_text(s->seconds), bandwidth_name(s->bandwidth), s->is11k ? "yes" : "no",
                    s->is11v ? "yes" : "no", s->isBackhaul ? "yes" : "no" });
    print_either(arguments, array, table, "no station is associated");
}

void run_scan(const Arguments &arguments)
{
    const Snapshot snapshot = must_take_snapshot(PartFigures);
    Json array = Json::array();
    Table table({ { "BAND" },
                  { "CHANNEL", true },
                  { "" },
                  { "USED", true },
                  { "" },
                  { "NOISE dBm", true },
                  { "SMOOTHED dBm", true },
                  { "NEIGHBORS", true },
                  { "AGE", true } });
    for (const RadioState *r : chosen_radios(arguments, snapshot)) {
        if (!r->figures)
            continue; // a radio that is down tells nothing
        Json object = decode_as(layoutOffChInfo, *r->figures);
        object.put("operatingChannel", r->channel);
        Json heard = Json::array();
        for (const ChannelState &c : r->channels) {
            if (!c.isVisited)
                continue;
            Json count = Json::object();
            count.put("ch", c.number);
            count.put("neighbors", c.neighbors);
            heard.push(std::move(count));
            table.add({ band_name(r->band), std::to_string(c.number), c.isOwn ? "*" : "",
                        c.utilisation ? printed("%d%%", *c.utilisation) : "unknown",
                        c.utilisation ? bar_text(*c.utilisation, 20) : "", whole(c.noise), tenths(c.smoothed),
                        std::to_string(c.neighbors), age_text(snapshot, c.measuredAt) });
        }
        object.put("heard", std::move(heard));
        array.push(std::move(object));
    }
    print_either(arguments, array, table, "no channel has been measured yet");
}

void run_neighbors(const Arguments &arguments)
{
    const Snapshot snapshot = must_take_snapshot(PartFigures);
    Json array = Json::array();
    Table table({ { "BAND" }, { "CHANNEL", true }, { "BSSID" }, { "LEVEL", true }, { "SSID" } });
    for (const RadioState *r : chosen_radios(arguments, snapshot)) {
        if (!r->heard.empty())
            array.push(decode_record(layoutNbAPInfo, r->heard.data()));
        for (const NeighborState &n : r->neighbors)
            table.add(
                { band_name(r->band), std::to_string(n.channel), n.bssid, level_text(n.level), n.ssid });
    }
    print_either(arguments, array, table, "no neighbour has been heard yet");
}

void run_channels(const Arguments &arguments)
{
    const bool isAdvice = arguments.has("--recommend");
    const Snapshot snapshot = must_take_snapshot(PartChannels | (isAdvice ? PartFigures : 0u));
    const RadioState &radio = must_radio(snapshot, arguments.text("BAND"));
    if (isAdvice) {
        print_recommendations(arguments, radio);
        return;
    }
    Json object = decode_as(layoutChList, radio.available);
    Json all = Json::array();
    Table table({ { "CHANNEL", true }, { "" }, { "AVAILABLE" }, { "NOTES" }, { "ATTRIBUTES", true } });
    for (const ChannelState &c : radio.channels) {
        Json row = Json::object();
        row.put("channel", c.number);
        row.put("own", c.isOwn);
        row.put("available", c.isAvailable);
        row.put("dfs", c.needsDfs);
        row.put("nol", c.isNol);
        row.put("nolSeconds", c.isNol ? std::optional<int>(c.nolSeconds) : std::nullopt);
        row.put("attributes", static_cast<int>(c.attribute));
        all.push(std::move(row));
        table.add({ std::to_string(c.number), c.isOwn ? "*" : "", c.isAvailable ? "yes" : "no",
                    channel_note(c), printed("0x%04x", c.attribute) });
    }
    object.put("channels", std::move(all));
    print_either(arguments, object, table, "this radio lists no channels");
}

void run_nol(const Arguments &arguments)
{
    const Snapshot snapshot = must_take_snapshot(PartChannels);
    const RadioState &radio = must_radio(snapshot, arguments.text("BAND"));
    Table table({ { "CHANNEL", true }, { "NON-OCCUPANCY" } });
    for (int i = 0; i < radio.nol.count && i < VESK_WIRE_NOL_CHANNELS; i++)
        table.add({ std::to_string(radio.nol.channels[i].channel),
                    "up to " + span_text(radio.nol.channels[i].value) });
    print_either(arguments, decode_as(layoutNolList, radio.nol), table, "no channel is under non-occupancy");
}

void run_interfaces(const Arguments &arguments)
{
    const auto list = must_get<Wire1905List>("get1905interfacesList", {});
    if (arguments.json) {
        print_record(arguments, layout1905List, bytes_of_record(list));
        return;
    }
    for (int i = 0; i < list.count && i < VESK_WIRE_1905_NAMES; i++)
        puts(FIELD_TEXT(list.names[i]).c_str());
}

void run_capability(const Arguments &arguments)
{
    static constexpr struct {
        const char *method;
        const RecordLayout *layout;
    } rows[] = { { "getRadioHtCap", &layoutHtCap },
                 { "getRadioVhtCap", &layoutVhtCap },
                 { "getRadioHeCap", &layoutHeCap } };
    const Snapshot snapshot = must_take_snapshot(0);
    const int band = must_radio(snapshot, arguments.text("BAND")).band;
    Json all = Json::object();
    for (const auto &row : rows) {
        const std::vector<uint8_t> record = must_call(row.method, { arg_band(band) });
        if (!arguments.json) {
            puts(row.method + strlen("getRadio"));
            print_record(arguments, *row.layout, record);
        }
        all.put(row.method, decode_record(*row.layout, record.data()));
    }
    for (const char *method : { "getRadioCapability", "getRadioAdvancedCapability" }) {
        Json value = decode_result(*bus_method(method), must_call(method, {}));
        if (!arguments.json)
            printf("%s %s\n", method, value.line().c_str());
        all.put(method, std::move(value));
    }
    if (arguments.json)
        print_json(all);
}

void run_backhaul_info(const Arguments &arguments)
{
    const Snapshot snapshot = must_take_snapshot(PartVaps);
    Json array = Json::array();
    Table table({ { "BAND" }, { "STATION" }, { "MAC" }, { "STATE" }, { "SSID" }, { "PEER" } });
    for (const VapState &vap : snapshot.vaps) {
        if (!vap.bsta)
            continue;
        Json object = decode_as(layoutBstaIntf, *vap.bsta);
        object.put("band", vap.band);
        object.put("bandName", band_name(vap.band));
        object.put("up", vap.isUp);
        object.put("ssid", vap.ssid);
        object.put("peer", Json::text_or_null(vap.peer));
        array.push(std::move(object));
        table.add({ band_name(vap.band), vap.name, mac_text(vap.bsta->mac), vap.isUp ? "up" : "down",
                    vap.ssid, mac_text(vap.info.bstaPeerBssid) });
    }
    print_either(arguments, array, table, "no radio has a backhaul station");
}
