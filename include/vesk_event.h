// The event socket's datagrams, and the signals that the daemon sends and hears. A datagram is one driver
// event: header, then a body whose size follows from the event id. Packed, host byte order, nothing aligned.
#pragma once

#include "include/vesk_wire.h"

inline constexpr uint16_t VESK_EVENT_PORT = 42033; // UDP on 127.0.0.1
inline constexpr int VESK_EVENT_MAX = 4096;        // bytes of a datagram
inline constexpr int VESK_ASSOC_REQ_MAX = 512;     // bytes of an association request frame

enum VeskEventId : uint32_t {
    VESK_EVENT_PROBE_REQ = 1,
    VESK_EVENT_PROBE_RESP = 2,
    VESK_EVENT_CLIENT_JOIN = 3,
    VESK_EVENT_CLIENT_LEAVE = 4,
    VESK_EVENT_CH_CHANGE = 5,
    VESK_EVENT_CH_PASS_CAC = 6,
    VESK_EVENT_RADAR = 7,
    VESK_EVENT_BTM_QUERY = 8,
    VESK_EVENT_BTM_RESP = 9,
    VESK_EVENT_BEACON_REPORT = 10,
    VESK_EVENT_ENROLLEE_WPS = 11,
    VESK_EVENT_MAP_R2_ASSOC_RESP = 12,
    VESK_EVENT_STA_DISASSOC = 13,
    VESK_EVENT_UNSAFE_CHANNEL = 14,
};

// Full names of the outbound signals.
#define VESK_SIGNAL_CLIENT_JOIN "tamlo.pelk.vesk.veskClientJoin"
#define VESK_SIGNAL_CLIENT_LEAVE "tamlo.pelk.vesk.veskClientLeave"
#define VESK_SIGNAL_CH_CHANGE "tamlo.pelk.vesk.veskChChange"
#define VESK_SIGNAL_CH_PASS_CAC "tamlo.pelk.vesk.veskChPassCac"
#define VESK_SIGNAL_RADAR_NOTIF "tamlo.pelk.vesk.veskRadarNotif"
#define VESK_SIGNAL_BTM_QUERY "tamlo.pelk.vesk.veskBtmQuery"
#define VESK_SIGNAL_BTM_RESP "tamlo.pelk.vesk.veskBtmResp"
#define VESK_SIGNAL_BCN_REPORT "tamlo.pelk.vesk.veskBcnReport"
#define VESK_SIGNAL_ENROLLEE_WPS "tamlo.pelk.vesk.veskEnrolleeWpsFinish"
#define VESK_SIGNAL_MAP_R2_ASSOC_RESP "tamlo.pelk.vesk.veskMapR2AssocResp"
#define VESK_SIGNAL_UNSAFE_CHANNEL "tamlo.pelk.vesk.veskUnsafeChannel"
#define VESK_SIGNAL_IF_STATUS "tamlo.pelk.vesk.veskIfStatusChange"
#define VESK_SIGNAL_VAP_ATTR "tamlo.pelk.vesk.veskVapAttrChange"
#define VESK_SIGNAL_1905_VLAN_IF "tamlo.pelk.vesk.veskIEEE1905VlanIfChange"
#define VESK_SIGNAL_UNASSOC_METRICS "tamlo.pelk.vesk.veskUnassocClientMetrics"

// Full names of the inbound signals, the daemon's run-time switches.
#define VESK_SIGNAL_SET_LOG_LEVEL "tamlo.pelk.vesk.setLogLevel"
#define VESK_SIGNAL_SET_LOG_DESTINATION "tamlo.pelk.vesk.setLogDestination"
#define VESK_SIGNAL_SET_SCAN_ENABLE "tamlo.pelk.vesk.setScanEnable"
#define VESK_SIGNAL_NOTIFY_WLAN_CHANGE "tamlo.pelk.vesk.notifyWlanChange"
#define VESK_SIGNAL_SET_INTF_STAT_ENABLE "tamlo.pelk.vesk.setIntfStatEnable"
#define VESK_SIGNAL_SET_STA_ENABLE "tamlo.pelk.vesk.setStaEnable"
#define VESK_SIGNAL_SET_CHANNEL_CHANGE_ENABLE "tamlo.pelk.vesk.setChannelChangeEnable"
#define VESK_SIGNAL_SET_UBUS_OBJ "tamlo.pelk.vesk.setUbusObjSignal"
#define VESK_SIGNAL_NOTIFY_1905_VLAN_IF "tamlo.pelk.vesk.notifyIEEE1905VlanIntfChange"

