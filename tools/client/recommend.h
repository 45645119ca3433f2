// Which channel a radio would be best on, by what the scans measured, each with its reason.
#pragma once

#include <string>
#include <vector>

#include "tools/client/device.h"

struct Recommendation {
    const ChannelState *channel;
    int cost;        // the less the better
    std::string why; // "6 % used, 1 neighbour, noise -95 dBm"
};

/** The channels that may be recommended, the best first: on 2.4 GHz 1, 6 and 11, which don't disturb each
 * other; on 5 GHz all that are available and not under non-occupancy. A channel that hasn't been measured is
 * left out. */
std::vector<Recommendation> recommend_channels(const RadioState &radio);

/** What to do about the present channel, in a sentence. */
std::string advice(const RadioState &radio, const std::vector<Recommendation> &best);
