// The snapshot as JSON: figures that are absent are null.
#include "tools/client/device.h"

namespace
{
Json channel_json(const ChannelState &c)
{
    Json object = Json::object();
    object.put("channel", c.number);
    object.put("own", c.isOwn);
    object.put("available", c.isAvailable);
    object.put("dfs", c.needsDfs);
    object.put("nol", c.isNol);
    object.put("utilisation", c.utilisation);
    object.put("noise", c.noise);
    object.put("smoothedNoise", c.smoothed);
    object.put("neighbors", c.neighbors);
    return object;
}

Json neighbor_json(const NeighborState &n)
{
    Json object = Json::object();
    object.put("channel", n.channel);
    object.put("level", n.level);
    object.put("bssid", n.bssid);
    object.put("ssid", n.ssid);
    return object;
}

Json station_json(const StationState &s)
{
    Json object = Json::object();
    object.put("mac", s.mac);
    object.put("signal", s.signal);
    object.put("tx", s.tx);
    object.put("rx", s.rx);
    object.put("seconds", s.seconds);
    object.put("width", bandwidth_name(s.bandwidth));
    object.put("is11k", s.is11k);
    object.put("is11v", s.is11v);
    object.put("backhaul", s.isBackhaul);
    return object;
}

template <class T>
Json list_json(const std::vector<T> &items, Json (*json)(const T &))
{
    Json array = Json::array();
    for (const T &item : items)
        array.push(json(item));
    return array;
}

Json operating_json(const std::optional<WireCurChannelInfo> &o)
{
    if (!o)
        return Json::null();
    Json object = Json::object();
    object.put("channel", static_cast<int>(o->channel));
    object.put("ccaInbss", known_share(*o, o->ccaInbss));
    object.put("ccaTxUtil", known_share(*o, o->ccaTxUtil));
    object.put("ccaIdle", known_share(*o, o->ccaIdle));
    object.put("noise", o->noise ? std::optional<int>(o->noise) : std::nullopt);
    return object;
}

Json radio_json(const RadioState &r)
{
    Json object = Json::object();
    object.put("band", r.band);
    object.put("bandName", band_name(r.band));
    object.put("name", r.name);
    object.put("mac", r.mac);
    object.put("up", r.isUp);
    object.put("enabled", r.isEnabled);
    object.put("acs", r.isAcsEnabled);
    object.put("channel", r.channel);
    object.put("width", bandwidth_name(r.bandwidth));
    object.put("power", r.power);
    object.put("standards", r.standards);
    object.put("country", r.country);
    object.put("scanInterval", r.scanInterval);
    object.put("operating", operating_json(r.operating));
    object.put("channels", list_json(r.channels, channel_json));
    object.put("neighbors", list_json(r.neighbors, neighbor_json));
    return object;
}

Json vap_json(const VapState &v)
{
    Json object = Json::object();
    object.put("name", v.name);
    object.put("band", v.band);
    object.put("role", vap_role(v.attribute));
    object.put("up", v.isUp);
    object.put("ssid", v.ssid);
    object.put("security", v.is_station() ? Json::null() : Json::text(security_name(v.authMode)));
    object.put("bssid", v.bssid);
    object.put("peer", Json::text_or_null(v.peer));
    object.put("stations", list_json(v.stations, station_json));
    return object;
}
} // namespace

Json snapshot_json(const Snapshot &s)
{
    Json object = Json::object();
    object.put("time", s.time);
    object.put("name", s.name);
    object.put("version", s.version);
    object.put("ready", s.isReady);
    object.put("readySince", s.readySince);
    object.put("firstScansOver", s.areFirstScansOver);
    object.put("lastResult", s.lastResult);
    object.put("radios", list_json(s.radios, radio_json));
    object.put("vaps", list_json(s.vaps, vap_json));
    return object;
}
