#include "platform/nl80211/log.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <iterator>

#include <pthread.h>

namespace radio
{

namespace
{

std::atomic<int32_t> threshold = levelNotice;
const char *name = "vesk-radio";

constexpr size_t textSize = 400;

// Hashes of the lines that log_once has written, the oldest of which goes first.
pthread_mutex_t saidLock = PTHREAD_MUTEX_INITIALIZER;
uint64_t said[32];
size_t saidNext;

/** FNV-1a, 64 bit. */
uint64_t hash_of(const char *text)
{
    uint64_t hash = 0xcbf29ce484222325u;
    for (; *text != '\0'; text++)
        hash = (hash ^ static_cast<uint8_t>(*text)) * 0x100000001b3u;
    return hash;
}

bool is_new(const char *text)
{
    const uint64_t hash = hash_of(text);
    pthread_mutex_lock(&saidLock);
    bool found = false;
    for (const uint64_t known : said)
        found |= known == hash;
    if (!found)
        said[saidNext++ % std::size(said)] = hash;
    pthread_mutex_unlock(&saidLock);
    return !found;
}

bool is_wanted(Level level)
{
    return level <= threshold.load(std::memory_order_relaxed);
}

/** One call of the stream, so that lines of two threads don't mix. */
void write_line(Level level, bool isOnce, const char *format, va_list arguments)
{
    if (!is_wanted(level))
        return;
    char text[textSize];
    vsnprintf(text, sizeof text, format, arguments);
    if (!isOnce || is_new(text))
        fprintf(stderr, "%s: %s\n", name, text);
}

} // namespace

void log_set_level(int32_t level)
{
    threshold.store(level, std::memory_order_relaxed);
}

void log_set_name(const char *text)
{
    name = text;
}

void log_line(Level level, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    write_line(level, false, format, arguments);
    va_end(arguments);
}

int log_refusal(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    write_line(levelError, false, format, arguments);
    va_end(arguments);
    return -1;
}

void log_once(Level level, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    write_line(level, true, format, arguments);
    va_end(arguments);
}

} // namespace radio
