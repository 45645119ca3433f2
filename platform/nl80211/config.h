// /usr/etc/vesk-radio.json: what the wireless stack itself doesn't tell. Read once, at the first use; no key
// and no file is needed. A key that nobody knows, a value of a wrong type or a list that is too long is named
// in the log, and everything else holds.
#pragma once

#include <cstddef>
#include <cstdint>

#include "include/vesk_wire.h"

namespace radio
{

inline constexpr int radioCount = 2;

struct RadioConfig {
    char phy[128] = {};  // name, MAC, or path of the device below /sys/devices; "": found by its access point
    bool enabled = true; // false: the daemon leaves the radio alone
    bool acs = true;     // false: no periodic scans
    char chip[16] = {};  // in place of the driver's name
    uint8_t excluded[VESK_WIRE_CHANNELS] = {};
    size_t excludedCount = 0;
};

struct Config {
    RadioConfig radios[radioCount];
    int role = 0;             // as hul_EM_getWorkRole has it
    char roleFile[128] = {};  // its first number goes before `role`
    char hostapdDir[96] = {}; // of control sockets; "": the usual places
    char wpaDir[96] = {};
    char hostapdConfig[4][128] = {}; // hostapd's own files, for the passphrases
    bool monitor = false;            // the event daemon listens with a monitor interface
    int csaCount = 5;                // beacons that announce a channel switch
};

const Config &config_get();

/** The file is read again at the next use. For tests. */
void config_forget();

/** Interface names of the product file's "Vap" rows in their order; the number of them, at most `limit`. */
size_t config_product_order(char (*names)[16], size_t limit);

} // namespace radio
