// drelm without radios: what hostapd, wpa_supplicant and the kernel say goes in, datagrams come out; see
// talks/drelm.rows.
#include "platform/nl80211/drelm/drelm.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "tests/nl80211/talk.h"

using namespace radio;

namespace {

Texts sent;

const std::pair<const char *, size_t> kinds[] = { {},
                                                  { "probe", 27 },
                                                  {},
                                                  { "join", 621 },
                                                  { "leave", 22 },
                                                  { "channel", 84 },
                                                  { "cac", 6 },
                                                  { "radar", 6 },
                                                  { "btm-query", 282 },
                                                  { "btm-response", 296 },
                                                  { "beacon-report", 281 },
                                                  { "wps", 28 },
                                                  { "map-r2", 25 },
                                                  { "disassociated", 24 } };

template <class Record>
Record record_of(const uint8_t *body) {
    Record record;
    memcpy(&record, body, sizeof record);
    return record;
}

/** MAC, level, class, BSSID, request, abilities */
std::string text_of(const VeskClientJoinEvent &event) {
    const VeskClientJoin &join = event.join;
    std::ostringstream text;
    text << hex(join.mac_addr, 6) << " " << int{ join.rssi } << " " << +join.opClass << " " << hex(join.bssid, 6) << " "
         << (join.assoc_req_len ? hex(join.assoc_req, join.assoc_req_len) : "-") << " " << hex(event.cap, 2);
    return text.str();
}

/** Reason and band word: channel, width, class, modes and dBm before -> the same behind, band word */
std::string text_of(const VeskChChange &event) {
    std::ostringstream text;
    text << +event.reason << " " << +event.radioId << ": " << +event.oldCh << " " << +event.oldBw << " "
         << +event.oldOpClass << " " << event.oldHwMode << " " << float{ event.oldTxPower } << " -> " << +event.newCh
         << " " << +event.newBw << " " << +event.newOpClass << " " << event.newHwMode << " "
         << float{ event.newTxPower } << ", " << int{ event.interfaceIndex };
    return text.str();
}

/** "NAME INTERFACE BYTES", the bytes from behind the body's own name on, without the zeros at their end. */
std::string describe(const VeskEventHeader &header, const uint8_t *body, size_t size) {
    const uint32_t id = header.eventId;
    if (id >= std::size(kinds) || kinds[id].second != size) return "wrong size";
    const std::string text = std::string(kinds[id].first) + " " + header.ifName + " ";
    if (id == VESK_EVENT_CLIENT_JOIN) return text + text_of(record_of<VeskClientJoinEvent>(body));
    if (id == VESK_EVENT_CH_CHANGE) return text + text_of(record_of<VeskChChange>(body));
    std::string bytes = hex(body + (size > 6 ? 16 : 0), size - (size > 6 ? 16 : 0));
    bytes.resize((bytes.find_last_not_of('0') + 2) / 2 * 2, '0');
    return text + bytes;
}

void note(const void *datagram, size_t size) {
    const auto *bytes = static_cast<const uint8_t *>(datagram);
    sent.push_back(
        describe(record_of<VeskEventHeader>(bytes), bytes + sizeof(VeskEventHeader), size - sizeof(VeskEventHeader)));
}

const std::string station = "0242000000a1", bssid = "021100000010";

/** A management frame from the station, its control, its body and flags in hexadecimal digits. */
std::string frame(const std::string &control, const std::string &body) {
    return control + "000000" + bssid + station + bssid + "0000" + body;
}

struct Place {
    uint32_t index, wiphy, type;
    uint8_t last; // of the MAC
    uint32_t frequency, width, centre;
    bool isGone;
};
const std::map<std::string, Place> places = {
    { "wlan0", { 2, 0, NL80211_IFTYPE_AP, 0x10, 2437, NL80211_CHAN_WIDTH_20, 2437, false } },
    { "wlan0b", { 9, 0, NL80211_IFTYPE_AP, 9, 2437, NL80211_CHAN_WIDTH_20, 2437, false } },
    { "wlan0b.sta1", { 10, 0, NL80211_IFTYPE_AP_VLAN, 9, 2437, NL80211_CHAN_WIDTH_20, 2437, false } },
    { "wlan1", { 3, 1, NL80211_IFTYPE_AP, 1, 5180, NL80211_CHAN_WIDTH_80, 5210, false } },
    { "wlan4", { 6, 4, NL80211_IFTYPE_AP, 4, 5500, NL80211_CHAN_WIDTH_20, 5500, false } },
    { "bsta0", { 7, 0, NL80211_IFTYPE_STATION, 7, 0, 0, 0, false } },
};

/** Two radios with two and one access points and a backhaul station, hostapd on each, and drelm attached. */
struct Events : Talk {
    std::unique_ptr<Drelm> drelm = std::make_unique<Drelm>();
    std::map<std::string, Place> interfaces = places;
    std::vector<std::pair<uint32_t, uint8_t>> stations; // interface, last byte of the MAC
    std::set<std::string> mute;
    bool isOpen = false; // something was said whose effect wasn't waited for

