// Text helpers of the client: formatted strings, texts of devices made safe, files replaced in one step.
#pragma once

#include <ctime>
#include <string>
#include <string_view>

/** A printf-like text as a string. */
[[gnu::format(printf, 1, 2)]] std::string printed(const char *format, ...);

/** The bytes as valid UTF-8 without control characters: whatever isn't becomes U+FFFD or '?'. SSIDs may hold
 * anything. */
std::string clean_text(std::string_view bytes);
/** Characters of a UTF-8 text. */
size_t char_count(std::string_view text);
/** The first `count` characters, the last of them "…" (or "." without Unicode) where something is cut off. */
std::string cut_text(const std::string &text, size_t count, const char *ellipsis = "…");
/** For text and attribute values of HTML and SVG. */
std::string html_escape(std::string_view text);
/** A JSON value on one line. */
std::string json_line(const struct cJSON *value);

/** "1 neighbour", "2 neighbours". */
std::string counted(size_t count, const char *what);
/** "22:58:41" or, with the day, "2026-11-24 22:58:41", local time. */
std::string clock_time(time_t when, bool withDay = false);
/** "12 s", "3 min", "2 h", "5 d". */
std::string span_text(long seconds);

/** Seconds since the epoch, to the millisecond. */
double now_seconds();

/** Replaces a file in one step, so that no reader sees half of it; what is no regular file, and "-", standard
 * output, is written to. False, with the reason. */
bool write_by_rename(const std::string &path, const std::string &text, std::string &error);
