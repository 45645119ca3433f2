// The snapshot against a bus that answers from a small table and counts what it is asked.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "tests/rows.h"
#include "tools/client/device.h"

namespace {
std::map<std::string, int> asked; // "method argument" and how often
std::string refused, broken;      // methods that the daemon refuses, or that the bus fails
WireOffChannel scanned;           // of channel 6
WireCurChannelInfo load;          // of the operating channel

/** The record that a JSON object describes. */
template <class T>
T record_from(const RecordLayout &layout, const std::string &json) {
    T record = {};
    std::vector<uint8_t> bytes;
    EXPECT_EQ(encode_record(layout, Json::parse(json.c_str()).get(), bytes), "") << json;
    memcpy(static_cast<void *>(&record), bytes.data(), std::min(bytes.size(), sizeof record));
    return record;
}

// More channels than fit, each twice; access points more than once, on both radios; one of them on one.
const char *const radios[] = {
    R"({"radioIfname":"wifi0","curChannel":6,"chListNums":300,"curchList":[6,6]})",
    R"({"radioIfname":"wifi1","curChannel":52,"chListNums":300,"curchList":[52,52]})",
};
const char *const vaps[] = { R"({"vapNums":3,"vapIfname":["ath0.v0","ath0.v0","ath1.v0"]})",
                             R"({"vapNums":3,"vapIfname":["ath0.v0","ath0.v0","ath0.v0"]})" };

std::vector<uint8_t> stations_of(int32_t count) {
    std::vector<uint8_t> all(sizeof(WireStaInfo), 0xff); // bytes that nobody meant
    memcpy(all.data(), &count, sizeof count);
    return all;
}

std::vector<uint8_t> answer(const WireMethod &method, const std::string &argument) {
    const std::string_view name = method.name;
    if (name == "getRadioInfo")
        return bytes_of_record(record_from<WireRadioInfo>(layoutRadioInfo, radios[argument == "3"]));
    if (name == "getRadioApIntfsInfo")
        return bytes_of_record(record_from<WireApIntfsInfo>(layoutApIntfsInfo, vaps[argument == "3"]));
    if (name == "getNolChannelList") return bytes_of_record(WireNolList{ 255, 0, { { 1860, 52, 0 } } });
    if (name == "getStaInfo") return stations_of(argument == "ath0.v0" ? 1000 : -1);
    if (name == "getCurChannelInfo") return bytes_of_record(load);
    if (name == "getOffChannelInfo") {
        WireOffChInfo figures = {};
        figures.channels[0] = scanned;
        figures.channels[1].ch = 11; // which isn't in the radio's list, and whose time isn't known
        return bytes_of_record(figures);
    }
    if (name == "getBstaIntfInfo") return bytes_of_record(WireBstaIntf{ "apcli0", {} });
    std::vector<uint8_t> record(method.result.size);
    if (name == "getVapInfo" && argument == "apcli0") record[offsetof(WireVapInfo, vapAttr)] = 0x80;
    return record;
}
} // namespace

void bus_start_time(int) {}
void bus_disconnect() {}
bool bus_listen(const SignalVisitor &, const std::function<bool()> &, std::string &) { return false; }
const WireMethod *bus_method(std::string_view name) {
    return std::ranges::find_if(vesk_methods, [&](const WireMethod &row) { return name == row.name; });
}
CallResult bus_call(const WireMethod &method, const std::vector<CallArg> &args) {
    std::string argument;
    if (!args.empty()) argument = args[0].type == WireType::Int32 ? std::to_string(args[0].number) : args[0].text;
    asked[std::string(method.name) + " " + argument]++;
    CallResult result;
    if (broken == method.name) result.error = "broken";
    result.status = refused == method.name ? -1 : 0;
    result.record = answer(method, argument);
    return result;
}

