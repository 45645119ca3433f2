// The bus object's tables, the road of a call through the dispatch, and what it refuses.
#include "tests/unit/bus_call.h"

#include <random>

#include "include/vesk_methods.h"
#include "source/vesk_main/records.h"

namespace
{
struct Stub : testing::Test {
    void SetUp() override { fake_reset(); }
};
} // namespace

TEST_F(Stub, ObjectListsThirtyEightMethodsWithTheirPolicies)
{
    const ubus_object *obj = TamloPelkVesk_object_get();
    EXPECT_STREQ(obj->name, "tamlo.pelk.vesk");
    EXPECT_STREQ(obj->type->name, "tamlo.pelk.vesk");
    EXPECT_EQ(obj->type->methods, obj->methods);
    ASSERT_EQ(obj->n_methods, 38);
    const ubus_method &set = obj->methods[16];
    EXPECT_STREQ(set.name, "setChannel");
    ASSERT_EQ(set.n_policy, 2);
    EXPECT_STREQ(set.policy[0].name, "band");
    EXPECT_EQ(set.policy[0].type, BLOBMSG_TYPE_INT32);
    EXPECT_STREQ(set.policy[1].name, "data");
    EXPECT_EQ(set.policy[1].type, BLOBMSG_TYPE_UNSPEC);
    EXPECT_EQ(obj->methods[0].policy, nullptr);
    EXPECT_EQ(obj->methods[5].policy[0].type, BLOBMSG_TYPE_STRING);
}

TEST_F(Stub, VersionIsAnsweredWhole)
{
    const BusReply reply = bus_call("getVersionInfo");
    EXPECT_EQ(reply.dispatch, 0);
    EXPECT_EQ(reply.fields, (std::vector<std::string>{ "return", "info" }));
    EXPECT_EQ(reply.resultType, BLOBMSG_TYPE_UNSPEC);
    EXPECT_EQ(first_difference(reply.result, Bytes(64).text(0, "vesk").text(32, "1.4.3").data), "");
}

TEST_F(Stub, ScalarResultsHaveTheirOwnTypes)
{
    BusReply reply = bus_call("getScanStatus");
    EXPECT_EQ(reply.resultType, BLOBMSG_TYPE_INT8);
    EXPECT_EQ(reply.result.size(), 1u);
    reply = bus_call("getRadioAdvancedCapability");
    EXPECT_EQ(reply.resultType, BLOBMSG_TYPE_INT32);
    EXPECT_EQ(reply.result, (std::vector<uint8_t>{ 0, 0, 0, 64 })); // blobmsg's byte order
}

TEST_F(Stub, RefusesWhatItCannotDecode)
{
    struct Case {
        const char *name, *method;
        void (*fill)(Args &);
    };
    const Case cases[] = {
        { "record one byte short", "setChannel",
          [](Args &a) { a.i32("band", 0).record("data", Bytes(7).data); } },
        { "record one byte long", "setChannel",
          [](Args &a) { a.i32("band", 0).record("data", Bytes(9).data); } },
        { "record missing", "setStaMon", [](Args &) {} },
        { "number missing", "getRadioInfo", [](Args &) {} },
        { "number of another type", "getRadioInfo", [](Args &a) { a.text("band", "0"); } },
        { "number as a record", "setChannel",
          [](Args &a) { a.record("band", Bytes(4).data).record("data", Bytes(8).data); } },
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        Args args;
        c.fill(args);
        const BusReply reply = bus_call(c.method, args);
        EXPECT_EQ(reply.dispatch, -1);
        EXPECT_FALSE(reply.sent);
    }
    EXPECT_EQ(fakeLoop.pendingTimers(), 0);
}

TEST_F(Stub, TakesARecordFromAFieldOfAnyType)
{
    vesk_get_radio_info()[0].setResult = -5;
    snprintf(vesk_get_radio_info()[0].apIntf.radioIfname, 16, "wifi0");
    Args args;
    args.i32("band", 0).text("data", "1234567"); // 8 bytes with its end
    const BusReply reply = bus_call("setChannel", args);
    EXPECT_EQ(reply.dispatch, 0);
    EXPECT_EQ(reply.status, -1); // the bandwidth that these bytes make is out of range
}

