// The daemon's log as data: its lines, taken apart, oldest first, and followed as it grows. A rotated log's
// packed predecessor stands in front of the lines of the present one.
#pragma once

#include <cstdint>
#include <cstdio>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

#include "include/vesk_log_texts.h"

inline constexpr const char *defaultLog = "/tmp/vesk.log";

/** A line, safe to show; its columns are pieces of it. A line of a dump has a message only. */
struct LogLine {
    std::string text;
    bool isPacked; // of the predecessor
    int number;    // in its file, from 1
    time_t when;
    uint16_t levelAt, levelSize, functionAt, functionSize, messageAt;

    std::string_view level() const { return std::string_view(text).substr(levelAt, levelSize); }
    std::string_view function() const { return std::string_view(text).substr(functionAt, functionSize); }
    /** Without the blank in front and the line end. */
    std::string_view message() const { return std::string_view(text).substr(messageAt); }
};

/** Taken apart; `now` gives the year that the stamp lacks. */
LogLine parse_log_line(std::string_view text, bool isPacked, int number, time_t now);

struct Logbook {
    std::string path;
    std::string error;          // why the present file can't be read; empty: it could
    std::vector<LogLine> lines; // of the daemon's last start, as far back as the files go
    bool knowsStart = false;    // the first line is that of the start

    /** File that holds a line. */
    std::string source(const LogLine &line) const { return line.isPacked ? path + ".old.gz" : path; }
    /** The last line of the function (any, if NULL) that a statement with this format wrote, and that holds
     * the piece; NULL if there is none. */
    const LogLine *last(const char *function, const char *format, std::string_view piece = "") const;
    /** The last line of the function that holds the text. */
    const LogLine *last_with(const char *function, const char *text) const;
    /** The newest line that the level INFO lets through. */
    const LogLine *newest_info() const;

    // Where the reading stands, for the next look.
    dev_t device = 0;
    ino_t inode = 0;
    off_t offset = 0;
    int number = 0;
};

/** Reads what PATH holds beyond the last look (everything the first time, and when the file is another or
 * shorter) and, where the last start isn't in it, PATH.old.gz before it. */
void follow_log(Logbook &book);
/** A first look. */
Logbook read_log(const std::string &path);

/** Whether a printf format could have made the message: numbers for %d, any text for %s. Blanks in front and
 * line ends of the format don't count. */
bool is_message_of(std::string_view message, std::string_view format);

/** The number behind the first "name=" of a message; `otherwise` if there is none. */
int log_number(const LogLine &line, const char *name, int otherwise = -1);