/** Datagram header; the body follows. */
struct [[gnu::packed]] VeskEventHeader {
    uint32_t eventId;
    char ifName[37]; // inner name of the interface concerned
};
VESK_RECORD_SIZE(VeskEventHeader, 41);
VESK_RECORD_AT(VeskEventHeader, ifName, 4);

/** Event 1. The name at the start of a body is written by the daemon. */
struct [[gnu::packed]] VeskProbeReq {
    char ifName[16];
    uint8_t mac[6];
    uint8_t channel;
    int32_t rssi; // dBm
};
VESK_RECORD_SIZE(VeskProbeReq, 27);
VESK_RECORD_AT(VeskProbeReq, mac, 16);
VESK_RECORD_AT(VeskProbeReq, channel, 22);
VESK_RECORD_AT(VeskProbeReq, rssi, 23);

/** Signal of event 3. */
struct [[gnu::packed]] VeskClientJoin {
    char ifName[16];
    uint8_t mac_addr[6];
    int32_t rssi; // dBm
    uint8_t channel;
    uint16_t frequency; // MHz
    uint8_t bw;
    uint8_t opClass;
    uint8_t radioId; // band word
    char ssid[65];
    uint8_t bssid[6];
    uint16_t assoc_time;
    uint16_t assoc_req_len; // at most 512
    uint8_t assoc_req[VESK_ASSOC_REQ_MAX];
};
VESK_RECORD_SIZE(VeskClientJoin, 619);
VESK_RECORD_AT(VeskClientJoin, mac_addr, 16);
VESK_RECORD_AT(VeskClientJoin, rssi, 22);
VESK_RECORD_AT(VeskClientJoin, channel, 26);
VESK_RECORD_AT(VeskClientJoin, frequency, 27);
VESK_RECORD_AT(VeskClientJoin, bw, 29);
VESK_RECORD_AT(VeskClientJoin, opClass, 30);
VESK_RECORD_AT(VeskClientJoin, radioId, 31);
VESK_RECORD_AT(VeskClientJoin, ssid, 32);
VESK_RECORD_AT(VeskClientJoin, bssid, 97);
VESK_RECORD_AT(VeskClientJoin, assoc_time, 103);
VESK_RECORD_AT(VeskClientJoin, assoc_req_len, 105);
VESK_RECORD_AT(VeskClientJoin, assoc_req, 107);

/** Body of event 3: the signal's record and, not sent, the station's capabilities. */
struct [[gnu::packed]] VeskClientJoinEvent {
    VeskClientJoin join;
    uint8_t cap[2]; // byte 0 bit 7: 802.11v; byte 1 bit 0: 802.11k
};
VESK_RECORD_SIZE(VeskClientJoinEvent, 621);
VESK_RECORD_AT(VeskClientJoinEvent, cap, 619);

/** Event 4. */
struct [[gnu::packed]] VeskClientLeave {
    char ifName[16];
    uint8_t mac[6];
};
VESK_RECORD_SIZE(VeskClientLeave, 22);
VESK_RECORD_AT(VeskClientLeave, mac, 16);

/** Event 5; also built by the channel change poller. */
struct [[gnu::packed]] VeskChChange {
    uint8_t reason;  // 1: found by the poller
    uint8_t radioId; // band word
    uint8_t oldCh;
    uint8_t oldBw;
    uint8_t oldOpClass;
    char oldHwMode[32];
    float oldTxPower; // dBm
    uint8_t newCh;
    uint8_t newBw;
    uint8_t newOpClass;
    char newHwMode[32];
    float newTxPower; // dBm
    int32_t interfaceIndex;
};
VESK_RECORD_SIZE(VeskChChange, 84);
VESK_RECORD_AT(VeskChChange, oldHwMode, 5);
VESK_RECORD_AT(VeskChChange, oldTxPower, 37);
VESK_RECORD_AT(VeskChChange, newCh, 41);
VESK_RECORD_AT(VeskChChange, newHwMode, 44);
VESK_RECORD_AT(VeskChChange, newTxPower, 76);
VESK_RECORD_AT(VeskChChange, interfaceIndex, 80);

