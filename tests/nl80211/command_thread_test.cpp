// Every command: what goes out to hostapd, wpa_supplicant and the kernel, what is answered, what the log says; see
// talks/commands.rows and talks/backhaul.rows.
#include <linux/rtnetlink.h>

#include <filesystem>
#include <fstream>

#include "platform/nl80211/backhaul.h"
#include "platform/nl80211/ctrl.h"
#include "platform/nl80211/scan_table.h"
#include "tests/nl80211/talk.h"

namespace {

template <class Number>
Number number_of(const std::string &digits) {
    return static_cast<Number>(std::stol(digits, nullptr, 0));
}
template <size_t N>
void put_bytes(uint8_t (&to)[N], const std::string &digits) {
    std::ranges::copy(bytes_of(spoken(digits)), to);
}
template <size_t N>
void put_word(char (&to)[N], const std::string &word) {
    const std::string text = plain(word);
    memcpy(to, text.data(), std::min(text.size(), N));
}

template <class Record>
using Fields = std::map<std::string, void (*)(Record &record, const std::string &value)>;

const Fields<RilkBeaconReq> beaconFields = {
    { "mac", [](auto &to, auto &value) { put_bytes(to.mac, value); } },
    { "value1", [](auto &to, auto &value) { to.value1 = number_of<uint8_t>(value); } },
    { "value2", [](auto &to, auto &value) { to.value2 = number_of<uint8_t>(value); } },
    { "value3", [](auto &to, auto &value) { to.value3 = number_of<uint8_t>(value); } },
    { "value4", [](auto &to, auto &value) { to.value4 = number_of<uint8_t>(value); } },
    { "ssid", [](auto &to, auto &value) { put_word(to.ssid, value); } },
    { "listNums", [](auto &to, auto &value) { to.listNums = number_of<uint8_t>(value); } },
    { "list",
      [](auto &to, auto &value) {
          for (const std::string &channel : split(value, ',')) to.list[to.listNums++] = number_of<uint8_t>(channel);
      } },
    { "elementNums", [](auto &to, auto &value) { to.elementNums = number_of<uint8_t>(value); } },
    { "element", // id, length and data, which may be shorter
      [](auto &to, auto &value) {
          const auto bytes = bytes_of(spoken(value));
          memcpy(&to.elements[to.elementNums++], bytes.data(), bytes.size());
      } },
};
const Fields<RilkBtmReq> moveFields = {
    { "mac", [](auto &to, auto &value) { put_bytes(to.mac, value); } },
    { "value1", [](auto &to, auto &value) { to.value1 = number_of<uint8_t>(value); } },
    { "value2", [](auto &to, auto &value) { to.value2 = number_of<uint8_t>(value); } },
    { "value3", [](auto &to, auto &value) { to.value3 = number_of<uint16_t>(value); } },
    { "targetNums", [](auto &to, auto &value) { to.targetNums = number_of<uint8_t>(value); } },
    { "target", // BSSID,CLASS,CHANNEL
      [](auto &to, auto &value) {
          const Texts words = split(value, ',');
          RilkBtmTarget &target = to.targets[to.targetNums++];
          put_bytes(target.bssid, words.at(0));
          target.value1 = number_of<uint8_t>(words.at(1));
          target.value2 = number_of<uint8_t>(words.at(2));
      } },
};
const Fields<VeskBackhaulCred> credentialFields = {
    { "band", [](auto &to, auto &value) { to.band = number_of<int32_t>(value); } },
    { "ifName", [](auto &to, auto &value) { put_word(to.ifName, value); } },
    { "ssid", [](auto &to, auto &value) { put_word(to.ssid, value); } },
    { "ssidKey", [](auto &to, auto &value) { put_word(to.ssidKey, value); } },
    { "authMode", [](auto &to, auto &value) { to.authMode = number_of<int32_t>(value); } },
    { "bssid", [](auto &to, auto &value) { put_bytes(to.bssid, value); } },
    { "channel", [](auto &to, auto &value) { to.channel = number_of<uint8_t>(value); } },
    { "bw", [](auto &to, auto &value) { to.bw = number_of<int32_t>(value); } },
};

/** NAME=VALUE... from a word on. */
template <class Record>
Record record_of(Record record, const Fields<Record> &fields, const Texts &words, size_t from) {
    for (size_t i = from; i < words.size(); i++) {
        const size_t equals = words[i].find('=');
        fields.at(words[i].substr(0, equals))(record, words[i].substr(equals + 1));
    }
    return record;
}

RilkBeaconReq beacon_to(const Texts &words) {
    RilkBeaconReq req = { .mac = { 2, 0, 0, 0, 2, 0 } };
    memset(req.bssid, 255, sizeof req.bssid);
    return record_of(req, beaconFields, words, 1);
}
RilkBtmReq move_of(const Texts &words) {
    return record_of(RilkBtmReq{ .mac = { 2, 0, 0, 0, 2, 0 } }, moveFields, words, 1);
}
int change_element(decltype(rilk_addVendorIE) *change, const Texts &words) {
    const auto element = bytes_of(words.size() > 2 ? spoken(words[2]) : "");
    return change(words.at(0).c_str(), static_cast<uint32_t>(std::stoul(words.at(1))), element.data(),
                  static_cast<uint32_t>(element.size()));
}
int set_vlan(const Texts &words) {
    const VeskDot1qCfg cfg = { number_of<uint16_t>(words.at(1)), 0, 0 };
    return rilk_set8021dotqCfg(words[0].c_str(), &cfg);
}
int apply_credential(const Texts &words) {
    const auto cred = record_of(VeskBackhaulCred{ .band = 3, .ifName = "bsta0" }, credentialFields, words, 0);
    return rilk_applyBackhaulCredentialToBsta(&cred);
}
int connect(const Texts &words) {
    VeskBstaAuto wish = {
        3, {}, number_of<uint8_t>(words.at(1)), number_of<uint8_t>(words.at(2)), number_of<uint8_t>(words.at(3))
    };
    put_word(wish.ifName, words[0]);
    return rilk_setBstaAutoConnect(&wish);
}

const std::map<std::string, Talk::Call> calls = {
    { "rilk_sendBeaconReq",
      [](const Texts &words) {
          const RilkBeaconReq req = beacon_to(words);
          return rilk_sendBeaconReq(words[0].c_str(), &req);
      } },
    { "rilk_sendBTMReq",
      [](const Texts &words) {
          const RilkBtmReq req = move_of(words);
          return rilk_sendBTMReq(words[0].c_str(), &req);
      } },
    { "rilk_addVendorIE", [](const Texts &words) { return change_element(rilk_addVendorIE, words); } },
    { "rilk_delVendorIE", [](const Texts &words) { return change_element(rilk_delVendorIE, words); } },
    { "rilk_setRadioChanSpec",
      [](const Texts &words) {
          return rilk_setRadioChanSpec(words.at(0).c_str(), std::stoi(words.at(1)), std::stoi(words.at(2)));
      } },
    { "rilk_setRadioCurChannel",
      [](const Texts &words) { return rilk_setRadioCurChannel(words.at(0).c_str(), std::stoi(words.at(1))); } },
    { "rilk_getRadioCurChannel",
      [](const Texts &words) {
          int32_t channel;
          return rilk_getRadioCurChannel(words.at(0).c_str(), &channel);
      } },
    { "rilk_disConnectSta",
      [](const Texts &words) {
          return rilk_disConnectSta(words.at(0).c_str(), words.size() > 1 ? plain(words[1]).c_str() : "");
      } },
    { "rilk_set8021dotqCfg", set_vlan },
    { "rilk_cleanHwFwdRule", [](const Texts &words) { return rilk_cleanHwFwdRule(words.at(0).c_str()); } },
    { "rilk_setBstaAutoConnect", connect },
    { "rilk_applyBackhaulCredentialToBsta", apply_credential },
};

struct Command : Talk {
    int vlanError = 0; // of the kernel

