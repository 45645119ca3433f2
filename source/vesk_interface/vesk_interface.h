// The device model: look-ups on the records, the refresh of radios and VAPs from the closed libraries, and
// the pollers that keep the records current. All of it runs on the main loop's thread.
#pragma once

#include "include/vesk_device.h"

// --- look-ups; they log nothing unless stated ---

/** Radio index (0 or 1) of a band word, -1 if no radio runs on it. */
int vesk_getRadioIdxByBand(int actualBand);
/** Radio index by interface name, or -1. */
int vesk_getRadioIdxByName(const char *name);
/** VAP slot by inner name, free slots included (the empty name finds the first free slot), or -1. */
int vesk_getVapIdxByName(const char *name);
/** The slot that a name has or would get: the first that is free or bears it; 16 if there is none, 0 for
 * NULL. */
uint32_t vesk_find_vap_slot(const char *name);
/** The radio's status, 0 for NULL or a radio without an interface name. */
uint8_t vesk_is_active_radio(const VeskRadioInfo *radio);
bool vesk_is_bsta_intf(const char *name);
bool vesk_is_backhaul_intf(const char *name);
/** Up, on a radio that is up, and of mode exactly "ap"; logs at DEBUG. */
bool vesk_is_active_ap_interface(const VeskVapInfo *vap);
/** Inner form (cut at the first ".", at most 15 characters) into dst[16]. 0, or -1 for a null pointer. */
int vesk_get_intf_inner_name(char *dst, const char *src);
/** Outer form (inner name and ".v0", where the device uses one) into dst[16]. 0, or -1 for a null pointer. */
int vesk_get_intf_outer_name(char *dst, const char *src);
/** Nothing to map on this device; 0. */
int vesk_update_intf_mapping();
/** NumberOfWifiRadios of the product configuration. */
int vesk_getCfgRadioCap();
/** The "sta" row of a band's product configuration row: its index in Vap, or -1 (the caller logs). */
int vesk_find_bsta_row(const VeskCfgWifi *wifi);

// --- device model: start, stop, refresh ---

void vesk_init_device_info();
void vesk_deinit_devide_info();
/** Refreshes both radio records; channel, bandwidth and power only the first time. */
void vesk_update_radio_info();
/** Refreshes all VAP records and radioMac; announces what changed. */
void vesk_update_vap_info();
void vesk_init_vap_info(const char *radio, const char *ifName, int band);
void vesk_init_bsta_info(const char *radio, int actualBand);

// --- interface refresh (polled by the timer service, or triggered) and statistics ---

void vesk_start_intf_timer();
void vesk_update_intf(uint32_t, uint32_t);
/** One triggered refresh `interval` seconds from now; a burst gives one refresh after its last. */
void vesk_retrigger_intf_timer(int interval);
void vesk_retrigger_intf_handle(uloop_timeout *timer);
void vesk_stop_intf_event_timer();
void vesk_start_intf_stat_timer();
void vesk_stop_intf_stat_timer();
void vesk_set_intf_stat_status(uint8_t status);
void vesk_update_intf_stats();
void vesk_update_intf_stats_ubus_handle(uloop_timeout *timer);
/** Clears radio 0's hardware forwarding rules. */
void vesk_clean_hw_fwd_rule();

/** Lets one uloop timer run the timer service from now on; stop cancels it. */
void vesk_start_timer_service();
void vesk_stop_timer_service();

// --- station poll ---

void vesk_start_sta_timer();
void vesk_stop_sta_timer();
void vesk_retrigger_sta_timer(int ms); // milliseconds, whatever the switch says
void vesk_set_sta_timer_status(uint8_t status);
void vesk_update_sta_ubus_handle(uloop_timeout *timer);
/** 1 if a station that is no backhaul station is in the store. */
int vesk_is_connected_fronthaul_station();
int vesk_sta_hash(const void *key);
int vesk_sta_mac_cmp(Kvhmgr *mgr, const void *entry, const void *key);

// --- channel change poll ---

void vesk_start_channel_change_timer();
void vesk_stop_channel_change_timer();
void vesk_set_channel_change_timer_status(uint8_t status);
/** One poll of both radios; `timer` is re-armed, NULL polls once. */
void vesk_channel_change_handle(uloop_timeout *timer);
