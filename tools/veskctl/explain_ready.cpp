// What holds the ready flag back: the role, or a first scan that isn't over, for 32 seconds at most. And what
// the log can't tell.
#include <algorithm>
#include <cstdlib>

#include "tools/client/text.h"
#include "tools/veskctl/explain.h"

namespace
{
constexpr int checkInterval = 2, waits = 15; // seconds; checks that may put the flag off
constexpr const char *isEnd = "vesk_first_scanning_is_end";
constexpr const char *firstHandlers[] = { "vesk_scan_2G_first_ubus_handle",
                                          "vesk_scan_5GA_first_ubus_handle" };
constexpr const char *bandNames[] = { "2.4 GHz", "5 GHz" };
constexpr const char *scanning = "vesk_first_scanning";
constexpr int silence = 10; // seconds behind an interval that make a log silent

/** The number behind the last "=". */
int last_number(const LogLine &line)
{
    const std::string message(line.message());
    return atoi(message.c_str() + message.rfind('=') + 1);
}

const LogLine *end_line(const Logbook &log, int radio)
{
    return log.last(isEnd, VESK_TEXT_RADIO_END, printed("isend[%d]=", radio));
}

void say_made(const Evidence &evidence, Explanation &out)
{
    const Logbook &log = evidence.log;
    const LogLine *controller = log.last(nullptr, VESK_TEXT_CONTROLLER);
    const LogLine *made = log.last("vesk_check_all_ready_ubus_handle", VESK_TEXT_READY);
    if (controller)
        out.say("It was made at once: a controller doesn't wait for its first scans.", controller);
    else if (made && log_number(*made, "checkCnt") >= waits)
        out.say("It was made because the longest wait, 32 s, was over; the first scans weren't.", made);
    else if (made)
        out.say(printed("It was made by the check that found both first scans over, after %d earlier ones.",
                        log_number(*made, "checkCnt")),
                made);
    else if (log.knowsStart)
        out.say(
            "The log of this start doesn't say that the daemon made it: it may be a former start's, which "
            "nobody removes.");
    else
        out.say("What made it isn't in the log any more.");
}

void say_running(const Logbook &log, int radio, Explanation &out)
{
    const LogLine *progress = log.last(scanning, VESK_TEXT_FIRST_CHANNEL, printed("radio[%d]=", radio));
    const LogLine *count = log.last("", VESK_TEXT_DUMP_CHANNELS, printed("scanCfg[%d]", radio));
    const int all = count ? last_number(*count) : 0;
    const LogLine *whole = log.last(scanning, VESK_TEXT_FIRST_WHOLE_BAND, printed("band=%d,", radio));
    if (progress)
        out.say(printed("%s: its first scan is under way, at channel %d%s.", bandNames[radio],
                        log_number(*progress, "channel"),
                        all > 0
                            ? printed(", number %d of %d", log_number(*progress, "alyScanCnt"), all).c_str()
                            : ""),
                progress);
    else if (whole)
        out.say(printed("%s: its first scan is under way; this chip sweeps the whole band in one command.",
                        bandNames[radio]),
                whole);
    else
        out.say(printed("%s: its first scan is under way, or it gave up before it began.", bandNames[radio]),
                end_line(log, radio));
}

void say_owed(const Evidence &evidence, int radio, Explanation &out)
{
    const Logbook &log = evidence.log;
    const LogLine *refused = log.last(scanning, VESK_TEXT_AUTO_CONNECT);
    const LogLine *handler = log.last(firstHandlers[radio], VESK_TEXT_SWITCHES);
    const LogLine *armed =
        log.last("vesk_start_first_scan_ubus_timer", VESK_TEXT_SWITCHES_BAND_ITV, printed("band=%d,", radio));
    const LogLine *off = log.last("vesk_start_first_scan_ubus_timer", VESK_TEXT_TIMER_OFF);
    if (off && off > armed)
        out.say(printed("%s: its first scan never starts: scanning is off in the configuration.",
                        bandNames[radio]),
                off);
    else if (handler && refused > handler)
        out.say(
            printed(
                "%s: its first scan was refused, because a backhaul station is on auto-connect; it is still "
                "owed.",
                bandNames[radio]),
            refused);
    else if (armed && !handler)
        out.say(printed("%s: its first scan begins at %s.", bandNames[radio],
                        clock_time(armed->when + log_number(*armed, "itv", 0)).c_str()),
                armed);
    else
        out.say(printed("%s: its first scan is still owed.", bandNames[radio]), end_line(log, radio));
}

void say_radio(const Evidence &evidence, int radio, Explanation &out)
{
    const Logbook &log = evidence.log;
    const LogLine *state = end_line(log, radio);
    if (!state) {
        say_owed(evidence, radio, out);
        return;
    }
    const LogLine *acs = log.last(isEnd, VESK_TEXT_RADIO_ACS_OFF, printed("radioInfo[%d].", radio));
    const RadioState *device = radio_state(evidence, radio);
    const bool isScanEnd = log_number(*state, printed("isend[%d]", radio).c_str()) == 1;
    const bool isOwed = log_number(*state, "isFirstScan") != 0;
    if (device && !device->isUp)
        out.say_from_bus(printed("%s: the radio is down, which counts as over.", bandNames[radio]));
    else if (acs && acs < state && state - acs <= 4) // the line stands before the other, but for a thread's
        out.say(printed("%s: automatic channel selection is off, which counts as over.", bandNames[radio]),
                acs);
    else if (isOwed)
        say_owed(evidence, radio, out);
    else if (isScanEnd)
        out.say(printed("%s: its first scan is over.", bandNames[radio]), state);
    else
        say_running(log, radio, out);
}

void say_waiting(const Evidence &evidence, Explanation &out)
{
    const Logbook &log = evidence.log;
    const LogLine *check = log.last("vesk_check_all_ready_ubus_handle", VESK_TEXT_NOT_READY);
    const LogLine *armed = log.last("vesk_start_check_all_ready_ubus_timer", VESK_TEXT_READY_CHECKS_BEGIN);
    const LogLine *role = log.last(isEnd, VESK_TEXT_UNSELECTED);
    const LogLine *count = log.last(isEnd, VESK_TEXT_RADIOS_AT_END);
    if (armed)
        out.say(printed("It is made when both first scans are over, at the latest at %s.",
                        clock_time(armed->when + checkInterval * (waits + 1)).c_str()),
                armed);
    if (check)
        out.say(printed("Check %d of %d, at %s, found the device not ready.", last_number(*check) + 1, waits,
                        clock_time(check->when).c_str()),
                check);
    if (role && role > count) {
        out.say("The node's role isn't decided yet (unselected): such a node is never ready before the "
                "longest wait "
                "is over.",
                role);
        return;
    }
    for (int radio = 0; radio < 2; radio++)
        say_radio(evidence, radio, out);
}
} // namespace

