// drelm without radios: what hostapd, wpa_supplicant and the kernel say goes in, datagrams come out. `rule` is the
// number of the trap that a row is about, as the list of what trials with real radios found has it; 0 without one.
#include "platform/nl80211/drelm/drelm.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <memory>
#include <optional>

#include "tests/nl80211/world.h"

using namespace radio;

namespace {

std::vector<std::string> sent;

std::string hex(const void *bytes, size_t size) {
    std::string text;
    char pair[3];
    for (size_t i = 0; i < size; i++) {
        snprintf(pair, sizeof pair, "%02x", static_cast<const uint8_t *>(bytes)[i]);
        text += pair;
    }
    return text;
}

constexpr size_t sizes[] = { 0, 27, 0, 621, 22, 84, 6, 6, 282, 296, 281, 28, 25, 24, 12 };

/** "ID IF BYTES", the bytes from behind the body's own name on, without the zeros at their end. */
std::string describe(const VeskEventHeader &header, const uint8_t *body, size_t size) {
    const uint32_t id = header.eventId;
    if (id >= std::size(sizes) || sizes[id] != size) return "wrong size";
    std::string text = std::to_string(id) + " " + header.ifName;
    if (id == VESK_EVENT_CLIENT_JOIN) {
        VeskClientJoinEvent event;
        memcpy(&event, body, sizeof event);
        const VeskClientJoin &join = event.join;
        return text + " " + hex(join.mac_addr, 6) + " " + std::to_string(int{ join.rssi }) + " " +
               std::to_string(join.opClass) + " " + hex(join.bssid, 6) + " " +
               hex(join.assoc_req, std::min<size_t>(join.assoc_req_len, 512)) + " " + hex(event.cap, 2);
    }
    const bool isNamed = id != VESK_EVENT_CH_CHANGE && size > 6;
    std::string bytes = hex(body + (isNamed ? 16 : 0), size - (isNamed ? 16 : 0));
    bytes.resize((bytes.find_last_not_of('0') + 2) / 2 * 2, '0');
    return text + " " + bytes;
}

void note(const void *datagram, size_t size) {
    VeskEventHeader header;
    memcpy(&header, datagram, sizeof header);
    sent.push_back(describe(header, static_cast<const uint8_t *>(datagram) + sizeof header, size - sizeof header));
}

const std::string station = "0242000000a1", stationText = "02:42:00:00:00:a1", bssid = "021100000010";

/** A management frame from the station, in hexadecimal digits. */
std::string frame(const std::string &control, const std::string &body) {
    return control + "000000" + bssid + station + bssid + "0000" + body;
}
std::string received(const std::string &control, const std::string &body) {
    return "<3>AP-MGMT-FRAME-RECEIVED buf=" + frame(control, body);
}
std::string told(const std::string &name) { return "<3>" + name + " " + stationText; }

std::string probe(int signal) { return "<3>RX-PROBE-REQUEST sa=" + stationText + " signal=" + std::to_string(signal); }

std::vector<uint8_t> bytes_of(const std::string &digits) {
    std::vector<uint8_t> bytes(digits.size() / 2);
    message_bytes(digits, bytes.data(), bytes.size());
    return bytes;
}

struct Place {
    uint32_t frequency, width, centre;
};

/** Two radios with two and one access points and a backhaul station, hostapd on each, and drelm attached. */
struct Events : World {
    std::unique_ptr<Drelm> drelm = std::make_unique<Drelm>();
    std::map<std::string, std::optional<FakeHostapd>> hostapd;
    Place place5 = { 5180, NL80211_CHAN_WIDTH_80, 5210 };
    std::vector<std::pair<uint32_t, uint8_t>> stations; // interface, last byte of the MAC
    bool hasGuests = true;                              // wlan0b

