// What hostapd's texts say: the reply to STATUS of a radio, to STA of a station, to GET_CONFIG of a BSS, and
// its own file, which alone has the passphrase where WPS is off.
#pragma once

#include <cstddef>
#include <cstdint>

namespace radio
{

struct Security {
    uint16_t authMode;    // 1 open, 16 802.1X, 32 WPA2-PSK, 34 WPA and WPA2, 64 SAE, 96 SAE and PSK
    uint16_t encryptMode; // 0 none, 4 TKIP, 8 CCMP, 12 both
    char passphrase[65];
    bool isBackhaul; // serves other access points of the mesh only
};

/** What a station can do. */
struct Abilities {
    bool is11k;
    bool is11v;
    char mode[8]; // "11ax"; "" before 802.11n
};

/** "b,g,n,ax" from a reply to STATUS. */
void hostapd_modes(const char *status, int band, char *to, size_t size);

/** From a reply to STA; all zero if hostapd doesn't know the station. */
Abilities hostapd_abilities(const char *reply);

/** From a reply to GET_CONFIG; the passphrase only where that has it. */
Security hostapd_security(const char *reply);

/** A key's value in hostapd's file for one interface: its own section's, from "interface=" or "bss=" to the
 * next. */
bool hostapd_file_value(const char *text, const char *ifName, const char *key, char *value, size_t size);

/** How a BSS is secured, its passphrase if it can be read anywhere. 0, or -1 if hostapd doesn't answer. */
int hostapd_ask_security(const char *ifName, Security &security);

/** 0, or -1 if hostapd doesn't answer. */
int hostapd_ask_abilities(const char *ifName, const uint8_t *mac, Abilities &abilities);

} // namespace radio
