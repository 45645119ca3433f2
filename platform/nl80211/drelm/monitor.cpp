// A monitor interface per radio, for those who set "monitor": it hears stations that ask nothing of us, on
// the channel that the radio is on anyway. A filter in the kernel lets through the beginnings of probe
// requests and of frames on their way to an access point.
#include "platform/nl80211/drelm/drelm.h"

#include <cstdio>

#include <arpa/inet.h>
#include <linux/filter.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/nl80211/channels.h"
#include "platform/nl80211/log.h"
#include "platform/nl80211/netlink.h"
#include "platform/nl80211/places.h"

namespace radio
{

namespace
{

constexpr int framesAtOnce = 64;
constexpr size_t beginning = 256; // bytes of a frame, its radiotap header with it

// The frame begins behind the radiotap header, whose length stands at offset 2.
constexpr sock_filter wanted[] = {
    BPF_STMT(BPF_LD | BPF_B | BPF_ABS, 3),
    BPF_STMT(BPF_ALU | BPF_LSH | BPF_K, 8),
    BPF_STMT(BPF_MISC | BPF_TAX, 0),
    BPF_STMT(BPF_LD | BPF_B | BPF_ABS, 2),
    BPF_STMT(BPF_ALU | BPF_ADD | BPF_X, 0),
    BPF_STMT(BPF_MISC | BPF_TAX, 0),
    BPF_STMT(BPF_LD | BPF_B | BPF_IND, 0),
    BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, 0x40, 5, 0), // a probe request
    BPF_STMT(BPF_ALU | BPF_AND | BPF_K, 0x0c),
    BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, 0x08, 0, 4), // data
    BPF_STMT(BPF_LD | BPF_B | BPF_IND, 1),
    BPF_STMT(BPF_ALU | BPF_AND | BPF_K, 0x03),
    BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, 0x01, 0, 1), // to an access point
    BPF_STMT(BPF_RET | BPF_K, beginning),
    BPF_STMT(BPF_RET | BPF_K, 0),
};

bool bring_up(int fd, const char *name)
{
    ifreq request = {};
    put_text(request.ifr_name, name);
    if (ioctl(fd, SIOCGIFFLAGS, &request) != 0)
        return false;
    request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_UP);
    return ioctl(fd, SIOCSIFFLAGS, &request) == 0;
}

bool listen_on(int fd, uint32_t ifindex)
{
    const sock_fprog program = { sizeof wanted / sizeof *wanted, const_cast<sock_filter *>(wanted) };
    sockaddr_ll address = {};
    address.sll_family = AF_PACKET;
    address.sll_protocol = htons(ETH_P_ALL);
    address.sll_ifindex = static_cast<int>(ifindex);
    return setsockopt(fd, SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program) == 0 &&
           bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
}

/** Number of the monitor interface, which may be there from an earlier run; 0 if there can't be one. */
uint32_t make_interface(const Radio &radio, const char *name)
{
    const Query query = { .command = NL80211_CMD_NEW_INTERFACE,
                          .wiphy = radio.wiphy,
                          .newName = name,
                          .newType = NL80211_IFTYPE_MONITOR };
    if (interface_index(name) == 0)
        netlink_ask(query, nullptr, nullptr);
    return interface_phy(name) == radio.wiphy ? interface_index(name) : 0;
}

int monitor_open(const Radio &radio)
{
    char name[IFNAMSIZ];
    snprintf(name, sizeof name, "veskmon%d", radio.index);
    const uint32_t ifindex = make_interface(radio, name);
    const int fd = ifindex ? socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, 0) : -1;
    if (fd >= 0 && bring_up(fd, name) && listen_on(fd, ifindex)) {
        log_line(levelNotice, "%s: listens", name);
        return fd;
    }
    log_once(levelError, "%s: there can't be a monitor interface on %s", name, radio.name);
    if (fd >= 0)
        close(fd);
    return -1;
}

} // namespace

void monitor_see(Drelm &, RadioState &state)
{
    if (state.monitor < 0 && state.isThere && config_get().monitor)
        state.monitor = monitor_open(state.radio);
}

void monitor_receive(Drelm &drelm, RadioState &state)
{
    uint8_t bytes[beginning];
    for (int i = 0; i < framesAtOnce; i++) {
        const ssize_t length = recv(state.monitor, bytes, sizeof bytes, 0);
        if (length < 0 && errno != EAGAIN && errno != EINTR)
            monitor_close(state); // the interface is down or gone
        if (length < 0)
            return;
        monitor_take(drelm, state, { bytes, static_cast<size_t>(length) });
    }
}

/** Of stations of ours the access points tell. */
void monitor_take(Drelm &drelm, RadioState &state, Bytes bytes)
{
    MonitorFrame heard;
    if (!monitor_read(bytes, heard))
        return;
    const Frame frame = frame_read(heard.frame);
    const bool isWanted = frame.kind == FrameKind::probe || frame.kind == FrameKind::data;
    if (isWanted && !station_is_known(drelm, frame.from))
        radio_probe(drelm, state.radio.index, state.ifName, frame.from, channel_of_frequency(heard.frequency),
                    heard.signal);
}

void monitor_close(RadioState &state)
{
    if (state.monitor >= 0)
        close(state.monitor);
    state.monitor = -1;
}

} // namespace radio
