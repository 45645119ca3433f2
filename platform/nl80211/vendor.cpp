#include "platform/nl80211/vendor.h"

#include <algorithm>
#include <cstring>

#include "platform/nl80211/ctrl.h"
#include "platform/nl80211/element.h"
#include "platform/nl80211/log.h"

namespace radio
{

namespace
{

constexpr uint32_t allFrames = vendorBeacon | vendorProbeResponse | vendorAssocResponse;
constexpr uint8_t beaconFrames = vendorBeacon | vendorProbeResponse; // hostapd has one list for both
constexpr size_t ouiSize = 3;
constexpr size_t listSize = 1024; // bytes of all elements; a beacon has to stay below 2304

VendorElement *find(const List<VendorElement> &elements, const VendorElement &element)
{
    return std::find_if(elements.begin(), elements.end(), [&](const VendorElement &each) {
        return each.length == element.length && memcmp(each.bytes, element.bytes, element.length) == 0;
    });
}

int tell_frames(const char *ifName, const char *setting, const List<VendorElement> &elements, uint8_t frames)
{
    Command command = {};
    command_add(command, "SET %s ", setting);
    for (const VendorElement &element : elements) {
        if (element.frames & frames)
            command_add_hex(command, { element.bytes, element.length });
    }
    return ctrl_send(CtrlPeer::accessPoint, ifName, command);
}

} // namespace

int vendor_take(const char *ifName, uint32_t frames, const uint8_t *data, uint32_t length,
                VendorElement &element)
{
    if (frames == 0 || (frames & ~allFrames) != 0)
        return log_refusal("%s: vendor element: frames are a sum of 1, 2 and 4, not %u", ifName, frames);
    Bytes list = { data, length };
    Bytes body;
    uint8_t id;
    if (!element_next(list, id, body) || !list.empty() || id != elementVendor || body.size() < ouiSize)
        return log_refusal("%s: no whole vendor element in %u bytes", ifName, length);
    element.frames = static_cast<uint8_t>(frames);
    if (element.frames & beaconFrames && (element.frames & beaconFrames) != beaconFrames)
        log_once(levelNotice, "%s: vendor elements of beacons and of probe responses are the same ones",
                 ifName);
    if (element.frames & beaconFrames)
        element.frames |= beaconFrames;
    element.length = static_cast<uint16_t>(length);
    memcpy(element.bytes, data, length);
    return 0;
}

bool vendor_add(List<VendorElement> &elements, const VendorElement &element)
{
    VendorElement *place = find(elements, element);
    if (place != elements.end()) {
        place->frames |= element.frames;
        return true;
    }
    size_t size = element.length;
    for (const VendorElement &each : elements)
        size += each.length;
    return size <= listSize && list_add(elements, element);
}

bool vendor_remove(List<VendorElement> &elements, const VendorElement &element)
{
    VendorElement *place = find(elements, element);
    if (place == elements.end() || !(place->frames & element.frames))
        return false;
    place->frames = static_cast<uint8_t>(place->frames & ~element.frames);
    if (place->frames == 0) {
        std::copy(place + 1, elements.end(), place);
        elements.count--;
    }
    return true;
}

int vendor_tell(const char *ifName, const List<VendorElement> &elements)
{
    return tell_frames(ifName, "vendor_elements", elements, beaconFrames) == 0 &&
                   tell_frames(ifName, "assocresp_elements", elements, vendorAssocResponse) == 0 &&
                   ctrl_tell(CtrlPeer::accessPoint, ifName, "UPDATE_BEACON") == 0
               ? 0
               : -1;
}

} // namespace radio
