// Records to JSON and back, names and secrets in it, and lines of a record file.
#include <gtest/gtest.h>

#include <algorithm>

#include "tools/client/record.h"
#include "tools/client/signals.h"
#include "tools/client/text.h"

namespace {

TEST(ClientRecord, EveryLayoutSurvivesTheRoundTripAndHostileBytes) {
    for (const MethodLayout &row : vesk_method_layouts) {
        SCOPED_TRACE(row.layout->name);
        const std::vector<uint8_t> zeros(row.layout->size), ones(row.layout->size, 0xff);
        EXPECT_TRUE(cJSON_IsObject(decode_record(*row.layout, ones.data()).get()));
        const Json object = decode_record(*row.layout, zeros.data(), Secrets::Shown);
        cJSON *given = cJSON_Parse(object.line().c_str());
        for (cJSON *item = given->child, *next; item; item = next) {
            next = item->next;
            if (cJSON_IsNull(item)) cJSON_Delete(cJSON_DetachItemViaPointer(given, item)); // absent: nobody gives it
        }
        std::vector<uint8_t> back;
        EXPECT_EQ(encode_record(*row.layout, given, back), "");
        EXPECT_EQ(back, zeros);
        cJSON_Delete(given);
    }
}

TEST(ClientRecord, NoCountReachesPastItsList) {
    for (const int32_t count : { -1, 1, 256, 257, 1000 }) {
        std::vector<uint8_t> record(sizeof(WireStaInfo));
        memcpy(record.data(), &count, sizeof count);
        const Json all = decode_record(layoutStaInfo, record.data());
        EXPECT_EQ(cJSON_GetArraySize(all.at("stations")), std::clamp(count, 0, 256)) << count;
    }
}

TEST(ClientRecord, SecretsAreHiddenAndValuesNamed) {
    WireVapInfo vap = {};
    EXPECT_STREQ(decode_as(layoutVapInfo, vap).at("keyPassphrase")->valuestring, "");
    memcpy(vap.keyPassphrase, "between", 7);
    vap.authMode = 32;
    vap.encryptMode = 5;
    const Json hidden = decode_as(layoutVapInfo, vap), shown = decode_as(layoutVapInfo, vap, Secrets::Shown);
    EXPECT_STREQ(hidden.at("keyPassphrase")->valuestring, "********");
    EXPECT_STREQ(shown.at("keyPassphrase")->valuestring, "between");
    EXPECT_STREQ(hidden.at("authModeName")->valuestring, "WPA2-PSK");
    EXPECT_TRUE(cJSON_IsNull(hidden.at("encryptModeName")));
}

const struct {
    const char *json, *error;
} wrong[] = {
    { "[]", "takes an object" },
    { R"({"channel":"x"})", "\"channel\" takes a number" },
    { R"({"channel":4294967296})", "\"channel\" is out of range" },
    { R"({"channel":1.5})", "\"channel\" is out of range" },
    { R"({"chan":1})", "has no field \"chan\"" },
    { R"({"channelName":"x"})", "has no field \"channelName\"" },
    { R"({"channel":36,"bandwidthName":"80 MHz"})", "" },
};

TEST(ClientRecord, WhatCantBeEncodedIsSaid) {
    for (const auto &w : wrong) {
        std::vector<uint8_t> record;
        const std::string error = encode_record(layoutChannel, Json::parse(w.json).get(), record);
        EXPECT_NE(error.find(w.error), std::string::npos) << w.json << error;
        EXPECT_EQ(error.empty(), !*w.error) << w.json << error;
    }
    for (const size_t length : { 15, 16 }) { // a text has its end in the field
        std::vector<uint8_t> record;
        const std::string json = "{\"vapName\":\"" + std::string(length, 'x') + "\"}";
        EXPECT_EQ(encode_record(layoutVapInfo, Json::parse(json.c_str()).get(), record).empty(), length == 15);
    }
}

const struct {
    const char *name, *line;
    bool is;
} recorded[] = {
    { "whole", R"({"time":1.5,"signal":"veskClientLeave","payload":"00"})", true },
    { "unknown signal", R"({"time":1,"signal":"x\u001b","payload":""})", true },
    { "no payload", R"({"time":1,"signal":"veskClientLeave"})", false },
    { "payload of no bytes", R"({"time":1,"signal":"a","payload":"0"})", false },
    { "time as text", R"({"time":"1","signal":"a","payload":"00"})", false },
    { "time of no clock", R"({"time":1e300,"signal":"a","payload":"00"})", false },
    { "cut", R"({"time":1,"signal":)", false },
    { "no object", "7", false },
};

TEST(ClientRecord, LinesOfARecordAreRead) {
    for (const auto &r : recorded) {
        SeenSignal signal = {};
        EXPECT_EQ(parse_signal(r.line, signal), r.is) << r.name;
    }
    SeenSignal join = { 0.25, VESK_SIGNAL_CLIENT_JOIN, std::vector<uint8_t>(619) };
    join.payload[29] = 2; // bw
    setenv("TZ", "UTC", 1);
    tzset();
    EXPECT_EQ(signal_line(join, true).substr(0, 32), "1970-01-01 00:00:00.250 veskClie");
    EXPECT_NE(signal_line(join).find(" rssi=unknown channel=0 frequency=0 bw=80MHz "), std::string::npos);
    join.payload.pop_back();
    EXPECT_EQ(signal_line(join).substr(0, 34), "00:00:00.250 veskClientJoin bytes=");

    SeenSignal report = { 0, VESK_SIGNAL_BCN_REPORT, std::vector<uint8_t>(sizeof(VeskBcnReport)) };
    const uint8_t shifted[] = { 0x10, 0x25, 0xe7, 0x00, 0x00, 0x00, 0x1f }, whole[] = { 2, 0x5e, 0x70, 0, 0, 1 };
    memcpy(&report.payload[100], shifted, sizeof shifted);
    EXPECT_FALSE(concerns_station(report, "02:5e:70:00:00:01")) << "its digits, half a byte off";
    memcpy(&report.payload[200], whole, sizeof whole);
    EXPECT_TRUE(concerns_station(report, "02:5e:70:00:00:01"));
}

} // namespace
