// The nine inbound bus signals: the run-time switches of the daemon. Handlers run on the main loop, reply
// nothing, and change nothing on a missing or short payload.
#pragma once

#include <span>

#include "include/merka.h"

/** The rows as the bus client library has them. */
std::span<const MerkaSignalRow> vesk_inbound_signals();
/** Subscribes all of them. */
void register_vesk_signal();
