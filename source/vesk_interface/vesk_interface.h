// The device model: look-ups on the records, start and stop, and what sets the refreshes and pollers going
// that keep the records current. All of it runs on the main loop's thread.
#pragma once

#include "include/vesk_device.h"

// --- look-ups; they log nothing unless stated ---

/** Radio index (0 or 1) of a band word, -1 if no radio runs on it. */
int vesk_getRadioIdxByBand(int actualBand);
/** VAP slot by inner name, free slots included (the empty name finds the first free slot), or -1. */
int vesk_getVapIdxByName(const char *name);
/** The radio's status, 0 for NULL or a radio without an interface name. */
uint8_t vesk_is_active_radio(const VeskRadioInfo *radio);
bool vesk_is_bsta_intf(const char *name);
bool vesk_is_backhaul_intf(const char *name);
/** Inner form (cut at the first ".", at most 15 characters) into dst[16]. 0, or -1 for a null pointer. */
int vesk_get_intf_inner_name(char *dst, const char *src);
/** Outer form (inner name and ".v0", where the device uses one) into dst[16]. 0, or -1 for a null pointer. */
int vesk_get_intf_outer_name(char *dst, const char *src);
/** Nothing to map on this device; 0. */
int vesk_update_intf_mapping();

// --- the model ---

/** Fills all records, then starts every poller and monitor. */
void vesk_init_device_info();
/** Stops them; the records stay. */
void vesk_deinit_devide_info();

/** One triggered refresh `interval` seconds from now; a burst gives one refresh after its last. */
void vesk_retrigger_intf_timer(int interval);
/** Brings the next station poll forward, whatever the poll's switch says. */
void vesk_retrigger_sta_timer(int ms);
void vesk_set_intf_stat_status(uint8_t status);
void vesk_set_sta_timer_status(uint8_t status);
void vesk_set_channel_change_timer_status(uint8_t status);

/** 1 if a station that is no backhaul station is in the store. */
int vesk_is_connected_fronthaul_station();
/** Clears radio 0's hardware forwarding rules. */
void vesk_clean_hw_fwd_rule();
