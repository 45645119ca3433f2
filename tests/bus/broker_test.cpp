// The broker under loads, limits and nonsense: long messages, readers that don't read, memory that fails. What is said
// in between stands in broker.rows.
#include "tests/bus/harness.h"

#include <fstream>
#include <gmock/gmock.h>
#include <linux/sockios.h>
#include <list>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
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

struct BrokerWire : testing::Test {
    Broker broker;
};

TEST_F(BrokerWire, AMessageOfOneMebibytePassesAndALongerOneEndsItsClientOnly) {
    Wire server(broker.path), caller(broker.path);
    const uint32_t object = server.add_object("");
    const std::string head = object_attr(object) + method_attr("m");
    const std::string fill(1024 * 1024 - 4 - head.size() - 4, 'x');
    for (const char *length : { "00000000", "00000003", "00100001", "00ffffff" }) {
        Wire wire(broker.path);
        wire.send(message(3, 1, 0, "") + bytes(std::string("00 03 0001 00000000") + length) + std::string(70000, 'x'));
        EXPECT_EQ(wire.receive().type, UBUS_MSG_DATA + 0u) << "what came before is answered";
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
    for (int i = 0; i < 1500; i++)
        ASSERT_EQ(sender.ask(event_of(1100)), 0); // so many pieces that sent ones are dropped
    for (int i = 0; i < 1500; i++) ASSERT_EQ(sleeper.receive().get(UBUS_ATTR_DATA), payload_of(1100)) << i;
    // More at once than is kept for it: what the socket takes doesn't count.
    EXPECT_NE(sender.add_object(published("l", field(BLOBMSG_TYPE_TABLE, std::string(15000, 'n'), ""))), 0u);
    std::string requests;
    for (int i = 0; i < 280; i++) requests += lookup("l");
    sleeper.send(requests);
    EXPECT_TRUE(sender.alive());
    for (int i = 0; i < 280; i++) ASSERT_EQ(sleeper.ask(""), 0) << i;
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
    EXPECT_NE(other.hear("p"), 0u);
    hoarder.send(lookup("h*") + lookup("h*") + lookup("h*") + event("p", ""));
    EXPECT_TRUE(other.alive());
    EXPECT_EQ(other.data.size(), 1u) << "what it asks for after it has been given up isn't done";
    EXPECT_TRUE(hoarder.closed());
    Wire pedant(broker.path); // what patterns and objects cost beside their bytes counts, too
    const uint32_t pedants = pedant.hear("p");
    int held = 0;
    while (held < 100 && pedant.ask(listen_to(pedants, std::string(69890, static_cast<char>('A' + held)))) == 0) held++;
    EXPECT_EQ(held, 29);
    EXPECT_EQ(pedant.ask(listen_to(pedants, std::string(69890, 'A'))), 0) << "it has that one";
    EXPECT_EQ(pedant.add_object(path_attr(std::string(69500, 'p').c_str())), 0u);
    int added = 0;
    while (added < 1000 && pedant.add_object("")) added++;
    EXPECT_EQ(added, 270);
    EXPECT_TRUE(other.alive());
}

/** A client's life, in which each request is done, refused for want of memory, or the last one. What is said to be done
 * is: bytes of events that were, to be heard by the others. */
size_t live(Broker &broker) {
    Wire wire(broker.path), companion(broker.path), third(broker.path);
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
    std::string pings;
    for (int i = 0; i < 30; i++) pings += inner;
    for (int i = 0; i < 30; i++) {
        const bool answered = wire.ask(std::exchange(pings, "")) == 0;
        EXPECT_EQ(wire.data.size(), answered) << i;
    }
    const auto listens_to = [&](const std::string &pattern) {
        std::optional<int> status = wire.ask(listen_to(listener, pattern));
        if (status == 11 && shared_plan().failing == 0) {
            status = wire.ask(listen_to(listener, pattern));
            EXPECT_EQ(status, 0) << "what was refused isn't charged";
        }
        return status == 0;
    };
    listens_to(std::string(1000000, 'a'));
    const bool hears = listens_to("ubus.object.remove");
    listens_to(std::string(1040000, 'b'));
    ask(lookup("life*"), 1);
    ask(lookup("*"), 1 + second);
    size_t done = 0;
    for (const size_t size : { 3, 5000, 30000, 200000 }) {
        if (ask(event(std::string(size, 'e'), payload_of(size)), 0)) done += size;
        const std::string content = object_attr(named) + method_attr("set") + data_attr(payload_of(size));
        wire.send(message(UBUS_MSG_INVOKE, 8, named, content)); // to itself
        if (wire.receive().type != UBUS_MSG_INVOKE) continue;
        const std::string status = object_attr(named) + attr(UBUS_ATTR_STATUS, be32(0));
        const std::string answer = object_attr(named) + data_attr(payload_of(2 * size)); // needs more than the call
        ask(message(UBUS_MSG_DATA, 8, wire.id, answer) + message(UBUS_MSG_STATUS, 8, wire.id, status), 1);
        EXPECT_TRUE(wire.answering == named || wire.closed());
        if (wire.data.empty()) wire.ask(""); // the data's end came in front of the status
    }
    const bool removed = wire.ask(removal(named)) == 0;
    EXPECT_TRUE(!removed || wire.data.size() <= 1u + hears); // the event comes once, or is missed
    companion.send(outer.substr(0, 5));
    broker.sleep(); // all three connections go at once
    return done;
}

/** Listens to everything while another client lives. */
struct Witness {
    Wire wire;
    const uint32_t object = wire.hear("*");
    size_t heard = 0, events = 0;
    explicit Witness(const std::string &path) : wire(path) {}

    /** Only the witness's own object is left; the events that came by now were whole ones. */
    void looks_around() {
        EXPECT_EQ(wire.ask(lookup("*")), 0);
        size_t found = 0;
        for (const Message &m : wire.data) {
            found += m.type == UBUS_MSG_DATA;
            events += m.type == UBUS_MSG_INVOKE;
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
    Wire other(broker.path);
    const size_t before = descriptors_of(broker.pid);
    plan.granted = granted;
    plan.failing = failing;
    const size_t done = live(broker);
    broker.wake();
    EXPECT_TRUE(eventually([&] { return descriptors_of(broker.pid) == before; })) << "it isn't let go";
    const bool failed = plan.failing != failing;
    plan.failing = 0;
    EXPECT_NE(other.add_object(published("other", signature)), 0u);
    for (Witness *witness : { &first, &second }) {
        witness->looks_around();
        EXPECT_GE(witness->heard, done);
    }
    std::ifstream log(errors);
    bool told = false;
    for (std::string line; std::getline(log, line); told = true) {
        char client[9] = "";
        EXPECT_THAT(line, testing::MatchesRegex("vesk-busd: no memory for (client [0-9a-f]+|one more client): .+"));
        sscanf(line.c_str(), "vesk-busd: no memory for client %8s", client);
        for (Witness *witness : { &first, &second })
            witness->events += line.ends_with("it misses an event") && strtoul(client, nullptr, 16) == witness->wire.id;
    }
    EXPECT_EQ(told, failed);
    EXPECT_EQ(first.events, second.events) << "heard, or said to be missed";
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
            EXPECT_TRUE(failed || outcome.first == 3 + 5000 + 30000 + 200000u);
        }
    }
    unlink(errors.c_str());
}

TEST(BrokerMemory, ShortAnswersNeedNoMore) {
    Plan &plan = shared_plan();
    plan = {};
    Broker broker(VESK_TEST_FAILING_BROKER, "/dev/null");
    Wire wire(broker.path);
    EXPECT_TRUE(wire.alive());
    plan.failing = 1;
    for (int i = 0; i < 200; i++) EXPECT_TRUE(wire.alive());
    EXPECT_EQ(plan.failing, 1) << "an allocation was tried";
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
        more.pop_back();
        for (Wire &served : more) EXPECT_TRUE(served.alive());
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
    struct stat socket;
    EXPECT_EQ(stat(broker.path.c_str(), &socket), 0);
    EXPECT_EQ(socket.st_mode & 0777, 0666u) << "any user may connect";
    EXPECT_EQ(access(full.c_str(), F_OK), 0);
    close(waiting);
    close(listener);
    unlink(full.c_str());
}
} // namespace
