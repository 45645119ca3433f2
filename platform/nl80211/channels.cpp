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

/** Primary channels of a class, `step` MHz apart. */
struct ClassRun {
    uint8_t number;
    int width;            // index
    uint16_t first, last; // MHz
    uint16_t step;
};

// Of rows that fit the same channel the first one counts; 83 and 84 are parted by the second channel's side.
constexpr uint8_t above24 = 83;
constexpr uint8_t below24 = 84;
constexpr ClassRun classes[] = {
    { 81, 0, 2412, 2472, 5 },      { 82, 0, 2484, 2484, 5 },   { above24, 1, 2412, 2452, 5 },
    { below24, 1, 2432, 2472, 5 }, { 115, 0, 5180, 5240, 20 }, { 116, 1, 5180, 5220, 40 },
    { 117, 1, 5200, 5240, 40 },    { 118, 0, 5260, 5320, 20 }, { 119, 1, 5260, 5300, 40 },
    { 120, 1, 5280, 5320, 40 },    { 121, 0, 5500, 5720, 20 }, { 122, 1, 5500, 5700, 40 },
    { 123, 1, 5520, 5720, 40 },    { 124, 0, 5745, 5805, 20 }, { 125, 0, 5825, 5885, 20 },
    { 126, 1, 5745, 5865, 40 },    { 127, 1, 5765, 5885, 40 }, { 128, 2, 5180, 5320, 20 },
    { 128, 2, 5500, 5720, 20 },    { 128, 2, 5745, 5885, 20 }, { 129, 3, 5180, 5320, 20 },
    { 129, 3, 5500, 5640, 20 },    { 129, 3, 5745, 5885, 20 }, { 130, 4, 5180, 5320, 20 },
    { 130, 4, 5500, 5720, 20 },    { 130, 4, 5745, 5885, 20 }, { 136, 0, 5935, 5935, 20 },
    { 131, 0, 5955, 7115, 20 },    { 132, 1, 5955, 7095, 20 }, { 133, 2, 5955, 7055, 20 },
    { 134, 3, 5955, 7055, 20 },    { 135, 4, 5955, 7055, 20 },
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

const Width &width_of_mhz(uint16_t mhz)
{
    for (const Width &width : widths) {
        if (width.mhz == mhz)
            return width;
    }
    return otherWidth;
}

uint8_t operating_class(uint32_t frequency, int width, uint32_t centre)
{
    const bool is24 = band_of_frequency(frequency) == band24;
    if (is24 && centre == 0)
        width = 0;
    for (const ClassRun &run : classes) {
        const bool fits = run.width == width && frequency >= run.first && frequency <= run.last &&
                          (frequency - run.first) % run.step == 0;
        const bool otherSide = is24 && width == 1 && (centre > frequency) != (run.number == above24);
        if (fits && !otherSide)
            return run.number;
    }
    return 0;
}

} // namespace radio
