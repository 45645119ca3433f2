// The bus client library against a broker that is killed, restarted, stopped and replaced. The library's
// state lives as long as its process, so each test runs in a child; broker and peer are the test's own.
#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/merka/merka_internal.h"
#include "tests/bus/harness.h"

static std::string socketPath;

const char *merka::socket_path()
{
    return socketPath.c_str();
}

namespace
{

std::vector<std::string> heard;    // by the peer: "id|message"
std::vector<std::string> received; // by our handlers: "interface|signal|payload"

/** Runs the body in a child, on a broker of its own; it has to write the expected text to stderr. */
void isolated(const char *expectedError, void (*body)(Broker &))
{
    auto child = [body] {
        alarm(30);
        {
            Broker broker;
            socketPath = broker.path;
            body(broker);
        }
        fflush(nullptr);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    };
    EXPECT_EXIT(child(), testing::ExitedWithCode(0), expectedError);
}

/** Serves the main loop until the condition holds; whether it did within the time. */
bool serve_until(const std::function<bool()> &condition, int ms)
{
    struct Watch {
        uloop_timeout timer;
        const std::function<bool()> *condition;
        int64_t end;
    } watch = { {}, &condition, now_ms() + ms };
    watch.timer.cb = [](uloop_timeout *timer) {
        auto *w = reinterpret_cast<Watch *>(timer);
        if ((*w->condition)() || now_ms() >= w->end)
            return uloop_end();
        uloop_timeout_set(timer, 5);
    };
    uloop_init();
    uloop_timeout_set(&watch.timer, 5);
    merkaMainLoop();
    return condition();
}

/** Another client of the bus. */
struct Peer {
    ubus_context *ctx = ubus_connect(merka::socket_path());
    ubus_event_handler handler = {};
    Peer()
    {
        ctx->connection_lost = [](ubus_context *) {};
        handler.cb = [](ubus_context *, ubus_event_handler *, const char *id, blob_attr *msg) {
            heard.push_back(std::string(id) + "|" +
                            std::string(static_cast<char *>(blob_data(msg)), blob_len(msg)));
        };
        EXPECT_EQ(ubus_register_event_handler(ctx, &handler, "tamlo.*"), 0);
        ubus_add_uloop(ctx);
    }
    ~Peer() { ubus_free(ctx); }
    bool sees(const char *object)
    {
        uint32_t id = 0;
        return ubus_lookup_id(ctx, object, &id) == 0 && id != 0;
    }
    void send(const char *id, int type, const char *field, const std::string &bytes)
    {
        blob_buf message = {};
        blob_buf_init(&message, 0);
        if (field != nullptr)
            blobmsg_add_field(&message, type, field, bytes.data(), static_cast<unsigned>(bytes.size()));
        EXPECT_EQ(ubus_send_event(ctx, id, message.head), 0);
        blob_buf_free(&message);
    }
    /** Whether a signal sent now reaches its handler. */
    bool reaches_us()
    {
        received.clear();
        send("tamlo.pelk.setTwo", BLOBMSG_TYPE_UNSPEC, "payload", "end");
        return serve_until([] { return !received.empty() && received.back() == "tamlo.pelk|setTwo|end"; },
                           500);
    }
};

void on_signal(const char *interface, const char *signal, void *payload, int size)
{
    const std::string bytes(static_cast<char *>(payload), static_cast<size_t>(size));
    received.push_back(std::string(interface) + "|" + signal + "|" + (payload ? bytes : "NULL"));
}

void subscribe()
{
    static const MerkaSignalRow rows[] = { { "tamlo.pelk", "setOne", on_signal, 0 },
                                           { "tamlo.pelk", "setTwo", on_signal, 1 } };
    EXPECT_EQ(merkaAddInterestedSignal("tamlo.pelk.setOne"), 0);
    EXPECT_EQ(merkaAddInterestedSignal("tamlo.pelk.setOn"), 0); // has no row
    EXPECT_EQ(merkaSetInteresetedSignals(rows, 2), 0);
}

void add_object()
{
    static const ubus_method methods[] = { UBUS_METHOD_NOARG("ping", nullptr) };
    static ubus_object_type type = UBUS_OBJECT_TYPE("merka.test", methods);
    static ubus_object object = {};
    object.name = "merka.test";
    object.type = &type;
    ASSERT_NE(merkaGetContext(), nullptr);
    ASSERT_EQ(ubus_add_object(merkaGetContext(), &object), 0);
}

void send_number(int number)
{
    uint8_t payload[619] = {}; // the largest signal there is
    memcpy(payload, &number, sizeof number);
    EXPECT_EQ(merkaSendSignal(nullptr, "tamlo.number", payload, sizeof payload), 0);
}

/** The number in the i-th signal heard, behind id, field word and field name. */
int number_at(size_t i)
{
    int number = -1;
    if (i < heard.size() && heard[i].size() > 600)
        memcpy(&number, heard[i].data() + 13 + 16, sizeof number);
    return number;
}

TEST(Merka, SignalGoesOutAsEventWithItsBytes)
{
    isolated("", [](Broker &) {
        Peer peer;
        // the first one goes before there is a connection
        EXPECT_EQ(merkaSendSignal(nullptr, "tamlo.pelk.some", "\xde\xad\0\xef\x01", 5), 0);
        ASSERT_NE(merkaGetContext(), nullptr);
        EXPECT_EQ(fcntl(merkaGetContext()->sock.fd, F_GETFD), FD_CLOEXEC);
        EXPECT_EQ(merkaSendSignal(nullptr, "tamlo.none", nullptr, 0), 0);
        EXPECT_EQ(merkaSendSignal(nullptr, "tamlo.bad", nullptr, 1), -1);
        EXPECT_EQ(merkaSendSignal(nullptr, "tamlo.bad", "x", -1), -1);
        EXPECT_EQ(merkaSendSignal(nullptr, std::string(128, 'x').c_str(), "x", 1), -1);
        EXPECT_TRUE(serve_until([] { return heard.size() >= 2; }, 500));
        // an extended UNSPEC field of 4 + 12 + 5 bytes: name of 7, value, padding
        const std::string some("\x80\0\0\x15\0\x07payload\0\0\0\xde\xad\0\xef\x01\0\0\0", 24);
        EXPECT_EQ(heard, (std::vector<std::string>{ "tamlo.pelk.some|" + some, "tamlo.none|" }));
    });
}

TEST(Merka, InboundSignalsReachTheirRow)
{
    isolated("", [](Broker &) {
        const struct {
            const char *id;
            int type;
            const char *field, *bytes, *expected;
        } rows[] = {
            { "tamlo.pelk.setOne", BLOBMSG_TYPE_UNSPEC, "payload", "abc", "tamlo.pelk|setOne|abc" },
            { "tamlo.pelk.setTwo", BLOBMSG_TYPE_INT32, "payload", "wxyz", "tamlo.pelk|setTwo|wxyz" },
            { "tamlo.pelk.setOne", BLOBMSG_TYPE_UNSPEC, "payload", "", "tamlo.pelk|setOne|NULL" },
            { "tamlo.pelk.setOne", BLOBMSG_TYPE_UNSPEC, "other", "abc", "tamlo.pelk|setOne|NULL" },
            { "tamlo.pelk.setOne", BLOBMSG_TYPE_UNSPEC, nullptr, "", "tamlo.pelk|setOne|NULL" },
            { "tamlo.pelk.setOne", BLOBMSG_TYPE_INT32, "payload", "5 byt", nullptr },
            { "tamlo.pelk.setOn", BLOBMSG_TYPE_UNSPEC, "payload", "abc", nullptr },
        };
        Peer peer;
        ASSERT_NE(merkaGetContext(), nullptr);
        subscribe();
        subscribe(); // again, as when the object comes back: still one delivery
        for (const auto &row : rows) {
            SCOPED_TRACE(std::string(row.id) + " " + row.bytes);
            peer.send(row.id, row.type, row.field, row.bytes);
            EXPECT_TRUE(peer.reaches_us());
            ASSERT_EQ(received.size(), row.expected ? 2u : 1u);
            EXPECT_EQ(received[0], row.expected ? row.expected : "tamlo.pelk|setTwo|end");
        }
    });
}

/** A broker that greets and hangs up on the first request; three times, not counting probes. */
void unreliable_broker()
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    strcpy(address.sun_path, merka::socket_path());
    const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    ASSERT_EQ(listen(listener, 8), 0);
    const char greeting[12] = { 0, 0, 0, 0, 0x12, 0x34, 0x56, 0x78, 0, 0, 0, 4 };
    for (int left = 3; left > 0;) {
        const int fd = accept(listener, nullptr, nullptr);
        char byte;
        if (write(fd, greeting, sizeof greeting) == sizeof greeting && read(fd, &byte, 1) == 1)
            --left;
        close(fd);
    }
    close(listener);
}

