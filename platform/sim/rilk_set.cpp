// librilk.so, the commands: each takes effect in the model and leaves one line in the log.
#include "platform/sim/sim.h"

#include <algorithm>
#include <cstdio>

namespace
{

constexpr const char *BONDS[] = { "20MHz", "40MHz", "80MHz", "160MHz", "80+80" };

/** A command to a radio that exists. */
template <class Body>
int radio_command(const char *function, const char *name, const std::string &arguments, Body body)
{
    const std::string line = sim_format("radio=%s", sim_shown(name)) + arguments;
    return sim_command(function, line, [&](SimDevice &device) {
        SimRadio *radio = sim_radio(device, name);
        return radio ? body(device, *radio) : -1;
    });
}

/** A command to an interface that exists. */
template <class Body>
int vap_command(const char *function, const char *name, const std::string &arguments, Body body)
{
    const std::string line = sim_format("if=%s", sim_shown(name)) + arguments;
    return sim_command(function, line, [&](SimDevice &device) {
        SimRadio *radio;
        SimVap *vap = sim_vap(device, name, &radio);
        return vap ? body(*radio, *vap) : -1;
    });
}

int nothing_more(SimRadio &, SimVap &)
{
    return 0;
}

/** A channel that the radio may be set to: in its list, not excluded, not under non-occupancy. */
bool can_use(const SimRadio &radio, int32_t channel)
{
    return sim_channel(radio.channels, channel) && !sim_channel(radio.excluded, channel) &&
           !sim_channel(radio.nol, channel);
}

/** Vendor elements that the interfaces carry, told apart by all they were added with. */
std::vector<std::string> &vendor_elements()
{
    static std::vector<std::string> &instance = *new std::vector<std::string>;
    return instance;
}

std::string vendor_text(uint32_t pktType, const uint8_t *data, uint32_t dataLen)
{
    const size_t shown = data && dataLen <= VESK_WIRE_IE_LEN ? dataLen : 0;
    return sim_format(" pktType=%u len=%u data=", pktType, dataLen) + sim_hex(data, shown);
}

} // namespace

int rilk_initDriver(void)
{
    return sim_command(__func__, "", [](SimDevice &) {
        sim_scan_forget();
        vendor_elements().clear();
        return 0;
    });
}

int rilk_update_debuglevel(int32_t level)
{
    return sim_command(__func__, sim_format("level=%d", level),
                       [&](SimDevice &) { return level >= 0 && level <= 7 ? 0 : -1; });
}

int rilk_setRRMEnable(const char *ifName, int32_t enable)
{
    return vap_command(__func__, ifName, sim_format(" enable=%d", enable), nothing_more);
}

int rilk_setWNMEnable(const char *ifName, int32_t enable)
{
    return vap_command(__func__, ifName, sim_format(" enable=%d", enable), nothing_more);
}

int rilk_disConnectSta(const char *ifName, const char *mac)
{
    return vap_command(__func__, ifName, sim_format(" mac=%.32s", sim_shown(mac)),
                       [&](SimRadio &, SimVap &vap) {
                           SimMac wanted;
                           int result = -1;
                           if (!sim_parse_mac(mac, wanted))
                               return result;
                           for (SimStation &station : vap.stations) {
                               if (!station.gone && sim_mac_equal(station.mac, wanted.bytes)) {
                                   station.gone = true;
                                   result = 0;
                               }
                           }
                           return result;
                       });
}

int rilk_setVapAclMac(const char *ifName, const RilkAclMac *acl)
{
    if (!acl)
        return -1;
    SimMac mac;
    memcpy(mac.bytes, acl->mac, sizeof mac.bytes);
    const std::string arguments =
        sim_format(" operation=%d mac=%s", acl->operation, sim_hex(mac.bytes, sizeof mac.bytes).c_str());
    return vap_command(__func__, ifName, arguments, [&](SimRadio &, SimVap &vap) {
        if (acl->operation > 1)
            return -1;
        std::erase_if(vap.blocked, [&](const SimMac &b) { return sim_mac_equal(b, mac.bytes); });
        if (acl->operation == 0)
            vap.blocked.push_back(mac);
        return 0;
    });
}

