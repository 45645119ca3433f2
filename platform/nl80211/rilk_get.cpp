// librilk.so, what only reads the device: radios, VAPs, statistics, stations.
#include "platform/nl80211/rilk.h"

#include <cstdio>
#include <iterator>

#include "platform/nl80211/channel_load.h"
#include "platform/nl80211/channels.h"
#include "platform/nl80211/counters.h"
#include "platform/nl80211/ctrl.h"
#include "platform/nl80211/hostapd.h"
#include "platform/nl80211/log.h"
#include "platform/nl80211/places.h"
#include "platform/nl80211/settings.h"
#include "platform/nl80211/station.h"
#include "platform/nl80211/vlan.h"
#include "platform/nl80211/wiphy.h"

using namespace radio;

namespace
{

/** Position of a name in the product file's order; behind all of them if it isn't there. */
size_t rank_of(const char *name, const char (*order)[16], size_t count)
{
    size_t rank = 0;
    while (rank < count && strcmp(order[rank], name) != 0)
        rank++;
    return rank;
}

/** The radio's access points as the product file orders them, then as they were made. */
void list_vaps(const Radio &radio, const List<Iface> &interfaces, VeskApIntfInfo &info)
{
    char order[32][16];
    const size_t ordered = config_product_order(order, std::size(order));
    int32_t count = 0;
    for (size_t rank = 0; rank <= ordered; rank++) {
        for (const Iface &iface : interfaces) {
            if (iface.wiphy != radio.wiphy || !iface_is_ap(iface) || !iface_is_usable(iface.name) ||
                rank_of(iface.name, order, ordered) != rank)
                continue;
            if (count < VESK_WIRE_VAPS)
                put_text(info.vapIfname[count++], iface.name);
            else
                log_once(levelNotice, "%s: left out, %s has more than %d access points", iface.name,
                         radio.name, VESK_WIRE_VAPS);
        }
    }
    info.vapNums = count;
}

bool is_on_air(const Iface &iface)
{
    return iface_is_ap(iface) && iface.frequency != 0 && interface_is_up(iface.name);
}

void put_station(const Station &station, const char *ifName, VeskStaEntry &entry)
{
    memcpy(entry.mac, station.mac, sizeof entry.mac);
    put_text(entry.vapIntf, ifName);
    entry.rssi = station.signal;
    entry.value2 = station.average;
    entry.tx = static_cast<int32_t>(station.tx / 10);
    entry.rx = static_cast<int32_t>(station.rx / 10);
    entry.time = station.connected;
    entry.value1 = static_cast<int32_t>(station.throughput / 1000);
    entry.value3 = static_cast<int32_t>(station.inactive);
    entry.is11k = station.abilities.is11k;
    entry.is11v = station.abilities.is11v;
    put_text(entry.text2, station.abilities.mode);
    const uint64_t counters[16] = {
        station.rxPackets,
        station.txPackets,
        station.rxBytes,
        station.txBytes,
        0,
        0,
        0,
        station.rxDropped,
        0,
        0,
        station.txRetries,
        station.txFailed,
    };
    memcpy(entry.stats.counters, counters, sizeof counters);
}

} // namespace

int rilk_initDriver(void)
{
    return device_open();
}

int rilk_update_debuglevel(int32_t level)
{
    if (level < 0 || level > levelDebug)
        return -1;
    log_set_level(level);
    return 0;
}

int rilk_getRadioApInterfaceInfo(int32_t radioIdx, VeskApIntfInfo *info)
{
    Radio radio;
    LocalList<Iface> interfaces;
    if (!info || !device_radio(radioIdx, radio) || iface_list(interfaces) != 0)
        return -1;
    VeskApIntfInfo value{};
    put_text(value.radioIfname, radio.name);
    list_vaps(radio, interfaces, value);
    *info = value;
    return 0;
}

int rilk_getRadioChipName(const char *radioIfname, int32_t size, char *chipName)
{
    Radio radio;
    Path path;
    char driver[64];
    if (!chipName || size <= 0 || !device_find(radioIfname, radio))
        return -1;
    const char *chosen = config_get().radios[radio.index].chip;
    if (chosen[0] == '\0')
        chosen = place(path, "/sys/class/ieee80211/%s/device/driver", radio.name) &&
                         read_link_name(path, driver, sizeof driver)
                     ? driver
                     : "nl80211";
    snprintf(chipName, static_cast<size_t>(size), "%s", chosen);
    return 0;
}

int rilk_getRadioStatus(const char *radioIfname, uint8_t *status)
{
    return radio_get(radioIfname, status, [](const Radio &radio, uint8_t &value) {
        LocalList<Iface> interfaces;
        if (iface_list(interfaces) != 0)
            return -1;
        for (const Iface &iface : interfaces)
            value |= iface.wiphy == radio.wiphy && is_on_air(iface);
        return 0;
    });
}

