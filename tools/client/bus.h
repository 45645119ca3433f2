// The client's side of the bus: calling the daemon's methods by their rows, sending its switches, listening
// to its signals. Uses the public bus API only.
//
// Nothing here waits without a limit. The bus library's own waits have none, so a clock ticks through each of
// them and, when the time is over or a stop is asked for, shuts the connection's socket down, which ends any
// wait.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "include/vesk_methods.h"

inline constexpr int busLimitMs =
    5000; // for all that one command, or one look of a repeated one, does on the bus

/** Result of a call. `error` is empty when the daemon answered; `status` is its `return` field. */
struct CallResult {
    std::string error;
    int status = 0;
    std::vector<uint8_t> record; // the result field's bytes; numbers in host order
};

/** An argument of a call. They stand in any order; what a method doesn't list isn't sent. */
struct CallArg {
    std::string name;
    WireType type;
    int32_t number = 0;
    std::string text;
    std::vector<uint8_t> record;
};

/** The broker's socket; the device's own path unless this names another. The text has to stay. */
void bus_use_socket(const char *path);

/** Starts the time that everything from here on has on the bus, until it is started again. */
void bus_start_time(int limitMs = busLimitMs);

/** Connects to the broker. False, with the reason in `error`, when it is missing or doesn't greet in time. */
bool bus_connect(std::string &error);
void bus_disconnect();

const WireMethod *bus_method(std::string_view name);

/** Calls a method of the daemon. The daemon's object is looked up once a connection, and again when it is a
 * new one. */
CallResult bus_call(const WireMethod &method, const std::vector<CallArg> &args);

/** The same for methods whose record is one C++ type. */
template <class T>
CallResult bus_get(std::string_view method, const std::vector<CallArg> &args, T *record)
{
    CallResult result = bus_call(*bus_method(method), args);
    if (result.error.empty() && result.record.size() == sizeof(T))
        __builtin_memcpy(static_cast<void *>(record), result.record.data(), sizeof(T));
    return result;
}

inline CallArg arg_band(int band)
{
    return { "band", WireType::Int32, band, {}, {} };
}
inline CallArg arg_text(const char *name, std::string text)
{
    return { name, WireType::String, 0, std::move(text), {} };
}
template <class T>
CallArg arg_record(const char *name, const T &record)
{
    const auto *p = reinterpret_cast<const uint8_t *>(&record);
    return { name, WireType::Record, 0, {}, { p, p + sizeof record } };
}

/** Whether the daemon's object is on the bus now: nobody is called. `error` says why that can't be told. */
bool bus_has_object(std::string &error);

/** Sends an inbound signal of the daemon, by its full name, with its payload; empty error on success. */
std::string bus_send_signal(const char *signal, const void *payload, size_t size);

using SignalVisitor = std::function<void(const std::string &name, const std::vector<uint8_t> &payload)>;

/** Delivers the daemon's signals until `stop` answers true or the process gets SIGINT or SIGTERM; looks for
 * both every 100 ms. `stop` may call methods. Outlives a broker that is started again. False, with the
 * reason, when there is no bus to begin with. */
bool bus_listen(const SignalVisitor &visit, const std::function<bool()> &stop, std::string &error);

/** From here on SIGINT and SIGTERM only leave a note, so that a loop ends between two rounds; call before the
 * bus is used. */
void catch_stop();
bool stop_asked();
/** Sleeps. False once a stop has been asked for. */
bool sleep_until_stop(int ms);
