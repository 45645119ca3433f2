// Moving an access point to another channel or width, by hostapd's announced switch (CSA).
#pragma once

#include "platform/nl80211/device.h"

namespace radio
{

inline constexpr int widthKept = -1;

/**
 * Moves all access points of a radio. `width` is the daemon's index, 0 to 3, or widthKept; channel 0 is the
 * present one. The daemon sets width and channel in two calls: the second one finds its target under way. 0
 * when hostapd announces the switch or there is nothing to do; -1 with a line, above all where the switch
 * would take the access point off the air. Needs CAP_NET_ADMIN to end a scan that is under way.
 */
int switch_radio(const Radio &radio, int width, int channel);

} // namespace radio
