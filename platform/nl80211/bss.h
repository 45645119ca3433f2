// Networks that the last scans heard, from the kernel's table.
#pragma once

#include <cstdint>

#include "platform/nl80211/list.h"

namespace radio
{

struct Bss {
    uint8_t bssid[6];
    uint32_t frequency; // MHz
    uint32_t age;       // ms since it was heard
    int rssi;           // dBm; 0 if the driver knows no dBm
    uint16_t width;     // MHz
    uint8_t phy;        // type by dot11PHYType: 7 HT, 9 VHT, 14 HE; 0 before 802.11n
    uint16_t capability;
    char ssid[33];
    char security[32];
};

/** All of an interface's phy. 0 or negative errno. */
int bss_list(uint32_t ifindex, List<Bss> &networks);

} // namespace radio
