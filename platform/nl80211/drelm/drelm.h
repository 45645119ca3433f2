// The program drelm: what hostapd, wpa_supplicant and nl80211 tell of the two radios becomes datagrams to the
// daemon. One thread, one poll(); nothing in here waits for anybody. State is one record, and each file has
// its part of it: peers (control sockets), stations (who is on which access point), radios (channel, radar,
// probes), kernel (messages of nl80211), monitor (interfaces that hear everything on the channel).
//
// Control sockets and the kernel only say when to look; what is there is read again, and the difference to
// what is known is announced. So an event is sent once, whoever tells it, and one that was lost is made up
// for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "include/vesk_event.h"
#include "platform/nl80211/ctrl.h"
#include "platform/nl80211/device.h"
#include "platform/nl80211/drelm/frame.h"
#include "platform/nl80211/drelm/message.h"
#include "platform/nl80211/list.h"
#include "platform/nl80211/text.h"

struct nl_sock;

namespace radio
{

/** Takes one datagram; the bytes live for the call only. */
using DrelmSend = void (*)(const void *datagram, size_t size);

struct KnownStation {
    uint8_t mac[6];
    bool announced; // false: was there before the program
};

/** Which reply a control socket owes. */
enum class Step : uint8_t { none, attach, frames, status, reminder };

/** An interface of one of the radios, and its control socket. */
struct Peer {
    char ifName[16]; // "": a free place
    CtrlPeer kind;
    int radio;
    uint32_t ifindex;
    uint8_t mac[6];

    int fd; // -1: not attached
    CtrlIdentity identity;
    Step step;
    int64_t asked;    // ms
    bool again;       // the settings are told once more behind the present step
    bool isAttached;  // with this socket
    bool wasFull;     // its queue, perhaps: messages may be lost, and it may be attached no longer
    bool isFirst;     // was there when the program began: so were its stations
    int64_t enrolled; // ms; by WPS, not connected since; 0: no
    List<KnownStation> stations;
};
inline constexpr size_t peerCount = 24; // sixteen access points, and stations

/** An association that was asked for and isn't authorised yet. */
struct Request {
    uint32_t ifindex; // 0: a free place
    uint8_t mac[6];
    FrameAbilities abilities;
    uint64_t number; // to find the oldest
    uint16_t length;
    uint8_t body[VESK_ASSOC_REQ_MAX];
};
inline constexpr size_t requestCount = 128;

/** A channel with its width. */
struct Operation {
    uint32_t frequency; // MHz; 0: none
    uint32_t centre;
    uint8_t channel;
    uint8_t width; // the daemon's index
    uint16_t mhz;
    uint8_t opClass;
    float power; // dBm
};

struct Heard {
    uint8_t mac[6];
    int64_t time; // ms
};
inline constexpr size_t heardCount = 64;

struct RadioState {
    bool isThere;
    Radio radio;
    char ifName[16]; // its first access point, for events that concern all of them
    char modes[32];
    Operation now;
    Operation checked; // under a channel availability check
    Operation radar;   // that was met since the last change
    struct {
        uint32_t frequency;
        bool isRadar;
        int64_t time; // ms
    } told;           // the last event of radar or of a passed check
    Heard heard[heardCount];
    size_t heardNext;
    int monitor; // socket, -1
};

struct Drelm {
    DrelmSend send;
    nl_sock *kernel;
    int kernelFd;
    bool isLost;    // messages of the kernel
    bool isSoon;    // something has changed
    int64_t looked; // ms
    uint64_t looks;
    Peer peers[peerCount];
    RadioState radios[radioCount];
    Request requests[requestCount];
    uint64_t requestNumber;
};

// The loop.
void drelm_begin(Drelm &drelm, DrelmSend send);
/** Waits, at most so long, and carries out what has come. */
void drelm_turn(Drelm &drelm, int ms);
void drelm_end(Drelm &drelm);

// Peers.
/** Takes over an interface as it is now; a new one is attached to. */
void peer_see(Drelm &drelm, Peer &peer);
/** The interface is gone, and its stations with it. */
void peer_forget(Drelm &drelm, Peer &peer);
void peer_receive(Drelm &drelm, Peer &peer);
/** What one datagram of the control socket says. */
void peer_take(Drelm &drelm, Peer &peer, std::string_view text);
/** NULL if there is none. */
Peer *peer_of(Drelm &drelm, uint32_t ifindex);

// Stations.
void station_asks(Drelm &drelm, const Peer &peer, const Frame &request);
void station_joined(Drelm &drelm, Peer &peer, const uint8_t *mac);
void station_left(Drelm &drelm, Peer &peer, const uint8_t *mac);
/** Reads who is there and announces the difference. */
void stations_renew(Drelm &drelm, Peer &peer);
bool station_is_known(const Drelm &drelm, const uint8_t *mac);

// Radios.
/** Takes over what the radio's first access point on a channel is at. */
void radio_see(Drelm &drelm, RadioState &state, const Iface &accessPoint);
void radio_probe(Drelm &drelm, int radio, const char *ifName, const uint8_t *mac, int channel, int signal);
/** A message about radar: `event` is NL80211_RADAR_..., `where` the channel that it is about. */
void radio_radar(Drelm &drelm, int wiphy, bool isOwn, uint32_t event, const Operation &where);
Operation operation_of(uint32_t frequency, int nl80211Width, uint32_t centre);

// Frames of an access point's stations, received or sent.
void frame_received(Drelm &drelm, Peer &peer, Bytes bytes);
void frame_sent(Drelm &drelm, Peer &peer, Bytes bytes);

// The kernel, and monitor interfaces.
void kernel_open(Drelm &drelm);
void kernel_receive(Drelm &drelm);
void monitor_see(Drelm &drelm, RadioState &state);
void monitor_receive(Drelm &drelm, RadioState &state);
/** One frame with its radiotap header. */
void monitor_take(Drelm &drelm, RadioState &state, Bytes bytes);
void monitor_close(RadioState &state);

/** Sends an event of an interface. */
template <class Body>
void drelm_send(const Drelm &drelm, VeskEventId id, const char *ifName, const Body &body)
{
    struct [[gnu::packed]] {
        VeskEventHeader header;
        Body body;
    } datagram = {};
    static_assert(sizeof datagram <= VESK_EVENT_MAX);
    datagram.header.eventId = id;
    put_text(datagram.header.ifName, ifName);
    datagram.body = body;
    drelm.send(&datagram, sizeof datagram);
}

} // namespace radio
