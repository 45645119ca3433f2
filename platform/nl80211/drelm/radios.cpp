// What concerns a radio with all its access points: its channel, radar, and probe requests, of which every
// access point tells.
#include "platform/nl80211/drelm/drelm.h"

#include <linux/nl80211.h>

#include "platform/nl80211/channels.h"
#include "platform/nl80211/clock.h"

namespace radio
{

namespace
{

constexpr int64_t sameEvent = 50; // ms within which the same news is no other event

enum Reason : uint8_t { reasonOther = 0, reasonRadar = 2 };

/** Bands as the bus names them: 2.4 GHz, and all of 5 GHz. */
uint8_t band_word(int radio)
{
    return radio == band24 ? 0 : 3;
}

bool overlap(const Operation &a, const Operation &b)
{
    const uint32_t apart = a.centre > b.centre ? a.centre - b.centre : b.centre - a.centre;
    return a.frequency != 0 && b.frequency != 0 && 2 * apart < uint32_t{ a.mhz } + b.mhz;
}

/** Who stays on channels where radar was met, as on one that needs no check, has another reason to change. */
bool flees_radar(const RadioState &state, const Operation &next)
{
    return overlap(state.radar, state.now) && !overlap(state.radar, next);
}

void send_change(const Drelm &drelm, const RadioState &state, const Operation &next)
{
    const uint8_t word = band_word(state.radio.index);
    VeskChChange event = {};
    event.reason = flees_radar(state, next) ? reasonRadar : reasonOther;
    event.radioId = word;
    event.oldCh = state.now.channel;
    event.oldBw = state.now.width;
    event.oldOpClass = state.now.opClass;
    event.oldTxPower = state.now.power;
    event.newCh = next.channel;
    event.newBw = next.width;
    event.newOpClass = next.opClass;
    event.newTxPower = next.power;
    put_text(event.oldHwMode, state.modes);
    put_text(event.newHwMode, state.modes);
    event.interfaceIndex = word;
    drelm_send(drelm, VESK_EVENT_CH_CHANGE, state.ifName, event);
}

/** The six bytes: band word, channel, width, MHz with the low byte first, 1 for radar. */
void send_radar(const Drelm &drelm, RadioState &state, bool isRadar, const Operation &where)
{
    const int64_t now = clock_ms();
    const bool isTold = state.told.frequency == where.frequency && state.told.isRadar == isRadar &&
                        now - state.told.time < sameEvent;
    state.told = { where.frequency, isRadar, now };
    if (isTold)
        return;
    const VeskRadarEvent event = { { band_word(state.radio.index), where.channel, where.width,
                                     static_cast<uint8_t>(where.frequency),
                                     static_cast<uint8_t>(where.frequency >> 8), isRadar } };
    drelm_send(drelm, isRadar ? VESK_EVENT_RADAR : VESK_EVENT_CH_PASS_CAC, state.ifName, event);
}

/** Whether a station was heard a moment ago; from now on it was. */
bool was_heard(RadioState &state, const uint8_t *mac)
{
    const int64_t now = clock_ms();
    for (const Heard &heard : state.heard) {
        if (memcmp(heard.mac, mac, sizeof heard.mac) == 0 && heard.time != 0 && now - heard.time < sameEvent)
            return true;
    }
    Heard &heard = state.heard[state.heardNext++ % heardCount];
    memcpy(heard.mac, mac, sizeof heard.mac);
    heard.time = now;
    return false;
}

} // namespace

Operation operation_of(uint32_t frequency, int nl80211Width, uint32_t centre)
{
    const Width &width = width_of(nl80211Width);
    const auto index = static_cast<uint8_t>(width.index);
    return { frequency,
             centre != 0 ? centre : frequency,
             static_cast<uint8_t>(channel_of_frequency(frequency)),
             index,
             width.mhz,
             operating_class(frequency, index, centre),
             0 };
}

void radio_see(Drelm &drelm, RadioState &state, const Iface &accessPoint)
{
    put_text(state.ifName, accessPoint.name);
    if (accessPoint.frequency == 0)
        return; // down: what it comes back with is held against what it was
    Operation next = operation_of(accessPoint.frequency, accessPoint.width, accessPoint.centre);
    next.power = accessPoint.hasPower ? static_cast<float>(accessPoint.power) / 100 : state.now.power;
    const bool isOther = next.frequency != state.now.frequency || next.width != state.now.width ||
                         next.centre != state.now.centre;
    if (state.now.frequency != 0 && isOther)
        send_change(drelm, state, next);
    if (isOther)
        state.radar = {};
    state.now = next;
}

void radio_probe(Drelm &drelm, int radio, const char *ifName, const uint8_t *mac, int channel, int signal)
{
    if (signal == 0 || channel == 0 || was_heard(drelm.radios[radio], mac))
        return;
    VeskProbeReq event = {};
    memcpy(event.mac, mac, sizeof event.mac);
    event.channel = static_cast<uint8_t>(channel);
    event.rssi = signal;
    drelm_send(drelm, VESK_EVENT_PROBE_REQ, ifName, event);
}

void radio_radar(Drelm &drelm, int wiphy, bool isOwn, uint32_t event, const Operation &where)
{
    for (RadioState &state : drelm.radios) {
        if (!state.isThere || state.radio.wiphy != wiphy)
            continue;
        const bool concerns = overlap(where, state.now) || overlap(where, state.checked);
        if (event == NL80211_RADAR_CAC_STARTED && isOwn)
            state.checked = where;
        if (event == NL80211_RADAR_CAC_FINISHED && isOwn)
            send_radar(drelm, state, false, where);
        if (event == NL80211_RADAR_DETECTED && concerns) {
            state.radar = where;
            send_radar(drelm, state, true, where);
        }
        if (event != NL80211_RADAR_CAC_STARTED && (isOwn || concerns))
            state.checked = {};
    }
}

} // namespace radio