    Events() {
        sent.clear();
        kernel.on(NL80211_CMD_GET_INTERFACE, [this](const Asked &) { return Reply{ interfaces() }; });
        kernel.on(NL80211_CMD_GET_STATION, [this](const Asked &asked) {
            Reply reply;
            for (const auto &[index, last] : stations)
                if (index == asked.ifindex) reply.messages.push_back(station_of(last));
            if (!asked.dump) reply.messages = { station_of(asked.station) };
            return reply;
        });
        add_interface(7, "bsta0", 0);
        put("/usr/etc/vesk-radio.json", "{\"wpaDir\": \"/run/wpa\"}");
        for (const char *name : { "wlan0", "wlan0b", "wlan1" }) start(name);
        hostapd.try_emplace("bsta0").first->second.emplace(root + "/run/wpa/bsta0",
                                                           std::map<std::string, std::string>{ { "ATTACH", "OK\n" } });
    }
    ~Events() override { drelm_end(*drelm); }

    void start(const std::string &name) {
        hostapd[name].emplace(root + "/run/hostapd/" + name,
                              std::map<std::string, std::string>{ { "ATTACH probe_rx_events=1", "OK\n" },
                                                                  { "SET notify_mgmt_frames 1", "OK\n" },
                                                                  { "STATUS", "ieee80211n=1\nieee80211ax=1\n" } });
    }
    Blob station_of(uint8_t last) {
        const uint8_t mac[6] = { 2, 0x42, 0, 0, 0, last };
        return join({ attribute(NL80211_ATTR_MAC, mac, 6),
                      nest(NL80211_ATTR_STA_INFO, { number<int8_t>(NL80211_STA_INFO_SIGNAL, -47) }) });
    }
    std::vector<Blob> interfaces() {
        const auto at = [](Blob blob, Place place) {
            return join({ blob, number(NL80211_ATTR_CHANNEL_WIDTH, place.width),
                          number(NL80211_ATTR_CENTER_FREQ1, place.centre) });
        };
        std::vector<Blob> all = {
            at(interface(2, 0, NL80211_IFTYPE_AP, "wlan0", 2437, 0x10), { 0, NL80211_CHAN_WIDTH_20, 2437 }),
            at(interface(3, 1, NL80211_IFTYPE_AP, "wlan1", place5.frequency, 1), place5),
            interface(7, 0, NL80211_IFTYPE_STATION, "bsta0", 0, 7),
            interface(10, 0, NL80211_IFTYPE_AP_VLAN, "wlan0b.sta1", 2437, 9),
            interface(6, 4, NL80211_IFTYPE_AP, "wlan4", 5500, 4),
        };
        if (hasGuests) all.push_back(interface(9, 0, NL80211_IFTYPE_AP, "wlan0b", 2437, 9));
        return all;
    }
    bool until(const std::function<bool()> &done) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (!done() && std::chrono::steady_clock::now() < end) drelm_turn(*drelm, 5);
        return done();
    }
    bool is_quiet() {
        return std::all_of(std::begin(drelm->peers), std::end(drelm->peers), [](const Peer &peer) {
            return peer.ifName[0] == '\0' || (peer.fd >= 0 && peer.step == Step::none);
        });
    }
    void begin() {
        drelm_begin(*drelm, note);
        drelm_turn(*drelm, 0);
        ASSERT_TRUE(until([&] { return is_quiet(); })) << log;
    }
    /** What was sent until all that was said before has had its effect. */
    std::string settle() {
        EXPECT_TRUE(hostapd["wlan0"]->tell("<3>WPS-REG-SUCCESS 02:ee:ee:ee:ee:ee end"));
        const auto end = [] { return std::find(sent.begin(), sent.end(), "11 wlan0 02eeeeeeeeee" + bssid); };
        EXPECT_TRUE(until([&] { return end() != sent.end(); }));
        sent.erase(end());
        clock_advance(1100);
        drelm_turn(*drelm, 0);
        EXPECT_TRUE(until([&] { return is_quiet(); }));
        std::string all;
        for (const std::string &one : sent) all += one + "\n";
        sent.clear();
        return all;
    }
};

