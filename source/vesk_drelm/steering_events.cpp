// Answers of stations to steering and measurement, and the end of a WPS enrollment. The reports are carried
// unread: the name becomes the outer one, a BTM response gets the VAP's own BSSID. The traces on stderr are
// there whatever the log's level and destination.
#include "source/vesk_drelm/drelm_private.h"

#include <cstdio>
#include <cstring>

#include "source/vesk_main/log.h"
#include "source/vesk_main/records.h"

namespace
{

/** Events of which only the name at the start changes. */
template <class Body>
int forward_renamed(const char *signal, void *body, const char *ifName, VeskLogSite caller = VESK_CALLER)
{
    if (is_missing(body, ifName, caller))
        return -1;
    auto *event = static_cast<Body *>(body);
    put_outer_name(event->ifName, ifName);
    send_record(signal, event);
    return 0;
}

/** The VAP's record learns to which BSSID its WPS led; an interface without a record is passed over. */
void note_peer_bssid(const VeskEnrolleeWps *event, const char *ifName)
{
    const int vapIdx = vesk_getVapIdxByName(ifName);
    if (vapIdx < 0)
        return;
    VeskVapInfo *vap = &vesk_get_vap_info()[vapIdx];
    memcpy(vap->bstaPeerBssid, event->connected_bssid, sizeof vap->bstaPeerBssid);
    fprintf(stderr, "ifName=%s, key=%d, enrolleeWps->connected_bssid[%02x:%02x:%02x:%02x:%02x:%02x]\r\n",
            ifName, vapIdx, VESK_MAC_ARGS(event->connected_bssid));
}

} // namespace

int wdev_btm_query_event_process(void *body, const char *ifName)
{
    fputs("Enter wdev_btm_query_event_process\r\n", stderr);
    return forward_renamed<VeskBtmQuery>(VESK_SIGNAL_BTM_QUERY, body, ifName);
}

int wdev_beacon_report_process(void *body, const char *ifName)
{
    VESK_LOG(DEBUG, " Enter wdev_beacon_report_process\n");
    return forward_renamed<VeskBcnReport>(VESK_SIGNAL_BCN_REPORT, body, ifName);
}

int wdev_btm_resp_event_process(void *body, const char *ifName)
{
    fputs("Enter wdev_btm_resp_event_process\r\n", stderr);
    if (is_missing(body, ifName))
        return -1;
    const int vapIdx = vesk_getVapIdxByName(ifName);
    if (vapIdx < 0) {
        VESK_LOG_RANGE(vapIdx, 0, VESK_VAPS);
        return -1;
    }
    auto *event = static_cast<VeskBtmResp *>(body);
    put_outer_name(event->ifName, ifName);
    memcpy(event->bssid, vesk_get_vap_info()[vapIdx].bssid, sizeof event->bssid);
    send_record(VESK_SIGNAL_BTM_RESP, event);
    return 0;
}

int wdev_enrollee_wps_event_process(void *body, const char *ifName)
{
    fputs("Enter wdev_enrollee_wps_event_process\r\n", stderr);
    if (is_missing(body, ifName))
        return -1;
    auto *event = static_cast<VeskEnrolleeWps *>(body);
    put_outer_name(event->ifName, ifName);
    note_peer_bssid(event, ifName);
    fprintf(stderr,
            "ifName=%s, enrolleeWps->mac_addr=[%02x:%02x:%02x:%02x:%02x:%02x], "
            "enrolleeWps->connected_bssid[%02x:%02x:%02x:%02x:%02x:%02x]\r\n",
            ifName, VESK_MAC_ARGS(event->mac_addr), VESK_MAC_ARGS(event->connected_bssid));
    vesk_clean_hw_fwd_rule(); // before the signal: its receivers set up forwarding anew
    send_record(VESK_SIGNAL_ENROLLEE_WPS, event);
    return 0;
}
