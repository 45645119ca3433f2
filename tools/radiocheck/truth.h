// The other side: the same values as iw, hostapd_cli and /sys tell them. The programs are run as they are for
// people, and their lines read.
#pragma once

#include <map>

#include "tools/radiocheck/said.h"

/** What is asked of; the configuration says where hostapd's sockets are and which channels are left out. */
struct Sources {
    std::string hostapdFolder;
    std::vector<int> excluded[2]; // by radio
    bool chipIsChosen[2] = {};    // no driver's name then
    bool hasHostapdCli = false;
};

/** Reads /usr/etc/vesk-radio.json. False, with the reason: a program is missing that nothing works without.
 */
bool find_sources(Sources &sources, std::string &error);

Values truth_of_radio(const Sources &sources, const SaidRadio &radio);
Values truth_of_vap(const Sources &sources, const std::string &vap);

/** Addresses of an access point's authorised stations, in order; each with what is known of it. */
std::map<std::string, Values> truth_of_stations(const Sources &sources, const std::string &vap);

/** ms that the radio listened on its operating channel, and that it was busy; zero without. */
struct Sample {
    uint64_t time = 0, busy = 0, own = 0;
    bool hasOwn = false;
};
Sample truth_sample(const SaidRadio &radio);
