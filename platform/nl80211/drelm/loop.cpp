#include "platform/nl80211/drelm/drelm.h"

#include <algorithm>

#include <poll.h>

#include "platform/nl80211/clock.h"
#include "platform/nl80211/iface.h"
#include "platform/nl80211/netlink.h"

namespace radio
{

namespace
{

constexpr int64_t lookInterval =
    1100; // ms; with the reminders of 16 access points a wake-up a second, hardly more
constexpr int64_t soonInterval = 20; // ms between two looks, whatever changes

/** A free place for what isn't known yet; NULL if all are taken. */
Peer *place_for(Drelm &drelm, const Iface &iface)
{
    for (Peer &peer : drelm.peers) {
        if (strcmp(peer.ifName, iface.name) == 0)
            return &peer;
    }
    for (Peer &peer : drelm.peers) {
        if (peer.ifName[0] == '\0')
            return &peer;
    }
    return nullptr;
}

CtrlPeer kind_of(const Iface &iface)
{
    return iface_is_ap(iface) ? CtrlPeer::accessPoint : CtrlPeer::station;
}

bool is_same(const Peer &peer, const Iface &iface)
{
    return peer.ifindex == iface.index && peer.kind == kind_of(iface) && strcmp(peer.ifName, iface.name) == 0;
}

bool is_ours(const Drelm &drelm, const Iface &iface, int &radio)
{
    for (int i = 0; i < radioCount; i++) {
        const RadioState &state = drelm.radios[i];
        if (state.isThere && state.radio.wiphy == iface.wiphy) {
            radio = i;
            return (iface_is_ap(iface) || iface.type == NL80211_IFTYPE_STATION) &&
                   iface_is_usable(iface.name);
        }
    }
    return false;
}

void forget_gone(Drelm &drelm, const List<Iface> &interfaces)
{
    int radio;
    for (Peer &peer : drelm.peers) {
        const bool isThere = std::any_of(interfaces.begin(), interfaces.end(), [&](const Iface &iface) {
            return is_same(peer, iface) && is_ours(drelm, iface, radio) && radio == peer.radio;
        });
        if (peer.ifName[0] != '\0' && !isThere)
            peer_forget(drelm, peer);
    }
}

void see_peer(Drelm &drelm, const Iface &iface, int radio)
{
    Peer *peer = place_for(drelm, iface);
    if (!peer)
        return;
    if (peer->ifName[0] == '\0') {
        *peer = { .kind = kind_of(iface),
                  .radio = radio,
                  .ifindex = iface.index,
                  .fd = -1,
                  .isFirst = drelm.looks == 0 };
        put_text(peer->ifName, iface.name);
    }
    memcpy(peer->mac, iface.mac, sizeof peer->mac);
    peer_see(drelm, *peer);
}

void see_radio(Drelm &drelm, int index, const List<Iface> &interfaces)
{
    RadioState &state = drelm.radios[index];
    const Iface *first = nullptr;
    for (const Iface &iface : interfaces) {
        if (iface.wiphy == state.radio.wiphy && iface_is_ap(iface) &&
            (!first || (!first->frequency && iface.frequency)))
            first = &iface;
    }
    if (first)
        radio_see(drelm, state, *first);
    monitor_see(drelm, state);
}

/** Another phy has another past. */
void find_radio(RadioState &state, int index)
{
    Radio radio;
    const bool isThere = device_radio(index, radio);
    if (!isThere || !state.isThere || state.radio.wiphy != radio.wiphy) {
        monitor_close(state);
        state = { .isThere = isThere, .monitor = -1 };
    }
    state.radio = radio;
}

/** What is there is held against what is known. */
void look(Drelm &drelm)
{
    drelm.looked = clock_ms();
    drelm.isSoon = false;
    kernel_open(drelm);
    LocalList<Iface> interfaces;
    if (iface_list(interfaces) != 0)
        return;
    for (int i = 0; i < radioCount; i++)
        find_radio(drelm.radios[i], i);
    forget_gone(drelm, interfaces);
    for (int i = 0; i < radioCount; i++) {
        if (drelm.radios[i].isThere)
            see_radio(drelm, i, interfaces);
    }
    int radio;
    for (const Iface &iface : interfaces) {
        if (is_ours(drelm, iface, radio))
            see_peer(drelm, iface, radio);
    }
    drelm.looks++;
    if (!drelm.isLost)
        return;
    drelm.isLost = false;
    for (Peer &peer : drelm.peers) {
        if (peer.ifName[0] != '\0' && peer.kind == CtrlPeer::accessPoint)
            stations_renew(drelm, peer);
    }
}

int64_t next_look(const Drelm &drelm)
{
    if (drelm.looks == 0 && drelm.looked == 0)
        return 0;
    return drelm.looked + (drelm.isSoon || drelm.isLost ? soonInterval : lookInterval);
}

} // namespace

void drelm_begin(Drelm &drelm, DrelmSend send)
{
    drelm = {};
    drelm.send = send;
    for (Peer &peer : drelm.peers)
        peer.fd = -1;
    for (RadioState &state : drelm.radios)
        state.monitor = -1;
}

void drelm_turn(Drelm &drelm, int ms)
{
    // In the order in which they are read: the kernel, then what hears the air, then the peers.
    constexpr size_t peersAt = 1 + radioCount;
    pollfd waits[peersAt + peerCount];
    waits[0] = { drelm.kernel ? drelm.kernelFd : -1, POLLIN, 0 };
    for (size_t i = 0; i < radioCount; i++)
        waits[1 + i] = { drelm.radios[i].monitor, POLLIN, 0 };
    for (size_t i = 0; i < peerCount; i++)
        waits[peersAt + i] = { drelm.peers[i].fd, POLLIN, 0 };
    const int64_t left = next_look(drelm) - clock_ms();
    poll(waits, std::size(waits), static_cast<int>(std::clamp<int64_t>(left, 0, ms)));
    if (waits[0].revents)
        kernel_receive(drelm);
    for (size_t i = 0; i < radioCount; i++) {
        if (waits[1 + i].revents)
            monitor_receive(drelm, drelm.radios[i]);
    }
    for (size_t i = 0; i < peerCount; i++) {
        if (waits[peersAt + i].revents)
            peer_receive(drelm, drelm.peers[i]);
    }
    if (clock_ms() >= next_look(drelm))
        look(drelm);
}

void drelm_end(Drelm &drelm)
{
    for (Peer &peer : drelm.peers) {
        peer.stations.count = 0; // they are still there
        peer_forget(drelm, peer);
    }
    for (RadioState &state : drelm.radios)
        monitor_close(state);
    netlink_close(drelm.kernel);
    drelm = {};
}

} // namespace radio
