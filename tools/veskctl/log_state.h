// What the log tells of the daemon's switches, which no method tells.
#pragma once

#include <string>

#include "tools/client/log.h"
#include "tools/veskctl/command.h"

enum class Switch { Unknown, Off, On };

/** A switch and since when: the line that told it last. */
struct SwitchState {
    Switch state = Switch::Unknown;
    const LogLine *line = nullptr; // of the log that was asked
    const char *word() const { return state == Switch::On ? "on" : state == Switch::Off ? "off" : "unknown"; }
};

/** The scanning switch: an off has a reason. One that passes comes with a refresh of the VAPs or a channel
 * change. */
struct ScanSwitch : SwitchState {
    std::string why;
    bool passes = false;
};
ScanSwitch scan_switch(const Logbook &log);

/** A poller's or other switch by the statement that sets it and the word that its lines carry. */
struct SwitchTexts {
    const char *name;   // "stations"
    const char *format; // of the statement behind the switch's signal
    const char *field;  // "isStaPollEnabled", in the poller's own lines
    const char *signal; // that switches it
    const char *what;   // "the station table"
};
std::span<const SwitchTexts> poller_texts();
SwitchState switch_state(const Logbook &log, const SwitchTexts &texts);

/** The path that --log named, or the usual one. */
std::string log_path(const Arguments &arguments);
/** " (10:02:03, /tmp/vesk.log:12)", or "" without a line. */
std::string line_reference(const Logbook &log, const LogLine *line);
