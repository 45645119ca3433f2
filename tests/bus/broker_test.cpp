// The broker in bytes: requests and their answers, calls on their way, events; long messages, readers that
// don't read, nonsense.
#include "tests/bus/harness.h"

#include <fstream>
#include <gmock/gmock.h>
#include <linux/sockios.h>
#include <list>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/wait.h>

namespace {
const std::string signature =
    field(BLOBMSG_TYPE_TABLE, "set", int_field("id", 5)) + field(BLOBMSG_TYPE_TABLE, "ping", "");

const auto path_attr = [](const char *path) { return text_attr(UBUS_ATTR_OBJPATH, path); };
const auto lookup = [](const char *path) { return message(UBUS_MSG_LOOKUP, 3, 0, path_attr(path)); };
const auto removal = [](uint32_t id) { return message(UBUS_MSG_REMOVE_OBJECT, 4, 0, object_attr(id)); };
const auto published = [](const char *path, const std::string &methods) {
    return path_attr(path) + attr(UBUS_ATTR_SIGNATURE, methods);
};
const auto payload_of = [](size_t size) { return field(0, "payload", std::string(size, 'p')); };
const auto event_of = [](size_t size) { return event("e", payload_of(size)); };

// clang-format off
const struct { const char *name; uint32_t type; std::string body; uint32_t status; } statuses[] = {
    { "greeting from a client", UBUS_MSG_HELLO, "", 1 },
    { "type 12", 12, "", 1 },
    { "lookup of nothing", UBUS_MSG_LOOKUP, path_attr(""), 2 },
    { "lookup of an unknown path", UBUS_MSG_LOOKUP, path_attr("nope"), 4 },
    { "lookup of unknown paths", UBUS_MSG_LOOKUP, path_attr("nope*"), 4 },
    { "remove without id", UBUS_MSG_REMOVE_OBJECT, "", 2 },
    { "remove of an unknown object", UBUS_MSG_REMOVE_OBJECT, object_attr(77777), 4 },
    { "call without object", UBUS_MSG_INVOKE, method_attr("m"), 2 },
    { "call without method", UBUS_MSG_INVOKE, object_attr(77777), 2 },
    { "call, method not ended", UBUS_MSG_INVOKE, object_attr(77777) + attr(UBUS_ATTR_METHOD, "abc"), 2 },
    { "call, id of 3 bytes", UBUS_MSG_INVOKE, attr(UBUS_ATTR_OBJID, "abc") + method_attr("m"), 2 },
    { "call of an unknown object", UBUS_MSG_INVOKE, method_attr("m") + object_attr(77777), 4 },
    { "event object, unknown method", UBUS_MSG_INVOKE, to_events("m", "").substr(12), 1 },
    { "event without data", UBUS_MSG_INVOKE, object_attr(1) + method_attr("send"), 2 },
    { "event without id", UBUS_MSG_INVOKE, to_events("send", field(BLOBMSG_TYPE_TABLE, "data", "")).substr(12), 2 },
    { "event, content no table", UBUS_MSG_INVOKE, to_events("send", text_field("id", "e") + text_field("data", "x")).substr(12), 2 },
    { "event of the broker's own", UBUS_MSG_INVOKE, event("ubus.object.add", "").substr(12), 6 },
    { "event that nobody hears", UBUS_MSG_INVOKE, event("e", "").substr(12), 0 },
    { "listener without pattern", UBUS_MSG_INVOKE, to_events("register", int_field("object", 77777)).substr(12), 2 },
    { "listener of the system", UBUS_MSG_INVOKE, listen_to(1023, "e").substr(12), 6 },
    { "listener unknown", UBUS_MSG_INVOKE, listen_to(77777, "e").substr(12), 4 },
};

const struct { const char *pattern, *id; bool heard; } patterns[] = {
    { "foo", "foo", true }, { "foo", "foobar", false }, { "foo", "fo", false },
    { "foo*", "foo", true }, { "foo*", "foob", true }, { "foo*", "fo", false },
    { "f*o", "foo", false }, { "f*o", "f*o", true }, { "*", "any", true },
};
// clang-format on

struct BrokerWire : testing::Test {
    Broker broker;
};

// All requests in one piece, in short ones, in odd ones, each of them read alone (another client's ping comes behind
// it): the same answers, number and peer sent back.
TEST_F(BrokerWire, AnswersEachRequest) {
    std::string all;
    for (const auto &c : statuses) all += message(c.type, static_cast<uint16_t>(&c - statuses), 0xabcdef01, c.body);
    Wire other(broker.path);
    for (const size_t piece : { all.size(), size_t{ 5 }, size_t{ 13 } }) {
        Wire wire(broker.path);
        for (size_t i = 0; i < all.size(); i += piece) {
            wire.send(all.substr(i, piece));
            EXPECT_TRUE(other.alive());
        }
        for (const auto &c : statuses) {
            SCOPED_TRACE(c.name);
            EXPECT_EQ(wire.receive().whole(), message(UBUS_MSG_STATUS, static_cast<uint16_t>(&c - statuses), 0xabcdef01,
                                                      attr(UBUS_ATTR_STATUS, be32(c.status))));
        }
    }
}

TEST_F(BrokerWire, PublishesAndFindsObjects) {
    Wire owner(broker.path), other(broker.path);
    const uint32_t b = owner.add_object(published("lab.b", signature));
    ASSERT_EQ(owner.data.size(), 1u);
    const uint32_t type = owner.data[0].number(UBUS_ATTR_OBJTYPE);
    EXPECT_GE(std::min(b, type), 1024u);
    const std::string byType = attr(UBUS_ATTR_OBJTYPE, be32(type));
    const uint32_t a = other.add_object(path_attr("lab.a") + byType);
    EXPECT_FALSE(other.data[0].get(UBUS_ATTR_OBJTYPE));             // it knew the type
    EXPECT_EQ(other.add_object(published("lab.b", signature)), 0u); // taken
    EXPECT_NE(other.add_object(path_attr("lab.typeless")), 0u);
    EXPECT_NE(other.add_object(published("lab.void", signature + field(BLOBMSG_TYPE_TABLE, "", ""))), 0u);

    // clang-format off
    const struct { const char *pattern; int status; std::vector<uint32_t> hits; } cases[] = {
        { "lab.b", 0, { b } }, { "lab.*", 0, { a, b } }, { "*", 0, { a, b } }, { "l*.b", 4, {} }, { "lab", 4, {} },
        { "lab.typeless", 0, {} }, { "lab.void", 0, {} },
    };
    // clang-format on
    for (const auto &c : cases) {
        EXPECT_EQ(other.ask(lookup(c.pattern)), c.status);
        std::vector<uint32_t> hits;
        for (const Message &hit : other.data) hits.push_back(hit.number(UBUS_ATTR_OBJID));
        EXPECT_EQ(hits, c.hits) << c.pattern;
    }
    EXPECT_EQ(other.ask(lookup("lab.b")), 0);
    EXPECT_EQ(other.data[0].body, path_attr("lab.b") + object_attr(b) + byType + attr(UBUS_ATTR_SIGNATURE, signature));
    EXPECT_EQ(other.ask(removal(b)), 6);
    EXPECT_EQ(owner.ask(removal(b)), 0);
    EXPECT_EQ(owner.data[0].body, object_attr(b));
    EXPECT_EQ(other.ask(removal(a)), 0);
    EXPECT_EQ(other.data[0].body, object_attr(a) + byType); // the last of its type
    EXPECT_EQ(other.ask(lookup("lab.b")), 4);
}

TEST_F(BrokerWire, CarriesACallThereAndBack) {
    Wire server(broker.path), caller(broker.path), stranger(broker.path);
    const uint32_t object = server.add_object(published("lab.x", signature));
    const std::string fields =
        field(BLOBMSG_TYPE_INT64, "n", be32(0x01020304) + be32(0x05060708)) + field(BLOBMSG_TYPE_UNSPEC, "u", "xyz");
    caller.send(message(UBUS_MSG_INVOKE, 0x1234, object,
                        attr(UBUS_ATTR_NO_REPLY, std::string(1, 1)) + data_attr(fields) + method_attr("set") +
                            object_attr(object)));
    const Message call = server.receive();
    EXPECT_EQ(call.whole(), message(UBUS_MSG_INVOKE, 0x1234, caller.id, call.body));
    EXPECT_EQ(call.number(UBUS_ATTR_OBJID), object);
    EXPECT_EQ(call.get(UBUS_ATTR_METHOD), std::string("set\0", 4));
    EXPECT_EQ(call.get(UBUS_ATTR_DATA), fields);
    EXPECT_FALSE(call.get(UBUS_ATTR_NO_REPLY));

    const std::string result = object_attr(object) + data_attr(fields);
    const std::string status = attr(UBUS_ATTR_STATUS, be32(0xffffffff)) + object_attr(object);
    stranger.send(message(UBUS_MSG_STATUS, 0x1234, caller.id, status)); // not the owner
    EXPECT_TRUE(stranger.alive());
    server.send(message(UBUS_MSG_DATA, 0x1234, caller.id, data_attr(fields)));     // no object
    server.send(message(UBUS_MSG_STATUS, 0x1234, caller.id, object_attr(object))); // no status
    for (const auto &[type, body] : { std::pair(UBUS_MSG_DATA + 0u, result), { UBUS_MSG_STATUS + 0u, status } }) {
        server.send(message(type, 0x1234, caller.id, body));
        EXPECT_EQ(caller.receive().whole(), message(type, 0x1234, object, body));
    }
    for (Wire *wire : { &server, &caller }) EXPECT_TRUE(wire->alive());
    EXPECT_EQ(caller.data.size(), 1u); // the ping's answer: nothing else had come
    caller.send(message(UBUS_MSG_INVOKE, 7, object, object_attr(object) + method_attr("set")));
    EXPECT_FALSE(server.receive().get(UBUS_ATTR_DATA));
}

// Once to each object, never to the sender. Short events are copied, long ones shared: both arrive whole.
TEST_F(BrokerWire, DeliversEventsByPattern) {
    Wire sender(broker.path);
    EXPECT_NE(sender.hear("*"), 0u);
    for (const auto &c : patterns) {
        SCOPED_TRACE(std::string(c.pattern) + " " + c.id);
        Wire listener(broker.path);
        const uint32_t objects[] = { listener.hear(c.pattern), listener.hear(c.pattern) };
        EXPECT_EQ(listener.ask(listen_to(objects[0], c.heard ? "*" : c.pattern)), 0); // two that match
        EXPECT_EQ(listener.ask(listen_to(objects[0], "")), 6);
        EXPECT_EQ(sender.ask(listen_to(objects[0], "x")), 6);
        const std::string content = payload_of((&c - patterns) % 2 ? 5000 : 3);
        EXPECT_EQ(sender.ask(event(c.id, content)), 0);
        EXPECT_TRUE(sender.data.empty());
        EXPECT_TRUE(listener.alive());
        ASSERT_EQ(listener.data.size(), c.heard ? 3u : 1u); // the ping's answer is the last
        for (size_t i = 0; c.heard && i < 2; i++)
            EXPECT_EQ(listener.data[i].whole(),
                      message(UBUS_MSG_INVOKE, listener.data[i].seq, 0,
                              object_attr(objects[i]) + method_attr(c.id) + data_attr(content)));
    }
}

TEST_F(BrokerWire, AnnouncesObjectsAndTakesThoseOfAGoneClientAway) {
    Wire watcher(broker.path);
    const uint32_t object = watcher.hear("ubus.object.*");
    uint32_t ids[2];
    {
        Wire owner(broker.path);
        ids[0] = owner.add_object(published("lab.0", signature));
        ids[1] = owner.add_object(published("lab.1", signature));
    }
    for (const auto &[event, i] : { std::pair("add", 0), { "add", 1 }, { "remove", 1 }, { "remove", 0 } }) {
        const auto content = int_field("id", ids[i]) + text_field("path", i ? "lab.1" : "lab.0");
        EXPECT_EQ(watcher.receive().body,
                  object_attr(object) + method_attr(std::string("ubus.object.") + event) + data_attr(content));
    }
    EXPECT_EQ(watcher.ask(lookup("lab.*")), 4);
    // To the owner of the new object, too, and before the answer.
    EXPECT_NE(watcher.add_object(published("lab.3", signature)), 0u);
    ASSERT_EQ(watcher.data.size(), 2u);
    EXPECT_EQ(watcher.data[0].get(UBUS_ATTR_METHOD), std::string("ubus.object.add") + '\0');
}

TEST_F(BrokerWire, AMessageOfOneMebibytePassesAndALongerOneEndsItsClientOnly) {
    Wire server(broker.path), caller(broker.path);
    const uint32_t object = server.add_object("");
    const std::string head = object_attr(object) + method_attr("m");
    const std::string fill(1024 * 1024 - 4 - head.size() - 4, 'x');
    for (const char *length : { "00000000", "00000003", "00100001", "00ffffff" }) {
        Wire wire(broker.path);
        wire.send(message(3, 1, 0, "") + bytes(std::string("00 03 0001 00000000") + length));
        EXPECT_TRUE(wire.closed()) << length;
        caller.send(message(UBUS_MSG_INVOKE, 3, object, head + data_attr(fill)));
        EXPECT_EQ(server.receive().get(UBUS_ATTR_DATA), fill);
    }
}

TEST_F(BrokerWire, AReaderThatSleepsLosesNothingAndOneThatNeverReadsIsLetGo) {
    Wire sender(broker.path), sleeper(broker.path), never(broker.path);
    const uint32_t object = sleeper.hear("*");
    EXPECT_NE(object, 0u);
    EXPECT_NE(never.hear("*"), 0u);
    for (int round = 0; round < 10; round++) {
        for (int i = 0; i < 20; i++) EXPECT_EQ(sender.ask(event_of(50000)), 0);
        for (int i = 0; i < 20; i++) EXPECT_EQ(sleeper.receive().type, UBUS_MSG_INVOKE + 0u) << round << " " << i;
    }
    EXPECT_TRUE(never.closed());
    EXPECT_TRUE(sleeper.alive());
    EXPECT_TRUE(eventually([&] { return broker.idle(); }));
    shutdown(sleeper.fd, SHUT_RD); // it will never take what comes
    EXPECT_EQ(sender.ask(event_of(3)), 0);
    EXPECT_EQ(sender.ask(listen_to(object, "x")), 4) << "its object is gone";
}

// One that keeps too much is refused, and as before when it has given something up; the others don't notice.
TEST_F(BrokerWire, KeepsSoMuchForAClientAndNoMore) {
    Wire hoarder(broker.path), other(broker.path);
    const std::string large =
        field(BLOBMSG_TYPE_TABLE, "m", field(BLOBMSG_TYPE_INT32, std::string(60000, 'n'), be32(5)));
    std::vector<uint32_t> objects;
    const auto one_more = [&] {
        return hoarder.ask(
            message(UBUS_MSG_ADD_OBJECT, 1, 0, published(("h" + std::to_string(objects.size())).c_str(), large)));
    };
    while (one_more() == 0 && objects.size() < 100) objects.push_back(hoarder.data.back().number(UBUS_ATTR_OBJID));
    EXPECT_EQ(objects.size(), 34u);
    EXPECT_EQ(one_more(), 11);
    EXPECT_EQ(other.ask(message(UBUS_MSG_ADD_OBJECT, 1, 0, published("other", large))), 0);
    EXPECT_EQ(hoarder.ask(removal(objects.back())), 0);
    objects.pop_back();
    EXPECT_EQ(one_more(), 0);
    const uint32_t listener = other.hear("p");
    int held = 0, status = 0;
    while (status == 0 && held < 100)
        status = *other.ask(listen_to(listener, std::to_string(held++) + std::string(90000, 'p')));
    EXPECT_EQ(status, 11);
    EXPECT_LT(held, 30);
    EXPECT_TRUE(other.alive());
}

/** A client's life, in which each request is done, refused for want of memory, or the last one. What is said to be done
 * is: bytes of events that were, to be heard by the others. */
size_t live(Broker &broker) {
    Wire wire(broker.path), companion(broker.path);
    int unread = 0;
    const auto ask = [&](const std::string &request, size_t answers) {
        const int status = wire.ask(request).value_or(11);
        EXPECT_TRUE(status == 0 || status == 11) << status;
        EXPECT_TRUE(status != 0 || wire.data.size() == answers) << wire.data.size();
        return status == 0;
    };
    const uint32_t named = wire.add_object(published(("life" + std::string(5000, '.')).c_str(), signature));
    EXPECT_TRUE(named || wire.ask(lookup("life*")) != 0);
    const uint32_t listener = wire.add_object("");
    if (!named || !listener) return 0;
    // The first answer leaves no room in the queue's memory: the second one needs more.
    wire.ask(message(UBUS_MSG_PING, 7, 0, attr(UBUS_ATTR_DATA, std::string(4052, 'p'))) +
             message(UBUS_MSG_ADD_OBJECT, 1, 0, published("second", signature)));
    const bool second = wire.ask("") == 0;
    EXPECT_TRUE(second || wire.ask(lookup("second")) != 0);
    // A message whose begin is lost isn't followed by one that stands in it.
    const std::string inner = message(UBUS_MSG_PING, 2, 0, ""), outer = message(UBUS_MSG_MONITOR, 1, 0, inner);
    for (const std::string &piece : { outer.substr(0, 5), outer.substr(5, 7) }) {
        wire.send(piece);
        EXPECT_TRUE(eventually([&] { return ioctl(wire.fd, SIOCOUTQ, &unread) != 0 || unread == 0; }));
    }
    EXPECT_NE(wire.ask(inner), 0);
    ask(listen_to(listener, "a"), 0);
    const bool hears = ask(listen_to(listener, "ubus.object.remove"), 0);
    ask(lookup("life*"), 1);
    ask(lookup("*"), 2 + second);
    size_t done = 0;
    for (const size_t size : { 3, 5000, 200000 }) {
        if (ask(event(std::string(size, 'e'), payload_of(size)), 0)) done += size;
        const std::string content = object_attr(named) + method_attr("set") + data_attr(payload_of(size));
        wire.send(message(UBUS_MSG_INVOKE, 8, named, content)); // to itself
        if (wire.receive().type != UBUS_MSG_INVOKE) continue;
        const std::string status = object_attr(named) + attr(UBUS_ATTR_STATUS, be32(0));
        ask(message(UBUS_MSG_DATA, 8, wire.id, content) + message(UBUS_MSG_STATUS, 8, wire.id, status), 1);
    }
    const bool removed = wire.ask(removal(named)) == 0;
    EXPECT_TRUE(!removed || wire.data.size() <= 1u + hears); // the event comes once, or is missed
    companion.send(outer.substr(0, 5));
    broker.sleep(); // both connections go at once
    return done;
}

/** Listens to everything while another client lives. */
struct Witness {
    Wire wire;
    const uint32_t object = wire.hear("*");
    size_t heard = 0;
    explicit Witness(const std::string &path) : wire(path) {}

