// What tests begin with: a filled model of the device, the daemon as scanning sees it, the records that events look
// into.
#pragma once

#include "tests/unit/common.h"

inline void begin_device() {
    fake_reset(), fake_load_product();
    fakeLibc.runSystem = false;
}

inline void fill_model() { vesk_update_radio_info(), vesk_update_vap_info(), fakeDevice.log.clear(); }

using Channels = std::vector<uint8_t>;

/** A filled model and the default configuration of scans; nothing is armed, no table is there yet. */
inline void begin_scans(const Channels &channels0 = { 1, 6, 11 }, const Channels &channels1 = { 36, 40, 44, 48 }) {
    vesk_destory_scan_info(), begin_device();
    VeskOffScanCfg *scan = vesk_get_scan_info();
    scan->scanEnable = scan->scanEnableCfg = 1, scan->firstScanItv = 10;
    for (uint32_t i = 0; i < 2; i++) {
        const Channels &channels = i == 0 ? channels0 : channels1;
        fakeDevice.radio[i].channels.chListNums = static_cast<int32_t>(channels.size());
        std::copy(channels.begin(), channels.end(), fakeDevice.radio[i].channels.chList);
        VeskScanCfg *cfg = scan_cfg(i);
        cfg->scanItv = 60, cfg->dwellMax = 150, cfg->rxThd = cfg->txThd = 10, cfg->noiseEval = 5;
    }
    fill_model();
}

/** Scans beside other threads. */
struct ScanTest : testing::Test {
    VeskRadioInfo *radio = vesk_get_radio_info();
    VeskOffScanCfg *scan = vesk_get_scan_info();
    void SetUp() override { begin_scans(); }
    void TearDown() override { vesk_destory_scan_info(); }
};

// Events: ath0 on radio 0, ath10 on radio 1, backhaul station apcli0.

inline void fill_event_records() {
    fake_reset();
    VeskVapInfo *vap = vesk_get_vap_info();
    strcpy(vap[0].ifName, "ath0"), strcpy(vap[1].ifName, "ath10"), strcpy(vap[2].ifName, "apcli0");
    strcpy(vap[1].ssid, "home5");
    vap[1].bssid[5] = 0xb1, vap[1].band = 1, vap[2].vapAttr = 0x80;
    vap[1].actualBand = 0x103; // of it and of the radio's values the low part goes out
    VeskRadioInfo *radio = &vesk_get_radio_info()[1];
    std::tie(radio->curChannel, radio->curFreq, radio->curBw) = std::tuple(0x124, 0x1143c, 0x102);
}

/** "signal bytes" of each. */
inline Texts sent() {
    Texts names;
    for (const FakeSignal &s : fakeBus.signals)
        names.push_back(s.name.substr(s.name.rfind('.') + 1) + " " + std::to_string(s.payload.size()));
    return names;
}
