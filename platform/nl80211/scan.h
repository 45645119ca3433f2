// Scanning: a request joins its radio's queue and is back at once; a thread per radio, begun by the first
// request, scans one channel after the other and keeps what it found. Answers come from what is kept and
// never wait.
#pragma once

#include <cstdint>

#include "include/rilk.h"
#include "platform/nl80211/device.h"

namespace radio
{

/** The daemon's list of channels, whose order its tables have. */
void scan_set_channels(const uint32_t *channels, int32_t count);

/** Length of stay where a request gives none. 0, or -1 if a figure is below 1 or `min` above `max`. */
int scan_set_dwell(const Radio &radio, int32_t min, int32_t max);

/**
 * Queues a scan of one channel of the radio, or with 0 of all those in the daemon's list, on an access
 * point's interface. 0; -1 if that isn't one of the radio's, for no channel of the band, or if the queue is
 * full.
 */
int scan_request(const Radio &radio, int channel, int dwell, const char *ifName);

/** Fills the records of the radio's channels that were scanned, but for the smoothed noise, which is the
 * daemon's. */
void scan_fill_results(const Radio &radio, VeskScanChannel **channels);

/**
 * Puts the neighbours of a channel into its row of the daemon's table. Replaced blocks stay readable for
 * scanBlockLife. -1 for a channel that isn't in the list or not of the radio's band.
 */
int scan_fill_neighbors(const Radio &radio, int channel, VeskScanNeighbor **table);

inline constexpr int scanBlockLife = 10000; // ms

/** The threads end and everything is forgotten. For tests. */
void scan_stop();

} // namespace radio
