// What the machine has: phys, interfaces, hostapd's files, wired ports. Read once, and only read.
#pragma once

#include <string>
#include <vector>

#include "platform/nl80211/iface.h"
#include "tools/vesk-setup/capability.h"

namespace setup
{

struct Phy {
    int index;
    std::string name, driver, mac;
    std::string device; // its path below /sys/devices, "" if it has none
    std::string country;
    Capability bands[2];
};

/** One access point of a file of hostapd's. */
struct Section {
    std::string name;    // behind "interface=" or "bss="
    std::string primary; // the file's "interface="
    std::string file;
    std::string folder; // of its control socket; "" without
    int band;           // 0 or 1, by "hw_mode"; -1 without
};

struct Machine {
    std::vector<Phy> phys; // by number
    std::vector<radio::Iface> interfaces;
    std::vector<Section> sections;
    std::vector<std::string> stationFolders; // where control sockets of wpa_supplicant may be
    std::vector<std::string> ports;          // wired ones
    std::string model;
};

/** 0, or negative errno where there is no wireless stack. */
int machine_read(Machine &machine);

/** A path on the machine that exists. */
bool path_exists(const std::string &path);

/** The bridge that an interface is a port of; "" if it is none. */
std::string bridge_of(const std::string &interface);
bool bridge_has_vlans(const std::string &bridge);

} // namespace setup
