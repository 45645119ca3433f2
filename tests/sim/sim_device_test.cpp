// What the libraries report: the built-in device, a description over it, failures on request. Commands take
// effect in the model and are written down, one line each.
#include "tests/sim/sim_fixture.h"

#include <atomic>
#include <thread>

namespace {

/** What a query answers. */
template <class Key, class T>
T answer(int (*query)(Key, T *), std::type_identity_t<Key> key) {
    T value = {};
    EXPECT_EQ(query(key, &value), 0) << key;
    return value;
}

const auto channel_of = [](const char *radio) { return answer(rilk_getRadioCurChannel, radio); };
const auto stations_of = [](const char *vap) { return answer(rilk_getVapAssocStationNumber, vap); };

/** The role and all access points. */
std::string role_and_vaps() {
    int32_t role = 0;
    EXPECT_EQ(hul_EM_getWorkRole(&role), 0);
    std::string text = words(role);
    for (const int radio : { 0, 1 }) {
        const auto info = answer(rilk_getRadioApInterfaceInfo, radio);
        for (int i = 0; i < info.vapNums; i++) text += words(info.vapIfname[i]);
    }
    return text;
}

} // namespace

TEST_F(SimTest, BuiltInGateway) {
    EXPECT_EQ(role_and_vaps(), "2 ath0 ath1 ath10 ath11 ");
    VeskApIntfInfo none;
    EXPECT_NE(rilk_getRadioApInterfaceInfo(2, &none), 0);
    auto list = answer(hul_getRadioChannelList, 3);
    EXPECT_EQ(words(+list.chListNums, +list.chList[15]), "16 128 ");
    EXPECT_NE(hul_getRadioChannelList(1, &list), 0); // a radio's index is no band word
    for (const auto &[name, attr] : { std::pair("ath0", 0), { "ath1", 0x40 }, { "apclii0", 0x80 } })
        EXPECT_EQ(answer(hul_getEnabledVapCfg, name).vapAttr, attr) << name;
}

TEST_F(SimTest, DescriptionIsLaidOverTheBuiltInDevice) {
    describe(R"({"role": 1, "radios": [{"channel": 11, "excluded": [12, {"ch": 13, "attr": 9}],
        "channels": [{"ch": 1, "attr": 513}, 6, 11, 12, 13], "nol": [6],
        "vaps": [{"name": "ath0", "ssid": "Other"}, {"name": "ath1", "absent": true}, {"name": "ath2"}]}, {}]})");
    const auto list = answer(hul_getRadioChannelList, 0);
    const auto excluded = answer(hul_getRadioExcludedChannelList, 0);
    const auto nol = answer(rilk_getChannelNolList, "wifi0");
    char ssid[65];
    rilk_getVapSsid("ath0", sizeof ssid, ssid);
    EXPECT_EQ(role_and_vaps(), "1 ath0 ath2 ath10 ath11 ");
    EXPECT_EQ(words(channel_of("wifi0"), channel_of("wifi1"), ssid), "11 44 Other ");
    EXPECT_EQ(words(+list.chListNums, +list.chAttr[0], +excluded.chListNums, +excluded.entries[1].chAttr, +nol.count,
                    +nol.channels[0]),
              "5 513 2 9 1 6 ");
    EXPECT_EQ(logged(), "");
}

TEST_F(SimTest, DescriptionIsFollowed) {
    EXPECT_EQ(channel_of("wifi0"), 6);
    for (const auto &[json, channel] : { std::pair(R"({"radios": [{"channel": 1}]})", 1),
                                         { R"({"radios": [{"channel": 2}]})", 2 }, // of the same size
                                         { R"({"radios": [{"channel": 3)", 2 } }) {
        describe(json);
        EXPECT_EQ(channel_of("wifi0"), channel) << json;
    }
    EXPECT_TRUE(notes("not a JSON object, the device stays as it was"));
    unlink(description.c_str());
    EXPECT_EQ(channel_of("wifi0"), 6);
}

