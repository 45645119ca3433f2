// What the files of this folder share: a radio's scan state, the walk over its channels, the cycle's
// bookkeeping, the common arming of the radios' timers and the end of the first-scan threads. Positions
// called chIdx are positions in channelList; a radio's index is always checked before it comes here.
#pragma once

#include "foundation/clamp.h"
#include "foundation/shared.h"
#include "include/hul.h"
#include "source/vesk_main/log.h"
#include "source/vesk_main/records.h"
#include "source/vesk_scan/vesk_scan.h"

inline constexpr uint32_t VESK_SCAN_RADIOS = VESK_RADIOS;
inline constexpr int VESK_FIRST_5G_CHANNEL = 15; // channels from here on belong to the 5 GHz band

/** What scanning counts for the life of the process. */
struct VeskScanState {
    uint32_t triggerCnt[VESK_RADIOS]; // first scans retriggered by the periodic scan
    int32_t checkCnt;                 // readiness checks that found the daemon not ready
};
VeskScanState *vesk_get_scan_state();

/** The lines about the two switches, under the name of the function they stand in. */
#define VESK_LOG_SWITCHES() VESK_LOG_SWITCHES_AS(__func__)
#define VESK_LOG_SWITCHES_AS(at)                                                                             \
    VESK_LOG_AS(at, INFO, VESK_TEXT_SWITCHES, vesk_get_scan_status(), vesk_get_scan_info()->scanEnableCfg)
#define VESK_LOG_SWITCHES_ITV(itv)                                                                           \
    VESK_LOG(INFO, VESK_TEXT_SWITCHES_ITV, vesk_get_scan_status(), vesk_get_scan_info()->scanEnableCfg, itv)
#define VESK_LOG_SWITCHES_BAND(band, itv)                                                                    \
    VESK_LOG(INFO, VESK_TEXT_SWITCHES_BAND_ITV, band, vesk_get_scan_status(),                                \
             vesk_get_scan_info()->scanEnableCfg, itv)

inline VeskScanCfg *scan_cfg(uint32_t band)
{
    return &vesk_get_scan_info()->scanCfg[band];
}
inline VeskRadioInfo *scan_radio(uint32_t band)
{
    return &vesk_get_radio_info()[band];
}
/** A radio's interface name, copied: the refresh may be changing it beside a scan thread. */
struct ScanName {
    char text[VESK_IFNAME_SIZE];
};
ScanName scan_radio_name(uint32_t band);
inline uint8_t scan_auto_enabled(int radio)
{
    return flag_load(&scan_cfg(static_cast<uint32_t>(radio))->bstaAuto.enableAuto);
}
/** The first radio with auto-connect on, or -1. */
int scan_auto_radio();
/** The chip that scans its whole list in one command and takes no periodic scans. */
bool scan_is_whole_band_chip(const VeskRadioInfo *radio);

/** An entry of a radio's list that stands in channelList. */
struct ScanEntry {
    int position; // in offChList
    uint32_t channel;
    int chIdx; // -1: no entry
};

/** Calls visit(entry) for the entries of a radio's list, in order, until one call returns false. */
template <class Visit>
void scan_walk(const VeskOffScanCfg *offScan, const VeskScanCfg *cfg, Visit visit)
{
    for (int i = 0; i < cfg->offChListNums; i++) {
        const uint32_t channel = cfg->offChList[i];
        const int chIdx = vesk_find_channel_idx(channel, offScan->channelList, offScan->channelNums);
        if (chIdx >= 0 && !visit(ScanEntry{ i, channel, chIdx }))
            return;
    }
}

// The flags of a cycle are shared by a first-scan thread and the passes.
inline bool scan_is_visited(const VeskScanCfg *cfg, int chIdx)
{
    return flag_load(&cfg->chScanned[chIdx]) != 0;
}
/** The first entry that isn't visited yet, which a step triggers and whose result its handler fetches;
 * look(entry) sees every entry up to it. */
template <class Look>
ScanEntry scan_next_unvisited(const VeskScanCfg *cfg, Look look)
{
    ScanEntry next{ 0, 0, -1 };
    scan_walk(vesk_get_scan_info(), cfg, [&](const ScanEntry &entry) {
        look(entry);
        if (scan_is_visited(cfg, entry.chIdx))
            return true;
        next = entry;
        return false;
    });
    return next;
}
inline int scan_visited_count(const VeskScanCfg *cfg)
{
    return flag_load(&cfg->alreadyScanCount);
}
/** Counts a channel as visited, once per cycle. */
void scan_mark_visited(VeskScanCfg *cfg, int chIdx);
/** Whether every channel of the radio that can be scanned has been visited. */
bool scan_is_cycle_complete(const VeskOffScanCfg *offScan, const VeskScanCfg *cfg);
/** Ends a completed cycle: flags and counts cleared, isScanEnd set. */
void scan_close_cycle(VeskScanCfg *cfg);
/** Forgets which channels have been visited. */
void scan_clear_visited(VeskScanCfg *cfg);

