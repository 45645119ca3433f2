// Calls from outside: what the bus answers, and what veskctl makes of it.
#include "tests/system/harness.h"

#include <cjson/cJSON.h>

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

TEST_F(System, ClientTellsFailureByItsStatusAndSpeaksJson) {
    EXPECT_EQ(veskctl("version").status, 1); // no broker
    startBroker();
    EXPECT_EQ(veskctl("version").status, 1); // no daemon
    startDaemon();
    EXPECT_EQ(veskctl("").status, 2);
    ASSERT_TRUE(eventually([] { return contains(veskctl("stations").out, "02:5e:70:00:00:02"); }));
    for (const char *command :
         { "radios", "vap ath0", "stats ath0", "scan", "channels 5", "capability 5", "nol 5", "backhaul info",
           "vlan 20 5", "vendor-ie add ath0 1 dd03aabbcc", "monitor add 02:aa:00:00:00:09 6", "backhaul auto 5 off",
           "btm-request ath10 02:5e:70:00:00:02 --target 02:1a:10:00:00:20,81,6",
           "call setEirp band=0 eirp={\"eirp\":1}" }) {
        const Outcome outcome = veskctl(std::string("--json ") + command);
        EXPECT_EQ(outcome.status, 0) << command << ": " << outcome.err;
        cJSON *json = cJSON_Parse(outcome.out.c_str());
        EXPECT_GT(cJSON_GetArraySize(json), 0) << command << ": " << outcome.out; // members of an object count, too
        cJSON_Delete(json);
    }
}

} // namespace
