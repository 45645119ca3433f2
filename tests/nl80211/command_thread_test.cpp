// Every command: what goes out to hostapd and wpa_supplicant, what is answered, what the log says. Row by row; the
// number of a rule that was found by trial stands in front where a row holds it.
#include "platform/nl80211/config.h"
#include "platform/nl80211/scan_table.h"
#include "tests/nl80211/world.h"

namespace {

using Wire = std::vector<std::string>;
constexpr uint8_t STATION[6] = { 2, 0, 0, 0, 2, 0 };

struct Command : World {
    Command() {
        rilk_initDriver();
        logged("");
    }
    FakeHostapd wlan0{ root + "/run/hostapd/wlan0", { { "", "OK\n" } } };
    FakeHostapd wlan1{ root + "/run/hostapd/wlan1",
                       { { "", "OK\n" }, { "STATUS", "ieee80211n=1\nieee80211ac=1\nieee80211ax=0\n" } } };

    /** What went out since the last call. */
    Wire sent(FakeHostapd &peer) {
        Wire all = peer.commands();
        const Wire fresh(all.begin() + static_cast<long>(taken[&peer]), all.end());
        taken[&peer] = all.size();
        return fresh;
    }
    /** `text` has to be new in the log; "" stands for nothing new at all. */
    void expect_log(const std::string &text) {
        const size_t before = log.size();
        logged("");
        const std::string fresh = log.substr(before);
        EXPECT_TRUE(text.empty() ? fresh.empty() : fresh.find(text) != std::string::npos) << fresh;
    }
    std::map<FakeHostapd *, size_t> taken;
};

struct SteeringRow {
    const char *name;
    void (*change)(RilkBeaconReq &beacon, RilkBtmReq &move);
    const char *wire; // "" where it is refused
    const char *logged;
};
const std::string WHO = "02:00:00:00:02:00";
const SteeringRow beacons[] = {
    { "channel of a class", [](auto &b, auto &) { b.value1 = 115, b.value2 = 36; },
      "7324 0000 6400 00 ffffffffffff 020100", "" },
    { "mode, detail and SSID",
      [](auto &b, auto &) { b.value2 = 6, b.value3 = 2, b.value4 = 1, memcpy(b.ssid, "a\"\n", 3); },
      "5106 0000 6400 02 ffffffffffff 0003 61220a 020101", "" },
    { "listed channels of two classes",
      [](auto &b, auto &) { b.value2 = 255, b.listNums = 3, b.list[0] = 1, b.list[1] = 6, b.list[2] = 36; },
      "51ff 0000 6400 00 ffffffffffff 020100 3303510106 33027324", "" },
    { "an element",
      [](auto &b, auto &) {
          b.value2 = 11, b.elementNums = 1, b.elements[0] = { 10, 2, { 0, 221 } };
      },
      "510b 0000 6400 00 ffffffffffff 020100 0a0200dd", "" },
    { "an SSID of 33 bytes", [](auto &b, auto &) { b.value2 = 1, memset(b.ssid, 'x', 33); }, "", "at most 32 bytes" },
    { "no class", [](auto &b, auto &) { b.value2 = 255; }, "", "no operating class" },
    { "a channel of none", [](auto &b, auto &) { b.value2 = 1, b.listNums = 1, b.list[0] = 20; }, "",
      "without operating class" },
    { "no such mode", [](auto &b, auto &) { b.value2 = 1, b.value3 = 3; }, "", "no such mode" },
    { "too many elements", [](auto &b, auto &) { b.value2 = 1, b.elementNums = 65; }, "", "beyond its table" },
    { "too many bytes", [](auto &b, auto &) { b.value2 = 1, b.elementNums = 1, b.elements[0].length = 235; }, "",
      "more than 252 bytes" },
    { "a group", [](auto &b, auto &) { b.value2 = 1, b.mac[0] = 3; }, "", "no station's address" },
};

TEST_F(Command, BeaconRequests) {
    wlan0.say("REQ_BEACON", "7");
    for (const SteeringRow &row : beacons) {
        SCOPED_TRACE(row.name);
        RilkBeaconReq req{};
        RilkBtmReq move{};
        memcpy(req.mac, STATION, 6);
        memset(req.bssid, 255, 6);
        row.change(req, move);
        std::string hex = row.wire;
        std::erase(hex, ' ');
        EXPECT_EQ(rilk_sendBeaconReq("wlan0", &req), hex.empty() ? -1 : 0);
        EXPECT_EQ(sent(wlan0), hex.empty() ? Wire{} : Wire{ "REQ_BEACON " + WHO + " " + hex });
        expect_log(row.logged);
    }
    RilkBeaconReq req{};
    memcpy(req.mac, STATION, 6);
    req.value2 = 1;
    wlan0.say("REQ_BEACON", "FAIL\n");
    EXPECT_EQ(rilk_sendBeaconReq("wlan0", &req), -1);
    expect_log("wlan0: REQ_BEACON was refused");
    EXPECT_EQ(rilk_sendBeaconReq("wlan7", &req) + rilk_sendBeaconReq(nullptr, &req) +
                  rilk_sendBeaconReq("wlan0", nullptr),
              -3);
    expect_log("wlan7: REQ_BEACON: nobody answers");
}

const SteeringRow moves[] = {
    { "bare", [](auto &, auto &) {}, "", "" },
    { "every mode", [](auto &, auto &m) { m.value1 = 7, m.value2 = 5, m.value3 = 600; },
      " valid_int=5 pref=1 abridged=1 disassoc_imminent=1", "" },
    { "a candidate in full",
      [](auto &, auto &m) {
          m.targetNums = 1, m.targets[0] = { { 2, 0, 0, 0, 9, 9 }, 128, 149, {} };
      },
      " pref=1 neighbor=02:00:00:00:09:09,0x0000,128,149,9", "" },
    { "class by the channel",
      [](auto &, auto &m) {
          m.targetNums = 1, m.targets[0] = { { 2, 0, 0, 0, 9, 9 }, 0, 6, {} };
      },
      " pref=1 neighbor=02:00:00:00:09:09,0x0000,81,6,7", "" },
    { "both by the scans",
      [](auto &, auto &m) {
          m.targetNums = 1, m.targets[0] = { { 2, 0, 0, 0, 5, 5 }, 0, 0, {} };
      },
      " pref=1 neighbor=02:00:00:00:05:05,0x0000,115,44,14", "" },
    { "one of our own",
      [](auto &, auto &m) {
          m.targetNums = 1, m.targets[0] = { { 2, 0, 0, 0, 1, 0 }, 0, 0, {} };
      },
      " pref=1 neighbor=02:00:00:00:01:00,0x0000,115,36,9", "" },
};
const SteeringRow refusedMoves[] = {
    { "one that nobody knows", [](auto &, auto &m) { m.targetNums = 1; }, "", "aren't known" },
    { "termination", [](auto &, auto &m) { m.value1 = 8; }, "", "mode 0x08 needs fields" },
    { "a URL", [](auto &, auto &m) { m.value1 = 0x11; }, "", "mode 0x11 needs fields" },
    { "33 candidates", [](auto &, auto &m) { m.targetNums = 33; }, "", "too many candidates" },
    { "nobody", [](auto &, auto &m) { memset(m.mac, 0, 6); }, "", "no station's address" },
};

TEST_F(Command, TransitionRequests) {
    radio::LocalList<radio::Bss> heard;
    radio::Bss bss = { { 2, 0, 0, 0, 5, 5 }, 5220, 0, -50, 20, 14, 0, {}, {} };
    radio::list_add(heard, bss);
    radio::scan_keep(1, { 44, false, 1, -1, -254 }, heard);
    RilkBeaconReq unused{};
    for (const SteeringRow &row : moves) {
        SCOPED_TRACE(row.name);
        RilkBtmReq req{};
        memcpy(req.mac, STATION, 6);
        row.change(unused, req);
        EXPECT_EQ(rilk_sendBTMReq("wlan0", &req), 0);
        EXPECT_EQ(sent(wlan0),
                  Wire{ "BSS_TM_REQ " + WHO + " disassoc_timer=" + std::to_string(req.value3) + row.wire });
    }
    expect_log("");
    for (const SteeringRow &row : refusedMoves) {
        SCOPED_TRACE(row.name);
        RilkBtmReq req{};
        memcpy(req.mac, STATION, 6);
        row.change(unused, req);
        EXPECT_EQ(rilk_sendBTMReq("wlan0", &req), -1);
        EXPECT_EQ(sent(wlan0), Wire{});
        expect_log(row.logged);
    }
    RilkBtmReq most{};
    memcpy(most.mac, STATION, 6);
    most.targetNums = 32;
    for (RilkBtmTarget &target : most.targets) target = { { 255, 255, 255, 255, 255, 255 }, 255, 165, {} };
    EXPECT_EQ(rilk_sendBTMReq("wlan0", &most), 0) << "all of them fit";
}

struct ElementRow {
    const char *name;
    bool add;
    uint32_t frames;
    std::vector<uint8_t> element;
    const char *beacon, *association; // hostapd's lists from then on; NULL: it isn't told
    const char *logged;
};
const std::vector<uint8_t> ONE = { 221, 4, 1, 2, 3, 4 }, OTHER = { 221, 3, 0x50, 0x6f, 0x9a };
const ElementRow elements[] = {
    { "none to remove", false, 7, ONE, nullptr, nullptr, "it isn't there" },
    { "the first", true, 1, ONE, "dd0401020304", "", "are the same ones" },
    { "a second", true, 7, OTHER, "dd0401020304dd03506f9a", "dd03506f9a", "" },
    { "more frames for the first", true, 4, ONE, "dd0401020304dd03506f9a", "dd0401020304dd03506f9a", "" },
    { "once more", true, 4, ONE, "dd0401020304dd03506f9a", "dd0401020304dd03506f9a", "" },
    { "fewer for the second", false, 3, OTHER, "dd0401020304", "dd0401020304dd03506f9a", "" },
    { "the first goes", false, 7, ONE, "", "dd03506f9a", "" },
    { "gone already", false, 7, ONE, nullptr, nullptr, "it isn't there" },
    { "no frames", true, 0, ONE, nullptr, nullptr, "a sum of 1, 2 and 4" },
    { "unknown frames", true, 8, ONE, nullptr, nullptr, "a sum of 1, 2 and 4" },
    { "cut", true, 7, { 221, 4, 1, 2, 3 }, nullptr, nullptr, "no whole vendor element in 5 bytes" },
    { "bytes behind it", true, 7, { 221, 3, 1, 2, 3, 0 }, nullptr, nullptr, "no whole vendor element" },
    { "no vendor's", true, 7, { 0, 3, 1, 2, 3 }, nullptr, nullptr, "no whole vendor element" },
    { "without its organisation", true, 7, { 221, 2, 1, 2 }, nullptr, nullptr, "no whole vendor element" },
    { "nothing", true, 7, {}, nullptr, nullptr, "" },
};

TEST_F(Command, VendorElements) {
    for (const ElementRow &row : elements) {
        SCOPED_TRACE(row.name);
        const int status = (row.add ? rilk_addVendorIE : rilk_delVendorIE)("wlan0", row.frames, row.element.data(),
                                                                           static_cast<uint32_t>(row.element.size()));
        EXPECT_EQ(status, row.beacon ? 0 : -1);
        EXPECT_EQ(sent(wlan0), row.beacon
                                   ? Wire({ std::string("SET vendor_elements ") + row.beacon,
                                            std::string("SET assocresp_elements ") + row.association, "UPDATE_BEACON" })
                                   : Wire{});
        expect_log(row.logged);
    }
    std::vector<uint8_t> large(257, 9);
    large[0] = 221, large[1] = 255;
    for (uint8_t i = 0; i < 5; i++) {
        large[5] = i;
        EXPECT_EQ(rilk_addVendorIE("wlan1", 7, large.data(), 257), i < 3 ? 0 : -1);
    }
    expect_log("too many");
}

struct SwitchRow {
    const char *name;
    int rule;
    int (*call)();
    const char *wire; // hostapd's command; "": none
    int status;
    const char *logged;
};
int spec(int width, int channel) { return rilk_setRadioChanSpec("phy1", width, channel); }
int current(int channel) { return rilk_setRadioCurChannel("phy1", channel); }
const SwitchRow switches[] = {
    { "what it has", 0, [] { return spec(2, 36) + current(36) + spec(2, 0); }, "", 0, "" },
    { "width and channel are one switch", 2, [] { return spec(1, 44) + current(44); },
      "CHAN_SWITCH 5 5220 bandwidth=40 center_freq1=5230 sec_channel_offset=1 ht vht", 0, "to channel 44, 40 MHz" },
    { "the width stays", 0, [] { return current(153); },
      "CHAN_SWITCH 5 5765 bandwidth=80 center_freq1=5775 sec_channel_offset=-1 ht vht", 0, "channel 153, 80 MHz" },
    { "the channel stays", 0, [] { return spec(0, 0); }, "CHAN_SWITCH 5 5180 bandwidth=20 center_freq1=5180 ht vht", 0,
      "hostapd restarts" },
    { "another while one is under way", 2, [] { return spec(0, 40) == 0 ? current(149) : -2; },
      "CHAN_SWITCH 5 5200 bandwidth=20 center_freq1=5200 ht vht", -1, "one to 40 is under way" },
    { "radar has to be listened to", 4, [] { return spec(0, 100); },
      "CHAN_SWITCH 5 5500 bandwidth=20 center_freq1=5500 ht vht", 0, "off the air for a minute" },
    { "160 MHz, radar too", 4, [] { return spec(3, 112); },
      "CHAN_SWITCH 5 5560 bandwidth=160 center_freq1=5570 sec_channel_offset=-1 ht vht", 0, "listens for radar" },
    { "under non-occupancy", 0, [] { return spec(0, 60); }, "", -1, "radar was met" },
    { "its neighbour is", 0, [] { return spec(2, 52); }, "", -1, "radar was met" },
    { "a width beyond the band's end", 0, [] { return current(165); }, "", -1, "channel 165, 80 MHz: sending" },
    { "no such channel", 0, [] { return spec(0, 37); }, "", -1, "no such channel" },
    { "another band's", 0, [] { return spec(0, 6); }, "", -1, "no such channel" },
    { "80+80", 0, [] { return spec(4, 36); }, "", -1, "or a width" },
    { "the daemon's word for no width", 0, [] { return spec(5, 36) == -1 ? spec(-1, 36) : 0; }, "", -1, "such width" },
};

TEST_F(Command, Switches) {
    kernel.on(NL80211_CMD_ABORT_SCAN, { {}, -ENOENT });
    for (const SwitchRow &row : switches) {
        SCOPED_TRACE(row.name);
        clock_advance(60000); // whatever was under way is over
        EXPECT_EQ(row.call(), row.status);
        EXPECT_EQ(sent(wlan1), *row.wire ? Wire({ "STATUS", row.wire }) : Wire{});
        expect_log(row.logged);
    }
    clock_advance(60000);
    wlan1.say("CHAN_SWITCH", "FAIL\n");
    EXPECT_EQ(current(149), -1);
    EXPECT_EQ(current(149), -1) << "what was refused isn't under way";
    EXPECT_EQ(rilk_setRadioCurChannel("phy7", 1) + rilk_setRadioChanSpec("wlan1", 0, 36), -2);
    EXPECT_EQ(rilk_setRadioChanSpec("phy0", 1, 9), 0);
    EXPECT_EQ(sent(wlan0).back(), "CHAN_SWITCH 5 2452 bandwidth=40 center_freq1=2442 sec_channel_offset=-1");
    EXPECT_EQ(kernel.asked(NL80211_CMD_ABORT_SCAN).size(), 9u) << "rule 2: before each";
}

TEST_F(Command, AConnectedStationForbidsASwitch) { // rule 3
    auto messages = recorded("iface");
    messages.push_back(interface(31, 1, NL80211_IFTYPE_STATION, "bsta1", 5180, 7));
    kernel.on(NL80211_CMD_GET_INTERFACE, { messages });
    EXPECT_EQ(current(149), -1);
    expect_log("station interface is connected");
    EXPECT_EQ(sent(wlan1), Wire{});
    messages.back() = interface(31, 1, NL80211_IFTYPE_STATION, "bsta1", 0, 7);
    kernel.on(NL80211_CMD_GET_INTERFACE, { messages });
    EXPECT_EQ(current(149), 0);
}

TEST_F(Command, Disconnects) {
    EXPECT_EQ(rilk_disConnectSta("wlan0", "02:00:00:AB:02:0f"), 0);
    EXPECT_EQ(sent(wlan0), Wire{ "DISASSOCIATE 02:00:00:ab:02:0f" });
    for (const char *mac : { "", "ff:ff:ff:ff:ff:ff", "02:00:00:00:02:00 tx=0", "02:00:00:00:02", "0 :00:00:00:02:001",
                             "00:00:00:00:00:00", "02:00:00:00:02:0g" })
        EXPECT_EQ(rilk_disConnectSta("wlan0", mac), -1) << mac;
    EXPECT_EQ(sent(wlan0), Wire{});
    expect_log("nobody to disconnect");
}

} // namespace
