// The snapshot as JSON: figures that are absent are null.
#include "tools/veskctl/cli.h"
#include "tools/veskctl/snapshot.h"

namespace
{
template <class T>
void add_figure(cJSON *object, const char *name, const std::optional<T> &value)
{
    cJSON_AddItemToObject(object, name,
                          value ? cJSON_CreateNumber(static_cast<double>(*value)) : cJSON_CreateNull());
}

void add_text(cJSON *object, const char *name, const std::string &text)
{
    cJSON_AddStringToObject(object, name, text.c_str());
}

cJSON *channel_json(const ChannelState &c)
{
    cJSON *object = cJSON_CreateObject();
    cJSON_AddNumberToObject(object, "channel", c.number);
    cJSON_AddBoolToObject(object, "own", c.isOwn);
    cJSON_AddBoolToObject(object, "available", c.isAvailable);
    cJSON_AddBoolToObject(object, "nol", c.isNol);
    add_figure(object, "utilisation", c.utilisation);
    add_figure(object, "noise", c.noise);
    add_figure(object, "smoothedNoise", c.smoothed);
    cJSON_AddNumberToObject(object, "neighbors", c.neighbors);
    return object;
}

cJSON *neighbor_json(const NeighborState &n)
{
    cJSON *object = cJSON_CreateObject();
    cJSON_AddNumberToObject(object, "channel", n.channel);
    add_figure(object, "level", n.level);
    add_text(object, "bssid", n.bssid);
    add_text(object, "ssid", n.ssid);
    return object;
}

cJSON *station_json(const StationState &s)
{
    cJSON *object = cJSON_CreateObject();
    add_text(object, "mac", s.mac);
    add_figure(object, "signal", s.signal);
    cJSON_AddNumberToObject(object, "tx", s.tx);
    cJSON_AddNumberToObject(object, "rx", s.rx);
    cJSON_AddNumberToObject(object, "seconds", static_cast<double>(s.seconds));
    cJSON_AddBoolToObject(object, "is11k", s.is11k);
    cJSON_AddBoolToObject(object, "is11v", s.is11v);
    cJSON_AddBoolToObject(object, "backhaul", s.isBackhaul);
    return object;
}

template <class T>
void add_list(cJSON *object, const char *name, const std::vector<T> &items, cJSON *(*json)(const T &))
{
    cJSON *array = cJSON_AddArrayToObject(object, name);
    for (const T &item : items)
        cJSON_AddItemToArray(array, json(item));
}

cJSON *operating_json(const std::optional<WireCurChannelInfo> &o)
{
    if (!o)
        return cJSON_CreateNull();
    cJSON *object = cJSON_CreateObject();
    cJSON_AddNumberToObject(object, "channel", o->channel);
    cJSON_AddNumberToObject(object, "ccaInbss", o->ccaInbss);
    cJSON_AddNumberToObject(object, "ccaTxUtil", o->ccaTxUtil);
    cJSON_AddNumberToObject(object, "ccaIdle", o->ccaIdle);
    cJSON_AddItemToObject(object, "noise", o->noise ? cJSON_CreateNumber(o->noise) : cJSON_CreateNull());
    return object;
}

cJSON *radio_json(const RadioState &r)
{
    cJSON *object = cJSON_CreateObject();
    cJSON_AddNumberToObject(object, "band", r.band);
    add_text(object, "bandName", band_name(r.band));
    add_text(object, "name", r.name);
    add_text(object, "mac", r.mac);
    cJSON_AddBoolToObject(object, "up", r.isUp);
    cJSON_AddBoolToObject(object, "enabled", r.isEnabled);
    cJSON_AddBoolToObject(object, "acs", r.isAcsEnabled);
    cJSON_AddNumberToObject(object, "channel", r.channel);
    add_text(object, "width", bandwidth_name(r.bandwidth));
    cJSON_AddNumberToObject(object, "power", r.power);
    add_text(object, "standards", r.standards);
    add_text(object, "country", r.country);
    cJSON_AddNumberToObject(object, "scanInterval", r.scanInterval);
    cJSON_AddItemToObject(object, "operating", operating_json(r.operating));
    add_list(object, "channels", r.channels, channel_json);
    add_list(object, "neighbors", r.neighbors, neighbor_json);
    return object;
}

cJSON *vap_json(const VapState &v)
{
    cJSON *object = cJSON_CreateObject();
    add_text(object, "name", v.name);
    cJSON_AddNumberToObject(object, "band", v.band);
    add_text(object, "role", vap_role(v.attribute));
    cJSON_AddBoolToObject(object, "up", v.isUp);
    add_text(object, "ssid", v.ssid);
    add_text(object, "bssid", v.bssid);
    cJSON_AddItemToObject(object, "peer",
                          v.peer.empty() ? cJSON_CreateNull() : cJSON_CreateString(v.peer.c_str()));
    add_list(object, "stations", v.stations, station_json);
    return object;
}
} // namespace

cJSON *snapshot_json(const Snapshot &s)
{
    cJSON *object = cJSON_CreateObject();
    cJSON_AddNumberToObject(object, "time", s.time);
    add_text(object, "name", s.name);
    add_text(object, "version", s.version);
    cJSON_AddBoolToObject(object, "ready", s.isReady);
    add_figure(object, "readySince", s.readySince);
    cJSON_AddBoolToObject(object, "firstScansOver", s.areFirstScansOver);
    add_figure(object, "lastResult", s.lastResult);
    add_list(object, "radios", s.radios, radio_json);
    add_list(object, "vaps", s.vaps, vap_json);
    return object;
}
