// What the libraries report: the built-in device, a description over it, failures on request.
#include "tests/sim/sim_fixture.h"

#include <thread>

namespace
{

std::string vap_names(int radio)
{
    VeskApIntfInfo info;
    std::string names;
    if (rilk_getRadioApInterfaceInfo(radio, &info) != 0)
        return "failed";
    for (int i = 0; i < info.vapNums; i++)
        names += std::string(info.vapIfname[i]) + " ";
    return names;
}

int channel_of(const char *radio)
{
    int32_t channel = -1;
    rilk_getRadioCurChannel(radio, &channel);
    return channel;
}

} // namespace

TEST_F(SimTest, BuiltInGateway)
{
    VeskApIntfInfo info;
    ASSERT_EQ(rilk_getRadioApInterfaceInfo(1, &info), 0);
    EXPECT_STREQ(info.radioIfname, "wifi1");
    EXPECT_EQ(vap_names(0), "ath0 ath1 ");
    EXPECT_EQ(vap_names(1), "ath10 ath11 ");
    EXPECT_EQ(vap_names(2), "failed");

    int32_t role = 0;
    EXPECT_EQ(hul_EM_getWorkRole(&role), 0);
    EXPECT_EQ(role, 2);

    HulChannelList list;
    ASSERT_EQ(hul_getRadioChannelList(0, &list), 0);
    EXPECT_EQ(int{ list.chListNums }, 13);
    ASSERT_EQ(hul_getRadioChannelList(3, &list), 0);
    ASSERT_EQ(int{ list.chListNums }, 16);
    EXPECT_EQ(list.chList[15], 128);
    EXPECT_NE(hul_getRadioChannelList(1, &list), 0); // a radio's index is no band word

    const struct {
        const char *name;
        int attr;
    } vaps[] = {
        { "ath0", 0 }, { "ath1", 0x40 }, { "apcli0", 0x80 }, { "ath11", 0x40 }, { "apclii0", 0x80 },
    };
    for (const auto &row : vaps) {
        SCOPED_TRACE(row.name);
        uint8_t status = 0;
        HulVapCfg cfg;
        EXPECT_EQ(rilk_getVapStatus(row.name, &status), 0);
        EXPECT_EQ(status, 1);
        EXPECT_EQ(hul_getEnabledVapCfg(row.name, &cfg), 0);
        EXPECT_EQ(cfg.vapAttr, row.attr);
    }
}

TEST_F(SimTest, DescriptionIsLaidOverTheBuiltInDevice)
{
    describe(
        R"({"role": 1, "radios": [{"channel": 11, "acs": 0, "power": 17.5, "excluded": [12, {"ch": 13, "attr": 9}],
        "channels": [{"ch": 1, "attr": 513}, 6, 11, 12, 13], "nol": [6],
        "vaps": [{"name": "ath0", "ssid": "Other", "bssid": "02:00:00:00:00:99"}, {"name": "ath1", "absent": true},
                 {"name": "ath2", "ssid": "guests"}]}, {}]})");
    int32_t role = 0;
    hul_EM_getWorkRole(&role);
    EXPECT_EQ(role, 1);
    EXPECT_EQ(channel_of("wifi0"), 11);
    EXPECT_EQ(channel_of("wifi1"), 44);
    EXPECT_EQ(vap_names(0), "ath0 ath2 ");
    EXPECT_EQ(vap_names(1), "ath10 ath11 ");

    HulRadioInfo radio;
    ASSERT_EQ(hul_getRadioInfo(0, &radio), 0);
    EXPECT_EQ(radio.isAcsEnabled, 0);
    float power = 0;
    rilk_getRadioTxpower("wifi0", &power);
    EXPECT_EQ(power, 17.5F);
    HulChannelList list;
    ASSERT_EQ(hul_getRadioChannelList(0, &list), 0);
    EXPECT_EQ(int{ list.chListNums }, 5);
    EXPECT_EQ(uint16_t{ list.chAttr[0] }, 513);
    HulExcludedChannelList excluded;
    ASSERT_EQ(hul_getRadioExcludedChannelList(0, &excluded), 0);
    ASSERT_EQ(int{ excluded.chListNums }, 2);
    EXPECT_EQ(excluded.entries[1].chList, 13);
    EXPECT_EQ(uint16_t{ excluded.entries[1].chAttr }, 9);
    RilkNolList nol;
    ASSERT_EQ(rilk_getChannelNolList("wifi0", &nol), 0);
    EXPECT_EQ(nol.count, 1);
    EXPECT_EQ(nol.channels[0], 6);

    uint8_t bssid[6];
    char ssid[65];
    rilk_getVapBssid("ath0", bssid);
    rilk_getVapSsid("ath0", sizeof ssid, ssid);
    EXPECT_EQ(bssid[5], 0x99);
    EXPECT_STREQ(ssid, "Other");
    EXPECT_EQ(logged(), "");
}

TEST_F(SimTest, DescriptionIsFollowed)
{
    EXPECT_EQ(channel_of("wifi0"), 6);
    describe(R"({"radios": [{"channel": 1}]})");
    EXPECT_EQ(channel_of("wifi0"), 1);
    describe(R"({"radios": [{"channel": 2}]})"); // of the same size
    EXPECT_EQ(channel_of("wifi0"), 2);
    describe(R"({"radios": [{"channel": 3)");
    EXPECT_EQ(channel_of("wifi0"), 2);
    EXPECT_NE(logged().find("not a JSON object, the device stays as it was"), std::string::npos);
    unlink(description().c_str());
    EXPECT_EQ(channel_of("wifi0"), 6);
}

