#include "tools/client/recommend.h"

#include <algorithm>
#include <cstdlib>

#include "tools/client/text.h"

namespace
{
// What a property costs, in percent of channel use.
constexpr int neighborCost =
    3;                     // each shares the air even when it is silent now: beacons, and traffic to come
constexpr int dfsCost = 8; // a minute of silence before, and radar may drive the radio off again
constexpr int quietNoise = -95; // dBm; above it each dB costs one
constexpr int worthMoving = 8;  // a move disturbs all stations
constexpr int overlap24 = 4;    // channels to either side that a 20 MHz signal reaches on 2.4 GHz

bool may_be_recommended(const RadioState &radio, const ChannelState &c)
{
    const bool isApart = radio.band != 0 || c.number == 1 || c.number == 6 || c.number == 11;
    return isApart && c.isAvailable && !c.isNol && c.isMeasured();
}

int neighbors_heard(const RadioState &radio, int channel)
{
    const int reach = radio.band == 0 ? overlap24 : 0;
    return static_cast<int>(
        std::count_if(radio.neighbors.begin(), radio.neighbors.end(), [&](const NeighborState &n) {
            return n.channel > 0 && abs(n.channel - channel) <= reach;
        }));
}

Recommendation weigh(const RadioState &radio, const ChannelState &c)
{
    const int neighbors = neighbors_heard(radio, c.number);
    Recommendation r = { &c, *c.utilisation + neighborCost * neighbors, "" };
    r.why = printed("%d %% used, ", *c.utilisation) + counted(static_cast<size_t>(neighbors), "neighbour") +
            (radio.band == 0 ? " in reach" : "");
    if (c.noise) {
        r.cost += std::max(*c.noise - quietNoise, 0);
        r.why += printed(", noise %d dBm", *c.noise);
    }
    if (c.needsDfs) {
        r.cost += dfsCost;
        r.why += ", DFS: a minute's look for radar first";
    }
    return r;
}
} // namespace

std::vector<Recommendation> recommend_channels(const RadioState &radio)
{
    std::vector<Recommendation> all;
    for (const ChannelState &c : radio.channels)
        if (may_be_recommended(radio, c))
            all.push_back(weigh(radio, c));
    std::stable_sort(all.begin(), all.end(),
                     [](const Recommendation &a, const Recommendation &b) { return a.cost < b.cost; });
    return all;
}

std::string advice(const RadioState &radio, const std::vector<Recommendation> &best)
{
    if (best.empty())
        return "No channel can be recommended: none has been measured yet.";
    const Recommendation &first = best.front();
    const auto own = std::find_if(best.begin(), best.end(), [](const auto &r) { return r.channel->isOwn; });
    if (first.channel->isOwn || (own != best.end() && own->cost - first.cost < worthMoving))
        return printed("Stay on channel %d: no other is so much better that a move is worth it.",
                       radio.channel);
    return printed("Move to channel %d: ", first.channel->number) + first.why + ".";
}
