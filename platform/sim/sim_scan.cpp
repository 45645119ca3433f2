// Off-channel visits. A trigger notes when each visit is due; whoever asks for results first settles the
// visits that have come due, and a channel's figures and neighbours are those of its last visit. Blocks that
// are replaced in the daemon's neighbour table are kept for a while: a reader may be inside one.
#include "platform/sim/sim.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <deque>

namespace
{

constexpr int DWELL_DEFAULT = 55;      // ms
constexpr int RETIRED_FOR = 10000;     // ms that a replaced block stays readable, and
constexpr uint32_t RETIRED_VISITS = 2; // the calls that it stays for besides
constexpr size_t BLOCK_SIZE = sizeof(VeskScanNeighbor);

/** What is known of one channel number of one radio. */
struct Visits {
    uint32_t count = 0;
    int64_t due = 0; // monotonic ms; 0: none under way
};

struct Retired {
    void *block;
    int64_t since; // monotonic ms
    uint32_t call;
};

struct ScanState {
    std::vector<uint32_t> list; // as told by rilk_initScanChannelList
    Visits visits[2][256];
    std::deque<Retired> retired;
    uint32_t calls = 0; // of the neighbour function
};

ScanState &scan()
{
    static ScanState &instance = *new ScanState;
    return instance;
}

size_t index_of(const SimDevice &device, const SimRadio &radio)
{
    return &radio == &device.radios[0] ? 0 : 1;
}

Visits &visits_of(const SimDevice &device, const SimRadio &radio, int32_t channel)
{
    return scan().visits[index_of(device, radio)][channel & 0xff];
}

void settle_visits()
{
    const int64_t now = sim_monotonic_ms();
    for (auto &radio : scan().visits) {
        for (Visits &visits : radio) {
            if (visits.due == 0 || visits.due > now)
                continue;
            visits.due = 0;
            visits.count++;
        }
    }
}

/** Busier where more and stronger networks are; moves a little from visit to visit. */
int utilisation(const SimDevice &device, const SimRadio &radio, int channel, uint32_t visit)
{
    int util = 6;
    for (const SimNeighbor &n : radio.neighbors) {
        if (n.channel == channel && sim_present(n.visits, visit))
            util += std::max(0, n.rssi + 95) / 2;
    }
    return std::clamp(util + sim_flutter(device.seed + static_cast<uint32_t>(channel), visit, 3), 0, 100);
}

int noise_floor(const SimDevice &device, const SimRadio &radio, int channel, uint32_t visit)
{
    const uint32_t salt = device.seed ^ static_cast<uint32_t>(channel) << 16;
    return radio.noise + sim_flutter(salt, 0, 2) + sim_flutter(salt, visit, 1);
}

int described_or(int described, int made)
{
    return described == SIM_UNSET ? made : described;
}

/** The record's fields without the smoothed noise behind them, which is the daemon's. */
void store_result(VeskScanChannel *target, const SimDevice &device, const SimRadio &radio,
                  const SimChannel &channel, uint32_t visit)
{
    VeskScanChannel result{};
    result.ch = channel.ch;
    result.chnUtil = described_or(channel.util, utilisation(device, radio, channel.ch, visit));
    result.noise = described_or(channel.noise, noise_floor(device, radio, channel.ch, visit));
    result.inC = described_or(channel.inC, result.chnUtil / 3);
    result.cac = static_cast<uint8_t>(described_or(channel.cac, channel.ch >= 52 && channel.ch <= 144));
    memcpy(static_cast<void *>(target), &result, offsetof(VeskScanChannel, smoothedNoise));
}

VeskScanNeighbor *neighbor_block(const SimDevice &device, const SimNeighbor &n, uint32_t visit, int garbage)
{
    auto *block = static_cast<VeskScanNeighbor *>(calloc(1, BLOCK_SIZE));
    if (!block)
        return nullptr;
    if (garbage >= 0) {
        memset(static_cast<void *>(block), garbage, BLOCK_SIZE);
        return block;
    }
    block->ch = n.channel;
    sim_copy(block->bssid, n.bssid);
    sim_copy(block->ssid, n.ssid);
    sim_copy(block->text, n.text);
    block->rssi = n.rssi + sim_flutter(device.seed + static_cast<uint32_t>(n.bssid[16]), visit, n.flutter);
    block->value1 = n.value1;
    block->value2 = n.value2;
    return block;
}

/** Readers look at the slot without a lock. */
void put_slot(VeskScanNeighbor *&slot, VeskScanNeighbor *block)
{
    VeskScanNeighbor *old = std::atomic_ref(slot).exchange(block, std::memory_order_acq_rel);
    if (old)
        scan().retired.push_back({ old, sim_monotonic_ms(), scan().calls });
}

void free_retired()
{
    std::deque<Retired> &retired = scan().retired;
    const int64_t now = sim_monotonic_ms();
    while (!retired.empty() && now - retired.front().since > RETIRED_FOR &&
           scan().calls - retired.front().call > RETIRED_VISITS) {
        free(retired.front().block);
        retired.pop_front();
    }
}

} // namespace