using Step = std::function<void(Events &)>;
Step say(const std::string &name, const std::string &text) {
    return [=](Events &e) { EXPECT_TRUE(e.hostapd[name]->tell(text)); };
}
Step mlme(uint8_t command, std::initializer_list<Blob> content) {
    return [command, blob = join(content)](Events &e) { e.kernel.send_event(command, blob, "mlme"); };
}
Step move(Place place) {
    return [=](Events &e) { e.place5 = place; };
}
Blob bytes(int type, const std::string &digits) {
    const std::vector<uint8_t> content = bytes_of(digits);
    return attribute(type, content.data(), content.size());
}
Step radar(uint32_t event, int wiphy, uint32_t frequency, uint32_t ifindex = 0) {
    return mlme(NL80211_CMD_RADAR_DETECT,
                { number(NL80211_ATTR_WIPHY, wiphy), ifindex ? number(NL80211_ATTR_IFINDEX, ifindex) : Blob{},
                  number(NL80211_ATTR_RADAR_EVENT, event), number(NL80211_ATTR_WIPHY_FREQ, frequency),
                  number<uint32_t>(NL80211_ATTR_CHANNEL_WIDTH, NL80211_CHAN_WIDTH_20),
                  number(NL80211_ATTR_CENTER_FREQ1, frequency) });
}
Step switched(uint32_t ifindex) {
    return mlme(NL80211_CMD_CH_SWITCH_NOTIFY, { number(NL80211_ATTR_IFINDEX, ifindex) });
}
Step connected(const std::string &elements) {
    return mlme(NL80211_CMD_CONNECT,
                { number<uint32_t>(NL80211_ATTR_IFINDEX, 7), bytes(NL80211_ATTR_MAC, bssid),
                  number<uint16_t>(NL80211_ATTR_STATUS_CODE, 0), bytes(NL80211_ATTR_RESP_IE, elements) });
}

const std::string capable = "7f03000008" // bit 19: 802.11v
                            "46050200000000";
const std::string joined = told("AP-STA-CONNECTED"), left = told("AP-STA-DISCONNECTED");
const std::string join0 = "3 wlan0 " + station + " -47 81 " + bssid + " ";
const std::string leave0 = "4 wlan0 " + station + "\n";
/** Channel changes of wlan1: reason, then channel, width index and class before and behind. */
std::string change(const std::string &reason, const std::string &before, const std::string &behind) {
    const std::string mode = hex("n,ax", 4) + std::string(56, '0'), power = "00000000";
    return "5 wlan1 " + reason + "03" + before + mode + power + behind + mode + power + "03\n";
}
const std::string old36 = "240280";

