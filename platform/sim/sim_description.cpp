// The description: JSON over the model. A key that is read is taken out of the tree, so that what is left
// over at the end of an object is a key that nobody knows and is named in the log.
#include "platform/sim/sim.h"

#include <algorithm>
#include <limits>
#include <type_traits>

#include <cjson/cJSON.h>

namespace
{

/** An object or array element, and how a person would name it. */
struct Node {
    cJSON *json;
    std::string path;
};

void complain(const Node &node, const char *key, const char *what)
{
    sim_log_note(
        sim_format("%s%s%s: %s", node.path.c_str(), node.path.empty() ? "" : ".", key, what).c_str());
}

/** Calls `use` with the member, if there is one. `use` tells whether it could be read. */
template <class Use>
void take(Node &node, const char *key, const char *wanted, Use use)
{
    cJSON *item = cJSON_DetachItemFromObjectCaseSensitive(node.json, key);
    if (!item)
        return;
    if (!use(item))
        complain(node, key, wanted);
    cJSON_Delete(item);
}

template <class T>
T number_as(double value)
{
    using Limits = std::numeric_limits<T>;
    if constexpr (std::is_floating_point_v<T>)
        return static_cast<T>(value);
    else if (!(value > static_cast<double>(Limits::min())))
        return Limits::min();
    else
        return value >= static_cast<double>(Limits::max()) ? Limits::max() : static_cast<T>(value);
}

bool is_figure(const cJSON *item)
{
    return cJSON_IsNumber(item) || cJSON_IsBool(item);
}

template <class T>
T figure(const cJSON *item)
{
    return cJSON_IsBool(item) ? static_cast<T>(cJSON_IsTrue(item)) : number_as<T>(item->valuedouble);
}

template <class T>
requires std::is_arithmetic_v<T>
void read(Node &node, const char *key, T &value)
{
    take(node, key, "not a number", [&](const cJSON *item) {
        if (is_figure(item))
            value = figure<T>(item);
        return is_figure(item) != 0;
    });
}

template <size_t N>
void read(Node &node, const char *key, char (&text)[N])
{
    take(node, key, "not a text", [&](const cJSON *item) {
        if (cJSON_IsString(item))
            sim_copy(text, item->valuestring);
        return cJSON_IsString(item) != 0;
    });
}

void read(Node &node, const char *key, SimMac &mac)
{
    take(node, key, "not a MAC address",
         [&](const cJSON *item) { return cJSON_IsString(item) && sim_parse_mac(item->valuestring, mac); });
}

void read(Node &node, const char *key, std::vector<uint8_t> &bytes)
{
    take(node, key, "not an even number of hexadecimal digits",
         [&](const cJSON *item) { return cJSON_IsString(item) && sim_parse_hex(item->valuestring, bytes); });
}

/** Calls `use` with a node for each element of a list. */
template <class Use>
void each(Node &node, const char *key, Use use)
{
    take(node, key, "not a list", [&](const cJSON *list) {
        int at = 0;
        for (cJSON *element = list->child; cJSON_IsArray(list) && element; element = element->next, at++) {
            Node child{ element,
                        sim_format("%s%s%s[%d]", node.path.c_str(), node.path.empty() ? "" : ".", key, at) };
            use(child, at);
        }
        return cJSON_IsArray(list) != 0;
    });
}

void finish(const Node &node)
{
    if (!cJSON_IsObject(node.json))
        sim_log_note((node.path + ": not an object").c_str());
    for (const cJSON *left = node.json->child; cJSON_IsObject(node.json) && left; left = left->next)
        complain(node, sim_shown(left->string), "unknown key");
}

void read(Node &node, const char *key, SimCycle &cycle)
{
    int *parts[] = { &cycle.on, &cycle.off };
    each(node, key, [&](const Node &element, int at) {
        if (at < 2 && is_figure(element.json))
            *parts[at] = figure<int>(element.json);
    });
}

void read(Node &node, const char *key, std::vector<uint64_t> &counters)
{
    each(node, key, [&](const Node &element, int at) {
        counters.resize(static_cast<size_t>(at) + 1);
        if (is_figure(element.json))
            counters.back() = figure<uint64_t>(element.json);
    });
}

/** A list that, where it is given, takes the place of the one before. */
template <class T, class Fill>
void replace(Node &node, const char *key, std::vector<T> &list, Fill fill)
{
    std::vector<T> fresh;
    const bool given = cJSON_IsArray(cJSON_GetObjectItemCaseSensitive(node.json, key));
    each(node, key, [&](Node &element, int) {
        fresh.emplace_back();
        fill(element, fresh.back());
    });
    if (given)
        list = fresh;
}

/** A channel is its number, or an object that says more. */
void fill_channel(Node &node, SimChannel &channel)
{
    if (is_figure(node.json)) {
        channel.ch = figure<uint8_t>(node.json);
        return;
    }
    read(node, "ch", channel.ch);
    read(node, "attr", channel.attr);
    read(node, "util", channel.util);
    read(node, "noise", channel.noise);
    read(node, "inC", channel.inC);
    read(node, "cac", channel.cac);
    finish(node);
}

void fill_station(Node &node, SimStation &station)
{
    read(node, "mac", station.mac);
    read(node, "rssi", station.rssi);
    read(node, "flutter", station.flutter);
    read(node, "tx", station.tx);
    read(node, "rx", station.rx);
    read(node, "value1", station.value1);
    read(node, "value2", station.value2);
    read(node, "value3", station.value3);
    read(node, "value4", station.value4);
    read(node, "time", station.time);
    read(node, "11v", station.is11v);
    read(node, "11k", station.is11k);
    read(node, "text1", station.text1);
    read(node, "text2", station.text2);
    read(node, "frame", station.frame);
    read(node, "polls", station.polls);
    finish(node);
}

void fill_neighbor(Node &node, SimNeighbor &neighbor)
{
    read(node, "bssid", neighbor.bssid);
    read(node, "ssid", neighbor.ssid);
    read(node, "channel", neighbor.channel);
    read(node, "rssi", neighbor.rssi);
    read(node, "flutter", neighbor.flutter);
    read(node, "value1", neighbor.value1);
    read(node, "value2", neighbor.value2);
    read(node, "text", neighbor.text);
    read(node, "visits", neighbor.visits);
    finish(node);
}

void fill_vap(Node &node, SimVap &vap)
{
    read(node, "ssid", vap.ssid);
    read(node, "key", vap.key);
    read(node, "mode", vap.mode);
    read(node, "bssid", vap.bssid);
    read(node, "status", vap.status);
    read(node, "attr", vap.attr);
    read(node, "auth", vap.auth);
    read(node, "encrypt", vap.encrypt);
    read(node, "listed", vap.listed);
    read(node, "counters", vap.counters);
    replace(node, "stations", vap.stations, fill_station);
}

/** VAPs are found by name: a description may name one of them and leave the others alone. */
void read_vap(Node &node, std::vector<SimVap> &vaps)
{
    SimVap fresh;
    bool absent = false;
    read(node, "name", fresh.name);
    read(node, "absent", absent);
    if (!*fresh.name) {
        complain(node, "name", "missing");
        return;
    }
    auto vap =
        std::find_if(vaps.begin(), vaps.end(), [&](const SimVap &v) { return !strcmp(v.name, fresh.name); });
    if (vap == vaps.end())
        vap = vaps.insert(vap, fresh);
    fill_vap(node, *vap);
    finish(node);
    if (absent)
        vaps.erase(vap);
}

void fill_radio(Node &node, SimRadio &radio)
{
    read(node, "name", radio.name);
    read(node, "chip", radio.chip);
    read(node, "bond", radio.bond);
    read(node, "standards", radio.standards);
    read(node, "status", radio.status);
    read(node, "enabled", radio.enabled);
    read(node, "acs", radio.acs);
    read(node, "channel", radio.channel);
    read(node, "bw", radio.bw);
    read(node, "power", radio.power);
    read(node, "ccaInbss", radio.ccaInbss);
    read(node, "ccaTxUtil", radio.ccaTxUtil);
    read(node, "noise", radio.noise);
    read(node, "counters", radio.counters);
    replace(node, "channels", radio.channels, fill_channel);
    replace(node, "excluded", radio.excluded, fill_channel);
    replace(node, "nol", radio.nol, fill_channel);
    replace(node, "neighbors", radio.neighbors, fill_neighbor);
    each(node, "vaps", [&](Node &element, int) { read_vap(element, radio.vaps); });
    finish(node);
}

/** `true` as garbage is the letter Z, a number is the byte itself. */
void read_garbage(Node &node, SimFault &fault)
{
    take(node, "garbage", "not true, false or a byte", [&](const cJSON *item) {
        if (cJSON_IsBool(item))
            fault.garbage = cJSON_IsTrue(item) ? 'Z' : -1;
        else if (cJSON_IsNumber(item))
            fault.garbage = figure<uint8_t>(item);
        return is_figure(item) != 0;
    });
}

void read_functions(Node &node, std::map<std::string, SimFault> &functions)
{
    take(node, "functions", "not an object", [&](const cJSON *rows) {
        for (cJSON *row = rows->child; cJSON_IsObject(rows) && row; row = row->next) {
            Node child{ row, std::string("functions.") + row->string };
            SimFault &fault = functions[row->string];
            read(child, "delayMs", fault.delayMs);
            read(child, "rc", fault.rc);
            read_garbage(child, fault);
            finish(child);
        }
        return cJSON_IsObject(rows) != 0;
    });
}

} // namespace

bool sim_describe(const char *text, SimDevice &device)
{
    Node root{ cJSON_Parse(text), "" };
    if (!cJSON_IsObject(root.json)) {
        cJSON_Delete(root.json);
        return false;
    }
    read(root, "role", device.role);
    read(root, "country", device.country);
    read(root, "seed", device.seed);
    each(root, "radios", [&](Node &node, int at) {
        if (at < 2)
            fill_radio(node, device.radios[at]);
    });
    read_functions(root, device.functions);
    finish(root);
    cJSON_Delete(root.json);
    return true;
}
