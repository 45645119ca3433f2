// The bus object's tables, the road of a call through the dispatch, and what it refuses.
#include "tests/unit/bus_call.h"

namespace {
struct Stub : testing::Test {
    Stub() { fake_reset(); }
};

TEST_F(Stub, ResultsHaveTheirOwnTypes) {
    const BusReply version = bus_call("getVersionInfo"), status = bus_call("getScanStatus"),
                   ability = bus_call("getRadioAdvancedCapability");
    EXPECT_EQ(version.fields, (Texts{ "return", "info" }));
    EXPECT_EQ(words(version.dispatch, version.resultType, status.resultType, ability.resultType),
              words(0, +BLOBMSG_TYPE_UNSPEC, +BLOBMSG_TYPE_INT8, +BLOBMSG_TYPE_INT32));
    EXPECT_EQ(first_difference(version.result, Bytes(64).text(0, "vesk").text(32, "1.4.3")), "");
    EXPECT_EQ(status.result.size(), 1);
    EXPECT_EQ(ability.result, (std::vector<uint8_t>{ 0, 0, 0, 64 })); // blobmsg's byte order
}

TEST_F(Stub, UnknownMethodIsAnsweredByNothing) {
    const BusReply unknown = bus_call("getNothing");
    EXPECT_EQ(words(unknown.dispatch, unknown.sent), "0 0 ");
    EXPECT_EQ(fakeBus.fatal, Texts{ "771 onTamloPelkVeskDispatch unknown message: getNothing\n" });
}

TEST_F(Stub, RegistersObjectAndSignals) {
    EXPECT_EQ(register_vesk_service(), 0);
    EXPECT_EQ(fakeBus.calls.size(), 11u); // the object, nine signals, their table
    fakeBus.addObjectResult = 2;
    EXPECT_EQ(register_vesk_service(), -1);
    fakeBus.hasContext = false;
    EXPECT_EQ(register_vesk_service(), -1);
    EXPECT_EQ(fakeBus.calls.size(), 12u); // nothing behind the failure
    EXPECT_EQ(fakeBus.fatal, (Texts{ "882 register_vesk_service Failed to add object TamloPelkVesk.\n",
                                     "877 register_vesk_service failed to request bus context for vesk service\n" }));
}
} // namespace
