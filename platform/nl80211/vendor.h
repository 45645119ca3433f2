// Vendor elements that the daemon adds to an access point's frames: the list of one, and how hostapd is told
// all of it.
#pragma once

#include <cstdint>

#include "platform/nl80211/list.h"

namespace radio
{

enum VendorFrame : uint8_t { vendorBeacon = 1, vendorProbeResponse = 2, vendorAssocResponse = 4 };

struct VendorElement {
    uint8_t frames; // VendorFrame, a mask
    uint16_t length;
    uint8_t bytes[257]; // with identifier and length
};

/** 0; -1 with a line for an unknown frame, or what isn't exactly one vendor element. */
int vendor_take(const char *ifName, uint32_t frames, const uint8_t *data, uint32_t length,
                VendorElement &element);

/** Adds an element, or more frames to one that is there. False without room. */
bool vendor_add(List<VendorElement> &elements, const VendorElement &element);

/** Takes an element out of frames. False if it was in none of them. */
bool vendor_remove(List<VendorElement> &elements, const VendorElement &element);

/** 0 or -1. */
int vendor_tell(const char *ifName, const List<VendorElement> &elements);

} // namespace radio
