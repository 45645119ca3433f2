#include "tools/veskctl/signals.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "tools/veskctl/bus.h"
#include "tools/veskctl/decode.h"
#include "tools/veskctl/text.h"

namespace
{
constexpr std::string_view prefix = VESK_BUS_OBJECT ".";

std::string short_name(const std::string &name)
{
    return name.compare(0, prefix.size(), prefix) == 0 ? name.substr(prefix.size()) : name;
}

/** One line of a record. False if it isn't one. */
bool parse_signal(const char *text, SeenSignal &signal)
{
    cJSON *line = cJSON_Parse(text);
    const cJSON *when = cJSON_GetObjectItemCaseSensitive(line, "time");
    const cJSON *name = cJSON_GetObjectItemCaseSensitive(line, "signal");
    const cJSON *payload = cJSON_GetObjectItemCaseSensitive(line, "payload");
    const bool isWhole = cJSON_IsNumber(when) && cJSON_IsString(name) && cJSON_IsString(payload) &&
                         from_hex(payload->valuestring, signal.payload);
    if (isWhole) {
        signal.time = when->valuedouble;
        signal.name = std::string(prefix) + clean_text(name->valuestring);
    }
    cJSON_Delete(line);
    return isWhole;
}
} // namespace

cJSON *signal_json(const SeenSignal &signal, bool withPayload)
{
    cJSON *line = cJSON_CreateObject();
    cJSON_AddRawToObject(line, "time", printed("%.3f", signal.time).c_str());
    cJSON_AddStringToObject(line, "signal", short_name(signal.name).c_str());
    cJSON_AddItemToObject(line, "data", decode_signal(signal.name, signal.payload));
    if (withPayload)
        cJSON_AddStringToObject(line, "payload",
                                to_hex(signal.payload.data(), signal.payload.size()).c_str());
    return line;
}

std::string signal_line(const SeenSignal &signal)
{
    const auto seconds = static_cast<time_t>(std::floor(signal.time));
    const double rest = signal.time - static_cast<double>(seconds);
    std::string text = clock_time(seconds) +
                       printed(".%03d ", static_cast<int>(std::lround(rest * 1000)) % 1000) +
                       short_name(signal.name);
    cJSON *object = decode_signal(signal.name, signal.payload);
    const cJSON *item;
    cJSON_ArrayForEach(item, object)
    {
        text += std::string(" ") + item->string + "=";
        text += cJSON_IsString(item) ? item->valuestring : cJSON_IsNull(item) ? "unknown" : json_line(item);
    }
    cJSON_Delete(object);
    return text;
}

bool listen_for_signals(const std::function<void(const SeenSignal &)> &visit,
                        const std::function<bool()> &stop, std::string &error)
{
    return ctl_listen(
        [&](const std::string &name, const std::vector<uint8_t> &payload) {
            if (signal_layout(name)) // our own switches travel under the same prefix
                visit({ now_seconds(), name, payload });
        },
        stop, error);
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
