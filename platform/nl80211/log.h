// What the library has to say, on standard error: which radios it found, what it can't do, what it read that
// makes no sense. Each line once, where it is decided.
#pragma once

#include <cstdint>

namespace radio
{

enum Level : int32_t { levelError = 3, levelNotice = 5, levelInfo = 6, levelDebug = 7 };

/** Lines above this level are left out; 5 at first. */
void log_set_level(int32_t level);

/** What each line begins with; "vesk-radio" at first. The text has to stay. */
void log_set_name(const char *name);

void log_line(Level level, const char *format, ...) __attribute__((format(printf, 2, 3)));

/** Why a command isn't carried out, as an error. Always -1. */
int log_refusal(const char *format, ...) __attribute__((format(printf, 1, 2)));

/** The same as log_line, but left out if it is one of the last lines that were written this way: for what a
 * poll finds anew. */
void log_once(Level level, const char *format, ...) __attribute__((format(printf, 2, 3)));

} // namespace radio
