#include "platform/nl80211/netlink_bridge.h"

#include <linux/if_bridge.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>

#include <netlink/attr.h>
#include <netlink/msg.h>

#include "platform/nl80211/netlink.h"
#include "platform/nl80211/netlink_port.h"

namespace radio
{

namespace
{

bool put_vlan(nl_msg *message, uint32_t ifindex, const bridge_vlan_info &vlan)
{
    ifinfomsg port = {};
    port.ifi_family = AF_BRIDGE;
    port.ifi_index = static_cast<int>(ifindex);
    if (nlmsg_append(message, &port, sizeof port, NLMSG_ALIGNTO) < 0)
        return false;
    nlattr *bridge = nla_nest_start(message, IFLA_AF_SPEC);
    if (!bridge || nla_put(message, IFLA_BRIDGE_VLAN_INFO, sizeof vlan, &vlan) < 0)
        return false;
    nla_nest_end(message, bridge);
    return true;
}

/** The kernel answers before the request has returned: what isn't there then is lost. */
int ask(int type, uint32_t ifindex, const bridge_vlan_info &vlan)
{
    nl_sock *socket = nl_socket_alloc();
    nl_msg *message = nlmsg_alloc_simple(type, 0);
    int status = -1;
    if (socket && message && netlink_port_connect_route(socket) >= 0 && put_vlan(message, ifindex, vlan) &&
        nl_send_auto_complete(socket, message) >= 0 && netlink_port_wait(socket, netlinkPatience) > 0)
        status = nl_wait_for_ack(socket);
    if (message)
        nlmsg_free(message);
    if (socket)
        nl_socket_free(socket);
    return status < 0 ? status : 0;
}

} // namespace

int netlink_vlan_set(uint32_t ifindex, uint16_t vid)
{
    return ask(RTM_SETLINK, ifindex, { BRIDGE_VLAN_INFO_PVID | BRIDGE_VLAN_INFO_UNTAGGED, vid });
}

int netlink_vlan_remove(uint32_t ifindex, uint16_t vid)
{
    return ask(RTM_DELLINK, ifindex, { 0, vid });
}

} // namespace radio
