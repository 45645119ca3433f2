// What the commands share: output switches, failure, tables, and calls that must succeed.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

#include "tools/veskctl/bus.h"
#include "tools/veskctl/decode.h"

namespace CLI
{
class App;
}

struct Options {
    bool json = false;
    bool color = false; // standard output is a terminal and NO_COLOR isn't set
};
extern Options options;

/** Says what is wrong on stderr and ends with status 1 (wrong usage ends with 2). */
[[noreturn]] void fail(const std::string &what);
[[noreturn]] void usage_error(const std::string &what);

/** Calls a method and takes its record, which has the size of the method's row; ends the program when the
 * bus, the daemon or the method fails. */
std::vector<uint8_t> must_call(const char *method, const std::vector<CallArg> &args);
template <class T>
T must_get(const char *method, const std::vector<CallArg> &args)
{
    const std::vector<uint8_t> record = must_call(method, args);
    T value = {};
    __builtin_memcpy(static_cast<void *>(&value), record.data(), sizeof value);
    return value;
}
/** The same, but false where the daemon itself refuses (a band without a radio, a VAP that is gone). */
template <class T>
bool may_get(const char *method, const std::vector<CallArg> &args, T *value)
{
    const CallResult result = ctl_get(method, args, value);
    if (!result.error.empty())
        fail(result.error);
    return result.status == 0 && result.record.size() == sizeof(T);
}
/** Sends an inbound signal; ends the program when that fails. */
void must_signal(const char *signal, const void *payload, size_t size);

/** Sleeps up to the seconds. False once a stop has been asked for (see catch_stop) or nobody reads any more.
 */
bool sleep_unless_stopped(int seconds);

/** Whether standard output takes what was printed; everything is on its way then. */
bool output_works();

/** Prints a JSON value and a line end, and deletes it. */
void print_json(cJSON *value);
/** A whole record: as JSON, or as a table of field, value and unit. */
void print_record(const RecordLayout &layout, const std::vector<uint8_t> &record);
/** "done" for a command without a result, {"return": 0} as JSON. */
void print_done();

/** A table on standard output: aligned columns, as wide as the terminal allows, plain text otherwise. */
struct Table {
    struct Column {
        const char *name;
        bool right = false;
    };
    std::vector<Column> columns;
    std::vector<std::vector<std::string>> rows;

    explicit Table(std::initializer_list<Column> c) : columns(c) {}
    void add(std::vector<std::string> row) { rows.push_back(std::move(row)); }
    void print() const;
};

/** The JSON value or the table, as the output switch says; the value is deleted. */
void print_either(cJSON *value, const Table &table);

template <class T>
std::vector<uint8_t> bytes_of_record(const T &record)
{
    const auto *p = reinterpret_cast<const uint8_t *>(&record);
    return { p, p + sizeof record };
}

std::string number(long long value);
/** A number with its unit, or "unknown" for an absent one (0). */
std::string or_unknown(long long value, const char *unit = "");
/** Text of a field that may lack its terminator, made safe to show. */
std::string field_text(const char *text, size_t size);
#define FIELD_TEXT(member) field_text(member, sizeof(member))

/** "2.4", "2.4GHz", "24g" or 0 is band word 0; "5", "5GHz", "5g" or 3 is 3; 1, 2 and 4 stand for themselves.
 */
int parse_band(const std::string &text);
/** The same, but -1 for what is no band. */
int band_of(const std::string &text);
const char *band_name(int band);
/** The band words that a radio runs on. */
std::vector<int> live_bands();
/** One band given, or all that are live. */
std::vector<int> bands_or_all(const std::string &band);
/** Width of a channel by its bandwidth index. */
const char *bandwidth_name(int index);
/** Whether vapAttr is that of a backhaul station. */
constexpr bool is_bsta(uint8_t vapAttr)
{
    return vapAttr == 0x80;
}
/** Fronthaul, backhaul or station, by vapAttr. */
const char *vap_role(uint8_t vapAttr);
/** Outer names of all interfaces of the live radios, backhaul stations included. */
std::vector<std::string> all_vaps();
/** A bar of `width` cells, filled to a share of 100. */
std::string bar(int percent, int width);

void add_query_commands(CLI::App &app);
void add_scan_commands(CLI::App &app);
void add_station_commands(CLI::App &app);
void add_control_commands(CLI::App &app);
void add_watch_commands(CLI::App &app);
void add_overview_commands(CLI::App &app);
