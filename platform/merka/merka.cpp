// The six operations of the bus client library.
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "platform/merka/merka_internal.h"

#define MERKA_EXPORT __attribute__((visibility("default")))

MERKA_EXPORT ubus_context *merkaGetContext(void)
{
    if (!merka::in_loop())
        merka::connect_before_loop();
    ubus_context *ctx = merka::connected_context();
    if (ctx != nullptr)
        merka::watch_this_pass(); // the caller is going to make bus calls
    return ctx;
}

MERKA_EXPORT void merkaMainLoop(void)
{
    uloop_init();
    merka::enter_loop();
    uloop_run();
    merka::leave_loop();
}

MERKA_EXPORT int merkaAddInterestedSignal(const char *name)
{
    return merka::note_signal(name);
}

MERKA_EXPORT int merkaSetInteresetedSignals(const MerkaSignalRow *table, int32_t count)
{
    return merka::set_signal_table(table, count);
}

MERKA_EXPORT int merkaSendSignal(void *, const char *name, const void *payload, int32_t size)
{
    return merka::send_signal(name, payload, size);
}

MERKA_EXPORT void merkaLogFatalReal(int32_t line, const char *function, const char *format, ...)
{
    char message[512];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(message, sizeof message, format, arguments);
    va_end(arguments);
    message[strcspn(message, "\r\n")] = '\0';
    fprintf(stderr, "merka: %s:%d: %s\n", function, static_cast<int>(line), message);
}