TEST(Merka, RestartedBrokerGetsObjectSubscriptionsAndWaitingSignals)
{
    isolated("merka: the bus is back, 7 signals were dropped\n", [](Broker &broker) {
        add_object();
        subscribe();
        broker.stop(SIGKILL);
        unlink(merka::socket_path());
        const pid_t unreliable = in_child(unreliable_broker); // may cost time, but nothing else
        EXPECT_TRUE(serve_until([=] { return waitpid(unreliable, nullptr, WNOHANG) != 0; }, 5000));
        EXPECT_EQ(merkaGetContext(), nullptr);
        for (int i = 0; i < 1030; ++i)
            send_number(i);
        broker.start();
        const int64_t back = now_ms();
        Peer peer;
        EXPECT_TRUE(serve_until([&] { return peer.sees("merka.test"); }, 1000));
        const int64_t objectBack = now_ms();
        send_number(1030);
        EXPECT_TRUE(peer.reaches_us());
        EXPECT_TRUE(heard.empty()) << "listeners have a second to come back";
        EXPECT_TRUE(serve_until([] { return heard.size() >= 1024; }, 2000));
        EXPECT_GT(now_ms() - objectBack, 850);
        EXPECT_LT(now_ms() - back, 2000);
        for (int i = 0; i < 1024; ++i)
            ASSERT_EQ(number_at(static_cast<size_t>(i)), i + 7);
        send_number(5);
        EXPECT_TRUE(serve_until([] { return number_at(1024) == 5; }, 500)) << "at once again";
    });
}

