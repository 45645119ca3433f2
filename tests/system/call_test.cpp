// Calls from outside: what the bus answers, and what veskctl makes of it.
#include "tests/system/harness.h"

#include <cjson/cJSON.h>
#include <memory>

namespace
{

void nothing(blob_buf *) {}
void band_as_text(blob_buf *b)
{
    blobmsg_add_string(b, "band", "3");
}

/** `setChannel` with a record of so many bytes. */
template <unsigned size>
void channel_record(blob_buf *b)
{
    const char record[size] = {};
    blobmsg_add_u32(b, "band", 3);
    blobmsg_add_field(b, BLOBMSG_TYPE_UNSPEC, "data", record, size);
}

struct StatusCase {
    const char *method;
    void (*fill)(blob_buf *);
    int status; // of the call
    int fields; // in the reply
};
const StatusCase statuses[] = {
    { "getVersionInfo", nothing, 0, 2 },
    { "noSuchMethod", nothing, UBUS_STATUS_METHOD_NOT_FOUND, 0 },
    { "getRadioInfo", nothing, -1, 0 },      // no band
    { "getRadioInfo", band_as_text, -1, 0 }, // a band of the wrong type
    { "setChannel", channel_record<7>, -1, 0 },
    { "setChannel", channel_record<9>, -1, 0 },
    { "setStaMon", nothing, -1, 0 },
    { "getVapInfo", nothing, 0, 2 }, // the method itself refuses a missing name
};

TEST_F(System, CallsEndWithTheirStatus)
{
    startBoth();
    Bus bus;
    for (const StatusCase &c : statuses) {
        SCOPED_TRACE(c.method);
        Answer answer = bus.call(c.method, c.fill);
        EXPECT_EQ(answer.status, c.status);
        EXPECT_EQ(answer.fields, c.fields);
    }
    EXPECT_EQ(bus.call("getVapInfo").result, -1);
    uint32_t id = 0;
    EXPECT_EQ(bus.lookup(&id, "tamlo.pelk.other"), UBUS_STATUS_NOT_FOUND);
}

TEST_F(System, AnswersManyQuickCalls)
{
    startBoth();
    Bus bus;
    std::string expected(64, '\0');
    expected.replace(0, 4, "vesk").replace(32, 5, "1.4.3");
    for (int i = 0; i < 100; i++) {
        Answer answer = bus.call("getVersionInfo");
        ASSERT_EQ(answer.status, 0) << i;
        ASSERT_EQ(answer.result, 0);
        ASSERT_EQ(answer.key, "info");
        ASSERT_EQ(answer.record, expected);
    }
}

struct ClientCase {
    const char *name;
    std::vector<std::string> arguments;
    bool broker, daemon;
    int status;
};
const ClientCase clientCases[] = {
    { "no broker", { "version" }, false, false, 1 }, { "no daemon", { "version" }, true, false, 1 },
    { "all there", { "version" }, true, true, 0 },   { "no command", {}, true, true, 2 },
    { "unknown command", { "fly" }, true, true, 2 }, { "argument missing", { "radio" }, true, true, 2 },
};

TEST_F(System, ClientTellsFailureByItsStatus)
{
    for (const ClientCase &c : clientCases) {
        SCOPED_TRACE(c.name);
        if (c.broker && broker.pid < 0)
            startBroker();
        if (c.daemon && daemon.pid < 0)
            startDaemon();
        Outcome outcome = veskctl(c.arguments);
        EXPECT_EQ(outcome.status, c.status) << outcome.out << outcome.err;
        EXPECT_EQ(outcome.err.empty(), c.status == 0) << outcome.err; // a refusal says why
    }
}

TEST_F(System, ClientSpeaksJson)
{
    startBoth();
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
