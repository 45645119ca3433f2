// The broker in bytes: requests and their answers, calls on their way, events.
#include "foundation/ubus_headers.h"
#include "tests/bus/harness.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
const std::string signature =
    field(BLOBMSG_TYPE_TABLE, "set", int_field("id", 5)) + field(BLOBMSG_TYPE_TABLE, "ping", "");

std::string lookup(const char *pattern)
{
    return message(UBUS_MSG_LOOKUP, 3, 0, text_attr(UBUS_ATTR_OBJPATH, pattern));
}

std::string published(const char *path)
{
    return text_attr(UBUS_ATTR_OBJPATH, path) + attr(UBUS_ATTR_SIGNATURE, signature);
}

struct StatusCase {
    const char *name;
    int type;
    std::string body;
    int status;
};
const StatusCase statuses[] = {
    { "greeting from a client", UBUS_MSG_HELLO, "", 1 },
    { "monitor", UBUS_MSG_MONITOR, "", 1 },
    { "type 12", 12, "", 1 },
    { "type 255", 255, "", 1 },
    { "lookup of all", UBUS_MSG_LOOKUP, "", 0 },
    { "lookup of nothing", UBUS_MSG_LOOKUP, text_attr(UBUS_ATTR_OBJPATH, ""), 2 },
    { "lookup of an unknown path", UBUS_MSG_LOOKUP, text_attr(UBUS_ATTR_OBJPATH, "nope"), 4 },
    { "lookup of unknown paths", UBUS_MSG_LOOKUP, text_attr(UBUS_ATTR_OBJPATH, "nope*"), 4 },
    { "remove without id", UBUS_MSG_REMOVE_OBJECT, "", 2 },
    { "remove of an unknown object", UBUS_MSG_REMOVE_OBJECT, object_attr(77777), 4 },
    { "call without object", UBUS_MSG_INVOKE, method_attr("m"), 2 },
    { "call without method", UBUS_MSG_INVOKE, object_attr(77777), 2 },
    { "call, method not ended", UBUS_MSG_INVOKE, object_attr(77777) + attr(UBUS_ATTR_METHOD, "abc"), 2 },
    { "call, id of 3 bytes", UBUS_MSG_INVOKE, attr(UBUS_ATTR_OBJID, "abc") + method_attr("m"), 2 },
    { "call of an unknown object", UBUS_MSG_INVOKE, method_attr("m") + object_attr(77777), 4 },
    { "call with an unknown attribute", UBUS_MSG_INVOKE,
      attr(99, "x") + method_attr("m") + object_attr(77777), 4 },
    { "event object, unknown method", UBUS_MSG_INVOKE, object_attr(1) + method_attr("m") + data_attr(""), 1 },
    { "event without data", UBUS_MSG_INVOKE, object_attr(1) + method_attr("send"), 2 },
    { "event without id", UBUS_MSG_INVOKE,
      object_attr(1) + method_attr("send") + data_attr(field(BLOBMSG_TYPE_TABLE, "data", "")), 2 },
    { "event, content no table", UBUS_MSG_INVOKE,
      object_attr(1) + method_attr("send") + data_attr(text_field("id", "e") + text_field("data", "x")), 2 },
    { "event of the broker's own", UBUS_MSG_INVOKE, event("ubus.object.add", "").substr(12), 6 },
    { "event that nobody hears", UBUS_MSG_INVOKE, event("e", "").substr(12), 0 },
    { "listener without pattern", UBUS_MSG_INVOKE,
      object_attr(1) + method_attr("register") + data_attr(int_field("object", 77777)), 2 },
    { "listener of the system", UBUS_MSG_INVOKE, listen(1023, "e").substr(12), 6 },
    { "listener unknown", UBUS_MSG_INVOKE, listen(77777, "e").substr(12), 4 },
};

// Whole, in single bytes, and all requests in one piece: the same answers, number and peer sent back.
TEST(BrokerWire, AnswersEachRequest)
{
    Broker broker;
    std::string all;
    for (const StatusCase &c : statuses)
        all += message(c.type, static_cast<uint16_t>(&c - statuses), 0xabcdef01, c.body);
    for (const size_t piece : { all.size(), size_t{ 1 }, size_t{ 13 } }) {
        Wire wire(broker.path);
        for (size_t i = 0; i < all.size(); i += piece)
            wire.send(all.substr(i, piece));
        for (const StatusCase &c : statuses) {
            SCOPED_TRACE(c.name);
            const auto answer = wire.receive();
            ASSERT_TRUE(answer);
            EXPECT_EQ(message(answer->type, answer->seq, answer->peer, answer->body),
                      message(UBUS_MSG_STATUS, static_cast<uint16_t>(&c - statuses), 0xabcdef01,
                              attr(UBUS_ATTR_STATUS, be32(static_cast<uint32_t>(c.status)))));
        }
    }
}

