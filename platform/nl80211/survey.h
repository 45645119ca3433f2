// The driver's survey of channels: how long the radio listened, how long it found the channel busy, what it
// sent and received itself, and the noise.
#pragma once

#include <cstdint>

#include "platform/nl80211/list.h"

namespace radio
{

struct Survey {
    uint32_t frequency; // MHz
    bool inUse;         // the operating channel
    bool hasNoise, hasTime, hasBusy, hasRx, hasTx, hasBssRx;
    int8_t noise;                                // dBm
    uint64_t time, busy, extBusy, rx, tx, bssRx; // ms since some beginning
};

/** All channels that the driver has figures of. 0, or negative errno; a driver without survey has none. */
int survey_list(uint32_t ifindex, List<Survey> &surveys);

/** Load of a channel between two samples. */
struct Load {
    bool busyKnown, ownKnown;
    int busy; // percent of the time
    int own;  // percent: sent, or received from stations of ours
};

/**
 * What happened between two samples. Nothing is known of samples of two channels, of counters that went back
 * (the driver was reset between them), or without time between them.
 */
Load survey_load(const Survey &before, const Survey &now);

} // namespace radio
