// The closed driver access library, librilk.so: its records and its operations. Every call is synchronous
// and may block; 0 is success. A radio or VAP is named by its inner interface name unless the parameter says
// otherwise. The scan operations may be called from several threads at once.
#pragma once

#include "include/vesk_wire.h"

/** A radio's interface name and the names of its VAPs; filled in place. */
struct [[gnu::packed]] VeskApIntfInfo {
    char radioIfname[16];
    int32_t vapNums;
    char vapIfname[VESK_WIRE_VAPS][16]; // inner names; an empty one is skipped
};
VESK_RECORD_SIZE(VeskApIntfInfo, 148);
VESK_RECORD_AT(VeskApIntfInfo, vapNums, 16);
VESK_RECORD_AT(VeskApIntfInfo, vapIfname, 20);

/** The driver's statistics record: carried, never interpreted. */
struct [[gnu::packed]] VeskIntfStats {
    uint64_t counters[16];
    uint16_t value1;
    uint16_t value2;
};
VESK_RECORD_SIZE(VeskIntfStats, 132);
VESK_RECORD_AT(VeskIntfStats, value1, 128);

/** An associated station; also the value kept in the station store, keyed by mac. */
struct [[gnu::packed]] VeskStaEntry {
    uint8_t mac[6];
    char vapIntf[16]; // inner name of the VAP
    int32_t rssi;     // dBm; -119 to -1 is valid
    int32_t value1;
    int32_t value2;  // same validity range as rssi
    int32_t isBhInt; // written by the station poll: 1 on a backhaul BSS
    int32_t tx;
    int32_t rx;
    char text1[64];
    int32_t value3;
    int32_t value4;
    uint32_t time; // the driver's time of the association; the smaller one wins
    uint16_t value5;
    uint8_t is11v;
    uint8_t is11k;
    uint8_t value6;
    char text2[16];
    int32_t bw; // written by the station poll: curBw of the VAP's radio
    VeskIntfStats stats;
    uint8_t value7;
};
VESK_RECORD_SIZE(VeskStaEntry, 280);
VESK_RECORD_AT(VeskStaEntry, vapIntf, 6);
VESK_RECORD_AT(VeskStaEntry, rssi, 22);
VESK_RECORD_AT(VeskStaEntry, value1, 26);
VESK_RECORD_AT(VeskStaEntry, value2, 30);
VESK_RECORD_AT(VeskStaEntry, isBhInt, 34);
VESK_RECORD_AT(VeskStaEntry, tx, 38);
VESK_RECORD_AT(VeskStaEntry, rx, 42);
VESK_RECORD_AT(VeskStaEntry, text1, 46);
VESK_RECORD_AT(VeskStaEntry, value3, 110);
VESK_RECORD_AT(VeskStaEntry, value4, 114);
VESK_RECORD_AT(VeskStaEntry, time, 118);
VESK_RECORD_AT(VeskStaEntry, is11v, 124);
VESK_RECORD_AT(VeskStaEntry, is11k, 125);
VESK_RECORD_AT(VeskStaEntry, value6, 126);
VESK_RECORD_AT(VeskStaEntry, text2, 127);
VESK_RECORD_AT(VeskStaEntry, bw, 143);
VESK_RECORD_AT(VeskStaEntry, stats, 147);
VESK_RECORD_AT(VeskStaEntry, value7, 279);