TEST_F(SimTest, MistakesInTheDescriptionAreNamed) {
    describe(
        R"({"rolle": 1, "radios": [{"channel": "six", "vaps": [{"ssid": "nameless"}, {"name": "ath0", "bssid": "02:00",
        "stations": [{"mac": "02:00:00:00:00:01", "frame": "abc"}]}], "neighbors": [5]}, 7], "functions": {"x": {"delay": 1}}})");
    EXPECT_EQ(channel_of("wifi0"), 6);
    for (const char *note :
         { "rolle: unknown key", "radios[0].channel: not a number", "radios[0].vaps[0].name: missing",
           "radios[0].vaps[1].bssid: not a MAC address", "functions.x.delay: unknown key",
           "radios[0].vaps[1].stations[0].frame: not an even number of hexadecimal digits",
           "radios[0].neighbors[0]: not an object", "radios[1]: not an object" })
        EXPECT_TRUE(notes(note)) << note;
}

TEST_F(SimTest, StationsComeAndGoWithTheCounts) {
    describe(R"({"radios": [{"vaps": [{"name": "ath0", "stations": [
        {"mac": "02:00:00:00:00:01", "rssi": -47, "11k": true, "text2": "11n", "frame": "310400"},
        {"mac": "02:00:00:00:00:02", "polls": [2, 1]}]}]}]})");
    for (const int count : { 2, 2, 1, 2, 2, 1 }) {
        EXPECT_EQ(stations_of("ath0"), count);
        uint8_t mac[6] = {};
        EXPECT_EQ(rilk_getVapAssocStationMac("ath0", 2, mac) == 0, count == 2);
        EXPECT_EQ(mac[5], count == 2 ? 2 : 0);
    }
    uint8_t mac[6] = { 2, 0, 0, 0, 0, 1 };
    EXPECT_EQ(rilk_getVapAssocStationMac("ath0", 0, mac), -1);
    VeskStaEntry entry;
    ASSERT_EQ(rilk_getVapAssocStationInfo("ath0", mac, &entry), 0);
    EXPECT_EQ(words(+entry.rssi, +entry.is11k, entry.text2), "-47 1 11n ");
    EXPECT_NE(rilk_getVapAssocStationInfo("ath1", mac, &entry), 0);

    uint8_t frame[512];
    for (const auto &[room, length] : { std::pair(2u, 2u), { 512u, 3u } }) {
        uint32_t count = room;
        ASSERT_EQ(rilk_getAssocReqFrame("ath0", mac, &count, frame), 0);
        EXPECT_EQ(count, length);
    }
    EXPECT_EQ(frame[1], 4);
}

TEST_F(SimTest, StationsOfTheListStandOverTheDescription) {
    // clang-format off
    const struct { const char *line; int ath0, ath10; const char *station; } rows[] = {
        { "join ath0 02:00:00:00:00:07 rssi=-52 time=30 11v=1 11k=0 frame=3104aa", 2, 1, "-52 30 1 0 3 " },
        { "join ath0 02:00:00:00:00:07 rssi=-70 time=40 11v=0 11k=1", 2, 1, "-70 40 0 1 21 " },
        { "join ath10 02:00:00:00:00:07 rssi=-60 time=0 11v=0 11k=0", 1, 2, "" },
        { "join ath0 02:5e:70:00:00:01 rssi=-33 time=1 11v=0 11k=0", 1, 2, "" }, // the description's own
        { "leave ath10 02:00:00:00:00:07", 1, 1, "" },
        { "leave ath0 02:5e:70:00:00:01", 0, 1, "" },
        { "leave ath0 02:00:00:00:00:99", 0, 1, "" },
        { "join ath0 02:00:00:00:00:07 rssi=-52", 0, 1, "" }, // not understood
        { "join ath77 02:00:00:00:00:07 rssi=-52 time=30 11v=1 11k=0", 0, 1, "" },
        { "join ath0 02:00:00:00:00:07 rssi=-53 time=31 11v=1 11k=1", 1, 1, "-53 31 1 1 21 " },
    };
    // clang-format on
    std::string all;
    for (const auto &row : rows) {
        SCOPED_TRACE(row.line);
        put_file(stations.c_str(), all += std::string(row.line) + "\n");
        EXPECT_EQ(stations_of("ath0"), row.ath0);
        EXPECT_EQ(stations_of("ath10"), row.ath10);
        const uint8_t mac[6] = { 2, 0, 0, 0, 0, 7 };
        VeskStaEntry e;
        uint32_t length = 512;
        uint8_t frame[512];
        const bool known = rilk_getVapAssocStationInfo("ath0", mac, &e) == 0;
        EXPECT_EQ(rilk_getAssocReqFrame("ath0", mac, &length, frame) == 0, known);
        EXPECT_EQ(known ? words(+e.rssi, +e.time, +e.is11v, +e.is11k, length) : "", row.station);
    }
    EXPECT_TRUE(notes("not understood: join ath77"));
    put_file(stations.c_str(), all + "leave ath0 02:00:00"); // half a line
    EXPECT_EQ(stations_of("ath0"), 1);
    describe(R"({"radios": [{"channel": 1}]})"); // the list holds over a new description, too
    EXPECT_EQ(stations_of("ath0"), 1);
    EXPECT_EQ(rilk_disConnectSta("ath0", "02:00:00:00:00:07"), 0);
    EXPECT_EQ(stations_of("ath0"), 0);
    unlink(stations.c_str());
    EXPECT_EQ(stations_of("ath0"), 1); // the description's own is back
}

