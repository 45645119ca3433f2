// What librilk.so and libhul.so say. Absent is what a record's conventions call absent.
#pragma once

#include <cstdint>
#include <optional>

#include "tools/radiocheck/values.h"

struct SaidRadio {
    int index; // 0: 2.4 GHz, 1: 5 GHz
    std::string name;
    std::vector<std::string> vaps;
};

/** The radios that there are. Empty also where the library can't reach the wireless stack. */
std::vector<SaidRadio> said_radios();

Values said_of_radio(const SaidRadio &radio);
Values said_of_vap(const std::string &vap);

/** Takes the library's snapshot of the stations; their addresses in its order. */
std::vector<std::string> said_stations(const std::string &vap);
/** One of the last snapshot. */
Values said_of_station(const std::string &vap, const std::string &mac);

/** Load of the operating channel, percent; absent until two questions were a second apart. */
struct Load {
    std::optional<int> used, own;
};
Load said_load(const SaidRadio &radio);
