// Reasons in words. Every statement names what it rests on: a line of the daemon's log, or the bus.
#pragma once

#include <string>
#include <vector>

#include "tools/client/device.h"
#include "tools/client/log.h"

struct Statement {
    std::string text;
    std::string source; // file, "bus", or "" where it follows from the others
    int number;         // of the line; 0: none
    std::string line;
};

/** What there is to explain from. Without the daemon on the bus `device` is NULL and `busError` says why. */
struct Evidence {
    Logbook log;
    std::optional<time_t> readySince; // of the flag file; none: it isn't there
    const Snapshot *device;
    std::string busError;
    time_t now;
};

struct Explanation {
    const Logbook &log; // that its statements rest on
    std::string title = {};
    std::vector<Statement> statements = {};

    void say(const std::string &text, const LogLine *line = nullptr);
    void say_from_bus(const std::string &text) { statements.push_back({ text, "bus", 0, "" }); }
};

/** Why the last pass did or didn't scan on the radio (0 or 1), and when the next is due. */
Explanation explain_scan(const Evidence &evidence, int radio);
/** What holds readiness back, or what made it. */
Explanation explain_ready(const Evidence &evidence);
/** What the log can't tell, and why: missing, started afresh, level too low, gone elsewhere. */
void explain_log(const Evidence &evidence, int passInterval, Explanation &explanation);
/** The radio (0 or 1) as the bus tells it, NULL if it doesn't. */
const RadioState *radio_state(const Evidence &evidence, int radio);
/** The role as the log has it, in words; "" if the log doesn't tell. */
std::string role_from_log(const Logbook &log, const LogLine **line);
