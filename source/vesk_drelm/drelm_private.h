// What the files of this folder share: the handlers of driver events, the interface name at the start of a
// body, and the way out to the bus. The records are packed and lie at any address: their members are read by
// value or as byte arrays only.
#pragma once

#include <cstring>

#include "foundation/ubus_headers.h"
#include "foundation/vesk_utils.h"
#include "include/merka.h"
#include "include/vesk_event.h"
#include "source/vesk_drelm/vesk_drelm.h"
#include "source/vesk_interface/vesk_interface.h"
#include "source/vesk_main/log.h"

/** Gets the body and the inner interface name, both inside the receive buffer, may change the body in place,
 * and returns 0, or -1 when it refuses; nobody looks at the result. */
using WdevHandler = int (*)(void *body, const char *ifName);

int wdev_probe_req_event_process(void *body, const char *ifName);
int wdev_probe_resq_event_process(void *body, const char *ifName);
int wdev_client_join_event_process(void *body, const char *ifName);
int wdev_client_leave_event_process(void *body, const char *ifName);
int wdev_ch_passed_cac_event_process(void *body, const char *ifName);
int wdev_radar_notif_process(void *body, const char *ifName);
int wdev_btm_query_event_process(void *body, const char *ifName);
int wdev_btm_resp_event_process(void *body, const char *ifName);
int wdev_beacon_report_process(void *body, const char *ifName);
int wdev_enrollee_wps_event_process(void *body, const char *ifName);
int wdev_map_r2_assoc_resp_process(void *body, const char *ifName);
int wdev_sta_disassoc_process(void *body, const char *ifName);
int wdev_unsafe_channel_event_process(void *body, const char *ifName);

/** Handler of an event id in the selected vendor's table, or NULL. */
WdevHandler vesk_get_eventCb(uint32_t id);
void vesk_related_app_check(uloop_timeout *timer);

/** Whether a handler was called without what it works on; logs it for the handler. */
inline bool is_missing(const void *body, VeskLogSite caller = VESK_CALLER)
{
    if (body == nullptr)
        VESK_LOG_NULL_AS(caller);
    return body == nullptr;
}
inline bool is_missing(const void *body, const char *ifName, VeskLogSite caller = VESK_CALLER)
{
    return is_missing(body != nullptr ? ifName : nullptr, caller);
}

/** Writes the outer form of an inner name into a body's name field; what the sender left there goes. */
inline void put_outer_name(char (&field)[VESK_IFNAME_SIZE], const char *ifName)
{
    memset(field, 0, sizeof field);
    vesk_get_intf_outer_name(field, ifName);
}

/** Sends a whole record as it stands. Nobody looks at the result: a lost signal is lost. */
template <class T>
void send_record(const char *signal, const T *record)
{
    merkaSendSignal(nullptr, signal, record, sizeof *record);
}