TEST_F(SimTest, FailuresLeaveOutputsAlone) {
    describe(R"({"functions": {"rilk_getRadioStatus": {"rc": -7}, "rilk_setRadioCurChannel": {"rc": -2}}})");
    uint8_t status = 99;
    EXPECT_EQ(rilk_getRadioStatus("wifi0", &status), -7);
    for (const char *vap : { "nosuch", static_cast<const char *>(nullptr) })
        EXPECT_EQ(rilk_getVapStatus(vap, &status), -1);
    EXPECT_EQ(status, 99);
    EXPECT_EQ(rilk_setRadioCurChannel("wifi0", 11), -2);
    EXPECT_EQ(channel_of("wifi0"), 6);
    EXPECT_TRUE(notes("rilk_setRadioCurChannel radio=wifi0 channel=11 rc=-2 "));
}

TEST_F(SimTest, GarbageFillsTheRecordAndNothingBehindIt) {
    describe(
        R"({"functions": {"rilk_getRadioApInterfaceInfo": {"garbage": true}, "hul_getRadioChannelList": {"garbage": 255}}})");
    VeskApIntfInfo info[2] = {};
    ASSERT_EQ(rilk_getRadioApInterfaceInfo(0, info), 0);
    EXPECT_EQ(int{ info[0].vapNums }, 0x5a5a5a5a);
    EXPECT_EQ(memchr(info, 0, sizeof info[0]), nullptr);
    EXPECT_EQ(info[1].radioIfname[0], 0);
    EXPECT_EQ(int{ answer(hul_getRadioChannelList, 0).chListNums }, -1);
}

TEST_F(SimTest, DelayBlocksOnlyItsOwnCaller) {
    describe(R"({"functions": {"rilk_getRadioStatus": {"delayMs": 300}}})");
    std::atomic<bool> isOver = false;
    std::thread slow([&] { answer(rilk_getRadioStatus, "wifi0"), isOver = true; });
    while (sim_advance(0) == 0) usleep(1000); // until it sits in its delay
    for (const int ms : { 0, 299 }) {
        EXPECT_EQ(sim_advance(ms), 1);
        EXPECT_EQ(channel_of("wifi0"), 6);
        EXPECT_FALSE(isOver);
    }
    sim_advance(1);
    slow.join();
}

TEST_F(SimTest, ChannelAndBandwidth) {
    describe(R"({"radios": [{"excluded": [3], "nol": [4]}]})");
    EXPECT_EQ(rilk_setRadioCurChannel("wifi0", 11), 0);
    for (const int channel : { 14, 3, 4, 36 }) EXPECT_EQ(rilk_setRadioCurChannel("wifi0", channel), -1) << channel;
    EXPECT_EQ(rilk_setRadioChanSpec("wifi0", 1, 0), 0);
    for (const auto &[bandwidth, channel] : { std::pair(5, 1), { -1, 1 }, { 0, 14 } })
        EXPECT_EQ(rilk_setRadioChanSpec("wifi0", bandwidth, channel), -1) << bandwidth;
    EXPECT_EQ(channel_of("wifi0"), 11);
    EXPECT_STREQ(answer(rilk_getRadioDynParamters, "wifi0").bond, "40MHz");
}

