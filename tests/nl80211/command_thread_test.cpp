// Every command: what goes out to hostapd and wpa_supplicant, what is answered, what the log says. Row by row; the
// number of a rule that was found by trial stands in front where a row holds it.
#include <linux/rtnetlink.h>

#include <filesystem>
#include <fstream>

#include "platform/nl80211/backhaul.h"
#include "platform/nl80211/config.h"
#include "platform/nl80211/ctrl.h"
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
int block(int width, int channel) { return rilk_setRadioChanSpec("phy1", width, channel); }
int current(int channel) { return rilk_setRadioCurChannel("phy1", channel); }
const SwitchRow switches[] = {
    { "what it has", 0, [] { return block(2, 36) + current(36) + block(2, 0); }, "", 0, "" },
    { "width and channel are one switch", 2, [] { return block(1, 44) + current(44); },
      "CHAN_SWITCH 5 5220 bandwidth=40 center_freq1=5230 sec_channel_offset=1 ht vht", 0, "to channel 44, 40 MHz" },
    { "the width stays", 0, [] { return current(153); },
      "CHAN_SWITCH 5 5765 bandwidth=80 center_freq1=5775 sec_channel_offset=-1 ht vht", 0, "channel 153, 80 MHz" },
    { "the channel stays", 0, [] { return block(0, 0); }, "CHAN_SWITCH 5 5180 bandwidth=20 center_freq1=5180 ht vht", 0,
      "hostapd restarts" },
    { "another while one is under way", 2, [] { return block(0, 40) == 0 ? current(149) : -2; },
      "CHAN_SWITCH 5 5200 bandwidth=20 center_freq1=5200 ht vht", -1, "one to 40 is under way" },
    { "radar has to be listened to", 4, [] { return block(0, 100); },
      "CHAN_SWITCH 5 5500 bandwidth=20 center_freq1=5500 ht vht", 0, "off the air for a minute" },
    { "160 MHz, radar too", 4, [] { return block(3, 112); },
      "CHAN_SWITCH 5 5560 bandwidth=160 center_freq1=5570 sec_channel_offset=-1 ht vht", 0, "listens for radar" },
    { "under non-occupancy", 0, [] { return block(0, 60); }, "", -1, "radar was met" },
    { "its neighbour is", 0, [] { return block(2, 52); }, "", -1, "radar was met" },
    { "a width beyond the band's end", 0, [] { return current(165); }, "", -1, "channel 165, 80 MHz: sending" },
    { "no such channel", 0, [] { return block(0, 37); }, "", -1, "no such channel" },
    { "another band's", 0, [] { return block(0, 6); }, "", -1, "no such channel" },
    { "80+80", 0, [] { return block(4, 36); }, "", -1, "or a width" },
    { "the daemon's word for no width", 0, [] { return block(5, 36) == -1 ? block(-1, 36) : 0; }, "", -1,
      "such width" },
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
    FakeHostapd slow(root + "/slow/wlan1", { { "STATUS", "" } }); // answers no switch
    put("/usr/etc/vesk-radio.json", R"({"hostapdDir": "/slow"})");
    radio::config_forget();
    radio::ctrl_set_patience(200);
    EXPECT_EQ(current(149), -1);
    clock_advance(radio::ctrlRest);
    EXPECT_EQ(block(0, 100), 0) << "rule 4: while it takes its access points down";
    radio::ctrl_set_patience(20000);
    remove("/usr/etc/vesk-radio.json");
    radio::config_forget();
    clock_advance(60000);
    wlan1.say("CHAN_SWITCH", "FAIL\n");
    EXPECT_EQ(current(149), -1);
    EXPECT_EQ(current(149), -1) << "what was refused isn't under way";
    EXPECT_EQ(rilk_setRadioCurChannel("phy7", 1) + rilk_setRadioChanSpec("wlan1", 0, 36), -2);
    EXPECT_EQ(rilk_setRadioChanSpec("phy0", 1, 9), 0);
    EXPECT_EQ(sent(wlan0).back(), "CHAN_SWITCH 5 2452 bandwidth=40 center_freq1=2442 sec_channel_offset=-1");
    EXPECT_EQ(kernel.asked(NL80211_CMD_ABORT_SCAN).size(), 11u) << "rule 2: before each";
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

struct VlanRow {
    const char *name;
    uint16_t vid;
    int filtering, error; // of the bridge; of the kernel
    int status;
    Wire wire;
    const char *logged;
};
const VlanRow vlans[] = {
    { "the access point and its station's interface", 20, 1, 0, 0, { "9+20 9-1 10+20 10-1" }, "wlan0b.sta1: untagged" },
    { "another: the one before goes", 30, 1, 0, 0, { "9+30 9-20 10+30 10-20" }, "VLAN 30" },
    { "none: the bridge's own", 0, 1, 0, 0, { "9+1 9-30 10+1 10-30" }, "VLAN 1" },
    { "no such VLAN", 4095, 1, 0, -1, { "" }, "no such VLAN" },
    { "a bridge without VLANs", 20, 0, 0, -1, { "" }, "in a bridge with vlan_filtering" },
    { "the kernel's no", 20, 1, -EOPNOTSUPP, -1, { "9+20 10+20" }, "the kernel refused 20" },
};

TEST_F(Command, DefaultVlan) {
    std::string asked;
    int error = 0;
    const auto note = [&](const Asked &port) {
        const bool added = port.command == RTM_SETLINK;
        EXPECT_EQ(port.flags & 0xffff, added ? 6u : 0u) << "PVID and untagged";
        asked += (asked.empty() ? "" : " ") + std::to_string(port.ifindex) + (added ? "+" : "-") +
                 std::to_string(port.flags >> 16);
        return Reply{ {}, error };
    };
    kernel.on(RTM_SETLINK, note);
    kernel.on(RTM_DELLINK, note);
    const auto join = [&](const std::string &name, int filtering) {
        const std::string bridge = "/sys/class/net/" + name + "/brport/bridge/bridge/";
        put(bridge + "default_pvid", "1\n");
        put(bridge + "vlan_filtering", std::to_string(filtering) + "\n");
    };
    VeskDot1qCfg cfg{ 20, 0, 0 };
    EXPECT_EQ(rilk_set8021dotqCfg("wlan0b", &cfg), -1) << "no bridge";
    for (const VlanRow &row : vlans) {
        SCOPED_TRACE(row.name);
        for (const char *name : { "wlan0b", "wlan0b.sta1" }) join(name, row.filtering);
        asked.clear();
        error = row.error;
        cfg.vid = row.vid;
        EXPECT_EQ(rilk_set8021dotqCfg("wlan0b", &cfg), row.status);
        EXPECT_EQ(Wire{ asked }, row.wire);
        expect_log(row.logged);
    }
    // A port that leaves the bridge and comes back is another one; a poll sees to it, once.
    error = 0;
    cfg.vid = 40;
    EXPECT_EQ(rilk_set8021dotqCfg("wlan0b", &cfg), 0);
    std::filesystem::rename(root + "/sys/class/net/wlan0b.sta1/brport", root + "/old"); // keeps the inode taken
    join("wlan0b.sta1", 1);
    asked.clear();
    int32_t channel;
    for (int poll = 0; poll < 3; poll++) rilk_getRadioCurChannel("phy0", &channel);
    EXPECT_EQ(asked, "10+40 10-1");
    EXPECT_EQ(rilk_set8021dotqCfg("wlan7", &cfg) + rilk_set8021dotqCfg("wlan0b", nullptr), -2);
    EXPECT_EQ(rilk_cleanHwFwdRule("phy0"), -1);
    put("/sys/class/net/wlan0b/brport/flush", "");
    EXPECT_EQ(rilk_cleanHwFwdRule("phy0"), 0);
    EXPECT_EQ(std::ifstream(root + "/sys/class/net/wlan0b/brport/flush").get(), '1');
    EXPECT_EQ(rilk_cleanHwFwdRule("phy1"), -1);
}

struct CredentialRow {
    const char *name;
    const char *ssid, *key;
    int authMode;
    void (*change)(VeskBackhaulCred &cred);
    Wire settings; // behind "SET_NETWORK 3 "; empty where it is refused
    const char *logged;
};
const std::string DIGITS = "0123456789abcdef0123456789ABCDEF0123456789abcdef0123456789abcdef";
const CredentialRow credentials[] = {
    { "a passphrase",
      "Haus",
      "hinterm Haus",
      32,
      [](auto &) {},
      { "ssid 48617573", "key_mgmt WPA-PSK", "proto RSN", "psk \"hinterm Haus\"" },
      "" },
    { "quotes and a backslash",
      "a\"\nb",
      "\"; QUIT \\\"",
      34,
      [](auto &) {},
      { "ssid 61220a62", "key_mgmt WPA-PSK", "proto WPA RSN", "psk \"\"; QUIT \\\"\"" },
      "" },
    { "the key itself",
      "Haus",
      DIGITS.c_str(),
      32,
      [](auto &) {},
      { "ssid 48617573", "key_mgmt WPA-PSK", "proto RSN", "psk " + DIGITS },
      "" },
    { "a password of any bytes",
      "Haus",
      "\n\"",
      64,
      [](auto &) {},
      { "ssid 48617573", "key_mgmt SAE", "proto RSN", "ieee80211w 2", "sae_password 0a22" },
      "" },
    { "both, with access point and channel",
      "Haus",
      "hinterm Haus",
      96,
      [](auto &c) { c.bssid[0] = 2, c.channel = 36, c.bw = 2; },
      { "ssid 48617573", "key_mgmt WPA-PSK SAE", "proto RSN", "ieee80211w 1", "psk \"hinterm Haus\"",
        "bssid 02:00:00:00:00:00", "scan_freq 5180" },
      "the width of a credential" },
    { "open",
      "Haus",
      "x",
      1,
      [](auto &c) { c.band = 0, c.channel = 6; },
      { "ssid 48617573", "key_mgmt NONE", "scan_freq 2437" },
      "" },
    { "a key with a newline", "Haus", "hinterm\nHaus", 32, [](auto &) {}, {}, "that is no key" },
    { "a short key", "Haus", "1234567", 32, [](auto &) {}, {}, "that is no key" },
    { "digits where a password may be meant", "Haus", DIGITS.c_str(), 96, [](auto &) {}, {}, "that is no key" },
    { "802.1X", "Haus", "hinterm Haus", 16, [](auto &) {}, {}, "no such kind of security" },
    { "a long SSID", "012345678901234567890123456789012", "hinterm Haus", 32, [](auto &) {}, {}, "1 to 32 bytes" },
    { "another band's channel", "Haus", "hinterm Haus", 32, [](auto &c) { c.channel = 6; }, {}, "no such channel" },
    { "no interface", "Haus", "hinterm Haus", 32, [](auto &c) { memset(c.ifName, '/', 16); }, {}, "no interface" },
};
VeskBackhaulCred credential(const char *ssid, const char *key, int authMode) {
    VeskBackhaulCred cred{};
    cred.band = 3;
    memcpy(cred.ifName, "bsta0", 5);
    memcpy(cred.ssid, ssid, strlen(ssid));
    memcpy(cred.ssidKey, key, strlen(key));
    cred.authMode = authMode;
    return cred;
}

struct Backhaul : Command {
    FakeHostapd station{ root + "/run/wpa_supplicant/bsta0",
                         { { "", "OK\n" },
                           { "ADD_NETWORK", "3\n" },
                           { "LIST_NETWORKS", "network id / ssid / bssid / flags\n0\tx\tany\t\n3\ty\tany\t\n"
                                              "9\tz\n1" } } };
    /** The last one that was heard. */
    void wait_command(const std::string &command) {
        for (int i = 0; i < 2000 && station.commands().back() != command; i++)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        EXPECT_EQ(station.commands().back(), command);
    }
    /** Settled by the thread: its line is in the log. */
    void wait_log(const std::string &text) {
        radio::backhaul_wait();
        EXPECT_TRUE(logged(text)) << log;
    }
};

TEST_F(Backhaul, Credentials) {
    for (const CredentialRow &row : credentials) {
        SCOPED_TRACE(row.name);
        auto cred = credential(row.ssid, row.key, row.authMode);
        row.change(cred);
        Wire wire;
        if (!row.settings.empty()) wire = { "ADD_NETWORK" };
        std::string key; // the thread's
        for (const std::string &setting : row.settings)
            (setting.starts_with("psk ") || setting.starts_with("sae_password ") ? key : wire.emplace_back()) =
                "SET_NETWORK 3 " + setting;
        EXPECT_EQ(rilk_applyBackhaulCredentialToBsta(&cred), row.settings.empty() ? -1 : 0);
        if (!row.settings.empty()) {
            wire.insert(wire.end(), { "SET_NETWORK 3 multi_ap_backhaul_sta 1", "LIST_NETWORKS", "ATTACH" });
            if (!key.empty()) wire.push_back(key);
            wire.insert(wire.end(), { "REMOVE_NETWORK 0", "REMOVE_NETWORK 9", "SELECT_NETWORK 3" });
            wait_command("SELECT_NETWORK 3");
        }
        EXPECT_EQ(sent(station), wire);
        expect_log(row.logged);
        EXPECT_EQ(log.find(row.key), std::string::npos) << "a key in the log";
    }
    station.say("SET_NETWORK 3 psk", "FAIL\n");
    const auto cred = credential("Haus", "hinterm Haus", 32);
    EXPECT_EQ(rilk_applyBackhaulCredentialToBsta(&cred), 0);
    wait_command("REMOVE_NETWORK 3"); // and what was there stays
    EXPECT_EQ(sent(station).end()[-2], "SET_NETWORK 3 psk \"hinterm Haus\"");
    wait_log("bsta0: SET_NETWORK was refused");
    EXPECT_FALSE(logged("hinterm"));
}

struct EventRow {
    const char *name;
    Wire events; // the last one settles it
    const char *logged;
};
const std::string DISABLED = "<3>CTRL-EVENT-SSID-TEMP-DISABLED id=";
const EventRow events[] = {
    { "joins",
      { "OK\n", "<", "", "<3>CTRL-EVENT-CONNECTED - Connection to 02:00 completed [id=3 id_str=]" },
      "has joined the backhaul network" },
    { "WPS was quicker",
      { "<3>CTRL-EVENT-CONNECTED - Connection to 02:00 completed [id=33 id_str=]" },
      "has joined another network than its credential's" },
    { "a wrong key, beside somebody else's",
      { DISABLED + "33 ssid=\"x\" reason=WRONG_KEY", DISABLED + "3 ssid=\" reason=X\" duration=10 reason=WRONG_KEY" },
      "the key of the backhaul network is wrong" },
    { "an SSID that says so", { DISABLED + "3 ssid=\" reason=WRONG_KEY\" reason=CONN_FAILED" }, "doesn't let it in" },
};

TEST_F(Backhaul, TheOutcomeIsTold) {
    const auto cred = credential("Haus", "hinterm Haus", 32);
    for (const EventRow &row : events) {
        SCOPED_TRACE(row.name);
        ASSERT_EQ(rilk_applyBackhaulCredentialToBsta(&cred), 0);
        wait_command("SELECT_NETWORK 3");
        for (const std::string &event : row.events) EXPECT_TRUE(station.tell(event));
        wait_log(row.logged);
    }
    ASSERT_EQ(rilk_applyBackhaulCredentialToBsta(&cred), 0);
    wait_command("SELECT_NETWORK 3");
    clock_advance(radio::backhaulPatience);
    station.tell("<3>CTRL-EVENT-SCAN-STARTED");
    wait_log("hasn't joined the backhaul network within 15 s");
}

TEST_F(Backhaul, AutoConnect) {
    VeskBstaAuto wish{ 3, "bsta0", 1, 0, 0 };
    EXPECT_EQ(rilk_setBstaAutoConnect(&wish), 0);
    expect_log("");
    wish.enableAuto = 0, wish.needSetRadar = 1;
    EXPECT_EQ(rilk_setBstaAutoConnect(&wish), 0);
    expect_log("bsta0: the radar settings");
    EXPECT_EQ(sent(station), Wire({ "ENABLE_NETWORK all", "RECONNECT", "DISCONNECT", "DISABLE_NETWORK all" }));
    station.say("DISCONNECT", "FAIL\n");
    EXPECT_EQ(rilk_setBstaAutoConnect(&wish), -1);
    expect_log("bsta0: DISCONNECT was refused");
    station.slow = 30000; // later than the call waits: both are under way
    station.say("DISCONNECT", "OK\n");
    EXPECT_EQ(rilk_setBstaAutoConnect(&wish), 0);
    station.slow = 0;
    for (size_t count = 0; count < 4; count += sent(station).size()) usleep(1000);
    memcpy(wish.ifName, "bsta7", 6);
    EXPECT_EQ(rilk_setBstaAutoConnect(&wish), -1);
    expect_log("bsta7: DISCONNECT: nobody answers");
    EXPECT_EQ(rilk_setBstaAutoConnect(nullptr) + rilk_applyBackhaulCredentialToBsta(nullptr), -2);
}

} // namespace
