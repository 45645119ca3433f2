// The client's side of the bus: connecting with a deadline, calling the daemon's methods by their rows,
// listening to its signals. Uses the public bus API only.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "include/vesk_methods.h"

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

/** Connects to the broker. False, with the reason in `error`, when it is missing or doesn't greet in time. */
bool ctl_connect(std::string &error);
void ctl_disconnect();

const WireMethod *ctl_method(std::string_view name);

/** Calls a method of the daemon; `timeoutMs` covers the call alone. */
CallResult ctl_call(const WireMethod &method, const std::vector<CallArg> &args, int timeoutMs = 5000);

/** The same for methods whose record is one C++ type. */
template <class T>
CallResult ctl_get(std::string_view method, const std::vector<CallArg> &args, T *record)
{
    CallResult result = ctl_call(*ctl_method(method), args);
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

/** Sends an inbound signal of the daemon ("setLogLevel") with its payload; empty error on success. */
std::string ctl_send_signal(std::string_view signal, const void *payload, size_t size);

using SignalVisitor = std::function<void(const std::string &name, const std::vector<uint8_t> &payload)>;

/** Delivers the daemon's signals until `stop` answers true or the process gets SIGINT or SIGTERM; looks for
 * both every 100 ms. Outlives a broker that is started again. False, with the reason, when there is no bus to
 * begin with. */
bool ctl_listen(const SignalVisitor &visit, const std::function<bool()> &stop, std::string &error);

/** From here on SIGINT and SIGTERM only leave a note, so that a loop ends between two rounds; call before the
 * bus is used. */
void catch_stop();
bool stop_asked();