    Command() {
        rilk_initDriver();
        forget_log();
        add_peer(
            "wlan0", "/run/hostapd",
            { { "", "OK\n" }, { "REQ_BEACON", "7" }, { "STATUS", "ieee80211n=1\nieee80211ac=1\nieee80211ax=1\n" } });
        add_peer("wlan1", "/run/hostapd",
                 { { "", "OK\n" }, { "STATUS", "ieee80211n=1\nieee80211ac=1\nieee80211ax=0\n" } });
        add_peer("bsta0", "/run/wpa_supplicant",
                 { { "", "OK\n" },
                   { "ADD_NETWORK", "3\n" },
                   { "LIST_NETWORKS", "network id / ssid / bssid / flags\n0\tx\tany\t\n3\ty\tany\t\n9\tz\n1" } });
        add_peer("kernel", "/run", {}); // hears what is asked of bridges
        kernel.on(NL80211_CMD_ABORT_SCAN, [this](const Asked &asked) {
            peers.at(asked.ifindex == 3 ? "wlan1" : "wlan0").socket->note("ABORT_SCAN");
            return Reply{ {}, -ENOENT };
        });
        const auto vlan = [this](const Asked &port) {
            const bool isAdded = port.command == RTM_SETLINK;
            EXPECT_EQ(port.flags & 0xffff, isAdded ? 6u : 0u) << "PVID and untagged";
            peers.at("kernel").socket->note((isAdded ? "VLAN " : "no VLAN ") + std::to_string(port.flags >> 16) +
                                            (port.ifindex == 9 ? " wlan0b" : " wlan0b.sta1"));
            return Reply{ {}, vlanError };
        };
        kernel.on(RTM_SETLINK, vlan);
        kernel.on(RTM_DELLINK, vlan);
        add_steps();
    }

