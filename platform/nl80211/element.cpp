#include "platform/nl80211/element.h"

#include <cstdio>
#include <cstring>

namespace radio
{

namespace
{

uint16_t load16(Bytes bytes, size_t at)
{
    return at + 2 <= bytes.size() ? static_cast<uint16_t>(bytes[at] | bytes[at + 1] << 8) : uint16_t{ 0 };
}

/** The rest behind `count` bytes; empty if there are fewer. */
Bytes behind(Bytes bytes, size_t count)
{
    return count <= bytes.size() ? bytes.subspan(count) : Bytes{};
}

/**
 * VHT Operation Information: width 0 as HT says, 1 for 80 MHz and more, 2 and 3 the older 160 and 80+80; with
 * 1 a second centre tells 160 (9.4.2.158).
 */
uint16_t vht_width(Bytes information)
{
    if (information.size() < 3 || information[0] == 0)
        return 0;
    return information[0] == 1 && information[2] == 0 ? 80 : 160;
}

/** HE Operation: 3 bytes of parameters, 3 of colour and rates, then VHT Operation Information if bit 14 is
 * set. */
uint16_t he_width(Bytes body)
{
    constexpr uint16_t vhtPresent = 1 << 14;
    return load16(body, 0) & vhtPresent ? vht_width(behind(body, 6)) : uint16_t{ 0 };
}

/** What a network's suites let a station use. */
struct Keys {
    bool psk, sae, eap, owe;
};

enum Akm : uint8_t {
    akmEap = 1,
    akmPsk = 2,
    akmFtEap = 3,
    akmFtPsk = 4,
    akmEapSha256 = 5,
    akmPskSha256 = 6,
    akmSae = 8,
    akmFtSae = 9,
    akmEapSuiteB = 11,
    akmEapSuiteB192 = 12,
    akmFtEapSha384 = 13,
    akmOwe = 18,
    akmSaeExt = 24,
    akmFtSaeExt = 25,
};

void note_akm(uint8_t type, Keys &keys)
{
    switch (type) {
    case akmEap:
    case akmFtEap:
    case akmEapSha256:
    case akmEapSuiteB:
    case akmEapSuiteB192:
    case akmFtEapSha384:
        keys.eap = true;
        break;
    case akmPsk:
    case akmFtPsk:
    case akmPskSha256:
        keys.psk = true;
        break;
    case akmSae:
    case akmFtSae:
    case akmSaeExt:
    case akmFtSaeExt:
        keys.sae = true;
        break;
    case akmOwe:
        keys.owe = true;
        break;
    default:
        break;
    }
}

/** RSN and WPA alike: version, group suite, counted pairwise suites, counted key management suites. */
Keys read_keys(Bytes body)
{
    Keys keys = {};
    Bytes rest = behind(body, 2 + 4);
    rest = behind(rest, 2 + size_t{ 4 } * load16(rest, 0));
    const size_t count = load16(rest, 0);
    rest = behind(rest, 2);
    for (size_t i = 0; i < count && rest.size() >= 4; i++, rest = rest.subspan(4))
        note_akm(rest[3], keys);
    return keys;
}

/** Body of the WPA element behind its vendor identifier 00:50:f2, type 1; empty if there is none. */
Bytes find_wpa(Bytes list)
{
    static constexpr uint8_t wpa[] = { 0x00, 0x50, 0xf2, 0x01 };
    uint8_t id;
    Bytes body;
    while (element_next(list, id, body)) {
        if (id == elementVendor && body.size() > sizeof wpa && memcmp(body.data(), wpa, sizeof wpa) == 0)
            return body.subspan(sizeof wpa);
    }
    return {};
}

const char *security_name(const Keys &rsn, const Keys &wpa)
{
    const struct {
        bool holds;
        const char *name;
    } names[] = {
        { rsn.eap && wpa.eap, "WPA/WPA2-EAP" },
        { rsn.eap, "WPA2-EAP" },
        { rsn.psk && rsn.sae, "WPA2-PSK/WPA3-SAE" },
        { rsn.sae, "WPA3-SAE" },
        { rsn.psk && wpa.psk, "WPA/WPA2-PSK" },
        { rsn.psk, "WPA2-PSK" },
        { rsn.owe, "OWE" },
        { wpa.eap, "WPA-EAP" },
        { wpa.psk, "WPA-PSK" },
    };
    for (const auto &[holds, name] : names) {
        if (holds)
            return name;
    }
    return nullptr;
}

} // namespace

bool element_next(Bytes &list, uint8_t &id, Bytes &body)
{
    if (list.size() < 2 || list[1] > list.size() - 2)
        return false;
    id = list[0];
    body = list.subspan(2, list[1]);
    list = list.subspan(2 + size_t{ list[1] });
    return true;
}

Bytes element_find(Bytes list, uint8_t wanted)
{
    uint8_t id;
    Bytes body;
    while (element_next(list, id, body)) {
        if (id == wanted)
            return body;
    }
    return {};
}

Bytes element_find_extension(Bytes list, uint8_t extension)
{
    uint8_t id;
    Bytes body;
    while (element_next(list, id, body)) {
        if (id == elementExtension && !body.empty() && body[0] == extension)
            return body.subspan(1);
    }
    return {};
}

void element_ssid(Bytes list, char (&ssid)[33])
{
    const Bytes body = element_find(list, elementSsid);
    memset(ssid, 0, sizeof ssid);
    for (size_t i = 0; i < body.size() && i < sizeof ssid - 1; i++)
        ssid[i] = static_cast<char>(body[i]);
}

uint16_t element_width(Bytes list)
{
    const uint16_t vht = vht_width(element_find(list, elementVhtOperation));
    if (vht != 0)
        return vht;
    const uint16_t he = he_width(element_find_extension(list, extensionHeOperation));
    if (he != 0)
        return he;
    const Bytes ht = element_find(list, elementHtOperation);
    return ht.size() >= 2 && (ht[1] & 3) != 0 ? 40 : 20; // the second channel's place
}

uint8_t element_phy(Bytes list)
{
    if (!element_find_extension(list, extensionHeCapabilities).empty())
        return 14;
    if (!element_find(list, elementVhtCapabilities).empty())
        return 9;
    return element_find(list, elementHtCapabilities).empty() ? 0 : 7;
}

void element_security(Bytes list, uint16_t capability, char (&text)[32])
{
    constexpr uint16_t privacy = 1 << 4;
    const char *name = security_name(read_keys(element_find(list, elementRsn)), read_keys(find_wpa(list)));
    if (!name)
        name = capability & privacy ? "WEP" : "OPEN";
    snprintf(text, sizeof text, "%s", name);
}

} // namespace radio
