// librilk.so, what changes the device: hostapd's settings, stations, scans.
#include "platform/nl80211/rilk.h"

#include "platform/nl80211/ctrl.h"
#include "platform/nl80211/log.h"
#include "platform/nl80211/scan.h"
#include "platform/nl80211/settings.h"

using namespace radio;

namespace
{

/** An operation that this library doesn't have yet. */
int unsupported(const char *function)
{
    log_once(levelError, "%s isn't supported by this library yet", function);
    return -1;
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
    return mac ? ctrl_tell(CtrlPeer::accessPoint, ifName, "DISASSOCIATE %s", mac) : -1;
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

int rilk_setRadioCurChannel(const char *, int32_t)
{
    return unsupported(__func__);
}

int rilk_setRadioChanSpec(const char *, int32_t, int32_t)
{
    return unsupported(__func__);
}

int rilk_setBstaAutoConnect(const VeskBstaAuto *)
{
    return unsupported(__func__);
}

int rilk_applyBackhaulCredentialToBsta(const VeskBackhaulCred *)
{
    return unsupported(__func__);
}

int rilk_sendBeaconReq(const char *, const RilkBeaconReq *)
{
    return unsupported(__func__);
}

int rilk_sendBTMReq(const char *, const RilkBtmReq *)
{
    return unsupported(__func__);
}

int rilk_addVendorIE(const char *, uint32_t, const uint8_t *, uint32_t)
{
    return unsupported(__func__);
}

int rilk_delVendorIE(const char *, uint32_t, const uint8_t *, uint32_t)
{
    return unsupported(__func__);
}

int rilk_cleanHwFwdRule(const char *)
{
    return unsupported(__func__);
}

int rilk_set8021dotqCfg(const char *, const VeskDot1qCfg *)
{
    return unsupported(__func__);
}
