#include "platform/nl80211/channels.h"

namespace radio
{

namespace
{

/** A run of frequencies with channel numbers 5 MHz apart. */
struct Run {
    int band;
    uint32_t first, last; // MHz
    uint32_t zero;        // MHz of channel 0
};

constexpr Run runs[] = {
    { band24, 2412, 2472, 2407 },
    { band24, 2484, 2484, 2414 },
    { band5, 5160, 5885, 5000 },
};

/** Channels that are `step` apart. */
struct Listed {
    int band;
    int first, last, step;
};

constexpr Listed listed[] = {
    { band24, 1, 13, 1 },
    { band5, 36, 64, 4 },
    { band5, 100, 144, 4 },
    { band5, 149, 165, 4 },
};

constexpr Width widths[] = {
    { NL80211_CHAN_WIDTH_20_NOHT, 0, "20MHz", 20 }, { NL80211_CHAN_WIDTH_20, 0, "20MHz", 20 },
    { NL80211_CHAN_WIDTH_40, 1, "40MHz", 40 },      { NL80211_CHAN_WIDTH_80, 2, "80MHz", 80 },
    { NL80211_CHAN_WIDTH_160, 3, "160MHz", 160 },   { NL80211_CHAN_WIDTH_80P80, 4, "80+80", 160 },
};

constexpr Width otherWidth = { -1, 5, "", 0 };

const Run *run_of(uint32_t frequency)
{
    for (const Run &run : runs) {
        if (frequency >= run.first && frequency <= run.last && (frequency - run.zero) % 5 == 0)
            return &run;
    }
    return nullptr;
}

} // namespace

int band_of_frequency(uint32_t frequency)
{
    const Run *run = run_of(frequency);
    return run ? run->band : -1;
}

int channel_of_frequency(uint32_t frequency)
{
    const Run *run = run_of(frequency);
    return run ? static_cast<int>((frequency - run->zero) / 5) : 0;
}

uint32_t frequency_of_channel(int band, int channel)
{
    for (const Run &run : runs) {
        const uint32_t frequency = run.zero + 5 * static_cast<uint32_t>(channel);
        if (channel > 0 && run.band == band && frequency >= run.first && frequency <= run.last)
            return frequency;
    }
    return 0;
}

bool is_listed_channel(int band, int channel)
{
    for (const Listed &run : listed) {
        if (run.band == band && channel >= run.first && channel <= run.last &&
            (channel - run.first) % run.step == 0)
            return true;
    }
    return false;
}

const Width &width_of(int nl80211)
{
    for (const Width &width : widths) {
        if (width.nl80211 == nl80211)
            return width;
    }
    return otherWidth;
}

} // namespace radio
