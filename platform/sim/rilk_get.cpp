// librilk.so, what only reads the device: radios, VAPs, statistics, stations.
#include "platform/sim/sim.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

namespace
{

/** Fills a record from a radio; the caller's record is touched only if there is such a radio. */
template <class T>
int radio_get(const char *function, const char *name, T *out, void (*fill)(SimRadio &, T &))
{
    return sim_get(function, out, sizeof(T), [&](SimDevice &device) {
        SimRadio *radio = sim_radio(device, name);
        if (!radio)
            return -1;
        T value{};
        fill(*radio, value);
        memcpy(static_cast<void *>(out), &value, sizeof value);
        return 0;
    });
}

/** The same for a VAP. */
template <class T>
int vap_get(const char *function, const char *name, T *out, void (*fill)(SimRadio &, SimVap &, T &))
{
    return sim_get(function, out, sizeof(T), [&](SimDevice &device) {
        SimRadio *radio;
        SimVap *vap = sim_vap(device, name, &radio);
        if (!vap)
            return -1;
        T value{};
        fill(*radio, *vap, value);
        memcpy(static_cast<void *>(out), &value, sizeof value);
        return 0;
    });
}

bool is_listed(const SimVap &vap)
{
    return vap.listed == SIM_UNSET ? strcmp(vap.mode, "sta") != 0 : vap.listed != 0;
}

bool is_blocked(const SimVap &vap, const SimStation &station)
{
    return std::any_of(vap.blocked.begin(), vap.blocked.end(),
                       [&](const SimMac &mac) { return sim_mac_equal(mac, station.mac.bytes); });
}

/** The stations as the last count of them found them. */
std::vector<const SimStation *> associated(const SimRadio &radio, const SimVap &vap)
{
    std::vector<const SimStation *> found;
    const uint32_t poll = vap.polls > 0 ? vap.polls - 1 : 0;
    for (const SimStation &station : vap.stations) {
        if (sim_vap_is_up(radio, vap) && sim_present(station.polls, poll) && !station.gone &&
            !is_blocked(vap, station))
            found.push_back(&station);
    }
    return found;
}

const SimStation *station_of(const SimRadio &radio, const SimVap &vap, const uint8_t *mac)
{
    for (const SimStation *station : associated(radio, vap)) {
        if (sim_mac_equal(station->mac, mac))
            return station;
    }
    return nullptr;
}

void fill_station(const SimDevice &device, const SimVap &vap, const SimStation &station, VeskStaEntry &entry)
{
    memcpy(entry.mac, station.mac.bytes, sizeof entry.mac);
    sim_copy(entry.vapIntf, vap.name);
    entry.rssi = station.rssi + sim_flutter(device.seed + station.mac.bytes[5], vap.polls, station.flutter);
    entry.value1 = station.value1;
    entry.value2 = station.value2;
    entry.tx = station.tx;
    entry.rx = station.rx;
    sim_copy(entry.text1, station.text1);
    entry.value3 = station.value3;
    entry.value4 = station.value4;
    entry.time = station.time;
    entry.is11v = station.is11v;
    entry.is11k = station.is11k;
    sim_copy(entry.text2, station.text2);
    sim_fill_stats(entry.stats, {}, vap.polls);
}

/** Capabilities, listen interval, the VAP's SSID and the basic rates: what a plain station sends. */
std::vector<uint8_t> made_up_frame(const SimVap &vap)
{
    std::vector<uint8_t> frame = { 0x31, 0x04, 0x0a, 0x00, 0x00, static_cast<uint8_t>(strlen(vap.ssid)) };
    frame.insert(frame.end(), vap.ssid, vap.ssid + strlen(vap.ssid));
    frame.insert(frame.end(), { 0x01, 0x04, 0x82, 0x84, 0x8b, 0x96 });
    return frame;
}

} // namespace

