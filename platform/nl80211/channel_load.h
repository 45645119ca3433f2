// Load and noise of a radio's operating channel, from the driver's survey.
#pragma once

#include "include/rilk.h"
#include "platform/nl80211/device.h"

namespace radio
{

/**
 * Fills a zeroed record. What the driver doesn't tell is absent: 0 in the shares of the load and the noise,
 * -1 in the idle share. 0, or -1 while the radio has no access point on a channel.
 */
int load_fill_channel(const Radio &radio, VeskCurChannelInfo &info);

} // namespace radio
