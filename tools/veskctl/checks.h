// Words against the device: what a person names has to be there before anything is asked for.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tools/client/device.h"

/** The radio by "2.4", "5", a band word or its name; ends the program when there is none. */
const RadioState &must_radio(const Snapshot &snapshot, const std::string &word);
/** The interface by its outer or inner name; ends the program when there is none. */
const VapState &must_vap(const Snapshot &snapshot, const std::string &word);
/** The same, but no backhaul station: those have no stations of their own. */
const VapState &must_access_point(const Snapshot &snapshot, const std::string &word);
/** The station on that interface; ends the program with where it is instead. */
const StationState &must_station(const Snapshot &snapshot, const VapState &vap, const std::string &mac);

/** A MAC address, or wrong usage. */
void need_mac(const std::string &text, uint8_t *mac);
/** Text of at most size - 1 bytes into a field, or wrong usage. */
void need_text(char *field, size_t size, const std::string &text, const char *what);
/** Hexadecimal bytes, or wrong usage. */
std::vector<uint8_t> need_hex(const std::string &text, const char *what);
/** The value of a name or number, or wrong usage. */
int need_name(std::span<const ValueName> names, const std::string &word, const char *what);

/** Asks `isSo`, which may use the bus, four times a second until it answers true or was asked when the
 * time was over; prints a dot a second on a terminal. What it answered last. */
bool wait_until(int limitMs, const std::function<bool()> &isSo);
