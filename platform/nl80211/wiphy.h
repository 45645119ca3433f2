// What a phy can do and may do: its channels with the regulatory domain's and the radar detection's limits.
#pragma once

#include <cstddef>
#include <cstdint>

namespace radio
{

enum ChannelLimit : uint16_t { // the bits of the daemon's attribute word
    limitRadar = 1,
    limitNoIr = 2, // no transmission before a beacon was heard
    limitNo40 = 4,
    limitNo80 = 8,
    limitNo160 = 16,
};

struct Channel {
    uint16_t frequency; // MHz
    uint8_t number;
    uint8_t band;    // band24 or band5
    uint16_t limits; // ChannelLimit
    bool disabled;
    bool unavailable; // radar was detected less than half an hour ago
    bool cleared;     // it was listened to for radar, and there was none
};

inline constexpr size_t wiphyChannels = 96; // of both bands, all numbers

struct Wiphy {
    Channel channels[wiphyChannels];
    size_t count;
    bool scanDwell; // the length of stay on a channel of a scan can be set
};

/** 0, or negative errno with `wiphy` untouched. */
int wiphy_read(int index, Wiphy &wiphy);

/** NULL if there is none. */
const Channel *wiphy_channel(const Wiphy &wiphy, int band, int number);

/** Country of a phy's regulatory domain: two letters, "00", "98" or "99". 0 or negative errno. */
int wiphy_country(int index, char (&country)[3]);

} // namespace radio
