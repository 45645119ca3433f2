// Management frames between an access point and its stations, as events.
#include "platform/nl80211/drelm/drelm.h"

#include <algorithm>

namespace radio
{

namespace
{

/** The station's address at `at` of a field, the rest of it filled from the frame, cut where the field ends.
 */
template <size_t N>
void fill(uint8_t (&field)[N], const uint8_t *mac, Bytes rest)
{
    memcpy(field, mac, 6);
    if (!rest.empty())
        memcpy(field + 6, rest.data(), std::min(rest.size(), N - 6));
}

void send_report(const Drelm &drelm, const Peer &peer, const uint8_t *station, Bytes report)
{
    VeskBcnReport event = {};
    fill(event.report, station, report);
    drelm_send(drelm, VESK_EVENT_BEACON_REPORT, peer.ifName, event);
}

/** A frame without any element is a report, too: of nothing heard. */
void send_reports(const Drelm &drelm, const Peer &peer, const Frame &frame)
{
    Bytes elements = frame.body.subspan(1);
    Bytes report;
    if (elements.empty())
        send_report(drelm, peer, frame.from, {});
    while (frame_next_report(elements, report))
        send_report(drelm, peer, frame.from, report);
}

void send_disassociation(const Drelm &drelm, const Peer &peer, const uint8_t *station, Bytes body)
{
    constexpr uint8_t isGroup = 0x01;
    if (station[0] & isGroup)
        return; // to everybody, when an access point starts or ends
    VeskStaDisassoc event = {};
    memcpy(event.mac, station, sizeof event.mac);
    event.reasonCode = static_cast<uint16_t>(body[0] | body[1] << 8);
    drelm_send(drelm, VESK_EVENT_STA_DISASSOC, peer.ifName, event);
}

} // namespace

void frame_received(Drelm &drelm, Peer &peer, Bytes bytes)
{
    const Frame frame = frame_read(bytes);
    switch (frame.kind) {
    case FrameKind::association:
    case FrameKind::reassociation:
        return station_asks(drelm, peer, frame);
    case FrameKind::disassociation:
        return send_disassociation(drelm, peer, frame.from, frame.body);
    case FrameKind::btmQuery: {
        VeskBtmQuery event = {};
        fill(event.query, frame.from, frame.body);
        return drelm_send(drelm, VESK_EVENT_BTM_QUERY, peer.ifName, event);
    }
    case FrameKind::btmResponse: {
        VeskBtmResp event = {};
        memcpy(event.mac, frame.from, sizeof event.mac);
        memcpy(event.response, frame.body.data(), std::min(frame.body.size(), sizeof event.response));
        return drelm_send(drelm, VESK_EVENT_BTM_RESP, peer.ifName, event);
    }
    case FrameKind::measurement:
        return send_reports(drelm, peer, frame);
    default:
        return;
    }
}

void frame_sent(Drelm &drelm, Peer &peer, Bytes bytes)
{
    constexpr uint8_t isProtected = 0x40;
    const Frame frame = frame_read(bytes);
    if (frame.kind == FrameKind::disassociation && (bytes[1] & isProtected) == 0)
        send_disassociation(drelm, peer, frame.to, frame.body);
}

} // namespace radio