/** Figures of the operating channel. Unnamed values are the driver's. */
struct [[gnu::packed]] VeskCurChannelInfo {
    int32_t channel;
    uint32_t ccaInbss; // load figure held against rxThd
    int32_t value1;
    int32_t value2;
    uint64_t counter1;
    int32_t value3;
    int32_t ccaIdle;    // idle share, percent
    uint32_t ccaTxUtil; // utilisation figure held against txThd
    uint64_t counters2[4];
    int32_t noise; // dBm
    int32_t value4;
    int32_t time; // seconds since the epoch
    int32_t value5;
};
VESK_RECORD_SIZE(VeskCurChannelInfo, 84);
VESK_RECORD_AT(VeskCurChannelInfo, ccaInbss, 4);
VESK_RECORD_AT(VeskCurChannelInfo, counter1, 16);
VESK_RECORD_AT(VeskCurChannelInfo, value3, 24);
VESK_RECORD_AT(VeskCurChannelInfo, ccaIdle, 28);
VESK_RECORD_AT(VeskCurChannelInfo, ccaTxUtil, 32);
VESK_RECORD_AT(VeskCurChannelInfo, counters2, 36);
VESK_RECORD_AT(VeskCurChannelInfo, noise, 68);
VESK_RECORD_AT(VeskCurChannelInfo, value4, 72);
VESK_RECORD_AT(VeskCurChannelInfo, time, 76);
VESK_RECORD_AT(VeskCurChannelInfo, value5, 80);

/** Dynamic parameters of a radio. */
struct [[gnu::packed]] RilkRadioDynParams {
    int32_t bw; // bandwidth index
    char bond[8];
    char operatingStandards[32];
    uint8_t unread[12];
};
VESK_RECORD_SIZE(RilkRadioDynParams, 56);
VESK_RECORD_AT(RilkRadioDynParams, bond, 4);
VESK_RECORD_AT(RilkRadioDynParams, operatingStandards, 12);

/** Access control entry of a VAP. */
struct [[gnu::packed]] RilkAclMac {
    uint8_t operation; // 0 or 1
    uint8_t mac[6];
};
VESK_RECORD_SIZE(RilkAclMac, 7);

/** Figures of one scanned channel; the library fills all but smoothedNoise, which only the daemon writes. */
struct [[gnu::packed]] VeskScanChannel {
    int32_t ch; // 0 or less: no result
    uint8_t cac;
    int32_t inC;
    int32_t chnUtil;      // percent
    int32_t noise;        // raw noise floor, dBm
    double smoothedNoise; // dBm; 0.0: no sample yet
};
VESK_RECORD_SIZE(VeskScanChannel, 25);
VESK_RECORD_AT(VeskScanChannel, cac, 4);
VESK_RECORD_AT(VeskScanChannel, inC, 5);
VESK_RECORD_AT(VeskScanChannel, chnUtil, 9);
VESK_RECORD_AT(VeskScanChannel, noise, 13);
VESK_RECORD_AT(VeskScanChannel, smoothedNoise, 17);

/** A neighbouring access point: allocated by the library with malloc, released by the daemon with free. */
struct [[gnu::packed]] VeskScanNeighbor {
    int32_t ch;     // 0 or less: empty
    char bssid[18]; // text form
    char ssid[65];
    int32_t rssi; // dBm
    uint16_t value1;
    uint16_t value2;
    char text[32];
};
VESK_RECORD_SIZE(VeskScanNeighbor, 127);
VESK_RECORD_AT(VeskScanNeighbor, bssid, 4);
VESK_RECORD_AT(VeskScanNeighbor, ssid, 22);
VESK_RECORD_AT(VeskScanNeighbor, rssi, 87);
VESK_RECORD_AT(VeskScanNeighbor, value1, 91);
VESK_RECORD_AT(VeskScanNeighbor, value2, 93);
VESK_RECORD_AT(VeskScanNeighbor, text, 95);

inline constexpr int VESK_SCAN_CHANNELS = 64;               // rows of the neighbour table
inline constexpr int VESK_SCAN_NEIGHBORS_PER_CHANNEL = 128; // slots of a row

/** Argument of rilk_triggerScan. Built on the stack and zeroed before each use. */
struct [[gnu::packed]] VeskScanParam {
    uint8_t channel;  // channel to scan; 0: the radio's whole list
    int32_t dwell;    // milliseconds
    uint8_t reserved; // 0
    char baseVap[16]; // access point interface that carries the scan
};
VESK_RECORD_SIZE(VeskScanParam, 22);
VESK_RECORD_AT(VeskScanParam, dwell, 1);
VESK_RECORD_AT(VeskScanParam, baseVap, 6);