struct Row {
    const char *name;
    int rule;
    std::vector<Step> steps;
    std::string expected;
};
const Row rows[] = {
    { "a join waits for the authorisation", 0, { say("wlan0", received("00", "31040500" + capable)) }, "" },
    { "and brings the request",
      0,
      { say("wlan0", received("00", "31040500" + capable)), say("wlan0", joined) },
      join0 + "31040500" + capable + " 8001\n" },
    { "a re-association names the present access point first",
      0,
      { say("wlan0", received("20", "31040500" + bssid + capable)), say("wlan0", joined) },
      join0 + "31040500" + bssid + capable + " 8001\n" },
    { "the last request counts, and once",
      0,
      { say("wlan0", received("00", "31040500" + capable)), say("wlan0", received("00", "11040500")),
        say("wlan0", joined), say("wlan0", left), say("wlan0", joined) },
      join0 + "11040500 0000\n" + leave0 + join0 + " 0000\n" },
    { "a request at another access point is another one's",
      0,
      { say("wlan0b", received("00", "31040500")), say("wlan0", joined) },
      join0 + " 0000\n" },
    { "a long request is cut",
      0,
      { say("wlan0", received("00", std::string(8000, '0'))), say("wlan0", joined) },
      join0 + std::string(1024, '0') + " 0000\n" },
    { "nothing twice",
      0,
      { say("wlan0", joined), say("wlan0", joined), say("wlan0", left), say("wlan0", left) },
      join0 + " 0000\n" + leave0 },
    { "a station on an interface of its own is the access point's",
      6,
      { say("wlan0b", joined) },
      "3 wlan0b " + station + " -47 81 021100000009  0000\n" },
    { "probes once a radio",
      0,
      { say("wlan0", probe(-61)), say("wlan0b", probe(-61)), say("wlan1", probe(-70)) },
      "1 wlan0 " + station + "06c3ffffff\n1 wlan1 " + station + "24baffffff\n" },
    { "a probe without a level", 0, { say("wlan0", probe(0)) }, "" },
    { "BTM query", 0, { say("wlan0", received("d0", "0a06071000")) }, "8 wlan0 " + station + "0710\n" },
    { "BTM response",
      0,
      { say("wlan0", received("d0", "0a08070000021100000007")) },
      "9 wlan0 " + station + "000000000000" + "070000021100000007\n" },
    { "each beacon report",
      0,
      { say("wlan0", received("d0", "0501092703010005"
                                    "2704020006ff"
                                    "27050300055106")) },
      "10 wlan0 " + station + "2703010005\n10 wlan0 " + station + "27050300055106\n" },
    { "an empty measurement frame", 0, { say("wlan0", received("d0", "050109")) }, "10 wlan0 " + station + "\n" },
    { "no report of another kind", 0, { say("wlan0", received("d0", "0501092703010003")) }, "" },
    { "a report that runs over", 0, { say("wlan0", received("d0", "050109271001000551")) }, "" },
    { "reasons of those that leave",
      0,
      { say("wlan0", received("a0", "0800")), say("wlan0", received("c0", "0300")) },
      "13 wlan0 " + station + "08\n13 wlan0 " + station + "03\n" },
    { "reasons of those that are sent away",
      0,
      { mlme(NL80211_CMD_FRAME_TX_STATUS,
             { number<uint32_t>(NL80211_ATTR_IFINDEX, 2),
               bytes(NL80211_ATTR_FRAME, "a0000000" + station + bssid + bssid + "00000500") }),
        mlme(NL80211_CMD_FRAME_TX_STATUS,
             { number<uint32_t>(NL80211_ATTR_IFINDEX, 2),
               bytes(NL80211_ATTR_FRAME, "c0000000ffffffffffff" + bssid + bssid + "00000300") }) },
      "13 wlan0 " + station + "05\n" },
    { "one channel change a radio",
      0,
      { move({ 5745, NL80211_CHAN_WIDTH_40, 5755 }), switched(3), say("wlan1", "<3>AP-CSA-FINISHED freq=5745 dfs=0"),
        switched(3) },
      change("00", old36, "95017e") },
    { "another width comes without a switch",
      0,
      { move({ 5180, NL80211_CHAN_WIDTH_20, 5180 }), say("wlan1", "<3>AP-ENABLED ") },
      change("00", old36, "240073") },
    { "a radio that is down has not moved", 0, { move({ 0, 0, 0 }), say("wlan1", "<3>AP-DISABLED ") }, "" },
    { "radar on the channel, and then the change",
      0,
      { radar(NL80211_RADAR_DETECTED, 1, 5200), radar(NL80211_RADAR_DETECTED, 1, 5200),
        move({ 5745, NL80211_CHAN_WIDTH_80, 5775 }), switched(3) },
      "7 wlan1 032800501401\n" + change("02", old36, "950280") },
    { "a change that stays where radar was met has another reason",
      0,
      { radar(NL80211_RADAR_DETECTED, 1, 5180), move({ 5180, NL80211_CHAN_WIDTH_20, 5180 }), switched(3) },
      "7 wlan1 0324003c1401\n" + change("00", old36, "240073") },
    { "radar elsewhere, and of another radio",
      0,
      { radar(NL80211_RADAR_DETECTED, 1, 5500), radar(NL80211_RADAR_DETECTED, 4, 5200) },
      "" },
    { "radar on a channel under check",
      0,
      { radar(NL80211_RADAR_CAC_STARTED, 1, 5500, 3), radar(NL80211_RADAR_DETECTED, 1, 5500) },
      "7 wlan1 0364007c1501\n" },
    { "a passed check",
      0,
      { radar(NL80211_RADAR_CAC_FINISHED, 1, 5500, 3), radar(NL80211_RADAR_CAC_FINISHED, 1, 5500) },
      "6 wlan1 0364007c15\n" },
    { "an enrollee of ours",
      0,
      { say("wlan0", told("WPS-REG-SUCCESS") + " uuid") },
      "11 wlan0 " + station + bssid + "\n" },
    { "our station's enrolment ends with its connection",
      0,
      { say("bsta0", "<3>CTRL-EVENT-CONNECTED - Connection to " + stationText + " completed"),
        say("bsta0", "<3>WPS-SUCCESS "),
        say("bsta0", "<3>CTRL-EVENT-CONNECTED - Connection to " + stationText + " completed [id=0]") },
      "11 bsta0 021100000007" + station + "\n" },
    { "the default VLAN",
      0,
      { connected("0101ff"
                  "dd0b506f9a1b06014008021400"),
        connected("dd07506f9a1b060140"), connected("dd0b506f9a1b0601400802") },
      "12 bsta0 " + bssid + "14\n" },
    { "what is no event",
      0,
      { say("wlan0", ""), say("wlan0", "<"), say("wlan0", "<3"), say("wlan0", "<3>"), say("wlan0", "OK\n"),
        say("wlan0", "<3>AP-STA-CONNECTED 02:42:00:00:00:a"), say("wlan0", "<3>AP-STA-CONNECTED 02:42:00:00:00:a1x"),
        say("wlan0", "<3>AP-STA-CONNECTED"), say("wlan0", "<3>RX-PROBE-REQUEST sa=" + stationText + " signal="),
        say("wlan0", "<3>Trying SSID='\n" + joined + "'"), say("wlan0", received("d0", "0501")),
        say("wlan0", received("00", "3104")), say("wlan0", received("20", "3104050002")),
        say("wlan0", "<3>AP-MGMT-FRAME-RECEIVED buf=00zz"), say("wlan0", received("d0", "0501").substr(0, 60)),
        say("wlan0", "<3>" + std::string(20000, 'A')) },
      "" },
};