int rilk_getRadioApInterfaceInfo(int32_t radioIdx, VeskApIntfInfo *info)
{
    return sim_get(__func__, info, sizeof *info, [&](SimDevice &device) {
        if (radioIdx < 0 || radioIdx > 1)
            return -1;
        const SimRadio &radio = device.radios[radioIdx];
        *info = {};
        sim_copy(info->radioIfname, radio.name);
        for (const SimVap &vap : radio.vaps) {
            if (is_listed(vap) && info->vapNums < VESK_WIRE_VAPS) {
                sim_copy(info->vapIfname[info->vapNums], vap.name);
                info->vapNums = info->vapNums + 1;
            }
        }
        return 0;
    });
}

int rilk_getRadioChipName(const char *radioIfname, int32_t size, char *chipName)
{
    if (size <= 0)
        return -1;
    return sim_get(__func__, chipName, static_cast<size_t>(size), [&](SimDevice &device) {
        const SimRadio *radio = sim_radio(device, radioIfname);
        if (!radio)
            return -1;
        snprintf(chipName, static_cast<size_t>(size), "%s", radio->chip);
        return 0;
    });
}

int rilk_getRadioStatus(const char *radioIfname, uint8_t *status)
{
    return radio_get<uint8_t>(__func__, radioIfname, status,
                              [](SimRadio &radio, uint8_t &value) { value = radio.status; });
}

int rilk_getRadioDynParamters(const char *radioIfname, RilkRadioDynParams *params)
{
    return radio_get<RilkRadioDynParams>(__func__, radioIfname, params,
                                         [](SimRadio &radio, RilkRadioDynParams &value) {
                                             value.bw = radio.bw;
                                             sim_copy(value.bond, radio.bond);
                                             sim_copy(value.operatingStandards, radio.standards);
                                         });
}

int rilk_getRadioCurChannel(const char *radioIfname, int32_t *channel)
{
    return radio_get<int32_t>(__func__, radioIfname, channel,
                              [](SimRadio &radio, int32_t &value) { value = radio.channel; });
}

int rilk_getRadioTxpower(const char *radioIfname, float *power)
{
    return radio_get<float>(__func__, radioIfname, power,
                            [](SimRadio &radio, float &value) { value = radio.power; });
}

int rilk_getCurChannelInfo(const char *radioIfname, VeskCurChannelInfo *info)
{
    return radio_get<VeskCurChannelInfo>(
        __func__, radioIfname, info, [](SimRadio &radio, VeskCurChannelInfo &value) {
            const uint64_t query = ++radio.queries;
            value.channel = radio.channel;
            value.ccaInbss = radio.ccaInbss;
            value.counter1 = query * 1000000;
            value.ccaIdle = 100 - static_cast<int32_t>(
                                      std::min<uint64_t>(100, uint64_t{ radio.ccaInbss } + radio.ccaTxUtil));
            value.ccaTxUtil = radio.ccaTxUtil;
            for (size_t i = 0; i < std::size(value.counters2); i++)
                value.counters2[i] = query * 10000 * (i + 1);
            value.noise = radio.noise;
            value.time = static_cast<int32_t>(time(nullptr));
        });
}

int rilk_getVapBssid(const char *ifName, uint8_t *bssid)
{
    return vap_get<SimMac>(__func__, ifName, reinterpret_cast<SimMac *>(bssid),
                           [](SimRadio &, SimVap &vap, SimMac &value) { value = vap.bssid; });
}

int rilk_getVapSsid(const char *ifName, int32_t size, char *ssid)
{
    if (size <= 0)
        return -1;
    return sim_get(__func__, ssid, static_cast<size_t>(size), [&](SimDevice &device) {
        SimRadio *radio;
        const SimVap *vap = sim_vap(device, ifName, &radio);
        if (!vap)
            return -1;
        snprintf(ssid, static_cast<size_t>(size), "%s", vap->ssid);
        return 0;
    });
}

int rilk_getVapStatus(const char *ifName, uint8_t *status)
{
    return vap_get<uint8_t>(__func__, ifName, status, [](SimRadio &radio, SimVap &vap, uint8_t &value) {
        value = sim_vap_is_up(radio, vap) ? vap.status : uint8_t{ 0 };
    });
}

int rilk_getRadioIfStat(const char *radioIfname, VeskIntfStats *stats)
{
    return radio_get<VeskIntfStats>(__func__, radioIfname, stats, [](SimRadio &radio, VeskIntfStats &value) {
        sim_fill_stats(value, radio.counters, ++radio.queries);
    });
}

