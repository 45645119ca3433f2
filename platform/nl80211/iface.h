// Interfaces as the wireless stack has them.
#pragma once

#include <cstdint>

#include "platform/nl80211/list.h"

namespace radio
{

struct Iface {
    uint32_t index;
    int wiphy;
    uint32_t type; // NL80211_IFTYPE_...
    char name[16];
    uint8_t mac[6];
    char ssid[33];      // bytes as they are, terminated
    uint32_t frequency; // MHz; 0: on no channel
    int width;          // NL80211_CHAN_WIDTH_..., -1 if unknown
    uint32_t centre;    // MHz, middle of the channel with all its width
    bool hasPower;
    int32_t power; // mBm
};

/** All interfaces of all phys, by index. 0 or negative errno. */
int iface_list(List<Iface> &interfaces);

/** One interface by its name. 0, or negative errno with `iface` untouched. */
int iface_read(const char *name, Iface &iface);

/** The first access point of a phy that is on a channel, else the first one at all. 0 or negative errno. */
int iface_first_ap(int wiphy, Iface &iface);

/**
 * Whether an interface carries stations of an access point: the access point's own, or an AP_VLAN interface,
 * which the kernel makes for a station with a link of its own and which has the access point's address.
 */
bool iface_belongs_to(const Iface &iface, const Iface &accessPoint);

bool iface_is_ap(const Iface &iface);

/** Whether the daemon can carry an interface's name; one that it can't is named in the log. */
bool iface_is_usable(const char *name);

} // namespace radio
