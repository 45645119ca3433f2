// The bus client library, libvesk_ubus.so: it owns the process's connection to the bus, the main loop and
// the delivery of signals. A vendor's library and this repository's own take each other's place without a
// rebuild, so names, arguments and the row's layout are fixed.
#pragma once

#include <cstddef>
#include <cstdint>

struct ubus_context;

/** Called on the main loop's thread; `payload` is NULL when empty and lives for the call only. */
using merka_signal_handler = void (*)(const char *interface, const char *signal, void *payload, int size);

/** One signal that the process listens to. Naturally aligned, not packed. */
struct MerkaSignalRow {
    char interface[64];
    char signal[64];
    merka_signal_handler handler;
    uint32_t index;
};
static_assert(sizeof(void *) != 4 || sizeof(MerkaSignalRow) == 136);
static_assert(offsetof(MerkaSignalRow, signal) == 64 && offsetof(MerkaSignalRow, handler) == 128);

extern "C" {

/** The connected context, or NULL; connects on first use. Owned by the library. */
struct ubus_context *merkaGetContext(void);

/** Serves the bus, uloop descriptors and uloop timers on the calling thread until the loop is ended. */
void merkaMainLoop(void);

/** Notes a subscription, "interface.signal". 0, or -1. */
int merkaAddInterestedSignal(const char *name);

/** From now on calls the row's handler for each such signal. The table must stay. 0, or -1. */
int merkaSetInteresetedSignals(const struct MerkaSignalRow *table, int32_t count);

/** Broadcasts `size` bytes as they stand; returns at once, the buffer is the caller's again. 0, or -1. */
int merkaSendSignal(void *unused, const char *name, const void *payload, int32_t size);

/** One line to stderr: line, function, message. Returns; the caller goes on. */
void merkaLogFatalReal(int32_t line, const char *function, const char *format, ...)
    __attribute__((format(printf, 3, 4)));
}
