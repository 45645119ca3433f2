#include "platform/nl80211/scan_table.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <utility>

#include <pthread.h>

#include "platform/nl80211/channels.h"
#include "platform/nl80211/clock.h"
#include "platform/nl80211/scan.h"
#include "platform/nl80211/text.h"

namespace radio
{

namespace
{

// Drivers count in the kernel's ticks, of at most 10 ms.
constexpr int64_t clockTick = 20; // ms

struct Visited {
    Figures figures; // channel 0: a free place
    List<Bss> networks;
};

struct Retired {
    void *block;
    int64_t since; // ms
};

pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
Visited visited[radioCount][VESK_SCAN_CHANNELS];
uint32_t channelList[VESK_SCAN_CHANNELS];
size_t channelCount;
List<Retired> retired; // the oldest first

/** NULL for a channel that wasn't scanned. */
Visited *find_visited(int radio, int channel)
{
    for (Visited &place : visited[radio]) {
        if (place.figures.channel == channel)
            return &place;
    }
    return nullptr;
}

void free_retired()
{
    const int64_t limit = clock_ms() - scanBlockLife;
    size_t old = 0;
    while (old < retired.count && retired.items[old].since < limit)
        free(retired.items[old++].block);
    std::move(retired.items + old, retired.items + retired.count, retired.items);
    retired.count -= old;
}

/** The daemon's readers look at a slot without a lock. Without memory to note it a block is left to its fate.
 */
void put_slot(VeskScanNeighbor *&slot, VeskScanNeighbor *block)
{
    VeskScanNeighbor *old = std::atomic_ref(slot).exchange(block, std::memory_order_acq_rel);
    if (old)
        list_add(retired, { old, clock_ms() });
}

VeskScanNeighbor *make_block(int channel, const Bss &bss)
{
    auto *block = static_cast<VeskScanNeighbor *>(calloc(1, sizeof(VeskScanNeighbor)));
    if (!block)
        return nullptr;
    block->ch = channel;
    put_text(block->bssid, mac_text(bss.bssid).text);
    put_text(block->ssid, bss.ssid);
    put_text(block->text, bss.security);
    block->rssi = bss.rssi;
    block->value1 = bss.width;
    block->value2 = bss.capability;
    return block;
}

void put_record(const Figures &figures, VeskScanChannel *to)
{
    VeskScanChannel record{};
    record.ch = figures.channel;
    record.cac = figures.radar;
    record.inC = figures.networks;
    record.chnUtil = figures.utilisation;
    record.noise = figures.noise;
    memcpy(static_cast<void *>(to), &record, offsetof(VeskScanChannel, smoothedNoise));
}

} // namespace

int scan_utilisation(const Survey *before, const Survey *now, int64_t elapsed)
{
    if (!now || !now->hasTime || !now->hasBusy)
        return -1;
    Survey beginning = {};
    if (static_cast<int64_t>(now->time) > elapsed + clockTick) {
        if (!before)
            return -1;
        beginning = *before;
    }
    beginning.frequency = now->frequency;
    beginning.hasTime = beginning.hasBusy = true;
    const Load load = survey_load(beginning, *now);
    return load.busyKnown ? load.busy : -1;
}

void scan_keep(int radio, const Figures &figures, List<Bss> &networks)
{
    pthread_mutex_lock(&lock);
    Visited *place = find_visited(radio, figures.channel);
    if (!place)
        place = find_visited(radio, 0);
    if (place) {
        place->figures = figures;
        std::swap(place->networks, networks);
    }
    pthread_mutex_unlock(&lock);
    networks.count = 0;
}

void scan_set_channels(const uint32_t *channels, int32_t count)
{
    pthread_mutex_lock(&lock);
    channelCount = static_cast<size_t>(std::clamp(count, 0, VESK_SCAN_CHANNELS));
    std::copy_n(channels, channelCount, channelList);
    pthread_mutex_unlock(&lock);
}

bool scan_find(const uint8_t *bssid, uint32_t &frequency, uint8_t &phy)
{
    bool found = false;
    pthread_mutex_lock(&lock);
    for (const auto &radio : visited) {
        for (const Visited &place : radio) {
            for (const Bss &bss : place.networks) {
                if (memcmp(bss.bssid, bssid, sizeof bss.bssid) != 0)
                    continue;
                found = true;
                frequency = bss.frequency;
                phy = bss.phy;
            }
        }
    }
    pthread_mutex_unlock(&lock);
    return found;
}

size_t scan_channels_of(const Radio &radio, uint8_t (&numbers)[VESK_SCAN_CHANNELS])
{
    size_t count = 0;
    pthread_mutex_lock(&lock);
    for (size_t i = 0; i < channelCount; i++) {
        if (frequency_of_channel(radio.index, static_cast<int>(channelList[i])) != 0)
            numbers[count++] = static_cast<uint8_t>(channelList[i]);
    }
    pthread_mutex_unlock(&lock);
    return count;
}

void scan_fill_results(const Radio &radio, VeskScanChannel **channels)
{
    pthread_mutex_lock(&lock);
    for (size_t i = 0; i < channelCount; i++) {
        const auto number = static_cast<int>(channelList[i]);
        const Visited *place = number > 0 ? find_visited(radio.index, number) : nullptr;
        if (place && channels[i])
            put_record(place->figures, channels[i]);
    }
    pthread_mutex_unlock(&lock);
}

int scan_fill_neighbors(const Radio &radio, int channel, VeskScanNeighbor **table)
{
    if (frequency_of_channel(radio.index, channel) == 0)
        return -1;
    pthread_mutex_lock(&lock);
    const uint32_t *end = channelList + channelCount;
    const uint32_t *row = std::find(std::cbegin(channelList), end, static_cast<uint32_t>(channel));
    const Visited *place = find_visited(radio.index, channel);
    if (row != end && place) {
        free_retired();
        VeskScanNeighbor **slot = table + (row - channelList) * VESK_SCAN_NEIGHBORS_PER_CHANNEL;
        for (size_t i = 0; i < VESK_SCAN_NEIGHBORS_PER_CHANNEL; i++)
            put_slot(slot[i],
                     i < place->networks.count ? make_block(channel, place->networks.items[i]) : nullptr);
    }
    const bool known = row != end;
    pthread_mutex_unlock(&lock);
    return known ? 0 : -1;
}

void scan_forget()
{
    pthread_mutex_lock(&lock);
    for (auto &radio : visited) {
        for (Visited &place : radio) {
            list_free(place.networks);
            place = {};
        }
    }
    for (const Retired &old : retired)
        free(old.block);
    list_free(retired);
    channelCount = 0;
    pthread_mutex_unlock(&lock);
}

} // namespace radio
