#include "platform/nl80211/backhaul.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "platform/nl80211/backhaul_watch.h"
#include "platform/nl80211/channels.h"
#include "platform/nl80211/ctrl.h"
#include "platform/nl80211/log.h"
#include "platform/nl80211/text.h"

namespace radio
{

namespace
{

constexpr size_t ssidSize = 32;
constexpr size_t pskDigits = 64;
constexpr size_t keyMin = 8, keyMax = 63; // characters of a passphrase, 0x20 to 0x7e (802.11-2020, J.4)

/** How wpa_supplicant is told of a kind of security. */
struct Kind {
    int32_t authMode;
    const char *settings[3];
    bool hasPsk, hasPassword; // a pre-shared key; a password of any bytes
};

constexpr Kind kinds[] = {
    { 1, { "key_mgmt NONE" }, false, false },
    { 32, { "key_mgmt WPA-PSK", "proto RSN" }, true, false },
    { 34, { "key_mgmt WPA-PSK", "proto WPA RSN" }, true, false },
    { 64, { "key_mgmt SAE", "proto RSN", "ieee80211w 2" }, false, true },
    { 96, { "key_mgmt WPA-PSK SAE", "proto RSN", "ieee80211w 1" }, true, false },
};

// The record's texts, with room for an end that they may lack.
struct Credential {
    char ifName[17], ssid[66], key[66];
    const Kind *kind;
    uint32_t frequency; // MHz; 0: any
};

template <size_t N, size_t M>
void take_text(char (&to)[N], const char (&from)[M])
{
    static_assert(N > M);
    memcpy(to, from, M);
    to[M] = '\0';
}

const Kind *kind_of(int32_t authMode)
{
    for (const Kind &kind : kinds) {
        if (kind.authMode == authMode)
            return &kind;
    }
    return nullptr;
}

bool is_digits(const char *key)
{
    return strlen(key) == pskDigits && strspn(key, "0123456789abcdefABCDEF") == pskDigits;
}

bool is_passphrase(const char *key)
{
    const size_t length = strlen(key);
    for (const char *at = key; *at != '\0'; at++) {
        if (*at < ' ' || *at > '~')
            return false;
    }
    return length >= keyMin && length <= keyMax;
}

/** What is wrong; NULL if nothing is. */
const char *read(const VeskBackhaulCred &cred, Credential &to)
{
    take_text(to.ifName, cred.ifName);
    take_text(to.ssid, cred.ssid);
    take_text(to.key, cred.ssidKey);
    to.kind = kind_of(cred.authMode);
    const int band = cred.band == band24 ? band24 : band5;
    to.frequency = frequency_of_channel(band, cred.channel);
    if (!is_name(to.ifName))
        return "no interface";
    if (to.ssid[0] == '\0' || strlen(to.ssid) > ssidSize)
        return "an SSID has 1 to 32 bytes";
    if (!to.kind)
        return "no such kind of security";
    if ((to.kind->hasPassword && to.key[0] == '\0') ||
        (to.kind->hasPsk && !is_passphrase(to.key) && !(is_digits(to.key) && cred.authMode != 96)))
        return "that is no key of this kind";
    if (cred.channel != 0 && to.frequency == 0)
        return "no such channel of the band";
    return nullptr;
}

int set(const char *ifName, int network, const char *setting)
{
    return ctrl_tell(CtrlPeer::station, ifName, "SET_NETWORK %d %s", network, setting);
}

/** Any byte may stand in a name or a password: they go as hexadecimal digits. */
int set_bytes(const char *ifName, int network, const char *setting, const char *text)
{
    Command command = {};
    command_add(command, "SET_NETWORK %d %s ", network, setting);
    command_add_hex(command, { reinterpret_cast<const uint8_t *>(text), strlen(text) });
    return ctrl_send(CtrlPeer::station, ifName, command);
}

/** wpa_supplicant takes a passphrase in quotes up to the last one, whatever stands between. */
void put_key(const Credential &credential, BackhaulJob &job)
{
    const char *quote = is_digits(credential.key) ? "" : "\"";
    if (credential.kind->hasPsk)
        snprintf(job.key, sizeof job.key, "psk %s%s%s", quote, credential.key, quote);
    if (!credential.kind->hasPassword)
        return;
    size_t length = static_cast<size_t>(snprintf(job.key, sizeof job.key, "sae_password "));
    for (const char *at = credential.key; *at != '\0'; at++, length += 2)
        snprintf(job.key + length, sizeof job.key - length, "%02x", static_cast<uint8_t>(*at));
}

int fill(const VeskBackhaulCred &cred, const Credential &credential, int network)
{
    const char *ifName = credential.ifName;
    char setting[40];
    int status = set_bytes(ifName, network, "ssid", credential.ssid);
    for (const char *each : credential.kind->settings)
        status = status != 0 || !each ? status : set(ifName, network, each);
    if (status == 0 && is_station_mac(cred.bssid)) {
        snprintf(setting, sizeof setting, "bssid %s", mac_text(cred.bssid).text);
        status = set(ifName, network, setting);
    }
    if (status == 0 && credential.frequency != 0) {
        snprintf(setting, sizeof setting, "scan_freq %u", credential.frequency);
        status = set(ifName, network, setting);
    }
    return status == 0 ? set(ifName, network, "multi_ap_backhaul_sta 1") : status;
}

/** All networks but the new one: each line but the first begins with a number. */
int list_others(BackhaulJob &job)
{
    char reply[ctrlReplySize];
    if (ctrl_ask_interface(CtrlPeer::station, job.ifName, "LIST_NETWORKS", reply, sizeof reply) != 0)
        return log_refusal("%s: LIST_NETWORKS wasn't answered", job.ifName);
    for (const char *line = strchr(reply, '\n'); line; line = strchr(line + 1, '\n')) {
        char *end;
        const auto network = static_cast<int>(strtol(line + 1, &end, 10));
        if (end != line + 1 && *end == '\t' && network != job.network &&
            job.otherCount < std::size(job.others))
            job.others[job.otherCount++] = network;
    }
    return 0;
}

} // namespace

int backhaul_connect(const VeskBstaAuto &wish)
{
    char ifName[17];
    take_text(ifName, wish.ifName);
    if (!is_name(ifName))
        return log_refusal("backhaul station: no interface");
    if (wish.needSetRadar || wish.radarCheckSkip)
        log_once(levelNotice, "%s: the radar settings of auto-connect have no counterpart", ifName);
    const char *const on[] = { "ENABLE_NETWORK all", "RECONNECT" };
    const char *const off[] = { "DISCONNECT", "DISABLE_NETWORK all" };
    return ctrl_order(CtrlPeer::station, ifName, wish.enableAuto ? on : off);
}

int backhaul_apply(const VeskBackhaulCred &cred)
{
    const CtrlCall call;
    Credential credential = {};
    BackhaulJob job = {};
    const char *fault = read(cred, credential);
    if (fault)
        return log_refusal("backhaul station: credential refused: %s", fault);
    put_text(job.ifName, credential.ifName);
    if (cred.bw != 0)
        log_once(levelNotice, "%s: the width of a credential has no counterpart", job.ifName);
    Command add = {};
    command_add(add, "ADD_NETWORK");
    if (ctrl_send(CtrlPeer::station, job.ifName, add, &job.network) != 0)
        return -1;
    put_key(credential, job);
    if (fill(cred, credential, job.network) == 0 && list_others(job) == 0 && backhaul_watch(job) == 0)
        return 0;
    ctrl_tell(CtrlPeer::station, job.ifName, "REMOVE_NETWORK %d", job.network);
    return -1;
}

} // namespace radio
