// Channels, frequencies and widths: tables, and what they answer. The daemon knows channel numbers of the 2.4
// and the 5 GHz band only; 6 GHz uses the same numbers once more, so its frequencies have none here.
#pragma once

#include <cstdint>

#include <linux/nl80211.h>

namespace radio
{

inline constexpr int band24 = 0; // also the radio's index
inline constexpr int band5 = 1;

/** Band of a frequency in MHz, or -1. */
int band_of_frequency(uint32_t frequency);

/** 0 where there is none. 14 is Japan's channel at 2484 MHz. */
int channel_of_frequency(uint32_t frequency);
uint32_t frequency_of_channel(int band, int channel);

/** Whether the daemon is told of a channel: 1 to 13, 36 to 64, 100 to 144, 149 to 165. */
bool is_listed_channel(int band, int channel);

/** Bandwidth in the daemon's terms. */
struct Width {
    int nl80211;      // NL80211_CHAN_WIDTH_...
    int index;        // 0: 20 MHz, 1: 40, 2: 80, 3: 160, 4: 80+80, 5: none of these
    const char *bond; // "20MHz"
    uint16_t mhz;
};

/** Any width: what isn't in the table has index 5 and an empty text. */
const Width &width_of(int nl80211);
/** 20, 40, 80 or 160 MHz; any other has index 5. */
const Width &width_of_mhz(uint16_t mhz);

/**
 * Global operating class of a channel (IEEE 802.11-2020, table E-4), 6 GHz included; 0 where there is none.
 * `width` is the daemon's index, `centre` the middle of a 40 MHz channel in MHz: 2.4 GHz needs it to tell on
 * which side the second channel lies, and without it (0) gets the class of the primary channel alone. 149 to
 * 161 at 20 MHz stand in two classes: 124 is the one that hostapd announces.
 */
uint8_t operating_class(uint32_t frequency, int width, uint32_t centre = 0);

} // namespace radio
