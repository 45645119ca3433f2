// What the files of this folder share, and nobody else uses.
#pragma once

#include "source/vesk_interface/vesk_interface.h"

/** What refreshes and pollers remember for the life of the process. */
struct VeskModelState {
    uint32_t radioInited[VESK_RADIOS]; // 1: has been through its first refresh
    uint32_t vapInited[VESK_VAPS];     // 1: the slot has been through a full pass
    int32_t pollCnt[VESK_RADIOS];      // channel polls since the last full read
};
VeskModelState *vesk_get_model_state();

// --- look-ups ---

/** Radio index by interface name, or -1. */
int vesk_getRadioIdxByName(const char *name);
/** The slot that a name has or would get: the first that is free or bears it; 16 if there is none, 0 for
 * NULL. */
uint32_t vesk_find_vap_slot(const char *name);
/** Up, on a radio that is up, and of mode exactly "ap"; logs at DEBUG. */
bool vesk_is_active_ap_interface(const VeskVapInfo *vap);
/** Whether two transmit powers are the same value. A driver that answers "not a number" twice has changed
 * nothing. */
bool vesk_is_same_power(float one, float other);

// --- refresh ---

/** Refreshes both radio records; channel, bandwidth and power only the first time. */
void vesk_update_radio_info();
/** Refreshes all VAP records and radioMac; announces what changed. */
void vesk_update_vap_info();
void vesk_init_vap_info(const char *radio, const char *ifName, int band);
void vesk_init_bsta_info(const char *radio, int actualBand);
/** Asks the driver for a radio's interface name and VAP names. Names come back terminated, vapNums within
 * 0..8; a call that fails leaves the names as they were. */
void vesk_refresh_ap_intf(int radioIdx);

// --- interface refresh (polled by the timer service, or triggered) and statistics ---

void vesk_start_intf_timer();
void vesk_update_intf(uint32_t, uint32_t);
void vesk_retrigger_intf_handle(uloop_timeout *timer);
void vesk_stop_intf_event_timer();
void vesk_start_intf_stat_timer();
void vesk_stop_intf_stat_timer();
void vesk_update_intf_stats();
void vesk_update_intf_stats_ubus_handle(uloop_timeout *timer);

// --- station poll ---

void vesk_start_sta_timer();
void vesk_stop_sta_timer();
void vesk_update_sta_ubus_handle(uloop_timeout *timer);
int vesk_sta_hash(const void *key);
int vesk_sta_mac_cmp(Kvhmgr *mgr, const void *entry, const void *key);

// --- channel change poll ---

void vesk_start_channel_change_timer();
void vesk_stop_channel_change_timer();
/** One poll of both radios; `timer` is re-armed, NULL polls once. */
void vesk_channel_change_handle(uloop_timeout *timer);