TEST_F(Stub, MissingTextReachesTheHandlerAndAFailureStillCarriesItsRecord)
{
    const BusReply reply = bus_call("getVapInfo");
    EXPECT_EQ(reply.dispatch, 0);
    EXPECT_EQ(reply.status, -1);
    EXPECT_EQ(first_difference(reply.result, Bytes(280).data), "");
    EXPECT_TRUE(fake_logged("ERROR", " Error:is NULL\n"));
}

TEST_F(Stub, UnknownMethodIsReportedAndNotAnswered)
{
    const BusReply reply = bus_call("getNothing");
    EXPECT_EQ(reply.dispatch, 0);
    EXPECT_FALSE(reply.sent);
    EXPECT_EQ(fakeBus.fatal,
              (std::vector<std::string>{ "771 onTamloPelkVeskDispatch unknown message: getNothing\n" }));
}

TEST_F(Stub, RegistersObjectAndSignals)
{
    EXPECT_EQ(register_vesk_service(), 0);
    const std::vector<std::string> calls = {
        "ubus_add_object tamlo.pelk.vesk",
        "merkaAddInterestedSignal tamlo.pelk.vesk.setLogLevel",
        "merkaAddInterestedSignal tamlo.pelk.vesk.setLogDestination",
        "merkaAddInterestedSignal tamlo.pelk.vesk.setScanEnable",
        "merkaAddInterestedSignal tamlo.pelk.vesk.notifyWlanChange",
        "merkaAddInterestedSignal tamlo.pelk.vesk.setIntfStatEnable",
        "merkaAddInterestedSignal tamlo.pelk.vesk.setStaEnable",
        "merkaAddInterestedSignal tamlo.pelk.vesk.setChannelChangeEnable",
        "merkaAddInterestedSignal tamlo.pelk.vesk.setUbusObjSignal",
        "merkaAddInterestedSignal tamlo.pelk.vesk.notifyIEEE1905VlanIntfChange",
        "merkaSetInteresetedSignals",
    };
    EXPECT_EQ(fakeBus.calls, calls);
    EXPECT_EQ(fakeBus.rowCount, 9);

    fake_reset();
    fakeBus.addObjectResult = 2;
    EXPECT_EQ(register_vesk_service(), -1);
    fakeBus.hasContext = false;
    EXPECT_EQ(register_vesk_service(), -1);
    EXPECT_EQ(fakeBus.fatal,
              (std::vector<std::string>{
                  "882 register_vesk_service Failed to add object TamloPelkVesk.\n",
                  "877 register_vesk_service failed to request bus context for vesk service\n" }));
}

TEST_F(Stub, SurvivesRandomMessages)
{
    vesk_get_vesk_info()->logLevel = 0;
    std::mt19937 random(7);
    int answered = 0;
    for (int i = 0; i < 100000; i++) {
        const WireMethod &row = vesk_methods[random() % VESK_METHODS];
        Args args;
        for (const WireField &field : row.args) {
            if (field.type == WireType::None || random() % 8 == 0)
                continue;
            std::vector<uint8_t> bytes(random() % 4 ? field.size : random() % 64);
            for (uint8_t &b : bytes)
                b = static_cast<uint8_t>(random());
            if (field.type == WireType::Int32)
                args.i32(field.name, static_cast<int>(random() % 9) - 2);
            else if (field.type == WireType::String)
                args.text(field.name,
                          std::string(random() % 40, static_cast<char>('a' + random() % 26)).c_str());
            else
                args.record(field.name, bytes);
        }
        auto *raw = reinterpret_cast<uint8_t *>(args.buf.head);
        if (random() % 3 == 0 && blob_len(args.buf.head) > 0)
            raw[4 + random() % blob_len(args.buf.head)] ^= static_cast<uint8_t>(1u << random() % 8);
        answered += bus_call(row.name, args).sent;
        fakeBus.replies.clear();
        fakeDevice.log.clear();
    }
    EXPECT_GT(answered, 30000);
    EXPECT_TRUE(bus_call("getVersionInfo").sent);
}
