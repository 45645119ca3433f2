// Text helpers of the client: formatted strings, texts of devices made safe, addresses, files replaced in one
// step.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

/** A printf-like text as a string. */
[[gnu::format(printf, 1, 2)]] std::string printed(const char *format, ...);

/** The bytes as valid UTF-8 that can't steer a terminal: control characters, marks that turn the direction of
 * a line and invisible ones become '?', what is no UTF-8 becomes U+FFFD. SSIDs may hold anything. */
std::string clean_text(std::string_view bytes);
/** Text of a field that may lack its terminator, made safe to show. */
std::string field_text(const char *text, size_t size);
#define FIELD_TEXT(member) field_text(member, sizeof(member))

/** Cells that a UTF-8 text takes on a terminal: East Asian characters two, combining ones none. */
size_t cell_count(std::string_view text);
/** As many characters as fit into `cells`, the last of them the ellipsis where something is cut off. */
std::string cut_text(const std::string &text, size_t cells, const char *ellipsis = "…");
/** The text with blanks behind it up to `cells`. */
std::string padded(const std::string &text, size_t cells);
/** For text and attribute values of HTML and SVG. */
std::string html_escape(std::string_view text);

/** "1 neighbour", "2 neighbours". */
std::string counted(size_t count, const char *what);
/** "22:58:41" or, with the day, "2026-11-24 22:58:41", local time. */
std::string clock_time(time_t when, bool withDay = false);
/** "12 s", "3 min", "2 h", "5 d". */
std::string span_text(long seconds);
/** A bar of `width` cells, filled to a share of 100. */
std::string bar_text(int percent, int width);

std::string to_hex(const uint8_t *data, size_t size);
/** Hexadecimal digits, two for a byte; blanks or colons may stand between bytes. False when it is none. */
bool from_hex(std::string_view text, std::vector<uint8_t> &bytes);
std::string mac_text(const uint8_t *mac);
/** "02:11:22:33:44:55" and nothing else: the text also goes to the driver as it stands. */
bool parse_mac(std::string_view text, uint8_t *mac);
/** A whole decimal number within limits; false for anything else. */
bool parse_number(std::string_view text, long long low, long long high, long long &number);

/** Seconds since the epoch, to the millisecond: for showing. */
double now_seconds();
/** Milliseconds of the monotonic clock: for waiting, whatever happens to the time of day. */
int64_t monotonic_ms();

/** Replaces a file in one step, so that no reader sees half of it; what is no regular file, and "-", standard
 * output, is written to. False, with the reason. */
bool write_by_rename(const std::string &path, const std::string &text, std::string &error);
/** A whole file ("-": standard input), at most `limit` bytes of it. False, with the reason. */
bool read_file(const std::string &path, size_t limit, std::string &text, std::string &error);