TEST_F(Events, EachOfTheTable) {
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        place5 = { 5180, NL80211_CHAN_WIDTH_80, 5210 };
        begin();
        for (const Step &step : row.steps) step(*this);
        EXPECT_EQ(settle(), row.expected) << "rule " << row.rule;
        drelm_end(*drelm);
        device_forget();
    }
}

/** Rule 5: a new socket is attached to and told again; who has gone meanwhile is announced, and nobody twice. */
TEST_F(Events, RestartOfHostapd) {
    stations = { { 2, 0xa1 }, { 2, 0xa2 } };
    begin();
    EXPECT_EQ(settle(), "") << "those that were there before the program";
    hostapd["wlan0"].reset();
    stations = { { 2, 0xa2 }, { 2, 0xa3 } };
    start("wlan0");
    clock_advance(1100);
    const auto commands = [&] { return hostapd["wlan0"]->commands(); };
    EXPECT_TRUE(until([&] { return commands().size() >= 3; })) << "ATTACH, SET, STATUS";
    EXPECT_EQ(settle(), "4 wlan0 0242000000a1\n3 wlan0 0242000000a3 -47 81 " + bssid + "  0000\n");
    EXPECT_TRUE(hostapd["wlan0"]->tell("<3>AP-STA-CONNECTED 02:42:00:00:00:a3")) << "the message to what was found";
    EXPECT_EQ(settle(), "");
    EXPECT_EQ(commands(),
              (std::vector<std::string>{ "ATTACH probe_rx_events=1", "SET notify_mgmt_frames 1", "STATUS" }));
    EXPECT_TRUE(hostapd["wlan0"]->tell("<3>AP-ENABLED "));
    settle();
    EXPECT_EQ(commands().size(), 5u) << "the settings, but no second ATTACH";
}

