// What the event tests share: ath0 on radio 0, ath10 on radio 1, backhaul station apcli0.
#pragma once

#include <tuple>

#include "source/vesk_drelm/drelm_private.h"
#include "source/vesk_station/vesk_station.h"
#include "tests/unit/common.h"

inline const Bytes STA = { 0x02, 0x11, 0x22, 0x33, 0x44, 0x55 };
#define STA_TEXT "02:11:22:33:44:55"

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
