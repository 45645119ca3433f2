// Commands take effect in the model and are written down, one line each.
#include "tests/sim/sim_fixture.h"

namespace
{

int stations_of(const char *vap)
{
    int32_t number = -1;
    rilk_getVapAssocStationNumber(vap, &number);
    return number;
}

} // namespace

TEST_F(SimTest, ChannelAndBandwidth)
{
    describe(R"({"radios": [{"excluded": [3], "nol": [4]}]})");
    const struct {
        int result, channel;
    } settings[] = { { 0, 11 }, { -1, 14 }, { -1, 3 }, { -1, 4 }, { -1, 36 } };
    for (const auto &row : settings) {
        SCOPED_TRACE(row.channel);
        EXPECT_EQ(rilk_setRadioCurChannel("wifi0", row.channel), row.result);
    }
    const struct {
        int result, bandwidth, channel;
    } specs[] = { { 0, 1, 0 }, { -1, 5, 1 }, { -1, -1, 1 }, { -1, 0, 14 } };
    for (const auto &row : specs) {
        SCOPED_TRACE(row.bandwidth);
        EXPECT_EQ(rilk_setRadioChanSpec("wifi0", row.bandwidth, row.channel), row.result);
    }
    int32_t channel = 0;
    RilkRadioDynParams params;
    rilk_getRadioCurChannel("wifi0", &channel);
    rilk_getRadioDynParamters("wifi0", &params);
    EXPECT_EQ(channel, 11);
    EXPECT_EQ(int{ params.bw }, 1);
    EXPECT_STREQ(params.bond, "40MHz");
}

TEST_F(SimTest, DisconnectedAndBlockedStations)
{
    describe(
        R"({"radios": [{"vaps": [{"name": "ath0", "stations": [{"mac": "02:00:00:00:00:0a"}, {"mac": "02:00:00:00:00:0b"}]}]}]})");
    EXPECT_EQ(stations_of("ath0"), 2);
    EXPECT_EQ(rilk_disConnectSta("ath0", "02:00:00:00:00:0A"), 0);
    EXPECT_EQ(stations_of("ath0"), 1);
    EXPECT_EQ(rilk_disConnectSta("ath0", "02:00:00:00:00:0a"), -1);
    EXPECT_EQ(rilk_disConnectSta("ath0", "rubbish"), -1);

    RilkAclMac acl = { 0, { 2, 0, 0, 0, 0, 0x0b } };
    EXPECT_EQ(rilk_setVapAclMac("ath0", &acl), 0);
    EXPECT_EQ(stations_of("ath0"), 0);
    acl.operation = 1;
    EXPECT_EQ(rilk_setVapAclMac("ath0", &acl), 0);
    EXPECT_EQ(stations_of("ath0"), 1);
    acl.operation = 2;
    EXPECT_EQ(rilk_setVapAclMac("ath0", &acl), -1);
}

TEST_F(SimTest, CredentialBringsTheBackhaulStationUpAndKeepsItsKeySecret)
{
    describe(R"({"radios": [{"vaps": [{"name": "apcli0", "status": 0}]}]})");
    VeskBackhaulCred cred = {};
    sim_copy(cred.ifName, "apcli0");
    sim_copy(cred.ssid, "net\nrilk_fake");
    sim_copy(cred.ssidKey, "top-secret");
    cred.encryption = 8;
    cred.authMode = 32;
    EXPECT_EQ(rilk_applyBackhaulCredentialToBsta(&cred), 0);
    uint8_t status = 0;
    char ssid[65];
    rilk_getVapStatus("apcli0", &status);
    rilk_getVapSsid("apcli0", sizeof ssid, ssid);
    EXPECT_EQ(status, 1);
    EXPECT_STREQ(ssid, "net\nrilk_fake");
    EXPECT_EQ(logged().find("top-secret"), std::string::npos);
    EXPECT_NE(logged().find(" ssid=net?rilk_fake key=*** "), std::string::npos);
    sim_copy(cred.ifName, "ath0");
    EXPECT_EQ(rilk_applyBackhaulCredentialToBsta(&cred), -1);

    describe(R"({"radios": [{"vaps": [{"name": "apcli0", "status": 0}]}]} )");
    VeskBstaAuto automatic = {};
    sim_copy(automatic.ifName, "apcli0");
    automatic.enableAuto = 1;
    EXPECT_EQ(rilk_setBstaAutoConnect(&automatic), 0);
    rilk_getVapStatus("apcli0", &status);
    EXPECT_EQ(status, 1);
}

TEST_F(SimTest, EveryCommandIsOneLine)
{
    const uint8_t data[] = { 0xdd, 0x01 };
    const VeskDot1qCfg vlan = { 20, 3, 0 };
    RilkBtmReq btm = {};
    btm.targetNums = 255; // more than the record holds
    RilkBeaconReq beacon = {};
    memset(beacon.ssid, 's', sizeof beacon.ssid);
    beacon.elementNums = 64;
    memset(beacon.elements, 0xff, sizeof beacon.elements);
    beacon.listNums = 200;
    const uint32_t channels[] = { 1, 6 };
    rilk_update_debuglevel(8);
    rilk_setWNMEnable("none", 1);
    rilk_initScanChannelList(channels, 2);
    rilk_setMinMaxDwellTime("wifi0", 55, 150);
    rilk_addVendorIE("ath0", 1, data, 2);
    rilk_set8021dotqCfg("ath0", &vlan);
    rilk_sendBTMReq("ath0", &btm);
    rilk_sendBeaconReq("ath0", &beacon);

    const char *begins[] = {
        "rilk_update_debuglevel level=8 rc=-1 ",
        "rilk_setWNMEnable if=none enable=1 rc=-1 ",
        "rilk_initScanChannelList nums=2 channels=1,6 rc=0 ",
        "rilk_setMinMaxDwellTime radio=wifi0 min=55 max=150 rc=0 ",
        "rilk_addVendorIE if=ath0 pktType=1 len=2 data=dd01 rc=0 ",
        "rilk_set8021dotqCfg if=ath0 vid=20 pcp=3 rc=0 ",
        "rilk_sendBTMReq if=ath0 mac=000000000000 values=0,0,0 targets=255 ",
        "rilk_sendBeaconReq if=ath0 mac=000000000000 ",
    };
    const std::string text = logged();
    size_t at = 0;
    for (const char *begin : begins) {
        SCOPED_TRACE(begin);
        EXPECT_EQ(text.compare(at, strlen(begin), begin), 0);
        at = text.find('\n', at) + 1;
    }
    EXPECT_EQ(at, text.size());
    EXPECT_NE(text.rfind(" rc=0 t="), std::string::npos);
}
