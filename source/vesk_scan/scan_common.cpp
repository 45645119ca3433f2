// What all ways of scanning share: a step's parameters and timers, the library calls that fetch what a scan
// found, and the bookkeeping of a cycle.
#include <ctime>

#include "source/vesk_scan/scan_private.h"

ScanName scan_radio_name(uint32_t band)
{
    ScanName name;
    shared_get(name.text, scan_radio(band)->apIntf.radioIfname);
    return name;
}

int scan_auto_radio()
{
    for (int radio = 0; radio < VESK_RADIOS; radio++) {
        if (scan_auto_enabled(radio) != 0)
            return radio;
    }
    return -1;
}

bool scan_is_whole_band_chip(const VeskRadioInfo *radio)
{
    return strncmp(radio->chipName, "MTK7612", sizeof radio->chipName) == 0;
}

VeskScanParam scan_param(uint32_t band, uint32_t channel)
{
    VeskScanParam param = {};
    param.channel = static_cast<uint8_t>(channel);
    param.dwell = scan_cfg(band)->dwellMax;
    vesk_get_base_vap(band, param.baseVap);
    return param;
}

bool scan_is_configured(VeskLogSite caller)
{
    const bool isOn = vesk_get_scan_info()->scanEnableCfg != 0;
    if (!isOn)
        VESK_LOG_AS(caller, INFO, VESK_TEXT_TIMER_OFF);
    return isOn;
}

void scan_arm_timer(const ScanTimer &timer, uint32_t band, uint32_t itv, VeskLogSite caller)
{
    if (!scan_is_configured(caller))
        return;
    VESK_LOG_AS(caller, DEBUG, " scan ubus timer band=%d\n", band);
    uloop_timeout *one = &(scan_cfg(band)->*timer.member);
    uloop_timeout_cancel(one);
    one->cb = timer.handlers[band];
    uloop_timeout_set(one, vesk_timer_ms(itv));
}

void scan_cancel_timer(const ScanTimer &timer, uint32_t band, VeskLogSite caller)
{
    if (band >= VESK_SCAN_RADIOS)
        return;
    VESK_LOG_SWITCHES_AS(caller);
    uloop_timeout_cancel(&(scan_cfg(band)->*timer.member));
}

void scan_fetch_results(const VeskOffScanCfg *offScan, const VeskScanCfg *cfg)
{
    if (offScan->channels != nullptr)
        rilk_getScanChannelResult(cfg->radio, offScan->channels);
}

void scan_fetch_neighbors(const VeskOffScanCfg *offScan, const VeskScanCfg *cfg, uint32_t channel)
{
    if (offScan->neighbors != nullptr)
        rilk_getScanNeighborApOneChannel(cfg->radio, static_cast<int32_t>(channel), offScan->neighbors);
}

VeskCurChannelInfo scan_read_cur_channel(uint32_t band)
{
    VeskCurChannelInfo info;
    shared_get(info, scan_radio(band)->curChannelInfo);
    rilk_getCurChannelInfo(scan_radio_name(band).text, &info);
    shared_put(scan_radio(band)->curChannelInfo, info);
    return info;
}

void scan_refresh_cur_channel(VeskRadioInfo *radio, int chIdx)
{
    const VeskScanChannel *entry = vesk_scan_channel_at(chIdx);
    if (entry == nullptr || entry->ch != flag_load(&radio->curChannel))
        return;
    const VeskScanChannel record = *entry;
    VeskCurChannelInfo info;
    shared_get(info, radio->curChannelInfo);
    info.channel = record.ch;
    info.ccaIdle = static_cast<int32_t>(100 - int64_t{ record.chnUtil });
    info.noise = record.noise;
    info.time = static_cast<int32_t>(time(nullptr));
    shared_put(radio->curChannelInfo, info);
}

void scan_mark_visited(VeskScanCfg *cfg, int chIdx)
{
    if (scan_is_visited(cfg, chIdx))
        return;
    flag_store(&cfg->chScanned[chIdx], 1);
    flag_store(&cfg->alreadyScanCount, scan_visited_count(cfg) + 1);
}

void scan_clear_visited(VeskScanCfg *cfg)
{
    for (int i = 0; i < VESK_SCAN_CHANNELS; i++)
        flag_store(&cfg->chScanned[i], 0);
}

// A list that is cut at channelList's end or names a channel twice never counts up to its length: what closes
// its cycle is that no channel is left to visit.
bool scan_is_cycle_complete(const VeskOffScanCfg *offScan, const VeskScanCfg *cfg)
{
    if (scan_visited_count(cfg) >= cfg->offChListNums)
        return true;
    bool complete = true;
    scan_walk(offScan, cfg,
              [&](const ScanEntry &entry) { return complete = scan_is_visited(cfg, entry.chIdx); });
    return complete;
}

void scan_close_cycle(VeskScanCfg *cfg)
{
    scan_clear_visited(cfg);
    flag_store(&cfg->alreadyScanCount, 0);
    flag_store(&cfg->cycScanSend, 0);
    flag_store(&cfg->isScanEnd, 1);
}