TEST(Merka, StartsOnABrokerThatDoesNotGreet)
{
    isolated("", [](Broker &broker) {
        Peer peer;
        kill(broker.pid, SIGSTOP); // connections are still accepted, by the kernel
        const int64_t start = now_ms();
        EXPECT_EQ(merkaGetContext(), nullptr);
        EXPECT_LT(now_ms() - start, 1500);
        subscribe();
        int turns = 0;
        serve_until([&] { return ++turns < 0; }, 1500);
        EXPECT_GT(turns, 150);
        kill(broker.pid, SIGCONT);
        EXPECT_TRUE(serve_until([] { return merkaGetContext() != nullptr; }, 1500));
        const int64_t up = now_ms();
        send_number(1);
        EXPECT_TRUE(serve_until([] { return heard.size() == 1; }, 1500));
        EXPECT_GT(now_ms() - up, 850);
        add_object();
        EXPECT_TRUE(peer.sees("merka.test"));
        EXPECT_TRUE(peer.reaches_us());
    });
}

TEST(Merka, BrokerThatStopsReadingHoldsNothingUp)
{
    isolated("merka: the bus is back, 9[0-9]+ signals were dropped\n", [](Broker &broker) {
        Peer peer;
        ASSERT_NE(merkaGetContext(), nullptr);
        kill(broker.pid, SIGSTOP);
        const int64_t start = now_ms();
        for (int i = 0; i < 2000; ++i)
            send_number(i);
        EXPECT_LT(now_ms() - start, 50);
        kill(broker.pid, SIGCONT);
        EXPECT_TRUE(serve_until([] { return number_at(heard.size() - 1) == 1999; }, 3000));
        ASSERT_GT(heard.size(), 1024u);
        const int direct = static_cast<int>(heard.size()) - 1024; // what the socket took
        for (int i = 0; i < direct + 1024; ++i)
            ASSERT_EQ(number_at(static_cast<size_t>(i)), i < direct ? i : i - direct + 976);
    });
}

} // namespace
