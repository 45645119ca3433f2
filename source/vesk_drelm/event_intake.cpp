// The way in of driver events: a loopback socket on the main loop, one datagram per event, and the vendor's
// table that maps an event id to its handler. A datagram is trusted to come from the local sibling, but not
// to be whole: the buffer is zeroed before each read, so that whatever a short one lacks reads as zero.
#include "source/vesk_drelm/drelm_private.h"

#include <cstring>
#include <iterator>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "foundation/bytes.h"
#include "source/vesk_main/log.h"

namespace
{

struct WldrvEventRow {
    uint32_t id;
    void *reserved;
    WdevHandler handler;
};

struct WldrvVendor {
    char name[16];
    const WldrvEventRow *rows;
    int32_t count;
};

constexpr WldrvEventRow mtk_rows[] = {
    { VESK_EVENT_PROBE_REQ, nullptr, wdev_probe_req_event_process },
    { VESK_EVENT_PROBE_RESP, nullptr, wdev_probe_resq_event_process },
    { VESK_EVENT_CLIENT_JOIN, nullptr, wdev_client_join_event_process },
    { VESK_EVENT_CLIENT_LEAVE, nullptr, wdev_client_leave_event_process },
    { VESK_EVENT_CH_CHANGE, nullptr, wdev_ch_change_event_process },
    { VESK_EVENT_CH_PASS_CAC, nullptr, wdev_ch_passed_cac_event_process },
    { VESK_EVENT_RADAR, nullptr, wdev_radar_notif_process },
    { VESK_EVENT_BTM_QUERY, nullptr, wdev_btm_query_event_process },
    { VESK_EVENT_BTM_RESP, nullptr, wdev_btm_resp_event_process },
    { VESK_EVENT_BEACON_REPORT, nullptr, wdev_beacon_report_process },
    { VESK_EVENT_ENROLLEE_WPS, nullptr, wdev_enrollee_wps_event_process },
    { VESK_EVENT_MAP_R2_ASSOC_RESP, nullptr, wdev_map_r2_assoc_resp_process },
    { VESK_EVENT_STA_DISASSOC, nullptr, wdev_sta_disassoc_process },
    { VESK_EVENT_UNSAFE_CHANNEL, nullptr, wdev_unsafe_channel_event_process },
};
constexpr WldrvEventRow empty_rows[] = { { 0, nullptr, nullptr } };

consteval bool ids_run_from_one()
{
    for (size_t i = 0; i < std::size(mtk_rows); i++)
        if (mtk_rows[i].id != i + 1)
            return false;
    return true;
}
static_assert(std::size(mtk_rows) == 14 && ids_run_from_one());

// The largest body ends well inside the buffer, so that no handler reads behind it.
static_assert(sizeof(VeskEventHeader) + sizeof(VeskClientJoinEvent) <= VESK_EVENT_MAX);

WldrvVendor wldrvEvent[] = {
    { "mtk", mtk_rows, std::size(mtk_rows) },
    { "qca", empty_rows, std::size(empty_rows) },
    { "brcm", empty_rows, std::size(empty_rows) },
};
static_assert(std::size(wldrvEvent) == 3);

const WldrvVendor *currWldrvEvent;
uloop_fd g_eventFd;

void vesk_init_curr_wldrv_event()
{
    char vendor[sizeof(WldrvVendor::name)] = "mtk";
    for (const WldrvVendor &row : wldrvEvent) {
        if (strcmp(vendor, row.name) == 0) {
            currWldrvEvent = &row;
            return;
        }
    }
    VESK_LOG(ERROR, " ChipsetVendor: %s not support vesk.\n\n", vendor);
}

int bind_to_loopback(int fd)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(VESK_EVENT_PORT);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address);
}

/** The bound socket, or -1. */
int vesk_wld_event_socket_init()
{
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
    if (fd < 0) {
        VESK_LOG(ERROR, " %d - Unable to create loopback socket\n", fd);
        return -1;
    }
    const int on = 1;
    if (setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0) {
        VESK_LOG(ERROR, " Unable to setsockopt to loopback socket %d\n\n", fd);
        close(fd);
        return -1;
    }
    if (bind_to_loopback(fd) != 0) {
        VESK_LOG(ERROR, " Unable to bind to loopback socket %d\n\n", fd);
        close(fd);
        return -1;
    }
    VESK_LOG(INFO, " Eventd socket init done, fd = %d, udp port = %d\n\n", fd, VESK_EVENT_PORT);
    return fd;
}

/** A failed read needs no test: the buffer is zero then, and no row has id 0. */
void vesk_wld_event_read_cb(uloop_fd *u, unsigned int)
{
    char buffer[VESK_EVENT_MAX] = {};
    if (recv(u->fd, buffer, sizeof buffer, 0) == 0)
        return;
    const WdevHandler handler = vesk_get_eventCb(load_bytes<uint32_t>(buffer));
    if (handler == nullptr)
        return;
    buffer[sizeof(VeskEventHeader) - 1] = '\0'; // the name's last byte
    handler(buffer + sizeof(VeskEventHeader), buffer + offsetof(VeskEventHeader, ifName));
}

/** Without a socket the daemon goes on without driver events; the loop refuses descriptor -1. */
void vesk_init_fd_event()
{
    g_eventFd.cb = vesk_wld_event_read_cb;
    g_eventFd.fd = vesk_wld_event_socket_init();
    uloop_fd_add(&g_eventFd, ULOOP_READ);
    VESK_LOG(INFO, " Vesk init wd done, wlan driver fd = %d\n", g_eventFd.fd);
}

} // namespace

WdevHandler vesk_get_eventCb(uint32_t id)
{
    if (currWldrvEvent == nullptr)
        return nullptr;
    for (int i = 0; i < currWldrvEvent->count; i++)
        if (currWldrvEvent->rows[i].id == id)
            return currWldrvEvent->rows[i].handler;
    return nullptr;
}

void vesk_init_dev_event()
{
    vesk_init_curr_wldrv_event();
    vesk_init_fd_event();
}

void vesk_deinit_dev_event()
{
    if (g_eventFd.fd > 0)
        close(g_eventFd.fd);
    uloop_fd_delete(&g_eventFd);
    g_eventFd.fd = -1;
    VESK_LOG(INFO, " wl driver deinit\n");
}
