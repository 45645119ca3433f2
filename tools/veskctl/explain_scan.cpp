// Why a pass did or didn't scan. A pass gives each radio one step; what a step says stands between the line
// of its timer's handler and the next handler's, because handlers run one at a time on the daemon's main
// loop.
#include <algorithm>
#include <cstdlib>

#include "tools/client/text.h"
#include "tools/veskctl/explain.h"
#include "tools/veskctl/log_state.h"

namespace
{
constexpr int stepDelay[] = { 1, 3 }; // seconds behind the pass
constexpr int lateAfter = 3;          // seconds behind the due time that are no delay yet
constexpr size_t namedStations = 8;
constexpr const char *stepHandlers[] = { "vesk_scan_2G_period_ubus_handle",
                                         "vesk_scan_5GA_period_ubus_handle" };
constexpr const char *resultHandlers[] = { "vesk_scan_2G_result_ubus_handle",
                                           "vesk_scan_5GA_result_ubus_handle" };
constexpr const char *resultTexts[] = { VESK_TEXT_RESULT_2G, VESK_TEXT_RESULT_5G };

/** What ends a step. The first row of which a line is found in the step is its reason. */
struct Reason {
    const char *function;
    const char *format;
    const char *words;
};
constexpr Reason reasons[] = {
    { "vesk_is_allowed_scan", VESK_TEXT_STEP_UNSELECTED,
      "It didn't scan: the node's role isn't decided yet (unselected), and such a node never scans." },
    { "vesk_is_allowed_scan", VESK_TEXT_STEP_RADIO_DOWN, "It didn't scan: the radio is down." },
    { "vesk_is_allowed_scan", VESK_TEXT_AUTO_CONNECT,
      "It didn't scan: a backhaul station is on auto-connect, and that stops scanning on both radios "
      "(`veskctl backhaul auto BAND off` ends it)." },
    { "vesk_scan_process", VESK_TEXT_STEP_NOT_ALLOWED,
      "It didn't scan: scanning was switched off at that moment (`veskctl scanning on`; a channel change or "
      "a "
      "refresh of the VAPs does so for a while, too)." },
    { "vesk_scan_process", VESK_TEXT_STEP_FIRST_OWED,
      "It didn't scan: the radio's first scan was still owed, and the step asked for that instead." },
    { "vesk_scan_process", VESK_TEXT_STEP_FIRST_RUNS,
      "It didn't scan: the radio's first scan was still under way (or had given up before it began)." },
    { "vesk_scan_process", VESK_TEXT_STEP_CHIP,
      "It didn't scan: this chip takes no periodic scans; only the operating channel's figures were "
      "refreshed." },
    { "vesk_scan_process", VESK_TEXT_STEP_BUSY, "It didn't scan: the radio was busy" },
    { "vesk_scan_process", VESK_TEXT_STEP_STATION,
      "It didn't scan: a station was connected to a fronthaul access point, on whichever radio." },
    { "vesk_scan_process", VESK_TEXT_STEP_ACS_OFF,
      "It didn't scan: automatic channel selection is off on this radio." },
    { "vesk_scan_process", VESK_TEXT_STEP_NO_BASE,
      "It didn't scan: no access point of this radio is up that could carry the scan." },
    { "vesk_scan_process", VESK_TEXT_STEP_BASE_BACKHAUL,
      "It didn't scan: the access point that would carry the scan is a backhaul BSS." },
};

bool is_handler(const LogLine &line)
{
    return line.function().ends_with("_ubus_handle");
}

/** The pass and step of one radio as the log has them; NULL what it hasn't got. */
struct Step {
    const LogLine *pass = nullptr;    // the master timer's line
    const LogLine *handler = nullptr; // the step's timer's line
    const LogLine *reason = nullptr;  // why it ended, with its row
    const Reason *row = nullptr;
    const LogLine *trigger = nullptr; // the result timer was armed: it scanned
    const LogLine *result = nullptr;
};

void find_outcome(const Logbook &log, size_t from, Step &step)
{
    for (size_t i = from; i < log.lines.size() && !is_handler(log.lines[i]); i++) {
        const LogLine &line = log.lines[i];
        if (line.function() == "vesk_start_scan_result_ubus_timer" && !step.trigger)
            step.trigger = &line;
        for (const Reason &row : reasons) {
            if (step.row || line.function() != row.function || !is_message_of(line.message(), row.format))
                continue;
            step.reason = &line;
            step.row = &row;
        }
    }
}

Step find_step(const Logbook &log, int radio)
{
    Step step;
    step.pass = log.last("vesk_update_scan_ubus_handle", VESK_TEXT_PASS);
    step.handler = log.last(stepHandlers[radio], VESK_TEXT_SWITCHES);
    if (step.handler)
        find_outcome(log, static_cast<size_t>(step.handler - log.lines.data()) + 1, step);
    const LogLine *result = log.last(resultHandlers[radio], resultTexts[radio]);
    if (step.trigger && result > step.trigger)
        step.result = result;
    return step;
}

/** A radio's limit as the daemon wrote it into its log at start; -1 if that is gone. */
int limit_of(const Logbook &log, int radio, const char *format)
{
    const LogLine *line = log.last("", format, printed("scanCfg[%d]", radio));
    const std::string message(line ? line->message() : "");
    return line ? atoi(message.c_str() + message.find('=') + 1) : -1;
}

std::string busy_words(const Logbook &log, int radio, const LogLine &line)
{
    std::string text = printed(", with %d %% traffic of its own BSS and %d %% transmit utilisation",
                               log_number(line, "ccaInbss"), log_number(line, "ccaTxUtil"));
    const int rx = limit_of(log, radio, VESK_TEXT_DUMP_RX_LIMIT),
              tx = limit_of(log, radio, VESK_TEXT_DUMP_TX_LIMIT);
    text += rx >= 0 && tx >= 0 ? printed("; it scans below %d %% and %d %%.", rx, tx)
                               : "; one of them is at or above its limit.";
    return text;
}

void say_stations(const Evidence &evidence, Explanation &out)
{
    std::string names;
    size_t count = 0;
    for (const VapState &vap : evidence.device->vaps)
        for (const StationState &station : vap.stations)
            if (!station.isBackhaul && ++count <= namedStations)
                names += (names.empty() ? "" : ", ") + station.mac + " on " + vap.name;
    if (count > namedStations)
        names += printed(" and %zu more", count - namedStations);
    out.say_from_bus(names.empty() ? "By now no such station is connected any more."
                                   : "Connected now: " + names + ".");
}

void say_scanned(const Step &step, int radio, Explanation &out)
{
    if (step.result)
        out.say(printed("It scanned channel %d: %d of %d channels of this cycle had been visited before.",
                        log_number(*step.result, "scanning"), log_number(*step.result, "alreadyScanCount"),
                        log_number(*step.result, "offChListNum")),
                step.result);
    else
        out.say(
            printed("It triggered a scan; the result hasn't been fetched yet, or scanning was switched off "
                    "in between (a second later, by %s).",
                    resultHandlers[radio]),
            step.trigger);
}

void say_outcome(const Evidence &evidence, const Step &step, int radio, Explanation &out)
{
    if (step.trigger) {
        say_scanned(step, radio, out);
    } else if (step.row) {
        const bool isBusy = std::string_view(step.row->format) == VESK_TEXT_STEP_BUSY;
        out.say(step.row->words + (isBusy ? busy_words(evidence.log, radio, *step.reason) : ""), step.reason);
        if (std::string_view(step.row->format) == VESK_TEXT_STEP_STATION && evidence.device)
            say_stations(evidence, out);
    } else {
        out.say(
            "It didn't scan, and the log gives no reason: no channel of its list was left to visit, or its "
            "lines are missing.",
            step.handler);
    }
}

void say_last_scan(const Evidence &evidence, const Step &step, int radio, Explanation &out)
{
    const LogLine *result = evidence.log.last(resultHandlers[radio], resultTexts[radio]);
    if (step.trigger || !result)
        return;
    out.say(printed("The last scan of this radio was that of channel %d, at %s (%s ago).",
                    log_number(*result, "scanning"), clock_time(result->when).c_str(),
                    span_text(evidence.now - result->when).c_str()),
            result);
}

/** The line that armed the master timer last, and its interval. */
const LogLine *last_arming(const Logbook &log, const LogLine *pass, int &interval)
{
    const LogLine *armed = log.last("vesk_start_scan_ubus_timer", VESK_TEXT_SWITCHES_ITV);
    const LogLine *line = std::max(pass, armed);
    if (line)
        interval = log_number(*line, line == pass ? "scanItv" : "itv");
    return line;
}

void say_next(const Evidence &evidence, const Step &step, int radio, Explanation &out)
{
    int interval = 0;
    const LogLine *armed = last_arming(evidence.log, step.pass, interval);
    if (!armed)
        return;
    if (!evidence.device) {
        out.say("No pass opens while the daemon isn't there.");
        return;
    }
    const time_t pass = armed->when + interval, due = pass + stepDelay[radio];
    if (evidence.now <= pass + lateAfter)
        out.say(printed("The next pass opens at %s, this radio's step follows at %s (in %s).",
                        clock_time(pass).c_str(), clock_time(due).c_str(),
                        span_text(due - evidence.now).c_str()),
                armed);
    else
        out.say(printed("A pass should have opened at %s, %s ago, and the log has none.",
                        clock_time(pass).c_str(), span_text(evidence.now - pass).c_str()),
                armed);
}

void say_pass(const Evidence &evidence, const Step &step, int radio, Explanation &out)
{
    const time_t ago = evidence.now - step.pass->when;
    out.say(printed("The last pass opened at %s (%s ago).", clock_time(step.pass->when).c_str(),
                    span_text(ago).c_str()),
            step.pass);
    const LogLine *skipped = evidence.log.last("vesk_update_scan_ubus_handle", VESK_TEXT_PASS_OFF);
    if (skipped > step.pass) {
        out.say("It was skipped for both radios: scanning is switched off (`veskctl scanning on`; while a "
                "backhaul "
                "station is on auto-connect that is refused).",
                skipped);
    } else if (step.handler && step.handler > step.pass) {
        say_outcome(evidence, step, radio, out);
    } else {
        out.say(printed("This radio's step of it is still to come, %d s behind the pass.", stepDelay[radio]));
        if (step.handler) {
            out.say(printed("Its step before was at %s.", clock_time(step.handler->when).c_str()),
                    step.handler);
            say_outcome(evidence, step, radio, out);
        }
    }
}

/** Scanning that is off is the first thing to know. False if it is. */
bool say_switch(const Logbook &log, Explanation &out)
{
    const ScanSwitch scanning = scan_switch(log);
    if (scanning.state == Switch::Off)
        out.say("Scanning is off: " + scanning.why + ".", scanning.line);
    return scanning.state != Switch::Off;
}
} // namespace