int rilk_initScanChannelList(const uint32_t *channelList, int32_t channelNums)
{
    std::string arguments = sim_format("nums=%d channels=", channelNums);
    const int shown = channelList ? std::clamp(channelNums, 0, VESK_SCAN_CHANNELS) : 0;
    for (int i = 0; i < shown; i++)
        arguments += sim_format("%s%u", i > 0 ? "," : "", channelList[i]);
    return sim_command(__func__, arguments, [&](SimDevice &) {
        if (!channelList || channelNums < 0)
            return -1;
        sim_scan_list(channelList, channelNums);
        return 0;
    });
}

int rilk_setMinMaxDwellTime(const char *radio, int32_t dwellMin, int32_t dwellMax)
{
    return radio_command(__func__, radio, sim_format(" min=%d max=%d", dwellMin, dwellMax),
                         [&](SimDevice &, SimRadio &) { return dwellMin > 0 && dwellMax > 0 ? 0 : -1; });
}

int rilk_triggerScan(const char *radioIfname, const VeskScanParam *param)
{
    if (!param)
        return -1;
    const std::string arguments =
        sim_format(" channel=%d dwell=%d baseVap=%.16s", param->channel, param->dwell, param->baseVap);
    return radio_command(__func__, radioIfname, arguments, [&](SimDevice &device, SimRadio &radio) {
        char baseVap[17] = {};
        memcpy(baseVap, param->baseVap, sizeof param->baseVap);
        SimRadio *owner = nullptr;
        sim_vap(device, baseVap, &owner);
        return owner == &radio ? sim_scan_trigger(device, radio, param->channel, param->dwell) : -1;
    });
}

int rilk_setEnableNoiseFloor(const char *radio)
{
    return radio_command(__func__, radio, "", [](SimDevice &, SimRadio &) { return 0; });
}

int rilk_setRadioCurChannel(const char *radioIfname, int32_t channel)
{
    return radio_command(__func__, radioIfname, sim_format(" channel=%d", channel),
                         [&](SimDevice &, SimRadio &radio) {
                             if (!can_use(radio, channel))
                                 return -1;
                             radio.channel = channel;
                             return 0;
                         });
}

int rilk_setRadioChanSpec(const char *radioIfname, int32_t bandwidth, int32_t channel)
{
    return radio_command(__func__, radioIfname, sim_format(" bandwidth=%d channel=%d", bandwidth, channel),
                         [&](SimDevice &, SimRadio &radio) {
                             if (bandwidth < 0 || bandwidth >= static_cast<int32_t>(std::size(BONDS)))
                                 return -1;
                             if (channel != 0 && !can_use(radio, channel))
                                 return -1;
                             radio.bw = bandwidth;
                             sim_copy(radio.bond, BONDS[bandwidth]);
                             radio.channel = channel != 0 ? channel : radio.channel;
                             return 0;
                         });
}

int rilk_setBstaAutoConnect(const VeskBstaAuto *autoConnect)
{
    if (!autoConnect)
        return -1;
    const VeskBstaAuto a = *autoConnect;
    const std::string name(a.ifName, strnlen(a.ifName, sizeof a.ifName));
    const std::string arguments = sim_format(" band=%d enableAuto=%d needSetRadar=%d radarCheckSkip=%d",
                                             a.band, a.enableAuto, a.needSetRadar, a.radarCheckSkip);
    return vap_command(__func__, name.c_str(), arguments, [&](SimRadio &, SimVap &vap) {
        if (a.enableAuto && *vap.ssid)
            vap.status = 1; // a station that knows its network finds it
        return 0;
    });
}

