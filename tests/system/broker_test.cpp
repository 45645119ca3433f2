// A broker that goes away and comes back: the daemon lives on with its model, its object, its subscriptions
// and the signals it couldn't send.
#include "tests/system/harness.h"

#include <sys/wait.h>

#include "include/vesk_event.h"

namespace {

std::string radio_info() {
    return Bus().call("getRadioInfo", [](blob_buf *b) { blobmsg_add_u32(b, "band", 3); }).record;
}

/** Calls and inbound signals, as quickly as they go, to the end of the child. */
void load() {
    for (;; usleep(2000)) {
        Bus bus;
        bus.call("getStaInfo", [](blob_buf *b) { blobmsg_add_string(b, "vapName", "ath0"); });
        bus.call("getRadioInfo");
        bus.send(VESK_SIGNAL_SET_STA_ENABLE, std::string(4, '\1'));
    }
}

struct Restart : System {
    /** The broker anew; the daemon's object comes back by itself. */
    void restartBroker() {
        startBroker();
        ASSERT_TRUE(eventually(on_the_bus));
        ASSERT_TRUE(runs(daemon));
    }

    long residentKiB() const {
        const std::string status = read_file("/proc/" + std::to_string(daemon.pid) + "/status");
        return std::stol(status.substr(status.find("VmRSS:") + 6));
    }
};

TEST_F(Restart, FiftyTimesUnderLoadCostsNothing) {
    startBoth();
    const std::string radio = radio_info();
    ASSERT_EQ(radio.size(), 308u);
    const pid_t caller = in_child(load);
    broker.kill();
    ASSERT_NO_FATAL_FAILURE(restartBroker());
    const long resident = residentKiB();
    const size_t open = descriptors_of(daemon.pid);
    const pid_t pid = daemon.pid;
    for (int round = 1; round <= 50; round++) {
        SCOPED_TRACE(round);
        Wire sleeper(busSocket), dying(busSocket);
        EXPECT_NE(sleeper.hear("*"), 0u); // and never reads
        dying.send(event(VESK_SIGNAL_SET_STA_ENABLE, "").substr(0, 30));
        shutdown(dying.fd, SHUT_RDWR);
        EXPECT_TRUE(on_the_bus());
        broker.kill();
        send_event(VESK_EVENT_RADAR, "wifi1", std::to_string(100000 + round));
        ASSERT_NO_FATAL_FAILURE(restartBroker());
    }
    Bus bus;
    send_event(VESK_EVENT_RADAR, "wifi1", "100051");
    EXPECT_TRUE(bus.listen([&] { return bus.signals.size() >= 51; }));
    for (size_t i = 0; i < bus.signals.size(); i++)
        EXPECT_EQ(bus.signals[i].payload, std::to_string(100001 + i)) << bus.signals[i].name;
    EXPECT_EQ(waitpid(caller, nullptr, WNOHANG), 0); // it has called to the end
    end_child(caller);
    EXPECT_EQ(daemon.pid, pid);
    EXPECT_EQ(radio_info(), radio);
    EXPECT_LE(residentKiB() - resident, *VESK_EMULATOR ? 2048 : 512); // an emulator keeps what it translates
    EXPECT_TRUE(eventually([&] { return descriptors_of(daemon.pid) <= open; })) << open;
    EXPECT_TRUE(eventually([&] { // the subscription follows the object
        bus.send(VESK_SIGNAL_SET_LOG_LEVEL, log_record(2));
        return contains(daemon.err(), "level=[2]\r\n");
    }));
}

TEST_F(Restart, ASignalEndsTheDaemonWhileTheBrokerIsAway) {
    startBoth();
    broker.kill();
    unlink(busSocket.c_str());
    const int mute = listen_at(busSocket);        // a broker that greets nobody
    ASSERT_GE(accept(mute, nullptr, nullptr), 0); // the daemon has noticed, and looks for the next one
    kill(daemon.pid, SIGTERM);
    EXPECT_EQ(finish(daemon), 0);
}

} // namespace
