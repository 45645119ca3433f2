// What the broker bears: long messages, readers that don't read, nonsense, its own start and end.
#include "foundation/ubus_headers.h"
#include "tests/bus/harness.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
constexpr size_t mebibyte = 1024 * 1024;

struct Limits : testing::Test {
    Broker broker;
    static std::string event_of(size_t size)
    {
        return event("e", field(BLOBMSG_TYPE_UNSPEC, "payload", std::string(size, 'p')));
    }
};

TEST_F(Limits, AMessageOfOneMebibytePasses)
{
    Wire server(broker.path), caller(broker.path);
    const uint32_t object = server.add_object("");
    const std::string head = object_attr(object) + method_attr("m");
    const std::string fill(mebibyte - 4 - head.size() - 4, 'x');
    const std::string call = message(UBUS_MSG_INVOKE, 3, object, head + data_attr(fill));
    ASSERT_EQ(call.size(), 8 + mebibyte);
    for (int i = 0; i < 3; i++) {
        caller.send(call);
        const auto arrived = server.receive();
        ASSERT_TRUE(arrived);
        EXPECT_EQ(arrived->get(UBUS_ATTR_DATA), fill);
    }
}

TEST_F(Limits, WhatCantBeAMessageEndsTheClientOnly)
{
    struct Case {
        const char *name;
        const char *hex;
    };
    const Case cases[] = {
        { "length 0", "00 03 0001 00000000 00000000" },
        { "length 3", "00 03 0001 00000000 00000003" },
        { "one byte over a mebibyte", "00 03 0001 00000000 00100001" },
        { "longest length", "00 03 0001 00000000 00ffffff" },
        { "behind a good one", "00 03 0001 00000000 00000004 00 03 0002 00000000 00000000" },
    };
    Wire bystander(broker.path);
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        Wire wire(broker.path);
        wire.send(bytes(c.hex));
        EXPECT_TRUE(wire.closed());
        EXPECT_TRUE(bystander.alive());
    }
    EXPECT_TRUE(broker.alive());
}

TEST_F(Limits, AReaderThatSleepsShortlyLosesNothing)
{
    Wire sender(broker.path), sleeper(broker.path);
    EXPECT_EQ(sleeper.ask(listen(sleeper.add_object(""), "*")), 0);
    constexpr int count = 20;
    for (int i = 0; i < count; i++)
        EXPECT_EQ(sender.ask(event_of(50000)), 0);
    for (int i = 0; i < count; i++) {
        const auto heard = sleeper.receive();
        ASSERT_TRUE(heard) << i;
        EXPECT_EQ(heard->get(UBUS_ATTR_DATA)->size(), 50000u + 16u);
    }
}

TEST_F(Limits, AReaderThatNeverReadsIsLetGo)
{
    Wire sender(broker.path), sleeper(broker.path), listener(broker.path);
    EXPECT_EQ(sleeper.ask(listen(sleeper.add_object(""), "*")), 0);
    EXPECT_EQ(listener.ask(listen(listener.add_object(""), "*")), 0);
    int heard = 0;
    for (int i = 0; i < 200; i++) {
        EXPECT_EQ(sender.ask(event_of(100000)), 0);
        heard += listener.receive().has_value();
    }
    EXPECT_EQ(heard, 200); // the other one missed nothing
    EXPECT_TRUE(sleeper.closed());
    EXPECT_TRUE(broker.alive());
}

} // namespace
