// Information elements of beacons and probe responses: identifier, length, body, one behind the other (IEEE
// 802.11-2020, 9.4.2). They come off the air, so a length that runs over ends the list.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace radio
{

using Bytes = std::span<const uint8_t>;

enum ElementId : uint8_t {
    elementSsid = 0,
    elementMeasurementReport = 39,
    elementHtCapabilities = 45,
    elementRsn = 48,
    elementHtOperation = 61,
    elementRadioMeasurement = 70,
    elementExtendedCapabilities = 127,
    elementVhtCapabilities = 191,
    elementVhtOperation = 192,
    elementVendor = 221,
    elementExtension = 255, // the first byte of the body tells which
};

inline constexpr uint8_t extensionHeCapabilities = 35;
inline constexpr uint8_t extensionHeOperation = 36;

/** Takes the next element off the list. False at its end, or where the rest is no whole element. */
bool element_next(Bytes &list, uint8_t &id, Bytes &body);

/** The first element of that identifier: its body, empty if there is none. */
Bytes element_find(Bytes list, uint8_t id);
/** The same for an extension: what stands behind its number. */
Bytes element_find_extension(Bytes list, uint8_t extension);

/** The network's name, cut at a NUL; "" if it is hidden. */
void element_ssid(Bytes list, char (&ssid)[33]);

/** Width of the network's channel in MHz, from the HT, VHT and HE Operation elements: 20 to 160. */
uint16_t element_width(Bytes list);

/** dot11PHYType of what the network can do: 14 HE, 9 VHT, 7 HT; 0 without any of them. */
uint8_t element_phy(Bytes list);

/** "OPEN", "WEP", "WPA2-PSK", "WPA2-PSK/WPA3-SAE" ...; `capability` is the beacon's. */
void element_security(Bytes list, uint16_t capability, char (&text)[32]);

} // namespace radio
