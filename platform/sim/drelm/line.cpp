#include "platform/sim/drelm/line.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "foundation/mac.h"

Line line_split(const char *text)
{
    constexpr const char *BLANKS = " \t\r\n";
    Line line;
    for (text += strspn(text, BLANKS); *text; text += strspn(text, BLANKS)) {
        const size_t length = strcspn(text, BLANKS);
        line.words.emplace_back(text, length);
        text += length;
    }
    line.used.assign(line.words.size(), false);
    if (!line.used.empty())
        line.used[0] = true;
    return line;
}

void line_refuse(Line &line, const std::string &why)
{
    if (line.error.empty())
        line.error = why;
}

const char *line_word(Line &line, size_t at, const char *what)
{
    if (at >= line.words.size()) {
        line_refuse(line, std::string("missing ") + what);
        return "";
    }
    line.used[at] = true;
    return line.words[at].c_str();
}

const char *line_option(Line &line, const char *name)
{
    const std::string start = std::string(name) + "=";
    for (size_t i = 1; i < line.words.size(); i++) {
        if (line.words[i].compare(0, start.size(), start) == 0) {
            line.used[i] = true;
            return line.words[i].c_str() + start.size();
        }
    }
    return nullptr;
}

bool line_flag(Line &line, const char *name)
{
    const auto found = std::find(line.words.begin(), line.words.end(), name);
    if (found == line.words.end())
        return false;
    line.used[static_cast<size_t>(found - line.words.begin())] = true;
    return true;
}

int64_t to_number(Line &line, const char *text, const char *what, int64_t low, int64_t high)
{
    char *end;
    errno = 0;
    const int64_t value = strtoll(text, &end, strncasecmp(text, "0x", 2) == 0 ? 16 : 10);
    if (end == text || *end || errno || value < low || value > high) {
        line_refuse(line, std::string(what) + " \"" + text + "\" is no number from " + std::to_string(low) +
                              " to " + std::to_string(high));
        return low;
    }
    return value;
}

int64_t line_number(Line &line, const char *name, int64_t low, int64_t high, int64_t fallback)
{
    const char *text = line_option(line, name);
    return text ? to_number(line, text, name, low, high) : fallback;
}

float line_float(Line &line, const char *name, float fallback)
{
    const char *text = line_option(line, name);
    if (!text)
        return fallback;
    char *end;
    const float value = strtof(text, &end);
    if (end == text || *end)
        line_refuse(line, std::string(name) + " \"" + text + "\" is no number");
    return value;
}

double to_seconds(Line &line, const char *text)
{
    char *end;
    const double value = strtod(text, &end);
    if (end != text && !*end && value >= 0 && value <= 86400)
        return value;
    line_refuse(line, std::string("\"") + text + "\" is no number of seconds from 0 to 86400");
    return 0;
}

void line_text(Line &line, const char *name, char *field, size_t size)
{
    const char *text = line_option(line, name);
    if (text && strlen(text) >= size)
        line_refuse(line, std::string(name) + " is longer than " + std::to_string(size - 1));
    else if (text)
        memcpy(field, text, strlen(text));
}

size_t to_bytes(Line &line, const char *text, uint8_t *bytes, size_t max)
{
    const size_t digits = strspn(text, "0123456789abcdefABCDEF");
    if (text[digits] || digits % 2) {
        line_refuse(line, std::string("\"") + text + "\" is no even number of hexadecimal digits");
        return 0;
    }
    if (digits / 2 > max) {
        line_refuse(line, std::to_string(digits / 2) + " bytes, at most " + std::to_string(max) + " fit");
        return 0;
    }
    for (size_t i = 0; i < digits / 2; i++) {
        const char pair[3] = { text[i * 2], text[i * 2 + 1], 0 };
        bytes[i] = static_cast<uint8_t>(strtoul(pair, nullptr, 16));
    }
    return digits / 2;
}

void to_mac(Line &line, const char *text, uint8_t *mac)
{
    if (strlen(text) != MAC_TEXT_LENGTH || !mac_parse(text, mac))
        line_refuse(line, std::string("\"") + text + "\" is no MAC address");
}

void line_refuse_rest(Line &line)
{
    for (size_t i = 0; i < line.words.size(); i++) {
        if (!line.used[i])
            line_refuse(line, "what is \"" + line.words[i] + "\"?");
    }
}
