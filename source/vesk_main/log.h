// The log statement. Every statement looks at the size of the log file first (and rotates it above 1 MiB),
// then at the level; only then are its arguments evaluated and the line written and flushed: they must not
// have effects. It may stand on any thread.
#pragma once

#include <cstddef>

#include "include/vesk_log_texts.h"

enum VeskLogLevel : int {
    VESK_LEVEL_ERROR = 3,
    VESK_LEVEL_NOTICE = 5,
    VESK_LEVEL_INFO = 6,
    VESK_LEVEL_DEBUG = 7,
};

#define VESK_LOG_FILE "/tmp/vesk.log"
#define VESK_INIT_LOG_FILE "/tmp/vesk_init.log"

/** Path column of a line: the first two components of the source path, without an extension. A compiler cache
 * may name the path from the build folder on. */
struct VeskLogModule {
    char text[48];
};

consteval VeskLogModule vesk_log_module(const char *path)
{
    VeskLogModule module{};
    while (path[0] == '.' && path[1] == '.' && path[2] == '/')
        path += 3;
    int slashes = 0;
    for (size_t i = 0; path[i] != '\0' && i + 1 < sizeof(module.text); i++) {
        if (path[i] == '.' || (path[i] == '/' && ++slashes == 2))
            break;
        module.text[i] = path[i];
    }
    return module;
}

/** Function and line that a log line names. */
struct VeskLogSite {
    const char *function;
    int line;
};

/** The caller's site, as the default of a helper's last parameter: VeskLogSite caller = VESK_CALLER. */
#define VESK_CALLER                                                                                          \
    {                                                                                                        \
        __builtin_FUNCTION(), __builtin_LINE()                                                               \
    }

constexpr VeskLogSite vesk_log_site(const char *function, int line)
{
    return { function, line };
}
constexpr VeskLogSite vesk_log_site(const VeskLogSite &site, int)
{
    return site;
}

/** Logs a printf-like message of a level (ERROR, NOTICE, INFO, DEBUG) under the function it stands in.
 *  The message brings its own line end. */
#define VESK_LOG(level, format, ...) VESK_LOG_AS(__func__, level, format, ##__VA_ARGS__)

/** The same for another function: `at` is its name, in a step that it has been split into, or the site of the
 * caller, in a helper of several functions. */
#define VESK_LOG_AS(at, level, format, ...)                                                                  \
    do {                                                                                                     \
        if (vesk_log_begin(VESK_LEVEL_##level)) {                                                            \
            static constexpr VeskLogModule vesk_log_here = vesk_log_module(__FILE__);                        \
            const VeskLogSite vesk_log_at = vesk_log_site(at, __LINE__);                                     \
            vesk_log_end(VESK_LOG_PREFIX format, vesk_log_time(), #level, vesk_log_here.text,                \
                         vesk_log_at.function, vesk_log_at.line, ##__VA_ARGS__);                             \
        }                                                                                                    \
    } while (0)

/** The lines that several modules share. */
#define VESK_LOG_NULL() VESK_LOG_NULL_AS(__func__)
#define VESK_LOG_NULL_AS(at) VESK_LOG_AS(at, ERROR, " Error:is NULL\n")
#define VESK_LOG_RANGE(value, low, high) VESK_LOG_RANGE_AS(__func__, value, low, high)
#define VESK_LOG_RANGE_AS(at, value, low, high)                                                              \
    VESK_LOG_AS(at, ERROR, " Error:num [%d] [min-max) = [%d] - [%d] is out range\n", value, low, high)

/** First half of a statement: rotates, tests the level. True: there is a line to write, and the log's lock is
 * held. */
bool vesk_log_begin(VeskLogLevel level);

/** The text form of the present local time; only between the halves. */
const char *vesk_log_time();

/** Second half: writes the line, flushes, gives the lock back. */
[[gnu::format(printf, 1, 2)]] void vesk_log_end(const char *format, ...);

/** Level 6, log file opened for appending; stderr when it can't be opened. */
void vesk_init_log();

/** Closes the log stream; only on the way out of the process. */
void vesk_deinit_log();

void vesk_log_set_level(int level);
/** Lines go to stderr's stream; the stream that was there stays open. */
void vesk_log_use_stderr();
/** Closes the present stream; a path is opened for appending, NULL means stderr. A path that can't be opened
 * leaves stderr. */
void vesk_log_redirect(const char *path);