/** Events 6 (passed CAC) and 7 (radar): agreed between sender and receivers, carried unread. */
struct [[gnu::packed]] VeskRadarEvent {
    uint8_t data[6];
};
VESK_RECORD_SIZE(VeskRadarEvent, 6);

/** Event 8. */
struct [[gnu::packed]] VeskBtmQuery {
    char ifName[16];
    uint8_t query[266];
};
VESK_RECORD_SIZE(VeskBtmQuery, 282);

/** Event 9. */
struct [[gnu::packed]] VeskBtmResp {
    char ifName[16];
    uint8_t mac[6];
    uint8_t bssid[6]; // written by the daemon
    uint8_t response[268];
};
VESK_RECORD_SIZE(VeskBtmResp, 296);
VESK_RECORD_AT(VeskBtmResp, bssid, 22);

/** Event 10. */
struct [[gnu::packed]] VeskBcnReport {
    char ifName[16];
    uint8_t report[265];
};
VESK_RECORD_SIZE(VeskBcnReport, 281);

/** Event 11. */
struct [[gnu::packed]] VeskEnrolleeWps {
    char ifName[16];
    uint8_t mac_addr[6];
    uint8_t connected_bssid[6];
};
VESK_RECORD_SIZE(VeskEnrolleeWps, 28);
VESK_RECORD_AT(VeskEnrolleeWps, connected_bssid, 22);

/** Event 12. */
struct [[gnu::packed]] VeskMapR2AssocResp {
    char ifname[16];
    uint8_t peerMac[6];
    uint16_t vid;
    uint8_t pcp;
};
VESK_RECORD_SIZE(VeskMapR2AssocResp, 25);
VESK_RECORD_AT(VeskMapR2AssocResp, vid, 22);
VESK_RECORD_AT(VeskMapR2AssocResp, pcp, 24);

/** Event 13; no signal. */
struct [[gnu::packed]] VeskStaDisassoc {
    char ifname[16];
    uint8_t mac[6];
    uint16_t reasonCode;
};
VESK_RECORD_SIZE(VeskStaDisassoc, 24);
VESK_RECORD_AT(VeskStaDisassoc, reasonCode, 22);

/** Event 14. */
struct [[gnu::packed]] VeskUnsafeChannel {
    uint32_t ch_bitmap[3]; // 2.4 GHz, then two words of 5 GHz
};
VESK_RECORD_SIZE(VeskUnsafeChannel, 12);

/** Signal veskIfStatusChange. */
struct [[gnu::packed]] VeskIfStatus {
    char ifName[16];
    uint8_t status;
};
VESK_RECORD_SIZE(VeskIfStatus, 17);

/** Signal veskVapAttrChange. */
struct [[gnu::packed]] VeskVapAttr {
    char ifName[16];
    uint8_t attribute; // 1 the SSID changed, 2 the BSSID changed
};
VESK_RECORD_SIZE(VeskVapAttr, 17);

inline constexpr int VESK_1905_VLAN_IF_SIZE = 370; // opaque record, carried unread

/** Signal veskUnassocClientMetrics. */
struct [[gnu::packed]] VeskUnassocMetrics {
    char ifName[16]; // interface that heard the last probe
    uint8_t mac[6];
    uint8_t channel;
    int32_t rssi;  // dBm
    uint32_t time; // seconds of the monotonic clock
};
VESK_RECORD_SIZE(VeskUnassocMetrics, 31);
VESK_RECORD_AT(VeskUnassocMetrics, channel, 22);
VESK_RECORD_AT(VeskUnassocMetrics, rssi, 23);
VESK_RECORD_AT(VeskUnassocMetrics, time, 27);