    Events() {
        kernel.on(NL80211_CMD_GET_INTERFACE, [this](const Asked &) { return Reply{ messages() }; });
        kernel.on(NL80211_CMD_GET_STATION, [this](const Asked &asked) {
            Reply reply;
            for (const auto &[index, last] : stations)
                if (index == asked.ifindex) reply.messages.push_back(station_of(last));
            if (!asked.dump) reply.messages = { station_of(asked.station) };
            return reply;
        });
        add_interface(7, "bsta0", 0);
        put("/usr/etc/vesk-radio.json", "{\"wpaDir\": \"/run/wpa\"}");
        for (const char *name : { "wlan0", "wlan0b", "wlan1" })
            add_peer(name, "/run/hostapd",
                     { { "ATTACH probe_rx_events=1", "OK\n" },
                       { "SET notify_mgmt_frames 1", "OK\n" },
                       { "STATUS", "ieee80211n=1\nieee80211ax=1\n" } });
        add_peer("bsta0", "/run/wpa", { { "ATTACH", "OK\n" } });
        add_steps();
    }
    ~Events() override { drelm_end(*drelm); }

    Blob station_of(uint8_t last) {
        const uint8_t mac[6] = { 2, 0x42, 0, 0, 0, last };
        return ::join({ attribute(NL80211_ATTR_MAC, mac, 6),
                        nest(NL80211_ATTR_STA_INFO, { number<int8_t>(NL80211_STA_INFO_SIGNAL, -47) }) });
    }
    std::vector<Blob> messages() {
        std::vector<Blob> all;
        for (const auto &[name, at] : interfaces)
            if (!at.isGone)
                all.push_back(::join(
                    { interface(at.index, static_cast<int>(at.wiphy), at.type, name, at.frequency, at.last),
                      number(NL80211_ATTR_CHANNEL_WIDTH, at.width), number(NL80211_ATTR_CENTER_FREQ1, at.centre) }));
        return all;
    }

    bool until(const std::function<bool()> &done) override {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (!done() && std::chrono::steady_clock::now() < end) drelm_turn(*drelm, 5);
        return done();
    }
    bool is_quiet() {
        return std::all_of(std::begin(drelm->peers), std::end(drelm->peers), [&](const ::Peer &peer) {
            return peer.ifName[0] == '\0' || mute.contains(peer.ifName) || (peer.fd >= 0 && peer.step == Step::none);
        });
    }
    /** All that was said before has had its effect, and so many milliseconds have passed. */
    void settle(int ms) {
        EXPECT_TRUE(peers.at("wlan0").socket->tell("<3>WPS-REG-SUCCESS 02:ee:ee:ee:ee:ee end"));
        const auto end = [] { return std::find(sent.begin(), sent.end(), "wps wlan0 02eeeeeeeeee" + bssid); };
        EXPECT_TRUE(until([&] { return end() != sent.end(); }));
        if (end() != sent.end()) sent.erase(end());
        clock_advance(ms);
        drelm_turn(*drelm, 0);
        EXPECT_TRUE(until([&] { return is_quiet(); }));
        isOpen = false;
    }

    /** `before` is a step that stands before the program. */
    void begin(const std::string &before) {
        sent.clear();
        if (!before.empty()) step(before);
        drelm_begin(*drelm, note);
        drelm_turn(*drelm, 0);
        EXPECT_TRUE(until([&] { return is_quiet(); })) << log;
        for (auto &[name, peer] : peers) peer.heard = peer.socket->commands().size();
    }
    void end() {
        isOpen = true;
        send("nothing");
        hear_nothing();
    }
    void send(const std::string &wanted) {
        if (isOpen) settle(1100);
        const std::string got = sent.empty() ? "nothing" : sent.front();
        if (!sent.empty()) sent.erase(sent.begin());
        EXPECT_EQ(got, spoken(wanted));
    }
    void step(const std::string &text) {
        isOpen |= !text.starts_with("sends ");
        Talk::step(text);
    }

