// The whole way: a real station, hostapd, drelm as the daemon's watchdog starts it, the daemon, the bus, and the
// decoded signal in veskctl watch.
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <sstream>
#include <thread>
#include <utility>

#include "tests/radio/crowd.h"
#include "tests/radio/script.h"

namespace {

/** A station that the kernel connects by itself to the open access point: wpa_supplicant, which scans first, takes the
 * guest longer than all the rest. And hostapd's word for it. */
struct Visitor {
    nl_sock *kernel = nl_socket_alloc();
    int family, hostapd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    Visitor() {
        genl_connect(kernel);
        family = genl_ctrl_resolve(kernel, "nl80211");
        const sockaddr_un own = { AF_UNIX, "" }, to = { AF_UNIX, "/run/hostapd/wlan1o" };
        const timeval patience = { 20, 0 };
        setsockopt(hostapd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        EXPECT_EQ(bind(hostapd, reinterpret_cast<const sockaddr *>(&own), sizeof own.sun_family), 0);
        EXPECT_EQ(connect(hostapd, reinterpret_cast<const sockaddr *>(&to), sizeof to), 0);
        send(hostapd, "ATTACH", 6, 0);
        supplicant("wlan2", "terminate; sleep 1; ip link set wlan2 up; iw dev wlan2 scan freq 5180");
    }
    ~Visitor() {
        close(hostapd);
        nl_socket_free(kernel);
        sh("wpa_supplicant -B -i wlan2 -c /etc/radio/phone.conf -f /tmp/phone.log");
        EXPECT_TRUE(within(10s, [] { return access("/run/station/wlan2", F_OK) == 0; }));
    }
    bool is_told(uint8_t command, const char *event) {
        nl_msg *message = nlmsg_alloc();
        genlmsg_put(message, 0, 0, family, 0, NLM_F_ACK, command, 0);
        nla_put_u32(message, NL80211_ATTR_IFINDEX, if_nametoindex("wlan2"));
        nla_put(message, NL80211_ATTR_SSID, 14, "Lindenhof-Gast");
        nla_put_u32(message, NL80211_ATTR_WIPHY_FREQ, 5180);
        nla_put_u16(message, NL80211_ATTR_REASON_CODE, 3);
        EXPECT_EQ(nl_send_sync(kernel, message), 0);
        char text[4096];
        for (ssize_t size; (size = recv(hostapd, text, sizeof text, 0)) > 0;)
            if (std::string_view(text, static_cast<size_t>(size)).find(event) != std::string_view::npos) return true;
        return false;
    }
    /** `after` each of the two. */
    void come_and_go(
        size_t times, const std::function<void()> &after = [] {}) {
        for (size_t i = 0; i < times; i++) {
            ASSERT_TRUE(is_told(NL80211_CMD_CONNECT, "AP-STA-CONNECTED")) << i;
            after();
            ASSERT_TRUE(is_told(NL80211_CMD_DISCONNECT, "AP-STA-DISCONNECTED")) << i;
            after();
        }
        std::this_thread::sleep_for(1s);
    }
};

/** What a log tells of, and when, in seconds of the day. */
struct Told {
    bool isFirst; // of the two kinds
    double time;
};
std::vector<Told> told(const char *log, size_t begin, const std::string &first, const std::string &second) {
    std::vector<Told> all;
    std::istringstream lines(read_file(log).substr(begin));
    for (std::string line; std::getline(lines, line);) {
        const bool isFirst = line.find(first) != std::string::npos;
        int hour, minute;
        double s;
        if (!isFirst && line.find(second) == std::string::npos) continue;
        const bool isClock = sscanf(line.c_str(), "%*d-%*d-%*d %d:%d:%lf", &hour, &minute, &s) == 3;
        all.push_back({ isFirst, isClock ? hour * 3600 + minute * 60 + s : fmod(atof(line.c_str()), 86400) });
    }
    return all;
}

/** From one log's lines to the other's, in ms and order of size; empty, with a failure, where they don't belong
 * together. */
std::vector<double> delays(const std::vector<Told> &causes, const std::vector<Told> &effects) {
    std::vector<double> all;
    EXPECT_EQ(causes.size(), effects.size());
    for (size_t i = 0; i < std::min(causes.size(), effects.size()); i++) {
        EXPECT_EQ(causes[i].isFirst, effects[i].isFirst) << i;
        all.push_back((effects[i].time - causes[i].time) * 1000);
    }
    std::sort(all.begin(), all.end());
    return all;
}

struct Road : testing::Test {
    static void SetUpTestSuite() {
        sh("vesk-busd >/dev/null 2>&1 &");
        sh("PATH=/vesk/lib/nl80211:$PATH LD_LIBRARY_PATH=/vesk/lib/nl80211 vesk >/dev/null 2>/tmp/vesk.err &");
        EXPECT_TRUE(within(30s, [] { return !find(sh("pidof drelm"), "\\d").empty(); })) << sh("cat /tmp/vesk.err");
        EXPECT_TRUE(within(10s, [] { return sh("veskctl version").find("error") == std::string::npos; }));
        std::this_thread::sleep_for(3s);
        sh("veskctl watch >/tmp/watch.log 2>&1 &");
        std::this_thread::sleep_for(500ms);
    }
    static void TearDownTestSuite() { sh("killall veskctl vesk vesk-busd drelm"); }
    std::vector<Told> seen() { return told("/tmp/watch.log", watched, "veskClientJoin", "veskClientLeave"); }
    const size_t watched = read_file("/tmp/watch.log").size(), logged = read_file("/tmp/hostapd.log").size();
};

[[maybe_unused]] const bool isReady = add_tests<Road>("Road", "road.rows");

/** None lost, none doubled, and hardly one late. One after the other: packing the log, which the daemon does once in
 * 500 pairs, takes the guest 0.4 s. */
TEST_F(Road, AThousandJoinsAndLeaves) {
    off_t size = 0;
    const auto has_grown = [&] {
        struct stat now {};
        stat("/tmp/watch.log", &now);
        return std::exchange(size, now.st_size) != now.st_size;
    };
    has_grown();
    Visitor().come_and_go(1000, [&] { within(2s, has_grown, 1ms); });
    const std::string by = "wlan1o: AP-STA-", connected = "CONNECTED " + phone;
    const auto all = delays(told("/tmp/hostapd.log", logged, by + connected, by + "DIS" + connected), seen());
    ASSERT_EQ(all.size(), 2000u);
    EXPECT_LE(all[1980], 10) << "the last one " << all.back();
}

/** Stopped for a while: what came meanwhile is told when it runs again, and what comes then. */
TEST_F(Road, AfterAStop) {
    Visitor visitor;
    sh("killall -STOP drelm");
    visitor.come_and_go(15);
    EXPECT_EQ(seen().size(), 0u);
    sh("killall -CONT drelm; sleep 2");
    EXPECT_EQ(seen().size(), 30u);
    visitor.come_and_go(3);
    EXPECT_EQ(seen().size(), 36u);
}

/** The method is answered at once, and the daemon calls the library two seconds later. */
TEST_F(Road, ASwitchIsAnnouncedInTime) {
    const std::string byEvent = "veskChChange reason=0", byPoll = "veskChChange reason=1"; // seconds later
    std::vector<Told> asked;
    for (const char *channel : { "01", "06" }) {
        timespec now;
        clock_gettime(CLOCK_REALTIME, &now);
        asked.push_back({ true, static_cast<double>(now.tv_sec % 86400) + static_cast<double>(now.tv_nsec) / 1e9 });
        sh(std::string("veskctl call setChannel band=0 data=") + channel + "00000000000000");
        const auto polled = [&] { return told("/tmp/watch.log", watched, byPoll, byPoll).size() == asked.size(); };
        EXPECT_TRUE(within(20s, polled)) << "the channel that the daemon polled last isn't set once more";
    }
    const auto all = delays(asked, told("/tmp/watch.log", watched, byEvent, byEvent));
    ASSERT_EQ(all.size(), 2u);
    EXPECT_LE(all[1], 2000 + 600);
}

} // namespace
