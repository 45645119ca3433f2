#include "tools/client/bus.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>

#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include "foundation/ubus_headers.h"
#include "platform/merka/greeting.h"
#include "tools/client/text.h"

namespace
{
constexpr int greetingMs = 2000; // a healthy broker greets at once
constexpr int tickMs = 100;      // a wait ends this late at most
constexpr int lastTicks = 10;    // behind the end of the time, for a wait that has no socket to shut down yet
constexpr int leastCallMs = 1;   // 0 would be no limit for the bus library
constexpr const char *brokerGone = "the bus broker is gone";

const char *socketPath = "/var/run/ubus.sock";
ubus_context *context;
int connections;   // made so far: tells one from the next
uint32_t objectId; // on this connection; 0: not looked up yet
int64_t timeEnd;   // on the monotonic clock
volatile sig_atomic_t stopNoted;

// What the tick of a wait looks at.
volatile sig_atomic_t waitTicks;
volatile sig_atomic_t waitSocket = -1;

int time_left()
{
    if (timeEnd == 0)
        bus_start_time();
    return static_cast<int>(std::clamp<int64_t>(timeEnd - monotonic_ms(), 0, INT32_MAX));
}

/** The library connects without giving its socket away: a broker that greets a first and not a second time, a
 * moment later, can be left in one way only. */
void give_up()
{
    static const char text[] = "veskctl: the bus broker doesn't answer\n";
    if (write(STDERR_FILENO, text, sizeof text - 1) < 0)
        _exit(1);
    _exit(1);
}

void on_tick(int)
{
    const int before = errno;
    if (stopNoted && waitTicks > 0)
        waitTicks = 0;
    if (waitTicks <= 0) {
        if (waitSocket >= 0)
            shutdown(waitSocket, SHUT_RDWR);
        else if (waitTicks < -lastTicks)
            give_up();
    }
    waitTicks = waitTicks - 1;
    errno = before;
}

/** While it lives, the bus library's waits end with the time or a stop. */
struct BoundedWait {
    BoundedWait()
    {
        struct sigaction action = {};
        action.sa_handler = on_tick; // without SA_RESTART: a system call that waits is left
        sigaction(SIGALRM, &action, nullptr);
        waitTicks = time_left() / tickMs + 1;
        waitSocket = context ? context->sock.fd : -1;
        set_ticks(tickMs);
    }
    ~BoundedWait() { set_ticks(0); }
    static void set_ticks(int ms)
    {
        const itimerval every = { { 0, ms * 1000 }, { 0, ms * 1000 } };
        setitimer(ITIMER_REAL, &every, nullptr);
    }
};

bool connection_holds()
{
    return context && !context->sock.eof && !context->sock.error;
}

/** Why the broker is silent: asked for a stop, or the time is over. */
std::string silence_reason()
{
    if (stop_asked())
        return "interrupted";
    return std::string("the bus broker at ") + socketPath + " doesn't answer";
}

const CallArg *find_arg(const std::vector<CallArg> &args, const char *name)
{
    for (const CallArg &arg : args)
        if (arg.name == name)
            return &arg;
    return nullptr;
}

void add_arg(blob_buf *buf, const CallArg &arg)
{
    switch (arg.type) {
    case WireType::Int32:
        blobmsg_add_u32(buf, arg.name.c_str(), static_cast<uint32_t>(arg.number));
        break;
    case WireType::String:
        blobmsg_add_string(buf, arg.name.c_str(), arg.text.c_str());
        break;
    case WireType::Record:
        blobmsg_add_field(buf, BLOBMSG_TYPE_UNSPEC, arg.name.c_str(), arg.record.data(),
                          static_cast<unsigned>(arg.record.size()));
        break;
    case WireType::Int8:
    case WireType::None:
        break;
    }
}

struct PendingCall {
    const WireMethod *method;
    CallResult *result;
    bool answered;
};

void take_answer(ubus_request *req, int, blob_attr *msg)
{
    auto *call = static_cast<PendingCall *>(req->priv);
    blob_attr *attr;
    size_t rem;
    call->answered = true;
    blobmsg_for_each_attr(attr, msg, rem)
    {
        if (!blobmsg_check_attr(attr, true))
            continue;
        const std::string_view name = blobmsg_name(attr);
        const auto *data = static_cast<const uint8_t *>(blobmsg_data(attr));
        const size_t size = blobmsg_data_len(attr);
        if (name == "return" && size == 4) {
            call->result->status = static_cast<int32_t>(blobmsg_get_u32(attr));
        } else if (call->method->result.name && name == call->method->result.name) {
            call->result->record.assign(data, data + size);
            if (call->method->result.type == WireType::Int32 && size == 4) {
                const uint32_t value = blobmsg_get_u32(attr);
                memcpy(call->result->record.data(), &value, sizeof value);
            }
        }
    }
}

std::string call_error(int status)
{
    if (stop_asked())
        return "interrupted";
    if (status == UBUS_STATUS_NOT_FOUND)
        return "vesk isn't on the bus; is the daemon running?";
    if (status == UBUS_STATUS_TIMEOUT)
        return "vesk didn't answer in time";
    if (!connection_holds())
        return time_left() == 0 ? silence_reason() : brokerGone;
    if (status < 0)
        return "vesk refused the arguments (" + std::to_string(status) + ")";
    return std::string("the bus answered: ") + ubus_strerror(status);
}

/** 0, or the status that the bus gives. */
int look_up_object()
{
    objectId = 0; // stays 0 for an object that is there without a type
    const int status = ubus_lookup_id(context, VESK_BUS_OBJECT, &objectId);
    return status != 0 ? status : objectId != 0 ? 0 : UBUS_STATUS_NOT_FOUND;
}

int invoke(const WireMethod &method, blob_attr *message, PendingCall *call)
{
    return ubus_invoke(context, objectId, method.name, message, take_answer, call,
                       std::max(time_left(), leastCallMs));
}

/** A daemon that was started again has another object. */
int invoke_object(const WireMethod &method, blob_attr *message, PendingCall *call)
{
    const bool isKnown = objectId != 0;
    int status = isKnown ? 0 : look_up_object();
    if (status == 0)
        status = invoke(method, message, call);
    if (isKnown && status == UBUS_STATUS_NOT_FOUND) {
        status = look_up_object();
        if (status == 0)
            status = invoke(method, message, call);
    }
    return status;
}

struct Listener {
    ubus_event_handler handler = {};
    const SignalVisitor *visit = nullptr;
};
Listener listener;

void take_signal(ubus_context *, ubus_event_handler *, const char *name, blob_attr *msg)
{
    std::vector<uint8_t> payload;
    blob_attr *attr;
    size_t rem;
    blobmsg_for_each_attr(attr, msg, rem)
    {
        if (!blobmsg_check_attr(attr, true) || std::string_view(blobmsg_name(attr)) != "payload")
            continue;
        const auto *data = static_cast<const uint8_t *>(blobmsg_data(attr));
        payload.assign(data, data + blobmsg_data_len(attr));
    }
    (*listener.visit)(name, payload);
}

bool subscribe(std::string &error)
{
    bus_start_time();
    if (!bus_connect(error))
        return false;
    const BoundedWait wait;
    context->connection_lost = [](ubus_context *ctx) { ctx->sock.eof = true; };
    listener.handler = {};
    listener.handler.cb = take_signal;
    if (ubus_register_event_handler(context, &listener.handler, VESK_BUS_OBJECT ".*") != 0) {
        error = connection_holds() ? "can't listen on the bus" : silence_reason();
        return false;
    }
    ubus_add_uloop(context);
    return true;
}

/** Serves the loop until the bus is lost, or `stop` made another connection, which has no subscription yet.
 * True: a stop came first. */
bool serve(const std::function<bool()> &stop)
{
    const int subscribed = connections;
    while (connection_holds()) {
        if (stop() || stop_asked())
            return true;
        if (!connection_holds() || connections != subscribed)
            break;
        uloop_timeout tick = {};
        tick.cb = [](uloop_timeout *) { uloop_end(); };
        uloop_timeout_set(&tick, tickMs);
        uloop_run();
        uloop_timeout_cancel(&tick);
    }
    return false;
}
} // namespace

