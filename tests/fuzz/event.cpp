// What comes on the control sockets of an access point and of a station, a piece a message; each piece's first byte
// says on which, and what reply is owed.
#include "platform/nl80211/drelm/drelm.h"
#include "tests/fuzz/input.h"
#include "tests/nl80211/fake_kernel.h"

#include <memory>

using namespace radio;

namespace {

constexpr size_t bodies[] = { 0, 27, 0, 621, 22, 84, 6, 6, 282, 296, 281, 28, 25, 24, 12 };

void check(const void *datagram, size_t size) {
    VeskEventHeader header;
    fuzz_expect(size > sizeof header);
    memcpy(&header, datagram, sizeof header);
    fuzz_expect(header.eventId < std::size(bodies) && size == sizeof header + bodies[header.eventId]);
    fuzz_expect(memchr(header.ifName, 0, sizeof header.ifName));
    if (header.eventId != VESK_EVENT_CLIENT_JOIN) return;
    VeskClientJoin join;
    memcpy(&join, static_cast<const char *>(datagram) + sizeof header, sizeof join);
    fuzz_expect(join.assoc_req_len <= VESK_ASSOC_REQ_MAX);
}

} // namespace

void fuzz_one(FuzzInput in) {
    FakeKernel kernel;
    const auto drelm = std::make_unique<Drelm>();
    drelm_begin(*drelm, check);
    drelm->radios[0].now = operation_of(2437, NL80211_CHAN_WIDTH_20, 2437);
    for (const CtrlPeer kind : { CtrlPeer::accessPoint, CtrlPeer::station }) {
        Peer &peer = drelm->peers[static_cast<int>(kind)];
        peer = { .kind = kind, .ifindex = 1 + static_cast<uint32_t>(kind), .fd = -1 };
        put_text(peer.ifName, "wlan0");
    }
    while (in.left > 0) {
        const uint8_t choice = in.byte();
        const std::vector<uint8_t> text = in.piece();
        Peer &peer = drelm->peers[choice & 1];
        peer.step = static_cast<Step>(choice >> 1 & 3);
        peer_take(*drelm, peer, { reinterpret_cast<const char *>(text.data()), text.size() });
    }
    drelm_end(*drelm);
}
