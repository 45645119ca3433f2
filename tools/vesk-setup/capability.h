// What a phy can do in each band: the parts of its description that the product file has a place for.
#pragma once

#include <cstdint>
#include <string>

#include <cjson/cJSON.h>

#include "tools/client/json.h"

namespace setup
{

/** One band. The fields of a standard mean something only where the phy has it. */
struct Capability {
    bool isUsable; // a channel of the band may be used
    bool hasHt, hasVht, hasHe;
    uint16_t ht;        // HT Capability Information field (IEEE 802.11-2020, 9.4.2.55.2)
    uint8_t htMcs[16];  // Supported MCS Set (9.4.2.55.4)
    uint32_t vht;       // VHT Capabilities Information (9.4.2.157.2)
    uint16_t vhtMcs[2]; // receive and transmit map, two bits a stream, 3: none
    uint8_t hePhy[11];  // HE PHY Capabilities of an access point (IEEE 802.11ax-2021, 9.4.2.248.3)
    uint16_t heMcs[6];  // the same maps: receive and transmit to 80 MHz, for 160, for 80+80
};

/** Both bands of a phy, 2.4 GHz first. 0, or negative errno. */
int capability_read(int wiphy, Capability (&bands)[2]);

/** "b,g,n,ax" and "20MHz,40MHz", as the product file spells them. */
std::string capability_standards(const Capability &band, int index);
std::string capability_widths(const Capability &band, int index);
/** Transmit streams of the newest standard. */
int capability_streams(const Capability &band);

/** Puts the keys of the standards that there are; the others' stay away, which means 0. */
void capability_put(const Capability &band, Json &to);

} // namespace setup
