// Roads through the whole system: an event, a scan, a channel change, a storm, and each inbound signal.
#include "tests/system/harness.h"

#include <iterator>
#include <sstream>

#include "include/vesk_event.h"

namespace {

/** A device that is scanned in seconds, with no traffic and one station, and the daemon to match. */
void small_device() {
    write_file("/tmp/vesk-sim.json",
               R"({"radios":[{"channels":[1,6],"channel":6,"vaps":[{"name":"ath0","stations":[
               {"mac":"02:aa:00:00:00:01","rssi":-50,"time":7}]}]},{"channels":[36,40],"channel":36}]})");
    configure("VESK_SCAN_CONFIG=1\nVESK_SCAN_FIRST_INTERVAL=0\nVESK_SCAN_24G_INTERVAL=5\n"
              "VESK_CH_CHANGE_INTERVAL=1\nVESK_TRIGGER_INTF_INTERVAL=1\n");
}

int count_at(const std::string &record, size_t offset) {
    int32_t value = 0;
    memcpy(&value, record.data() + offset, sizeof value);
    return value;
}

const auto on_ath0 = [](blob_buf *b) { blobmsg_add_string(b, "vapName", "ath0.v0"); };
const auto on_5ghz = [](blob_buf *b) { blobmsg_add_u32(b, "band", 3); };

TEST_F(System, AJoinBecomesASignalAndThenAStation) {
    small_device();
    startBoth();
    Bus bus;
    std::string body(sizeof(VeskClientJoinEvent), '\0');
    body.replace(16, 6, std::string("\x02\xaa\0\0\0\x01", 6)).back() = 1; // 802.11k
    send_event(VESK_EVENT_CLIENT_JOIN, "ath0", body);
    ASSERT_TRUE(bus.hears(VESK_SIGNAL_CLIENT_JOIN));
    const std::string &join = bus.find(VESK_SIGNAL_CLIENT_JOIN)->payload;
    ASSERT_EQ(join.size(), sizeof(VeskClientJoin));
    EXPECT_STREQ(join.c_str(), "ath0.v0");
    EXPECT_EQ(join[26], 6); // the radio's channel, filled in by the daemon
    EXPECT_TRUE(eventually([&] { return count_at(bus.call("getStaInfo", on_ath0).record, 0) == 1; }));
    EXPECT_EQ(bus.call("getStaInfo", on_ath0).record[24 + 47], 1);
    send_event(VESK_EVENT_CLIENT_LEAVE, "ath0", body.substr(0, 22));
    EXPECT_TRUE(bus.hears(VESK_SIGNAL_CLIENT_LEAVE));
}

/** The device of the test before, without the role that the flag waits for: until `isGiven`. */
void give_role(bool isGiven) {
    const std::string device = read_file("/tmp/vesk-sim.json");
    const std::string fault = R"({"functions":{"hul_EM_getWorkRole":{"rc":-1}},)";
    write_file("/tmp/vesk-sim.json", isGiven ? "{" + device.substr(fault.size()) : fault + device.substr(1));
}

TEST_F(System, BothRadiosAreScannedAndTheDeviceIsReady) {
    small_device();
    give_role(false);
    startBoth();
    Bus bus;
    std::string log;
    EXPECT_TRUE(eventually([&] { return contains(log = read_file("/tmp/vesk.log"), " Not ready continue"); }));
    EXPECT_GT(log.find("reate ready file"), log.find(" Not ready continue"));
    give_role(true);
    EXPECT_TRUE(eventually([] { return exists("/tmp/vesk_ready"); }));
    EXPECT_EQ(bus.call("getScanStatus").record, std::string(1, 1));
    const Answer scan = bus.call("getOffChannelInfo", on_5ghz);
    EXPECT_EQ(scan.result, 0);
    EXPECT_EQ(count_at(scan.record, 4), 2);
    EXPECT_EQ(count_at(scan.record, 8), 36);
    EXPECT_LT(count_at(scan.record, 8 + 12), 0); // noise
    EXPECT_TRUE(contains(read_file("/tmp/vesk-sim.log"), "channel=40 dwell="));
}

TEST_F(System, AChannelIsSetAndTheChangeAnnounced) {
    small_device();
    startBoth();
    Bus bus;
    const Answer answer = bus.call("setChannel", [](blob_buf *b) {
        const WireChannel data = { 40, 5 };
        blobmsg_add_u32(b, "band", 3);
        blobmsg_add_field(b, BLOBMSG_TYPE_UNSPEC, "data", &data, sizeof data);
    });
    EXPECT_EQ(answer.result, 0);
    ASSERT_TRUE(bus.hears(VESK_SIGNAL_CH_CHANGE));
    const std::string &change = bus.find(VESK_SIGNAL_CH_CHANGE)->payload;
    EXPECT_EQ(change[2], 36);
    EXPECT_EQ(change[41], 40);
}