int rilk_getRadioDynParamters(const char *radioIfname, RilkRadioDynParams *params)
{
    return radio_get(radioIfname, params, [](const Radio &radio, RilkRadioDynParams &value) {
        Iface iface;
        char status[ctrlReplySize];
        if (iface_first_ap(radio.wiphy, iface) != 0 || iface.frequency == 0)
            return -1;
        const Width &width = width_of(iface.width);
        value.bw = width.index;
        put_text(value.bond, width.bond);
        if (ctrl_ask_interface(CtrlPeer::accessPoint, iface.name, "STATUS", status, sizeof status) == 0)
            hostapd_modes(status, radio.index, value.operatingStandards, sizeof value.operatingStandards);
        return 0;
    });
}

int rilk_getRadioCurChannel(const char *radioIfname, int32_t *channel)
{
    settings_renew(); // the daemon asks for the channel every few seconds
    vlan_renew();
    return radio_get(radioIfname, channel, [](const Radio &radio, int32_t &value) {
        Iface iface;
        if (iface_first_ap(radio.wiphy, iface) != 0 || iface.frequency == 0)
            return -1;
        value = channel_of_frequency(iface.frequency);
        return 0;
    });
}

int rilk_getRadioTxpower(const char *radioIfname, float *power)
{
    return radio_get(radioIfname, power, [](const Radio &radio, float &value) {
        Iface iface = {};
        iface_first_ap(radio.wiphy, iface);
        bool isKnown = false;
        device_remember(radio, [&](Memory &memory) {
            if (iface.hasPower && (iface.power != 0 || iface.frequency != 0)) {
                memory.hasPower = true;
                memory.power = static_cast<float>(iface.power) / 100.0F;
            }
            isKnown = memory.hasPower;
            value = memory.power;
        });
        return isKnown ? 0 : -1;
    });
}

int rilk_getCurChannelInfo(const char *radioIfname, VeskCurChannelInfo *info)
{
    return radio_get(radioIfname, info, load_fill_channel);
}

int rilk_getVapBssid(const char *ifName, uint8_t *bssid)
{
    Iface iface;
    if (!bssid || iface_read(ifName, iface) != 0)
        return -1;
    memcpy(bssid, iface.mac, sizeof iface.mac);
    return 0;
}

int rilk_getVapSsid(const char *ifName, int32_t size, char *ssid)
{
    Iface iface;
    if (!ssid || size <= 0 || iface_read(ifName, iface) != 0)
        return -1;
    snprintf(ssid, static_cast<size_t>(size), "%s", iface.ssid);
    return 0;
}

int rilk_getVapStatus(const char *ifName, uint8_t *status)
{
    Iface iface;
    if (!status || iface_read(ifName, iface) != 0)
        return -1;
    *status = interface_is_up(ifName) && (!iface_is_ap(iface) || iface.frequency != 0);
    return 0;
}

int rilk_getRadioIfStat(const char *radioIfname, VeskIntfStats *stats)
{
    return radio_get(radioIfname, stats, counters_of_radio);
}

int rilk_getVapIfStat(const char *ifName, VeskIntfStats *stats)
{
    VeskIntfStats value{};
    if (!stats || counters_of_vap(ifName, value) != 0)
        return -1;
    *stats = value;
    return 0;
}

int rilk_getVapAssocStationNumber(const char *ifName, int32_t *number)
{
    return number ? station_take(ifName, *number) : -1;
}

int rilk_getVapAssocStationMac(const char *ifName, int32_t position, uint8_t *mac)
{
    Station station;
    if (!ifName || !mac || position < 1 || !station_at(ifName, position - 1, station))
        return -1;
    memcpy(mac, station.mac, sizeof station.mac);
    return 0;
}

int rilk_getVapAssocStationInfo(const char *ifName, const uint8_t *mac, VeskStaEntry *entry)
{
    Station station;
    if (!ifName || !mac || !entry || !station_of(ifName, mac, station))
        return -1;
    VeskStaEntry value{};
    put_station(station, ifName, value);
    *entry = value;
    return 0;
}

int rilk_getAssocReqFrame(const char *, const uint8_t *, uint32_t *, uint8_t *)
{
    return -1; // mac80211 keeps no copy; the event of the join brings the frame
}

int rilk_getChannelNolList(const char *radioIfname, RilkNolList *list)
{
    return radio_get(radioIfname, list, [](const Radio &radio, RilkNolList &value) {
        Wiphy wiphy;
        if (wiphy_read(radio.wiphy, wiphy) != 0)
            return -1;
        for (size_t i = 0; i < wiphy.count && value.count < VESK_WIRE_NOL_CHANNELS; i++) {
            const Channel &channel = wiphy.channels[i];
            if (channel.band == radio.index && channel.unavailable)
                value.channels[value.count++] = channel.number;
        }
        return 0;
    });
}
