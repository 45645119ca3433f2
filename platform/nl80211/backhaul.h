// The backhaul station: wpa_supplicant's network for it, and whether it joins by itself.
#pragma once

#include "include/rilk.h"

namespace radio
{

/** Lets the station join its networks, or ends its connection. 0, or -1 with a line. */
int backhaul_connect(const VeskBstaAuto &wish);

/**
 * Gives the station a network in place of all others and lets it join. What is there stays if a part of the
 * new one is refused. 0, or -1 with a line; whether it joins is told by a line later, at most
 * backhaulPatience after the call, which a thread waits for. No line has the key.
 */
int backhaul_apply(const VeskBackhaulCred &cred);

inline constexpr int backhaulPatience = 15000; // ms

/** The thread ends. For tests. */
void backhaul_stop();

} // namespace radio