/** Datagrams that the kernel didn't put into the daemon's socket, which was full. */
size_t dropped() {
    const std::string sockets = read_file("/proc/net/udp");
    std::istringstream line(sockets.substr(sockets.find(":A431 "), 110));
    const std::vector<std::string> fields(std::istream_iterator<std::string>(line), {});
    return std::stoul(fields.at(11));
}

/** Every join and leave that reaches the socket becomes a signal. The first sender waits for the daemon, and nothing is
 * lost. The second one sends while the daemon can't read: what the socket didn't take, the kernel has counted. */
TEST_F(System, AStormOfJoinsAndLeavesLosesNothing) {
    startBoth();
    Bus bus;
    const auto heard = [&] {
        return static_cast<size_t>(std::ranges::count_if(bus.signals, [](const Signal &s) {
            return s.name == VESK_SIGNAL_CLIENT_JOIN || s.name == VESK_SIGNAL_CLIENT_LEAVE;
        }));
    };
    bus.send(VESK_SIGNAL_SET_LOG_LEVEL, log_record(3));
    Wire sleeper(busSocket); // is let go by the broker, and nobody else notices
    EXPECT_NE(sleeper.hear("*"), 0u);
    for (int i = 0; i < 40; i++) EXPECT_EQ(bus.send("noise", std::string(100000, 'n')), 0);
    const size_t events = 4000, gap = 32;
    for (size_t sent = 1; sent <= events; sent++) {
        const uint32_t id = sent % 2 ? VESK_EVENT_CLIENT_JOIN : VESK_EVENT_CLIENT_LEAVE;
        send_event(id, "ath0", std::string(id == VESK_EVENT_CLIENT_JOIN ? sizeof(VeskClientJoinEvent) : 22, '\0'));
        ASSERT_TRUE(sent % gap != 0 || bus.listen([&] { return heard() + gap > sent; })) << heard();
    }
    EXPECT_TRUE(bus.listen([&] { return heard() == events; })) << heard();
    EXPECT_EQ(dropped(), 0u);

    write_file("/tmp/storm", "storm ath0 1000 1000000\n");
    kill(daemon.pid, SIGSTOP);
    Child sender("drelm", { "/tmp/storm" });
    EXPECT_EQ(finish(sender), 0);
    kill(daemon.pid, SIGCONT);
    EXPECT_TRUE(bus.listen([&] { return heard() + dropped() >= events + 2000; })) << heard() << " " << dropped();
    EXPECT_EQ(heard() + dropped(), events + 2000);
    EXPECT_GT(dropped(), 0u);
    EXPECT_TRUE(sleeper.closed());
    EXPECT_TRUE(runs(daemon));
}

TEST_F(System, InboundSignalsSwitchTheDaemon) {
    small_device();
    startBoth();
    Bus bus;
    // clang-format off
    const struct { const char *signal; std::string payload; const char *line; } cases[] = {
        { VESK_SIGNAL_SET_LOG_LEVEL, log_record(7), " vesk_getScanStatus\n" },
        { VESK_SIGNAL_SET_SCAN_ENABLE, word(0), " offScan->scanCfg[1].bstaAuto.enableAuto=1\n" },
        { VESK_SIGNAL_SET_SCAN_ENABLE, word(1), " set offScan->scanEnable = 1\n" },
        { VESK_SIGNAL_NOTIFY_WLAN_CHANGE, word(1), " radioInfo[0].intfPollEnable = 0\n" },
        { VESK_SIGNAL_SET_INTF_STAT_ENABLE, word(0), " Set interface statistics status=0\r\n" },
        { VESK_SIGNAL_SET_STA_ENABLE, word(0), " vesk_set_sta_timer_status, status=0" },
        { VESK_SIGNAL_SET_CHANNEL_CHANGE_ENABLE, word(0), " Set channel change polling status=0\r\n" },
        { VESK_SIGNAL_SET_STA_ENABLE, std::string(3, '\1'), " Size = 3 sizeof = 4, parameter mismatched\n" },
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.signal);
        bus.send(c.signal, c.payload);
        bus.call("getScanStatus");
        EXPECT_TRUE(eventually([&] { return contains(read_file("/tmp/vesk.log"), c.line); }));
    }
    bus.send(VESK_SIGNAL_NOTIFY_1905_VLAN_IF, std::string(370, 'v'));
    ASSERT_TRUE(bus.hears(VESK_SIGNAL_1905_VLAN_IF));
    EXPECT_EQ(bus.find(VESK_SIGNAL_1905_VLAN_IF)->payload, std::string(370, 'v'));
    for (int32_t value : { 0, 1, 1 }) {
        bus.send(VESK_SIGNAL_SET_UBUS_OBJ, word(value));
        EXPECT_TRUE(eventually([&] { return on_the_bus() == (value != 0); }));
    }
    bus.send(VESK_SIGNAL_SET_LOG_DESTINATION, word(0) + "/tmp/other.log" + std::string(18, '\0'));
    EXPECT_TRUE(eventually([] { return contains(read_file("/tmp/other.log"), "logifle=[/tmp/other.log]"); }));
}

} // namespace
