#include "platform/nl80211/station.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include <pthread.h>

#include "include/vesk_wire.h"
#include "platform/nl80211/clock.h"
#include "platform/nl80211/ctrl.h"
#include "platform/nl80211/iface.h"
#include "platform/nl80211/netlink.h"

namespace radio
{

namespace
{

// hostapd is asked of new stations for at most this long in one poll; the others have their turn in the next.
constexpr int64_t newStationsBudget = 20; // ms

constexpr size_t snapshotCount = 16;

struct Snapshot {
    char ifName[16];
    List<Station> stations;
    uint64_t taken; // number of the taking, to find the oldest
};

pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
Snapshot snapshots[snapshotCount];
uint64_t takings;

Snapshot *find_snapshot(const char *ifName)
{
    for (Snapshot &snapshot : snapshots) {
        if (snapshot.taken > 0 && strncmp(snapshot.ifName, ifName, sizeof snapshot.ifName) == 0)
            return &snapshot;
    }
    return nullptr;
}

Snapshot &snapshot_for(const char *ifName)
{
    Snapshot *found = find_snapshot(ifName);
    if (found)
        return *found;
    found = snapshots;
    for (Snapshot &snapshot : snapshots) {
        if (snapshot.taken < found->taken)
            found = &snapshot;
    }
    found->stations.count = 0;
    snprintf(found->ifName, sizeof found->ifName, "%s", ifName);
    return *found;
}

const Station *find_station(const List<Station> &stations, const uint8_t *mac)
{
    for (const Station &station : stations) {
        if (memcmp(station.mac, mac, sizeof station.mac) == 0)
            return &station;
    }
    return nullptr;
}

/** 100 kbit/s; the 32-bit value, or the 16-bit one of older drivers. */
uint32_t bit_rate(const nlattr *attr)
{
    nlattr *values[NL80211_RATE_INFO_MAX + 1];
    attr_nested(attr, values);
    const auto old = attr_value<uint16_t>(values[NL80211_RATE_INFO_BITRATE]);
    return attr_value<uint32_t>(values[NL80211_RATE_INFO_BITRATE32], old);
}

/** A driver that doesn't tell counts as letting everybody through. */
bool is_authorised(const nlattr *attr)
{
    const auto flags = attr_value<uint64_t>(attr); // nl80211_sta_flag_update: the known ones, the set ones
    nl80211_sta_flag_update update;
    memcpy(&update, &flags, sizeof update);
    constexpr uint32_t authorised = 1u << NL80211_STA_FLAG_AUTHORIZED;
    return (update.mask & authorised) == 0 || (update.set & authorised) != 0;
}

void fill_station(nlattr *const (&values)[NL80211_STA_INFO_MAX + 1], Station &station)
{
    const auto number = [&](int attr) { return attr_value<uint32_t>(values[attr]); };
    const auto bytes = [&](int wide, int narrow) {
        return attr_value<uint64_t>(values[wide], attr_value<uint32_t>(values[narrow]));
    };
    station.signal = attr_value<int8_t>(values[NL80211_STA_INFO_SIGNAL]);
    station.average = attr_value<int8_t>(values[NL80211_STA_INFO_SIGNAL_AVG]);
    station.authorised = is_authorised(values[NL80211_STA_INFO_STA_FLAGS]);
    station.tx = bit_rate(values[NL80211_STA_INFO_TX_BITRATE]);
    station.rx = bit_rate(values[NL80211_STA_INFO_RX_BITRATE]);
    station.connected = number(NL80211_STA_INFO_CONNECTED_TIME);
    station.inactive = number(NL80211_STA_INFO_INACTIVE_TIME);
    station.throughput = number(NL80211_STA_INFO_EXPECTED_THROUGHPUT);
    station.rxPackets = number(NL80211_STA_INFO_RX_PACKETS);
    station.txPackets = number(NL80211_STA_INFO_TX_PACKETS);
    station.rxBytes = bytes(NL80211_STA_INFO_RX_BYTES64, NL80211_STA_INFO_RX_BYTES);
    station.txBytes = bytes(NL80211_STA_INFO_TX_BYTES64, NL80211_STA_INFO_TX_BYTES);
    station.rxDropped = attr_value<uint64_t>(values[NL80211_STA_INFO_RX_DROP_MISC]);
    station.txRetries = number(NL80211_STA_INFO_TX_RETRIES);
    station.txFailed = number(NL80211_STA_INFO_TX_FAILED);
}

void add_station(const Attributes &answer, List<Station> &stations)
{
    const auto mac = attr_bytes(answer[NL80211_ATTR_MAC]);
    Station station = {};
    if (mac.size() < sizeof station.mac)
        return;
    memcpy(station.mac, mac.data(), sizeof station.mac);
    nlattr *values[NL80211_STA_INFO_MAX + 1];
    attr_nested(answer[NL80211_ATTR_STA_INFO], values);
    fill_station(values, station);
    list_add(stations, station);
}

/** Without a reply hostapd is asked again in the next poll. */
void ask_hostapd(const char *ifName, Station &station)
{
    station.asked = hostapd_ask_abilities(ifName, station.mac, station.abilities) == 0;
}

/** What is known of stations that were there the last time and haven't joined anew since. */
void carry_over(const char *ifName, List<Station> &stations)
{
    pthread_mutex_lock(&lock);
    if (const Snapshot *snapshot = find_snapshot(ifName)) {
        for (Station &station : stations) {
            const Station *old = find_station(snapshot->stations, station.mac);
            if (!old || !old->asked || station.connected < old->connected)
                continue;
            station.asked = true;
            station.abilities = old->abilities;
        }
    }
    pthread_mutex_unlock(&lock);
}

void ask_of_new(const char *ifName, List<Station> &stations)
{
    const CtrlCall call;
    const int64_t end = clock_ms() + newStationsBudget;
    for (Station &station : stations) {
        if (!station.asked)
            ask_hostapd(ifName, station);
        if (clock_ms() >= end)
            return;
    }
}

void publish(const char *ifName, List<Station> &stations)
{
    pthread_mutex_lock(&lock);
    Snapshot &snapshot = snapshot_for(ifName);
    snapshot.taken = ++takings;
    std::swap(snapshot.stations, stations);
    pthread_mutex_unlock(&lock);
}

} // namespace

int station_list(uint32_t ifindex, List<Station> &stations)
{
    const Query query = {
        .command = NL80211_CMD_GET_STATION, .dump = true, .ifindex = ifindex, .sameGeneration = true
    };
    return netlink_read<List<Station>>(query, add_station, stations,
                                       [](List<Station> &result) { result.count = 0; });
}

int station_collect(const char *ifName, List<Station> &stations)
{
    LocalList<Iface> interfaces;
    const int status = iface_list(interfaces);
    if (status != 0)
        return status;
    const Iface *accessPoint = nullptr;
    for (const Iface &iface : interfaces) {
        if (iface_is_ap(iface) && strcmp(iface.name, ifName) == 0)
            accessPoint = &iface;
    }
    for (const Iface &iface : interfaces) {
        if (!accessPoint || !iface_belongs_to(iface, *accessPoint))
            continue;
        LocalList<Station> found;
        const int result = station_list(iface.index, found);
        if (result != 0 && result != -ENODEV && result != -ENOENT)
            return result; // but for one that went away meanwhile
        for (const Station &station : found) {
            if (station.authorised)
                list_add(stations, station);
        }
    }
    return 0;
}

int station_read(uint32_t ifindex, const uint8_t *mac, Station &station)
{
    const Query query = { .command = NL80211_CMD_GET_STATION, .ifindex = ifindex, .mac = mac };
    LocalList<Station> found;
    const int status = netlink_read<List<Station>>(query, add_station, found,
                                                   [](List<Station> &result) { result.count = 0; });
    if (status != 0)
        return status;
    if (found.count == 0 || memcmp(found.items[0].mac, mac, sizeof station.mac) != 0)
        return -EIO;
    station = found.items[0];
    return 0;
}

int station_take(const char *ifName, int32_t &number)
{
    LocalList<Station> stations;
    if (!ifName || station_collect(ifName, stations) != 0)
        return -1;
    carry_over(ifName, stations);
    ask_of_new(ifName, stations);
    number = static_cast<int32_t>(stations.count);
    publish(ifName, stations);
    return 0;
}

bool station_at(const char *ifName, int32_t position, Station &station)
{
    pthread_mutex_lock(&lock);
    const Snapshot *snapshot = find_snapshot(ifName);
    const bool found = snapshot && position >= 0 && static_cast<size_t>(position) < snapshot->stations.count;
    if (found)
        station = snapshot->stations.items[position];
    pthread_mutex_unlock(&lock);
    return found;
}

bool station_of(const char *ifName, const uint8_t *mac, Station &station)
{
    pthread_mutex_lock(&lock);
    const Snapshot *snapshot = find_snapshot(ifName);
    const Station *found = snapshot ? find_station(snapshot->stations, mac) : nullptr;
    if (found)
        station = *found;
    pthread_mutex_unlock(&lock);
    return found != nullptr;
}

void station_forget()
{
    pthread_mutex_lock(&lock);
    for (Snapshot &snapshot : snapshots) {
        list_free(snapshot.stations);
        snapshot = {};
    }
    pthread_mutex_unlock(&lock);
}

} // namespace radio
