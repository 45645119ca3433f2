// The nine inbound bus signals: the run-time switches of the daemon. Handlers run on the main loop, reply
// nothing, and change nothing on a missing or short payload.
#pragma once

#include "include/merka.h"

inline constexpr int VESK_INBOUND_SIGNALS = 9;

/** The table handed to the bus client library, in row order. */
const MerkaSignalRow *vesk_inbound_signals();
/** Full names ("interface.signal") of the rows, in their order. */
const char *const *vesk_inbound_signal_names();

void vesk_setLogLevelSignal(const char *interface, const char *signal, void *payload, int size);
void vesk_setLogDestinationSignal(const char *interface, const char *signal, void *payload, int size);
void vesk_setScanEnableSignal(const char *interface, const char *signal, void *payload, int size);
void vesk_notifyWlanChange(const char *interface, const char *signal, void *payload, int size);
void vesk_setIntfStatEnableSignal(const char *interface, const char *signal, void *payload, int size);
void vesk_setStaEnableSignal(const char *interface, const char *signal, void *payload, int size);
void vesk_setChannelChangeEnableSignal(const char *interface, const char *signal, void *payload, int size);
void vesk_setUbusObjSignal(const char *interface, const char *signal, void *payload, int size);
void vesk_notifyIEEE1905VlanInftChange(const char *interface, const char *signal, void *payload, int size);