namespace {

/** What is looked at; the bus fails or not. */
Snapshot look(unsigned parts, const std::string &failure = "") {
    Snapshot snapshot;
    std::string error;
    asked.clear();
    EXPECT_EQ(take_snapshot(snapshot, parts, error), failure.empty());
    EXPECT_EQ(error, failure);
    for (const auto &[call, times] : asked) EXPECT_EQ(times, 1) << call;
    return snapshot;
}

TEST(ClientSnapshot, HoldsTheDeviceOnce) {
    scanned.ch = 6, scanned.time = 7;
    const Snapshot all = look(PartOverview | PartCounters);
    EXPECT_EQ(all.vaps.size(), 3u);
    EXPECT_EQ(all.radios[1].channels.size(), 2u); // 52, and the zeros behind it
    EXPECT_TRUE(all.radios[1].find_channel(52)->isNol);
    EXPECT_TRUE(all.radios[1].find_channel(52)->needsDfs);
    EXPECT_EQ(all.find_vap("ath0")->stations.size(), 256u);
    EXPECT_EQ(all.find_vap("ath1.v0")->stations.size(), 0u);
    EXPECT_EQ(all.find_vap("apcli0")->stationTable.size(), 0u); // a station has none
    EXPECT_EQ(all.find_vap("nosuch"), nullptr);
    EXPECT_EQ(all.lastResult, 7);
    EXPECT_TRUE(cJSON_IsObject(snapshot_json(all).get()));
}

TEST(ClientSnapshot, StopsAtAFailureOfTheBusAndGoesOnBehindARefusal) {
    for (const char *method :
         { "getStaInfo", "getOffChannelInfo", "getRadioIntfStats", "getBstaIntfInfo", "getScanCap" }) {
        SCOPED_TRACE(method);
        refused = method;
        EXPECT_EQ(look(PartOverview | PartCounters).radios.size(), 2u);
        broken = std::exchange(refused, "");
        look(PartOverview | PartCounters, "broken");
        broken = "";
    }
    refused = "getRadioInfo";
    EXPECT_EQ(look(PartOverview).radios.size(), 0u);
    refused = "";
}

} // namespace

/** What the snapshot's JSON has of the operating channel and of the one that the scan brought, and that the record's
 * own JSON agrees. */
std::string absences(const Texts &w) {
    scanned = record_from<WireOffChannel>(layoutOffChannel, w[0]);
    load = record_from<WireCurChannelInfo>(layoutCurChannelInfo, w[1]);
    const Snapshot all = look(PartOverview);
    const Json whole = snapshot_json(all), record = decode_as(layoutOffChannel, scanned);
    scanned = {}, load = {};
    EXPECT_EQ(all.radios[0].measured(), 1) << "visited, whatever was measured";
    const auto values = [](const cJSON *object, std::initializer_list<const char *> keys) {
        std::string text;
        for (const char *key : keys)
            text += (text.empty() ? "" : " ") + json_line(cJSON_GetObjectItemCaseSensitive(object, key));
        return text;
    };
    const cJSON *radio = cJSON_GetArrayItem(whole.at("radios"), 0);
    const cJSON *channel = cJSON_GetObjectItemCaseSensitive(radio, "channels")->child;
    while (values(channel, { "channel" }) != "6") channel = channel->next;
    const std::string shown = values(channel, { "utilisation", "noise", "smoothedNoise" });
    EXPECT_TRUE(shown.starts_with(values(record.get(), { "chnUtil", "noise" }))) << record.line();
    return shown + "; " +
           values(cJSON_GetObjectItemCaseSensitive(radio, "operating"),
                  { "ccaInbss", "ccaTxUtil", "ccaIdle", "noise" });
}

/** The parts in the order of their bits. */
std::string calls(const Texts &w) {
    const Texts names = { "state", "channels", "figures", "load", "vaps", "stations", "counters" };
    unsigned parts = 0;
    for (const std::string &name : split(w[0])) parts |= 1u << (std::ranges::find(names, name) - names.begin());
    look(parts);
    return std::to_string(asked.size());
}
