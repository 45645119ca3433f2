#include "tools/client/text.h"

#include <cerrno>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <iterator>
#include <locale.h>

#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include "foundation/mac.h"

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

uint32_t code_point(std::string_view sequence)
{
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(sequence[i]); };
    if (sequence.size() < 2)
        return byte(0);
    uint32_t code = byte(0) & (0x7f >> sequence.size());
    for (size_t i = 1; i < sequence.size(); i++)
        code = code << 6 | (byte(i) & 0x3f);
    return code;
}

/** What steers a terminal, turns the direction of a line, or can't be seen and makes two names look alike. */
bool is_hostile(uint32_t code)
{
    static constexpr struct {
        uint32_t first, last;
    } ranges[] = {
        { 0, 0x1f },        { 0x7f, 0x9f },     { 0xad, 0xad },       { 0x61c, 0x61c },
        { 0x200b, 0x200b }, { 0x200e, 0x200f }, { 0x2028, 0x202e },   { 0x2060, 0x206f },
        { 0xfeff, 0xfeff }, { 0xfff9, 0xfffb }, { 0xe0000, 0xe007f },
    };
    for (const auto &range : ranges)
        if (code >= range.first && code <= range.last)
            return true;
    return false;
}

/** The next character of a text: its bytes (one where it is no UTF-8), its code (0xFFFD there). */
struct Character {
    std::string_view bytes;
    uint32_t code;
};
Character first_character(std::string_view text)
{
    const size_t length = sequence_length(text);
    const std::string_view bytes = text.substr(0, length > 0 ? length : 1);
    return { bytes, length > 0 ? code_point(bytes) : 0xfffd };
}

/** The C library's widths, whatever locale the terminal has. */
size_t cells_of(uint32_t code)
{
    static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    if (code < 0x7f || !utf8)
        return 1;
    const locale_t before = uselocale(utf8);
    const int cells = wcwidth(static_cast<wchar_t>(code));
    uselocale(before);
    return cells >= 0 ? static_cast<size_t>(cells) : 1;
}

bool is_plain(std::string_view text)
{
    for (char c : text)
        if (c < 0x20 || static_cast<unsigned char>(c) >= 0x7f)
            return false;
    return true;
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
int hex_digit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    c = static_cast<char>(c | 0x20);
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
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
    if (is_plain(bytes))
        return std::string(bytes);
    std::string text;
    while (!bytes.empty()) {
        const Character next = first_character(bytes);
        text += next.code == 0xfffd ? "\xef\xbf\xbd" : is_hostile(next.code) ? "?" : next.bytes;
        bytes.remove_prefix(next.bytes.size());
    }
    return text;
}

std::string field_text(const char *text, size_t size)
{
    return clean_text({ text, strnlen(text, size) });
}

size_t cell_count(std::string_view text)
{
    size_t cells = 0;
    while (!text.empty()) {
        const Character next = first_character(text);
        cells += cells_of(next.code);
        text.remove_prefix(next.bytes.size());
    }
    return cells;
}

std::string cut_text(const std::string &text, size_t cells, const char *ellipsis)
{
    if (cells == 0 || cell_count(text) <= cells)
        return cells == 0 ? "" : text;
    std::string cut;
    size_t used = cell_count(ellipsis);
    for (std::string_view rest = text; !rest.empty();) {
        const Character next = first_character(rest);
        used += cells_of(next.code);
        if (used > cells)
            break;
        cut += next.bytes;
        rest.remove_prefix(next.bytes.size());
    }
    return cut + ellipsis;
}

std::string padded(const std::string &text, size_t cells)
{
    const size_t used = cell_count(text);
    return used < cells ? text + std::string(cells - used, ' ') : text;
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

std::string bar_text(int percent, int width)
{
    const int filled = percent <= 0 ? 0 : percent >= 100 ? width : (percent * width + 50) / 100;
    return std::string(static_cast<size_t>(filled), '#') +
           std::string(static_cast<size_t>(width - filled), '.');
}

std::string to_hex(const uint8_t *data, size_t size)
{
    static constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (size_t i = 0; i < size; i++) {
        text += digits[data[i] >> 4];
        text += digits[data[i] & 15];
    }
    return text;
}

bool from_hex(std::string_view text, std::vector<uint8_t> &bytes)
{
    bytes.clear();
    for (size_t i = 0; i < text.size();) {
        if (text[i] == ' ' || text[i] == ':') {
            i++;
            continue;
        }
        const int high = hex_digit(text[i]), low = i + 1 < text.size() ? hex_digit(text[i + 1]) : -1;
        if (high < 0 || low < 0)
            return false;
        bytes.push_back(static_cast<uint8_t>(high << 4 | low));
        i += 2;
    }
    return true;
}

std::string mac_text(const uint8_t *mac)
{
    return printed("%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
}

bool parse_mac(std::string_view text, uint8_t *mac)
{
    return text.size() == MAC_TEXT_LENGTH && mac_parse(text.data(), mac);
}

bool parse_number(std::string_view text, long long low, long long high, long long &number)
{
    const std::string digits(text);
    char *end;
    errno = 0;
    const long long value = strtoll(digits.c_str(), &end, 10);
    const bool isWhole = !digits.empty() &&
                         (isdigit(static_cast<unsigned char>(digits[0])) || digits[0] == '-') &&
                         *end == '\0' && errno == 0;
    if (isWhole && value >= low && value <= high)
        number = value;
    return isWhole && value >= low && value <= high;
}

double now_seconds()
{
    timeval now;
    gettimeofday(&now, nullptr);
    return static_cast<double>(now.tv_sec) + std::floor(static_cast<double>(now.tv_usec) / 1000.0) / 1000.0;
}

int64_t monotonic_ms()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{ now.tv_sec } * 1000 + now.tv_nsec / 1000000;
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

bool read_file(const std::string &path, size_t limit, std::string &text, std::string &error)
{
    FILE *file = path == "-" ? stdin : fopen(path.c_str(), "re");
    char piece[4096];
    size_t size;
    text.clear();
    while (file && text.size() <= limit && (size = fread(piece, 1, sizeof piece, file)) > 0)
        text.append(piece, size);
    if (!file || ferror(file))
        error = "can't read " + path + ": " + strerror(errno);
    else if (text.size() > limit)
        error = path + " holds more than " + std::to_string(limit) + " bytes";
    if (file && file != stdin)
        fclose(file);
    return error.empty();
}
