// librilk.so, what changes the device: hostapd's settings, stations, scans.
#include "platform/nl80211/rilk.h"

#include "platform/nl80211/backhaul.h"
#include "platform/nl80211/ctrl.h"
#include "platform/nl80211/log.h"
#include "platform/nl80211/places.h"
#include "platform/nl80211/scan.h"
#include "platform/nl80211/settings.h"
#include "platform/nl80211/steering.h"
#include "platform/nl80211/switch.h"
#include "platform/nl80211/vlan.h"

using namespace radio;

namespace
{

int change_element(const char *ifName, uint32_t frames, const uint8_t *data, uint32_t length, bool add)
{
    VendorElement element = {};
    if (!is_name(ifName) || !data || vendor_take(ifName, frames, data, length, element) != 0)
        return -1;
    return settings_element(ifName, element, add);
}

} // namespace

int rilk_setRRMEnable(const char *ifName, int32_t enable)
{
    return settings_rrm(ifName, enable != 0);
}

int rilk_setWNMEnable(const char *ifName, int32_t enable)
{
    return settings_wnm(ifName, enable != 0);
}

int rilk_disConnectSta(const char *ifName, const char *mac)
{
    uint8_t bytes[6];
    if (!mac || !read_mac(mac, bytes) || !is_station_mac(bytes))
        return log_refusal("%s: nobody to disconnect: no station's address", is_name(ifName) ? ifName : "?");
    return ctrl_tell(CtrlPeer::accessPoint, ifName, "DISASSOCIATE %s", mac_text(bytes).text);
}

int rilk_setVapAclMac(const char *ifName, const RilkAclMac *acl)
{
    return acl && acl->operation <= 1 ? settings_block(ifName, acl->mac, acl->operation == 0) : -1;
}

int rilk_initScanChannelList(const uint32_t *channelList, int32_t channelNums)
{
    if (!channelList || channelNums < 0)
        return -1;
    scan_set_channels(channelList, channelNums);
    return 0;
}

int rilk_setMinMaxDwellTime(const char *radioName, int32_t dwellMin, int32_t dwellMax)
{
    Radio radio;
    return device_find(radioName, radio) ? scan_set_dwell(radio, dwellMin, dwellMax) : -1;
}

int rilk_triggerScan(const char *radioIfname, const VeskScanParam *param)
{
    Radio radio;
    if (!param || !device_find(radioIfname, radio))
        return -1;
    char baseVap[sizeof param->baseVap + 1] = {};
    memcpy(baseVap, param->baseVap, sizeof param->baseVap);
    return scan_request(radio, param->channel, param->dwell, baseVap);
}

int rilk_setEnableNoiseFloor(const char *)
{
    return 0; // the driver's survey always has it
}

int rilk_getScanChannelResult(const char *radioName, VeskScanChannel **channels)
{
    Radio radio;
    if (!channels || !device_find(radioName, radio))
        return -1;
    scan_fill_results(radio, channels);
    return 0;
}

int rilk_getScanNeighborApOneChannel(const char *radioName, int32_t channel, VeskScanNeighbor **neighbors)
{
    Radio radio;
    return neighbors && device_find(radioName, radio) ? scan_fill_neighbors(radio, channel, neighbors) : -1;
}

int rilk_setRadioCurChannel(const char *radioIfname, int32_t channel)
{
    Radio radio;
    return device_find(radioIfname, radio) ? switch_radio(radio, widthKept, channel) : -1;
}

int rilk_setRadioChanSpec(const char *radioIfname, int32_t bandwidth, int32_t channel)
{
    Radio radio;
    if (!device_find(radioIfname, radio))
        return -1;
    return bandwidth < 0 ? log_refusal("%s: no such width", radio.name)
                         : switch_radio(radio, bandwidth, channel);
}

int rilk_setBstaAutoConnect(const VeskBstaAuto *autoConnect)
{
    return autoConnect ? backhaul_connect(*autoConnect) : -1;
}

int rilk_applyBackhaulCredentialToBsta(const VeskBackhaulCred *cred)
{
    return cred ? backhaul_apply(*cred) : -1;
}

int rilk_sendBeaconReq(const char *ifName, const RilkBeaconReq *req)
{
    return is_name(ifName) && req ? steering_request_beacon(ifName, *req) : -1;
}

int rilk_sendBTMReq(const char *ifName, const RilkBtmReq *req)
{
    return is_name(ifName) && req ? steering_request_move(ifName, *req) : -1;
}

int rilk_addVendorIE(const char *ifName, uint32_t pktType, const uint8_t *data, uint32_t dataLen)
{
    return change_element(ifName, pktType, data, dataLen, true);
}

int rilk_delVendorIE(const char *ifName, uint32_t pktType, const uint8_t *data, uint32_t dataLen)
{
    return change_element(ifName, pktType, data, dataLen, false);
}

int rilk_cleanHwFwdRule(const char *radioIfname)
{
    Radio radio;
    return device_find(radioIfname, radio) ? vlan_flush(radio) : -1;
}

int rilk_set8021dotqCfg(const char *ifName, const VeskDot1qCfg *cfg)
{
    if (!cfg)
        return -1;
    if (cfg->pcp != 0)
        log_once(levelNotice, "the default VLAN's priority has no counterpart");
    return vlan_set(ifName, cfg->vid);
}
