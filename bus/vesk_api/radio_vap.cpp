// Read-only methods on the model of radios and VAPs. Nearly everything is answered from the records; only the
// statistics methods may ask the driver, and only while the statistics poll is off.
#include "bus/vesk_api/vesk_api.h"

#include <cstring>

#include "bus/vesk_api/api_private.h"
#include "foundation/vesk_utils.h"
#include "source/vesk_interface/vesk_interface.h"
#include "source/vesk_main/records.h"

namespace
{
constexpr uint16_t SUPPORTED_MODES[] = { 1, 2, 4, 8, 16, 32, 64, 96, 34 };
static_assert(sizeof SUPPORTED_MODES == sizeof(WireVapInfo::supportedModes));
constexpr char NETWORK_NAME[] = "lan";
constexpr int32_t MAX_STATIONS = 128;

/** Checks band and pointer, clears the record, finds the radio: the record is untouched by the first
 * refusals. */
template <class Record>
VeskRadioInfo *cleared_radio(int band, Record *record, VeskLogSite caller = VESK_CALLER)
{
    if (!api_is_band(band, caller) || api_is_null(record, caller))
        return nullptr;
    memset(record, 0, sizeof *record);
    return api_radio(band, caller);
}

/** Checks name and pointer, clears the record, finds the VAP by its outer or inner name. */
template <class Record>
VeskVapInfo *cleared_vap(const char *vapName, Record *record, VeskLogSite caller = VESK_CALLER)
{
    if (api_is_null(vapName, caller) || api_is_null(record, caller))
        return nullptr;
    memset(record, 0, sizeof *record);
    const ApiName inner = api_inner_name(vapName);
    const int idx = vesk_getVapIdxByName(inner.text);
    return idx < 0 ? nullptr : &vesk_get_vap_info()[idx];
}

bool stats_are_polled()
{
    return vesk_get_radio_info()[0].isIntfStatEnabled != 0;
}
} // namespace

int vesk_getRadioInfo(int band, WireRadioInfo *radioInfo)
{
    const VeskRadioInfo *radio = cleared_radio(band, radioInfo);
    if (!radio)
        return -1;
    radioInfo->band = band;
    memcpy(radioInfo->radioMac, radio->radioMac, sizeof radioInfo->radioMac);
    memcpy(radioInfo->radioIfname, radio->apIntf.radioIfname, sizeof radioInfo->radioIfname);
    radioInfo->status = radio->status;
    radioInfo->isEnabled = radio->isEnabled;
    radioInfo->isAcsEnabled = radio->isAcsEnabled;
    radioInfo->curChannel = radio->curChannel;
    radioInfo->curFreq = radio->curFreq;
    memcpy(radioInfo->bond, radio->bond, sizeof radioInfo->bond);
    memcpy(radioInfo->countryCode, radio->countryCode, sizeof radioInfo->countryCode);
    radioInfo->maxStaNums = radio->maxStaNums;
    radioInfo->chListNums = radio->chListNums;
    const size_t channels = static_cast<size_t>(radio->chListNums);
    memcpy(radioInfo->curchList, radio->curchList, channels * sizeof radio->curchList[0]);
    memcpy(radioInfo->curchAttr, radio->curchAttr, channels * sizeof radio->curchAttr[0]);
    radioInfo->txPower = radio->txPower;
    radioInfo->curBw = radio->curBw;
    memcpy(radioInfo->operatingStandards, radio->operatingStandards, sizeof radioInfo->operatingStandards);
    return 0;
}

int vesk_getRadioApIntfsInfo(int band, WireApIntfsInfo *apIfacInfo)
{
    const VeskRadioInfo *radio = cleared_radio(band, apIfacInfo);
    if (!radio)
        return -1;
    memcpy(apIfacInfo->radioIfname, radio->apIntf.radioIfname, sizeof apIfacInfo->radioIfname);
    apIfacInfo->vapNums = radio->apIntf.vapNums;
    for (int i = 0; i < radio->apIntf.vapNums; i++)
        vesk_get_intf_outer_name(apIfacInfo->vapIfname[i], radio->apIntf.vapIfname[i]);
    return 0;
}