TEST_F(Events, AccessPointsComeAndGo) {
    hasGuests = false;
    begin();
    hasGuests = true;
    stations = { { 10, 0xa4 } };
    EXPECT_EQ(settle(), "3 wlan0b 0242000000a4 -47 81 021100000009  0000\n");
    hasGuests = false;
    EXPECT_EQ(settle(), "4 wlan0b 0242000000a4\n");
}

TEST_F(Events, LostMessagesAreMadeUpForOnce) {
    begin();
    stations = { { 2, 0xa1 }, { 3, 0xa5 } };
    place5 = { 5180, NL80211_CHAN_WIDTH_20, 5180 };
    kernel.overflow();
    const std::string all = settle();
    for (const std::string &one : { change("00", old36, "240073"), join0 + " 0000\n",
                                    std::string("3 wlan1 0242000000a5 -47 115 021100000001  0000\n") })
        EXPECT_NE(all.find(one), std::string::npos) << one;
    EXPECT_TRUE(logged("messages of the kernel were lost"));
    kernel.overflow();
    EXPECT_EQ(settle(), "");
}

TEST_F(Events, OneThatDoesNotAnswerHoldsUpNobody) {
    hostapd["wlan1"].reset();
    hostapd["wlan1"].emplace(root + "/run/hostapd/wlan1", std::map<std::string, std::string>{});
    drelm_begin(*drelm, note);
    EXPECT_TRUE(until([&] { return hostapd["wlan1"]->commands().size() == 1; }));
    EXPECT_TRUE(until([&] { return hostapd["wlan0"]->commands().size() >= 3; }));
    EXPECT_TRUE(hostapd["wlan0"]->tell(joined));
    EXPECT_TRUE(until([&] { return sent.size() == 1; }));
    hostapd["wlan1"]->say("ATTACH", "OK\n");
    hostapd["wlan1"]->say("SET", "OK\n");
    hostapd["wlan1"]->say("STATUS", "");
    clock_advance(6000);
    EXPECT_TRUE(until([&] { return hostapd["wlan1"]->commands().size() == 4; })) << "attached to a second time";
    EXPECT_TRUE(logged("wlan1: no reply within 5 s"));
}

TEST_F(Events, AConnectionLongAfterAnEnrolmentIsNotItsEnd) {
    begin();
    EXPECT_TRUE(hostapd["bsta0"]->tell("<3>WPS-SUCCESS "));
    EXPECT_EQ(settle(), "");
    clock_advance(60000);
    EXPECT_TRUE(hostapd["bsta0"]->tell("<3>CTRL-EVENT-CONNECTED - Connection to " + stationText + " completed"));
    EXPECT_EQ(settle(), "");
}

TEST_F(Events, WhatAReloadForgetsIsToldEveryMinute) {
    begin();
    clock_advance(61000);
    EXPECT_TRUE(until([&] { return is_quiet() && hostapd["wlan0"]->commands().size() == 4; }));
    EXPECT_EQ(hostapd["wlan0"]->commands()[3], "SET notify_mgmt_frames 1");
    EXPECT_EQ(hostapd["bsta0"]->commands().size(), 1u);
}

/** Stopped for a while, so that its queue was full; what came then is made up for, and nothing is attached for good. */
TEST_F(Events, OneThatWasDroppedAttachesAgain) {
    begin();
    for (int i = 0; i < 10; i++) EXPECT_TRUE(hostapd["wlan0"]->tell("<3>"));
    hostapd["wlan0"]->drop();
    EXPECT_FALSE(hostapd["wlan0"]->tell(joined));
    stations = { { 2, 0xa1 } };
    clock_advance(1100);
    EXPECT_TRUE(until([&] { return hostapd["wlan0"]->commands().size() == 6 && is_quiet(); }));
    EXPECT_EQ(settle(), join0 + " 0000\n");
    EXPECT_EQ(settle(), "");
    EXPECT_EQ(hostapd["wlan0"]->commands().size(), 6u);
}