int rilk_applyBackhaulCredentialToBsta(const VeskBackhaulCred *cred)
{
    if (!cred)
        return -1;
    const VeskBackhaulCred &c = *cred;
    const std::string name(c.ifName, strnlen(c.ifName, sizeof c.ifName));
    const std::string arguments =
        sim_format(" band=%d ssid=%.65s key=%s encryption=%d auth=%d bssid=%s channel=%d bw=%d", c.band,
                   c.ssid, *c.ssidKey ? "***" : "", c.encryption, c.authMode,
                   sim_hex(c.bssid, sizeof c.bssid).c_str(), c.channel, c.bw);
    return vap_command(__func__, name.c_str(), arguments, [&](SimRadio &, SimVap &vap) {
        if (strcmp(vap.mode, "sta") != 0)
            return -1;
        sim_copy(vap.ssid, c.ssid);
        sim_copy(vap.key, c.ssidKey);
        vap.encrypt = static_cast<uint16_t>(c.encryption);
        vap.auth = static_cast<uint16_t>(c.authMode);
        vap.status = 1;
        return 0;
    });
}

int rilk_sendBeaconReq(const char *ifName, const RilkBeaconReq *req)
{
    if (!req)
        return -1;
    const size_t channels = std::min<size_t>(req->listNums, sizeof req->list);
    std::string arguments = sim_format(" mac=%s values=%d,%d,%d,%d bssid=%s ssid=%.65s list=%s elements=%d",
                                       sim_hex(req->mac, 6).c_str(), req->value1, req->value2, req->value3,
                                       req->value4, sim_hex(req->bssid, 6).c_str(), req->ssid,
                                       sim_hex(req->list, channels).c_str(), req->elementNums);
    for (size_t i = 0; i < std::min<size_t>(req->elementNums, std::size(req->elements)); i++) {
        const RilkBcnElement &element = req->elements[i];
        arguments += sim_format(" %d:", element.id) + sim_hex(element.data, element.length);
    }
    return vap_command(__func__, ifName, arguments, nothing_more);
}

int rilk_sendBTMReq(const char *ifName, const RilkBtmReq *req)
{
    if (!req)
        return -1;
    std::string arguments = sim_format(" mac=%s values=%d,%d,%d targets=%d", sim_hex(req->mac, 6).c_str(),
                                       req->value1, req->value2, req->value3, req->targetNums);
    for (size_t i = 0; i < std::min<size_t>(req->targetNums, std::size(req->targets)); i++) {
        const RilkBtmTarget &target = req->targets[i];
        arguments += sim_format(" %s:%d:%d", sim_hex(target.bssid, 6).c_str(), target.value1, target.value2);
    }
    return vap_command(__func__, ifName, arguments, nothing_more);
}

int rilk_addVendorIE(const char *ifName, uint32_t pktType, const uint8_t *data, uint32_t dataLen)
{
    const std::string arguments = vendor_text(pktType, data, dataLen);
    return vap_command(__func__, ifName, arguments, [&](SimRadio &, SimVap &vap) {
        auto &elements = vendor_elements();
        if (!data || dataLen == 0 || dataLen > VESK_WIRE_IE_LEN)
            return -1;
        const std::string element = vap.name + arguments;
        if (std::find(elements.begin(), elements.end(), element) == elements.end())
            elements.push_back(element);
        return 0;
    });
}

int rilk_delVendorIE(const char *ifName, uint32_t pktType, const uint8_t *data, uint32_t dataLen)
{
    const std::string arguments = vendor_text(pktType, data, dataLen);
    return vap_command(__func__, ifName, arguments, [&](SimRadio &, SimVap &vap) {
        return std::erase(vendor_elements(), vap.name + arguments) > 0 ? 0 : -1;
    });
}

int rilk_cleanHwFwdRule(const char *radioIfname)
{
    return radio_command(__func__, radioIfname, "", [](SimDevice &, SimRadio &) { return 0; });
}

int rilk_set8021dotqCfg(const char *ifName, const VeskDot1qCfg *cfg)
{
    if (!cfg)
        return -1;
    return vap_command(__func__, ifName, sim_format(" vid=%d pcp=%d", cfg->vid, cfg->pcp), nothing_more);
}
