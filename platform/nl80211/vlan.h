// The bridge below the access points: the default VLAN of a port, and forwarding entries that are to go.
#pragma once

#include "platform/nl80211/device.h"

namespace radio
{

/**
 * Makes `vid` the VLAN of untagged frames of an access point and of its stations' own interfaces, also of
 * those that come later; 0 gives the bridge's own back. 0; -1 with a line where the bridge doesn't know
 * VLANs. Needs CAP_NET_ADMIN.
 */
int vlan_set(const char *ifName, uint16_t vid);

/** Looks for ports that have come since. For a poll: costs nothing while no VLAN was set. */
void vlan_renew();

/** Forgets what the bridge has learnt behind the radio's access points. -1 with a line without a bridge. */
int vlan_flush(const Radio &radio);

/** For tests. */
void vlan_forget();

} // namespace radio
