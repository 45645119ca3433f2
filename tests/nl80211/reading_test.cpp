// What every operation that reads has in common: where it can't say anything it says so, and leaves the record alone.
#include <cstring>

#include "tests/nl80211/world.h"

namespace {

struct Reading : World {
    Reading() { rilk_initDriver(); }

    alignas(16) uint8_t record[8192] = {};

    void expect_refusal(int status) {
        EXPECT_EQ(status, -1);
        EXPECT_EQ(std::count(std::begin(record), std::end(record), 0), std::ssize(record)) << "was written to";
        memset(record, 0, sizeof record);
    }
    /** Without a record, without a name, with one that isn't there, and where the kernel says nothing. */
    template <class Name, class T>
    void refuses(int (*call)(Name, T *), Name known, Name unknown, bool asksTheKernel = true) {
        auto *const to = reinterpret_cast<T *>(record);
        expect_refusal(call(known, nullptr));
        expect_refusal(call(unknown, to));
        if constexpr (std::is_pointer_v<Name>) expect_refusal(call(nullptr, to));
        for (const uint8_t command : { NL80211_CMD_GET_INTERFACE, NL80211_CMD_GET_WIPHY, NL80211_CMD_GET_STATION })
            kernel.on(command, { {}, -EIO });
        if (asksTheKernel) expect_refusal(call(known, to));
        for (const auto &[command, name] :
             { std::pair(NL80211_CMD_GET_INTERFACE, "iface"), { NL80211_CMD_GET_WIPHY, "wiphy" } })
            kernel.on(command, { recorded(name) });
    }
    template <class T>
    void of_radio(int (*call)(const char *, T *), bool asksTheKernel = true) {
        refuses(call, "phy0", "phy9", asksTheKernel);
    }
    template <class T>
    void of_vap(int (*call)(const char *, T *), const char *unknown = "wlan7") {
        refuses(call, "wlan0", unknown);
    }
};

TEST_F(Reading, WhatIsRefusedLeavesItsRecord) {
    of_radio(rilk_getRadioStatus);
    of_radio(rilk_getRadioDynParamters);
    of_radio(rilk_getRadioCurChannel);
    of_radio(rilk_getRadioTxpower);
    of_radio(rilk_getCurChannelInfo);
    of_radio(rilk_getRadioIfStat);
    of_radio(rilk_getChannelNolList);
    of_radio<char>([](const char *name, char *chip) { return rilk_getRadioChipName(name, 16, chip); }, false);
    of_vap(rilk_getVapBssid);
    of_vap<char>([](const char *name, char *ssid) { return rilk_getVapSsid(name, 65, ssid); });
    of_vap(rilk_getVapStatus);
    of_vap(rilk_getVapIfStat);
    of_vap(hul_getEnabledVapCfg);
    kernel.on(NL80211_CMD_GET_STATION, { recorded("station_wlan0") });
    int32_t number;
    ASSERT_EQ(rilk_getVapAssocStationNumber("wlan0", &number), 0);
    kernel.on(NL80211_CMD_GET_STATION, { {}, -EIO });
    expect_refusal(rilk_getVapAssocStationNumber("wlan0", reinterpret_cast<int32_t *>(record)));
    EXPECT_EQ(rilk_getVapAssocStationMac("wlan0", 1, record), 0) << "the snapshot before is kept";
    memset(record, 0, sizeof record);
    const uint8_t mac[6] = { 2, 0, 0, 0, 2, 0x77 };
    for (const int position : { -1, 0, 2 }) expect_refusal(rilk_getVapAssocStationMac("wlan0", position, record));
    expect_refusal(rilk_getVapAssocStationInfo("wlan0", mac, reinterpret_cast<VeskStaEntry *>(record)));
    kernel.on(NL80211_CMD_GET_REG, Reply{});
    expect_refusal(hul_getCountryID(reinterpret_cast<char *>(record), 8));
    refuses(hul_getRadioInfo, 0, 1, false);
    refuses(hul_getRadioChannelList, 0, 2);
    refuses(hul_getRadioExcludedChannelList, 3, -1);
    refuses(rilk_getRadioApInterfaceInfo, 0, 2);
}

TEST_F(Reading, NullsAreRefused) {
    EXPECT_EQ(rilk_getVapSsid("wlan0", 65, nullptr) + rilk_getVapAssocStationNumber("wlan0", nullptr) +
                  rilk_getVapAssocStationMac(nullptr, 1, record) + rilk_getVapAssocStationMac("wlan0", 1, nullptr) +
                  rilk_getVapAssocStationInfo("wlan0", nullptr, nullptr) + hul_EM_getWorkRole(nullptr) +
                  hul_getCountryID(nullptr, 8) + rilk_setVapAclMac("wlan0", nullptr) +
                  rilk_disConnectSta("wlan0", nullptr) + rilk_triggerScan("phy0", nullptr) +
                  rilk_initScanChannelList(nullptr, 3) + rilk_getScanChannelResult("phy0", nullptr) +
                  rilk_update_debuglevel(8) + rilk_update_debuglevel(-1) +
                  rilk_getAssocReqFrame("wlan0", nullptr, nullptr, nullptr),
              -15);
}

} // namespace