    void add_steps() {
        verbs["takes"] = [](Peer &peer, const std::string &ms) { peer.socket->slow = std::stoi(ms); };
        add_calls(calls);
        steps["backhaul-ends"] = [](const std::string &) { radio::backhaul_wait(); };
        steps["heard"] = [](const std::string &) { // a network of the last scan, on channel 44 with 802.11be
            radio::LocalList<radio::Bss> networks;
            radio::list_add(networks, radio::Bss{ { 2, 0, 0, 0, 5, 5 }, 5220, 0, -50, 20, 14, 0, {}, {} });
            radio::scan_keep(1, { 44, false, 1, -1, -254 }, networks);
        };
        steps["station"] = [this](const std::string &mhz) { // a station interface beside wlan1
            auto messages = recorded("iface");
            messages.push_back(
                interface(31, 1, NL80211_IFTYPE_STATION, "bsta1", static_cast<uint32_t>(std::stoul(mhz)), 7));
            kernel.on(NL80211_CMD_GET_INTERFACE, { messages });
        };
        steps["vlan-error"] = [this](const std::string &error) { vlanError = std::stoi(error); };
        steps["bridge"] = [this](const std::string &rest) { // PORT FILTERING
            const auto [port, filtering] = word(rest);
            const std::string folder = "/sys/class/net/" + port + "/brport/";
            put(folder + "bridge/bridge/default_pvid", "1\n");
            put(folder + "bridge/bridge/vlan_filtering", filtering + "\n");
            put(folder + "flush", "");
        };
        steps["unbridge"] = [this](const std::string &port) {
            std::filesystem::rename(root + "/sys/class/net/" + port + "/brport",
                                    root + "/old"); // keeps the inode taken
        };
        steps["flushed"] = [this](const std::string &port) {
            EXPECT_EQ(std::ifstream(root + "/sys/class/net/" + port + "/brport/flush").get(), '1');
        };
    }
};

TEST(Command, Talks) { run_talks<Command>("commands.rows"); }
TEST(Command, BackhaulTalks) { run_talks<Command>("backhaul.rows"); }

TEST(Command, WithoutARecord) {
    Command c;
    RilkBeaconReq beacon = {};
    RilkBtmReq move = {};
    const uint8_t element = 0;
    EXPECT_EQ(rilk_sendBeaconReq(nullptr, &beacon) + rilk_sendBeaconReq("wlan0", nullptr) +
                  rilk_sendBTMReq(nullptr, &move) + rilk_sendBTMReq("wlan0", nullptr),
              -4);
    EXPECT_EQ(rilk_addVendorIE(nullptr, 7, &element, 1) + rilk_addVendorIE("wlan0", 7, nullptr, 6), -2);
    EXPECT_EQ(rilk_set8021dotqCfg("wlan0b", nullptr) + rilk_disConnectSta("wlan0", nullptr), -2);
    EXPECT_EQ(rilk_setBstaAutoConnect(nullptr) + rilk_applyBackhaulCredentialToBsta(nullptr), -2);
    c.hear_nothing();
}

/** As many as the record holds fit into a command. */
TEST(Command, MostCandidates) {
    Command c;
    RilkBtmReq most = { .mac = { 2, 0, 0, 0, 2, 0 }, .targetNums = 32 };
    for (RilkBtmTarget &target : most.targets) target = { { 255, 255, 255, 255, 255, 255 }, 255, 165, {} };
    EXPECT_EQ(rilk_sendBTMReq("wlan0", &most), 0);
}

} // namespace
