// Signals as the client keeps them: with the time they came, their bytes as they stood, and one decoder for
// those that come from the bus and those that come from a record.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/client/json.h"

struct SeenSignal {
    double time;      // seconds since the epoch
    std::string name; // full name
    std::vector<uint8_t> payload;
};

/** The name without the daemon's interface in front. */
std::string short_name(const std::string &name);
/** {"time", "date", "signal", "data"} and, for a record, "payload" in hexadecimal. */
Json signal_json(const SeenSignal &signal, bool withPayload);
/** "22:58:41.123 veskClientJoin ifName=ath0.v0 ...", the day in front if asked for. */
std::string signal_line(const SeenSignal &signal, bool withDay = false);

/** Whether the signal names the station ("02:11:22:33:44:55", lower case), in an opaque field, too. */
bool concerns_station(const SeenSignal &signal, const std::string &mac);
/** Whether the signal is one of the interface, by its outer or inner name. */
bool concerns_interface(const SeenSignal &signal, std::string_view name);

/** Listens for the daemon's own signals until `stop`, SIGINT or SIGTERM. False, with the reason, when there
 * is no bus to begin with. */
bool listen_for_signals(const std::function<void(const SeenSignal &)> &visit,
                        const std::function<bool()> &stop, std::string &error);

/** One line of a record. False if it isn't one. */
bool parse_signal(const char *text, SeenSignal &signal);
/** Reads a record, line by line ("-": standard input), until `visit` answers false. False, with the line's
 * number in `error`, at the first that is none. */
bool read_record(const std::string &path, const std::function<bool(const SeenSignal &)> &visit,
                 std::string &error);
