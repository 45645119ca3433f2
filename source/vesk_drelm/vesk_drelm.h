// Driver events: the loopback socket, the watchdog of the sibling daemon that sends them, and the publishers
// of what the daemon finds by itself. Main loop only.
#pragma once

#include "include/vesk_event.h"

void vesk_init_dev_event();
void vesk_deinit_dev_event();

void vesk_start_app_mon_timer();
void vesk_stop_app_mon_timer();

// Each sends its record and returns 0, or -1 without one. The first is also the handler of the driver's
// event.
int wdev_ch_change_event_process(void *body, const char *ifName);
int wdev_intf_change_event_process(VeskIfStatus *record, const char *ifName);
int wdev_vap_attr_change_event_process(VeskVapAttr *record, const char *ifName);
/** 370 bytes, carried unread; the caller has tested the size. */
int wdev_ieee1905_vlan_intf_change_event_process(void *record);
