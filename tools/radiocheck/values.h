// What is compared: named values of one thing (a radio, an access point, a station), as texts. The library
// says them in one way, iw, hostapd_cli and /sys in another; both sides fill the same names.
#pragma once

#include <string>
#include <vector>

struct Value {
    std::string name;
    std::string text; // empty: nothing is known
    std::string why;  // if nothing is known: where it was looked for
};

struct Values {
    std::vector<Value> all;

    void add(std::string name, std::string text, std::string why = "")
    {
        all.push_back({ std::move(name), std::move(text), std::move(why) });
    }
    const Value *find(const std::string &name) const
    {
        for (const Value &value : all)
            if (value.name == name)
                return &value;
        return nullptr;
    }
};

/** Values in the order of the counters of a record; the names are those of /sys, NULL: nobody fills it. */
inline constexpr const char *counterNames[] = {
    "rx_packets", "tx_packets", "rx_bytes",   "tx_bytes",   nullptr,
    "rx_errors",  "tx_errors",  "rx_dropped", "tx_dropped", "multicast",
};
