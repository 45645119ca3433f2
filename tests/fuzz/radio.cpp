// What the libraries of real radios and their drelm read: the kernel, hostapd, the air.
#include <cstring>
#include <memory>

#include "platform/nl80211/bss.h"
#include "platform/nl80211/ctrl.h"
#include "platform/nl80211/drelm/drelm.h"
#include "platform/nl80211/drelm/frame.h"
#include "platform/nl80211/element.h"
#include "platform/nl80211/hostapd.h"
#include "platform/nl80211/iface.h"
#include "platform/nl80211/station.h"
#include "platform/nl80211/survey.h"
#include "platform/nl80211/wiphy.h"
#include "tests/fuzz/input.h"
#include "tests/nl80211/fake_kernel.h"

using namespace radio;

/** What the kernel answers: how it arrives, then contents of messages, which every reader of a dump gets. */
void fuzz_netlink(FuzzInput in) {
    FakeKernel kernel;
    Reply reply = { .flags = static_cast<uint16_t>(in.byte() & NLM_F_DUMP_INTR) };
    if (const uint8_t cut = in.byte()) reply.cutTo = cut;
    while (in.left > 0) reply.messages.push_back(in.piece());
    for (const uint8_t command : { NL80211_CMD_GET_INTERFACE, NL80211_CMD_GET_WIPHY, NL80211_CMD_GET_STATION,
                                   NL80211_CMD_GET_SURVEY, NL80211_CMD_GET_SCAN, NL80211_CMD_GET_REG })
        kernel.on(command, reply);
    LocalList<Iface> interfaces;
    LocalList<Station> stations;
    LocalList<Survey> surveys;
    LocalList<Bss> networks;
    Wiphy wiphy;
    char country[3] = "";
    iface_list(interfaces);
    station_list(1, stations);
    survey_list(1, surveys);
    bss_list(1, networks);
    wiphy_country(0, country);
    const size_t limit = reply.messages.size();
    fuzz_expect(interfaces.count <= limit && stations.count <= limit && surveys.count <= limit &&
                networks.count <= limit);
    for (const Iface &iface : interfaces) fuzz_expect(memchr(iface.name, 0, sizeof iface.name) && iface.index != 0);
    if (wiphy_read(0, wiphy) == 0) fuzz_expect(wiphy.count <= wiphyChannels);
}

/** Texts of hostapd: a reply to a command, or a file. */
void fuzz_ctrl(FuzzInput in) {
    std::vector<uint8_t> bytes = in.take(in.left);
    bytes.push_back(0);
    const char *text = reinterpret_cast<const char *>(bytes.data());
    char value[8];
    for (const char *name : { "key_mgmt", "flags", "" })
        if (ctrl_value(text, name, value)) fuzz_expect(memchr(value, 0, sizeof value));
    const Abilities abilities = hostapd_abilities(text);
    const Security security = hostapd_security(text);
    fuzz_expect(memchr(abilities.mode, 0, sizeof abilities.mode) &&
                memchr(security.passphrase, 0, sizeof security.passphrase));
    for (const int band : { 0, 1 }) {
        hostapd_modes(text, band, value, sizeof value);
        fuzz_expect(memchr(value, 0, sizeof value));
    }
    if (hostapd_file_value(text, "wlan0", "wpa_passphrase", value, sizeof value))
        fuzz_expect(memchr(value, 0, sizeof value));
}

/** Elements of a beacon. */
void fuzz_element(FuzzInput in) {
    const std::vector<uint8_t> bytes = in.take(in.left);
    char ssid[33], security[32];
    element_ssid(bytes, ssid);
    element_security(bytes, 0x10, security);
    const uint16_t width = element_width(bytes);
    fuzz_expect(memchr(ssid, 0, sizeof ssid) && memchr(security, 0, sizeof security));
    fuzz_expect(width == 20 || width == 40 || width == 80 || width == 160);
}

static void check_event(const void *datagram, size_t size) {
    static constexpr size_t bodies[] = { 0, 27, 0, 621, 22, 84, 6, 6, 282, 296, 281, 28, 25, 24, 12 };
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

/** What comes on the control sockets of an access point and of a station, a piece a message; each piece's first byte
 * says on which, and what reply is owed. */
void fuzz_event(FuzzInput in) {
    FakeKernel kernel;
    const auto drelm = std::make_unique<Drelm>();
    drelm_begin(*drelm, check_event);
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

/** A frame off the air with the header that a monitor interface puts before it. */
void fuzz_monitor(FuzzInput in) {
    const std::vector<uint8_t> bytes = in.take(in.left);
    MonitorFrame heard;
    if (!monitor_read(bytes, heard)) return;
    fuzz_expect(heard.frame.size() <= bytes.size());
    const Frame frame = frame_read(heard.frame);
    fuzz_expect(frame.body.size() <= heard.frame.size());
    if (frame.kind == FrameKind::association || frame.kind == FrameKind::reassociation) frame_abilities(frame);
    if (frame.kind != FrameKind::measurement) return;
    Bytes elements = frame.body.subspan(1), report;
    while (frame_next_report(elements, report)) fuzz_expect(report.size() >= 5 && report.size() <= 257);
    frame_default_vlan(elements);
}
