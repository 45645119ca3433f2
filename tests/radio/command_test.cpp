// Every command of librilk.so, seen from the other side of the air: by another radio, by the station, by iw, hostapd
// and the bridge. A row with a number holds that rule that was found by trial.
#include <cstring>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

#include "include/rilk.h"

#include "tests/radio/table.h"

namespace {

constexpr uint8_t PHONE[6] = { 2, 0, 0, 0, 2, 0 };
const std::vector<uint8_t> ELEMENT = { 221, 5, 0, 0x11, 0x22, 0x33, 0x44 };

struct Step {
    const char *name;
    int rule;
    int (*call)();
    int result;
    bool (*seen)();
    const char *logged = "";
    std::chrono::seconds patience = 10s;
};

std::string log_of(const char *program) { return read_file(text("/tmp/%s.log", program)); }

/** A program's log from here on. */
struct Tail {
    const char *program;
    size_t begin = log_of(program).size();
    bool has(const std::string &part) const { return log_of(program).find(part, begin) != std::string::npos; }
};

void take(const Step &step) {
    SCOPED_TRACE(text("%s, rule %d", step.name, step.rule));
    testing::internal::CaptureStderr();
    EXPECT_EQ(step.call(), step.result);
    const bool seen = within(step.patience, step.seen);
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(seen) << said << info("wlan0") << info("wlan1");
    EXPECT_NE(said.find(step.logged), std::string::npos) << said;
}

bool is_on(const char *interface, const char *channel) {
    const std::string said = info(interface);
    return said.find(channel) != std::string::npos && said.find("ssid ") != std::string::npos;
}

/** Whether the mesh node, which is idle, finds a text in the beacons of a channel. */
bool is_heard(int frequency, const char *part) {
    return sh(text("iw dev wlan3 scan -u freq %d flush passive", frequency)).find(part) != std::string::npos;
}

int width_of(int width, int channel) { return rilk_setRadioChanSpec("phy1", width, channel); }
int current(int channel) { return rilk_setRadioCurChannel("phy1", channel); }

// Rule 4, a radar channel's silence, needs hostapd with a country, which it sets anew whenever it restarts: that ends
// the world's non-occupancy. It is held by event_test.cpp.
const Step switches[] = {
    { "width and channel in one switch", 2, [] { return width_of(1, 44) + current(44); }, 0,
      [] {
          return is_on("wlan1", "channel 44 (5220 MHz), width: 40 MHz, center1: 5230") && is_heard(5220, "Lindenhof");
      },
      "switches to channel 44, 40 MHz" },
    { "during a scan", 2,
      [] {
          sh("iw dev wlan1 scan trigger freq 5180 5200 5745 5765 5785 5805 passive ap-force");
          return current(157);
      },
      0, [] { return is_on("wlan1", "channel 157 (5785 MHz), width: 40 MHz"); } },
    { "80 MHz", 0, [] { return width_of(2, 149); }, 0,
      [] {
          return is_on("wlan1", "channel 149 (5745 MHz), width: 80 MHz, center1: 5775") && is_heard(5745, "Lindenhof");
      } },
    { "another width only", 0, [] { return width_of(0, 0); }, 0,
      [] { return is_on("wlan1", "channel 149 (5745 MHz), width: 20 MHz"); }, "hostapd restarts", 30s },
    { "non-occupancy", 0, [] { return current(60); }, -1, [] { return is_on("wlan1", "channel 149"); },
      "radar was met there" },
    { "back", 0, [] { return width_of(2, 36); }, 0,
      [] { return is_on("wlan1", "channel 36 (5180 MHz), width: 80 MHz, center1: 5210"); } },
    { "2.4 GHz", 0, [] { return rilk_setRadioCurChannel("phy0", 1); }, 0,
      [] { return is_on("wlan0", "channel 1 (2412 MHz), width: 20 MHz") && is_heard(2412, "Lindenhof"); } },
    { "a connected station on the radio", 3,
      [] {
          sh("wpa_supplicant -B -P /run/bsta.pid -i bsta0 -c /etc/radio/guest.conf -f /tmp/bsta.log");
          EXPECT_TRUE(within(20s, [] { return log_of("bsta").find("CTRL-EVENT-CONNECTED") != std::string::npos; }));
          return rilk_setRadioCurChannel("phy0", 6);
      },
      -1, [] { return is_on("wlan0", "channel 1 "); }, "station interface is connected" },
    { "and when it has gone", 0,
      [] {
          sh("kill $(cat /run/bsta.pid); ip link set bsta0 down");
          within(5s, [] { return info("bsta0").find("channel") == std::string::npos; });
          return rilk_setRadioCurChannel("phy0", 6);
      },
      0, [] { return is_on("wlan0", "channel 6 (2437 MHz), width: 20 MHz"); } },
};

struct Commands : testing::Test {
    static void SetUpTestSuite() { ASSERT_EQ(rilk_initDriver(), 0); }
};

TEST_F(Commands, Switches) {
    for (const Step &step : switches) take(step);
}

int block(uint8_t operation) {
    RilkAclMac acl{ operation, {} };
    memcpy(acl.mac, PHONE, 6);
    return rilk_setVapAclMac("wlan0", &acl);
}

TEST_F(Commands, Stations) {
    const Joined telephone("wlan2", LINDENHOF_24);
    static Tail hostapd_log{ "hostapd" }, phone_log{ "phone" };
    const Step steps[] = {
        { "level: what the sender is set to, and its power", 9,
          [] {
              sh("echo 18446744073709551546 >/sys/kernel/debug/ieee80211/phy2/hwsim/rx_rssi"); // -70
              return supplicant("wlan2", "wnm_bss_query 6") == "OK\n" ? 0 : -1;
          },
          0,
          [] {
              VeskStaEntry entry{};
              int32_t number;
              rilk_getVapAssocStationNumber("wlan0", &number);
              rilk_getVapAssocStationInfo("wlan0", PHONE, &entry);
              return entry.rssi == -70 + atoi(find(info("wlan2"), "txpower (\\d+)").c_str());
          } },
        { "group: a radio by itself", 9,
          [] {
              sh("echo 18446744073709551566 >/sys/kernel/debug/ieee80211/phy2/hwsim/rx_rssi"); // -50
              sh("echo 2 >/sys/kernel/debug/ieee80211/phy4/hwsim/group");
              return 0;
          },
          0, [] { return !is_heard(2412, "Petersen"); } },
        { "and among the others", 9,
          [] {
              sh("echo 1 >/sys/kernel/debug/ieee80211/phy4/hwsim/group");
              return 0;
          },
          0, [] { return is_heard(2412, "Petersen"); } },
        { "beacon request", 0,
          [] {
              RilkBeaconReq req{};
              memcpy(req.mac, PHONE, 6);
              memset(req.bssid, 255, 6);
              req.value2 = 1;
              return rilk_sendBeaconReq("wlan0", &req);
          },
          0, [] { return hostapd_log.has("BEACON-RESP-RX " + phone); } },
        { "transition request", 0,
          [] {
              RilkBtmReq req{};
              memcpy(req.mac, PHONE, 6);
              req.value1 = 4, req.value2 = 9, req.targetNums = 1;
              sscanf(find(info("wlan1"), "addr (\\S+)").c_str(), "%hhx:%hhx:%hhx:%hhx:%hhx:%hhx",
                     &req.targets[0].bssid[0], &req.targets[0].bssid[1], &req.targets[0].bssid[2],
                     &req.targets[0].bssid[3], &req.targets[0].bssid[4], &req.targets[0].bssid[5]);
              return rilk_sendBTMReq("wlan0", &req);
          },
          0, [] { return phone_log.has("WNM: Disassociation Imminent") && hostapd_log.has("BSS-TM-RESP " + phone); } },
        { "a station that isn't there", 0,
          [] {
              RilkBtmReq req{ { 2, 0, 0, 0, 9, 9 }, 0, 0, 0, 0, {} };
              return rilk_sendBTMReq("wlan0", &req);
          },
          -1, [] { return true; }, "BSS_TM_REQ was refused" },
        { "disconnect", 0, [] { return rilk_disConnectSta("wlan0", phone.c_str()); }, 0,
          [] { return phone_log.has("CTRL-EVENT-DISCONNECTED"); } },
        { "block", 0, [] { return block(0); }, 0, [] { return stations_of("wlan0").empty(); } },
        { "release", 0,
          [] {
              supplicant("wlan2", "select_network 0");
              std::this_thread::sleep_for(5s);
              EXPECT_EQ(stations_of("wlan0"), "") << "blocked";
              const int status = block(1);
              supplicant("wlan2", "select_network 0");
              return status;
          },
          0, [] { return stations_of("wlan0") == phone; }, "", 30s },
    };
    for (const Step &step : steps) take(step);
}

int element(bool add, uint32_t frames) {
    return (add ? rilk_addVendorIE : rilk_delVendorIE)("wlan0", frames, ELEMENT.data(),
                                                       static_cast<uint32_t>(ELEMENT.size()));
}
const char *const SEEN = "OUI 00:11:22, data: 33 44";

const Step elements[] = {
    { "added", 0, [] { return element(true, 3); }, 0, [] { return is_heard(2437, SEEN); } },
    { "put back when hostapd restarts", 5,
      [] {
          sh("kill $(cat /run/hostapd.pid)");
          within(5s, [] { return access("/run/hostapd/wlan0", F_OK) != 0; });
          sh(HOSTAPD);
          within(20s, [] { return is_up("wlan0") == "1" && is_up("wlan1") == "1"; });
          EXPECT_FALSE(is_heard(2437, SEEN)) << "hostapd has forgotten it";
          return 0;
      },
      0,
      [] {
          int32_t channel;
          rilk_getRadioCurChannel("phy0", &channel); // the daemon's poll: what wasn't told in time goes with the next
          return is_heard(2437, SEEN);
      },
      "wlan0: told hostapd anew" },
    { "removed", 0, [] { return element(false, 3); }, 0, [] { return !is_heard(2437, SEEN); } },
    { "gone already", 0, [] { return element(false, 3); }, -1, [] { return true; }, "it isn't there" },
};

TEST_F(Commands, VendorElements) {
    for (const Step &step : elements) take(step);
}

VeskBackhaulCred credential(const char *key) {
    VeskBackhaulCred cred{};
    cred.band = 3, cred.authMode = 32, cred.encryption = 8, cred.channel = 36;
    strcpy(cred.ifName, "wlan3");
    strcpy(cred.ssid, "Lindenhof-bh");
    strcpy(cred.ssidKey, key);
    return cred;
}

/** The library's lines, some of which a thread writes, go to a file. */
struct Spoken {
    static constexpr const char *file = "/tmp/spoken";
    int before = dup(2);
    Spoken() {
        const int fd = open(file, O_WRONLY | O_CREAT | O_TRUNC, 0600);
        dup2(fd, 2);
        close(fd);
    }
    ~Spoken() {
        dup2(before, 2);
        close(before);
    }
    Spoken(const Spoken &) = delete;
    Spoken &operator=(const Spoken &) = delete;
};

TEST_F(Commands, Backhaul) {
    const Spoken spoken;
    const auto hears = [](const char *part) { return read_file(Spoken::file).find(part) != std::string::npos; };
    auto cred = credential("falscher Schluessel");
    EXPECT_EQ(rilk_applyBackhaulCredentialToBsta(&cred), 0);
    EXPECT_TRUE(within(15s, [&] { return hears("wlan3: the key of the backhaul network is wrong"); }));
    cred = credential("hinterm Haus");
    EXPECT_EQ(rilk_applyBackhaulCredentialToBsta(&cred), 0);
    EXPECT_TRUE(within(5s, [] { return stations_of("wlan1b") == agent; }));
    EXPECT_TRUE(within(1s, [&] { return hears("wlan3: has joined"); }));
    EXPECT_EQ(find_all(supplicant("wlan3", "list_networks"), "Lindenhof-bh").size(), 1u);
    VeskBstaAuto wish{ 3, "wlan3", 0, 0, 0 };
    EXPECT_EQ(rilk_setBstaAutoConnect(&wish), 0);
    EXPECT_TRUE(within(5s, [] { return stations_of("wlan1b").empty(); }));
    wish.enableAuto = 1;
    EXPECT_EQ(rilk_setBstaAutoConnect(&wish), 0);
    EXPECT_TRUE(within(10s, [] { return stations_of("wlan1b") == agent; }));
    EXPECT_FALSE(hears("hinterm") || hears("falscher"));
    supplicant("wlan3", "disconnect");
    supplicant("wlan3", "reconfigure");
}

/** Enrolled by push button, the node is given the backhaul's name and key, beside what the library has told it. */
TEST_F(Commands, BackhaulByWps) {
    const Spoken spoken;
    const auto hears = [](const char *part) { return read_file(Spoken::file).find(part) != std::string::npos; };
    const auto onBackhaul = [] {
        const std::string status = supplicant("wlan3", "status");
        return !find(status, "^wpa_state=COMPLETED").empty() && !find(status, "^ssid=Lindenhof-bh").empty();
    };
    const auto networks = [] { return find_all(supplicant("wlan3", "list_networks"), "Lindenhof-bh").size(); };
    auto cred = credential("falscher Schluessel");
    EXPECT_EQ(rilk_applyBackhaulCredentialToBsta(&cred), 0);
    EXPECT_TRUE(within(15s, [&] { return hears("wlan3: the key of the backhaul network is wrong"); }));
    hostapd("wlan0", "wps_pbc");
    supplicant("wlan3", "wps_pbc any multi_ap=1");
    EXPECT_TRUE(within(30s, onBackhaul)) << supplicant("wlan3", "list_networks")
                                         << sh("tail -n 30 /tmp/agent.log /tmp/hostapd.log");
    EXPECT_EQ(networks(), 2u);
    VeskBstaAuto wish{ 3, "wlan3", 0, 0, 0 };
    EXPECT_EQ(rilk_setBstaAutoConnect(&wish), 0);
    EXPECT_TRUE(within(5s, [&] { return !onBackhaul(); }));
    wish.enableAuto = 1;
    EXPECT_EQ(rilk_setBstaAutoConnect(&wish), 0);
    EXPECT_TRUE(within(20s, onBackhaul)) << supplicant("wlan3", "list_networks") << supplicant("wlan3", "status");
    cred = credential("hinterm Haus");
    EXPECT_EQ(rilk_applyBackhaulCredentialToBsta(&cred), 0);
    EXPECT_TRUE(within(10s, [] { return stations_of("wlan1b") == agent; }));
    EXPECT_EQ(networks(), 1u);
    supplicant("wlan3", "disconnect");
    supplicant("wlan3", "reconfigure");
}

/** A line of `bridge vlan` for a port, its VLANs behind each other. */
std::string vlans(const std::string &port) {
    std::string line = sh("bridge vlan show dev " + port + " | tail -n +2 | tr -s ' \\n' ' '");
    return line.substr(0, line.find_last_not_of(' ') + 1);
}

TEST_F(Commands, DefaultVlanAndForwarding) {
    const Joined node("wlan3", 0);
    const std::string own = find(sh("ls /sys/class/net"), "wlan1b\\.sta\\d+");
    const auto learnt = [&] { return sh("bridge fdb show br br0 dynamic").find(agent) != std::string::npos; };
    VeskDot1qCfg cfg{ 20, 0, 0 };
    testing::internal::CaptureStderr();
    EXPECT_EQ(rilk_set8021dotqCfg("wlan1b", &cfg), -1) << "no bridge";
    sh("brctl addbr br0; brctl addif br0 wlan1b; brctl addif br0 " + own + "; ip link set br0 up");
    EXPECT_EQ(rilk_set8021dotqCfg("wlan1b", &cfg), -1) << "a bridge without VLANs";
    sh("echo 1 >/sys/class/net/br0/bridge/vlan_filtering");
    EXPECT_EQ(rilk_set8021dotqCfg("wlan1b", &cfg), 0);
    for (const std::string &port : { std::string("wlan1b"), own })
        EXPECT_EQ(vlans(port), port + " 20 PVID Egress Untagged");
    sh("brctl delif br0 " + own + "; brctl addif br0 " + own);
    int32_t channel;
    EXPECT_EQ(rilk_getRadioCurChannel("phy1", &channel), 0);
    EXPECT_EQ(vlans(own), own + " 20 PVID Egress Untagged")
        << "a port that came back (rule 6: not named by the daemon)";
    sh("ip addr add 10.1.2.3/24 dev wlan3; arping -c 1 -w 1 -I wlan3 10.1.2.1");
    EXPECT_TRUE(learnt()) << sh("bridge fdb show br br0");
    EXPECT_EQ(rilk_cleanHwFwdRule("phy1"), 0);
    EXPECT_FALSE(learnt());
    sh("ip link set br0 down; brctl delbr br0");
    EXPECT_EQ(rilk_cleanHwFwdRule("phy1"), -1);
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_NE(said.find("isn't in a bridge with vlan_filtering"), std::string::npos) << said;
}

} // namespace