    /** A message of the group mlme about an interface. */
    void mlme(uint8_t command, const std::string &interface, const Blob &more = {}) {
        kernel.send_event(command, ::join({ number(NL80211_ATTR_IFINDEX, places.at(interface).index), more }), "mlme");
    }
    /** PHY MHZ [INTERFACE]; 20 MHz wide. */
    void radar(uint32_t event, const Texts &words) {
        const auto frequency = static_cast<uint32_t>(std::stoul(words.at(1)));
        const Blob of = words.size() > 2 ? number(NL80211_ATTR_IFINDEX, places.at(words[2]).index) : Blob{};
        kernel.send_event(NL80211_CMD_RADAR_DETECT,
                          ::join({ of, number(NL80211_ATTR_WIPHY, words[0].back() - '0'),
                                   number(NL80211_ATTR_RADAR_EVENT, event), number(NL80211_ATTR_WIPHY_FREQ, frequency),
                                   number<uint32_t>(NL80211_ATTR_CHANNEL_WIDTH, NL80211_CHAN_WIDTH_20),
                                   number(NL80211_ATTR_CENTER_FREQ1, frequency) }),
                          "mlme");
    }
    /** INTERFACE STATUS ELEMENTS */
    void connected(uint8_t command, const Texts &words) {
        const auto status = static_cast<uint16_t>(std::stoul(words.at(1)));
        mlme(command, words[0],
             ::join({ bytes(NL80211_ATTR_MAC, bssid), number(NL80211_ATTR_STATUS_CODE, status),
                      bytes(NL80211_ATTR_RESP_IE, words.at(2)) }));
    }
    static Blob bytes(int type, const std::string &digits) {
        const Blob content = bytes_of(spoken(digits));
        return attribute(type, content.data(), content.size());
    }

