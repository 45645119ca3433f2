// How a BSS is secured: what its hostapd tells, and the passphrase from hostapd's own file, which the control
// socket gives away only with WPS.
#pragma once

#include <cstdint>

namespace radio
{

struct Security {
    uint16_t authMode;    // 1 open, 16 802.1X, 32 WPA2-PSK, 34 WPA and WPA2, 64 SAE, 96 SAE and PSK
    uint16_t encryptMode; // 0 none, 4 TKIP, 8 CCMP, 12 both
    char passphrase[65];
    bool isBackhaul; // serves other access points of the mesh only
};

/** 0, or -1 if hostapd doesn't answer for the interface. */
int hostapd_security(const char *ifName, Security &security);

/** A key's value in hostapd's file for one interface: its own section's, from "interface=" or "bss=" to the
 * next. */
bool hostapd_file_value(const char *text, const char *ifName, const char *key, char *value,
                        unsigned long size);

} // namespace radio
