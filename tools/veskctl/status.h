// The device on one terminal screen.
#pragma once

#include <deque>
#include <string>

#include "tools/client/device.h"
#include "tools/client/log.h"

struct Screen {
    int width = 80;
    int height = 0; // lines; 0: as many as there are
    bool color = false;
    bool unicode = false; // else ASCII only
};

/** What the terminal and the environment allow (COLUMNS, the locale). */
Screen screen_of_terminal(bool color);

struct StatusView {
    const Snapshot *device; // NULL: `error` says why the daemon can't be asked
    std::string error;
    std::string role; // "" if unknown
    const LogLine *roleLine;
    std::deque<std::string> signals; // newest last
    std::string signalSource;        // heading of the list
};

/** The screen's lines, none wider than the screen. */
std::string status_text(const StatusView &view, const Screen &screen);
/** A cell per channel by its utilisation, the own one marked, one that hasn't been measured a dot. */
std::string spark_line(const RadioState &radio, const Screen &screen);