/** Argument of a trigger for one channel (0: the whole list); baseVap is empty if no interface can carry it.
 */
VeskScanParam scan_param(uint32_t band, uint32_t channel);
/** Asks the library for results and for a channel's neighbours; nothing without tables. */
void scan_fetch_results(const VeskOffScanCfg *offScan, const VeskScanCfg *cfg);
void scan_fetch_neighbors(const VeskOffScanCfg *offScan, const VeskScanCfg *cfg, uint32_t channel);
/** Asks the library for the operating channel's figures; a call that fails leaves them. */
VeskCurChannelInfo scan_read_cur_channel(uint32_t band);
/** Brings curChannelInfo up to date if the result at this position is the operating channel's. */
void scan_refresh_cur_channel(VeskRadioInfo *radio, int chIdx);

/** Whether scanning is on by configuration; logs it if not. */
bool scan_is_configured(VeskLogSite caller = VESK_CALLER);

/** One of a radio's one-shots: its member, and its handler for each radio. */
struct ScanTimer {
    uloop_timeout VeskScanCfg::*member;
    uloop_timeout_handler handlers[VESK_RADIOS];
};
/** Arms it, unless scanning is off by configuration. */
void scan_arm_timer(const ScanTimer &timer, uint32_t band, uint32_t itv, VeskLogSite caller = VESK_CALLER);
/** Logs the switches and cancels it. */
void scan_cancel_timer(const ScanTimer &timer, uint32_t band, VeskLogSite caller = VESK_CALLER);

/** Whether a first scan of the radio is on its way. */
bool scan_has_run(uint32_t band);
/** Tells the first-scan threads to end and waits up to 600 ms. False if one is still inside the library. */
bool scan_stop_threads();

// --- the interface that carries a scan ---

/** Its name into dst[16]; untouched if there is none. */
void vesk_get_base_vap(uint32_t band, char *dst);

// --- timers, their handlers and what these run ---

void vesk_stop_first_scan_ubus_timer(uint32_t band);
void vesk_scan_2G_first_ubus_handle(uloop_timeout *timer);
void vesk_scan_5GA_first_ubus_handle(uloop_timeout *timer);
/** Thread function; `arg` points to the radio's `band`. Always NULL. */
void *vesk_first_scanning(void *arg);

void vesk_start_scan_ubus_timer();
void vesk_stop_scan_ubus_timer();
void vesk_update_scan_ubus_handle(uloop_timeout *timer);
void vesk_start_period_scan_ubus_timer(uint32_t band, uint32_t itv); // seconds
void vesk_stop_period_scan_ubus_timer(uint32_t band);
void vesk_scan_2G_period_ubus_handle(uloop_timeout *timer);
void vesk_scan_5GA_period_ubus_handle(uloop_timeout *timer);
/** One scan step of a radio. */
void vesk_scan_process(uint32_t band);

void vesk_start_scan_result_ubus_timer(uint32_t band, uint32_t itv); // seconds
void vesk_stop_scan_result_ubus_timer(uint32_t band);
void vesk_scan_2G_result_ubus_handle(uloop_timeout *timer);
void vesk_scan_5GA_result_ubus_handle(uloop_timeout *timer);
void vesk_smooth_channel_noise(VeskOffScanCfg *offScan, uint32_t band);
/** Bias of a channel's noise sample, dB. */
int vesk_get_noise_bias(int channel);

void vesk_set_2G_channel_ubus_handle(uloop_timeout *timer);
void vesk_set_5G_channel_ubus_handle(uloop_timeout *timer);
/** Applies the pending request; the outcome is also left in setResult. */
int vesk_set_channel_process(uint32_t band);

void vesk_set_backhaul_credential_ubus_handle(uloop_timeout *timer);
void vesk_bsta_auto_connect(uint32_t band, uint32_t);

void vesk_check_all_ready_ubus_handle(uloop_timeout *timer);
void vesk_stop_check_all_ready_ubus_timer();
