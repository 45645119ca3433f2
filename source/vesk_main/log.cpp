// The two halves of the log statement, and every writer of the stream and of the level. Scan threads log
// beside the main loop: a rotation, a line and a change of the destination hold one mutex, a line's from
// begin to end. It is recursive, since a statement's arguments may log. A statement that neither rotates nor
// writes takes no lock.
#include "source/vesk_main/log.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include <pthread.h>
#include <sys/stat.h>

#include "foundation/shared.h"
#include "source/vesk_main/records.h"

namespace
{
constexpr off_t rotateAbove = 1048576; // bytes
constexpr char rotatedName[] = VESK_LOG_FILE ".old";
constexpr char packCommand[] = "rm -rf /tmp/vesk.log.old.gz;gzip /tmp/vesk.log.old";

// POSIX rather than std::recursive_mutex, which alone would make the daemon load the C++ library.
pthread_mutex_t logMutex = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
bool logClosed; // vesk_deinit_log has run: the field holds a stream that is gone

struct LogGuard {
    LogGuard() { pthread_mutex_lock(&logMutex); }
    ~LogGuard() { pthread_mutex_unlock(&logMutex); }
};

/** Close-on-exec, so that no child of system() keeps the file. NULL when it can't be opened. */
FILE *open_for_append(const char *path)
{
    return fopen(path, "ae");
}

/** stderr's stream may stand in the field, but is never closed: plain writes to stderr go on after it. */
void close_stream(FILE *stream)
{
    if (stream != nullptr && stream != stderr && !logClosed)
        fclose(stream);
}

void set_stream(FILE *stream)
{
    vesk_get_vesk_info()->logFile = stream;
    logClosed = false;
}

bool is_large()
{
    struct stat st;
    return stat(VESK_LOG_FILE, &st) == 0 && st.st_size > rotateAbove;
}

/** Keeps the file below its limit, wherever the lines go at the moment; always comes back to it. */
void rotate()
{
    const LogGuard guard;
    if (logClosed || !is_large()) // another thread was quicker
        return;
    close_stream(vesk_get_vesk_info()->logFile);
    rename(VESK_LOG_FILE, rotatedName);
    [[maybe_unused]] const int status = system(packCommand);
    set_stream(open_for_append(VESK_LOG_FILE));
}
} // namespace

bool vesk_log_begin(VeskLogLevel level)
{
    if (is_large()) // a statement that the level holds back rotates, too
        rotate();
    if (flag_load(&vesk_get_vesk_info()->logLevel) < level)
        return false;
    pthread_mutex_lock(&logMutex);
    if (!logClosed)
        return true;
    pthread_mutex_unlock(&logMutex);
    return false;
}

// The text is made once a second: ctime is 0.3 of the 0.74 us that a line takes besides its stat. As with
// ctime, a change of the time zone shows.
const char *vesk_log_time()
{
    static time_t shown = -1;
    static char text[26];
    const time_t now = time(nullptr);
    if (now == shown)
        return text;
    shown = now;
    tzset(); // ctime_r alone reads the zone only once
    if (ctime_r(&now, text) == nullptr)
        text[0] = '\0';
    return text;
}

void vesk_log_end(const char *format, ...)
{
    FILE *stream = vesk_get_vesk_info()->logFile;
    va_list args;
    va_start(args, format);
    vfprintf(stream != nullptr ? stream : stderr, format, args);
    va_end(args);
    fflush(vesk_get_vesk_info()->logFile); // NULL: all streams
    pthread_mutex_unlock(&logMutex);
}

void vesk_init_log()
{
    const LogGuard guard;
    flag_store(&vesk_get_vesk_info()->logLevel, VESK_LEVEL_INFO);
    set_stream(open_for_append(VESK_LOG_FILE));
    if (vesk_get_vesk_info()->logFile == nullptr)
        fputs("vesk init log error\r\n", stderr);
}

void vesk_deinit_log()
{
    const LogGuard guard;
    close_stream(vesk_get_vesk_info()->logFile);
    logClosed = true; // the field stays as it is; a scan thread that still runs must not write to it
}

void vesk_log_set_level(int level)
{
    flag_store(&vesk_get_vesk_info()->logLevel, level);
}

void vesk_log_use_stderr()
{
    const LogGuard guard;
    set_stream(stderr);
}

void vesk_log_redirect(const char *path)
{
    const LogGuard guard;
    close_stream(vesk_get_vesk_info()->logFile);
    set_stream(path != nullptr ? open_for_append(path) : nullptr);
}
