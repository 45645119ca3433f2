// The loop in real time: what runs, in which order, how often, and what ends it.
#include "foundation/ubus_headers.h"
#include "tests/bus/harness.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace
{
struct ULoop : testing::Test {
    void SetUp() override { ASSERT_EQ(uloop_init(), 0); }
    void TearDown() override { uloop_done(); }
};

std::string ran; // letters of the callbacks, in their order

struct Lettered : uloop_timeout {
    char letter;
    int again; // ms to re-arm with, once; below -100: no
};

void note(uloop_timeout *t)
{
    auto *timer = static_cast<Lettered *>(t);
    EXPECT_FALSE(timer->pending);
    ran += timer->letter;
    if (timer->again > -100)
        uloop_timeout_set(timer, timer->again);
    timer->again = -101;
}

struct Arm {
    char letter;
    int ms;
    int again = -101;
};
struct OrderCase {
    const char *name;
    std::vector<Arm> armed;
    const char *order;
};
const OrderCase orders[] = {
    { "by time", { { 'a', 30 }, { 'b', 10 }, { 'c', 20 } }, "bca" },
    { "same time: as armed", { { 'a', 5 }, { 'b', 5 }, { 'c', 5 } }, "abc" },
    { "negative before 0", { { 'a', 0 }, { 'b', -5 }, { 'c', -20 } }, "cba" },
    { "re-armed in its callback", { { 'a', 1, 20 }, { 'b', 10 } }, "aba" },
    { "re-armed with 0", { { 'a', 0, 0 }, { 'b', 0 } }, "aba" },
};

TEST_F(ULoop, RunsTimersInOrder)
{
    for (const OrderCase &c : orders) {
        SCOPED_TRACE(c.name);
        ran.clear();
        std::vector<Lettered> timers(c.armed.size() + 1);
        for (size_t i = 0; i < c.armed.size(); i++) {
            timers[i].cb = note;
            timers[i].letter = c.armed[i].letter;
            timers[i].again = c.armed[i].again;
            EXPECT_EQ(uloop_timeout_set(&timers[i], c.armed[i].ms), 0);
        }
        timers.back().cb = [](uloop_timeout *) { uloop_end(); };
        uloop_timeout_set(&timers.back(), 50);
        const int64_t begin = now_ms();
        uloop_end(); // forgotten when the run begins
        EXPECT_EQ(uloop_run(), 0);
        EXPECT_GE(now_ms() - begin, 48);
        EXPECT_EQ(uloop_run_timeout(1), 0);
        EXPECT_EQ(ran, c.order);
    }
}

TEST_F(ULoop, TellsWhatIsLeftOfATimer)
{
    Lettered timer = {};
    timer.cb = note;
    EXPECT_EQ(uloop_get_next_timeout(), -1);
    EXPECT_EQ(uloop_timeout_remaining64(&timer), -1);
    EXPECT_EQ(uloop_timeout_cancel(&timer), -1);
    uloop_timeout_set(&timer, 100000);
    EXPECT_EQ(uloop_timeout_add(&timer), -1);
    EXPECT_NEAR(static_cast<double>(uloop_timeout_remaining64(&timer)), 99999.5, 50);
    EXPECT_NEAR(uloop_get_next_timeout(), 99999.5, 50);
    uloop_timeout_set(&timer, -100);
    EXPECT_NEAR(static_cast<double>(uloop_timeout_remaining64(&timer)), -100, 50);
    EXPECT_EQ(uloop_get_next_timeout(), 0);
    EXPECT_EQ(uloop_timeout_cancel(&timer), 0);
}

struct Heard : uloop_fd {
    std::vector<unsigned int> events;
    std::string data;
    uloop_fd *victim = nullptr; // deleted in the callback
};

void hear(uloop_fd *u, unsigned int events)
{
    auto *heard = static_cast<Heard *>(u);
    heard->events.push_back(events);
    char buffer[64];
    ssize_t count;
    while ((count = read(u->fd, buffer, sizeof buffer)) > 0)
        heard->data.append(buffer, static_cast<size_t>(count));
    if (heard->victim)
        uloop_fd_delete(heard->victim);
}

// A connection whose one end the loop watches.
struct Watched {
    int peer;
    Heard heard = {};
    explicit Watched(unsigned int flags)
    {
        int ends[2];
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
        peer = ends[1];
        heard.cb = hear;
        heard.fd = ends[0];
        EXPECT_EQ(uloop_fd_add(&heard, flags), 0);
        EXPECT_TRUE(heard.registered);
    }
    ~Watched()
    {
        uloop_fd_delete(&heard);
        close(heard.fd);
        close(peer);
    }
    void put(const char *text) const { EXPECT_GE(send(peer, text, strlen(text), 0), 0); }
};

void passes(int count)
{
    while (count--)
        uloop_run_timeout(1);
}

TEST_F(ULoop, ReportsDataUntilItIsRead)
{
    Watched watched(ULOOP_READ);
    EXPECT_TRUE(fcntl(watched.heard.fd, F_GETFL) & O_NONBLOCK);
    for (const char *text : { "one", "two" }) {
        watched.put(text);
        passes(3);
    }
    EXPECT_EQ(watched.heard.data, "onetwo");
    EXPECT_EQ(watched.heard.events, (std::vector<unsigned int>{ ULOOP_READ, ULOOP_READ }));
    for (int i = 0; i < 2; i++)
        EXPECT_EQ(uloop_fd_delete(&watched.heard), 0);
    watched.put("unheard");
    passes(2);
    EXPECT_EQ(watched.heard.data, "onetwo");
    Heard closed = {};
    closed.fd = dup(watched.peer);
    close(closed.fd);
    EXPECT_EQ(uloop_fd_add(&closed, ULOOP_READ), -1);
    EXPECT_FALSE(closed.registered);
}

struct EndCase {
    const char *name;
    unsigned int flags;
    const char *left; // unread data
    bool halfClose;
    bool once, error, registered;
};
const EndCase ends[] = {
    { "hang-up", ULOOP_READ, "", false, true, true, false },
    { "hang-up, data left", ULOOP_READ, "rest", false, true, true, false },
    { "hang-up, errors wanted", ULOOP_READ | ULOOP_ERROR_CB, "", false, false, true, true },
    { "half-close", ULOOP_READ, "", true, false, false, true },
};

TEST_F(ULoop, UnregistersOnAHangUpBeforeItsOnlyCall)
{
    for (const EndCase &c : ends) {
        SCOPED_TRACE(c.name);
        Watched watched(c.flags);
        watched.put(c.left);
        if (c.halfClose)
            shutdown(watched.peer, SHUT_WR);
        else
            close(std::exchange(watched.peer, -1));
        passes(4);
        EXPECT_EQ(watched.heard.events.size() == 1, c.once);
        EXPECT_GE(watched.heard.events.size(), 1u);
        EXPECT_EQ(watched.heard.data, c.left);
        EXPECT_EQ(watched.heard.error, c.error);
        EXPECT_TRUE(watched.heard.eof);
        EXPECT_EQ(watched.heard.registered, c.registered);
    }
}

// Both are ready in one batch; whoever comes first takes the other out.
TEST_F(ULoop, ADeletedDescriptorIsNotCalledFromTheBatch)
{
    Watched watched[] = { Watched(ULOOP_READ | ULOOP_BLOCKING), Watched(ULOOP_READ) };
    EXPECT_FALSE(fcntl(watched[0].heard.fd, F_GETFL) & O_NONBLOCK);
    uloop_fd_add(&watched[0].heard, ULOOP_READ);
    for (int i = 0; i < 2; i++) {
        watched[i].heard.victim = &watched[1 - i].heard;
        fcntl(watched[i].heard.fd, F_SETFL, O_NONBLOCK);
        watched[i].put("x");
    }
    passes(4);
    EXPECT_EQ(watched[0].heard.data.size() + watched[1].heard.data.size(), 1u);
}

void end_by_signal()
{
    raise(SIGTERM); // before the run: forgotten
    static uloop_timeout timer = {};
    timer.cb = [](uloop_timeout *) { raise(SIGINT); };
    uloop_timeout_set(&timer, 10);
    _exit(uloop_run());
}

void hear_signal()
{
    static uloop_signal watch = {};
    watch.signo = SIGTERM;
    watch.cb = [](uloop_signal *) { _exit(42); };
    uloop_signal_add(&watch);
    if (uloop_signal_add(&watch) == -1 && raise(SIGTERM) == 0)
        uloop_run();
}

// Each in a child: signals and their actions belong to the process.
TEST(ULoopSignals, EndTheLoopOrGoToTheirCallback)
{
    struct Case {
        const char *name;
        void (*body)();
        int exits;
    };
    const Case cases[] = {
        { "ends the run with its number", end_by_signal, SIGINT },
        { "goes to its callback instead", hear_signal, 42 },
        { "someone else's action is kept", [] { raise(SIGINT); }, 7 },
        { "a broken pipe is nothing", [] { raise(SIGPIPE), _exit(8); }, 8 },
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        const pid_t pid = in_child([&c] {
            if (c.exits == 7)
                signal(SIGINT, [](int) { _exit(7); });
            uloop_init();
            c.body();
        });
        int status = -1;
        waitpid(pid, &status, 0);
        EXPECT_EQ(status, W_EXITCODE(c.exits, 0));
    }
}
} // namespace
