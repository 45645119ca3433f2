// The daemon's log as data: its lines, taken apart, oldest first. A rotated log's packed predecessor stands
// in front of the lines of the present one.
#pragma once

#include <ctime>
#include <functional>
#include <string>
#include <vector>

inline constexpr const char *defaultLog = "/tmp/vesk.log";

struct LogLine {
    std::string source; // file that holds it
    int number;         // in the file, from 1
    time_t when;
    std::string level; // "INFO"
    std::string function;
    std::string message; // without the blank in front and the line end
    std::string text;    // the whole line; both are safe to show
};

struct Logbook {
    std::string path;
    std::string error;          // why the present file can't be read; empty: it could
    std::vector<LogLine> lines; // of the daemon's last start, as far back as the files go
    bool knowsStart = false;    // the first line is that of the start

    /** The last line of the function (any, if NULL) that holds the text; NULL if there is none. */
    const LogLine *last(const char *function, const char *text) const;
    /** The newest line that the level INFO lets through. */
    const LogLine *newest_info() const;
};

/** Reads PATH and, where the last start isn't in it, PATH.old.gz before it. */
Logbook read_log(const std::string &path);

/** The number behind the first "name=" of a message; `otherwise` if there is none. */
int log_number(const LogLine &line, const char *name, int otherwise = -1);
