// Where the wrapper meets the socket. A file of its own, so that a test links another one, which answers with
// recorded messages.
#pragma once

#include <netlink/netlink.h>
#include <netlink/socket.h>

namespace radio
{

/** Connects to generic netlink. 0 or negative. */
int netlink_port_connect(nl_sock *socket);

/** 1 when something can be read, 0 when `ms` have passed, negative errno. */
int netlink_port_wait(nl_sock *socket, int ms);

} // namespace radio
