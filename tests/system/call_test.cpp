// Calls from outside: what the bus answers, and what veskctl makes of it.
#include "tests/system/harness.h"

#include <cjson/cJSON.h>
#include <memory>

namespace {

const auto nothing = [](blob_buf *) {};
const auto band_as_text = [](blob_buf *b) { blobmsg_add_string(b, "band", "3"); };

/** `setChannel` with a record of so many bytes. */
template <unsigned size>
void channel_record(blob_buf *b) {
    const char record[size] = {};
    blobmsg_add_u32(b, "band", 3);
    blobmsg_add_field(b, BLOBMSG_TYPE_UNSPEC, "data", record, size);
}

const struct {
    const char *method;
    void (*fill)(blob_buf *);
    int status, fields; // of the call, in the reply
} statuses[] = {
    { "getVersionInfo", nothing, 0, 2 },
    { "noSuchMethod", nothing, UBUS_STATUS_METHOD_NOT_FOUND, 0 },
    { "getRadioInfo", nothing, -1, 0 },      // no band
    { "getRadioInfo", band_as_text, -1, 0 }, // a band of the wrong type
    { "setChannel", channel_record<7>, -1, 0 },
    { "setChannel", channel_record<9>, -1, 0 },
    { "setStaMon", nothing, -1, 0 },
    { "getVapInfo", nothing, 0, 2 }, // the method itself refuses a missing name
};

TEST_F(System, CallsEndWithTheirStatus) {
    startBoth();
    Bus bus;
    for (const auto &c : statuses) {
        Answer answer = bus.call(c.method, c.fill);
        EXPECT_EQ(answer.status, c.status) << c.method;
        EXPECT_EQ(answer.fields, c.fields) << c.method;
    }
    std::string version(64, '\0');
    version.replace(0, 4, "vesk").replace(32, 5, "1.4.3");
    for (int i = 0; i < 100; i++) ASSERT_EQ(bus.call("getVersionInfo").record, version) << i;
    EXPECT_EQ(bus.call("getVapInfo").result, -1);
}

// clang-format off
const struct { const char *name; std::vector<std::string> arguments; bool broker, daemon; int status; } clientCases[] = {
    { "no broker", { "version" }, false, false, 1 },
    { "no daemon", { "version" }, true, false, 1 },
    { "all there", { "version" }, true, true, 0 },
    { "no command", {}, true, true, 2 },
    { "unknown command", { "fly" }, true, true, 2 },
    { "argument missing", { "radio" }, true, true, 2 },
};
// clang-format on

TEST_F(System, ClientTellsFailureByItsStatusAndSpeaksJson) {
    for (const auto &c : clientCases) {
        SCOPED_TRACE(c.name);
        if (c.broker && broker.pid < 0) startBroker();
        if (c.daemon && daemon.pid < 0) startDaemon();
        Outcome outcome = veskctl(c.arguments);
        EXPECT_EQ(outcome.status, c.status) << outcome.out << outcome.err;
        EXPECT_EQ(outcome.err.empty(), c.status == 0) << outcome.err; // a refusal says why
    }
    for (const char *command : { "version", "radios", "vaps", "interfaces" }) {
        SCOPED_TRACE(command);
        Outcome outcome = veskctl({ "--json", command });
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        std::unique_ptr<cJSON, void (*)(cJSON *)> json(cJSON_Parse(outcome.out.c_str()), cJSON_Delete);
        ASSERT_NE(json, nullptr) << outcome.out;
        EXPECT_GT(cJSON_GetArraySize(json.get()), 0); // members of an object count, too
    }
}

} // namespace
