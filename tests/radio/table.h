// Values of the libraries and of the daemon, held against the truth as texts, row by row.
#pragma once

#include "tests/radio/world.h"

template <class... Parts>
std::string text(const char *format, Parts... parts) {
    char buffer[512];
    snprintf(buffer, sizeof buffer, format, parts...);
    return buffer;
}

template <class Names, class Of>
std::vector<std::string> map_each(const Names &names, Of of) {
    std::vector<std::string> all;
    for (const auto &name : names) all.push_back(of(name));
    return all;
}

// The truth.
struct Interface {
    std::string name, phy, info;
};
std::vector<Interface> interfaces();                                    // iw dev
std::string info(const std::string &interface);                         // one interface's lines of it
std::string sys(const std::string &interface, const std::string &file); // below /sys/class/net, one line
std::string station_dumps(const std::string &bss);                      // of its own interfaces for WDS too
std::string stations_of(const std::string &bss);                        // MACs in order
std::string station(const std::string &bss, const std::string &mac, const std::string &line);
std::string is_up(const std::string &interface); // "1" or "0"
std::string standards(const std::string &bss);   // "b,g,n", by hostapd's word
/** What a station can do by hostapd's word. */
struct Abilities {
    bool is11k, is11v;
    std::string mode;
};
Abilities abilities_of(const std::string &bss, const std::string &mac);
std::string phy_of(const std::string &band);

/** Channel numbers of `iw phy PHY channels` that the daemon is told of, each with the bits of its limits. */
struct IwChannel {
    int number, limits;
    bool disabled, unavailable;
};
std::vector<IwChannel> iw_channels(const std::string &band);

/** The security of a BSS from hostapd's mouth, the key from its file; as texts of numbers. */
struct VapTruth {
    std::string auth, encrypt, attr, key;
};
VapTruth vap_truth(const std::string &name);

/** One BSS that `iw scan` has heard. */
struct Heard {
    std::string bssid, ssid, rssi, capability;
    int frequency;
};
/** Of the interface's last scan on a frequency, in order of the BSSIDs. */
std::vector<Heard> heard_on(const std::string &interface, int frequency);
/** iw's own scan of that frequency, first. */
std::vector<Heard> scan_on(const std::string &interface, int frequency);
/** What the survey says of the last scan's channel: utilisation in percent (-1: not counted) and noise. */
std::string surveyed(const std::string &interface, int frequency);
