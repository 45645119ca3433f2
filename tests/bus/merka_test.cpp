// The bus client library against a broker that is killed, restarted, stopped and replaced, on a clock that only
// the tests move. The library's state lives as long as its process, so each test runs in a child; broker and
// peer are the test's own.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/wait.h>

#include "platform/merka/merka_internal.h"
#include "tests/bus/clock.h"
#include "tests/bus/harness.h"

static std::string socketPath;

const char *merka::socket_path() { return socketPath.c_str(); }

namespace {
std::vector<std::string> received; // by our handlers: "interface|signal|payload"

/** Runs the body in a child, on a broker of its own; it has to write a text of this pattern to stderr. */
void isolated(const char *expectedError, void (*body)(Broker &)) {
    FILE *errors = tmpfile();
    const pid_t child = in_child([=] {
        dup2(fileno(errors), STDERR_FILENO);
        std::optional<Broker> broker(std::in_place);
        testClock.stop();
        socketPath = broker->path;
        body(*broker);
        broker.reset();
        exit(testing::Test::HasFailure());
    });
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    char text[1000] = {};
    EXPECT_LT(pread(fileno(errors), text, sizeof text - 1, 0), 100);
    EXPECT_THAT(text, testing::MatchesRegex(expectedError));
    fclose(errors);
}

/** Serves the main loop, which isn't left in between, until the condition holds; whether it does. */
bool serve_until(const std::function<bool()> &condition) {
    int left = PATIENCE; // passes that find nothing take one each
    testClock.onPass = [&] { condition() || --left == 0 ? uloop_end() : void(); };
    uloop_init();
    if (!merka::in_loop()) merka::enter_loop();
    uloop_run();
    testClock.onPass = {};
    return left > 0;
}

/** Moves the clock and runs what falls due: the broker may take its time with what follows from it. */
void serve_after(int ms) {
    testClock.advance(ms);
    serve_until([passes = 0]() mutable { return ++passes > 5; });
}

/** Another client of the bus, which listens to our signals. */
struct Peer {
    Wire wire{ socketPath };
    std::vector<std::string> heard; // "id|message"
    Peer() { EXPECT_NE(wire.hear("tamlo.n*"), 0u); }
    size_t count() {
        for (Message m = wire.receive(false); m.type != SILENCE; m = wire.receive(false))
            heard.push_back(m.get(UBUS_ATTR_METHOD)->c_str() + ("|" + *m.get(UBUS_ATTR_DATA)));
        return heard.size();
    }
    /** The number in the i-th signal, behind id, field word and field name; -1: none. */
    int number_at(size_t i) {
        int number = -1;
        if (i < heard.size() && heard[i].size() > 600) memcpy(&number, heard[i].data() + 13 + 16, sizeof number);
        return number;
    }
};

const auto send = [](const char *id, const std::string &content) {
    EXPECT_EQ(Wire(socketPath).ask(event(id, content)), 0);
};

/** Whether a signal sent now reaches its handler. */
bool reaches_us() {
    received.clear();
    send("tamlo.pelk.setTwo", field(BLOBMSG_TYPE_UNSPEC, "payload", "end"));
    return serve_until([] { return !received.empty() && received.back() == "tamlo.pelk|setTwo|end"; });
}

void on_signal(const char *interface, const char *signal, void *payload, int size) {
    const std::string bytes(static_cast<char *>(payload), static_cast<size_t>(size));
    received.push_back(std::string(interface) + "|" + signal + "|" + (payload ? bytes : "NULL"));
}

void subscribe() {
    static const MerkaSignalRow rows[] = { { "tamlo.pelk", "setOne", on_signal, 0 },
                                           { "tamlo.pelk", "setTwo", on_signal, 1 } };
    EXPECT_EQ(merkaAddInterestedSignal("tamlo.pelk.setOne"), 0);
    for (const char *rowless : { "tamlo.pelk.setOn", "tamlo.pelk.setOnes" })
        EXPECT_EQ(merkaAddInterestedSignal(rowless), 0);
    EXPECT_EQ(merkaSetInteresetedSignals(rows, 2), 0);
}

const ubus_method methods[] = { UBUS_METHOD_NOARG(
    "ping", [](ubus_context *, ubus_object *, ubus_request_data *, const char *, blob_attr *) { return 0; }) };
ubus_object_type type = UBUS_OBJECT_TYPE("merka.test", methods);
ubus_object object = { .name = "merka.test", .type = &type, .methods = methods, .n_methods = 1 };

bool add_object() { return merkaGetContext() && ubus_add_object(merkaGetContext(), &object) == 0; }

bool object_is_there() {
    return Wire(socketPath).ask(message(UBUS_MSG_LOOKUP, 1, 0, text_attr(UBUS_ATTR_OBJPATH, "merka.test"))) == 0;
}

int send_number(int number) {
    uint8_t payload[619] = {}; // the largest signal there is
    memcpy(payload, &number, sizeof number);
    return merkaSendSignal(nullptr, "tamlo.number", payload, sizeof payload);
}

void send_numbers(int from, int to) {
    for (; from < to; ++from) EXPECT_EQ(send_number(from), 0);
}

TEST(Merka, SignalsKeepTheirBytesInBothDirections) {
    isolated("", [](Broker &) {
        Peer peer;
        // the first one goes before there is a connection
        EXPECT_EQ(merkaSendSignal(nullptr, "tamlo.narb.some", "\xde\xad\0\xef\x01", 5), 0);
        ASSERT_NE(merkaGetContext(), nullptr);
        EXPECT_EQ(fcntl(merkaGetContext()->sock.fd, F_GETFD), FD_CLOEXEC);
        EXPECT_EQ(merkaSendSignal(nullptr, "tamlo.none", nullptr, 0), 0);
        EXPECT_EQ(merkaSendSignal(nullptr, "tamlo.bad", nullptr, 1), -1);
        EXPECT_EQ(merkaSendSignal(nullptr, "tamlo.bad", "x", -1), -1);
        EXPECT_EQ(merkaSendSignal(nullptr, std::string(128, 'x').c_str(), "x", 1), -1);
        EXPECT_TRUE(serve_until([&] { return peer.count() >= 2; }));
        // an extended UNSPEC field of 4 + 12 + 5 bytes: name of 7, value, padding
        const std::string some("\x80\0\0\x15\0\x07payload\0\0\0\xde\xad\0\xef\x01\0\0\0", 24);
        EXPECT_EQ(peer.heard, (std::vector<std::string>{ "tamlo.narb.some|" + some, "tamlo.none|" }));

        // clang-format off
        const struct { const char *id; std::string content; const char *expected; } rows[] = {
            { "tamlo.pelk.setOne", field(BLOBMSG_TYPE_UNSPEC, "payload", "abc"), "tamlo.pelk|setOne|abc" },
            { "tamlo.pelk.setTwo", field(BLOBMSG_TYPE_INT32, "payload", "wxyz"), "tamlo.pelk|setTwo|wxyz" },
            { "tamlo.pelk.setOne", field(BLOBMSG_TYPE_UNSPEC, "payload", ""), "tamlo.pelk|setOne|NULL" },
            { "tamlo.pelk.setOne", field(BLOBMSG_TYPE_UNSPEC, "other", "abc"), "tamlo.pelk|setOne|NULL" },
            { "tamlo.pelk.setOne", "", "tamlo.pelk|setOne|NULL" },
            { "tamlo.pelk.setOne", field(BLOBMSG_TYPE_INT32, "payload", "5 byt"), nullptr },
            { "tamlo.pelk.setOn", field(BLOBMSG_TYPE_UNSPEC, "payload", "abc"), nullptr },
            { "tamlo.pelk.setOnes", field(BLOBMSG_TYPE_UNSPEC, "payload", "abc"), nullptr },
        };
        // clang-format on
        for (int i = 0; i < 50; ++i) subscribe(); // again, as when the object comes back: still one delivery
        for (const auto &row : rows) {
            send(row.id, row.content);
            EXPECT_TRUE(reaches_us());
            ASSERT_EQ(received.size(), row.expected ? 2u : 1u) << row.id << row.content;
            EXPECT_EQ(received[0], row.expected ? row.expected : "tamlo.pelk|setTwo|end");
        }
    });
}

TEST(Merka, RestartedBrokerGetsObjectSubscriptionsAndWaitingSignals) {
    isolated("merka: signals go out again, 7 were dropped\n", [](Broker &broker) {
        ASSERT_TRUE(add_object());
        subscribe();
        broker.stop();
        EXPECT_TRUE(serve_until([] { return merkaGetContext() == nullptr; }));
        send_numbers(0, 1030);
        broker.start();
        Peer peer;
        serve_after(249);
        EXPECT_FALSE(object_is_there());
        testClock.advance(1);
        EXPECT_TRUE(serve_until(object_is_there));
        send_numbers(1030, 1031);
        EXPECT_TRUE(reaches_us());
        serve_after(999);
        EXPECT_EQ(peer.count(), 0u) << "listeners have a second to come back";
        testClock.advance(1);
        EXPECT_TRUE(serve_until([&] { return peer.count() >= 1024; }));
        for (int i = 0; i < 1024; ++i) ASSERT_EQ(peer.number_at(static_cast<size_t>(i)), i + 7);
        send_numbers(5, 6);
        EXPECT_TRUE(serve_until([&] { return peer.count() > 1024; })) << "at once again";
        EXPECT_EQ(peer.number_at(1024), 5);
    });
}

/** A new broker in the place of the old one, and the library on it. */
void replace(Broker &broker, const std::function<void()> &meanwhile = {}) {
    broker.stop();
    EXPECT_TRUE(serve_until([] { return merkaGetContext() == nullptr; }));
    broker.start();
    if (meanwhile) meanwhile();
    testClock.advance(250);
    EXPECT_TRUE(serve_until([] { return merkaGetContext() != nullptr; }));
}

TEST(Merka, ObjectThatABrokerRefusedComesBackWithTheNext) {
    isolated("", [](Broker &broker) {
        ASSERT_TRUE(add_object());
        std::optional<Wire> squatter;
        replace(broker, [&] {
            squatter.emplace(socketPath);
            EXPECT_NE(squatter->add_object(text_attr(UBUS_ATTR_OBJPATH, "merka.test")), 0u);
        });
        squatter.reset();
        serve_after(0);
        EXPECT_FALSE(object_is_there());
        replace(broker);
        EXPECT_TRUE(object_is_there());
    });
}

TEST(Merka, StartsOnABrokerThatDoesNotGreet) {
    isolated("", [](Broker &broker) {
        Peer peer;
        broker.sleep();
        const int64_t start = testClock.stoppedAt;
        testClock.pollsElapse = true;
        EXPECT_EQ(merkaGetContext(), nullptr);
        EXPECT_EQ(testClock.stoppedAt - start, 1000);
        subscribe();
        testClock.limitedPolls = 0;
        for (int ms = 0; ms < 3000; ms += 250) serve_after(250);
        EXPECT_EQ(testClock.limitedPolls, 0) << "the loop isn't held up";
        EXPECT_EQ(merkaGetContext(), nullptr);
        testClock.pollsElapse = false;
        broker.wake();
        EXPECT_TRUE(serve_until([] { return merkaGetContext() != nullptr; }));
        send_numbers(1, 2);
        serve_after(999);
        EXPECT_EQ(peer.count(), 0u);
        testClock.advance(1);
        EXPECT_TRUE(serve_until([&] { return peer.count() == 1; }));
        EXPECT_TRUE(reaches_us());
    });
}

TEST(Merka, BrokerThatStopsReadingHoldsNothingUp) {
    isolated("merka: signals go out again, 9[0-9]+ were dropped\n", [](Broker &broker) {
        Peer peer;
        ASSERT_NE(merkaGetContext(), nullptr);
        broker.sleep();
        testClock.limitedPolls = 0;
        send_numbers(0, 2000);
        EXPECT_EQ(testClock.limitedPolls, 0);
        broker.wake();
        EXPECT_TRUE(serve_until([&] { return peer.number_at(peer.count() - 1) == 1999; }));
        ASSERT_GT(peer.heard.size(), 1024u);
        const int direct = static_cast<int>(peer.heard.size()) - 1024; // what the socket took
        for (int i = 0; i < direct + 1024; ++i)
            ASSERT_EQ(peer.number_at(static_cast<size_t>(i)), i < direct ? i : i - direct + 976);
    });
}

// It stands still while the loop is inside a bus call: the call ends, the loop goes on, and all comes back.
TEST(Merka, BrokerThatStopsInTheMiddleOfACallIsLeft) {
    isolated("", [](Broker &broker) {
        ASSERT_TRUE(add_object());
        subscribe();
        serve_after(0);
        testClock.go_on(); // the watchdog's time is real
        static Broker *asleep;
        static int status;
        asleep = &broker;
        static uloop_timeout caller = { .cb = [](uloop_timeout *) {
            asleep->sleep();
            static ubus_object other = {};
            status = ubus_add_object(merkaGetContext(), &other);
        } };
        uloop_timeout_set(&caller, 1);
        EXPECT_TRUE(serve_until([] { return merkaGetContext() == nullptr; }));
        EXPECT_EQ(status, UBUS_STATUS_CONNECTION_FAILED);
        int turns = 0;
        static uloop_timeout ticker = { .cb = [](uloop_timeout *timer) { uloop_timeout_set(timer, 1); } };
        uloop_timeout_set(&ticker, 1);
        EXPECT_TRUE(serve_until([&] { return ++turns > 1000; })) << "the loop ticks";
        send_numbers(1, 2);
        broker.wake();
        EXPECT_TRUE(serve_until([] { return merkaGetContext() != nullptr; }));
        Peer peer;
        EXPECT_TRUE(reaches_us());
        EXPECT_TRUE(object_is_there());
        EXPECT_TRUE(serve_until([&] { return peer.count() == 1; }));
    });
}

// Its queue of waiting connections fills up between its greeting and the library's own connection.
TEST(Merka, ABrokerWithAFullQueueHoldsNothingUp) {
    isolated("", [](Broker &broker) {
        broker.stop();
        unlink(socketPath.c_str());
        const int listener = listen_at(socketPath);
        const pid_t full = in_child([=] {
            const int probe = accept(listener, nullptr, nullptr);
            connect_to(socketPath);
            ::send(probe, message(UBUS_MSG_HELLO, 0, 7777, "").data(), 12, 0);
            pause();
        });
        testClock.go_on();
        EXPECT_EQ(merkaGetContext(), nullptr);
        end_child(full);
        close(listener);
        broker.start();
        EXPECT_TRUE(serve_until([] { return merkaGetContext() != nullptr; }));
    });
}

/** Sends numbers; how many were taken. All of them have to arrive, whole and in order. */
size_t send_what_is_taken(Peer &peer, int from, int to) {
    std::vector<int> numbers, heard;
    for (; from < to; ++from)
        if (send_number(from) == 0) numbers.push_back(from);
    for (int i = 0; i < 5; ++i) serve_after(1000);
    EXPECT_TRUE(serve_until([&] { return peer.count() >= numbers.size(); }));
    for (size_t i = 0; i < peer.count(); ++i) {
        EXPECT_EQ(peer.heard[i].size(), peer.heard[0].size());
        heard.push_back(peer.number_at(i));
    }
    EXPECT_EQ(heard, numbers);
    return numbers.size();
}

void live_through_a_restart(Broker &broker) {
    subscribe();
    EXPECT_TRUE(add_object() || add_object() || add_object());
    std::optional<Peer> peer(std::in_place);
    peer->wire.send(
        message(UBUS_MSG_INVOKE, 5, object.id, object_attr(object.id) + method_attr("ping") + data_attr("")));
    EXPECT_TRUE(peer->wire.alive());
    uint32_t unused;
    ubus_lookup_id(merkaGetContext(), "merka.test", &unused); // the call comes while this one waits
    serve_after(1);
    const Message answer = peer->wire.receive();
    EXPECT_EQ(answer.type, UBUS_MSG_STATUS + 0u);
    EXPECT_EQ(answer.number(UBUS_ATTR_STATUS) % UBUS_STATUS_NO_MEMORY, 0u);
    size_t taken = send_what_is_taken(*peer, 0, 5);
    peer.reset();
    broker.stop();
    EXPECT_TRUE(serve_until([] { return merkaGetContext() == nullptr; }));
    broker.start();
    peer.emplace();
    taken += send_what_is_taken(*peer, 5, 10);
    EXPECT_GE(taken, 9u);
    EXPECT_TRUE(object_is_there());
    EXPECT_TRUE(reaches_us());
    send_numbers(10, 11);
    EXPECT_EQ(lseek(STDERR_FILENO, 0, SEEK_CUR) > 0, taken < 10) << "what was dropped is told by now";
}

TEST(Merka, AnyAllocationMayFailOnce) {
    Plan &plan = shared_plan();
    int count = 0; // of the outbox, and of the bus libraries where they are built in
    do {
        SCOPED_TRACE("allocation " + std::to_string(count));
        plan = { count++, 1 };
        isolated("(merka: signals go out again, 1 were dropped\n)?", live_through_a_restart);
    } while (plan.failing == 0);
    EXPECT_GT(count, 5);
}
} // namespace
