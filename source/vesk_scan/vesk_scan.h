// Scanning: the record's set-up and switches, first scans, channel setting, backhaul auto-connect and
// credentials, readiness. `band` is the radio index here.
#pragma once

#include "foundation/vesk_utils.h"
#include "include/vesk_scan.h"
#include "source/vesk_main/log.h"

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
/** First position of a channel in a list, or -1. */
int vesk_find_channel_idx(uint32_t channel, const uint32_t *list, int count);
/** The result record of a position in channelList; NULL without tables. */
VeskScanChannel *vesk_scan_channel_at(int chIdx);

// --- first scan ---

void vesk_start_first_scan_ubus_timer(uint32_t band, uint32_t itv); // seconds
/** Asks for a new first scan; refused while one is owed. */
void vesk_retrigger_scan(uint32_t band);
/** 1 when both radios' first scans are over. */
uint32_t vesk_first_scanning_is_end();

// --- channel setting ---

/** The bus's bandwidth index for the driver's and the other way round: 0 to 4, or 5 for none and for anything
 * else. */
int32_t vesk_map_bandwidth(int32_t bw);
void vesk_start_set_channel_timer(uint32_t band);
void vesk_stop_set_channel_timer(uint32_t band);

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
void vesk_start_bsta_auto_connect_timer(uint32_t band, uint32_t itv); // seconds
void vesk_stop_bsta_auto_connect_timer(uint32_t band);

// --- readiness ---

void vesk_check_all_ready();
