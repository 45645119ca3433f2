// What the scans found, and the operating channel. Result and neighbour tables are read without a lock while
// a first scan may be filling them: a number that decides is read once, a text is cut at its field's end
// whatever stands in it, and the library keeps replaced neighbour records readable.
#include "bus/vesk_api/vesk_api.h"

#include <cstring>

#include "bus/vesk_api/api_private.h"
#include "foundation/shared.h"
#include "foundation/vesk_utils.h"
#include "source/vesk_main/records.h"
#include "source/vesk_scan/vesk_scan.h"

namespace
{
int setChannelCnt; // calls of setChannel, for its log line only

/** Whether the radio is up; logs at DEBUG if it is down. */
bool is_up(int band, const VeskRadioInfo *radio, VeskLogSite caller = VESK_CALLER)
{
    if (radio->status == 0)
        VESK_LOG_AS(caller, DEBUG, " radioBand=%d, radioIdx=%d, status=%d\n", band, api_index(radio),
                    radio->status);
    return radio->status != 0;
}

/** Common start of the two methods on the scan tables: clears the record, finds the radio, which has to be
 * up. */
template <class Record>
const VeskRadioInfo *cleared_live_radio(int band, Record *record, VeskLogSite caller = VESK_CALLER)
{
    if (api_is_null(record, caller))
        return nullptr;
    memset(record, 0, sizeof *record);
    const VeskRadioInfo *radio = api_radio(band, caller);
    return radio && is_up(band, radio, caller) ? radio : nullptr;
}

void fill_off_channel(WireOffChannel *to, const VeskScanChannel &from, int32_t time, int32_t dwell)
{
    to->ch = from.ch;
    to->inC = from.inC;
    to->chnUtil = from.chnUtil;
    to->noise = from.noise;
    to->cac = from.cac;
    to->smoothedNoise = from.smoothedNoise;
    to->time = time;
    to->dwell = dwell;
}

/** Runs up to 256 times a call. Without a copy of the whole record: reading texts from bytes that were
 * written just before took longer than all the rest. */
void fill_neighbor(WireNeighbor *to, int channel, const VeskScanNeighbor &from)
{
    to->channel = channel;
    to->rssi = from.rssi;
    vesk_utils_field2mac(from.bssid, sizeof from.bssid - 1, to->bssid); // stays zero when it fails
    vesk_util_strncpy(to->ssid, from.ssid, sizeof to->ssid);
    to->value1 = from.value1;
    to->value2 = from.value2;
    vesk_util_strncpy(to->text, from.text, sizeof to->text);
}

/** Radio index that a neighbour's channel counts to; the upper 5 GHz band is radio 1's. -1: none, as for a
 * slot without a result. */
int radio_of_channel(int channel)
{
    const int radio = vesk_utils_mapping_band(vesk_utils_get_band_by_channel(channel));
    return radio == 2 ? 1 : radio;
}
} // namespace

int vesk_getCurChannelInfo(int band, WireCurChannelInfo *channelInfo)
{
    if (api_is_null(channelInfo))
        return -1;
    memset(channelInfo, 0, sizeof *channelInfo);
    const VeskRadioInfo *radio = api_band_radio(band);
    if (!radio)
        return -1;
    VeskCurChannelInfo cur;
    shared_get(cur, radio->curChannelInfo);
    VESK_LOG(DEBUG, " radioBand=%d, radioIdx=%d, channel=%d\n", band, api_index(radio), cur.channel);
    if (!is_up(band, radio))
        return -1;
    channelInfo->channel = cur.channel;
    channelInfo->ccaInbss = cur.ccaInbss;
    channelInfo->value1 = cur.value1;
    channelInfo->value2 = cur.value2;
    channelInfo->value3 = cur.value3;
    channelInfo->ccaIdle = cur.ccaIdle;
    channelInfo->ccaTxUtil = cur.ccaTxUtil;
    channelInfo->counters[0] = cur.counter1;
    memcpy(&channelInfo->counters[1], cur.counters2, sizeof cur.counters2);
    channelInfo->noise = cur.noise;
    channelInfo->value4 = cur.value4;
    channelInfo->time = cur.time;
    channelInfo->value5 = cur.value5;
    return 0;
}