void bus_use_socket(const char *path)
{
    socketPath = path;
}

void bus_start_time(int limitMs)
{
    timeEnd = monotonic_ms() + limitMs;
}

bool bus_connect(std::string &error)
{
    if (connection_holds())
        return true;
    bus_disconnect();
    switch (greeting_await(socketPath, std::min(time_left(), greetingMs), stop_asked)) {
    case Greeting::refused:
        error = std::string("no bus broker at ") + socketPath;
        return false;
    case Greeting::missing:
        error = silence_reason();
        return false;
    case Greeting::ready:
        break;
    }
    const BoundedWait wait;
    context = ubus_connect(socketPath);
    connections++;
    if (!context)
        error = std::string("can't connect to the bus broker at ") + socketPath;
    return context != nullptr;
}

void bus_disconnect()
{
    if (context)
        ubus_free(context);
    context = nullptr;
    objectId = 0;
}

const WireMethod *bus_method(std::string_view name)
{
    for (const WireMethod &row : vesk_methods)
        if (name == row.name)
            return &row;
    return nullptr;
}

CallResult bus_call(const WireMethod &method, const std::vector<CallArg> &args)
{
    CallResult result;
    if (!bus_connect(result.error))
        return result;
    const BoundedWait wait;
    blob_buf buf = {};
    blob_buf_init(&buf, 0);
    for (const WireField &field : method.args)
        if (const CallArg *arg = field.name ? find_arg(args, field.name) : nullptr)
            add_arg(&buf, *arg);
    PendingCall call = { &method, &result, false };
    const int status = invoke_object(method, buf.head, &call);
    blob_buf_free(&buf);
    if (status != 0)
        result.error = call_error(status);
    else if (!call.answered)
        result.error = "vesk sent no answer";
    return result;
}