void sim_scan_forget()
{
    scan().list.clear();
    for (auto &radio : scan().visits)
        std::fill(std::begin(radio), std::end(radio), Visits{});
}

void sim_scan_list(const uint32_t *channels, int32_t count)
{
    scan().list.assign(channels, channels + std::clamp(count, 0, VESK_SCAN_CHANNELS));
}

int sim_scan_trigger(SimDevice &device, SimRadio &radio, int32_t channel, int32_t dwell)
{
    if (!radio.status || !radio.enabled)
        return -1;
    settle_visits();
    int64_t due = sim_monotonic_ms();
    bool found = false;
    for (const SimChannel &c : radio.channels) {
        if (channel != 0 && c.ch != channel)
            continue;
        due += dwell > 0 ? dwell : DWELL_DEFAULT;
        visits_of(device, radio, c.ch).due = due;
        found = true;
        if (channel != 0)
            break;
    }
    return found ? 0 : -1;
}

void sim_scan_results(SimDevice &device, SimRadio &radio, VeskScanChannel **channels, int garbage)
{
    settle_visits();
    for (size_t i = 0; i < scan().list.size(); i++) {
        const SimChannel *channel = sim_channel(radio.channels, static_cast<int32_t>(scan().list[i]));
        if (!channel || !channels[i])
            continue;
        const uint32_t visits = visits_of(device, radio, channel->ch).count;
        if (garbage >= 0)
            memset(static_cast<void *>(channels[i]), garbage, offsetof(VeskScanChannel, smoothedNoise));
        else if (visits > 0)
            store_result(channels[i], device, radio, *channel, visits - 1);
    }
}

int sim_scan_neighbors(SimDevice &device, SimRadio &radio, int32_t channel, VeskScanNeighbor **table,
                       int garbage)
{
    const auto &list = scan().list;
    const auto row = std::find(list.begin(), list.end(), static_cast<uint32_t>(channel));
    if (row == list.end() || !sim_channel(radio.channels, channel))
        return -1;
    settle_visits();
    scan().calls++;
    free_retired();
    const uint32_t visits = visits_of(device, radio, channel).count;
    if (visits == 0)
        return 0;
    VeskScanNeighbor **slots = table + (row - list.begin()) * VESK_SCAN_NEIGHBORS_PER_CHANNEL;
    int used = 0;
    for (const SimNeighbor &n : radio.neighbors) {
        if (n.channel == channel && sim_present(n.visits, visits - 1) &&
            used < VESK_SCAN_NEIGHBORS_PER_CHANNEL)
            put_slot(slots[used++], neighbor_block(device, n, visits - 1, garbage));
    }
    while (used < VESK_SCAN_NEIGHBORS_PER_CHANNEL)
        put_slot(slots[used++], nullptr);
    return 0;
}
