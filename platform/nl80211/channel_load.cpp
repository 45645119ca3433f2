#include "platform/nl80211/channel_load.h"

#include <cstring>
#include <ctime>

#include "platform/nl80211/channels.h"
#include "platform/nl80211/clock.h"

namespace radio
{

namespace
{

constexpr int64_t sampleInterval = 1000; // ms; the shortest time that a load is counted over

/** The sample becomes the next one's beginning, at most once a second; the load is the last that was counted.
 */
Load count_load(Memory &memory, const Survey &survey, int64_t now)
{
    const bool follows = memory.hasSample && memory.sample.frequency == survey.frequency;
    if (follows && now - memory.sampled < sampleInterval)
        return memory.load;
    memory.load = follows ? survey_load(memory.sample, survey) : Load{};
    memory.hasSample = true;
    memory.sample = survey;
    memory.sampled = now;
    return memory.load;
}

/** What is known of the load, and how the record tells what isn't; `value4` says which figures are real. */
void put_load(const Load &load, const Survey &survey, VeskCurChannelInfo &info)
{
    enum { knowsBusy = 1, knowsOwn = 2, knowsNoise = 4 };
    info.ccaTxUtil = load.busyKnown ? static_cast<uint32_t>(load.busy) : 0;
    info.ccaIdle = load.busyKnown ? 100 - load.busy : -1;
    info.ccaInbss = load.ownKnown ? static_cast<uint32_t>(load.own) : 0;
    info.noise = survey.hasNoise ? survey.noise : 0;
    info.value4 = (load.busyKnown ? knowsBusy : 0) | (load.ownKnown ? knowsOwn : 0) |
                  (survey.hasNoise ? knowsNoise : 0);
    info.counter1 = survey.time;
    const uint64_t counters[4] = { survey.busy, survey.extBusy, survey.rx, survey.tx };
    memcpy(info.counters2, counters, sizeof counters);
}

/** The radio's operating channel in the driver's survey; all zero if the driver doesn't mark it. */
Survey operating_survey(const Iface &iface)
{
    LocalList<Survey> surveys;
    survey_list(iface.index, surveys);
    for (const Survey &survey : surveys) {
        if (survey.inUse)
            return survey;
    }
    return {};
}

} // namespace

int load_fill_channel(const Radio &radio, VeskCurChannelInfo &info)
{
    Iface iface;
    if (iface_first_ap(radio.wiphy, iface) != 0 || iface.frequency == 0)
        return -1;
    const Survey survey = operating_survey(iface);
    Load load = {};
    if (survey.frequency != 0) {
        device_remember(radio, [&](Memory &memory) { load = count_load(memory, survey, clock_ms()); });
    }
    info.channel = channel_of_frequency(iface.frequency);
    info.time = static_cast<int32_t>(time(nullptr));
    put_load(load, survey, info);
    return 0;
}

} // namespace radio
