// libvesk_ubus and the libubus calls that the daemon makes, as a recording fake.
#include "tests/fakes/fakes.h"

#include <cstdarg>
#include <cstdio>

FakeBus fakeBus;

namespace {
ubus_context context;

int note(const std::string &call, int result = 0) {
    fakeBus.calls.push_back(call);
    return result;
}
} // namespace

extern "C" {
// clang-format off
ubus_context *merkaGetContext(void) { return fakeBus.hasContext ? &context : nullptr; }
void merkaMainLoop(void) { note(__func__); }
int merkaAddInterestedSignal(const char *name) { return note(std::string(__func__) + " " + name); }
int ubus_add_object(ubus_context *, ubus_object *obj)
{ return note(std::string(__func__) + " " + obj->name, fakeBus.addObjectResult); }
int ubus_remove_object(ubus_context *, ubus_object *obj)
{ return note(std::string(__func__) + " " + obj->name, fakeBus.removeObjectResult); }
// clang-format on

int merkaSetInteresetedSignals(const MerkaSignalRow *table, int32_t) {
    fakeBus.rows = table;
    return note(__func__);
}

int merkaSendSignal(void *, const char *name, const void *payload, int32_t size) {
    fakeBus.signals.push_back({ name, bytes_at(payload, static_cast<size_t>(size)) });
    return 0;
}

void merkaLogFatalReal(int32_t line, const char *function, const char *format, ...) {
    char text[256];
    va_list ap;
    va_start(ap, format);
    vsnprintf(text, sizeof text, format, ap);
    va_end(ap);
    fakeBus.fatal.push_back(std::to_string(line) + " " + function + " " + text);
}

int ubus_send_reply(ubus_context *, ubus_request_data *, blob_attr *msg) {
    fakeBus.replies.push_back(bytes_at(msg, blob_pad_len(msg)));
    return 0;
}
}
