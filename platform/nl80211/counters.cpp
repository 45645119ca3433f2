#include "platform/nl80211/counters.h"

#include <cstring>
#include <iterator>

#include "platform/nl80211/netlink.h"
#include "platform/nl80211/places.h"
#include "platform/nl80211/station.h"

namespace radio
{

namespace
{

constexpr const char *counterFiles[] = {
    "rx_packets", "tx_packets", "rx_bytes",   "tx_bytes",   nullptr,
    "rx_errors",  "tx_errors",  "rx_dropped", "tx_dropped", "multicast",
};
constexpr size_t retriesAt = 10;
constexpr size_t failedAt = 11;

/** Adds an interface's counters and those of its stations. */
void add_counters(const Iface &iface, uint64_t (&counters)[16])
{
    for (size_t i = 0; i < std::size(counterFiles); i++)
        counters[i] += counterFiles[i] ? interface_counter(iface.name, counterFiles[i]) : 0;
}

void add_stations(const Iface &iface, uint64_t (&counters)[16], uint16_t &number)
{
    LocalList<Station> stations;
    station_list(iface.index, stations);
    for (const Station &station : stations) {
        counters[retriesAt] += station.txRetries;
        counters[failedAt] += station.txFailed;
        number = static_cast<uint16_t>(number + station.authorised);
    }
}

bool carries_frames(const Iface &iface)
{
    return iface_is_ap(iface) || iface.type == NL80211_IFTYPE_AP_VLAN || iface.type == NL80211_IFTYPE_STATION;
}

} // namespace

int counters_of_radio(const Radio &radio, VeskIntfStats &stats)
{
    LocalList<Iface> interfaces;
    if (iface_list(interfaces) != 0)
        return -1;
    uint64_t counters[16] = {};
    uint16_t number = 0;
    for (const Iface &iface : interfaces) {
        if (iface.wiphy != radio.wiphy || !carries_frames(iface))
            continue;
        add_counters(iface, counters);
        uint16_t peers = 0;
        add_stations(iface, counters, peers);
        if (iface.type != NL80211_IFTYPE_STATION)
            number = static_cast<uint16_t>(number + peers);
    }
    memcpy(stats.counters, counters, sizeof counters);
    stats.value1 = number;
    return 0;
}

int counters_of_vap(const char *ifName, VeskIntfStats &stats)
{
    LocalList<Iface> interfaces;
    Iface vap;
    if (iface_read(ifName, vap) != 0 || iface_list(interfaces) != 0)
        return -1;
    uint64_t counters[16] = {};
    uint16_t number = 0;
    add_counters(vap, counters);
    for (const Iface &iface : interfaces) {
        if (iface_belongs_to(iface, vap))
            add_stations(iface, counters, number);
    }
    memcpy(stats.counters, counters, sizeof counters);
    stats.value1 = number;
    return 0;
}

} // namespace radio
