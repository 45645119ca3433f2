// What the driver tells of stations: probes, joins, leaves, association responses. A join is completed from
// the records and the driver, sent, and noted in the capability store. The station table isn't written here:
// joins and leaves only bring its next poll forward, which finds the change by itself.
#include "source/vesk_drelm/drelm_private.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "foundation/shared.h"
#include "foundation/vesk_utils.h"
#include "source/vesk_main/log.h"
#include "source/vesk_main/records.h"
#include "source/vesk_station/vesk_station.h"

namespace
{

constexpr char stepOf[] = "wdev_client_join_event_process";
constexpr int poll_at_entry = 100; // milliseconds; holds if the handler gives up half-way
constexpr int poll_after_event = 1000;

/** The fields that the records know better than the driver's event. */
void fill_from_records(VeskClientJoin *join, const VeskVapInfo *vap, const VeskRadioInfo *radio,
                       const char *ifName)
{
    join->bw = static_cast<uint8_t>(radio->curBw);
    join->channel = static_cast<uint8_t>(radio->curChannel);
    join->frequency = static_cast<uint16_t>(radio->curFreq);
    join->radioId = static_cast<uint8_t>(vap->actualBand);
    memset(join->ssid, 0, sizeof join->ssid);
    vesk_util_strncpy(join->ssid, vap->ssid, sizeof join->ssid);
    put_outer_name(join->ifName, ifName);
}

void fill_bssid(VeskClientJoin *join, const VeskVapInfo *vap, int vapIdx)
{
    if (!mac_is_zero(join->bssid))
        return;
    VESK_LOG_AS(stepOf, INFO, " MAC is zero so use vapDb bssid, vapIdx=%d, vapName=%s\r\n\n", vapIdx,
                vap->ifName);
    memcpy(join->bssid, vap->bssid, sizeof join->bssid);
}

/** Replaces the frame that the event brought by the driver's, if the driver has one. */
void fetch_assoc_frame(VeskClientJoin *join, const char *ifName)
{
    const uint16_t announced = join->assoc_req_len;
    if (announced == 0)
        return;
    uint8_t frame[VESK_ASSOC_REQ_MAX] = {};
    uint32_t length = std::min<uint32_t>(announced, VESK_ASSOC_REQ_MAX);
    if (rilk_getAssocReqFrame(ifName, join->mac_addr, &length, frame) != 0)
        return;
    VESK_LOG_AS(stepOf, DEBUG,
                " Get assoc req frame: vap=%s, mac=%02x:%02x:%02x:%02x:%02x:%02x, assoc_req_len=%d, "
                "assoc_len=%d.\r\n\n",
                ifName, VESK_MAC_ARGS(join->mac_addr), announced, static_cast<int>(length));
    if (length == 0) {
        join->assoc_req_len = 0;
        VESK_LOG_AS(stepOf, ERROR,
                    " Get assoc req frame: vap=%s, mac=%02x:%02x:%02x:%02x:%02x:%02x, assoc_req_len=0, "
                    "error!\r\n\n",
                    ifName, VESK_MAC_ARGS(join->mac_addr));
        return;
    }
    length = std::min<uint32_t>(length, VESK_ASSOC_REQ_MAX);
    join->assoc_req_len = static_cast<uint16_t>(length);
    memcpy(join->assoc_req, frame, length);
}

/** The frame's bytes on stderr, a line end behind every tenth and the first; in one write. */
void dump_assoc_frame(const VeskClientJoin *join)
{
    char text[VESK_ASSOC_REQ_MAX * 5 + (VESK_ASSOC_REQ_MAX / 10 + 2) * 3 + 1];
    char *end = text;
    const auto append = [&](const char *piece, int length) {
        memcpy(end, piece, static_cast<size_t>(length));
        end += length;
    };
    const int count = std::min<int>(join->assoc_req_len, VESK_ASSOC_REQ_MAX);
    for (int i = 0; i < count; i++) {
        char piece[8];
        append(piece, snprintf(piece, sizeof piece, "[%02x] ", join->assoc_req[i]));
        if (i % 10 == 0)
            append(" \r\n", 3);
    }
    append(" \r\n", 4); // with its terminator
    fputs(text, stderr);
}

void wdev_client_join_dump(const VeskClientJoin *join)
{
    if (flag_load(&vesk_get_vesk_info()->logLevel) < VESK_LEVEL_DEBUG)
        return;
    fprintf(stderr,
            "mac_addr=[%02x:%02x:%02x:%02x:%02x:%02x], rssi=%d, channel=%d, frequency=%d, bw=%d, opClass=%d, "
            "radioId=%d\r\n",
            VESK_MAC_ARGS(join->mac_addr), join->rssi, join->channel, join->frequency, join->bw,
            join->opClass, join->radioId);
    fprintf(stderr, "ssid=%s, bssid=[%02x:%02x:%02x:%02x:%02x:%02x], assoc_time=%d, assoc_req_len=%d\r\n",
            join->ssid, VESK_MAC_ARGS(join->bssid), join->assoc_time, join->assoc_req_len);
    dump_assoc_frame(join);
}

void log_sent(const char *signal, const char *ifName, const uint8_t *mac, VeskLogSite caller = VESK_CALLER)
{
    VESK_LOG_AS(caller, INFO, VESK_TEXT_SENT_CLIENT, VESK_BUS_OBJECT, signal, ifName, VESK_MAC_ARGS(mac));
}

} // namespace

