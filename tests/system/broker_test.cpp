// A broker that goes away and comes back: the daemon lives on with its model, its object, its subscriptions
// and the signals it couldn't send.
#include "tests/system/harness.h"

#include <csignal>
#include <cstring>

#include "include/vesk_event.h"

namespace
{

using Clock = std::chrono::steady_clock;

struct Broker : System {
    /** The broker anew; the daemon's object has to be back within 2 seconds of its socket. */
    void restartBroker()
    {
        broker.kill();
        startBroker();
        auto from = Clock::now();
        ASSERT_TRUE(eventually(PATIENCE, on_the_bus));
        EXPECT_LE(Clock::now() - from, 2s + 500ms);
    }

    bool hearsLogLevel(uint32_t level)
    {
        std::string line = "vesk.log vesk_setLogLevelSignal level=[" + std::to_string(level) + "]\r\n";
        Bus bus;
        return eventually(2s, [&] { // the subscription follows the object
            bus.send("tamlo.pelk.vesk.setLogLevel", log_record(level));
            return contains(daemon.err(), line);
        });
    }

    bool sendsRadar(const std::string &body)
    {
        Bus bus;
        send_event(VESK_EVENT_RADAR, "wifi1", body);
        return bus.listen(2s, [&] { return bus.find(VESK_SIGNAL_RADAR_NOTIF) != nullptr; }) &&
               bus.find(VESK_SIGNAL_RADAR_NOTIF)->payload == body;
    }
};

TEST_F(Broker, SignalsFlowInBothDirections)
{
    startBoth();
    EXPECT_TRUE(hearsLogLevel(5));
    EXPECT_TRUE(sendsRadar("\x01\x02\x03\x04\x05\x06"));
}

TEST_F(Broker, RestartLosesNothing)
{
    startBoth();
    std::string radio = Bus().call("getRadioInfo", [](blob_buf *b) { blobmsg_add_u32(b, "band", 3); }).record;
    ASSERT_EQ(radio.size(), 308u);
    pid_t pid = daemon.pid;
    for (uint32_t round = 1; round <= 3; round++) {
        SCOPED_TRACE(round);
        ASSERT_NO_FATAL_FAILURE(restartBroker());
        ASSERT_TRUE(runs(daemon));
        EXPECT_TRUE(hearsLogLevel(round));
        EXPECT_TRUE(sendsRadar("radar" + std::to_string(round)));
    }
    EXPECT_EQ(daemon.pid, pid);
    EXPECT_EQ(Bus().call("getRadioInfo", [](blob_buf *b) { blobmsg_add_u32(b, "band", 3); }).record, radio);
}

TEST_F(Broker, SignalsWaitWhileItIsAway)
{
    startBoth();
    broker.kill();
    ASSERT_TRUE(eventually(PATIENCE, [] { return !on_the_bus(); }));
    const std::string bodies[] = { "first.", "second", "third." };
    for (const std::string &body : bodies)
        send_event(VESK_EVENT_RADAR, "wifi1", body);

    startBroker();
    Bus bus;
    EXPECT_TRUE(bus.listen(PATIENCE, [&] { return bus.signals.size() >= std::size(bodies); }));
    ASSERT_EQ(bus.signals.size(), std::size(bodies));
    for (size_t i = 0; i < std::size(bodies); i++) {
        EXPECT_EQ(bus.signals[i].name, VESK_SIGNAL_RADAR_NOTIF);
        EXPECT_EQ(bus.signals[i].payload, bodies[i]);
    }
}

TEST_F(Broker, EndsOnASignalWhileItIsAway)
{
    startBoth();
    broker.kill();
    usleep(300000); // the daemon has noticed
    kill(daemon.pid, SIGTERM);
    EXPECT_EQ(finish(daemon, 2s), 0);
}

} // namespace
