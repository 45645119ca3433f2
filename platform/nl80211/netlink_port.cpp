#include "platform/nl80211/netlink_port.h"

#include <cerrno>
#include <ctime>

#include <netlink/genl/genl.h>
#include <poll.h>

#include "platform/nl80211/clock.h"

namespace radio
{

namespace
{

// A kernel message holds at most 16 KiB; a wiphy in pieces and the events of a busy scan fit several times.
constexpr int socketBuffer = 256 * 1024;

} // namespace

int netlink_port_connect(nl_sock *socket)
{
    const int status = genl_connect(socket);
    if (status < 0)
        return status;
    nl_socket_set_buffer_size(socket, socketBuffer, 0);
    return nl_socket_set_nonblocking(socket);
}

int netlink_port_connect_route(nl_sock *socket)
{
    const int status = nl_connect(socket, NETLINK_ROUTE);
    return status < 0 ? status : nl_socket_set_nonblocking(socket);
}

int netlink_port_join(nl_sock *socket, int group)
{
    return nl_socket_add_membership(socket, group);
}

int netlink_port_fd(nl_sock *socket)
{
    return nl_socket_get_fd(socket);
}

int netlink_port_wait(nl_sock *socket, int ms)
{
    pollfd wanted = { nl_socket_get_fd(socket), POLLIN, 0 };
    const int ready = poll(&wanted, 1, ms);
    return ready < 0 ? -errno : ready;
}

int64_t clock_ms()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{ now.tv_sec } * 1000 + now.tv_nsec / 1000000;
}

void clock_sleep(int ms)
{
    const timespec pause = { ms / 1000, ms % 1000 * 1000000L };
    nanosleep(&pause, nullptr);
}

} // namespace radio