int wdev_client_join_event_process(void *body, const char *ifName)
{
    VESK_LOG(INFO, " Enter wdev_client_join_event_process\n");
    if (is_missing(body, ifName))
        return -1;
    const int vapIdx = vesk_getVapIdxByName(ifName);
    if (vapIdx < 0)
        return -1;
    const VeskVapInfo *vap = &vesk_get_vap_info()[vapIdx];
    vesk_retrigger_sta_timer(poll_at_entry);
    if (vap->band < 0 || vap->band >= VESK_RADIOS) {
        VESK_LOG_RANGE(vap->band, 0, VESK_RADIOS);
        return -1;
    }

    auto *event = static_cast<VeskClientJoinEvent *>(body);
    VeskClientJoin *join = &event->join;
    fill_from_records(join, vap, &vesk_get_radio_info()[vap->band], ifName);
    VESK_LOG(DEBUG, " vesk evt 11v---%d, 11k-----%d\n\n", event->cap[0] >> 7, event->cap[1] & 1);
    fill_bssid(join, vap, vapIdx);
    fetch_assoc_frame(join, ifName);
    const uint16_t length = join->assoc_req_len; // by value: the member is misaligned
    join->assoc_req_len = std::min<uint16_t>(length, VESK_ASSOC_REQ_MAX);
    wdev_client_join_dump(join);
    send_record(VESK_SIGNAL_CLIENT_JOIN, join);
    log_sent(VESK_SIGNAL_CLIENT_JOIN, ifName, join->mac_addr);
    vesk_set_sta_cap(join->mac_addr, event->cap);
    vesk_retrigger_sta_timer(poll_after_event);
    return 0;
}

int wdev_client_leave_event_process(void *body, const char *ifName)
{
    VESK_LOG(INFO, " Enter wdev_client_leave_event_process\n");
    if (is_missing(body, ifName))
        return -1;
    auto *event = static_cast<VeskClientLeave *>(body);
    put_outer_name(event->ifName, ifName);
    vesk_retrigger_sta_timer(poll_at_entry);
    send_record(VESK_SIGNAL_CLIENT_LEAVE, event);
    log_sent(VESK_SIGNAL_CLIENT_LEAVE, ifName, event->mac);
    vesk_unset_sta_cap(event->mac);
    vesk_retrigger_sta_timer(poll_after_event);
    return 0;
}

int wdev_sta_disassoc_process(void *body, const char *ifName)
{
    VESK_LOG(ERROR, " Enter wdev_sta_disassoc_process\n");
    if (is_missing(body, ifName))
        return -1;
    auto *event = static_cast<VeskStaDisassoc *>(body);
    put_outer_name(event->ifname, ifName);
    VESK_LOG(NOTICE, " sta mac=[%02x:%02x:%02x:%02x:%02x:%02x] disassoc, ifname=%s, reason code %d\n",
             VESK_MAC_ARGS(event->mac), event->ifname, event->reasonCode);
    return 0;
}

int wdev_map_r2_assoc_resp_process(void *body, const char *ifName)
{
    VESK_LOG(ERROR, " Enter wdev_map_r2_assoc_resp_process\n");
    if (is_missing(body, ifName))
        return -1;
    auto *event = static_cast<VeskMapR2AssocResp *>(body);
    put_outer_name(event->ifname, ifName);
    VESK_LOG(ERROR, " vid=%d, pcp=%d, ifname=%s,peer mac=[%02x:%02x:%02x:%02x:%02x:%02x]\n", event->vid,
             event->pcp, event->ifname, VESK_MAC_ARGS(event->peerMac));
    VeskDot1qCfg *cfg = vesk_get_dot1q_cfg(); // the driver isn't told: it is where the setting comes from
    cfg->vid = event->vid;
    cfg->pcp = event->pcp;
    send_record(VESK_SIGNAL_MAP_R2_ASSOC_RESP, event);
    return 0;
}

int wdev_probe_req_event_process(void *body, const char *ifName)
{
    if (is_missing(body, ifName))
        return -1;
    auto *event = static_cast<VeskProbeReq *>(body);
    put_outer_name(event->ifName, ifName);
    VeskStaMon *monitored = vesk_sta_mon_get(event->mac, event->channel);
    if (monitored == nullptr)
        return 0;
    VESK_LOG(DEBUG, " station is in sta mon , save ifName[%s], RSSI[%d]\n", event->ifName, event->rssi);
    memcpy(monitored->ifName, event->ifName, sizeof monitored->ifName);
    monitored->rssi = event->rssi;
    monitored->lastProbeTime = get_current_time();
    return 0;
}

int wdev_probe_resq_event_process(void *body, const char *ifName)
{
    if (is_missing(body, ifName))
        return -1;
    put_outer_name(*static_cast<char(*)[VESK_IFNAME_SIZE]>(body), ifName);
    return 0;
}