bool bus_has_object(std::string &error)
{
    if (!bus_connect(error))
        return false;
    const BoundedWait wait;
    const int status = look_up_object();
    if (status != 0 && status != UBUS_STATUS_NOT_FOUND)
        error = call_error(status);
    return status == 0;
}

std::string bus_send_signal(const char *signal, const void *payload, size_t size)
{
    std::string error;
    if (!bus_connect(error))
        return error;
    const BoundedWait wait;
    blob_buf buf = {};
    blob_buf_init(&buf, 0);
    if (size > 0)
        blobmsg_add_field(&buf, BLOBMSG_TYPE_UNSPEC, "payload", payload, static_cast<unsigned>(size));
    const int status = ubus_send_event(context, signal, buf.head);
    blob_buf_free(&buf);
    return status == 0 ? "" : call_error(status);
}

bool bus_listen(const SignalVisitor &visit, const std::function<bool()> &stop, std::string &error)
{
    listener.visit = &visit;
    catch_stop();
    uloop_init();
    if (!subscribe(error))
        return stop_asked();
    while (!serve(stop)) {
        // The daemon holds its signals back for a second after it is back itself: a tick is soon enough.
        do {
            bus_disconnect();
            if (stop() || !sleep_until_stop(tickMs))
                return true;
        } while (!subscribe(error));
    }
    return true;
}

void catch_stop()
{
    struct sigaction action = {};
    action.sa_handler = [](int) { stopNoted = 1; };
    for (int signum : { SIGINT, SIGTERM }) // the event loop leaves handlers alone that it finds
        sigaction(signum, &action, nullptr);
}

bool stop_asked()
{
    return stopNoted != 0;
}

bool sleep_until_stop(int ms)
{
    const int64_t end = monotonic_ms() + ms;
    for (int64_t left = ms; left > 0 && !stop_asked(); left = end - monotonic_ms())
        poll(nullptr, 0, static_cast<int>(std::min<int64_t>(left, tickMs)));
    return !stop_asked();
}
