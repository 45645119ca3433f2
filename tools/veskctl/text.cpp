#include "tools/veskctl/text.h"

#include <cerrno>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <cjson/cJSON.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

namespace
{
/** Length of the valid UTF-8 sequence at the start, 0 if there is none. */
size_t sequence_length(std::string_view s)
{
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(s[i]); };
    const unsigned char lead = byte(0);
    const size_t length = lead < 0x80                   ? 1
                          : lead >= 0xc2 && lead < 0xe0 ? 2
                          : lead >= 0xe0 && lead < 0xf0 ? 3
                          : lead >= 0xf0 && lead < 0xf5 ? 4
                                                        : 0;
    if (length == 0 || s.size() < length)
        return 0;
    for (size_t i = 1; i < length; i++)
        if ((byte(i) & 0xc0) != 0x80)
            return 0;
    if (length < 3)
        return length;
    const unsigned char second = byte(1); // overlong forms, surrogates, beyond U+10FFFF
    const bool bad = (lead == 0xe0 && second < 0xa0) || (lead == 0xed && second >= 0xa0) ||
                     (lead == 0xf0 && second < 0x90) || (lead == 0xf4 && second >= 0x90);
    return bad ? 0 : length;
}

/** What steers a terminal (C0, C1: U+0080 to U+009F) or turns the direction of a line (U+202A to U+202E,
 * U+2066 to U+2069). */
bool is_control(std::string_view sequence)
{
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(sequence[i]); };
    if (sequence.size() == 1)
        return byte(0) < 0x20 || byte(0) == 0x7f;
    if (sequence.size() == 2)
        return byte(0) == 0xc2 && byte(1) < 0xa0;
    return sequence.size() == 3 && byte(0) == 0xe2 &&
           ((byte(1) == 0x80 && byte(2) >= 0xaa && byte(2) <= 0xae) ||
            (byte(1) == 0x81 && byte(2) >= 0xa6 && byte(2) <= 0xa9));
}

bool is_lead_byte(char c)
{
    return (static_cast<unsigned char>(c) & 0xc0) != 0x80;
}

bool write_whole(FILE *file, const std::string &text)
{
    const bool written = fwrite(text.data(), 1, text.size(), file) == text.size();
    return fflush(file) == 0 && written;
}

std::string write_error(const std::string &path)
{
    return "can't write " + path + ": " + strerror(errno);
}

/** Standard output, a device or a FIFO: nothing can take their place. */
bool write_through(const std::string &path, const std::string &text, std::string &error)
{
    FILE *file = path == "-" ? stdout : fopen(path.c_str(), "we");
    const bool done = file && write_whole(file, text);
    if (!done)
        error = write_error(path);
    if (file && file != stdout)
        fclose(file);
    return done;
}
} // namespace

std::string printed(const char *format, ...)
{
    va_list args, again;
    va_start(args, format);
    va_copy(again, args);
    const int size = vsnprintf(nullptr, 0, format, args);
    va_end(args);
    std::string text(size > 0 ? static_cast<size_t>(size) : 0, '\0');
    vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    return text;
}

std::string clean_text(std::string_view bytes)
{
    std::string text;
    while (!bytes.empty()) {
        const size_t length = sequence_length(bytes);
        const std::string_view sequence = bytes.substr(0, length);
        text += length == 0 ? "\xef\xbf\xbd" : is_control(sequence) ? "?" : sequence;
        bytes.remove_prefix(length > 0 ? length : 1);
    }
    return text;
}

size_t char_count(std::string_view text)
{
    size_t count = 0;
    for (char c : text)
        count += is_lead_byte(c);
    return count;
}

std::string cut_text(const std::string &text, size_t count, const char *ellipsis)
{
    if (count == 0 || char_count(text) <= count)
        return count == 0 ? "" : text;
    size_t end = 0, chars = 0;
    while (end < text.size() && !(is_lead_byte(text[end]) && chars == count - 1))
        chars += is_lead_byte(text[end++]);
    return text.substr(0, end) + ellipsis;
}

std::string html_escape(std::string_view text)
{
    std::string escaped;
    for (char c : text) {
        switch (c) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        case '\'':
            escaped += "&#39;";
            break;
        default:
            escaped += c;
        }
    }
    return escaped;
}

std::string json_line(const cJSON *value)
{
    char *text = cJSON_PrintUnformatted(value);
    std::string line = text ? text : "null";
    cJSON_free(text);
    return line;
}

std::string counted(size_t count, const char *what)
{
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string clock_time(time_t when, bool withDay)
{
    tm local = {};
    localtime_r(&when, &local);
    char text[40];
    strftime(text, sizeof text, withDay ? "%Y-%m-%d %H:%M:%S" : "%H:%M:%S", &local);
    return text;
}

std::string span_text(long seconds)
{
    if (seconds < 0)
        seconds = 0;
    return seconds < 120      ? printed("%ld s", seconds)
           : seconds < 7200   ? printed("%ld min", seconds / 60)
           : seconds < 172800 ? printed("%ld h", seconds / 3600)
                              : printed("%ld d", seconds / 86400);
}

double now_seconds()
{
    timeval now;
    gettimeofday(&now, nullptr);
    return static_cast<double>(now.tv_sec) + std::floor(static_cast<double>(now.tv_usec) / 1000.0) / 1000.0;
}

bool write_by_rename(const std::string &path, const std::string &text, std::string &error)
{
    struct stat present;
    if (path == "-" || (stat(path.c_str(), &present) == 0 && !S_ISREG(present.st_mode)))
        return write_through(path, text, error);
    std::string beside = path + ".XXXXXX";
    const int fd = mkstemp(beside.data());
    FILE *file = fd >= 0 ? fdopen(fd, "w") : nullptr;
    bool done = file && write_whole(file, text);
    if (done) { // as a plain open() would have made it: a web server reads it under another user
        const mode_t mask = umask(0);
        umask(mask);
        done = fchmod(fd, 0666 & ~mask) == 0;
    }
    if (file)
        done = fclose(file) == 0 && done;
    done = done && rename(beside.c_str(), path.c_str()) == 0;
    if (done)
        return true;
    error = write_error(path);
    if (fd >= 0)
        unlink(beside.c_str());
    return false;
}