int vesk_getOffChannelInfo(int band, WireOffChInfo *offChInfo)
{
    const VeskOffScanCfg *scan = vesk_get_scan_info();
    const VeskRadioInfo *radio = cleared_live_radio(band, offChInfo);
    if (!radio)
        return -1;
    const VeskScanCfg *cfg = &scan->scanCfg[api_index(radio)];
    offChInfo->radioBand = band;
    offChInfo->scanNums = cfg->offChListNums;
    VESK_LOG(DEBUG, " radioBand=%d, scanNums=%d\n", band, cfg->offChListNums);
    int filled = 0;
    for (int i = 0; i < scan->channelNums && filled < VESK_WIRE_OFF_CHANNELS; i++) {
        const VeskScanChannel *found = vesk_scan_channel_at(i);
        if (!found)
            continue;
        const VeskScanChannel rec = *found;
        if (rec.ch <= 0 ||
            vesk_find_channel_idx(static_cast<uint32_t>(rec.ch), cfg->offChList, cfg->offChListNums) < 0)
            continue;
        fill_off_channel(&offChInfo->channels[filled++], rec, scan->scanTime, cfg->dwellMax);
        VESK_LOG(DEBUG, " ch=%d,cac=%d,inC=%d,chnUtil=%d,noise=%d,time=%ld\n", rec.ch, rec.cac, rec.inC,
                 rec.chnUtil, rec.noise, static_cast<long>(scan->scanTime));
    }
    return 0;
}

int vesk_getNeighborAPInfo(int band, WireNbAPInfo *nbAPInfo)
{
    const VeskOffScanCfg *scan = vesk_get_scan_info();
    const VeskRadioInfo *radio = cleared_live_radio(band, nbAPInfo);
    if (!radio)
        return -1;
    const int want = vesk_utils_mapping_band(band);
    if (want < 0 || want >= VESK_RADIOS)
        return -1;
    nbAPInfo->radioBand = band;
    const int slots = scan->neighbors ? scan->channelNums * VESK_SCAN_NEIGHBORS_PER_CHANNEL : 0;
    VeskScanNeighbor *const *const end = scan->neighbors + slots;
    int filled = 0;
    for (VeskScanNeighbor *const *slot = scan->neighbors; slot != end; slot++) {
        const VeskScanNeighbor *found = flag_load(slot);
        if (!found)
            continue;
        const int channel = found->ch;
        if (radio_of_channel(channel) != want)
            continue;
        fill_neighbor(&nbAPInfo->neighbors[filled++], channel, *found);
        if (filled == VESK_WIRE_NEIGHBORS)
            break;
    }
    nbAPInfo->nbNums = filled;
    return 0;
}

int vesk_getChannel(int band, WireChannel *data)
{
    if (api_is_null(data))
        return -1;
    const VeskRadioInfo *radio = api_band_radio(band);
    if (!radio)
        return -1;
    const char *name = radio->apIntf.radioIfname;
    VESK_LOG(DEBUG, " vesk get channel paramerters, band=%d\n", band);
    *data = { .channel = 0, .bandwidth = VESK_BW_KEEP };
    int32_t channel = 0;
    const int rc = rilk_getRadioCurChannel(name, &channel);
    VESK_LOG(DEBUG, " vesk radio %s get channel %d %s (%d)\n", name, channel, rc ? "failure" : "success", rc);
    if (rc != 0)
        return -1;
    RilkRadioDynParams dyn = {};
    rilk_getRadioDynParamters(name, &dyn);
    VESK_LOG(DEBUG, " vesk radio %s get bandwidth %d %s (%d).\n", name, dyn.bw, "success", 0);
    *data = { .channel = channel, .bandwidth = vesk_map_bandwidth(dyn.bw) };
    return 0;
}