    /** INTERFACE MHZ WIDTH CENTRE, or INTERFACE gone */
    void move(const Texts &words) {
        static const std::map<std::string, uint32_t> widths = { { "20", NL80211_CHAN_WIDTH_20 },
                                                                { "40", NL80211_CHAN_WIDTH_40 },
                                                                { "80", NL80211_CHAN_WIDTH_80 } };
        Place &place = interfaces.at(words.at(0));
        place.isGone = words.at(1) == "gone";
        if (place.isGone) return;
        place.frequency = static_cast<uint32_t>(std::stoul(words[1]));
        place.width = widths.at(words.at(2));
        place.centre = static_cast<uint32_t>(std::stoul(words.at(3)));
    }
    /** INTERFACE LAST... */
    void associate(const Texts &words) {
        stations.clear();
        for (size_t i = 1; i < words.size(); i++)
            stations.emplace_back(places.at(words[0]).index, bytes_of(words[i]).at(0));
    }
    void drop(FakeHostapd &hostapd) {
        for (int i = 0; i < 10; i++) EXPECT_TRUE(hostapd.tell("<3>")); // its queue is full
        hostapd.drop();
    }
    void add_steps() {
        const auto name_of = [](const Peer &peer) { return peer.path.substr(peer.path.rfind('/') + 1); };
        verbs["receives"] = [](Peer &peer, const std::string &rest) {
            const auto [control, body] = word(spoken(rest));
            EXPECT_TRUE(peer.socket->tell("<3>AP-MGMT-FRAME-RECEIVED buf=" + frame(control, body)));
        };
        verbs["restarts"] = [](Peer &peer, const std::string &) { peer.start(peer.replies); };
        verbs["hangs"] = [=, this](Peer &peer, const std::string &) { mute.insert(name_of(peer)), peer.start({}); };
        verbs["wakes"] = [=, this](Peer &peer, const std::string &) {
            for (const auto &[command, reply] : peer.replies) peer.socket->say(command, reply);
            mute.erase(name_of(peer));
        };
        verbs["drops"] = [this](Peer &peer, const std::string &) { drop(*peer.socket); };
        steps["sends"] = [this](const std::string &rest) { send(rest); };
        steps["soon"] = [this](const std::string &rest) { settle(20), Talk::step(rest); };
        steps["stations"] = [this](const std::string &rest) { associate(split(rest)); };
        steps["interface"] = [this](const std::string &rest) { move(split(rest)); };
        steps["monitor"] = [this](const std::string &rest) {
            monitor_take(*drelm, drelm->radios[0], bytes_of(spoken(rest)));
        };
        static const std::map<std::string, std::function<void(Events &, const Texts &)>> told = {
            { "switched", [](Events &e, const Texts &w) { e.mlme(NL80211_CMD_CH_SWITCH_NOTIFY, w.at(0)); } },
            { "connected", [](Events &e, const Texts &w) { e.connected(NL80211_CMD_CONNECT, w); } },
            { "roamed", [](Events &e, const Texts &w) { e.connected(NL80211_CMD_ROAM, w); } },
            { "frame-sent",
              [](Events &e, const Texts &w) {
                  e.mlme(NL80211_CMD_FRAME_TX_STATUS, w.at(0), bytes(NL80211_ATTR_FRAME, w.at(1)));
              } },
            { "radar", [](Events &e, const Texts &w) { e.radar(NL80211_RADAR_DETECTED, w); } },
            { "cac-started", [](Events &e, const Texts &w) { e.radar(NL80211_RADAR_CAC_STARTED, w); } },
            { "cac-finished", [](Events &e, const Texts &w) { e.radar(NL80211_RADAR_CAC_FINISHED, w); } },
            { "overflows", [](Events &e, const Texts &) { e.kernel.overflow(); } },
        };
        steps["kernel"] = [this](const std::string &rest) {
            const auto [what, words] = word(rest);
            told.at(what)(*this, split(words));
        };
    }
};

TEST(Events, Talks) { run_talks<Events>("drelm.rows"); }

/** 10,000 messages as fast as they are taken, of which each station has its own in turn, while what is there is read
 * again and again; the sender waits where the queue is full, as nothing else may be lost. */
TEST(Events, AStormOfJoins) {
    constexpr int stationCount = 101, rounds = 50; // from 1 on
    std::atomic<bool> there[stationCount] = {};
    Events e;
    FakeHostapd &hostapd = *e.peers.at("wlan0").socket;
    e.kernel.on(NL80211_CMD_GET_STATION, [&](const Asked &asked) {
        Reply reply;
        for (uint8_t i = 1; i < stationCount; i++)
            if (asked.dump && asked.ifindex == 2 && there[i]) reply.messages.push_back(e.station_of(i));
        return asked.dump ? reply : Reply{ { e.station_of(1) } };
    });
    e.begin("");
    constexpr size_t wanted = 2 * rounds * (stationCount - 1), queue = 10;
    std::atomic<size_t> said = 0;
    std::thread storm([&] {
        for (int round = 0; round < 2 * rounds; round++)
            for (int i = 1; i < stationCount; i++) {
                char text[64];
                snprintf(text, sizeof text, "<3>AP-STA-%sCONNECTED 02:42:00:00:00:%02x", round % 2 ? "DIS" : "", i);
                there[i] = round % 2 == 0;
                EXPECT_TRUE(hostapd.tell(text));
                said++;
            }
    });
    size_t nextLook = 500;
    EXPECT_TRUE(e.until([&] {
        if (sent.size() >= nextLook && e.is_quiet()) {
            while (said < std::min(sent.size() + queue, wanted)) std::this_thread::yield(); // the queue is full
            clock_advance(1100);
            nextLook += 1000;
        }
        return sent.size() >= wanted;
    }));
    storm.join();
    EXPECT_EQ(sent.size(), wanted);
    bool isOn[stationCount] = {};
    for (const std::string &one : sent) {
        const std::string last = one.substr(one.find(" wlan0 ") + 17, 2);
        bool &is = isOn[std::stoul(last, nullptr, 16)];
        ASSERT_TRUE(one.starts_with((is ? "leave" : "join") + std::string(" wlan0 0242000000") + last)) << one;
        is = !is;
    }
    sent.clear();
    e.settle(1100);
    EXPECT_EQ(sent, Texts{});
    EXPECT_GE(hostapd.commands().size(), 6u) << "attached again in its midst";
}

} // namespace
