// Messages of nl80211's groups: mlme tells of channels, radar, frames that were sent and connections, config
// of interfaces that come and go.
#include "platform/nl80211/drelm/drelm.h"

#include "platform/nl80211/log.h"
#include "platform/nl80211/netlink.h"

namespace radio
{

namespace
{

constexpr const char *groups[] = { "config", "mlme" };

Peer *peer_of_message(Drelm &drelm, const Attributes &content)
{
    return peer_of(drelm, attr_value<uint32_t>(content[NL80211_ATTR_IFINDEX]));
}

void take_radar(Drelm &drelm, const Attributes &content)
{
    const Operation where = operation_of(attr_value<uint32_t>(content[NL80211_ATTR_WIPHY_FREQ]),
                                         attr_value<int>(content[NL80211_ATTR_CHANNEL_WIDTH], -1),
                                         attr_value<uint32_t>(content[NL80211_ATTR_CENTER_FREQ1]));
    radio_radar(drelm, attr_value<int>(content[NL80211_ATTR_WIPHY], -1), content[NL80211_ATTR_IFINDEX],
                attr_value<uint32_t>(content[NL80211_ATTR_RADAR_EVENT], UINT32_MAX), where);
}

/** The answer that our own station got may name the VLAN for what has none. */
void take_connection(Drelm &drelm, const Attributes &content)
{
    const Peer *peer = peer_of_message(drelm, content);
    const Bytes bssid = attr_bytes(content[NL80211_ATTR_MAC]);
    VeskMapR2AssocResp event = {};
    event.vid = frame_default_vlan(attr_bytes(content[NL80211_ATTR_RESP_IE]));
    if (!peer || peer->kind != CtrlPeer::station || event.vid == 0 || bssid.size() < sizeof event.peerMac ||
        attr_value<uint16_t>(content[NL80211_ATTR_STATUS_CODE]) != 0)
        return;
    memcpy(event.peerMac, bssid.data(), sizeof event.peerMac);
    drelm_send(drelm, VESK_EVENT_MAP_R2_ASSOC_RESP, peer->ifName, event);
}

void take_message(uint8_t command, const Attributes &content, void *out)
{
    Drelm &drelm = *static_cast<Drelm *>(out);
    switch (command) {
    case NL80211_CMD_RADAR_DETECT:
        take_radar(drelm, content);
        drelm.isSoon = true;
        break;
    case NL80211_CMD_CONNECT:
    case NL80211_CMD_ROAM:
        take_connection(drelm, content);
        break;
    case NL80211_CMD_FRAME_TX_STATUS:
        if (Peer *peer = peer_of_message(drelm, content); peer && peer->kind == CtrlPeer::accessPoint)
            frame_sent(drelm, *peer, attr_bytes(content[NL80211_ATTR_FRAME]));
        break;
    case NL80211_CMD_CH_SWITCH_NOTIFY:
    case NL80211_CMD_NEW_INTERFACE:
    case NL80211_CMD_DEL_INTERFACE:
    case NL80211_CMD_SET_INTERFACE:
    case NL80211_CMD_START_AP:
    case NL80211_CMD_STOP_AP:
        drelm.isSoon = true;
        break;
    default:
        break;
    }
}

} // namespace

void kernel_open(Drelm &drelm)
{
    if (!drelm.kernel)
        drelm.kernel = netlink_listen_to(groups, drelm.kernelFd);
    if (!drelm.kernel)
        log_once(levelError, "nl80211 isn't there");
}

void kernel_receive(Drelm &drelm)
{
    if (netlink_receive(drelm.kernel, take_message, &drelm) == 0)
        return;
    log_line(levelNotice, "messages of the kernel were lost: everything is read again");
    drelm.isLost = true;
}

} // namespace radio