void Explanation::say(const std::string &text, const LogLine *line)
{
    statements.push_back(
        { text, line ? log.source(*line) : "", line ? line->number : 0, line ? line->text : "" });
}

std::string role_from_log(const Logbook &log, const LogLine **line)
{
    static constexpr const char *names[] = { "unselected", "controller", "agent" };
    const LogLine *start = log.last("vesk_load_cfg", VESK_TEXT_ROLE);
    const LogLine *unselected =
        std::max(log.last(nullptr, VESK_TEXT_UNSELECTED), log.last(nullptr, VESK_TEXT_STEP_UNSELECTED));
    *line = std::max(start, unselected);
    if (!*line)
        return "";
    if (*line == unselected)
        return names[0];
    const int role = last_number(*start);
    return role >= 0 && role < 3 ? names[role] : printed("role %d", role);
}

void explain_log(const Evidence &evidence, int passInterval, Explanation &out)
{
    const Logbook &log = evidence.log;
    if (!evidence.device)
        out.say("The bus tells nothing: " + evidence.busError + ".");
    if (!log.error.empty() && log.lines.empty()) {
        out.say(log.error +
                "; without the daemon's log the reasons can't be told (--log PATH names another).");
        return;
    }
    if (!log.knowsStart)
        out.say("The daemon's start isn't in " + log.path +
                " any more (the log is rotated above 1 MiB, and one older "
                "part is kept); what happened before its first line can't be told.");
    const LogLine *newest = log.newest_info();
    const long age = newest ? evidence.now - newest->when : 0;
    if (newest && age <= std::max(passInterval, 20) + silence)
        return;
    out.say(
        newest
            ? printed(
                  "The newest line of level INFO is %s old, though the daemon writes one at every pass: it "
                  "doesn't run, its log level is below 6, or its lines go elsewhere. `veskctl log level 6` "
                  "and `veskctl log to %s` make it tell, from its next step on.",
                  span_text(age).c_str(), log.path.c_str())
            : printed("%s has no line of level INFO: the daemon's log level is too low to tell. `veskctl log "
                      "level "
                      "6` makes it tell, from its next step on.",
                      log.path.c_str()),
        newest);
}

Explanation explain_ready(const Evidence &evidence)
{
    Explanation out = { evidence.log, "Readiness" };
    if (evidence.readySince) {
        out.say(printed("The device is ready: %s is there, since %s.", readyFlag,
                        clock_time(*evidence.readySince, true).c_str()));
        say_made(evidence, out);
    } else {
        out.say(printed("The device isn't ready: %s isn't there.", readyFlag));
        if (!evidence.log.lines.empty())
            say_waiting(evidence, out);
    }
    explain_log(evidence, 60, out);
    return out;
}