TEST(BrokerWire, PublishesAndFindsObjects)
{
    Broker broker;
    Wire owner(broker.path), other(broker.path);
    const uint32_t b = owner.add_object(published("lab.b"));
    ASSERT_EQ(owner.data.size(), 1u);
    const uint32_t type = owner.data[0].number(UBUS_ATTR_OBJTYPE).value_or(0);
    EXPECT_GE(b, 1024u);
    EXPECT_GE(type, 1024u);
    const std::string byType = attr(UBUS_ATTR_OBJTYPE, be32(type));
    const uint32_t a = other.add_object(text_attr(UBUS_ATTR_OBJPATH, "lab.a") + byType);
    EXPECT_FALSE(other.data[0].number(UBUS_ATTR_OBJTYPE)); // it knew the type
    EXPECT_EQ(other.add_object(published("lab.b")), 0u);   // taken
    EXPECT_NE(other.add_object(text_attr(UBUS_ATTR_OBJPATH, "lab.typeless")), 0u);
    EXPECT_NE(other.add_object(text_attr(UBUS_ATTR_OBJPATH, "lab.void") +
                               attr(UBUS_ATTR_SIGNATURE, signature + field(BLOBMSG_TYPE_TABLE, "", ""))),
              0u);
    EXPECT_NE(other.add_object(""), 0u);

    struct Case {
        const char *pattern;
        int status;
        std::vector<uint32_t> hits;
    };
    const Case cases[] = {
        { "lab.b", 0, { b } }, { "lab.*", 0, { a, b } }, { "*", 0, { a, b } },      { "lab.b*", 0, { b } },
        { "l*.b", 4, {} },     { "lab", 4, {} },         { "lab.typeless", 0, {} }, { "lab.void", 0, {} },
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.pattern);
        EXPECT_EQ(other.ask(lookup(c.pattern)), c.status);
        std::vector<uint32_t> hits;
        for (const Message &hit : other.data)
            hits.push_back(hit.number(UBUS_ATTR_OBJID).value_or(0));
        EXPECT_EQ(hits, c.hits);
    }
    EXPECT_EQ(other.ask(lookup("lab.b")), 0);
    EXPECT_EQ(other.data[0].body, text_attr(UBUS_ATTR_OBJPATH, "lab.b") + object_attr(b) + byType +
                                      attr(UBUS_ATTR_SIGNATURE, signature));

    EXPECT_EQ(other.ask(message(UBUS_MSG_REMOVE_OBJECT, 4, 0, object_attr(b))), 6);
    EXPECT_EQ(owner.ask(message(UBUS_MSG_REMOVE_OBJECT, 4, 0, object_attr(b))), 0);
    EXPECT_EQ(owner.data[0].body, object_attr(b));
    EXPECT_EQ(other.ask(message(UBUS_MSG_REMOVE_OBJECT, 5, 0, object_attr(a))), 0);
    EXPECT_EQ(other.data[0].body, object_attr(a) + byType); // the last of its type
    EXPECT_EQ(other.ask(message(UBUS_MSG_LOOKUP, 6, 0, text_attr(UBUS_ATTR_OBJPATH, "lab.b"))), 4);
}

TEST(BrokerWire, CarriesACallThereAndBack)
{
    Broker broker;
    Wire server(broker.path), caller(broker.path), stranger(broker.path);
    const uint32_t object = server.add_object(published("lab.x"));
    const std::string fields = field(BLOBMSG_TYPE_INT64, "n", be32(0x01020304) + be32(0x05060708)) +
                               field(BLOBMSG_TYPE_UNSPEC, "u", "xyz");
    caller.send(message(UBUS_MSG_INVOKE, 0x1234, object,
                        attr(UBUS_ATTR_NO_REPLY, std::string(1, 1)) + data_attr(fields) + method_attr("set") +
                            object_attr(object)));
    const auto call = server.receive();
    ASSERT_TRUE(call);
    EXPECT_EQ(call->type, UBUS_MSG_INVOKE);
    EXPECT_EQ(call->seq, 0x1234);
    EXPECT_EQ(call->peer, caller.id);
    EXPECT_EQ(call->number(UBUS_ATTR_OBJID), object);
    EXPECT_EQ(call->get(UBUS_ATTR_METHOD), std::string("set\0", 4));
    EXPECT_EQ(call->get(UBUS_ATTR_DATA), fields);
    EXPECT_FALSE(call->get(UBUS_ATTR_NO_REPLY));

    const std::string result = object_attr(object) + data_attr(fields);
    const std::string status = attr(UBUS_ATTR_STATUS, be32(0xffffffff)) + object_attr(object);
    stranger.send(message(UBUS_MSG_STATUS, 0x1234, caller.id, status));            // not the owner
    server.send(message(UBUS_MSG_DATA, 0x1234, caller.id, data_attr(fields)));     // no object
    server.send(message(UBUS_MSG_STATUS, 0x1234, caller.id, object_attr(object))); // no status
    server.send(message(UBUS_MSG_DATA, 0x1234, caller.id, result));
    server.send(message(UBUS_MSG_STATUS, 0x1234, caller.id, status));
    EXPECT_TRUE(stranger.alive());
    for (const auto &[type, body] : { std::pair(UBUS_MSG_DATA, result), { UBUS_MSG_STATUS, status } }) {
        const auto answer = caller.receive();
        ASSERT_TRUE(answer);
        EXPECT_EQ(message(answer->type, answer->seq, answer->peer, answer->body),
                  message(type, 0x1234, object, body));
    }
    EXPECT_FALSE(caller.receive(50));
    caller.send(message(UBUS_MSG_INVOKE, 7, object, object_attr(object) + method_attr("set")));
    EXPECT_FALSE(server.receive()->get(UBUS_ATTR_DATA));
}

