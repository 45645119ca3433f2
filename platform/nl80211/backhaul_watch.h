// Whether the backhaul station joins the network that it was given: a thread that listens to wpa_supplicant
// until it does, the key proves wrong, or the time is over, and writes a line.
#pragma once

namespace radio
{

/** Listens from now on, in place of an earlier watch. */
void backhaul_watch(const char *ifName, int network);

} // namespace radio
