// The refresh of the sixteen VAP records, which is also a change detector: what differs from the record of a
// VAP that has been seen before is announced at once, before the fields behind it are stored. A radio's
// backhaul station has a path of its own, since the driver's VAP list need not contain it. Name, mode and
// status are written for scan threads, which look for a VAP that can carry their scan.
#include <cstring>

#include "foundation/shared.h"
#include "foundation/vesk_utils.h"
#include "include/hul.h"
#include "include/vesk_event.h"
#include "source/vesk_config/vesk_config.h"
#include "source/vesk_drelm/vesk_drelm.h"
#include "source/vesk_interface/interface_private.h"
#include "source/vesk_main/log.h"
#include "source/vesk_main/records.h"

namespace
{

constexpr char stepOf[] = "vesk_init_vap_info"; // its steps log under its name
constexpr uint8_t attrSsid = 1;                 // VeskVapAttr: what changed
constexpr uint8_t attrBssid = 2;

bool is_station_mode(const VeskVapInfo &vap)
{
    return strstr(vap.mode, "sta") != nullptr;
}

/** The slot of a name, -1 and a line when all are taken by others. */
int slot_of(const char *name, VeskLogSite caller = VESK_CALLER)
{
    const uint32_t slot = vesk_find_vap_slot(name);
    if (slot < VESK_VAPS)
        return static_cast<int>(slot);
    VESK_LOG_RANGE_AS(caller, VESK_VAPS, 0, VESK_VAPS);
    return -1;
}

/** Index of a band word's row of the product configuration, -1 and a line without one. */
int find_cfg_row(int actualBand, VeskLogSite caller = VESK_CALLER)
{
    const int idx = vesk_get_cfg_band_idx(actualBand);
    if (idx >= 0 && idx < VESK_CFG_WIFI)
        return idx;
    VESK_LOG_RANGE_AS(caller, idx, 0, VESK_CFG_WIFI);
    return -1;
}

void announce_attr(const char *ifName, uint8_t attribute)
{
    VeskVapAttr change = {};
    vesk_util_strncpy(change.ifName, ifName, sizeof change.ifName);
    change.attribute = attribute;
    wdev_vap_attr_change_event_process(&change, ifName);
}

void announce_status(const VeskVapInfo &vap, uint8_t status, VeskLogSite caller)
{
    VESK_LOG_AS(caller, INFO, " vapName=%s, status change from [%d] to [%d]\r\n\n", vap.ifName, vap.status,
                status);
    VeskIfStatus change = {};
    vesk_util_strncpy(change.ifName, vap.ifName, sizeof change.ifName);
    change.status = status;
    wdev_intf_change_event_process(&change, vap.ifName);
}

/** Stores a status, which is announced first if it differs and the caller wants that. */
void refresh_status(VeskVapInfo &vap, bool announce, VeskLogSite caller = VESK_CALLER)
{
    uint8_t status = 0;
    rilk_getVapStatus(vap.ifName, &status);
    if (announce && status != vap.status)
        announce_status(vap, status, caller);
    flag_store(&vap.status, status);
}

/** The mode of the VAP's row; a VAP without one keeps what it had. */
void find_mode(const VeskCfgWifi &wifi, VeskVapInfo &vap)
{
    for (int i = 0; i < wifi.vapNum && i < VESK_CFG_VAPS; i++) {
        char inner[VESK_IFNAME_SIZE];
        vesk_get_intf_inner_name(inner, wifi.Vap[i].InterfaceName);
        if (strcmp(inner, vap.ifName) != 0)
            continue;
        vesk_set_text(vap.mode, wifi.Vap[i].Mode);
        return;
    }
}

void refresh_bssid(VeskVapInfo &vap, bool announce)
{
    uint8_t now[6] = {};
    rilk_getVapBssid(vap.ifName, now);
    if (announce && memcmp(now, vap.bssid, sizeof now) != 0) {
        VESK_LOG_AS(stepOf, INFO,
                    " vapName=%s, old bssid [%02x:%02x:%02x:%02x:%02x:%02x] change to "
                    "[%02x:%02x:%02x:%02x:%02x:%02x]\n",
                    vap.ifName, VESK_MAC_ARGS(vap.bssid), VESK_MAC_ARGS(now));
        announce_attr(vap.ifName, attrBssid);
    }
    memcpy(vap.bssid, now, sizeof vap.bssid);
}

void refresh_ssid(VeskVapInfo &vap, bool announce)
{
    char ssid[sizeof vap.ssid] = {};
    rilk_getVapSsid(vap.ifName, sizeof ssid, ssid);
    ssid[sizeof ssid - 1] = '\0';
    if (announce && strncmp(ssid, vap.ssid, sizeof ssid) != 0) {
        VESK_LOG_AS(stepOf, INFO, " vapName=%s, old ssid %s change to %s\n", vap.ifName, vap.ssid, ssid);
        announce_attr(vap.ifName, attrSsid);
    }
    vesk_set_text(vap.ssid, ssid);
}

void refresh_security(VeskVapInfo &vap)
{
    HulVapCfg cfg = {};
    VESK_LOG_AS(stepOf, INFO, " Call hul_getEnabledVapCfg, ifname=%s.\n\n", vap.ifName);
    hul_getEnabledVapCfg(vap.ifName, &cfg);
    memcpy(vap.keyPassphrase, cfg.keyPassphrase, sizeof vap.keyPassphrase); // nothing of a former key stays
    vap.keyPassphrase[sizeof vap.keyPassphrase - 1] = '\0';
    vap.authMode = cfg.authMode;
    vap.encryptMode = cfg.encryptMode;
    vap.vapAttr = cfg.vapAttr;
    if (vap.vapAttr == VESK_VAP_BBSS)
        vap.isBackhaulBss = 1;
}

void update_radio_mac(VeskRadioInfo &radio)
{
    const int first = vesk_getVapIdxByName(radio.apIntf.vapIfname[0]);
    if (first < 0)
        return;
    const VeskVapInfo &vap = vesk_get_vap_info()[first];
    if (strcmp(vap.radio, radio.apIntf.radioIfname) == 0)
        memcpy(radio.radioMac, vap.bssid, sizeof radio.radioMac);
}

} // namespace

