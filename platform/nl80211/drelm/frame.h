// Frames off the air (IEEE 802.11-2020, 9.2 to 9.6): which ones make an event, and what the monitor interface
// puts before them. A frame that is too short for what it claims to be is none of these.
#pragma once

#include "platform/nl80211/element.h"

namespace radio
{

enum class FrameKind {
    other,
    association,
    reassociation,
    disassociation, // or deauthentication; the body begins with the reason
    btmQuery,       // this and the next two: the body begins with the dialog token
    btmResponse,
    measurement,
    probe, // a request
    data,  // on its way to an access point
};

struct Frame {
    FrameKind kind;
    const uint8_t *to, *from; // 6 bytes each, inside the frame
    Bytes body;
};

Frame frame_read(Bytes frame);

/** What an association request says that its sender can do. */
struct FrameAbilities {
    bool is11v, is11k;
};
FrameAbilities frame_abilities(const Frame &request);

/** The next beacon report of a measurement frame's elements, as the element stands; false behind the last
 * one. */
bool frame_next_report(Bytes &elements, Bytes &report);

/** The default VLAN in the elements of a Multi-AP association response; 0 if there is none. */
uint16_t frame_default_vlan(Bytes elements);

/** A frame as a monitor interface delivers it, behind a radiotap header. */
struct MonitorFrame {
    uint16_t frequency; // MHz; 0 if unknown
    int signal;         // dBm; 0 if unknown
    Bytes frame;
};

/** False for one that was damaged on its way, and for a header that makes no sense. */
bool monitor_read(Bytes bytes, MonitorFrame &heard);

} // namespace radio