/** Channels under non-occupancy after a radar detection. */
struct [[gnu::packed]] RilkNolList {
    uint8_t count;
    uint8_t channels[VESK_WIRE_NOL_CHANNELS];
};
VESK_RECORD_SIZE(RilkNolList, 60);

/** Auto-connect setting of a backhaul station. */
struct [[gnu::packed]] VeskBstaAuto {
    int32_t band; // band word as the client gave it
    char ifName[16];
    uint8_t enableAuto;
    uint8_t needSetRadar;
    uint8_t radarCheckSkip;
};
VESK_RECORD_SIZE(VeskBstaAuto, 23);
VESK_RECORD_AT(VeskBstaAuto, ifName, 4);
VESK_RECORD_AT(VeskBstaAuto, enableAuto, 20);

/** Credential that a backhaul station is to join with. */
struct [[gnu::packed]] VeskBackhaulCred {
    int32_t band;
    char ifName[16];
    char ssid[65];
    char ssidKey[65];
    int32_t encryption;
    int32_t authMode;
    uint8_t bssid[6]; // may be all zero
    uint8_t channel;
    int32_t bw;
};
VESK_RECORD_SIZE(VeskBackhaulCred, 169);
VESK_RECORD_AT(VeskBackhaulCred, ifName, 4);
VESK_RECORD_AT(VeskBackhaulCred, ssid, 20);
VESK_RECORD_AT(VeskBackhaulCred, ssidKey, 85);
VESK_RECORD_AT(VeskBackhaulCred, encryption, 150);
VESK_RECORD_AT(VeskBackhaulCred, authMode, 154);
VESK_RECORD_AT(VeskBackhaulCred, bssid, 158);
VESK_RECORD_AT(VeskBackhaulCred, channel, 164);
VESK_RECORD_AT(VeskBackhaulCred, bw, 165);

struct [[gnu::packed]] RilkBcnElement {
    uint8_t id;
    uint8_t length;
    uint8_t data[255];
};
VESK_RECORD_SIZE(RilkBcnElement, 257);

/** Beacon request in the driver's form: the channel list stands behind the elements. */
struct [[gnu::packed]] RilkBeaconReq {
    uint8_t mac[6];
    uint8_t value1;
    uint8_t value2;
    uint8_t bssid[6];
    uint8_t value3;
    char ssid[65]; // 64 characters at most, zeros behind them
    uint8_t elementNums;
    RilkBcnElement elements[64];
    uint8_t listNums;
    uint8_t list[VESK_WIRE_BCN_CHANNELS];
    uint8_t value4;
};
VESK_RECORD_SIZE(RilkBeaconReq, 16595);
VESK_RECORD_AT(RilkBeaconReq, bssid, 8);
VESK_RECORD_AT(RilkBeaconReq, ssid, 15);
VESK_RECORD_AT(RilkBeaconReq, elementNums, 80);
VESK_RECORD_AT(RilkBeaconReq, elements, 81);
VESK_RECORD_AT(RilkBeaconReq, listNums, 16529);
VESK_RECORD_AT(RilkBeaconReq, list, 16530);
VESK_RECORD_AT(RilkBeaconReq, value4, 16594);

struct [[gnu::packed]] RilkBtmTarget {
    uint8_t bssid[6];
    uint8_t value1;
    uint8_t value2;
    uint8_t reserved[4];
};
VESK_RECORD_SIZE(RilkBtmTarget, 12);

