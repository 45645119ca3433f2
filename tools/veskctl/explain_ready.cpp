// What holds the ready flag back: the role, or a first scan that isn't over, for 32 seconds at most. And what
// the log can't tell.
#include <algorithm>

#include "tools/veskctl/cli.h"
#include "tools/veskctl/explain.h"
#include "tools/veskctl/text.h"

namespace
{
constexpr int checkInterval = 2, waits = 15; // seconds; checks that may put the flag off
constexpr const char *isEnd = "vesk_first_scanning_is_end";
constexpr const char *firstHandlers[] = { "vesk_scan_2G_first_ubus_handle",
                                          "vesk_scan_5GA_first_ubus_handle" };
constexpr const char *bandNames[] = { "2.4 GHz", "5 GHz" };
constexpr int silence = 10; // seconds behind an interval that make a log silent

const LogLine *last_of_radio(const Logbook &log, const char *function, const char *format, int radio)
{
    char text[64];
    snprintf(text, sizeof text, format, radio);
    return log.last(function, text);
}

void say_made(const Evidence &evidence, Explanation &out)
{
    const Logbook &log = evidence.log;
    const LogLine *controller = log.last(nullptr, "Current role: HUL_CONTROLLER");
    const LogLine *made = log.last("vesk_check_all_ready_ubus_handle", "Create ready file");
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
    const LogLine *progress = last_of_radio(log, "vesk_first_scanning", "usleep=500ms, radio[%d]=", radio);
    const LogLine *count = log.last(nullptr, printed("scanCfg[%d]->offChListNums", radio).c_str());
    const int all = count ? atoi(count->message.c_str() + count->message.find('=') + 1) : 0;
    const LogLine *whole = log.last("vesk_first_scanning", printed("band=%d, chipName=", radio).c_str());
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
                last_of_radio(log, isEnd, "isend[%d]=", radio));
}

void say_owed(const Evidence &evidence, int radio, Explanation &out)
{
    const Logbook &log = evidence.log;
    const LogLine *refused = log.last("vesk_first_scanning", "bstaAuto.enableAuto=");
    const LogLine *handler = log.last(firstHandlers[radio], "scanEnable=");
    const LogLine *armed = last_of_radio(log, "vesk_start_first_scan_ubus_timer", "band=%d,", radio);
    const LogLine *off = log.last("vesk_start_first_scan_ubus_timer", "not enabled ----exit");
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
        out.say(printed("%s: its first scan is still owed.", bandNames[radio]),
                last_of_radio(log, isEnd, "isend[%d]=", radio));
}

void say_radio(const Evidence &evidence, int radio, Explanation &out)
{
    const Logbook &log = evidence.log;
    const LogLine *state = last_of_radio(log, isEnd, "isend[%d]=", radio);
    if (!state) {
        say_owed(evidence, radio, out);
        return;
    }
    const LogLine *acs = last_of_radio(log, isEnd, "radioInfo[%d].isAcsEnabled", radio);
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
    const LogLine *check = log.last("vesk_check_all_ready_ubus_handle", "Not ready continue");
    const LogLine *armed = log.last("vesk_start_check_all_ready_ubus_timer", "vesk_start_check_all_ready");
    const LogLine *role = log.last(isEnd, "UNSELECTED AP");
    const LogLine *count = log.last(isEnd, "count=");
    if (armed)
        out.say(printed("It is made when both first scans are over, at the latest at %s.",
                        clock_time(armed->when + checkInterval * (waits + 1)).c_str()),
                armed);
    if (check) {
        const char *number = strrchr(check->message.c_str(), '=');
        out.say(printed("Check %d of %d, at %s, found the device not ready.",
                        (number ? atoi(number + 1) : 0) + 1, waits, clock_time(check->when).c_str()),
                check);
    }
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
    statements.push_back({ text, line ? line->source : "", line ? line->number : 0, line ? line->text : "" });
}

std::string role_from_log(const Logbook &log, const LogLine **line)
{
    static constexpr const char *names[] = { "unselected", "controller", "agent" };
    const LogLine *start = log.last("vesk_load_cfg", "vesk start work role = ");
    const LogLine *unselected = log.last(nullptr, "The node is UNSELECTED AP");
    *line = std::max(start, unselected);
    if (!*line)
        return "";
    if (*line == unselected)
        return names[0];
    const int role = atoi(start->message.c_str() + start->message.rfind('=') + 1);
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
    Explanation out;
    out.title = "Readiness";
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
