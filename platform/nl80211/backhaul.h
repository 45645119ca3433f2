// The backhaul station: wpa_supplicant's network for it, and whether it joins by itself.
#pragma once

#include "include/rilk.h"

namespace radio
{

/** Lets the station join its networks, or ends its connection. 0, or -1 with a line. */
int backhaul_connect(const VeskBstaAuto &wish);

/**
 * Gives the station a network in place of all others and lets it join. What is there stays if a part of the
 * new one is refused. 0 when the network is complete but for its key, or -1 with a line. A thread does the
 * rest and tells by a line, at most backhaulPatience after the call, whether the station has joined. No line
 * has the key.
 */
int backhaul_apply(const VeskBackhaulCred &cred);

inline constexpr int backhaulPatience = 15000; // ms

/** The thread ends: at once, or when its work is done. For tests. */
void backhaul_stop();
void backhaul_wait();

} // namespace radio
