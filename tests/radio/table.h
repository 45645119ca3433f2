// Values of the libraries and of the daemon, held against the truth as texts, row by row.
#pragma once

#include "tests/radio/world.h"

/** One operation: what it says of each name, and what the truth is. */
struct Row {
    const char *operation;
    std::vector<const char *> names;
    std::string (*library)(const std::string &name);
    std::string (*truth)(const std::string &name);
};

/** The truth is read before and after: a value that moved in between may be either. */
void compare(const Row &row);

template <class... Parts>
std::string text(const char *format, Parts... parts) {
    char buffer[512];
    snprintf(buffer, sizeof buffer, format, parts...);
    return buffer;
}
std::string mac_text(const uint8_t *mac);

// The truth.
std::string info(const std::string &interface);                         // iw dev NAME info
std::string sys(const std::string &interface, const std::string &file); // below /sys/class/net, one line
std::string access_points(const std::string &phy);                      // names in alphabetical order
std::string stations_of(const std::string &bss); // MACs in order, of its own interfaces for WDS too
std::string station(const std::string &bss, const std::string &mac, const std::string &line);
