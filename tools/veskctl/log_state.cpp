#include "tools/veskctl/log_state.h"

#include "include/vesk_event.h"
#include "tools/client/text.h"

namespace
{
constexpr SwitchTexts pollers[] = {
    { "stations", VESK_TEXT_SET_STATIONS, "isStaPollEnabled", VESK_SIGNAL_SET_STA_ENABLE,
      "the station table" },
    { "channels", VESK_TEXT_SET_CHANNELS, "chEventEnable", VESK_SIGNAL_SET_CHANNEL_CHANGE_ENABLE,
      "changes of the operating channels" },
    { "stats", VESK_TEXT_SET_STATISTICS, "isIntfStatEnabled", VESK_SIGNAL_SET_INTF_STAT_ENABLE,
      "interface statistics" },
};

/** Why scanning went off: the newest line before the one that shows it off. */
std::string reason_of(const Logbook &log, const LogLine *off)
{
    static constexpr struct {
        const char *text, *why;
    } rows[] = {
        { "Set scanning status=0", "switched off by `veskctl scanning off`" },
        { "Enable auto connect ,stop all band scan", "backhaul auto-connect is on" },
        { "not enable scan", "backhaul auto-connect is on" },
        { "vesk_applyBackhaulCredentialToBsta:", "a backhaul credential was given" },
    };
    const LogLine *newest = nullptr;
    std::string why;
    for (const auto &row : rows) {
        const LogLine *line = log.last_with(nullptr, row.text);
        if (line && line <= off && line > newest) {
            newest = line;
            why = row.why;
        }
    }
    return why;
}

/** The last line that carries the field, whatever else stands there. */
const LogLine *last_with_field(const Logbook &log, const char *field)
{
    return log.last_with(nullptr, (std::string(field) + "=").c_str());
}
} // namespace

ScanSwitch scan_switch(const Logbook &log)
{
    ScanSwitch result;
    const LogLine *set = log.last_with("vesk_set_scan_status", "");
    const LogLine *shown = last_with_field(log, "scanEnable");
    result.line = std::max(set, shown);
    if (!result.line)
        return result;
    const int value = result.line == set
                          ? (set->message().find("not enable scan") != std::string_view::npos ? 0
                             : set->message().ends_with("= 0")                                ? 0
                                                                                              : 1)
                          : log_number(*shown, "scanEnable");
    result.state = value == 0 ? Switch::Off : Switch::On;
    if (const LogLine *never = log.last("vesk_start_scan_ubus_timer", VESK_TEXT_TIMER_OFF);
        never && value != 0)
        if (log_number(*result.line, "scanEnableCfg", 1) == 0) {
            result.state = Switch::Off;
            result.why = "off in the daemon's configuration, VESK_SCAN_CONFIG";
            return result;
        }
    if (result.state == Switch::Off)
        result.why = reason_of(log, result.line);
    if (result.state == Switch::Off && result.why.empty()) {
        result.why = "for a while, by a refresh of the VAPs or a channel change";
        result.passes = true;
    }
    return result;
}

std::span<const SwitchTexts> poller_texts()
{
    return pollers;
}

SwitchState switch_state(const Logbook &log, const SwitchTexts &texts)
{
    SwitchState result;
    const LogLine *set = log.last(nullptr, texts.format);
    result.line =
        set ? set : last_with_field(log, texts.field); // only the signal changes what the start has set
    if (!result.line)
        return result;
    const int value = log_number(*result.line, set ? "status" : texts.field);
    result.state = value > 0 ? Switch::On : Switch::Off;
    return result;
}

std::string log_path(const Arguments &arguments)
{
    return arguments.has("--log") ? arguments.text("--log") : defaultLog;
}

std::string line_reference(const Logbook &log, const LogLine *line)
{
    return line ? printed(" (%s, %s:%d)", clock_time(line->when).c_str(), log.source(*line).c_str(),
                          line->number)
                : "";
}
