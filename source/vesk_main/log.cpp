// The two halves of the log statement, and every writer of the stream and of the level. All of them hold one
// recursive mutex, begin's until end: scan threads log beside the main loop, and a statement's arguments may
// log.
#include "source/vesk_main/log.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include <pthread.h>
#include <sys/stat.h>

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

/** Keeps the file below its limit, wherever the lines go at the moment; always comes back to it. */
void rotate_if_large()
{
    struct stat st;
    if (stat(VESK_LOG_FILE, &st) != 0 || st.st_size <= rotateAbove)
        return;
    close_stream(vesk_get_vesk_info()->logFile);
    rename(VESK_LOG_FILE, rotatedName);
    [[maybe_unused]] const int status = system(packCommand);
    set_stream(open_for_append(VESK_LOG_FILE));
}
} // namespace

bool vesk_log_begin(VeskLogLevel level)
{
    pthread_mutex_lock(&logMutex);
    if (!logClosed) {
        rotate_if_large(); // a statement that the level holds back rotates, too
        if (vesk_get_vesk_info()->logLevel >= level)
            return true;
    }
    pthread_mutex_unlock(&logMutex);
    return false;
}

const char *vesk_log_time(char *text)
{
    const time_t now = time(nullptr);
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
    vesk_get_vesk_info()->logLevel = VESK_LEVEL_INFO;
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
    const LogGuard guard;
    vesk_get_vesk_info()->logLevel = level;
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
