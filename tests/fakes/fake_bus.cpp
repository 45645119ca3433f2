// libvesk_ubus and the libubus calls that the daemon makes, as a recording fake.
#include "tests/fakes/fakes.h"

#include <cstdarg>
#include <cstdio>

FakeBus fakeBus;

namespace {
ubus_context context;
}

extern "C" {
// clang-format off
ubus_context *merkaGetContext(void) { return fakeBus.hasContext ? &context : nullptr; }
void merkaMainLoop(void) { fakeBus.calls.push_back("merkaMainLoop"); }
// clang-format on

int merkaAddInterestedSignal(const char *name) {
    fakeBus.calls.push_back(std::string("merkaAddInterestedSignal ") + name);
    return 0;
}

int merkaSetInteresetedSignals(const MerkaSignalRow *table, int32_t) {
    fakeBus.rows = table;
    fakeBus.calls.push_back("merkaSetInteresetedSignals");
    return 0;
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

int ubus_add_object(ubus_context *, ubus_object *obj) {
    fakeBus.calls.push_back(std::string("ubus_add_object ") + obj->name);
    return fakeBus.addObjectResult;
}

int ubus_remove_object(ubus_context *, ubus_object *obj) {
    fakeBus.calls.push_back(std::string("ubus_remove_object ") + obj->name);
    return fakeBus.removeObjectResult;
}

int ubus_send_reply(ubus_context *, ubus_request_data *, blob_attr *msg) {
    fakeBus.replies.push_back(bytes_at(msg, blob_pad_len(msg)));
    return 0;
}
}
