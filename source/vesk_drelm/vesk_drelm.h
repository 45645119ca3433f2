// Driver events: the loopback socket, the watchdog of the sibling daemon, and the handlers that turn events
// into signals. A handler gets the body and the inner interface name, both inside the receive buffer, may
// change the body in place, and returns 0, or -1 when it refuses; nobody looks at the result. The interface
// and channel change handlers also publish what the daemon finds by itself. Main loop only.
#pragma once

#include "include/vesk_event.h"

#include "foundation/ubus_headers.h"

using WdevHandler = int (*)(void *body, const char *ifName);

void vesk_init_dev_event();
void vesk_deinit_dev_event();
/** Handler of an event id in the selected vendor's table, or NULL. */
WdevHandler vesk_get_eventCb(uint32_t id);

void vesk_start_app_mon_timer();
void vesk_stop_app_mon_timer();
void vesk_related_app_check(uloop_timeout *timer);

int wdev_probe_req_event_process(void *body, const char *ifName);
int wdev_probe_resq_event_process(void *body, const char *ifName);
int wdev_client_join_event_process(void *body, const char *ifName);
int wdev_client_leave_event_process(void *body, const char *ifName);
int wdev_ch_change_event_process(void *body, const char *ifName);
int wdev_ch_passed_cac_event_process(void *body, const char *ifName);
int wdev_radar_notif_process(void *body, const char *ifName);
int wdev_btm_query_event_process(void *body, const char *ifName);
int wdev_btm_resp_event_process(void *body, const char *ifName);
int wdev_beacon_report_process(void *body, const char *ifName);
int wdev_enrollee_wps_event_process(void *body, const char *ifName);
int wdev_map_r2_assoc_resp_process(void *body, const char *ifName);
int wdev_sta_disassoc_process(void *body, const char *ifName);
int wdev_unsafe_channel_event_process(void *body, const char *ifName);

int wdev_intf_change_event_process(VeskIfStatus *record, const char *ifName);
int wdev_vap_attr_change_event_process(VeskVapAttr *record, const char *ifName);
/** 370 bytes, carried unread; the caller has tested the size. */
int wdev_ieee1905_vlan_intf_change_event_process(void *record);
