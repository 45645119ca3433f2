// From the first instruction to the end of the process: the wait for the bus, the one instance, the first
// signal, the ends.
#include "tests/system/harness.h"

#include <fcntl.h>

namespace {

const char waiting[] = "\nUbusd not running, run ubusd firstly !!\r\n";
const char refused[] = "\nVesk already running.\r\n";

TEST_F(System, WaitingInstancesAreSettledByTheLock) {
    Child first("vesk"), second("vesk"), ended("vesk");
    for (const Child *child : { &first, &second, &ended })
        ASSERT_TRUE(eventually([&] { return child->err().find(waiting) == 0; })); // nothing comes before it
    EXPECT_FALSE(exists("/var/run/vesk.pid") || exists("/tmp/vesk.log"));
    kill(ended.pid, SIGTERM);
    EXPECT_EQ(finish(ended), 256 + SIGTERM); // no handler yet: the default action
    startBroker();
    ASSERT_TRUE(eventually(on_the_bus));
    ASSERT_TRUE(eventually([&] { return contains(first.err() + second.err(), refused); }));
    const bool isFirst = contains(second.err(), refused);
    EXPECT_EQ(finish(isFirst ? second : first), 255);
    EXPECT_TRUE(runs(isFirst ? first : second));
    EXPECT_TRUE(contains((isFirst ? first : second).err(), "Vesk is starting ... \n"));
}

void expect_refused() {
    Child second("vesk");
    EXPECT_EQ(finish(second), 255);
    EXPECT_EQ(second.err(), refused);
}

TEST_F(System, ARefusedInstanceTouchesNothing) {
    startBoth();
    for (int i = 0; i < 2; i++) expect_refused(); // the first refusal leaves the lock in place
    EXPECT_TRUE(exists("/var/run/vesk.pid") && read_file("/var/run/vesk.pid").empty());
    EXPECT_EQ(Bus().call("getVersionInfo").status, 0);
    daemon.kill();
    unlink("/configs/vesk/vesk.conf");
    struct flock lock = { F_WRLCK, SEEK_SET, 0, 1, 0 };
    const int fd = open("/var/run/vesk.pid", O_WRONLY); // killed, it has left it
    ASSERT_EQ(fcntl(fd, F_SETLK, &lock), 0);            // this test is the first instance
    write_file("/tmp/vesk.log", std::string(1048577, 'x'));
    expect_refused();
    EXPECT_EQ(read_file("/tmp/vesk.log").size(), 1048577u); // not rotated, nothing added
    EXPECT_FALSE(exists("/configs/vesk/vesk.conf"));
    close(fd);
}

const auto end_line = [](int signal) {
    return "[vesk] Signal received [" + std::to_string(signal) + "]. Exiting ...\r\n";
};

TEST_F(System, EndsOnSignalsAndStartsAgain) {
    startBroker();
    write_file("/tmp/vesk_ready", "");
    for (const int signal : { SIGKILL, SIGINT, SIGQUIT, SIGTERM }) {
        SCOPED_TRACE(signal);
        const bool isOrderly = signal != SIGKILL;
        unlink("/tmp/vesk.log");
        ASSERT_NO_FATAL_FAILURE(startDaemon());
        kill(daemon.pid, signal);
        EXPECT_EQ(finish(daemon), isOrderly ? 0 : 256 + SIGKILL);
        EXPECT_EQ(contains(daemon.err(), end_line(signal)), isOrderly);
        EXPECT_EQ(contains(read_file("/tmp/vesk.log"), " wl driver deinit\n"), isOrderly); // the clean-up chain ran
        ASSERT_TRUE(eventually([] { return !on_the_bus(); }));
    }
    EXPECT_TRUE(exists("/tmp/vesk_ready"));
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