TEST_F(SimTest, MistakesInTheDescriptionAreNamed)
{
    describe(
        R"({"rolle": 1, "radios": [{"channel": "six", "vaps": [{"ssid": "nameless"}, {"name": "ath0", "bssid": "02:00",
        "stations": [{"mac": "02:00:00:00:00:01", "frame": "abc"}]}]}], "functions": {"x": {"delay": 1}}})");
    EXPECT_EQ(channel_of("wifi0"), 6);
    const char *notes[] = {
        "rolle: unknown key",
        "radios[0].channel: not a number",
        "radios[0].vaps[0].name: missing",
        "radios[0].vaps[1].bssid: not a MAC address",
        "functions.x.delay: unknown key",
        "radios[0].vaps[1].stations[0].frame: not an even number of hexadecimal digits",
    };
    for (const char *note : notes)
        EXPECT_NE(logged().find(note), std::string::npos) << note;
}

TEST_F(SimTest, StationsComeAndGoWithTheCounts)
{
    describe(R"({"radios": [{"vaps": [{"name": "ath0", "stations": [
        {"mac": "02:00:00:00:00:01", "rssi": -47, "tx": 130, "rx": 117, "time": 9, "11k": true, "text2": "11n", "frame": "310400"},
        {"mac": "02:00:00:00:00:02", "polls": [2, 1]}]}]}]})");
    const int expected[] = { 2, 2, 1, 2, 2, 1 };
    for (const int count : expected) {
        int32_t number = -1;
        ASSERT_EQ(rilk_getVapAssocStationNumber("ath0", &number), 0);
        EXPECT_EQ(number, count);
        uint8_t mac[6] = {};
        EXPECT_EQ(rilk_getVapAssocStationMac("ath0", 2, mac) == 0, count == 2);
        EXPECT_EQ(mac[5], count == 2 ? 2 : 0);
    }
    uint8_t mac[6] = { 2, 0, 0, 0, 0, 1 };
    EXPECT_EQ(rilk_getVapAssocStationMac("ath0", 0, mac), -1);
    VeskStaEntry entry;
    ASSERT_EQ(rilk_getVapAssocStationInfo("ath0", mac, &entry), 0);
    EXPECT_EQ(int{ entry.rssi }, -47);
    EXPECT_EQ(uint32_t{ entry.time }, 9u);
    EXPECT_EQ(entry.is11k, 1);
    EXPECT_STREQ(entry.vapIntf, "ath0");
    EXPECT_STREQ(entry.text2, "11n");
    EXPECT_NE(rilk_getVapAssocStationInfo("ath1", mac, &entry), 0);

    uint8_t frame[512];
    uint32_t length = 2; // of the buffer, on entry
    ASSERT_EQ(rilk_getAssocReqFrame("ath0", mac, &length, frame), 0);
    EXPECT_EQ(length, 2u);
    length = sizeof frame;
    ASSERT_EQ(rilk_getAssocReqFrame("ath0", mac, &length, frame), 0);
    EXPECT_EQ(length, 3u);
    EXPECT_EQ(frame[1], 4);
}

TEST_F(SimTest, FailuresLeaveOutputsAlone)
{
    describe(R"({"functions": {"rilk_getRadioStatus": {"rc": -7}, "rilk_setRadioCurChannel": {"rc": -2}}})");
    uint8_t status = 99;
    EXPECT_EQ(rilk_getRadioStatus("wifi0", &status), -7);
    EXPECT_EQ(status, 99);
    EXPECT_EQ(rilk_getVapStatus("nosuch", &status), -1);
    EXPECT_EQ(rilk_getVapStatus(nullptr, &status), -1);
    EXPECT_EQ(status, 99);
    EXPECT_EQ(rilk_setRadioCurChannel("wifi0", 11), -2);
    EXPECT_EQ(channel_of("wifi0"), 6);
    EXPECT_NE(logged().find("rilk_setRadioCurChannel radio=wifi0 channel=11 rc=-2 "), std::string::npos);
}

TEST_F(SimTest, GarbageFillsTheRecordAndNothingBehindIt)
{
    describe(
        R"({"functions": {"rilk_getRadioApInterfaceInfo": {"garbage": true}, "hul_getRadioChannelList": {"garbage": 255},
        "rilk_getRadioChipName": {"garbage": true}}})");
    VeskApIntfInfo info[2] = {};
    ASSERT_EQ(rilk_getRadioApInterfaceInfo(0, info), 0);
    EXPECT_EQ(int{ info[0].vapNums }, 0x5a5a5a5a);
    EXPECT_EQ(memchr(info, 0, sizeof info[0]), nullptr);
    EXPECT_EQ(info[1].radioIfname[0], 0);
    HulChannelList list;
    ASSERT_EQ(hul_getRadioChannelList(0, &list), 0);
    EXPECT_EQ(int{ list.chListNums }, -1);
    char chip[8] = {};
    ASSERT_EQ(rilk_getRadioChipName("wifi0", 7, chip), 0);
    EXPECT_STREQ(chip, "ZZZZZZZ");
}

TEST_F(SimTest, DelayBlocksOnlyItsOwnCaller)
{
    describe(R"({"functions": {"rilk_getRadioStatus": {"delayMs": 300}}})");
    const int64_t start = sim_monotonic_ms();
    std::thread slow([] {
        uint8_t status;
        rilk_getRadioStatus("wifi0", &status);
    });
    usleep(50000);
    EXPECT_EQ(channel_of("wifi0"), 6);
    EXPECT_LT(sim_monotonic_ms() - start, 250);
    slow.join();
    EXPECT_GE(sim_monotonic_ms() - start, 300);
}
