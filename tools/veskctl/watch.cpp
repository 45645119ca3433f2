// The daemon's signals as they come, or came, decoded; and their record.
#include <cerrno>
#include <ctime>

#include <CLI/CLI.hpp>

#include "tools/veskctl/cli.h"
#include "tools/veskctl/signals.h"
#include "tools/veskctl/text.h"

namespace
{
struct WatchOptions {
    int count = 0;
    double seconds = 0;
    std::string from, file;
} chosen;

void show_signal(const SeenSignal &signal)
{
    if (options.json) {
        cJSON *line = signal_json(signal, false);
        puts(json_line(line).c_str());
        cJSON_Delete(line);
    } else {
        puts(signal_line(signal).c_str());
    }
    fflush(stdout);
}

/** Counts signals and time; the visitor and the stop of a watch share it. */
struct Limits {
    int seen = 0;
    double end = chosen.seconds > 0 ? now_seconds() + chosen.seconds : 0;

    bool reached() const
    {
        return (chosen.count > 0 && seen >= chosen.count) || (end > 0 && now_seconds() >= end);
    }
};

void watch()
{
    Limits limits;
    std::string error;
    const auto show = [&](const SeenSignal &signal) {
        show_signal(signal);
        limits.seen++;
    };
    const bool ended = !chosen.from.empty()
                           ? read_record(
                                 chosen.from,
                                 [&](const SeenSignal &signal) {
                                     show(signal);
                                     return output_works() && !limits.reached();
                                 },
                                 error)
                           : listen_for_signals(
                                 show, [&] { return !output_works() || limits.reached(); }, error);
    if (!ended)
        fail(error);
}

void record()
{
    FILE *file = chosen.file == "-" ? stdout : fopen(chosen.file.c_str(), "ae");
    if (!file)
        fail("can't write " + chosen.file + ": " + strerror(errno));
    Limits limits;
    std::string error;
    int writeError = 0;
    const bool ended = listen_for_signals(
        [&](const SeenSignal &signal) {
            cJSON *line = signal_json(signal, true);
            if (fprintf(file, "%s\n", json_line(line).c_str()) < 0 || fflush(file) != 0)
                writeError = errno;
            cJSON_Delete(line);
            limits.seen++;
        },
        [&] { return writeError || limits.reached(); }, error);
    if (writeError)
        fail("can't write " + chosen.file + ": " + strerror(writeError));
    if (!ended)
        fail(error);
}

void add_limits(CLI::App *command)
{
    command->add_option("--count", chosen.count, "End after this many signals")
        ->check(CLI::Range(0, INT32_MAX));
    command->add_option("--seconds", chosen.seconds, "End after this time")
        ->check(CLI::Range(0.0, 31536000.0));
}
} // namespace

void add_watch_commands(CLI::App &app)
{
    CLI::App *command = app.add_subcommand("watch", "Every signal of the daemon as it comes, decoded");
    add_limits(command);
    command->add_option("--from", chosen.from, "Read a record instead of the bus; - is standard input");
    command->callback(watch);
    CLI::App *recorder =
        app.add_subcommand("record", "Write every signal into a file: a JSON object with its time per line");
    recorder->add_option("FILE", chosen.file, "File to append to; - is standard output")->required();
    add_limits(recorder);
    recorder->callback(record);
}