    /** Only the witness's own object is left; the events that came by now were whole ones. */
    void looks_around() {
        EXPECT_EQ(wire.ask(lookup("*")), 0);
        size_t found = 0;
        for (const Message &m : wire.data) {
            found += m.type == UBUS_MSG_DATA;
            if (m.type == UBUS_MSG_DATA || (*m.get(UBUS_ATTR_METHOD))[0] == 'u') continue;
            const std::string id(m.get(UBUS_ATTR_METHOD)->size() - 1, 'e');
            EXPECT_EQ(m.body, object_attr(object) + method_attr(id) + data_attr(payload_of(id.size())));
            heard += id.size();
        }
        EXPECT_EQ(found, 1u);
    }
};

const std::string errors = "/tmp/vesk-bus.errors." + std::to_string(getpid());

/** One life beside two witnesses. In a broker of its own, where whatever grows has to grow once more. What the others
 * heard; whether an allocation failed. */
std::pair<size_t, bool> live_beside_others(const int granted, const int failing) {
    Plan &plan = shared_plan();
    plan = {};
    Broker broker(VESK_TEST_FAILING_BROKER, errors.c_str());
    Witness first(broker.path), second(broker.path);
    EXPECT_NE(first.wire.add_object(published("other", signature)), 0u);
    const size_t before = descriptors_of(broker.pid);
    plan.granted = granted;
    plan.failing = failing;
    const size_t done = live(broker);
    broker.wake();
    EXPECT_TRUE(eventually([&] { return descriptors_of(broker.pid) == before; })) << "it isn't let go";
    const bool failed = plan.failing != failing;
    plan.failing = 0;
    for (Witness *witness : { &first, &second }) {
        witness->looks_around();
        EXPECT_GE(witness->heard, done);
    }
    size_t told = 0;
    std::ifstream lines(errors);
    for (std::string line; std::getline(lines, line); told++)
        EXPECT_THAT(line, testing::MatchesRegex("vesk-busd: no memory for (client [0-9a-f]+|one more client): .+"));
    EXPECT_EQ(told > 0, failed);
    EXPECT_EQ(broker.finish(granted % 2 ? SIGTERM : SIGINT), 0);
    EXPECT_NE(access(broker.path.c_str(), F_OK), 0) << "it takes its socket along";
    EXPECT_LE(plan.blocks, 1) << "the message that is used again stays";
    return { first.heard, failed };
}

// Each allocation fails in turn, alone or with all that follow, while one client lives its life. The others are served
// as before, hear whole events or none, and find nothing that is left of it; no memory is lost.
TEST(BrokerMemory, AnyAllocationMayFail) {
    for (const int failing : { 1, 1000000 }) {
        bool failed = true;
        for (int granted = 0; failed; granted++) {
            SCOPED_TRACE(std::to_string(failing) + " after " + std::to_string(granted));
            const auto outcome = live_beside_others(granted, failing);
            ASSERT_FALSE(HasFailure());
            failed = outcome.second;
            EXPECT_TRUE(failed || outcome.first == 3 + 5000 + 200000u);
        }
    }
    unlink(errors.c_str());
}

// A long message is sent from where it stands only when nothing waits before it.
TEST_F(BrokerWire, ALongMessageDoesNotOvertake) {
    Wire server(broker.path), caller(broker.path);
    const uint32_t object = server.add_object("");
    const auto call = [&](uint16_t number) {
        caller.send(message(UBUS_MSG_INVOKE, number, object,
                            object_attr(object) + method_attr("m") + data_attr(payload_of(30000))));
    };
    for (uint16_t i = 0; i < 20; i++) call(i);
    EXPECT_TRUE(caller.alive()); // more has come than the server's socket takes
    broker.sleep();
    call(20);
    for (uint16_t i = 0; i <= 20; i++) {
        if (i == 4) broker.wake(); // now it takes one more
        EXPECT_EQ(server.receive().seq, i);
    }
}

TEST(BrokerLimits, TurnsAwayWhomItHasNoDescriptorForAndServesTheRest) {
    Broker broker(VESK_TEST_BROKER, "/dev/null");
    Wire first(broker.path);
    const rlimit few = { 10, 10 };
    ASSERT_EQ(prlimit(broker.pid, RLIMIT_NOFILE, &few, nullptr), 0);
    for (int round = 0; round < 3; round++) {
        std::list<Wire> more;
        do more.emplace_back(broker.path);
        while (more.back().id && more.size() < 10);
        EXPECT_GT(more.size(), 1u) << round;
        EXPECT_TRUE(more.back().closed());
        more.clear();
        EXPECT_TRUE(first.alive());
    }
}

TEST_F(BrokerWire, RefusesASocketOrWordsThatItCanNotTake) {
    const std::string full = broker.path + ".full", tooLong(200, 'p');
    const int listener = listen_at(full);
    const int waiting = connect_to(full);
    const struct {
        std::vector<const char *> words;
        int status;
    } cases[] = {
        { { "-s", broker.path.c_str() }, 1 },
        { { "-s", full.c_str() }, 1 },
        { { "-s", tooLong.c_str() }, 1 },
        { { "-x" }, 2 },
        { { "-s" }, 2 },
        { { "word" }, 2 },
    };
    for (const auto &c : cases) {
        std::vector<const char *> words = c.words;
        words.insert(words.begin(), VESK_TEST_BROKER);
        words.push_back(nullptr);
        const pid_t second = in_child([&] {
            close(STDERR_FILENO);
            execv(words[0], const_cast<char **>(words.data()));
        });
        int status = 0;
        waitpid(second, &status, 0);
        EXPECT_EQ(WEXITSTATUS(status), c.status) << words[1];
    }
    EXPECT_TRUE(Wire(broker.path).alive());
    EXPECT_EQ(access(full.c_str(), F_OK), 0);
    close(waiting);
    close(listener);
    unlink(full.c_str());
}
} // namespace