// All eight names are walked, whatever vapNums says.
void vesk_update_vap_info()
{
    for (int i = 0; i < VESK_RADIOS; i++) {
        VeskRadioInfo &radio = vesk_get_radio_info()[i];
        vesk_refresh_ap_intf(i);
        for (const auto &name : radio.apIntf.vapIfname)
            if (name[0] != '\0')
                vesk_init_vap_info(radio.apIntf.radioIfname, name, i);
        vesk_init_bsta_info(radio.apIntf.radioIfname, radio.actualBand);
        update_radio_mac(radio);
    }
}

void vesk_init_vap_info(const char *radio, const char *ifName, int band)
{
    const int slot = slot_of(ifName);
    if (slot < 0)
        return;
    VeskVapInfo &vap = vesk_get_vap_info()[slot];
    vesk_set_text(vap.ifName, ifName);
    vesk_set_text(vap.radio, radio);
    vap.band = band;
    vap.actualBand = band >= 1 ? VESK_BAND_5GA : band;
    const int row = find_cfg_row(vap.actualBand);
    if (row < 0)
        return;
    find_mode(vesk_get_vesk_cfg_info()->Wifi[row], vap);

    const bool isStation = is_station_mode(vap);
    uint32_t &isInited = vesk_get_model_state()->vapInited[slot];
    const bool announce = !isStation && isInited == 1;
    refresh_status(vap, announce);
    refresh_bssid(vap, announce);
    if (!isStation)
        refresh_ssid(vap, announce);
    refresh_security(vap);
    if (isInited != 1) {
        rilk_setWNMEnable(vap.ifName, 1);
        rilk_setRRMEnable(vap.ifName, 1);
        isInited = 1;
    }
}

// A backhaul station that is up the first time is announced, too. Its attribute stands in the record before
// that, so that the announcement bears the name without a suffix.
void vesk_init_bsta_info(const char *radio, int actualBand)
{
    VESK_LOG(DEBUG, " radio=%s, actualBand=%d\n", radio, actualBand);
    const int radioIdx = vesk_getRadioIdxByName(radio);
    if (radioIdx < 0) {
        VESK_LOG_RANGE(radioIdx, 0, VESK_RADIOS);
        return;
    }
    const int row = find_cfg_row(actualBand);
    if (row < 0)
        return;
    const VeskCfgWifi &wifi = vesk_get_vesk_cfg_info()->Wifi[row];
    const int apIdx = vesk_find_bsta_row(&wifi);
    if (apIdx < 0) {
        VESK_LOG_RANGE(wifi.vapNum, 0, wifi.vapNum);
        return;
    }
    const VeskCfgVap &station = wifi.Vap[apIdx];
    VESK_LOG(DEBUG, " radio=%s, bandIdx=%d, apIdx=%d, vapIdx=%d\n", radio, row, apIdx,
             static_cast<int>(vesk_find_vap_slot(station.InterfaceName)));
    const int slot = slot_of(station.InterfaceName);
    if (slot < 0)
        return;
    VeskVapInfo &vap = vesk_get_vap_info()[slot];
    vesk_set_text(vap.ifName, station.InterfaceName);
    vesk_set_text(vap.radio, radio);
    vap.vapAttr = VESK_VAP_BSTA;
    vap.band = vesk_get_radio_info()[radioIdx].band;
    vap.actualBand = vesk_get_radio_info()[radioIdx].actualBand;

    refresh_status(vap, true);
    vesk_set_text(vap.mode, station.Mode);
    vesk_utils_get_mac_by_ioctl(vap.ifName, vap.bssid);
}
