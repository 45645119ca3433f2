// From the first instruction to the end of the process: the wait for the bus, the one instance, the first
// signal, the ends.
#include "tests/system/harness.h"

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

#include "include/vesk_event.h"

namespace
{

const char waiting[] = "\nUbusd not running, run ubusd firstly !!\r\n";
const char refused[] = "\nVesk already running.\r\n";

TEST_F(System, WaitsForTheBus)
{
    daemon = start("vesk");
    ASSERT_TRUE(eventually(PATIENCE, [&] { return contains(daemon.err(), waiting); }));
    EXPECT_EQ(daemon.err().find(waiting), 0u); // nothing comes before it
    EXPECT_FALSE(exists("/var/run/vesk.pid"));
    EXPECT_FALSE(exists("/tmp/vesk.log"));

    startBroker();
    EXPECT_TRUE(eventually(PATIENCE, on_the_bus));
    EXPECT_TRUE(contains(daemon.err(), "Vesk is starting ... \n"));
}

TEST_F(System, TwoWaitingInstancesAreSettledByTheLock)
{
    Child first = start("vesk"), second = start("vesk");
    for (Child *child : { &first, &second })
        ASSERT_TRUE(eventually(PATIENCE, [&] { return contains(child->err(), waiting); }));
    startBroker();
    ASSERT_TRUE(eventually(PATIENCE, on_the_bus));
    ASSERT_TRUE(eventually(PATIENCE, [&] { return contains(first.err() + second.err(), refused); }));

    Child &loser = contains(first.err(), refused) ? first : second;
    EXPECT_EQ(finish(loser, PATIENCE), 255);
    EXPECT_TRUE(runs(&loser == &first ? second : first));
}

TEST_F(System, RefusedInstanceTouchesNothing)
{
    startBroker();
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_len = 1;
    int fd = open("/var/run/vesk.pid", O_WRONLY | O_CREAT, 0666);
    ASSERT_EQ(fcntl(fd, F_SETLK, &lock), 0); // this test is the first instance
    write_file("/tmp/vesk.log", std::string(1048577, 'x'));

    daemon = start("vesk");
    EXPECT_EQ(finish(daemon, PATIENCE), 255);
    EXPECT_EQ(daemon.err(), refused);
    EXPECT_EQ(read_file("/tmp/vesk.log").size(), 1048577u); // not rotated, nothing added
    EXPECT_FALSE(exists("/configs/vesk/vesk.conf"));
    close(fd);
}

TEST_F(System, SecondInstanceLeavesTheFirstAlone)
{
    startBoth();
    Child second = start("vesk");
    EXPECT_EQ(finish(second, PATIENCE), 255);
    EXPECT_EQ(second.err(), refused);
    EXPECT_TRUE(exists("/var/run/vesk.pid"));
    EXPECT_EQ(read_file("/var/run/vesk.pid"), "");
    EXPECT_TRUE(runs(daemon));
    EXPECT_EQ(Bus().call("getVersionInfo").status, 0);
    Child third = start("vesk"); // the refusal has left the lock in place
    EXPECT_EQ(finish(third, PATIENCE), 255);
}

TEST_F(System, SurvivesBeingKilled)
{
    startBoth();
    write_file("/tmp/vesk_ready", "");
    daemon.kill();
    ASSERT_TRUE(exists("/var/run/vesk.pid"));
    ASSERT_TRUE(eventually(PATIENCE, [] { return !on_the_bus(); }));
    startDaemon();
    EXPECT_EQ(Bus().call("getVersionInfo").status, 0);
    EXPECT_TRUE(exists("/tmp/vesk_ready"));
}

TEST_F(System, AnnouncesTheBackhaulStationAtStart)
{
    startBroker();
    Child watch = start("veskctl", { "watch" });
    Bus bus;
    ASSERT_TRUE(eventually(PATIENCE, [&] { // the watcher has subscribed when it shows a signal of ours
        bus.send(VESK_SIGNAL_RADAR_NOTIF, "radar.");
        return contains(watch.out(), "veskRadarNotif");
    })) << watch.err();

    startDaemon();
    ASSERT_TRUE(bus.listen(PATIENCE, [&] { return bus.find(VESK_SIGNAL_IF_STATUS) != nullptr; }));
    std::string status = bus.find(VESK_SIGNAL_IF_STATUS)->payload;
    ASSERT_EQ(status.size(), sizeof(VeskIfStatus));
    EXPECT_EQ(status[16], 1);
    EXPECT_TRUE(eventually(PATIENCE, [&] { return contains(watch.out(), "veskIfStatusChange"); }));
    EXPECT_TRUE(contains(watch.out(), status.c_str())) << watch.out(); // the interface's name
}

struct EndCase {
    int signal;
    const char *line;
};
const EndCase ends[] = {
    { SIGINT, "[vesk] Signal received [2]. Exiting ...\r\n" },
    { SIGQUIT, "[vesk] Signal received [3]. Exiting ...\r\n" },
    { SIGTERM, "[vesk] Signal received [15]. Exiting ...\r\n" },
};

TEST_F(System, EndsOnSignals)
{
    startBroker();
    for (const EndCase &c : ends) {
        SCOPED_TRACE(c.line);
        ASSERT_NO_FATAL_FAILURE(startDaemon());
        kill(daemon.pid, c.signal);
        EXPECT_EQ(finish(daemon, 2s), 0);
        EXPECT_TRUE(contains(daemon.err(), c.line));
        EXPECT_TRUE(contains(read_file("/tmp/vesk.log"), " wl driver deinit\n")); // the clean-up chain ran
        ASSERT_TRUE(eventually(PATIENCE, [] { return !on_the_bus(); }));
        unlink("/tmp/vesk.log");
    }
}

TEST_F(System, EndsOnASignalThatComesBeforeTheLoop)
{
    startBroker();
    daemon = start("vesk");
    ASSERT_TRUE(
        eventually(PATIENCE, [] { return exists("/tmp/vesk.log"); })); // handlers are in, the loop isn't
    kill(daemon.pid, SIGTERM);
    EXPECT_EQ(finish(daemon, PATIENCE), 0);
    EXPECT_TRUE(contains(daemon.err(), ends[2].line));
}

TEST_F(System, EndsOnASignalWhileItWaits)
{
    daemon = start("vesk");
    ASSERT_TRUE(eventually(PATIENCE, [&] { return contains(daemon.err(), waiting); }));
    kill(daemon.pid, SIGTERM);
    EXPECT_EQ(finish(daemon, PATIENCE), 256 + SIGTERM); // no handler yet: the default action
}

} // namespace
