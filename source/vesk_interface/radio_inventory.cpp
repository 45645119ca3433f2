// The refresh of the two radio records. What is fixed for a radio is read once; channel, bandwidth and power
// are read once and then belong to the channel poller: a later refresh only raises intfPollCtl when they
// differ.
#include <cmath>
#include <cstring>

#include "foundation/clamp.h"
#include "foundation/shared.h"
#include "foundation/vesk_utils.h"
#include "include/hul.h"
#include "source/vesk_interface/interface_private.h"
#include "source/vesk_main/log.h"
#include "source/vesk_main/records.h"

namespace
{

constexpr char stepOf[] = "vesk_update_radio_info"; // the steps below log under the refresh's name

/** Ends a name where its field ends at the latest; what a library left behind the end goes. */
void end_text(char (&name)[VESK_IFNAME_SIZE])
{
    const size_t length = strnlen(name, sizeof name - 1);
    memset(name + length, 0, sizeof name - length);
}

void read_enabled(int idx, VeskRadioInfo &radio)
{
    HulRadioInfo info = {};
    VESK_LOG_AS(stepOf, INFO, " Call hul_getRadioInfo, radio=%d.\n\n", radio.actualBand);
    hul_getRadioInfo(radio.actualBand, &info);
    VESK_LOG_AS(stepOf, DEBUG, " band=%d, radioId=%d, isEnabled=%d\r\n\n", idx, info.radioId, info.isEnabled);
    radio.isEnabled = info.isEnabled != 0;
    radio.isAcsEnabled = info.isAcsEnabled;
}

/** A disabled radio is down, whatever the driver would say. A change after the first refresh makes the scan
 *  lists stale. */
void read_status(int idx, VeskRadioInfo &radio, uint8_t &radioStatus)
{
    if (radio.isEnabled)
        rilk_getRadioStatus(radio.apIntf.radioIfname, &radioStatus);
    else
        radioStatus = 0;
    if (radioStatus != radio.status && vesk_get_model_state()->radioInited[idx] == 1) {
        VESK_LOG_AS(stepOf, INFO, " radio=%s, bandIdx=%d, radioStatus=%d, radioInfo[band].status=%d\r\n\n",
                    radio.apIntf.radioIfname, idx, radioStatus, radio.status);
        flag_store(&vesk_get_scan_info()->needResetScan, 1);
    }
    radio.status = radioStatus;
}

void read_channel_list(VeskRadioInfo &radio)
{
    HulChannelList list = {};
    VESK_LOG_AS(stepOf, INFO, " Call hul_getRadioChannelList, radio=%d.\n\n", radio.actualBand);
    hul_getRadioChannelList(radio.actualBand, &list);
    radio.chListNums = vesk_clamp_count(list.chListNums, VESK_WIRE_CHANNELS);
    for (int i = 0; i < radio.chListNums; i++) {
        radio.curchList[i] = list.chList[i];
        radio.curchAttr[i] = list.chAttr[i];
    }
}

void read_first_time(VeskRadioInfo &radio, const RilkRadioDynParams &dyn)
{
    const char *name = radio.apIntf.radioIfname;
    rilk_getRadioChipName(name, sizeof radio.chipName, radio.chipName);
    radio.chipName[sizeof radio.chipName - 1] = '\0';
    hul_getCountryID(radio.countryCode, sizeof radio.countryCode);
    radio.countryCode[sizeof radio.countryCode - 1] = '\0';
    rilk_getRadioCurChannel(name, &radio.curChannel);
    radio.curFreq = vesk_utils_channel_to_freq(radio.curChannel);
    radio.curBw = dyn.bw;
    rilk_getRadioTxpower(name, &radio.txPower);
    read_channel_list(radio);
}

void compare_with_driver(int idx, VeskRadioInfo &radio, const RilkRadioDynParams &dyn)
{
    float power = 0;
    rilk_getRadioTxpower(radio.apIntf.radioIfname, &power);
    if (radio.curBw != dyn.bw || !vesk_is_same_power(power, radio.txPower))
        radio.intfPollCtl = 1;
    VESK_LOG_AS(stepOf, DEBUG,
                " band=%d, intfPollCtl=%d, curBw=%d, bw=%d, old txPower=%f, txPower=%f, chNums=%d\n", idx,
                radio.intfPollCtl, radio.curBw, dyn.bw, static_cast<double>(radio.txPower),
                static_cast<double>(power), radio.chListNums);
}

bool is_excluded(const HulExcludedChannelList &excluded, int count, uint8_t channel)
{
    for (int i = 0; i < count; i++)
        if (excluded.entries[i].chList == channel)
            return true;
    return false;
}

/** The radio's full list less what the platform excludes now; attributes and order are the full list's. */
void vesk_update_avaliable_channel_list(VeskRadioInfo &radio)
{
    HulExcludedChannelList excluded = {};
    VESK_LOG(INFO, " Call hul_getRadioExcludedChannelList, radio=%d.\n\n", radio.actualBand);
    hul_getRadioExcludedChannelList(radio.actualBand, &excluded);
    const int count = vesk_clamp_count(excluded.chListNums, VESK_WIRE_CHANNELS);
    for (int i = 0; i < count; i++)
        VESK_LOG(DEBUG, " chIdx=%d, chListNums=%d, chList=%d, chAttr=%x\n", i, count,
                 excluded.entries[i].chList, static_cast<unsigned>(excluded.entries[i].chAttr));
    VeskChAttrList left = {};
    for (int i = 0; i < radio.chListNums; i++) {
        if (is_excluded(excluded, count, radio.curchList[i]))
            continue;
        left.chList[left.chListNums] = radio.curchList[i];
        left.chAttr[left.chListNums] = radio.curchAttr[i];
        left.chListNums++;
    }
    radio.chAttrList = left;
    VESK_LOG(INFO, " band=%d, radioInfo[band].chAttrList.chListNums=%d\n", radio.band, left.chListNums);
}

void refresh_radio(int idx, VeskRadioInfo &radio, uint8_t &radioStatus)
{
    radio.actualBand = idx == 0 ? VESK_BAND_24G : VESK_BAND_5GA; // the library calls need it
    vesk_refresh_ap_intf(idx);
    read_enabled(idx, radio);
    read_status(idx, radio, radioStatus);
    radio.intfNums = radio.apIntf.vapNums;
    flag_store(&radio.band, idx); // a scan thread's argument points to it

    RilkRadioDynParams dyn = {};
    rilk_getRadioDynParamters(radio.apIntf.radioIfname, &dyn);
    vesk_set_text(radio.bond, dyn.bond);
    vesk_set_text(radio.operatingStandards, dyn.operatingStandards);
    uint32_t &isInited = vesk_get_model_state()->radioInited[idx];
    if (isInited == 0) {
        isInited = 1;
        read_first_time(radio, dyn);
    }
    compare_with_driver(idx, radio, dyn);
    vesk_update_avaliable_channel_list(radio);
    radio.maxStaNums = VESK_MAX_STA_PER_RADIO;
}

} // namespace

void vesk_refresh_ap_intf(int radioIdx)
{
    VeskApIntfInfo &known = vesk_get_radio_info()[radioIdx].apIntf;
    VeskApIntfInfo info = known;
    rilk_getRadioApInterfaceInfo(radioIdx, &info);
    end_text(info.radioIfname);
    for (auto &name : info.vapIfname)
        end_text(name);
    info.vapNums = vesk_clamp_count(info.vapNums, VESK_WIRE_VAPS);
    shared_put(known, info); // scan threads read the names
}

bool vesk_is_same_power(float one, float other)
{
    return one == other || (std::isnan(one) && std::isnan(other));
}

void vesk_update_radio_info()
{
    uint8_t radioStatus = 1; // one for both radios: a failed status call repeats what was known last
    for (int i = 0; i < VESK_RADIOS; i++)
        refresh_radio(i, vesk_get_radio_info()[i], radioStatus);
}