const RadioState *radio_state(const Evidence &evidence, int radio)
{
    if (evidence.device)
        for (const RadioState &state : evidence.device->radios)
            if ((state.band == 0) == (radio == 0))
                return &state;
    return nullptr;
}

Explanation explain_scan(const Evidence &evidence, int radio)
{
    Explanation out = { evidence.log, printed("Scanning on %s", radio == 0 ? "2.4 GHz" : "5 GHz") };
    const RadioState *state = radio_state(evidence, radio);
    if (state)
        out.say_from_bus(
            printed("%s is %s, on channel %d; automatic channel selection is %s; %d of %zu channels "
                    "have been measured.",
                    state->name.c_str(), state->state(), state->channel, state->isAcsEnabled ? "on" : "off",
                    state->measured(), state->channels.size()));
    const Logbook &log = evidence.log;
    const LogLine *never = log.last("vesk_start_scan_ubus_timer", VESK_TEXT_TIMER_OFF);
    const Step step = find_step(log, radio);
    if (never && !step.pass) {
        out.say("No pass ever opens: scanning is off in the daemon's configuration (VESK_SCAN_CONFIG).",
                never);
        return out;
    }
    const bool mayScan = say_switch(log, out);
    if (step.pass) {
        say_pass(evidence, step, radio, out);
        say_last_scan(evidence, step, radio, out);
    } else if (log.error.empty()) {
        out.say("The log holds no pass yet.");
    }
    if (mayScan)
        say_next(evidence, step, radio, out);
    explain_log(evidence, state ? state->scanInterval : 60, out);
    return out;
}