int rilk_getVapIfStat(const char *ifName, VeskIntfStats *stats)
{
    return vap_get<VeskIntfStats>(__func__, ifName, stats, [](SimRadio &, SimVap &vap, VeskIntfStats &value) {
        sim_fill_stats(value, vap.counters, ++vap.queries);
    });
}

int rilk_getVapAssocStationNumber(const char *ifName, int32_t *number)
{
    return vap_get<int32_t>(__func__, ifName, number, [](SimRadio &radio, SimVap &vap, int32_t &value) {
        vap.polls++;
        value = static_cast<int32_t>(associated(radio, vap).size());
    });
}

int rilk_getVapAssocStationMac(const char *ifName, int32_t position, uint8_t *mac)
{
    return sim_get(__func__, mac, sizeof(SimMac), [&](SimDevice &device) {
        SimRadio *radio;
        const SimVap *vap = sim_vap(device, ifName, &radio);
        if (!vap || position < 1)
            return -1;
        const auto stations = associated(*radio, *vap);
        if (static_cast<size_t>(position) > stations.size())
            return -1;
        memcpy(mac, stations[static_cast<size_t>(position) - 1]->mac.bytes, sizeof(SimMac));
        return 0;
    });
}

int rilk_getVapAssocStationInfo(const char *ifName, const uint8_t *mac, VeskStaEntry *entry)
{
    return sim_get(__func__, entry, sizeof *entry, [&](SimDevice &device) {
        SimRadio *radio;
        const SimVap *vap = sim_vap(device, ifName, &radio);
        const SimStation *station = vap && mac ? station_of(*radio, *vap, mac) : nullptr;
        if (!station)
            return -1;
        *entry = {};
        fill_station(device, *vap, *station, *entry);
        entry->bw = radio->bw;
        return 0;
    });
}

int rilk_getAssocReqFrame(const char *ifName, const uint8_t *mac, uint32_t *length, uint8_t *frame)
{
    return sim_get(__func__, length, sizeof *length, [&](SimDevice &device) {
        SimRadio *radio;
        const SimVap *vap = sim_vap(device, ifName, &radio);
        const SimStation *station = vap && mac ? station_of(*radio, *vap, mac) : nullptr;
        if (!station || !frame)
            return -1;
        const std::vector<uint8_t> bytes = station->frame.empty() ? made_up_frame(*vap) : station->frame;
        *length = static_cast<uint32_t>(std::min<size_t>(*length, bytes.size()));
        memcpy(frame, bytes.data(), *length);
        return 0;
    });
}

int rilk_getScanChannelResult(const char *radio, VeskScanChannel **channels)
{
    if (!channels)
        return -1;
    const SimFault fault = sim_enter(__func__);
    SimRadio *owner = fault.rc == 0 ? sim_radio(sim_device(), radio) : nullptr;
    if (owner)
        sim_scan_results(sim_device(), *owner, channels, fault.garbage);
    sim_leave();
    return fault.rc != 0 ? fault.rc : (owner ? 0 : -1);
}

int rilk_getScanNeighborApOneChannel(const char *radio, int32_t channel, VeskScanNeighbor **neighbors)
{
    if (!neighbors)
        return -1;
    const SimFault fault = sim_enter(__func__);
    SimRadio *owner = fault.rc == 0 ? sim_radio(sim_device(), radio) : nullptr;
    const int result =
        owner ? sim_scan_neighbors(sim_device(), *owner, channel, neighbors, fault.garbage) : -1;
    sim_leave();
    return fault.rc != 0 ? fault.rc : result;
}

int rilk_getChannelNolList(const char *radioIfname, RilkNolList *list)
{
    return radio_get<RilkNolList>(__func__, radioIfname, list, [](SimRadio &radio, RilkNolList &value) {
        value.count = static_cast<uint8_t>(std::min<size_t>(radio.nol.size(), VESK_WIRE_NOL_CHANNELS));
        for (size_t i = 0; i < value.count; i++)
            value.channels[i] = radio.nol[i].ch;
    });
}