/** 10,000 messages as fast as they are taken, of which each station has its own in turn, while what is there is read
 * again and again; the sender waits where the queue is full, as nothing else may be lost. */
TEST_F(Events, AStormOfJoins) {
    constexpr int stationCount = 101, rounds = 50; // from 1 on
    std::atomic<bool> there[stationCount] = {};
    kernel.on(NL80211_CMD_GET_STATION, [&](const Asked &asked) {
        Reply reply;
        for (uint8_t i = 1; i < stationCount; i++)
            if (asked.dump && asked.ifindex == 2 && there[i]) reply.messages.push_back(station_of(i));
        return asked.dump ? reply : Reply{ { station_of(1) } };
    });
    begin();
    constexpr size_t wanted = 2 * rounds * (stationCount - 1), queue = 10;
    std::atomic<size_t> said = 0;
    std::thread storm([&] {
        for (int round = 0; round < 2 * rounds; round++)
            for (int i = 1; i < stationCount; i++) {
                char text[64];
                snprintf(text, sizeof text, "<3>AP-STA-%sCONNECTED 02:42:00:00:00:%02x", round % 2 ? "DIS" : "", i);
                there[i] = round % 2 == 0;
                EXPECT_TRUE(hostapd["wlan0"]->tell(text));
                said++;
            }
    });
    size_t nextLook = 500;
    EXPECT_TRUE(until([&] {
        if (sent.size() >= nextLook && is_quiet()) {
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
        bool &is = isOn[strtoul(one.substr(18, 2).c_str(), nullptr, 16)];
        ASSERT_EQ(one.substr(0, 18), std::string(is ? "4" : "3") + " wlan0 0242000000") << one;
        is = !is;
    }
    sent.clear();
    EXPECT_EQ(settle(), "");
    EXPECT_GE(hostapd["wlan0"]->commands().size(), 9u) << "attached again, twice at least";
}

const std::string toUs = bssid + station + bssid + "0000", heardIt = "1 wlan0 " + station + "06c3ffffff";
struct MonitorRow {
    const char *name;
    std::string bytes, expected;
};
const MonitorRow monitored[] = {
    { "a probe request",
      "00000f002e000000100285090000c3"
      "40000000" +
          toUs,
      heardIt },
    { "data",
      "00000f002e000000100285090000c3"
      "08010000" +
          toUs,
      heardIt },
    { "with a time before it",
      "000017002f0000000000000000000000100285090000c3"
      "08010000" +
          toUs,
      heardIt },
    { "with a second word of fields",
      "000013002e00008000000000100285090000c3"
      "08010000" +
          toUs,
      heardIt },
    { "from an access point",
      "00000f002e000000100285090000c3"
      "08020000" +
          toUs,
      "" },
    { "damaged",
      "00000f002e000000500285090000c3"
      "08010000" +
          toUs,
      "" },
    { "without a level",
      "00000e000e0000001002850900008801"
      "0000" +
          toUs,
      "" },
    { "on no channel of ours",
      "00000f002e000000100200000000c3"
      "08010000" +
          toUs,
      "" },
    { "a header that runs over",
      "0000ff002e000000100285090000c3"
      "08010000" +
          toUs,
      "" },
    { "a header that ends before its fields", "00000a002e00000010028509", "" },
    { "words without an end",
      "00000c002e0000802e000080"
      "08010000" +
          toUs,
      "" },
    { "cut",
      "00000f002e000000100285090000c3"
      "0801000002",
      "" },
    { "a station of ours",
      "00000f002e000000100285090000c3"
      "08010000" +
          bssid + "0242000000a2" + bssid + "0000",
      "" },
};

TEST_F(Events, MonitorInterface) {
    stations = { { 2, 0xa2 } };
    begin();
    for (const MonitorRow &row : monitored) {
        sent.clear();
        clock_advance(60);
        monitor_take(*drelm, drelm->radios[0], bytes_of(row.bytes));
        EXPECT_EQ(sent, row.expected.empty() ? std::vector<std::string>{} : std::vector{ row.expected }) << row.name;
    }
}

} // namespace
