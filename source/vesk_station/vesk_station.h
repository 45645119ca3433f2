// Stations without an association: the monitor's list, and the per-station capabilities that joins bring.
// Main loop only.
#pragma once

#include "foundation/ubus_headers.h"

inline constexpr int VESK_STA_MON_MAX = 1024; // nodes of the monitor list

/** A monitored station on one channel. */
struct VeskStaMon {
    VeskStaMon *next;
    uint8_t mac[6];
    int32_t channel;
    uint32_t queryTime; // seconds of the monotonic clock, like lastProbeTime
    char ifName[16];    // outer name of the interface that heard the last probe
    uint32_t lastProbeTime;
    int32_t rssi; // dBm; 0: nothing heard yet
    uint8_t needReport;
};

/** Seconds of the monotonic clock. */
uint32_t get_current_time();
/** First node with this MAC and, unless `channel` is 0, this channel; NULL if none. The list owns it. */
VeskStaMon *vesk_sta_mon_get(const uint8_t *mac, int channel);
/** Adds or refreshes a node. 0, or -1 for NULL, a full list or no memory. */
int vesk_sta_mon_set(const uint8_t *mac, int channel);
/** Removes the first matching node, if any. Always 0. */
int vesk_sta_mon_remove(const uint8_t *mac, int channel);
void vesk_sta_mon_destroy();
void vesk_start_sta_mon_timer();
void vesk_stop_sta_mon_timer();
void vesk_sta_mon_routine_check(uloop_timeout *timer);

void vesk_init_g_sta_cap();
/** Copies the station's three capability bytes to `cap`. 0, or -1 if the station isn't known. */
int vesk_get_sta_cap(const uint8_t *mac, uint8_t *cap);
/** Keeps bit 7 of capBytes[0] (802.11v) and bit 0 of capBytes[1] (802.11k). */
void vesk_set_sta_cap(const uint8_t *mac, const uint8_t *capBytes);
void vesk_unset_sta_cap(const uint8_t *mac);