/** BSS transition management request in the driver's form. */
struct [[gnu::packed]] RilkBtmReq {
    uint8_t mac[6];
    uint8_t value1;
    uint8_t value2;
    uint16_t value3;
    uint8_t targetNums;
    RilkBtmTarget targets[VESK_WIRE_BTM_TARGETS];
};
VESK_RECORD_SIZE(RilkBtmReq, 395);
VESK_RECORD_AT(RilkBtmReq, value3, 8);
VESK_RECORD_AT(RilkBtmReq, targetNums, 10);
VESK_RECORD_AT(RilkBtmReq, targets, 11);

extern "C" {
int rilk_initDriver(void);
int rilk_update_debuglevel(int32_t level);

int rilk_getRadioApInterfaceInfo(int32_t radioIdx, VeskApIntfInfo *info);
int rilk_getRadioChipName(const char *radioIfname, int32_t size, char *chipName);
int rilk_getRadioStatus(const char *radioIfname, uint8_t *status);
int rilk_getRadioDynParamters(const char *radioIfname, RilkRadioDynParams *params);
int rilk_getRadioCurChannel(const char *radioIfname, int32_t *channel);
int rilk_getRadioTxpower(const char *radioIfname, float *power);
int rilk_getCurChannelInfo(const char *radioIfname, VeskCurChannelInfo *info);

int rilk_getVapBssid(const char *ifName, uint8_t *bssid); // 6 bytes
int rilk_getVapSsid(const char *ifName, int32_t size, char *ssid);
int rilk_getVapStatus(const char *ifName, uint8_t *status);
int rilk_setRRMEnable(const char *ifName, int32_t enable);
int rilk_setWNMEnable(const char *ifName, int32_t enable);

int rilk_getRadioIfStat(const char *radioIfname, VeskIntfStats *stats);
int rilk_getVapIfStat(const char *ifName, VeskIntfStats *stats);

int rilk_getVapAssocStationNumber(const char *ifName, int32_t *number);
int rilk_getVapAssocStationMac(const char *ifName, int32_t position, uint8_t *mac); // position from 1
int rilk_getVapAssocStationInfo(const char *ifName, const uint8_t *mac, VeskStaEntry *entry);
int rilk_getAssocReqFrame(const char *ifName, const uint8_t *mac, uint32_t *length, uint8_t *frame);
int rilk_disConnectSta(const char *ifName, const char *mac); // mac as text
int rilk_setVapAclMac(const char *ifName, const RilkAclMac *acl);

int rilk_initScanChannelList(const uint32_t *channelList, int32_t channelNums);
int rilk_setMinMaxDwellTime(const char *radio, int32_t dwellMin, int32_t dwellMax); // milliseconds
int rilk_triggerScan(const char *radioIfname, const VeskScanParam *param);
int rilk_setEnableNoiseFloor(const char *radio);
int rilk_getScanChannelResult(const char *radio, VeskScanChannel **channels);
int rilk_getScanNeighborApOneChannel(const char *radio, int32_t channel, VeskScanNeighbor **neighbors);

int rilk_setRadioCurChannel(const char *radioIfname, int32_t channel);
int rilk_setRadioChanSpec(const char *radioIfname, int32_t bandwidth, int32_t channel);
int rilk_getChannelNolList(const char *radioIfname, RilkNolList *list);

int rilk_setBstaAutoConnect(const VeskBstaAuto *autoConnect);
int rilk_applyBackhaulCredentialToBsta(const VeskBackhaulCred *cred);

int rilk_sendBeaconReq(const char *ifName, const RilkBeaconReq *req);
int rilk_sendBTMReq(const char *ifName, const RilkBtmReq *req);
int rilk_addVendorIE(const char *ifName, uint32_t pktType, const uint8_t *data, uint32_t dataLen);
int rilk_delVendorIE(const char *ifName, uint32_t pktType, const uint8_t *data, uint32_t dataLen);

int rilk_cleanHwFwdRule(const char *radioIfname);
int rilk_set8021dotqCfg(const char *ifName, const VeskDot1qCfg *cfg);
}
