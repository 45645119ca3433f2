// The snapshot against a bus that answers from a small table and counts what it is asked.
#include <gtest/gtest.h>

#include <map>

#include "tools/client/device.h"

namespace {
std::map<std::string, int> asked; // "method argument" and how often
std::string refused, broken;      // methods that the daemon refuses, or that the bus fails

template <class T>
std::vector<uint8_t> bytes(const T &record) {
    return bytes_of_record(record);
}

std::vector<uint8_t> answer(const std::string &method, const std::string &argument) {
    if (method == "getRadioInfo") {
        WireRadioInfo radio = {};
        strcpy(radio.radioIfname, argument == "0" ? "wifi0" : "wifi1");
        radio.status = radio.isEnabled = 1;
        radio.curChannel = argument == "0" ? 6 : 52;
        radio.chListNums = 300;                                                           // more than fit
        radio.curchList[0] = radio.curchList[1] = static_cast<uint8_t>(radio.curChannel); // twice
        return bytes(radio);
    }
    if (method == "getRadioApIntfsInfo") {
        WireApIntfsInfo list = {};
        list.vapNums = 3;
        for (int i = 0; i < 3; i++) strcpy(list.vapIfname[i], i == 2 ? "ath1.v0" : "ath0.v0"); // twice
        if (argument == "3") strcpy(list.vapIfname[2], "ath0.v0");                             // and once more
        return bytes(list);
    }
    if (method == "getNolChannelList") {
        WireNolList list = { 255, 0, {} };
        list.channels[0] = { 1860, 52, 0 };
        return bytes(list);
    }
    if (method == "getStaInfo") {
        std::vector<uint8_t> all(sizeof(WireStaInfo), 0xff); // count -1, and bytes that nobody meant
        const int32_t count = argument == "ath0.v0" ? 1000 : -1;
        memcpy(all.data(), &count, sizeof count);
        return all;
    }
    if (method == "getBstaIntfInfo") return bytes(WireBstaIntf{ "apcli0", {} });
    if (method == "getVapInfo") {
        WireVapInfo vap = {};
        vap.vapAttr = argument == "apcli0" ? 0x80 : 0;
        return bytes(vap);
    }
    return std::vector<uint8_t>(bus_method(method)->result.size);
}
} // namespace

void bus_start_time(int) {}
void bus_disconnect() {}
bool bus_listen(const SignalVisitor &, const std::function<bool()> &, std::string &) { return false; }
const WireMethod *bus_method(std::string_view name) {
    for (const WireMethod &row : vesk_methods)
        if (name == row.name) return &row;
    return nullptr;
}
CallResult bus_call(const WireMethod &method, const std::vector<CallArg> &args) {
    CallResult result;
    std::string argument = args.empty()                      ? ""
                           : args[0].type == WireType::Int32 ? std::to_string(args[0].number)
                                                             : args[0].text;
    asked[std::string(method.name) + " " + argument]++;
    if (broken == method.name) {
        result.error = "broken";
        return result;
    }
    result.status = refused == method.name ? -1 : 0;
    result.record = answer(method.name, argument);
    return result;
}

namespace {

Snapshot look(unsigned parts) {
    Snapshot snapshot;
    std::string error;
    asked.clear();
    EXPECT_TRUE(take_snapshot(snapshot, parts, error)) << error;
    for (const auto &[call, times] : asked) EXPECT_EQ(times, 1) << call;
    return snapshot;
}

TEST(ClientSnapshot, AsksEachThingOnce) {
    const Snapshot all = look(PartOverview | PartCounters);
    // two of the device, ten a radio, its interfaces' lists included, and per interface its record, its counters and,
    // of an access point, its stations
    EXPECT_EQ(asked.size(), 2u + 2 * 10 + 2 * 3 + 2);
    EXPECT_EQ(all.vaps.size(), 3u);
    EXPECT_EQ(all.radios[1].channels.size(), 2u); // 52, and the zeros behind it
    EXPECT_TRUE(all.radios[1].find_channel(52)->isNol && all.radios[1].find_channel(52)->needsDfs);
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
};

TEST(ClientSnapshot, AsksForWhatItIsToShow) {
    for (const auto &l : looks) {
        SCOPED_TRACE(l.name);
        look(l.parts);
        EXPECT_EQ(asked.size(), l.calls);
    }
}

TEST(ClientSnapshot, StopsAtAFailureOfTheBusAndGoesOnBehindARefusal) {
    for (const char *method :
         { "getStaInfo", "getOffChannelInfo", "getRadioIntfStats", "getBstaIntfInfo", "getScanCap" }) {
        refused = method;
        EXPECT_EQ(look(PartOverview | PartCounters).radios.size(), 2u) << method;
        refused = "";
        broken = method;
        Snapshot snapshot;
        std::string error;
        asked.clear();
        EXPECT_FALSE(take_snapshot(snapshot, PartOverview | PartCounters, error)) << method;
        EXPECT_EQ(error, "broken");
        EXPECT_EQ(asked.rbegin()->second, 1);
        broken = "";
    }
    refused = "getRadioInfo";
    EXPECT_EQ(look(PartOverview).radios.size(), 0u);
    refused = "";
}

} // namespace
