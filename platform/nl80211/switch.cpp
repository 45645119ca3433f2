#include "platform/nl80211/switch.h"

#include <cstring>
#include <ctime>

#include "platform/nl80211/channels.h"
#include "platform/nl80211/clock.h"
#include "platform/nl80211/ctrl.h"
#include "platform/nl80211/log.h"
#include "platform/nl80211/netlink.h"
#include "platform/nl80211/wiphy.h"

namespace radio
{

namespace
{

constexpr int beaconInterval = 103; // ms
constexpr int switchSlack = 1000; // ms from the last announcement to the interface that shows the new channel
constexpr long scanEnd = 10000000; // ns that a driver takes to give up a scan
constexpr int widest = 3;          // index; of 80+80 MHz the calls don't tell the second half
constexpr uint16_t mhzOf[] = { 20, 40, 80, 160 };

/** A channel with all its width. */
struct Block {
    uint32_t frequency; // MHz, of the primary channel
    uint32_t first;     // of the lowest 20 MHz
    uint32_t centre;
    int mhz;
};

bool same(const SwitchTarget &a, const SwitchTarget &b)
{
    return a.channel == b.channel && a.width == b.width;
}

/** Where the primary channel lies in a block of 5 GHz: blocks of a width begin at 36, 100 and 149. */
Block block5(int channel, int mhz)
{
    const int base = channel >= 149 ? 149 : channel >= 100 ? 100 : 36;
    const int count = mhz / 20;
    const int first = base + (channel - base) / 4 / count * count * 4;
    const uint32_t lowest = frequency_of_channel(band5, first);
    return { frequency_of_channel(band5, channel), lowest, lowest + static_cast<uint32_t>(mhz / 2 - 10),
             mhz };
}

/** At 2.4 GHz the second channel is the fourth above, from 8 on the fourth below: both fit into 1 to 13. */
Block block24(int channel, int mhz)
{
    const uint32_t frequency = frequency_of_channel(band24, channel);
    const uint32_t first = mhz == 40 && channel >= 8 ? frequency - 20 : frequency;
    return { frequency, first, first + (mhz == 40 ? 10U : 0U), mhz };
}

const Channel *channel_at(const Wiphy &wiphy, uint32_t frequency)
{
    for (size_t i = 0; i < wiphy.count; i++) {
        if (wiphy.channels[i].frequency == frequency)
            return &wiphy.channels[i];
    }
    return nullptr;
}

/** Why a block can't be used; NULL if it can. `radar`: it has to be listened to before. */
const char *fault_of(const Wiphy &wiphy, const Block &block, bool &radar)
{
    static constexpr uint16_t tooWide[] = { 0, limitNo40, limitNo80, limitNo160 };
    for (uint32_t i = 0; i < static_cast<uint32_t>(block.mhz) / 20; i++) {
        const Channel *channel = channel_at(wiphy, block.first + 20 * i);
        if (!channel || channel->disabled)
            return "it is disabled";
        if (channel->unavailable)
            return "radar was met there less than half an hour ago";
        if (channel->limits & limitNoIr)
            return "sending isn't allowed there";
        radar |= (channel->limits & limitRadar) != 0 && !channel->cleared;
    }
    for (int width = 0; width <= widest; width++) {
        if (block.mhz == mhzOf[width] && channel_at(wiphy, block.frequency)->limits & tooWide[width])
            return "that width isn't allowed there";
    }
    return nullptr;
}

bool has_linked_station(const Radio &radio)
{
    LocalList<Iface> interfaces;
    iface_list(interfaces);
    for (const Iface &iface : interfaces) {
        const bool isStation =
            iface.type == NL80211_IFTYPE_STATION || iface.type == NL80211_IFTYPE_P2P_CLIENT;
        if (iface.wiphy == radio.wiphy && isStation && (iface.frequency != 0 || iface.ssid[0] != '\0'))
            return true;
    }
    return false;
}

/** hostapd refuses a switch during a scan, and the kernel a scan during a switch. */
void end_scan(const Iface &iface)
{
    const Query query = { .command = NL80211_CMD_ABORT_SCAN, .ifindex = iface.index };
    const timespec pause = { 0, scanEnd };
    if (netlink_ask(query, nullptr, nullptr) == 0)
        nanosleep(&pause, nullptr);
}

/** `restarts`: hostapd answers when its access points are down, later than the daemon's loop can wait. */
int announce(const Radio &radio, const Iface &iface, const Block &block, bool restarts)
{
    const CtrlCall call;
    char status[ctrlReplySize];
    char flag[4];
    if (ctrl_ask_interface(CtrlPeer::accessPoint, iface.name, "STATUS", status, sizeof status) != 0)
        return log_refusal("%s: no switch: hostapd doesn't answer", iface.name);
    Command command = {};
    command_add(command, "CHAN_SWITCH %d %u bandwidth=%d center_freq1=%u", config_get().csaCount,
                block.frequency, block.mhz, block.centre);
    if (block.mhz > 20) {
        const bool isUpper = (block.frequency - block.first) / 20 % 2 != 0;
        command_add(command, " sec_channel_offset=%d", isUpper ? -1 : 1);
    }
    const struct {
        const char *name, *flag;
    } modes[] = { { "ieee80211n", "ht" }, { "ieee80211ac", "vht" }, { "ieee80211ax", "he" } };
    for (const auto &mode : modes) {
        const bool fits = radio.index == band5 || mode.flag[0] == 'h';
        if (fits && ctrl_value(status, mode.name, flag) && flag[0] == '1')
            command_add(command, " %s", mode.flag);
    }
    end_scan(iface);
    const int answer =
        ctrl_ask_interface(CtrlPeer::accessPoint, iface.name, command.text, status, sizeof status);
    if (answer == 0 && strncmp(status, "OK", 2) != 0)
        return log_refusal("%s: CHAN_SWITCH was refused", iface.name);
    if (answer == ctrlNobody)
        return log_refusal("%s: no switch: nobody answers", iface.name);
    return restarts ? 0 : answer;
}

/** The switch that was begun last, if it can't be over yet. */
bool find_pending(const Radio &radio, const SwitchTarget &present, SwitchTarget &pending)
{
    int64_t until = 0;
    device_remember(radio, [&](Memory &memory) {
        pending = memory.pending;
        until = memory.pendingUntil;
    });
    return until > clock_ms() && !same(pending, present);
}

void note_pending(const Radio &radio, const SwitchTarget &target)
{
    device_remember(radio, [&](Memory &memory) {
        memory.pending = target;
        memory.pendingUntil = clock_ms() + config_get().csaCount * beaconInterval + switchSlack;
    });
}

int begin(const Radio &radio, const Iface &iface, const SwitchTarget &target, bool sameChannel)
{
    Wiphy wiphy;
    bool radar = false;
    const char *name = radio.name;
    const int channel = target.channel;
    const int last = radio.index == band24 ? 1 : widest;
    if (!is_listed_channel(radio.index, channel) || target.width < 0 || target.width > last)
        return log_refusal(
            "%s: no switch to channel %d: no such channel, or a width that is none of its band's", name,
            channel);
    const int mhz = mhzOf[target.width];
    const Block block = radio.index == band24 ? block24(channel, mhz) : block5(channel, mhz);
    const char *fault =
        wiphy_read(radio.wiphy, wiphy) != 0 ? "the kernel doesn't answer" : fault_of(wiphy, block, radar);
    if (!fault && has_linked_station(radio))
        fault = "the radio's station interface is connected, which the access point wouldn't survive";
    if (fault)
        return log_refusal("%s: no switch to channel %d, %d MHz: %s", name, channel, mhz, fault);
    if (announce(radio, iface, block, radar || sameChannel) != 0)
        return -1;
    note_pending(radio, target);
    log_line(levelNotice, "%s: switches to channel %d, %d MHz%s%s", name, channel, mhz,
             radar ? "; listens for radar first: off the air for a minute at least" : "",
             sameChannel ? "; hostapd restarts the access points: stations fall off" : "");
    return 0;
}

} // namespace

int switch_radio(const Radio &radio, int width, int channel)
{
    Iface iface;
    if (iface_first_ap(radio.wiphy, iface) != 0)
        return log_refusal("%s: no switch: there is no access point", radio.name);
    const SwitchTarget present = { channel_of_frequency(iface.frequency), width_of(iface.width).index };
    SwitchTarget pending;
    const bool isPending = find_pending(radio, present, pending);
    const SwitchTarget &latest = isPending ? pending : present;
    const SwitchTarget target = { channel != 0 ? channel : latest.channel,
                                  width != widthKept ? width : latest.width };
    if (same(target, latest))
        return 0;
    if (isPending)
        return log_refusal("%s: no switch to channel %d: one to %d is under way", radio.name, target.channel,
                           pending.channel);
    return begin(radio, iface, target, target.channel == present.channel);
}

} // namespace radio
