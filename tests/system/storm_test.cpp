// A storm of events through the whole system; the other roads are rows (rows/roads.rows).
#include "tests/system/harness.h"

#include <iterator>
#include <sstream>

#include "include/vesk_event.h"

namespace {

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

} // namespace
