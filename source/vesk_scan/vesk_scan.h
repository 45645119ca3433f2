// Scanning: the record's set-up and switches, the first scan on its threads, the periodic scan, results and
// noise, channel setting, backhaul auto-connect and credentials, readiness. `band` is the radio index here.
#pragma once

#include "include/vesk_scan.h"

// --- record ---

void vesk_init_scan_info();
/** Stops all scan timers and threads and frees the tables. */
void vesk_destory_scan_info();
void vesk_reset_scan_status();
/** Rebuilds lists and tables if a radio's status changed since. */
void vesk_reset_scan_info();
/** Writes every occupied neighbour slot to stderr. */
void vesk_print_scan_info();
/** Switches scanning; one byte of `enable` counts, and auto-connect overrides a request to scan. */
void vesk_set_scan_status(uint32_t enable);
uint8_t vesk_get_scan_status();
/** The interface that carries a scan, into dst[16]; untouched if there is none. */
void vesk_get_base_vap(uint32_t band, char *dst);
/** First position of a channel in a list, or -1. */
int vesk_find_channel_idx(uint32_t channel, const uint32_t *list, int count);
/** The result record of a position in channelList; NULL without tables. */
VeskScanChannel *vesk_scan_channel_at(int chIdx);

// --- first scan ---

void vesk_start_first_scan_ubus_timer(uint32_t band, uint32_t itv); // seconds
void vesk_stop_first_scan_ubus_timer(uint32_t band);
void vesk_scan_2G_first_ubus_handle(uloop_timeout *timer);
void vesk_scan_5GA_first_ubus_handle(uloop_timeout *timer);
/** Thread function; `arg` points to the radio's `band`. Always NULL. */
void *vesk_first_scanning(void *arg);
/** 1 when both radios' first scans are over. */
uint32_t vesk_first_scanning_is_end();

// --- periodic scan and results ---

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
/** Asks for a new first scan; refused while one is owed. */
void vesk_retrigger_scan(uint32_t band);
void vesk_smooth_channel_noise(VeskOffScanCfg *offScan, uint32_t band);
/** Bias of a channel's noise sample, dB. */
int vesk_get_noise_bias(int channel);

// --- channel setting ---

/** The bus's bandwidth index for the driver's and the other way round: 0 to 4, or 5 for none and for anything
 * else. */
int32_t vesk_map_bandwidth(int32_t bw);
void vesk_start_set_channel_timer(uint32_t band);
void vesk_stop_set_channel_timer(uint32_t band);
void vesk_set_2G_channel_ubus_handle(uloop_timeout *timer);
void vesk_set_5G_channel_ubus_handle(uloop_timeout *timer);
/** Applies the pending request; the outcome is also left in setResult. */
int vesk_set_channel_process(uint32_t band);

// --- backhaul station ---

/** Logs a credential under the function it stands in. The key stays out of the log, which anybody can read.
 */
#define VESK_LOG_CREDENTIAL(cred)                                                                            \
    VESK_LOG(INFO,                                                                                           \
             " band=%d, ifName=%s, ssid=%s, ssidKey=%s, encryption=%d, authMode=%d, "                        \
             "bssid=%02x:%02x:%02x:%02x:%02x:%02x, channel=%d, bw=%d\n",                                     \
             (cred).band, (cred).ifName, (cred).ssid, (cred).ssidKey[0] ? "***" : "", (cred).encryption,     \
             (cred).authMode, VESK_MAC_ARGS((cred).bssid), (cred).channel, (cred).bw)

void vesk_set_bsta_auto_status(uint32_t enable);
uint32_t vesk_start_backhaul_credential_timer();
uint32_t vesk_stop_backhaul_credential_timer();
void vesk_set_backhaul_credential_ubus_handle(uloop_timeout *timer);
void vesk_start_bsta_auto_connect_timer(uint32_t band, uint32_t itv); // seconds
void vesk_stop_bsta_auto_connect_timer(uint32_t band);
void vesk_bsta_auto_connect(uint32_t band, uint32_t);

// --- readiness ---

void vesk_check_all_ready();
void vesk_check_all_ready_ubus_handle(uloop_timeout *timer);
void vesk_stop_check_all_ready_ubus_timer();
