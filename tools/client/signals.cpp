#include "tools/client/signals.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tools/client/bus.h"
#include "tools/client/record.h"
#include "tools/client/text.h"

namespace
{
constexpr std::string_view prefix = VESK_BUS_OBJECT ".";
constexpr double lastTime = 253402300799; // the end of the year 9999

/** Whether the member is the name that follows a value ("bwName" behind "bw"). */
bool is_name_of(const cJSON *member, const char *value)
{
    return member && cJSON_IsString(member) && member->string == std::string(value) + "Name";
}

/** A value in a line of pairs; a name loses its blanks there ("20MHz"). */
std::string shown(const cJSON *value, bool isName)
{
    std::string text = cJSON_IsString(value) ? value->valuestring
                       : cJSON_IsNull(value) ? "unknown"
                                             : json_line(value);
    if (isName)
        std::erase(text, ' ');
    return text;
}
} // namespace

std::string short_name(const std::string &name)
{
    return name.compare(0, prefix.size(), prefix) == 0 ? name.substr(prefix.size()) : name;
}

Json signal_json(const SeenSignal &signal, bool withPayload)
{
    Json line = Json::object();
    line.put("time", Json::raw(printed("%.3f", signal.time)));
    line.put("date", clock_time(static_cast<time_t>(signal.time), true));
    line.put("signal", short_name(signal.name));
    line.put("data", decode_signal(signal.name, signal.payload));
    if (withPayload)
        line.put("payload", to_hex(signal.payload.data(), signal.payload.size()));
    return line;
}

std::string signal_line(const SeenSignal &signal, bool withDay)
{
    const auto seconds = static_cast<time_t>(std::floor(signal.time));
    const double rest = signal.time - static_cast<double>(seconds);
    std::string text = clock_time(seconds, withDay) +
                       printed(".%03d ", static_cast<int>(std::lround(rest * 1000)) % 1000) +
                       short_name(signal.name);
    const Json object = decode_signal(signal.name, signal.payload);
    const cJSON *item;
    cJSON_ArrayForEach(item, object.get())
    {
        const bool isNamed = is_name_of(item->next, item->string);
        text += std::string(" ") + item->string + "=" + shown(isNamed ? item->next : item, isNamed);
        if (isNamed)
            item = item->next;
    }
    return text;
}

bool concerns_station(const SeenSignal &signal, const std::string &mac)
{
    std::string digits;
    for (char c : mac)
        if (c != ':')
            digits += c;
    const Json object = decode_signal(signal.name, signal.payload);
    const cJSON *item;
    cJSON_ArrayForEach(item, object.get())
    {
        if (!cJSON_IsString(item))
            continue;
        if (mac == item->valuestring)
            return true;
        const std::string_view text = item->valuestring; // an opaque field may hold it anywhere
        for (size_t at = text.find(digits); at != std::string_view::npos; at = text.find(digits, at + 1))
            if (at % 2 == 0)
                return true;
    }
    return false;
}

bool concerns_interface(const SeenSignal &signal, std::string_view name)
{
    const Json object = decode_signal(signal.name, signal.payload);
    for (const char *field : { "ifName", "ifname" })
        if (const cJSON *item = object.at(field); cJSON_IsString(item))
            return inner_name(item->valuestring) == inner_name(name);
    return false;
}

bool listen_for_signals(const std::function<void(const SeenSignal &)> &visit,
                        const std::function<bool()> &stop, std::string &error)
{
    return bus_listen(
        [&](const std::string &name, const std::vector<uint8_t> &payload) {
            if (signal_layout(name)) // our own switches travel under the same prefix
                visit({ now_seconds(), name, payload });
        },
        stop, error);
}

bool parse_signal(const char *text, SeenSignal &signal)
{
    const Json line = Json::parse(text);
    const cJSON *when = line.at("time"), *name = line.at("signal"), *payload = line.at("payload");
    if (!cJSON_IsNumber(when) || !(when->valuedouble >= 0 && when->valuedouble <= lastTime) ||
        !cJSON_IsString(name) || !cJSON_IsString(payload) || !from_hex(payload->valuestring, signal.payload))
        return false;
    signal.time = when->valuedouble;
    signal.name = std::string(prefix) + clean_text(name->valuestring);
    return true;
}

bool read_record(const std::string &path, const std::function<bool(const SeenSignal &)> &visit,
                 std::string &error)
{
    FILE *file = path == "-" ? stdin : fopen(path.c_str(), "re");
    if (!file) {
        error = "can't read " + path + ": " + strerror(errno);
        return false;
    }
    char *text = nullptr;
    size_t capacity = 0;
    SeenSignal signal = {};
    bool goesOn = true;
    for (int number = 1; goesOn && error.empty() && getline(&text, &capacity, file) > 0; number++) {
        if (strspn(text, " \r\n") == strlen(text))
            continue;
        if (parse_signal(text, signal))
            goesOn = visit(signal);
        else
            error = path + ":" + std::to_string(number) + " is no recorded signal";
    }
    free(text);
    if (file != stdin)
        fclose(file);
    return error.empty();
}
