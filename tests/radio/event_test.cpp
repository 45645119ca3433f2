// drelm on real radios: each event against the log of the program that caused it, or what the other side says. `rule`
// is the number of the trap that a row is about, as the list of what trials have found has it; 0 without one.
#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <span>
#include <thread>

#include "include/rilk.h"
#include "include/vesk_event.h"
#include "tests/radio/table.h"

namespace {

const std::string program = "/vesk/lib/nl80211/drelm";

/** What is sent to the daemon's port, while the daemon isn't there: "ID IF BYTES". */
struct Port {
    std::mutex lock;
    std::vector<std::string> heard;
    int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    std::jthread reader;

    Port() {
        const sockaddr_in address = { AF_INET, htons(VESK_EVENT_PORT), { htonl(INADDR_LOOPBACK) }, {} };
        EXPECT_EQ(bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
        const timeval often = { 0, 200000 };
        setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &often, sizeof often);
        reader = std::jthread([this](std::stop_token stop) {
            while (!stop.stop_requested()) read();
        });
    }
    ~Port() {
        reader = {};
        close(fd);
    }
    void read() {
        uint8_t bytes[VESK_EVENT_MAX];
        const ssize_t size = recv(fd, bytes, sizeof bytes, 0);
        VeskEventHeader header;
        if (size < static_cast<ssize_t>(sizeof header)) return;
        memcpy(&header, bytes, sizeof header);
        std::string text = std::to_string(header.eventId) + " " + header.ifName + " ";
        char pair[3];
        for (ssize_t i = sizeof header; i < size; i++) {
            snprintf(pair, sizeof pair, "%02x", bytes[i]);
            text += pair;
        }
        const std::lock_guard guard(lock);
        heard.push_back(text);
    }
    std::vector<std::string> take(const std::string &pattern) {
        const std::lock_guard guard(lock);
        std::vector<std::string> found;
        for (const std::string &one : heard)
            if (!find(one, pattern).empty()) found.push_back(one);
        return found;
    }
    void clear() {
        const std::lock_guard guard(lock);
        heard.clear();
    }
};

std::string digits(std::string mac) {
    std::erase(mac, ':');
    return mac;
}

int lines(const std::string &file, const std::string &pattern) {
    return atoi(sh("grep -c -E '" + pattern + "' " + file).c_str());
}

bool is_attached(const std::string &bss, int times = 1) { return lines("/tmp/drelm.log", bss + ": attached") == times; }

struct Cause {
    const char *name;
    int rule;
    std::string cause;
    std::string event; // at least one of these
    std::string log;   // and as many of them as hostapd's log has new lines of this; "": it logs no such thing
};
const std::string named = "0{32}", phoneBytes = digits(phone), agentBytes = digits(agent);
const std::string onPhone = "wpa_cli -p /run/station -i wlan2 ", onAgent = "wpa_cli -p /run/station -i wlan3 ";
const std::string onAp = "hostapd_cli -p /run/hostapd -i ";
const Cause rows[] = {
    { "the telephone joins, with its request", 0, onPhone + "select_network 0",
      "^3 wlan0 " + named + phoneBytes + ".{4}f{4}.{8}51.*00094c696e64656e686f66", "wlan0: AP-STA-CONNECTED " + phone },
    { "it probes while it scans", 0, onPhone + "scan freq=2437", "^1 wlan0 " + named + phoneBytes + "06..ffffff$", "" },
    { "asks where to go", 0, onPhone + "wnm_bss_query 6", "^8 wlan0 " + named + phoneBytes + "..06", "" },
    { "answers a proposal", 0, onAp + "wlan0 bss_tm_req " + phone + " pref=1 neighbor=02:00:00:00:05:00,0x0000,81,1,7",
      "^9 wlan0 " + named + phoneBytes + "0{12}...*$", "wlan0: BSS-TM-RESP " + phone },
    { "measures", 0, onAp + "wlan0 raw REQ_BEACON " + phone + " 51060000640001ffffffffffff",
      "^10 wlan0 " + named + phoneBytes + "27", "wlan0: BEACON-RESP-RX " + phone },
    { "the radio moves", 0, onAp + "wlan0 chan_switch 5 2462 ht", "^5 wlan0 0000060051.{72}0b0051",
      "wlan0: AP-CSA-FINISHED freq=2462" },
    { "and moves back", 0, onAp + "wlan0 chan_switch 5 2437 ht", "^5 wlan0 00000b0051.{72}060051",
      "wlan0: AP-CSA-FINISHED freq=2437" },
    { "the telephone goes: why", 0, onPhone + "disable_network 0", "^13 wlan0 " + named + phoneBytes + "0300$",
      "wlan0: AP-STA-DISCONNECTED " + phone },
    { "joins once more", 0, onPhone + "select_network 0", "^3 wlan0 " + named + phoneBytes,
      "wlan0: AP-STA-CONNECTED " + phone },
    { "is sent away by us", 0, onPhone + "disable_network all >/dev/null; sleep 1; true",
      "^4 wlan0 " + named + phoneBytes + "$", "wlan0: AP-STA-DISCONNECTED " + phone },
    { "a node with an interface of its own", 6, onAgent + "select_network 0",
      "^3 wlan1b " + named + agentBytes + ".{16}80", "wlan1b: AP-STA-CONNECTED " + agent },
    { "is disassociated by us", 0, onAp + "wlan1b disassociate " + agent, "^13 wlan1b " + named + agentBytes + "0200$",
      "wlan1b: AP-STA-DISCONNECTED " + agent },
    { "a node is enrolled by push button", 0, onAp + "wlan0 wps_pbc; " + onAgent + "wps_pbc any multi_ap=1",
      "^11 wlan0 " + named + agentBytes + "020000000000$", "wlan0: WPS-REG-SUCCESS " + agent },
};
/** Without a cause: what else the one before has caused. */
const Cause widthRow[] = {
    { "another width: no switch, but a restart", 0,
      onAp + "wlan1 chan_switch 5 5180 center_freq1=5180 bandwidth=20 ht vht he; sleep 1",
      "^5 wlan1b? 0003240280.{72}240073", "wlan1: AP-ENABLED" },
};
const Cause radarRows[] = {
    { "the radio has moved", 0, "", "^5 wlan1b? 0003240073.{72}340076", "wlan1: DFS-CAC-START" },
    { "the check is passed", 4, "", "^6 wlan1b? 0334008c1400$", "wlan1: DFS-CAC-COMPLETED success=1" },
    { "radar", 0, "echo 1 > /sys/kernel/debug/ieee80211/phy1/hwsim/dfs_simulate_radar; sleep 5",
      "^7 wlan1b? 0334008c1401$", "wlan1: DFS-RADAR-DETECTED" },
    { "makes it move away", 0, "", "^5 wlan1b? 0203340076", "wlan1: DFS-NEW-CHANNEL" },
};

struct Event : testing::Test {
    static inline Port *port;

