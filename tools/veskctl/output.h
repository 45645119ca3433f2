// How commands speak: tables, JSON, what became of a request, failure; and snapshots and calls that must
// succeed.
#pragma once

#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

#include "tools/client/bus.h"
#include "tools/client/device.h"
#include "tools/client/record.h"
#include "tools/veskctl/command.h"

/** Says what is wrong on stderr and ends with status 1 (wrong usage ends with 2). */
[[noreturn]] void fail(const std::string &what);
[[noreturn]] void usage_error(const std::string &what);

/** The parts of the device, or the end of the program. */
Snapshot must_take_snapshot(unsigned parts);

/** Calls a method and takes its record, which has the size of the method's row; ends the program when the
 * bus, the daemon or the method fails. */
std::vector<uint8_t> must_call(const char *method, const std::vector<CallArg> &args);
template <class T>
T must_get(const char *method, const std::vector<CallArg> &args)
{
    const std::vector<uint8_t> record = must_call(method, args);
    T value = {};
    memcpy(static_cast<void *>(&value), record.data(), sizeof value);
    return value;
}

/** Whether standard output takes what was printed; everything is on its way then. */
bool output_works();
/** Sleeps up to the seconds. False once a stop has been asked for (see catch_stop) or nobody reads any more.
 */
bool sleep_between_looks(int seconds);

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

void print_json(const Json &value);
/** The JSON value, or the table, or where that is empty a sentence (if there is one). */
void print_either(const Arguments &arguments, const Json &value, const Table &table,
                  const char *ifEmpty = nullptr);
/** A whole record: as JSON, or as a table of field, value and unit. */
void print_record(const Arguments &arguments, const RecordLayout &layout, const std::vector<uint8_t> &record);
/** What became of a request; {"return": 0, "text"} as JSON. */
void print_done(const Arguments &arguments, const std::string &text);

/** "-58 dBm", or "unknown". */
std::string level_text(const std::optional<int> &level);
