// What the scans' threads leave behind for the daemon: figures and networks of each channel.
#pragma once

#include <cstdint>

#include "include/rilk.h"
#include "platform/nl80211/bss.h"
#include "platform/nl80211/device.h"
#include "platform/nl80211/survey.h"

namespace radio
{

inline constexpr int noiseUnknown = -254; // below what the daemon takes for a level

/** Figures of one channel, as they go into VeskScanChannel. */
struct Figures {
    int channel;
    bool radar;
    int networks;    // heard on it, our own left out
    int utilisation; // percent; -1 if unknown
    int noise;       // dBm; noiseUnknown
};

/**
 * The share of a scan that the channel was busy. Some drivers count from the scan's beginning, others from
 * theirs: time beyond the scan's own length (`elapsed`, ms) is of the second kind, and what `before` shows is
 * taken off. `before` and `now` may be NULL. -1 if nothing is known.
 */
int scan_utilisation(const Survey *before, const Survey *now, int64_t elapsed);

/** Keeps the outcome of a scan; the networks are taken over, and the list is left empty. */
void scan_keep(int radio, const Figures &figures, List<Bss> &networks);

/** The daemon's channels of a radio's band, in their order; the number of them. */
size_t scan_channels_of(const Radio &radio, uint8_t (&numbers)[VESK_SCAN_CHANNELS]);

/** Where a network was heard, and its phy type (0: not 802.11n). False if no scan has met it. */
bool scan_find(const uint8_t *bssid, uint32_t &frequency, uint8_t &phy);

void scan_forget();

} // namespace radio
