// From the first instruction to the end of the process: the wait for the bus, the one instance, the first
// signal, the ends.
#include "tests/system/harness.h"

#include <fcntl.h>

#include "include/vesk_event.h"

namespace {

const char waiting[] = "\nUbusd not running, run ubusd firstly !!\r\n";
const char refused[] = "\nVesk already running.\r\n";

TEST_F(System, WaitsForTheBus) {
    daemon = Child("vesk");
    ASSERT_TRUE(eventually([&] { return contains(daemon.err(), waiting); }));
    EXPECT_EQ(daemon.err().find(waiting), 0u); // nothing comes before it
    EXPECT_FALSE(exists("/var/run/vesk.pid") || exists("/tmp/vesk.log"));
    kill(daemon.pid, SIGTERM);
    EXPECT_EQ(finish(daemon), 256 + SIGTERM); // no handler yet: the default action
    daemon = Child("vesk");
    ASSERT_TRUE(eventually([&] { return contains(daemon.err(), waiting); }));
    startBroker();
    EXPECT_TRUE(eventually(on_the_bus));
    EXPECT_TRUE(contains(daemon.err(), "Vesk is starting ... \n"));
}

TEST_F(System, TwoWaitingInstancesAreSettledByTheLock) {
    Child first("vesk"), second("vesk");
    for (Child *child : { &first, &second }) ASSERT_TRUE(eventually([&] { return contains(child->err(), waiting); }));
    startBroker();
    ASSERT_TRUE(eventually(on_the_bus));
    ASSERT_TRUE(eventually([&] { return contains(first.err() + second.err(), refused); }));

    Child &loser = contains(first.err(), refused) ? first : second;
    EXPECT_EQ(finish(loser), 255);
    EXPECT_TRUE(runs(&loser == &first ? second : first));
}

TEST_F(System, RefusedInstanceTouchesNothing) {
    startBroker();
    struct flock lock = { F_WRLCK, SEEK_SET, 0, 1, 0 };
    int fd = open("/var/run/vesk.pid", O_WRONLY | O_CREAT, 0666);
    ASSERT_EQ(fcntl(fd, F_SETLK, &lock), 0); // this test is the first instance
    write_file("/tmp/vesk.log", std::string(1048577, 'x'));

    daemon = Child("vesk");
    EXPECT_EQ(finish(daemon), 255);
    EXPECT_EQ(daemon.err(), refused);
    EXPECT_EQ(read_file("/tmp/vesk.log").size(), 1048577u); // not rotated, nothing added
    EXPECT_FALSE(exists("/configs/vesk/vesk.conf"));
    close(fd);
}

TEST_F(System, SecondInstanceLeavesTheFirstAlone) {
    startBoth();
    for (int i = 0; i < 2; i++) { // the first refusal leaves the lock in place
        Child second("vesk");
        EXPECT_EQ(finish(second), 255);
        EXPECT_EQ(second.err(), refused);
    }
    EXPECT_TRUE(exists("/var/run/vesk.pid"));
    EXPECT_TRUE(read_file("/var/run/vesk.pid").empty());
    EXPECT_TRUE(runs(daemon));
    EXPECT_EQ(Bus().call("getVersionInfo").status, 0);
}

TEST_F(System, SurvivesBeingKilled) {
    startBoth();
    write_file("/tmp/vesk_ready", "");
    daemon.kill();
    ASSERT_TRUE(exists("/var/run/vesk.pid"));
    ASSERT_TRUE(eventually([] { return !on_the_bus(); }));
    startDaemon();
    EXPECT_EQ(Bus().call("getVersionInfo").status, 0);
    EXPECT_TRUE(exists("/tmp/vesk_ready"));
}

TEST_F(System, AnnouncesTheBackhaulStationAtStart) {
    startBroker();
    Child watch("veskctl", { "watch" });
    Bus bus;
    ASSERT_TRUE(eventually([&] { // the watcher has subscribed when it shows a signal of ours
        bus.send(VESK_SIGNAL_RADAR_NOTIF, "radar.");
        return contains(watch.out(), "veskRadarNotif");
    })) << watch.err();

    startDaemon();
    ASSERT_TRUE(bus.hears(VESK_SIGNAL_IF_STATUS));
    std::string status = bus.find(VESK_SIGNAL_IF_STATUS)->payload;
    ASSERT_EQ(status.size(), sizeof(VeskIfStatus));
    EXPECT_EQ(status[16], 1);
    const std::string shown = std::string("veskIfStatusChange ifName=") + status.c_str();
    EXPECT_TRUE(eventually([&] { return contains(watch.out(), shown); })) << watch.out();
}

const auto end_line = [](int signal) {
    return "[vesk] Signal received [" + std::to_string(signal) + "]. Exiting ...\r\n";
};

TEST_F(System, EndsOnSignals) {
    startBroker();
    for (const int signal : { SIGINT, SIGQUIT, SIGTERM }) {
        ASSERT_NO_FATAL_FAILURE(startDaemon());
        kill(daemon.pid, signal);
        EXPECT_EQ(finish(daemon), 0) << signal;
        EXPECT_TRUE(contains(daemon.err(), end_line(signal)));
        EXPECT_TRUE(contains(read_file("/tmp/vesk.log"), " wl driver deinit\n")); // the clean-up chain ran
        ASSERT_TRUE(eventually([] { return !on_the_bus(); }));
        unlink("/tmp/vesk.log");
    }
}

TEST_F(System, EndsOnASignalThatComesBeforeTheLoop) {
    startBroker();
    daemon = Child("vesk");
    // handlers are in, the loop isn't
    ASSERT_TRUE(eventually([] { return exists("/tmp/vesk.log"); }));
    kill(daemon.pid, SIGTERM);
    EXPECT_EQ(finish(daemon), 0);
    EXPECT_TRUE(contains(daemon.err(), end_line(SIGTERM)));
}

} // namespace