    /** The telephone joins: told once, with its request. */
    static void expect_join() {
        port->clear();
        const Joined telephone("wlan2", LINDENHOF_24);
        EXPECT_TRUE(within(5s, [&] { return !port->take("^3 wlan0 .*00094c696e64656e686f66").empty(); }))
            << join_words(port->take("^[^1]")) << sh("tail -n 12 /tmp/hostapd.log; tail -n 5 /tmp/drelm.log");
        EXPECT_EQ(port->take("^3 ").size(), 1u);
    }

    static void SetUpTestSuite() {
        port = new Port;
        sh("sed -i '1s/{/{\"monitor\": true,/' /usr/etc/vesk-radio.json");
        sh(program + " >/tmp/drelm.log 2>&1 &");
        for (const char *bss : { "wlan0", "wlan0b", "wlan0s", "wlan1", "wlan1b", "wlan1o" })
            EXPECT_TRUE(within(10s, [&] { return is_attached(bss); })) << bss << sh("cat /tmp/drelm.log");
        std::this_thread::sleep_for(300ms); // frames are asked for next
    }
    static void TearDownTestSuite() {
        sh(onPhone + "disable_network all; " + onAgent +
           "disconnect; killall drelm; while pidof drelm; do sleep 0.1; done; cp /etc/radio/vesk-radio.json /usr/etc/;"
           " iw dev veskmon0 del; iw dev veskmon1 del");
        delete port;
    }

