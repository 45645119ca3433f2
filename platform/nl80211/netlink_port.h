// Where the wrapper meets the system: the socket and the clock. A file of its own, so that a test links
// another one, which answers with recorded messages and moves the time.
#pragma once

#include <netlink/netlink.h>
#include <netlink/socket.h>

namespace radio
{

/** Connects to generic netlink. 0 or negative. */
int netlink_port_connect(nl_sock *socket);

/** Connects to rtnetlink, with the same ways. 0 or negative. */
int netlink_port_connect_route(nl_sock *socket);

/** Lets a socket hear of what is sent to a group. 0 or negative. */
int netlink_port_join(nl_sock *socket, int group);

/** What poll() takes for a socket that hears of groups. */
int netlink_port_fd(nl_sock *socket);

/** 1 when something can be read, 0 when `ms` have passed, negative errno. */
int netlink_port_wait(nl_sock *socket, int ms);

} // namespace radio