TEST_F(SimTest, DisconnectedAndBlockedStations) {
    describe(R"({"radios": [{"vaps": [{"name": "ath0", "stations": [
        {"mac": "02:00:00:00:00:0a"}, {"mac": "02:00:00:00:00:0b"}]}]}]})");
    EXPECT_EQ(stations_of("ath0"), 2);
    for (const auto &[mac, result] : { std::pair("02:00:00:00:00:0A", 0), { "02:00:00:00:00:0a", -1 }, { "x", -1 } })
        EXPECT_EQ(rilk_disConnectSta("ath0", mac), result) << mac;
    EXPECT_EQ(stations_of("ath0"), 1);
    for (const auto &[operation, result, left] : { std::tuple(0, 0, 0), { 1, 0, 1 }, { 2, -1, 1 } }) {
        const RilkAclMac acl = { static_cast<uint8_t>(operation), { 2, 0, 0, 0, 0, 0x0b } };
        EXPECT_EQ(rilk_setVapAclMac("ath0", &acl), result) << operation;
        EXPECT_EQ(stations_of("ath0"), left) << operation;
    }
}

TEST_F(SimTest, CredentialBringsTheBackhaulStationUpAndKeepsItsKeySecret) {
    const char *down = R"({"radios": [{"vaps": [{"name": "apcli0", "status": 0}]}]})";
    const auto is_up = [] { return answer(rilk_getVapStatus, "apcli0"); };
    describe(down);
    VeskBackhaulCred cred = { .ifName = "apcli0", .ssid = "net\nrilk_fake", .ssidKey = "top-secret" };
    EXPECT_EQ(is_up(), 0);
    EXPECT_EQ(rilk_applyBackhaulCredentialToBsta(&cred), 0);
    EXPECT_EQ(is_up(), 1);
    EXPECT_FALSE(notes("top-secret"));
    EXPECT_TRUE(notes(" ssid=net?rilk_fake key=*** "));
    sim_copy(cred.ifName, "ath0");
    EXPECT_EQ(rilk_applyBackhaulCredentialToBsta(&cred), -1);
    describe(std::string(down) + " "); // down again
    VeskBstaAuto automatic = { .ifName = "apcli0", .enableAuto = 1 };
    EXPECT_EQ(rilk_setBstaAutoConnect(&automatic), 0);
    EXPECT_EQ(is_up(), 1);
}

TEST_F(SimTest, EveryCommandIsOneLine) {
    const uint8_t data[] = { 0xdd, 0x01 };
    const uint32_t channels[] = { 1, 6 };
    const VeskDot1qCfg vlan = { 20, 3, 0 };
    const RilkBtmReq btm = { .targetNums = 255 }; // more than the record holds, as below
    const RilkBeaconReq beacon = { .elementNums = 64, .listNums = 200 };
    rilk_setWNMEnable("none", 1);
    rilk_initScanChannelList(channels, 2);
    rilk_setMinMaxDwellTime("wifi0", 55, 150);
    rilk_addVendorIE("ath0", 1, data, 2);
    rilk_set8021dotqCfg("ath0", &vlan);
    rilk_sendBTMReq("ath0", &btm);
    rilk_sendBeaconReq("ath0", &beacon);
    std::istringstream lines(logged());
    std::string line;
    for (const char *begin :
         { "rilk_setWNMEnable if=none enable=1 rc=-1 ", "rilk_initScanChannelList nums=2 channels=1,6 rc=0 ",
           "rilk_setMinMaxDwellTime radio=wifi0 min=55 max=150 rc=0 ",
           "rilk_addVendorIE if=ath0 pktType=1 len=2 data=dd01 rc=0 ", "rilk_set8021dotqCfg if=ath0 vid=20 pcp=3 rc=0 ",
           "rilk_sendBTMReq if=ath0 mac=000000000000 values=0,0,0 targets=255 ",
           "rilk_sendBeaconReq if=ath0 mac=000000000000 " }) {
        EXPECT_TRUE(std::getline(lines, line)) << begin << "\n" << line;
        EXPECT_TRUE(line.starts_with(begin)) << begin << "\n" << line;
    }
    EXPECT_NE(line.rfind(" rc=0 t="), std::string::npos);
    EXPECT_FALSE(std::getline(lines, line));
}
