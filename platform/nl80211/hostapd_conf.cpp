#include "platform/nl80211/hostapd_conf.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/nl80211/config.h"
#include "platform/nl80211/ctrl.h"
#include "platform/nl80211/places.h"

namespace radio
{

namespace
{

constexpr unsigned long fileLimit = 256 * 1024;

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

void read_passphrase(const char *ifName, char (&passphrase)[65])
{
    for (const char *file : config_get().hostapdConfig) {
        char path[256];
        char *text = file[0] != '\0' && place(path, "%s", file) ? read_file(path, fileLimit) : nullptr;
        const bool found = text && (hostapd_file_value(text, ifName, "wpa_passphrase", passphrase, 65) ||
                                    hostapd_file_value(text, ifName, "sae_password", passphrase, 65));
        free(text);
        if (found)
            return;
    }
}

} // namespace

bool hostapd_file_value(const char *text, const char *ifName, const char *key, char *value,
                        unsigned long size)
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

int hostapd_security(const char *ifName, Security &security)
{
    char reply[ctrlReplySize];
    char value[256];
    if (ctrl_ask_interface(CtrlPeer::accessPoint, ifName, "GET_CONFIG", reply, sizeof reply) != 0)
        return -1;
    security = {};
    char ciphers[256] = "";
    char wpaCiphers[256] = "";
    ctrl_value(reply, "rsn_pairwise_cipher", ciphers);
    const bool hasWpa = ctrl_value(reply, "wpa_pairwise_cipher", wpaCiphers);
    security.authMode = auth_mode(ctrl_value(reply, "key_mgmt", value) ? value : "", hasWpa);
    security.encryptMode = static_cast<uint16_t>(encrypt_mode(ciphers) | encrypt_mode(wpaCiphers));
    security.isBackhaul = ctrl_value(reply, "multi_ap", value) && strcmp(value, "1") == 0;
    if (!ctrl_value(reply, "passphrase", security.passphrase))
        read_passphrase(ifName, security.passphrase);
    return 0;
}

} // namespace radio
