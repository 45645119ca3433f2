// The daemon's signals as they come, or came, decoded; and their record.
#include <cerrno>
#include <cstdio>

#include "tools/client/signals.h"
#include "tools/client/text.h"
#include "tools/veskctl/output.h"

namespace
{
void show_signal(const Arguments &arguments, const SeenSignal &signal)
{
    puts(arguments.json ? signal_json(signal, false).line().c_str() : signal_line(signal, true).c_str());
    fflush(stdout);
}

/** Counts signals and time; the visitor and the stop of a watch share it. */
struct Limits {
    long long count;
    int64_t end; // monotonic, 0: none
    long long seen = 0;

    explicit Limits(const Arguments &arguments)
        : count(arguments.number("--count")),
          end(arguments.real("--seconds") > 0
                  ? monotonic_ms() + static_cast<int64_t>(arguments.real("--seconds") * 1000)
                  : 0)
    {
    }
    bool reached() const { return (count > 0 && seen >= count) || (end > 0 && monotonic_ms() >= end); }
};
} // namespace

void run_watch(const Arguments &arguments)
{
    Limits limits(arguments);
    std::string error;
    const auto show = [&](const SeenSignal &signal) {
        if (limits.count > 0 && limits.seen >= limits.count)
            return;
        show_signal(arguments, signal);
        limits.seen++;
    };
    const auto show_of_record = [&](const SeenSignal &signal) {
        show(signal);
        return output_works() && !limits.reached();
    };
    const bool ended = arguments.has("--from")
                           ? read_record(arguments.text("--from"), show_of_record, error)
                           : listen_for_signals(
                                 show, [&] { return !output_works() || limits.reached(); }, error);
    if (!ended)
        fail(error);
}

void run_record(const Arguments &arguments)
{
    const std::string &path = arguments.text("FILE");
    FILE *file = path == "-" ? stdout : fopen(path.c_str(), "ae");
    if (!file)
        fail("can't write " + path + ": " + strerror(errno));
    Limits limits(arguments);
    std::string error;
    int writeError = 0;
    const bool ended = listen_for_signals(
        [&](const SeenSignal &signal) {
            if (limits.count > 0 && limits.seen >= limits.count)
                return;
            if (fprintf(file, "%s\n", signal_json(signal, true).line().c_str()) < 0 || fflush(file) != 0)
                writeError = errno;
            limits.seen++;
        },
        [&] { return writeError || limits.reached(); }, error);
    if (writeError)
        fail("can't write " + path + ": " + strerror(writeError));
    if (!ended)
        fail(error);
}
