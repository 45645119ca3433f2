// The other protocol that is needed of the kernel: rtnetlink, for the VLANs of a bridge's port.
#pragma once

#include <cstdint>

namespace radio
{

/** Makes a VLAN that of a port's untagged frames, both ways. 0 or negative. */
int netlink_vlan_set(uint32_t ifindex, uint16_t vid);

/** Takes a port out of a VLAN. 0 or negative. */
int netlink_vlan_remove(uint32_t ifindex, uint16_t vid);

} // namespace radio
