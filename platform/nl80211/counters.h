// The statistics record: /sys has the interfaces' counters, the stations have the retries.
#pragma once

#include "include/rilk.h"
#include "platform/nl80211/device.h"

namespace radio
{

// Fill a zeroed record: 0 to 9 as in /sys/class/net/NAME/statistics (4 is empty), 10 retries, 11 failed;
// value1: stations. 0 or -1.

/** Sum over the radio's access points, their AP_VLAN interfaces and its station interfaces. */
int counters_of_radio(const Radio &radio, VeskIntfStats &stats);
int counters_of_vap(const char *ifName, VeskIntfStats &stats);

} // namespace radio