TEST(BrokerWire, DeliversEventsByPattern)
{
    struct Case {
        const char *pattern, *id;
        bool heard;
    };
    const Case cases[] = {
        { "foo", "foo", true },  { "foo", "foobar", false }, { "foo", "fo", false },
        { "foo*", "foo", true }, { "foo*", "foob", true },   { "foo*", "fo", false },
        { "f*o", "foo", false }, { "f*o", "f*o", true },     { "*", "any", true },
    };
    Broker broker;
    Wire sender(broker.path);
    for (const Case &c : cases) {
        SCOPED_TRACE(std::string(c.pattern) + " " + c.id);
        Wire listener(broker.path);
        const uint32_t object = listener.add_object("");
        EXPECT_EQ(listener.ask(listen(object, c.pattern)), 0);
        EXPECT_EQ(listener.ask(listen(object, c.pattern)), 0); // twice is once
        EXPECT_EQ(listener.ask(listen(object, "")), 6);
        EXPECT_EQ(sender.ask(listen(object, "x")), 6);
        EXPECT_EQ(sender.ask(event(c.id, text_field("ssid", "lab"))), 0);
        EXPECT_TRUE(listener.alive());
        ASSERT_EQ(listener.data.size(), c.heard ? 2u : 1u); // the ping's answer is the last
        if (!c.heard)
            continue;
        EXPECT_EQ(listener.data[0].type, UBUS_MSG_INVOKE);
        EXPECT_EQ(listener.data[0].peer, 0u);
        EXPECT_EQ(listener.data[0].body,
                  object_attr(object) + method_attr(c.id) + data_attr(text_field("ssid", "lab")));
    }
}

// Short events are copied, long ones shared: both arrive whole at each of two listeners.
TEST(BrokerWire, DeliversOncePerObjectAndNeverToTheSender)
{
    Broker broker;
    Wire sender(broker.path), listener(broker.path);
    const uint32_t own = sender.add_object("");
    EXPECT_EQ(sender.ask(listen(own, "*")), 0);
    const uint32_t objects[] = { listener.add_object(""), listener.add_object("") };
    for (const uint32_t object : objects) {
        EXPECT_EQ(listener.ask(listen(object, "e*")), 0);
        EXPECT_EQ(listener.ask(listen(object, "ev")), 0);
    }
    for (const size_t size : { size_t{ 3 }, size_t{ 1023 }, size_t{ 5000 } }) {
        SCOPED_TRACE(size);
        const std::string content = field(BLOBMSG_TYPE_UNSPEC, "payload", std::string(size, 'p'));
        EXPECT_EQ(sender.ask(event("ev", content)), 0);
        EXPECT_TRUE(sender.data.empty());
        for (const uint32_t object : objects) {
            const auto heard = listener.receive();
            ASSERT_TRUE(heard);
            EXPECT_EQ(heard->number(UBUS_ATTR_OBJID), object);
            EXPECT_EQ(heard->get(UBUS_ATTR_DATA), content);
        }
        EXPECT_FALSE(listener.receive(30));
    }
}

TEST(BrokerWire, AnnouncesObjectsAndTakesThoseOfAGoneClientAway)
{
    Broker broker;
    Wire watcher(broker.path);
    const uint32_t object = watcher.add_object("");
    EXPECT_EQ(watcher.ask(listen(object, "ubus.object.*")), 0);
    uint32_t first, second;
    {
        Wire owner(broker.path);
        first = owner.add_object(published("lab.1"));
        second = owner.add_object(published("lab.2"));
        EXPECT_EQ(owner.ask(lookup("lab.*")), 0);
    }
    const std::pair<const char *, std::string> expected[] = {
        { "ubus.object.add", int_field("id", first) + text_field("path", "lab.1") },
        { "ubus.object.add", int_field("id", second) + text_field("path", "lab.2") },
        { "ubus.object.remove", int_field("id", second) + text_field("path", "lab.2") },
        { "ubus.object.remove", int_field("id", first) + text_field("path", "lab.1") },
    };
    for (const auto &[id, content] : expected) {
        const auto heard = watcher.receive();
        ASSERT_TRUE(heard);
        EXPECT_EQ(heard->body, object_attr(object) + method_attr(id) + data_attr(content));
    }
    EXPECT_EQ(watcher.ask(lookup("lab.*")), 4);
    // To the owner of the new object, too, and before the answer.
    EXPECT_NE(watcher.add_object(published("lab.3")), 0u);
    ASSERT_EQ(watcher.data.size(), 2u);
    EXPECT_EQ(watcher.data[0].get(UBUS_ATTR_METHOD), std::string("ubus.object.add") + '\0');
}
} // namespace