    static void take(std::span<const Cause> all) {
        std::string said, news = "cat /tmp/hostapd.log | grep -c -E "; // of the last cause
        for (const Cause &row : all) {
            SCOPED_TRACE(row.name);
            if (!row.cause.empty()) {
                port->clear();
                news =
                    "tail -n +" + std::to_string(lines("/tmp/hostapd.log", "") + 1) + " /tmp/hostapd.log | grep -c -E ";
                said = sh(row.cause);
            }
            EXPECT_TRUE(within(90s, [&] { return !port->take(row.event).empty(); }))
                << "rule " << row.rule << ": " << said << join_words(port->take("^[^1]|^1[^ ]"))
                << sh("tail -n 5 /tmp/hostapd.log; tail -n 20 /tmp/drelm.log");
            std::this_thread::sleep_for(100ms);
            const size_t events = port->take(row.event).size();
            if (!row.log.empty()) {
                EXPECT_EQ(std::to_string(events) + "\n", sh(news + "'" + row.log + "'"));
            }
        }
    }
};

TEST_F(Event, EachAsItsCauseLogsIt) { take(rows); }

/** Rule 10: the clients have abstract addresses, and leave nothing in the file system. Rule 7: the daemon starts a
 * second one where it can't find the first. */
TEST_F(Event, OneProgramSmallAndQuiet) {
    EXPECT_EQ(sh("find /run /tmp /usr /etc -type s | grep -v -E '^/run/(hostapd|neighbor|station)/'"), "") << "rule 10";
    EXPECT_EQ(sh("{ " + program + "; echo $?; }"), "drelm: /var/run/drelm.lock: another one is running\n1\n");
    sh(onPhone + "disable_network all; " + onAgent + "disconnect; " + onAgent + "reconfigure"); // nobody scans
    const std::string status = "/proc/" + find(sh("pidof drelm"), "\\d+") + "/status";
    EXPECT_LE(atoi(find(read_file(status), "VmRSS:\\s+(\\d+)").c_str()), 2048);
    const auto woken = [&] { return atoi(find(read_file(status), "^voluntary_ctxt_switches:\\s+(\\d+)").c_str()); };
    const int before = woken();
    std::this_thread::sleep_for(60s);
    EXPECT_LE(woken() - before, 63);
}

/** Somebody else's access point on our channel: its stations are heard by the monitor interface, and our backhaul
 * station joins it and is told the VLAN. */
TEST_F(Event, BesideAnotherAccessPoint) {
    const std::string theirs = "hostapd_cli -p /run/neighbor -i wlan4 ";
    sh(theirs + "set assocresp_elements dd0b506f9a1b06014008021400; " + theirs + "chan_switch 5 2437 ht");
    sh("echo 'ctrl_interface=/run/guest\nnetwork={\nssid=\"Familie Petersen\"\npsk=\"petersen24\"\nscan_freq=2437\n}'"
       " >/tmp/guest.conf; echo ctrl_interface=/run/station >/tmp/bsta.conf");
    port->clear();
    sh("wpa_supplicant -B -i bsta0 -c /tmp/bsta.conf -P /run/bsta.pid -f /tmp/bsta.log");
    EXPECT_TRUE(within(5s, [] { return lines("/tmp/drelm.log", "bsta0: attached") > 0; }));
    std::this_thread::sleep_for(125s); // a registrar refuses a second enrollee within the walk time of two minutes
    sh(theirs + "wps_pbc; wpa_cli -p /run/station -i bsta0 wps_pbc");
    EXPECT_TRUE(within(30s, [&] { return !port->take("^11 bsta0 " + named + ".{12}020000000400$").empty(); }))
        << sh("cat /tmp/bsta.log");
    EXPECT_EQ(port->take("^11 ").size(), 1u);
    EXPECT_FALSE(port->take("^12 bsta0 " + named + "0200000004001400").empty());
    EXPECT_EQ(lines("/tmp/bsta.log", "bsta0: WPS-SUCCESS"), 1);
    sh("kill $(cat /run/bsta.pid)");
    sh(onPhone + "terminate; wpa_supplicant -B -i wlan2 -c /tmp/guest.conf -P /run/guest.pid");
    EXPECT_TRUE(within(20s, [] { return !find(sh("iw dev wlan2 link"), "Connected to 02:00:00:00:04:00").empty(); }));
    std::this_thread::sleep_for(2s);
    port->clear();
    sh("ip addr add 10.9.9.2/24 dev wlan2; ping -c 1 -W 1 10.9.9.1; ip addr flush dev wlan2");
    EXPECT_GE(port->take("^1 wlan0 " + named + phoneBytes + "06").size(), 1u) << sh("cat /tmp/drelm.log");
    sh("kill $(cat /run/guest.pid); sleep 1; wpa_supplicant -B -i wlan2 -c /etc/radio/phone.conf -f /tmp/phone.log; " +
       theirs + "chan_switch 5 2412 ht");
    EXPECT_TRUE(within(10s, [] { return access("/run/station/wlan2", F_OK) == 0; }));
}

/** hostapd is killed and started again with another file for 5 GHz. */
void restart_with(const std::string &file) {
    sh("for p in $(pidof hostapd); do grep -q access24 /proc/$p/cmdline && kill -9 $p; done; rm -f /tmp/hostapd.log "
       "/run/hostapd/*; "
       "sleep 1; hostapd -B -t -P /run/hostapd.pid -f /tmp/hostapd.log /etc/radio/access24.conf " +
       file);
    EXPECT_TRUE(within(10s, [&] { return sh("grep -h up /sys/class/net/wlan[01]/operstate | wc -l") == "2\n"; }));
}

/** Rules 1 and 4, with radar detection, which needs a country, and without the control socket of one access point. */
TEST_F(Event, ARadarChannelAndAnAccessPointWithoutSocket) {
    sh("sed -e '/^interface=/a country_code=US\\nieee80211d=1\\nieee80211h=1' -e '/^bss=wlan1o/,$ { /ctrl_interface/d "
       "}'"
       " /etc/radio/access5.conf >/tmp/radar5.conf");
    restart_with("/tmp/radar5.conf");
    EXPECT_TRUE(within(2s, [&] { return is_attached("wlan1", 2) && is_attached("wlan1b", 2); }));
    EXPECT_TRUE(is_attached("wlan1o")) << "the first time";
    const std::string said = sh("vesk-setup --dry-run");
    EXPECT_NE(find(said, "wlan1o has no control socket"), "") << said;
    uint8_t is_up_there = 0;
    EXPECT_EQ(rilk_initDriver() + rilk_getVapStatus("wlan1o", &is_up_there), 0);
    EXPECT_EQ(is_up_there, 1);

    take(widthRow);
    port->clear();
    EXPECT_EQ(rilk_setRadioChanSpec("phy1", 0, 52), 0);
    EXPECT_TRUE(within(5s, [] { return hostapd("wlan1", "status").find("state=DFS") != std::string::npos; }));
    const auto is_heard = [] {
        return sh("iw dev wlan3 scan freq 5260 flush passive").find("Lindenhof") != std::string::npos;
    };
    EXPECT_FALSE(is_heard());
    const auto is_off = [] {
        uint8_t status = 1;
        return rilk_getRadioStatus("phy1", &status) == 0 && status == 0;
    };
    EXPECT_TRUE(within(2s, is_off)) << "the kernel takes up to a second to say so" << info("wlan1");
    take(std::span(radarRows).first(2));
    EXPECT_TRUE(is_heard());
    take(std::span(radarRows).last(2));
}

/** Rule 5, which also puts the radio back to where it was. */
TEST_F(Event, RestartAndReloadOfHostapd) {
    const auto attached = [] { return lines("/tmp/drelm.log", "wlan[01]o?: attached"); };
    const int before = attached();
    restart_with("/etc/radio/access5.conf");
    EXPECT_TRUE(within(2s, [&] { return attached() == before + 3; })) << sh("cat /tmp/drelm.log");
    expect_join();
    sh("kill -HUP $(pidof hostapd)"); // the file's settings, without a word
    std::this_thread::sleep_for(62s);
    expect_join();
}

/** The kernel doesn't ask whether the channel is one for which radar counts. */
TEST_F(Event, RadarOnTheOperatingChannelIsToldOnce) {
    port->clear();
    sh("echo 1 > /sys/kernel/debug/ieee80211/phy1/hwsim/dfs_simulate_radar");
    EXPECT_TRUE(within(5s, [&] { return !port->take("^7 wlan1 0324023c1401$").empty(); }));
    std::this_thread::sleep_for(500ms);
    EXPECT_EQ(port->take("^[567] ").size(), 1u) << join_words(port->take("^[567] "));
}

} // namespace
