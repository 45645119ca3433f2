// The daemon's signals as they come, decoded.
#include <ctime>
#include <sys/time.h>

#include <CLI/CLI.hpp>

#include "tools/veskctl/cli.h"

namespace
{
std::string clock_text()
{
    timeval now;
    gettimeofday(&now, nullptr);
    tm local;
    localtime_r(&now.tv_sec, &local);
    char text[32];
    const size_t n = strftime(text, sizeof text, "%H:%M:%S", &local);
    snprintf(text + n, sizeof text - n, ".%03d", static_cast<int>(now.tv_usec / 1000));
    return text;
}

/** "name=value name=value" of a decoded object. */
std::string one_line(const cJSON *object)
{
    std::string text;
    const cJSON *item;
    cJSON_ArrayForEach(item, object)
    {
        char *value = cJSON_PrintUnformatted(item);
        text += std::string(text.empty() ? "" : " ") + item->string + "=";
        text += cJSON_IsString(item) ? item->valuestring : cJSON_IsNull(item) ? "unknown" : value;
        cJSON_free(value);
    }
    return text;
}

void show_signal(const std::string &name, const std::vector<uint8_t> &payload)
{
    static constexpr std::string_view prefix = VESK_BUS_OBJECT ".";
    const std::string shortName = name.substr(std::min(prefix.size(), name.size()));
    cJSON *object = decode_signal(name, payload);
    if (options.json) {
        cJSON *line = cJSON_CreateObject();
        cJSON_AddNumberToObject(line, "time", static_cast<double>(time(nullptr)));
        cJSON_AddStringToObject(line, "signal", shortName.c_str());
        cJSON_AddItemToObject(line, "data", object);
        char *text = cJSON_PrintUnformatted(line);
        puts(text);
        cJSON_free(text);
        cJSON_Delete(line);
    } else {
        printf("%s %s %s\n", clock_text().c_str(), shortName.c_str(), one_line(object).c_str());
        cJSON_Delete(object);
    }
    fflush(stdout);
}

void watch(int count, double seconds)
{
    int seen = 0;
    const time_t end = time(nullptr) + static_cast<time_t>(seconds);
    std::string error;
    const bool ended = ctl_listen(
        [&](const std::string &name, const std::vector<uint8_t> &payload) {
            if (signal_layout(name)) { // our own switches travel under the same prefix
                show_signal(name, payload);
                seen++;
            }
        },
        [&] { return (count > 0 && seen >= count) || (seconds > 0 && time(nullptr) >= end); }, true, error);
    if (!ended)
        fail(error);
}
} // namespace

void add_watch_commands(CLI::App &app)
{
    static int count;
    static double seconds;
    CLI::App *command = app.add_subcommand("watch", "Every signal of the daemon as it comes, decoded");
    command->add_option("--count", count, "End after this many signals");
    command->add_option("--seconds", seconds, "End after this time");
    command->callback([] { watch(count, seconds); });
}
