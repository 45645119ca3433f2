// The mesh software's control of the backhaul station: which interface it is, the credential it is to join
// with, and auto-connect, which excludes all scanning while it is on.
#include "bus/vesk_api/vesk_api.h"

#include <cstring>

#include "bus/vesk_api/api_private.h"
#include "foundation/shared.h"
#include "foundation/vesk_utils.h"
#include "source/vesk_config/vesk_config.h"
#include "source/vesk_main/records.h"
#include "source/vesk_scan/vesk_scan.h"

namespace
{
/** The station interface's row of a band; NULL, with its lines, when the band has none. `idx`: the band's
 * row. */
const VeskCfgVap *bsta_row(int band, int *idx, VeskLogSite caller = VESK_CALLER)
{
    const VeskCfgWifi *wifi = api_cfg_row(band, idx, caller);
    if (!wifi)
        return nullptr;
    const int row = vesk_find_bsta_row(wifi);
    if (row < 0) {
        VESK_LOG_RANGE_AS(caller, wifi->vapNum, 0, wifi->vapNum);
        return nullptr;
    }
    return &wifi->Vap[row];
}

/** The credential in the driver's form, its texts cut to their fields. */
VeskBackhaulCred driver_credential(const WireBackhaulCred *bh)
{
    VeskBackhaulCred cred = {};
    cred.band = bh->band;
    vesk_util_strncpy(cred.ifName, bh->ifName, sizeof cred.ifName);
    vesk_util_strncpy(cred.ssid, bh->ssid, sizeof cred.ssid);
    vesk_util_strncpy(cred.ssidKey, bh->ssidKey, sizeof cred.ssidKey);
    cred.encryption = bh->encryption;
    cred.authMode = bh->authMode;
    memcpy(cred.bssid, bh->bssid, sizeof cred.bssid);
    cred.channel = bh->channel;
    cred.bw = bh->bw;
    return cred;
}

bool is_complete(const VeskBackhaulCred &cred)
{
    return cred.ifName[0] && cred.ssid[0] && cred.ssidKey[0] && cred.encryption != 0 && cred.authMode != 0;
}
} // namespace

int vesk_getBstaIntfInfo(int band, WireBstaIntf *info)
{
    if (api_is_null(info))
        return -1;
    memset(info, 0, sizeof *info);
    if (!api_is_band(band))
        return -1;
    VESK_LOG(DEBUG, " band=%d\n", band);
    int idx;
    const VeskCfgVap *row = bsta_row(band, &idx);
    if (!row)
        return -1;
    vesk_util_strncpy(info->ifName, row->InterfaceName, sizeof info->ifName);
    vesk_utils_get_mac_by_ioctl(info->ifName, info->mac); // stays zero for an interface that isn't there
    return 0;
}

int vesk_applyBackhaulCredentialToBsta(const WireBackhaulCred *bh)
{
    const VeskBackhaulCred cred = driver_credential(bh);
    VESK_LOG(INFO, " vesk_applyBackhaulCredentialToBsta: \n\n");
    VESK_LOG_CREDENTIAL(cred);
    if (!is_complete(cred)) {
        VESK_LOG(ERROR, " vesk_applyBackhaulCredentialToBsta - Missing neccessary input.\n\n");
        return -1;
    }
    vesk_set_scan_status(0);
    vesk_get_scan_info()->bhCred = cred;
    vesk_stop_backhaul_credential_timer();
    vesk_start_backhaul_credential_timer();
    return 0;
}

int vesk_setBstaAutoConnect(const WireBstaAuto *autoConnect)
{
    VESK_LOG(INFO, " vesk_setBstaAutoConnect\n");
    if (api_is_null(autoConnect))
        return -1;
    int idx;
    const VeskCfgVap *row = bsta_row(autoConnect->band, &idx);
    if (!row)
        return -1;
    VeskOffScanCfg *scan = vesk_get_scan_info();
    VeskBstaAuto *bsta = &scan->scanCfg[idx].bstaAuto;
    bsta->band = autoConnect->band;
    vesk_util_strncpy(bsta->ifName, row->InterfaceName, sizeof bsta->ifName);
    flag_store(&bsta->enableAuto, autoConnect->enableAuto);
    bsta->needSetRadar = autoConnect->needSetRadar;
    bsta->radarCheckSkip = autoConnect->radarCheckSkip;
    VESK_LOG(INFO, " band=%d, ifName=%s, enableAuto=%d, needSetRadar=%d, radarCheckSkip=%d, connectItv=%d\n",
             bsta->band, bsta->ifName, bsta->enableAuto, bsta->needSetRadar, bsta->radarCheckSkip,
             autoConnect->connectItv);
    if (autoConnect->enableAuto != 0) { // the radio is free of scans before auto-connect starts
        VESK_LOG(INFO, " Enable auto connect ,stop all band scan\n");
        vesk_set_bsta_auto_status(1);
        vesk_set_scan_status(0);
        rilk_setBstaAutoConnect(bsta);
        return 0;
    }
    VESK_LOG(INFO, " Disable auto connect ,start all band scan\n");
    rilk_setBstaAutoConnect(bsta); // and has stopped before scans come back
    if (scan->scanEnableCfg != 0) {
        vesk_set_bsta_auto_status(0);
        vesk_set_scan_status(1);
    }
    return 0;
}
