// The snapshot against a bus that answers from a small table and counts what it is asked.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "tools/client/device.h"
#include "tools/client/recommend.h"

namespace {
std::map<std::string, int> asked; // "method argument" and how often
std::string refused, broken;      // methods that the daemon refuses, or that the bus fails
WireOffChannel scanned;           // of channel 6
WireCurChannelInfo load;          // of the operating channel

WireRadioInfo radio_of(bool is5) {
    WireRadioInfo radio = {};
    strcpy(radio.radioIfname, is5 ? "wifi1" : "wifi0");
    radio.curChannel = is5 ? 52 : 6;
    radio.chListNums = 300;                                                           // more than fit
    radio.curchList[0] = radio.curchList[1] = static_cast<uint8_t>(radio.curChannel); // twice
    return radio;
}

WireApIntfsInfo vaps_of(bool is5) {
    WireApIntfsInfo list = {};
    list.vapNums = 3;
    for (auto &name : list.vapIfname) strcpy(name, "ath0.v0"); // more than once, and on both radios
    if (!is5) strcpy(list.vapIfname[2], "ath1.v0");
    return list;
}

std::vector<uint8_t> stations_of(int32_t count) {
    std::vector<uint8_t> all(sizeof(WireStaInfo), 0xff); // bytes that nobody meant
    memcpy(all.data(), &count, sizeof count);
    return all;
}

std::vector<uint8_t> answer(const WireMethod &method, const std::string &argument) {
    const std::string_view name = method.name;
    if (name == "getRadioInfo") return bytes_of_record(radio_of(argument == "3"));
    if (name == "getRadioApIntfsInfo") return bytes_of_record(vaps_of(argument == "3"));
    if (name == "getNolChannelList") return bytes_of_record(WireNolList{ 255, 0, { { 1860, 52, 0 } } });
    if (name == "getStaInfo") return stations_of(argument == "ath0.v0" ? 1000 : -1);
    if (name == "getCurChannelInfo") return bytes_of_record(load);
    if (name == "getOffChannelInfo") {
        WireOffChInfo figures = {};
        figures.channels[0] = scanned;
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
    const Snapshot all = look(PartOverview | PartCounters);
    EXPECT_EQ(all.vaps.size(), 3u);
    EXPECT_EQ(all.radios[1].channels.size(), 2u); // 52, and the zeros behind it
    EXPECT_TRUE(all.radios[1].find_channel(52)->isNol);
    EXPECT_TRUE(all.radios[1].find_channel(52)->needsDfs);
    EXPECT_EQ(all.find_vap("ath0")->stations.size(), 256u);
    EXPECT_EQ(all.find_vap("ath1.v0")->stations.size(), 0u);
    EXPECT_EQ(all.find_vap("apcli0")->stationTable.size(), 0u); // a station has none
    EXPECT_EQ(all.find_vap("nosuch"), nullptr);
    EXPECT_TRUE(cJSON_IsObject(snapshot_json(all).get()));
}

const struct {
    const char *name;
    unsigned parts;
    size_t calls;
} looks[] = {
    { "radios", 0, 2 },
    { "channels", PartChannels, 8 },
    { "figures", PartFigures, 6 },
    { "interfaces", PartVaps, 2 + 4 + 3 },
    { "stations", PartVaps | PartStations, 2 + 4 + 3 + 2 },
    { "state", PartState, 4 },
    { "all", PartOverview | PartCounters, 2 + 2 * 10 + 3 * 2 + 2 },
};

TEST(ClientSnapshot, AsksForWhatItIsToShow) {
    for (const auto &l : looks) {
        look(l.parts);
        EXPECT_EQ(asked.size(), l.calls) << l.name;
    }
}

/** What a driver doesn't tell is null; what the daemon puts in its place is, too. */
const struct {
    const char *name;
    WireOffChannel channel;
    WireCurChannelInfo load;
    const char *shown; // used, noise, smoothed; own traffic, transmitting, idle, noise
} absences[] = {
    { "all known",
      { 6, 0, 0, -92, 0, {}, -86.5, 0, 0 },
      { 6, 0, 0, 0, 0, 70, 30, 0, {}, -95, 7, 1, 0 },
      "0 -92 -86.5; 0 30 70 -95" },
    { "no use",
      { 6, 0, -1, -92, 0, {}, -86.5, 0, 0 },
      { 6, 0, 0, 0, 0, -1, 0, 0, {}, -95, 4, 1, 0 },
      "null -92 -86.5; null null null -95" },
    { "own traffic alone",
      { 6, 0, 100, -253, 0, {}, -247, 0, 0 },
      { 6, 5, 0, 0, 0, -1, 0, 0, {}, 0, 2, 1, 0 },
      "100 -253 -247; 5 null null null" },
    { "no noise, the daemon's default behind it",
      { 6, 0, 5, -254, 0, {}, -105, 0, 0 },
      { 6, 5, 0, 0, 0, 95, 5, 0, {}, 0, 3, 1, 0 },
      "5 null null; 5 5 95 null" },
};

TEST(ClientSnapshot, AbsentFigures) {
    for (const auto &a : absences) {
        SCOPED_TRACE(a.name);
        scanned = a.channel, load = a.load;
        const Snapshot all = look(PartOverview);
        const Json whole = snapshot_json(all);
        const cJSON *radio = cJSON_GetArrayItem(whole.at("radios"), 0);
        const auto value = [](const cJSON *object, const char *key) {
            return json_line(cJSON_GetObjectItemCaseSensitive(object, key));
        };
        const cJSON *now = cJSON_GetObjectItemCaseSensitive(radio, "operating");
        const cJSON *channel = cJSON_GetObjectItemCaseSensitive(radio, "channels")->child;
        while (value(channel, "channel") != "6") channel = channel->next;
        EXPECT_EQ(value(channel, "utilisation") + " " + value(channel, "noise") + " " +
                      value(channel, "smoothedNoise") + "; " + value(now, "ccaInbss") + " " + value(now, "ccaTxUtil") +
                      " " + value(now, "ccaIdle") + " " + value(now, "noise"),
                  a.shown);
        EXPECT_EQ(all.radios[0].measured(), 1) << "visited, whatever was measured";
        const Json record = decode_as(layoutOffChannel, a.channel);
        const std::string raw = value(record.get(), "chnUtil") + " " + value(record.get(), "noise");
        EXPECT_EQ(raw, std::string(a.shown, raw.size()));
    }
    scanned = {}, load = {};
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

TEST(ClientRecommend, CheapestChannelFirstAndOnlyAMoveThatPays) {
    const auto channel = [](int number, std::optional<int> used) {
        ChannelState c = {};
        c.number = number, c.isAvailable = true, c.utilisation = used;
        return c;
    };
    RadioState radio = {};
    radio.band = 3, radio.channel = 36;
    radio.channels = { channel(36, 40), channel(40, 10), channel(44, 13),           channel(52, 5),
                       channel(100, 0), channel(149, 0), channel(153, std::nullopt) };
    radio.channels[0].isOwn = true;
    radio.channels[1].noise = -89; // 6 dB above a quiet channel's
    radio.channels[3].needsDfs = true;
    radio.channels[4].isNol = true;
    radio.channels[5].isAvailable = false;
    radio.neighbors = { { 44, {}, "", "" } };
    std::string order;
    for (const Recommendation &r : recommend_channels(radio)) order += std::to_string(r.channel->number) + " ";
    EXPECT_EQ(order, "52 40 44 36 ") << "13, 16, 16 and 40 %";
    EXPECT_TRUE(advice(radio, recommend_channels(radio)).starts_with("Move to channel 52: 5 % used, 0 neighbours"));
    radio.channels[0].utilisation = 20;
    EXPECT_TRUE(advice(radio, recommend_channels(radio)).starts_with("Stay on channel 36"));
}

} // namespace
