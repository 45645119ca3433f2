#include "tools/veskctl/bus.h"

#include <cerrno>
#include <csignal>
#include <cstring>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "foundation/ubus_headers.h"

namespace
{
constexpr const char *busSocket = "/var/run/ubus.sock";
constexpr int greetingMs = 2000; // a healthy broker greets at once
constexpr int turnMs = 100;      // a listener looks this often whether it is to stop
constexpr const char *brokerGone = "the bus broker is gone";

ubus_context *context;
volatile sig_atomic_t stopNoted;

/** Whether a broker accepts and greets: the library's own connect would wait for both without limit. */
bool broker_greets(std::string &error)
{
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    memcpy(address.sun_path, busSocket, strlen(busSocket));
    pollfd readable = { fd, POLLIN, 0 };
    bool greeted = false;
    const bool connected = connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0;
    if (!connected && errno != EAGAIN) // EAGAIN: it is there, but has stopped accepting
        error = std::string("no bus broker at ") + busSocket;
    else if (!connected || poll(&readable, 1, greetingMs) != 1)
        error = std::string("the bus broker at ") + busSocket + " doesn't answer";
    else
        greeted = true;
    if (fd >= 0)
        close(fd);
    return greeted;
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
    if (status == UBUS_STATUS_NOT_FOUND)
        return "vesk isn't on the bus; is the daemon running?";
    if (status == UBUS_STATUS_TIMEOUT)
        return "vesk didn't answer in time";
    if (status < 0)
        return "vesk refused the arguments (" + std::to_string(status) + ")";
    return std::string("the bus answered: ") + ubus_strerror(status);
}

struct Listener {
    ubus_event_handler handler = {};
    const SignalVisitor *visit = nullptr;
};
Listener listener;
bool busLost;

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
    if (!ctl_connect(error))
        return false;
    context->connection_lost = [](ubus_context *) { busLost = true; };
    busLost = false;
    listener.handler = {};
    listener.handler.cb = take_signal;
    if (ubus_register_event_handler(context, &listener.handler, VESK_BUS_OBJECT ".*") != 0) {
        error = "can't listen on the bus";
        return false;
    }
    ubus_add_uloop(context);
    return true;
}

/** Serves the loop until the bus is lost. True: a stop came first. */
bool serve(const std::function<bool()> &stop)
{
    while (!busLost) {
        if (stop() || stop_asked())
            return true;
        uloop_timeout tick = {};
        tick.cb = [](uloop_timeout *) { uloop_end(); };
        uloop_timeout_set(&tick, turnMs);
        uloop_run();
        uloop_timeout_cancel(&tick);
    }
    return false;
}
} // namespace

bool ctl_connect(std::string &error)
{
    if (context)
        return true;
    if (!broker_greets(error))
        return false;
    context = ubus_connect(busSocket);
    if (!context)
        error = std::string("can't connect to the bus broker at ") + busSocket;
    return context != nullptr;
}

void ctl_disconnect()
{
    if (context)
        ubus_free(context);
    context = nullptr;
}

const WireMethod *ctl_method(std::string_view name)
{
    for (const WireMethod &row : vesk_methods)
        if (name == row.name)
            return &row;
    return nullptr;
}

CallResult ctl_call(const WireMethod &method, const std::vector<CallArg> &args, int timeoutMs)
{
    CallResult result;
    if (!ctl_connect(result.error))
        return result;
    uint32_t id = 0; // stays 0 for an object that is there without a type
    if (ubus_lookup_id(context, VESK_BUS_OBJECT, &id) != 0 || id == 0) {
        result.error = context->sock.eof ? brokerGone : call_error(UBUS_STATUS_NOT_FOUND);
        return result;
    }
    blob_buf buf = {};
    blob_buf_init(&buf, 0);
    for (const WireField &field : method.args)
        if (const CallArg *arg = field.name ? find_arg(args, field.name) : nullptr)
            add_arg(&buf, *arg);
    PendingCall call = { &method, &result, false };
    const int status = ubus_invoke(context, id, method.name, buf.head, take_answer, &call, timeoutMs);
    blob_buf_free(&buf);
    if (status != 0)
        result.error = call_error(status);
    else if (!call.answered)
        result.error = "vesk sent no answer";
    return result;
}

std::string ctl_send_signal(std::string_view signal, const void *payload, size_t size)
{
    std::string error;
    if (!ctl_connect(error))
        return error;
    blob_buf buf = {};
    blob_buf_init(&buf, 0);
    if (size > 0)
        blobmsg_add_field(&buf, BLOBMSG_TYPE_UNSPEC, "payload", payload, static_cast<unsigned>(size));
    const std::string name = std::string(VESK_BUS_OBJECT ".") + std::string(signal);
    const int status = ubus_send_event(context, name.c_str(), buf.head);
    blob_buf_free(&buf);
    return status == 0 ? "" : call_error(status);
}

bool ctl_listen(const SignalVisitor &visit, const std::function<bool()> &stop, std::string &error)
{
    listener.visit = &visit;
    catch_stop();
    uloop_init();
    if (!subscribe(error))
        return false;
    while (!serve(stop)) {
        // The daemon holds its signals back for a second after it is back itself: a turn is soon enough.
        do {
            ctl_disconnect();
            if (stop() || stop_asked())
                return true;
            usleep(turnMs * 1000);
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
