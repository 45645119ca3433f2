// The operating channel, and the sweep of all channels. A request is applied by the daemon two seconds after
// it came and its answer doesn't tell how that went: what can be known is checked before, the rest is looked
// at afterwards.
#include <cstdio>

#include "tools/client/text.h"
#include "tools/veskctl/checks.h"
#include "tools/veskctl/log_state.h"
#include "tools/veskctl/output.h"

namespace
{
constexpr int patienceMs = 10000; // for a sweep that stands back for a moment
constexpr int switchMs = 30000; // for the daemon's two seconds, the driver and the poll that sees the change
constexpr int keepWidth = 5;

std::string shown(const WireChannel &c)
{
    return printed("channel %d, ", c.channel) + bandwidth_name(c.bandwidth);
}

void print_channel(const Arguments &arguments, const WireChannel &c)
{
    if (arguments.json)
        print_record(arguments, layoutChannel, bytes_of_record(c));
    else
        puts(shown(c).c_str());
}

WireChannel present_channel(const RadioState &radio)
{
    bus_start_time();
    return must_get<WireChannel>("getChannel", { arg_band(radio.band) });
}

std::string available_channels(const RadioState &radio)
{
    std::string text;
    for (const ChannelState &c : radio.channels)
        if (c.isAvailable && !c.isNol)
            text += (text.empty() ? "" : ", ") + std::to_string(c.number);
    return text.empty() ? "none" : text;
}

/** Why the radio can't take the request, "" if nothing is known against it. */
std::string objection(const RadioState &radio, const WireChannel &wanted, const WireChannel &present)
{
    if (!radio.isUp)
        return radio.name + " is " + radio.state();
    const int channel = wanted.channel != 0 ? wanted.channel : present.channel;
    const int width = wanted.bandwidth != keepWidth ? wanted.bandwidth : present.bandwidth;
    const ChannelState *state = radio.find_channel(channel);
    if (state && state->isNol)
        return printed("channel %d is under non-occupancy after radar, for up to %s", channel,
                       span_text(state->nolSeconds).c_str());
    if (!state || !state->isAvailable)
        return printed("channel %d isn't available on %s; available are ", channel, radio.name.c_str()) +
               available_channels(radio);
    if (!width_fits(radio.band, channel, width))
        return printed(
            "%s doesn't fit channel %d; another width stands behind the channel: `veskctl channel %s set "
            "%d 20`",
            bandwidth_name(width), channel, radio.band == 0 ? "2.4" : "5", channel);
    const ChannelBlock block = channel_block(radio.band, channel, width);
    for (const ChannelState &c : radio.channels)
        if (c.number >= block.first && c.number <= block.last && c.isNol)
            return printed("%s round channel %d holds channel %d, which is under non-occupancy after radar",
                           bandwidth_name(width), channel, c.number);
    return "";
}

bool is_reached(const WireChannel &present, const WireChannel &wanted)
{
    return (wanted.channel == 0 || present.channel == wanted.channel) &&
           (wanted.bandwidth == keepWidth || present.bandwidth == wanted.bandwidth);
}

/** Where the log tells that the driver refused what was asked for later than `asked`: NULL if it doesn't. */
const LogLine *refusal(const Logbook &log, int band, time_t asked)
{
    static constexpr char step[] = "vesk_set_channel_process";
    const int index = band == 0 ? 0 : 1; // as the daemon counts radios
    const LogLine *failed = log.last_with(step, " error !!!");
    const LogLine *begun = log.last_with(step, "set channel=");
    const bool isOurs =
        failed && failed->when > asked && (!begun || log_number(*begun, "band", index) == index);
    return isOurs ? failed : nullptr;
}

/** Waits until the radio is where it is wanted; ends the program if that doesn't come true. */
WireChannel await_channel(const Arguments &arguments, const RadioState &radio, const WireChannel &wanted,
                          Logbook &log, time_t asked)
{
    WireChannel present = {};
    const LogLine *refused = nullptr;
    const bool isSettled = wait_until(switchMs, [&] {
        follow_log(log);
        refused = refusal(log, radio.band, asked);
        present = present_channel(radio);
        return refused || is_reached(present, wanted);
    });
    if (refused && !is_reached(present, wanted))
        fail("refused by the driver: still on " + shown(present) + line_reference(log, refused));
    if (!isSettled)
        fail(printed("still on %s after %d s; %s may tell why", shown(present).c_str(), switchMs / 1000,
                     log_path(arguments).c_str()));
    return present;
}

void set_channel(const Arguments &arguments, const RadioState &radio)
{
    WireChannel wanted = { static_cast<int32_t>(arguments.number("CHANNEL")), keepWidth };
    if (arguments.has("WIDTH"))
        wanted.bandwidth = bandwidth_of(arguments.text("WIDTH"));
    if (!arguments.has("CHANNEL"))
        usage_error("which channel? `veskctl channel BAND set CHANNEL [WIDTH]`");
    if (wanted.bandwidth < 0)
        usage_error("\"" + arguments.text("WIDTH") + "\" is no width; say 20, 40, 80, 160, 80+80 or keep");
    if (is_reached({}, wanted))
        usage_error("neither a channel nor a width is given: there is nothing to set");
    WireChannel present = present_channel(radio);
    const std::string against = objection(radio, wanted, present);
    if (!against.empty())
        fail("refused: " + against);
    if (is_reached(present, wanted)) {
        print_channel(arguments, present);
        return;
    }
    Logbook log = read_log(log_path(arguments));
    const time_t asked = time(nullptr);
    const CallResult result =
        bus_call(*bus_method("setChannel"), { arg_band(radio.band), arg_record("data", wanted) });
    if (!result.error.empty())
        fail(result.error);
    if (arguments.has("--no-wait")) {
        print_done(arguments, "asked for; the daemon applies it two seconds later");
        return;
    }
    print_channel(arguments, await_channel(arguments, radio, wanted, log, asked));
}
} // namespace

void run_channel(const Arguments &arguments)
{
    const bool isSet = arguments.has("ACTION");
    const Snapshot snapshot = must_take_snapshot(isSet ? PartChannels : 0u);
    const RadioState &radio = must_radio(snapshot, arguments.text("BAND"));
    if (isSet)
        set_channel(arguments, radio);
    else
        print_channel(arguments, present_channel(radio));
}

void run_scan_trigger(const Arguments &arguments)
{
    const Snapshot snapshot = must_take_snapshot(0);
    const RadioState &radio = must_radio(snapshot, arguments.text("BAND"));
    Logbook log = read_log(log_path(arguments));
    ScanSwitch scanning = scan_switch(log);
    if (!radio.isUp)
        fail("refused: " + radio.name + " is " + radio.state());
    wait_until(patienceMs, [&] {
        follow_log(log);
        scanning = scan_switch(log);
        return scanning.state != Switch::Off || !scanning.passes;
    });
    bus_start_time();
    if (scanning.state == Switch::Off)
        fail("refused: scanning is off (" + scanning.why + "); `veskctl scanning on` switches it on");
    must_call("triggerScan", { arg_band(radio.band) });
    print_done(arguments,
               printed("asked for: %zu channels of %s, half a second each; `veskctl scan` shows what they "
                       "bring",
                       radio.channels.size(), band_name(radio.band)));
}