int vesk_setChannel(int band, const WireChannel *data)
{
    if (api_is_null(data))
        return -1;
    VeskRadioInfo *radio = api_band_radio(band);
    if (!radio || !api_in_range(data->bandwidth, 0, VESK_BW_KEEP + 1))
        return -1;
    const int idx = api_index(radio);
    setChannelCnt++;
    VESK_LOG(INFO,
             " =band=%d, radioIdx=%d, set channel=%d, bandwidth=%d, old channel=%d, bandwidth=%d, "
             "setChannelCnt=%d\n",
             band, idx, data->channel, data->bandwidth, radio->curChannel, radio->curBw, setChannelCnt);
    radio->setBw = data->bandwidth;
    radio->setChannel = static_cast<uint8_t>(data->channel);
    vesk_stop_set_channel_timer(static_cast<uint32_t>(idx));
    vesk_start_set_channel_timer(static_cast<uint32_t>(idx));
    return radio->setResult;
}

int vesk_getEirp(int, WireEirp *)
{
    return 0;
}

int vesk_setEirp(int, const WireEirp *)
{
    return 0;
}

int vesk_triggerScan(int band)
{
    const VeskRadioInfo *radio = api_band_radio(band);
    if (!radio)
        return -1;
    vesk_retrigger_scan(static_cast<uint32_t>(api_index(radio)));
    return 0;
}

int vesk_getScanStatus(int8_t *scanStatus)
{
    VESK_LOG(DEBUG, " vesk_getScanStatus\n");
    *scanStatus = static_cast<int8_t>(vesk_first_scanning_is_end());
    VESK_LOG(DEBUG, " scanStatus=%d\n", *scanStatus);
    return 0;
}

int vesk_getScanCap(int band, WireScanCap *scanCap)
{
    VESK_LOG(DEBUG, " band=%d\n", band);
    if (api_is_null(scanCap))
        return -1;
    memset(scanCap, 0, sizeof *scanCap);
    const VeskRadioInfo *radio = api_band_radio(band);
    if (!radio)
        return -1;
    const VeskScanCfg *cfg = &vesk_get_scan_info()->scanCfg[api_index(radio)];
    scanCap->isSupportScan = cfg->isSupportScan;
    scanCap->scanItv = cfg->scanItv;
    VESK_LOG(DEBUG, " isSupportScan=%d, scanItv=%d\n", cfg->isSupportScan, cfg->scanItv);
    return 0;
}

int vesk_getRadioAvaliableChannelList(int band, WireChList *chList)
{
    if (api_is_null(chList) || !api_is_band(band))
        return -1;
    memset(chList, 0, sizeof *chList);
    const VeskRadioInfo *radio = api_radio(band);
    if (!radio)
        return -1;
    const VeskChAttrList &list = radio->chAttrList;
    chList->chListNums = list.chListNums;
    memcpy(chList->chList, list.chList, static_cast<size_t>(list.chListNums) * sizeof list.chList[0]);
    memcpy(chList->chAttr, list.chAttr, static_cast<size_t>(list.chListNums) * sizeof list.chAttr[0]);
    return 0;
}

int vesk_setMinMaxDwellTime(uint32_t band, uint32_t min, uint32_t max)
{
    const int word = static_cast<int>(band);
    const VeskRadioInfo *radio = api_band_radio(word);
    if (!radio)
        return -1;
    VESK_LOG(INFO, " vesk set dwell time, band=%d, min=%u, max=%u\n\n", word, min, max);
    if (max < min) {
        VESK_LOG(ERROR, " rilk_setMinMaxDwellTime ERROR, band=%d, min=%u, max=%u\n\n", word, min, max);
        return -1;
    }
    if (rilk_setMinMaxDwellTime(radio->apIntf.radioIfname, static_cast<int32_t>(min),
                                static_cast<int32_t>(max)) != 0) {
        VESK_LOG(ERROR, " rilk_setMinMaxDwellTime ERROR, band=%d\n\n", word);
        return -1;
    }
    return 0;
}
