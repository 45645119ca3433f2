// The scan record: channel lists, per-radio scan state and timers, the tables of results and neighbours. One
// static instance, reached through vesk_get_scan_info(). Packed in a fixed order, with the members that are
// used in place (pointers, timers, words shared between threads) aligned; its layout stays in the process.
#pragma once

#include "foundation/ubus_headers.h"
#include "include/rilk.h"

inline constexpr int VESK_BW_KEEP = 5; // bandwidth index that means: leave it

struct [[gnu::packed]] VeskScanCfg {
    char radio[16]; // radioIfname
    alignas(4) uint32_t offChList[VESK_SCAN_CHANNELS];
    alignas(4) int32_t offChListNums;
    alignas(4) uint32_t chScanned[VESK_SCAN_CHANNELS]; // by position in channelList, not in offChList
    alignas(4) int32_t alreadyScanCount;
    alignas(4) int32_t cycScanSend; // 1: a first scan stopped short, the periodic scan finishes the cycle
    alignas(4) int32_t dwellMin;    // milliseconds
    alignas(4) int32_t dwellMax;    // milliseconds
    alignas(4) int32_t scanItv;     // seconds
    alignas(4) int32_t txThd;       // percent
    alignas(4) int32_t rxThd;       // percent
    alignas(4) int32_t noiseEval;
    uint8_t isFirstScan; // 1: a first scan is owed
    uint8_t isSupportScan;
    alignas(4) int32_t bstaAutoTimer; // timer service identifier; -1: none
    uint8_t isScanEnd;                // 1: a full cycle has been completed
    VeskBstaAuto bstaAuto;
    alignas(alignof(uloop_timeout)) uloop_timeout resultTimer;
    alignas(alignof(uloop_timeout)) uloop_timeout periodTimer;
    alignas(alignof(uloop_timeout)) uloop_timeout firstTimer;
};

struct [[gnu::packed]] VeskOffScanCfg {
    uint8_t scanEnable;    // run-time switch; vesk_get_scan_status, vesk_set_scan_status
    uint8_t scanEnableCfg; // configured switch, fixed after start
    alignas(4) uint32_t channelList[VESK_SCAN_CHANNELS]; // radio 0's channels, then radio 1's
    alignas(4) int32_t channelNums;
    alignas(4) int32_t firstScanItv; // seconds
    alignas(4) int32_t scanTime;     // seconds since the epoch of the last 5 GHz result
    uint8_t needResetScan;
    alignas(alignof(uloop_timeout)) VeskScanCfg scanCfg[2];
    alignas(alignof(void *)) VeskScanChannel **channels;   // channelNums records; NULL: no tables
    alignas(alignof(void *)) VeskScanNeighbor **neighbors; // 64 x 128; NULL: no tables
    alignas(alignof(uloop_timeout)) uloop_timeout scanTimer;
    VeskBackhaulCred bhCred;
    alignas(alignof(uloop_timeout)) uloop_timeout bhCredTimer;
};
