// Control sockets. Commands go out without waiting and their replies come among the events; a socket that
// owes one too long is given up, and the next look attaches anew.
#include "platform/nl80211/drelm/drelm.h"

#include <sys/socket.h>
#include <unistd.h>

#include "platform/nl80211/clock.h"
#include "platform/nl80211/hostapd.h"
#include "platform/nl80211/log.h"

namespace radio
{

namespace
{

constexpr int64_t replyPatience = 5000; // ms
constexpr int64_t framesEvery = 60000;  // ms
constexpr int64_t joinPatience = 60000; // ms, from the end of WPS to the connection
constexpr size_t textSize = 16384;      // of an event; a frame of 4 KiB takes half of it
constexpr int messagesAtOnce = 64;      // of one socket, before the others have their turn
constexpr int shortestQueue = 10; // messages: what the kernel lets hostapd send ahead, of the longest frames

void peer_close(Peer &peer)
{
    if (peer.fd >= 0)
        close(peer.fd);
    peer.fd = -1;
    peer.step = Step::none;
    peer.again = false;
}

void command(Peer &peer, Step step, const char *text)
{
    const auto length = static_cast<ssize_t>(strlen(text));
    peer.step = step;
    peer.asked = clock_ms();
    if (send(peer.fd, text, static_cast<size_t>(length), MSG_NOSIGNAL) != length)
        peer_close(peer); // its queue is full, or nobody is there: the next look tries again
}

/** On the same socket as often as one likes: hostapd renews the entry that it has, or makes it once more. */
void attach(Peer &peer)
{
    peer.wasFull = false;
    command(peer, Step::attach, peer.kind == CtrlPeer::accessPoint ? "ATTACH probe_rx_events=1" : "ATTACH");
}

void open_socket(Peer &peer)
{
    Path path;
    peer.fd = ctrl_path(peer.kind, peer.ifName, path) ? ctrl_open(path) : -1;
    peer.isAttached = false;
    if (peer.fd >= 0)
        attach(peer);
}

/** hostapd forgets it with its other settings; at a reload (SIGHUP) it says nothing of that. */
void ask_for_frames(Peer &peer, Step step)
{
    command(peer, step, "SET notify_mgmt_frames 1");
}

void attached(Drelm &drelm, Peer &peer)
{
    if (!peer.isAttached)
        log_line(levelNotice, "%s: attached", peer.ifName);
    peer.isAttached = true;
    if (peer.kind != CtrlPeer::accessPoint)
        return;
    stations_renew(drelm, peer);
    ask_for_frames(peer, Step::frames);
}

void take_modes(Drelm &drelm, const Peer &peer, std::string_view text)
{
    char reply[ctrlReplySize];
    const size_t length = text.size() < sizeof reply ? text.size() : sizeof reply - 1;
    memcpy(reply, text.data(), length);
    reply[length] = '\0';
    RadioState &state = drelm.radios[peer.radio];
    hostapd_modes(reply, peer.radio, state.modes, sizeof state.modes);
}

void take_reply(Drelm &drelm, Peer &peer, std::string_view text)
{
    const bool isOk = text.starts_with("OK");
    const Step step = peer.step;
    peer.step = Step::none;
    switch (step) {
    case Step::attach:
        if (isOk)
            return attached(drelm, peer);
        log_once(levelError, "%s: the control socket lets nobody listen", peer.ifName);
        return peer_close(peer);
    case Step::frames:
        if (!isOk)
            log_once(levelError, "%s: hostapd hands on no frames", peer.ifName);
        return command(peer, Step::status, "STATUS");
    case Step::status:
        take_modes(drelm, peer, text);
        break;
    case Step::reminder:
    case Step::none:
        break;
    }
    if (peer.again)
        ask_for_frames(peer, Step::frames);
    peer.again = false;
}

/** The access point came up: perhaps elsewhere, without its stations, and with the settings of its file. */
void enabled(Drelm &drelm, Peer &peer)
{
    drelm.isSoon = true;
    stations_renew(drelm, peer);
    if (peer.step == Step::none)
        ask_for_frames(peer, Step::frames);
    else
        peer.again = true;
}

void send_enrollee(const Drelm &drelm, const Peer &peer, const uint8_t *enrollee, const uint8_t *bssid)
{
    VeskEnrolleeWps event = {};
    memcpy(event.mac_addr, enrollee, sizeof event.mac_addr);
    memcpy(event.connected_bssid, bssid, sizeof event.connected_bssid);
    drelm_send(drelm, VESK_EVENT_ENROLLEE_WPS, peer.ifName, event);
}

/** Our own station's enrolment counts when it has used what it was given; a later connection isn't its end.
 */
void connected(const Drelm &drelm, Peer &peer, const uint8_t *bssid)
{
    if (peer.enrolled != 0 && clock_ms() - peer.enrolled < joinPatience)
        send_enrollee(drelm, peer, peer.mac, bssid);
    peer.enrolled = 0;
}

void take_frame(Drelm &drelm, Peer &peer, std::string_view hex)
{
    uint8_t bytes[VESK_EVENT_MAX];
    frame_received(drelm, peer, message_bytes(hex, bytes, sizeof bytes));
}

} // namespace

void peer_see(Drelm &, Peer &peer)
{
    const CtrlIdentity identity = ctrl_identity(peer.kind, peer.ifName);
    const bool isLate = peer.step != Step::none && clock_ms() - peer.asked > replyPatience;
    if (isLate)
        log_once(levelNotice, "%s: no reply within %d s", peer.ifName,
                 static_cast<int>(replyPatience / 1000));
    if (isLate || !(peer.identity == identity))
        peer_close(peer);
    peer.identity = identity;
    if (peer.fd < 0) {
        if (identity.inode != 0)
            open_socket(peer);
        return;
    }
    if (peer.step != Step::none)
        return;
    if (peer.wasFull)
        attach(peer);
    else if (peer.kind == CtrlPeer::accessPoint && clock_ms() - peer.asked >= framesEvery)
        ask_for_frames(peer, Step::reminder);
}

void peer_forget(Drelm &drelm, Peer &peer)
{
    while (peer.stations.count > 0)
        station_left(drelm, peer, peer.stations.items[peer.stations.count - 1].mac);
    list_free(peer.stations);
    peer_close(peer);
    peer.ifName[0] = '\0';
}

/** A daemon drops without a word whom it can't send to some ten times. hostapd 2.10 waits for room
 * instead. So whose queue may have been full is attached again, and what it may have missed is read. */
void peer_receive(Drelm &drelm, Peer &peer)
{
    static char text[textSize];
    int count = 0;
    for (; count < messagesAtOnce && peer.fd >= 0; count++) {
        const ssize_t length = recv(peer.fd, text, sizeof text, MSG_TRUNC);
        if (length < 0)
            break;
        if (static_cast<size_t>(length) <= sizeof text)
            peer_take(drelm, peer, { text, static_cast<size_t>(length) });
        else
            log_once(levelError, "%s: an event of more than %zu bytes was left out", peer.ifName, textSize);
    }
    peer.wasFull |= count >= shortestQueue;
}

void peer_take(Drelm &drelm, Peer &peer, std::string_view text)
{
    const Message message = message_read(text);
    switch (message.kind) {
    case MessageKind::reply:
        return take_reply(drelm, peer, text);
    case MessageKind::joined:
        return station_joined(drelm, peer, message.mac);
    case MessageKind::left:
        return station_left(drelm, peer, message.mac);
    case MessageKind::frame:
        return take_frame(drelm, peer, message.hex);
    case MessageKind::probe:
        return radio_probe(drelm, peer.radio, peer.ifName, message.mac, drelm.radios[peer.radio].now.channel,
                           message.signal);
    case MessageKind::enabled:
        return enabled(drelm, peer);
    case MessageKind::changed:
        drelm.isSoon = true;
        return;
    case MessageKind::enrolled:
        return send_enrollee(drelm, peer, message.mac, peer.mac);
    case MessageKind::wpsDone:
        peer.enrolled = peer.kind == CtrlPeer::station ? clock_ms() : 0;
        return;
    case MessageKind::connected:
        return connected(drelm, peer, message.mac);
    case MessageKind::unknown:
        return;
    }
}

Peer *peer_of(Drelm &drelm, uint32_t ifindex)
{
    for (Peer &peer : drelm.peers) {
        if (peer.ifName[0] != '\0' && peer.ifindex == ifindex)
            return &peer;
    }
    return nullptr;
}

} // namespace radio
