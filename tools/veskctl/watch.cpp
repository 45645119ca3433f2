// The daemon's signals as they come, or came, decoded and chosen; and their record.
#include <cerrno>
#include <cstdio>

#include "tools/client/signals.h"
#include "tools/client/text.h"
#include "tools/veskctl/checks.h"
#include "tools/veskctl/output.h"

namespace
{
/** Full name of a signal, given with or without the interface; ends the program when there is none. */
std::string must_signal_name(const std::string &word)
{
    std::vector<std::string> names;
    for (const SignalLayout &row : vesk_signals) {
        names.push_back(short_name(row.name));
        if (word == row.name || word == names.back())
            return row.name;
    }
    std::vector<const char *> all;
    for (const std::string &name : names)
        all.push_back(name.c_str());
    const char *guess = closest_word(word, all);
    usage_error("there is no signal \"" + word + "\"" +
                (guess ? std::string("; did you mean \"") + guess + "\"?" : "; docs/bus-api.md names them"));
}

/** Which signals are wanted, how many, how long, and up to which one. */
struct Wish {
    std::string signal, station, interface, until;
    long long count;
    int64_t end = 0; // monotonic, 0: none
    long long seen = 0;
    bool hasCome = false; // the one that ends it

    explicit Wish(const Arguments &arguments) : count(arguments.number("--count"))
    {
        const bool isTimed = arguments.real("--seconds") > 0;
        end = isTimed ? monotonic_ms() + static_cast<int64_t>(arguments.real("--seconds") * 1000) : 0;
    }
    bool takes(const SeenSignal &s) const
    {
        return (signal.empty() || s.name == signal) && (station.empty() || concerns_station(s, station)) &&
               (interface.empty() || concerns_interface(s, interface)) && !is_full();
    }
    void note(const SeenSignal &s)
    {
        seen++;
        hasCome = hasCome || s.name == until;
    }
    bool is_full() const { return hasCome || (count > 0 && seen >= count); }
    bool is_over() const { return is_full() || (end > 0 && monotonic_ms() >= end); }
};

Wish wish_of_watch(const Arguments &arguments)
{
    Wish wish(arguments);
    if (arguments.has("--signal"))
        wish.signal = must_signal_name(arguments.text("--signal"));
    if (arguments.has("--until"))
        wish.until = must_signal_name(arguments.text("--until"));
    if (arguments.has("--timeout") && wish.until.empty())
        usage_error("--timeout belongs to --until; --seconds ends a watch");
    if (arguments.has("--timeout"))
        wish.end = monotonic_ms() + static_cast<int64_t>(arguments.real("--timeout") * 1000);
    if (!wish.signal.empty() && !wish.until.empty() && wish.signal != wish.until)
        usage_error("--signal leaves out what --until waits for");
    if (arguments.has("--station")) {
        uint8_t mac[6];
        need_mac(arguments.text("--station"), mac);
        wish.station = mac_text(mac);
    }
    wish.interface = arguments.text("--interface");
    return wish;
}

void show_signal(const Arguments &arguments, const SeenSignal &signal)
{
    puts(arguments.json ? signal_json(signal, false).line().c_str() : signal_line(signal, true).c_str());
    fflush(stdout);
}
} // namespace

void run_watch(const Arguments &arguments)
{
    Wish wish = wish_of_watch(arguments);
    std::string error;
    const auto show = [&](const SeenSignal &signal) {
        if (!wish.takes(signal))
            return;
        show_signal(arguments, signal);
        wish.note(signal);
    };
    const auto show_of_record = [&](const SeenSignal &signal) {
        show(signal);
        return output_works() && !wish.is_over();
    };
    const bool ended = arguments.has("--from")
                           ? read_record(arguments.text("--from"), show_of_record, error)
                           : listen_for_signals(
                                 show, [&] { return !output_works() || wish.is_over(); }, error);
    if (!ended)
        fail(error);
    if (!wish.until.empty() && !wish.hasCome)
        fail(short_name(wish.until) + (stop_asked() ? " hadn't come yet" : " didn't come"));
}

void run_record(const Arguments &arguments)
{
    const std::string &path = arguments.text("FILE");
    FILE *file = path == "-" ? stdout : fopen(path.c_str(), "ae");
    if (!file)
        fail("can't write " + path + ": " + strerror(errno));
    Wish wish(arguments);
    std::string error;
    int writeError = 0;
    const auto write = [&](const SeenSignal &signal) {
        if (!wish.takes(signal))
            return;
        if (fprintf(file, "%s\n", signal_json(signal, true).line().c_str()) < 0 || fflush(file) != 0)
            writeError = errno;
        wish.note(signal);
    };
    const bool ended = listen_for_signals(
        write, [&] { return writeError || wish.is_over(); }, error);
    if (writeError)
        fail("can't write " + path + ": " + strerror(writeError));
    if (!ended)
        fail(error);
}
