// Keeps what the library read, in the form that the unit tests replay (tests/nl80211/replay_test.cpp):
// `netlink`, the messages as they came, each request before its answers; `control`, commands and replies of
// the control sockets; `sys`, the small files of /sys; the two configurations, as far as they count;
// `said.json`, what the library made of it all.
#pragma once

#include <string>

#include "tools/radiocheck/said.h"

/** Asks the library once for everything and writes the folder. False, with the reason. */
bool capture(const std::string &folder, std::string &error);