int vesk_getRadioIntfStats(int band, WireIntfStats *intfStats)
{
    VeskRadioInfo *radio = cleared_radio(band, intfStats);
    if (!radio)
        return -1;
    VESK_LOG(DEBUG, " vesk_getRadioIntfStats band=[%d] radioIdx=[%d]\n", band, api_index(radio));
    if (!stats_are_polled()) {
        VESK_LOG(INFO, " radioDb[0].isIntfStatEnabled is false , radio[%s] ioctl get\n",
                 radio->apIntf.radioIfname);
        rilk_getRadioIfStat(radio->apIntf.radioIfname, &radio->intfStats);
    }
    api_copy_stats(intfStats, &radio->intfStats);
    return 0;
}

int vesk_getVapInfo(const char *vapName, WireVapInfo *vapInfo)
{
    const VeskVapInfo *vap = cleared_vap(vapName, vapInfo);
    if (!vap)
        return -1;
    memcpy(vapInfo->radio, vap->radio, sizeof vapInfo->radio);
    vesk_util_strncpy(vapInfo->vapName, vapName, sizeof vapInfo->vapName);
    memcpy(vapInfo->mode, vap->mode, sizeof vapInfo->mode);
    memcpy(vapInfo->bssid, vap->bssid, sizeof vapInfo->bssid);
    vapInfo->status = vap->status;
    vapInfo->vapAttr = vap->vapAttr;
    if (vap->vapAttr == VESK_VAP_BSTA) {
        vesk_util_strncpy(vapInfo->ssid, vesk_get_scan_info()->bhCred.ssid, sizeof vapInfo->ssid);
        memcpy(vapInfo->bstaPeerBssid, vap->bstaPeerBssid, sizeof vapInfo->bstaPeerBssid);
        return 0;
    }
    memcpy(vapInfo->ssid, vap->ssid, sizeof vapInfo->ssid);
    memcpy(vapInfo->keyPassphrase, vap->keyPassphrase, sizeof vapInfo->keyPassphrase);
    vapInfo->encryptMode = vap->encryptMode;
    vapInfo->authMode = vap->authMode;
    memcpy(vapInfo->supportedModes, SUPPORTED_MODES, sizeof SUPPORTED_MODES);
    memcpy(vapInfo->network, NETWORK_NAME, sizeof NETWORK_NAME);
    vapInfo->maxStations = MAX_STATIONS;
    vapInfo->isBackhaulBss = vap->isBackhaulBss;
    return 0;
}

int vesk_getVapIntfStats(const char *vapName, WireIntfStats *intfStats)
{
    VeskVapInfo *vap = cleared_vap(vapName, intfStats);
    if (!vap)
        return -1;
    VESK_LOG(DEBUG, " vapName=[%s] key=[%d]\n", vapName, static_cast<int>(vap - vesk_get_vap_info()));
    if (!stats_are_polled()) {
        VESK_LOG(INFO, " radioDb[0].isIntfStatEnabled is false , vap[%s] ioctl get\n", vap->ifName);
        rilk_getVapIfStat(vap->ifName, &vap->intfStats);
    }
    api_copy_stats(intfStats, &vap->intfStats);
    return 0;
}

int vesk_get1905interfacesList(Wire1905List *intfList)
{
    if (api_is_null(intfList))
        return -1;
    memset(intfList, 0, sizeof *intfList);
    char text[sizeof(VeskConfigInfo::EnabledInterfaceNames1905)];
    vesk_util_strncpy(text, vesk_get_vesk_cfg_info()->EnabledInterfaceNames1905, sizeof text);
    intfList->count = vesk_utils_str2array(text, intfList->names, VESK_WIRE_1905_NAMES);
    return 0;
}
