#include "platform/nl80211/hostapd.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/nl80211/channels.h"
#include "platform/nl80211/config.h"
#include "platform/nl80211/ctrl.h"
#include "platform/nl80211/places.h"
#include "platform/nl80211/text.h"

namespace radio
{

namespace
{

constexpr size_t fileLimit = 256 * 1024;

bool has_word(const char *text, const char *word)
{
    const size_t length = strlen(word);
    for (const char *at = strstr(text, word); at; at = strstr(at + 1, word)) {
        const bool begins = at == text || at[-1] == ' ';
        if (begins && (at[length] == ' ' || at[length] == '\0'))
            return true;
    }
    return false;
}

/** hostapd writes "wpa=1", "2" or "3" only in its file; here it is told by which ciphers there are. */
uint16_t auth_mode(const char *keyMgmt, bool hasWpa)
{
    const bool psk =
        has_word(keyMgmt, "WPA-PSK") || has_word(keyMgmt, "WPA-PSK-SHA256") || has_word(keyMgmt, "FT-PSK");
    const bool sae = has_word(keyMgmt, "SAE") || has_word(keyMgmt, "FT-SAE");
    if (strstr(keyMgmt, "EAP"))
        return 16;
    if (psk && sae)
        return 96;
    if (sae)
        return 64;
    if (psk)
        return hasWpa ? 34 : 32;
    return 1;
}

uint16_t encrypt_mode(const char *ciphers)
{
    return static_cast<uint16_t>((strstr(ciphers, "TKIP") ? 4 : 0) |
                                 (strstr(ciphers, "CCMP") || strstr(ciphers, "GCMP") ? 8 : 0));
}

/** Whether one of hostapd's rates, in units of 500 kbit/s and hexadecimal, is of 802.11b (or is not). */
bool has_rate(const char *rates, bool of11b)
{
    char *end;
    for (const char *at = rates;; at = end) {
        const unsigned long rate = strtoul(at, &end, 16) & 0x7f;
        if (end == at)
            return false;
        const bool isOf11b = rate == 2 || rate == 4 || rate == 11 || rate == 22;
        if (isOf11b == of11b)
            return true;
    }
}

/** Whether a bit of a field in hexadecimal digits is set, counted through its bytes from the first one's
 * lowest. */
bool hex_bit(const char *digits, size_t bit)
{
    const size_t at = bit / 8 * 2;
    if (strlen(digits) < at + 2)
        return false;
    const char byte[] = { digits[at], digits[at + 1], '\0' };
    return (strtoul(byte, nullptr, 16) >> (bit % 8) & 1) != 0;
}

const char *mode_of(const char *flags)
{
    static constexpr const char *modes[][2] = { { "[HE]", "11ax" }, { "[VHT]", "11ac" }, { "[HT]", "11n" } };
    for (const auto &[flag, mode] : modes) {
        if (strstr(flags, flag))
            return mode;
    }
    return "";
}

void read_passphrase(const char *ifName, char (&passphrase)[65])
{
    for (const char *file : config_get().hostapdConfig) {
        Path path;
        char *text = file[0] != '\0' && place(path, "%s", file) ? read_file(path, fileLimit) : nullptr;
        const bool found = text && (hostapd_file_value(text, ifName, "wpa_passphrase", passphrase, 65) ||
                                    hostapd_file_value(text, ifName, "sae_password", passphrase, 65));
        free(text);
        if (found)
            return;
    }
}

} // namespace

bool hostapd_file_value(const char *text, const char *ifName, const char *key, char *value, size_t size)
{
    const size_t length = strlen(key);
    bool isOurs = false;
    for (const char *line = text; *line != '\0';) {
        const auto end = static_cast<int>(strcspn(line, "\r\n"));
        const int head = strncmp(line, "interface=", 10) == 0 ? 10 : strncmp(line, "bss=", 4) == 0 ? 4 : 0;
        if (head > 0)
            isOurs = end - head == static_cast<int>(strlen(ifName)) &&
                     strncmp(line + head, ifName, strlen(ifName)) == 0;
        if (isOurs && strncmp(line, key, length) == 0 && line[length] == '=') {
            const int from = static_cast<int>(length) + 1;
            snprintf(value, size, "%.*s", end - from, line + from);
            return true;
        }
        line += end;
        line += *line != '\0';
    }
    return false;
}

void hostapd_modes(const char *status, int band, char *to, size_t size)
{
    char rates[128] = "";
    char flag[4];
    ctrl_value(status, "supported_rates", rates);
    const auto has = [&](const char *name) { return ctrl_value(status, name, flag) && flag[0] == '1'; };
    const struct {
        bool present;
        const char *name;
    } modes[] = {
        { band == band24 && has_rate(rates, true), "b" },
        { band == band24 && has_rate(rates, false), "g" },
        { band == band5 && has_rate(rates, false), "a" },
        { has("ieee80211n"), "n" },
        { band == band5 && has("ieee80211ac"), "ac" },
        { has("ieee80211ax"), "ax" },
        { has("ieee80211be"), "be" },
    };
    to[0] = '\0';
    for (const auto &[present, name] : modes) {
        const size_t length = strlen(to);
        if (present)
            snprintf(to + length, size - length, "%s%s", length > 0 ? "," : "", name);
    }
}

/** 802.11k is bit 12 of the capability field, 802.11v's BSS transition bit 19 of the extended capabilities.
 */
Abilities hostapd_abilities(const char *reply)
{
    Abilities abilities = {};
    char value[256];
    if (ctrl_value(reply, "capability", value))
        abilities.is11k = (strtoul(value, nullptr, 16) >> 12 & 1) != 0;
    if (ctrl_value(reply, "ext_capab", value))
        abilities.is11v = hex_bit(value, 19);
    if (ctrl_value(reply, "flags", value))
        put_text(abilities.mode, mode_of(value));
    return abilities;
}

Security hostapd_security(const char *reply)
{
    Security security = {};
    char value[256];
    char ciphers[256] = "";
    char wpaCiphers[256] = "";
    ctrl_value(reply, "rsn_pairwise_cipher", ciphers);
    const bool hasWpa = ctrl_value(reply, "wpa_pairwise_cipher", wpaCiphers);
    security.authMode = auth_mode(ctrl_value(reply, "key_mgmt", value) ? value : "", hasWpa);
    security.encryptMode = static_cast<uint16_t>(encrypt_mode(ciphers) | encrypt_mode(wpaCiphers));
    security.isBackhaul = ctrl_value(reply, "multi_ap", value) && strcmp(value, "1") == 0;
    ctrl_value(reply, "passphrase", security.passphrase);
    return security;
}

int hostapd_ask_security(const char *ifName, Security &security)
{
    char reply[ctrlReplySize];
    if (ctrl_ask_interface(CtrlPeer::accessPoint, ifName, "GET_CONFIG", reply, sizeof reply) != 0)
        return -1;
    security = hostapd_security(reply);
    if (security.passphrase[0] == '\0')
        read_passphrase(ifName, security.passphrase);
    return 0;
}

int hostapd_ask_abilities(const char *ifName, const uint8_t *mac, Abilities &abilities)
{
    char command[32];
    char reply[ctrlReplySize];
    snprintf(command, sizeof command, "STA %s", mac_text(mac).text);
    if (ctrl_ask_interface(CtrlPeer::accessPoint, ifName, command, reply, sizeof reply) != 0)
        return -1;
    abilities = hostapd_abilities(reply);
    return 0;
}

} // namespace radio
