// Who is on which access point. hostapd tells of a station when it is authorised; its association request
// came before and is kept until then.
#include "platform/nl80211/drelm/drelm.h"

#include <algorithm>

#include "platform/nl80211/station.h"

namespace radio
{

namespace
{

constexpr size_t stationLimit = 2007; // association identifiers of a BSS

bool is_same(const uint8_t *a, const uint8_t *b)
{
    return memcmp(a, b, 6) == 0;
}

KnownStation *find(const Peer &peer, const uint8_t *mac)
{
    for (KnownStation &known : peer.stations) {
        if (is_same(known.mac, mac))
            return &known;
    }
    return nullptr;
}

void note(Peer &peer, const uint8_t *mac, bool announced)
{
    KnownStation known = { {}, announced };
    memcpy(known.mac, mac, sizeof known.mac);
    if (peer.stations.count < stationLimit)
        list_add(peer.stations, known);
}

/** NULL without one. */
Request *request_of(Drelm &drelm, const Peer &peer, const uint8_t *mac)
{
    for (Request &request : drelm.requests) {
        if (request.ifindex == peer.ifindex && is_same(request.mac, mac))
            return &request;
    }
    return nullptr;
}

/** A free place, or the one of the request that waits longest. */
Request &place_for(Drelm &drelm)
{
    return *std::min_element(std::begin(drelm.requests), std::end(drelm.requests),
                             [](const Request &a, const Request &b) { return a.number < b.number; });
}

void announce_join(Drelm &drelm, const Peer &peer, const uint8_t *mac)
{
    VeskClientJoinEvent event = {};
    memcpy(event.join.mac_addr, mac, sizeof event.join.mac_addr);
    memcpy(event.join.bssid, peer.mac, sizeof event.join.bssid);
    event.join.opClass = drelm.radios[peer.radio].now.opClass;
    Station station;
    if (station_read(peer.ifindex, mac, station) == 0)
        event.join.rssi = station.signal;
    if (Request *request = request_of(drelm, peer, mac)) {
        event.join.assoc_req_len = request->length;
        memcpy(event.join.assoc_req, request->body, request->length);
        event.cap[0] = request->abilities.is11v ? 0x80 : 0;
        event.cap[1] = request->abilities.is11k ? 0x01 : 0;
        request->ifindex = 0;
        request->number = 0;
    }
    drelm_send(drelm, VESK_EVENT_CLIENT_JOIN, peer.ifName, event);
}

} // namespace

void station_asks(Drelm &drelm, const Peer &peer, const Frame &frame)
{
    Request *request = request_of(drelm, peer, frame.from);
    if (!request)
        request = &place_for(drelm);
    const Bytes body = frame.body.first(std::min(frame.body.size(), sizeof request->body));
    request->ifindex = peer.ifindex;
    memcpy(request->mac, frame.from, sizeof request->mac);
    request->abilities = frame_abilities(frame);
    request->number = ++drelm.requestNumber;
    request->length = static_cast<uint16_t>(body.size());
    memcpy(request->body, body.data(), body.size());
}

/** One that is known was announced when it was found, but for those that were there first. */
void station_joined(Drelm &drelm, Peer &peer, const uint8_t *mac)
{
    KnownStation *known = find(peer, mac);
    if (known && known->announced)
        return;
    if (known)
        known->announced = true;
    else
        note(peer, mac, true);
    announce_join(drelm, peer, mac);
}

void station_left(Drelm &drelm, Peer &peer, const uint8_t *mac)
{
    KnownStation *known = find(peer, mac);
    const bool isComplete = !peer.isFirst && peer.stations.count < stationLimit;
    if (!known && isComplete)
        return;
    VeskClientLeave event = {};
    memcpy(event.mac, mac, sizeof event.mac);
    if (known)
        *known = peer.stations.items[--peer.stations.count];
    drelm_send(drelm, VESK_EVENT_CLIENT_LEAVE, peer.ifName, event);
}

void stations_renew(Drelm &drelm, Peer &peer)
{
    LocalList<Station> there;
    if (station_collect(peer.ifName, there) != 0) {
        drelm.isLost = true; // once more with the next look
        return;
    }
    const auto is_there = [&](const uint8_t *mac) {
        return std::any_of(there.begin(), there.end(),
                           [&](const Station &each) { return is_same(each.mac, mac); });
    };
    for (size_t i = peer.stations.count; i-- > 0;) {
        uint8_t mac[6];
        memcpy(mac, peer.stations.items[i].mac, sizeof mac);
        if (!is_there(mac))
            station_left(drelm, peer, mac);
    }
    for (const Station &station : there) {
        if (find(peer, station.mac))
            continue;
        if (peer.isFirst)
            note(peer, station.mac, false);
        else
            station_joined(drelm, peer, station.mac);
    }
    peer.isFirst = false;
}

bool station_is_known(const Drelm &drelm, const uint8_t *mac)
{
    return std::any_of(std::begin(drelm.peers), std::end(drelm.peers),
                       [&](const Peer &peer) { return peer.ifName[0] != '\0' && find(peer, mac); });
}

} // namespace radio
