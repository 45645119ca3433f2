// What the daemon is to be told of a machine, and what keeps it from full service there.
#pragma once

#include <string>
#include <vector>

#include "tools/vesk-setup/machine.h"

namespace setup
{

/** A radio as the daemon will have it. */
struct PlannedRadio {
    bool isThere = false;
    Phy phy = {};
    std::string identity; // for vesk-radio.json: what stays the same over a restart
    std::string why;      // it was chosen
    std::vector<std::string> accessPoints, stations;
};

struct Finding {
    std::string what, remedy;
};

struct Plan {
    PlannedRadio radios[2]; // 2.4 GHz, 5 GHz
    int role = 0;
    std::vector<std::string> files;       // hostapd's, those of the radios
    std::string hostapdFolder, wpaFolder; // "": the usual ones
    std::vector<std::string> bridges;
    std::vector<Finding> missing;
    std::string sentence; // what the daemon can do with fewer than two radios of two bands; "" with both
};

/** Asks the control sockets, too. */
Plan plan_make(const Machine &machine);

/** kor-product-cfg.json and vesk-radio.json. */
Json plan_product(const Machine &machine, const Plan &plan);
Json plan_radio(const Plan &plan);

} // namespace setup
