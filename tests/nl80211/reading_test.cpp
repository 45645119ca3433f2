// Every operation that reads, against the recorded kernel: what it delivers, and what it says where the kernel or
// hostapd has nothing.
#include "platform/nl80211/config.h"
#include "platform/nl80211/ctrl.h"
#include "tests/nl80211/world.h"

namespace {

const std::string STATUS =
    "state=ENABLED\nieee80211n=1\nieee80211ac=1\nieee80211ax=1\nsupported_rates=02 04 0b 16 0c 12\n";
const std::string STA =
    "02:00:00:00:02:00\nflags=[AUTH][ASSOC][AUTHORIZED][HT]\ncapability=0x1431\next_capab=04004a02\n";
const std::string CONFIG = "ssid=vesk24\nkey_mgmt=WPA-PSK\nrsn_pairwise_cipher=CCMP\nmulti_ap=1\n";

struct Reading : World {
    Reading() {
        clock_stop();
        rilk_initDriver();
    }
    void with_interfaces(std::vector<Blob> messages) {
        kernel.on(NL80211_CMD_GET_INTERFACE, [=](const Asked &asked) {
            if (asked.dump) return Reply{ messages };
            for (const Blob &one : messages)
                if (one[4] == asked.ifindex) return Reply{ { one } };
            return Reply{ {}, -ENODEV };
        });
    }
    std::string vaps(int radio) {
        VeskApIntfInfo info{};
        if (rilk_getRadioApInterfaceInfo(radio, &info) != 0) return "none";
        std::string text = info.radioIfname;
        for (int i = 0; i < info.vapNums; i++) text += std::string(" ") + info.vapIfname[i];
        return text;
    }
};

TEST_F(Reading, Radios) {
    FakeHostapd hostapd(root + "/run/hostapd/wlan0", { { "STATUS", STATUS } });
    EXPECT_EQ(vaps(0), "phy0 wlan0 wlan0b");
    EXPECT_EQ(vaps(1), "phy1 wlan1");
    EXPECT_EQ(vaps(2) + vaps(-1), "nonenone");
    char chip[16];
    uint8_t status = 9;
    RilkRadioDynParams params;
    int32_t channel;
    float power;
    EXPECT_EQ(rilk_getRadioChipName("phy0", sizeof chip, chip) + rilk_getRadioStatus("phy0", &status) +
                  rilk_getRadioDynParamters("phy0", &params) + rilk_getRadioCurChannel("phy0", &channel) +
                  rilk_getRadioTxpower("phy0", &power),
              0);
    EXPECT_STREQ(chip, "mt7915e");
    EXPECT_STREQ(params.bond, "20MHz");
    EXPECT_STREQ(params.operatingStandards, "b,g,n,ax");
    EXPECT_EQ(std::tuple(int{ status }, int{ params.bw }, channel, power), std::tuple(1, 0, 6, 30.0F));
    EXPECT_EQ(rilk_getRadioDynParamters("phy1", &params), 0);
    EXPECT_STREQ(params.bond, "80MHz");
    EXPECT_STREQ(params.operatingStandards, "") << "no hostapd to ask";
}

TEST_F(Reading, OrderOfTheProductFileAndNamesThatCantBeUsed) {
    put("/tmp/kor-product-cfg.json", R"({"productparameters": {"Wifi": [{"Vap": [{"InterfaceName": "e.v0"},
        {"InterfaceName": 7}, {"InterfaceName": "c.v0"}, {"Mode": "ap"}]}]}})");
    std::vector<Blob> messages;
    const char *names[] = { "twelve-chars", "b.1", "c", "d", "e", "f", "g", "h", "i", "j", "k" };
    for (uint32_t i = 0; i < std::size(names); i++)
        messages.push_back(interface(i + 20, 0, NL80211_IFTYPE_AP, names[i], 2437, static_cast<uint8_t>(i)));
    with_interfaces(messages);
    for (int i = 0; i < 2; i++) EXPECT_EQ(vaps(0), "phy0 e c d f g h i j");
    EXPECT_TRUE(logged("k: left out, phy0 has more than 8") && logged("twelve-chars: left out") &&
                logged("b.1: left out"));
    EXPECT_EQ(log.find("b.1: left out"), log.rfind("b.1: left out")) << "said once";
}

struct AbsentCase {
    const char *name;
    std::vector<Blob> interfaces;
    int status, channel;
};
const AbsentCase absents[] = {
    { "no access point", { interface(2, 0, NL80211_IFTYPE_STATION, "wlan0", 2437, 1) }, 0, -1 },
    { "one on no channel", { interface(2, 0, NL80211_IFTYPE_AP, "wlan0", 0, 1) }, 0, -1 },
    { "one whose link is down", { interface(31, 0, NL80211_IFTYPE_AP, "down", 2437, 1) }, 0, 6 },
    { "an AP_VLAN only", { interface(2, 0, NL80211_IFTYPE_AP_VLAN, "wlan0", 2437, 1) }, 0, -1 },
    { "6 GHz", { interface(2, 0, NL80211_IFTYPE_AP, "wlan0", 5955, 1) }, 1, 0 },
    { "the second one is up",
      { interface(9, 0, NL80211_IFTYPE_AP, "wlan0b", 0, 2), interface(2, 0, NL80211_IFTYPE_AP, "wlan0", 2462, 1) },
      1,
      11 },
};

TEST_F(Reading, RadiosThatArentUp) {
    add_interface(31, "down", 0, "down");
    for (const AbsentCase &c : absents) {
        SCOPED_TRACE(c.name);
        with_interfaces(c.interfaces);
        uint8_t status = 9;
        int32_t channel = -1;
        EXPECT_EQ(rilk_getRadioStatus("phy0", &status), 0);
        EXPECT_EQ(rilk_getRadioCurChannel("phy0", &channel), c.channel < 0 ? -1 : 0);
        EXPECT_EQ(std::pair(int{ status }, channel), std::pair(c.status, c.channel));
    }
}

TEST_F(Reading, PowerKeepsItsLastValue) {
    float power = 1;
    with_interfaces({ interface(2, 0, NL80211_IFTYPE_AP, "wlan0", 0, 1) });
    EXPECT_EQ(rilk_getRadioTxpower("phy0", &power), -1);
    EXPECT_EQ(power, 1);
    auto up = interface(2, 0, NL80211_IFTYPE_AP, "wlan0", 2437, 1);
    with_interfaces({ join({ up, number<int32_t>(NL80211_ATTR_WIPHY_TX_POWER_LEVEL, 1550) }) });
    EXPECT_EQ(rilk_getRadioTxpower("phy0", &power), 0);
    with_interfaces({ up });
    EXPECT_EQ(rilk_getRadioTxpower("phy0", &power), 0);
    EXPECT_EQ(power, 15.5F);
    with_interfaces({ join({ up, number<int32_t>(NL80211_ATTR_WIPHY_TX_POWER_LEVEL, 0) }) });
    EXPECT_EQ(rilk_getRadioTxpower("phy0", &power), 0);
    EXPECT_EQ(power, 0.0F) << "0 dBm on a channel is a power";
}

Blob survey(uint64_t time, uint64_t busy, uint64_t rx, uint64_t tx, bool noise = true, uint32_t frequency = 2437) {
    return nest(NL80211_ATTR_SURVEY_INFO,
                { number(NL80211_SURVEY_INFO_FREQUENCY, frequency), flag(NL80211_SURVEY_INFO_IN_USE),
                  noise ? number<int8_t>(NL80211_SURVEY_INFO_NOISE, -95) : Blob{},
                  number(NL80211_SURVEY_INFO_TIME, time), number(NL80211_SURVEY_INFO_TIME_BUSY, busy),
                  number(NL80211_SURVEY_INFO_TIME_RX, rx), number(NL80211_SURVEY_INFO_TIME_TX, tx) });
}

struct CcaStep {
    const char *name;
    int64_t later;
    Blob survey;
    unsigned busy, own;
    int idle, noise, mask;
};
const CcaStep steps[] = {
    { "first sample", 0, survey(10000, 5000, 100, 100), 0, 0, -1, -95, 4 },
    { "a second later", 1000, survey(11000, 5400, 200, 150), 40, 15, 60, -95, 7 },
    { "too soon for a new one", 400, survey(11400, 5800, 600, 150), 40, 15, 60, -95, 7 },
    { "counted from the last one", 600, survey(12000, 6200, 250, 200, false), 80, 10, 20, 0, 3 },
    { "counters gone back", 1000, survey(50, 10, 0, 0), 0, 0, -1, -95, 4 },
    { "and on from there", 1000, survey(1050, 510, 0, 100), 50, 10, 50, -95, 7 },
    { "another channel", 1000, survey(9000, 900, 0, 0, true, 2462), 0, 0, -1, -95, 4 },
};

TEST_F(Reading, LoadOfTheOperatingChannel) {
    VeskCurChannelInfo info{};
    EXPECT_EQ(rilk_getCurChannelInfo("phy0", &info), 0);
    EXPECT_EQ(std::tuple(int{ info.channel }, int{ info.ccaIdle }, int{ info.noise }, int{ info.value4 }),
              std::tuple(6, -1, 0, 0))
        << "simulated radios don't mark the channel";
    for (const CcaStep &s : steps) {
        SCOPED_TRACE(s.name);
        clock_advance(s.later);
        kernel.on(NL80211_CMD_GET_SURVEY, { { s.survey } });
        EXPECT_EQ(rilk_getCurChannelInfo("phy0", &info), 0);
        EXPECT_EQ(std::tuple(unsigned{ info.ccaTxUtil }, unsigned{ info.ccaInbss }, int{ info.ccaIdle },
                             int{ info.noise }, int{ info.value4 }),
                  std::tuple(s.busy, s.own, s.idle, s.noise, s.mask));
    }
    kernel.on(NL80211_CMD_GET_SURVEY, { {}, -EOPNOTSUPP });
    EXPECT_EQ(rilk_getCurChannelInfo("phy0", &info), 0);
    EXPECT_EQ(std::pair(int{ info.ccaIdle }, int{ info.value4 }), std::pair(-1, 0));
    with_interfaces({});
    info.channel = 77;
    EXPECT_EQ(rilk_getCurChannelInfo("phy0", &info), -1);
    EXPECT_EQ(int{ info.channel }, 77);
}

// What `iw` prints of real drivers, as their users have shown it in reports to OpenWrt, Gluon, mt76 and ath10k-ct and
// in the kernel's own log of changes; iwlwifi's row has the attributes that its driver fills. NONE: no such line.
constexpr int64_t NONE = INT64_MIN;
template <class T>
Blob maybe(int type, int64_t value) {
    return value == NONE ? Blob{} : number(type, static_cast<T>(value));
}

struct DriverSurvey {
    const char *driver;
    int64_t noise, time, busy, rx, bssRx, tx; // since the driver began
    int used, own, mask;                      // own share, -1: unknown
};
const DriverSurvey surveys[] = {
    { "mt7996", -84, 497753, 104676, 87380, NONE, 16494, 21, 20, 7 },
    { "mt7986", -90, 3632796925, 878259766, 440957725, 173056055, 340995043, 24, 14, 7 },
    { "ath9k", -95, 1704490481, 945335227, 584372518, NONE, 310956458, 55, 52, 7 },
    { "ath10k", -105, 140, 2, 0, NONE, 0, 1, 0, 7 },
    { "ath10k with a firmware that tells nothing", NONE, NONE, NONE, NONE, NONE, NONE, 0, 0, 0 },
    { "carl9170", -86, 3339608, 270982, NONE, NONE, 121515, 8, 0, 5 },
    { "iwlwifi, without noise and busy time", NONE, 60000, NONE, 9000, NONE, 3000, 0, 20, 2 },
};

TEST_F(Reading, SurveysOfRealDrivers) {
    for (const DriverSurvey &d : surveys) {
        SCOPED_TRACE(d.driver);
        VeskCurChannelInfo info{};
        for (const bool began : { false, true }) {
            const auto counter = [&](int type, int64_t value) {
                return maybe<uint64_t>(type, value == NONE || began ? value : 0);
            };
            kernel.on(
                NL80211_CMD_GET_SURVEY,
                { { nest(NL80211_ATTR_SURVEY_INFO,
                         { number(NL80211_SURVEY_INFO_FREQUENCY, 2437), flag(NL80211_SURVEY_INFO_IN_USE),
                           maybe<int8_t>(NL80211_SURVEY_INFO_NOISE, d.noise), counter(NL80211_SURVEY_INFO_TIME, d.time),
                           counter(NL80211_SURVEY_INFO_TIME_BUSY, d.busy), counter(NL80211_SURVEY_INFO_TIME_RX, d.rx),
                           counter(NL80211_SURVEY_INFO_TIME_BSS_RX, d.bssRx),
                           counter(NL80211_SURVEY_INFO_TIME_TX, d.tx) }) } });
            clock_advance(1000);
            EXPECT_EQ(rilk_getCurChannelInfo("phy0", &info), 0);
        }
        const auto kept = [](int64_t value) { return value == NONE ? 0 : value; };
        EXPECT_EQ(
            std::tuple(unsigned{ info.ccaTxUtil }, int{ info.ccaIdle }, unsigned{ info.ccaInbss }, int{ info.value4 }),
            std::tuple(d.used, d.mask & 1 ? 100 - d.used : -1, d.own, d.mask));
        EXPECT_EQ(std::tuple(int{ info.noise }, uint64_t{ info.counter1 }, uint64_t{ info.counters2[0] },
                             uint64_t{ info.counters2[2] }, uint64_t{ info.counters2[3] }),
                  std::tuple(kept(d.noise), kept(d.time), kept(d.busy), kept(d.rx), kept(d.tx)));
    }
}

struct DriverStation {
    const char *driver;
    int64_t inactive, rxBytes, rxPackets, txBytes, txPackets, retries, failed, dropped;
    int64_t signal, average, tx, rx, throughput, connected; // 100 kbit/s, kbit/s
};
const DriverStation driver_stations[] = {
    { "ath10k, which counts no retries", 1230, 190138, 2090, 311347, 859, 0, 0, NONE, -55, -57, 60, 240, NONE, 985 },
    { "ath9k", 1060, 94561, 846, 124382, 503, 67, 0, NONE, -63, -63, 578, 240, 30290, 223 },
    { "mt76x2", 1212, 36113921, 95034, 1060521203, 346751, 7891, 1, 0, -40, -40, 8667, 8667, 464904, 257 },
    { "mt7927, whose retries have turned over", 14366, 2177584017, 1708579, 512811083, 1053046, 4294954617, 7, 253, -59,
      -58, 10806, 9607, NONE, 15618 },
    { "a driver that tells nothing", NONE, NONE, NONE, NONE, NONE, NONE, NONE, NONE, NONE, NONE, NONE, NONE, NONE,
      NONE },
};

TEST_F(Reading, StationsOfRealDrivers) {
    for (const DriverStation &d : driver_stations) {
        SCOPED_TRACE(d.driver);
        const auto rate = [&](int type, int64_t value) {
            return value == NONE ? Blob{}
                                 : nest(type, { number(NL80211_RATE_INFO_BITRATE32, static_cast<uint32_t>(value)) });
        };
        using u32 = uint32_t;
        kernel.on(NL80211_CMD_GET_STATION,
                  { { join({ mac(NL80211_ATTR_MAC, 1),
                             nest(NL80211_ATTR_STA_INFO,
                                  { maybe<u32>(NL80211_STA_INFO_INACTIVE_TIME, d.inactive),
                                    maybe<uint64_t>(NL80211_STA_INFO_RX_BYTES64, d.rxBytes),
                                    maybe<u32>(NL80211_STA_INFO_RX_PACKETS, d.rxPackets),
                                    maybe<uint64_t>(NL80211_STA_INFO_TX_BYTES64, d.txBytes),
                                    maybe<u32>(NL80211_STA_INFO_TX_PACKETS, d.txPackets),
                                    maybe<u32>(NL80211_STA_INFO_TX_RETRIES, d.retries),
                                    maybe<u32>(NL80211_STA_INFO_TX_FAILED, d.failed),
                                    maybe<uint64_t>(NL80211_STA_INFO_RX_DROP_MISC, d.dropped),
                                    maybe<int8_t>(NL80211_STA_INFO_SIGNAL, d.signal),
                                    maybe<int8_t>(NL80211_STA_INFO_SIGNAL_AVG, d.average),
                                    rate(NL80211_STA_INFO_TX_BITRATE, d.tx), rate(NL80211_STA_INFO_RX_BITRATE, d.rx),
                                    maybe<u32>(NL80211_STA_INFO_EXPECTED_THROUGHPUT, d.throughput),
                                    maybe<u32>(NL80211_STA_INFO_CONNECTED_TIME, d.connected) }) }) } });
        int32_t number = 0;
        uint8_t address[6];
        VeskStaEntry e{};
        EXPECT_EQ(rilk_getVapAssocStationNumber("wlan1", &number) + rilk_getVapAssocStationMac("wlan1", 1, address) +
                      rilk_getVapAssocStationInfo("wlan1", address, &e),
                  0);
        const auto kept = [](int64_t value, int64_t unit = 1) { return value == NONE ? 0 : value / unit; };
        EXPECT_EQ((std::vector<int64_t>{ e.rssi, e.value2, e.tx, e.rx, e.value1, e.time, e.value3 }),
                  (std::vector<int64_t>{ kept(d.signal), kept(d.average), kept(d.tx, 10), kept(d.rx, 10),
                                         kept(d.throughput, 1000), kept(d.connected), kept(d.inactive) }));
        std::vector<int64_t> got;
        for (const int i : { 0, 1, 2, 3, 7, 10, 11 }) got.push_back(static_cast<int64_t>(e.stats.counters[i]));
        EXPECT_EQ(got, (std::vector<int64_t>{ kept(d.rxPackets), kept(d.txPackets), kept(d.rxBytes), kept(d.txBytes),
                                              kept(d.dropped), kept(d.retries), kept(d.failed) }));
    }
}

TEST_F(Reading, Vaps) {
    uint8_t bssid[6] = {}, status = 9;
    char ssid[65] = "";
    EXPECT_EQ(rilk_getVapBssid("wlan0b", bssid) + rilk_getVapSsid("wlan0b", sizeof ssid, ssid) +
                  rilk_getVapStatus("wlan0b", &status),
              0);
    EXPECT_EQ(bssid[5], 1);
    EXPECT_STREQ(ssid, "veskback24");
    EXPECT_EQ(status, 1);
    EXPECT_EQ(rilk_getVapSsid("wlan0b", 5, ssid), 0);
    EXPECT_STREQ(ssid, "vesk");
    put("/sys/class/net/wlan0/operstate", "dormant\n");
    EXPECT_EQ(rilk_getVapStatus("wlan0", &status), 0);
    EXPECT_EQ(status, 0);
    for (const char *name : { "wlan7", "", "..", "wlan0/../wlan0", "0123456789abcdef" }) {
        status = 9;
        EXPECT_EQ(rilk_getVapStatus(name, &status) + rilk_getVapBssid(name, bssid) + rilk_getVapSsid(name, 65, ssid),
                  -3)
            << name;
        EXPECT_EQ(status, 9);
    }
    remove("/sys/class/net/wlan0b"); // it goes while the daemon runs
    EXPECT_EQ(rilk_getVapStatus("wlan0b", &status), -1);
}

TEST_F(Reading, Counters) {
    VeskIntfStats stats{};
    ASSERT_EQ(rilk_getVapIfStat("wlan0", &stats), 0);
    for (size_t i = 0; i < 10; i++)
        EXPECT_EQ(uint64_t{ stats.counters[i] }, i == 4 ? 0 : 5000000200 + (i < 4 ? i : i - 1)) << i;
    EXPECT_EQ(int{ stats.value1 }, 1);
    ASSERT_EQ(rilk_getVapIfStat("wlan0b", &stats), 0);
    EXPECT_EQ(int{ stats.value1 }, 1) << "the station on an interface of its own";
    ASSERT_EQ(rilk_getRadioIfStat("phy0", &stats), 0);
    EXPECT_EQ(uint64_t{ stats.counters[0] }, 3 * 5000000000 + 200 + 900 + 1000) << "both access points and the AP_VLAN";
    EXPECT_EQ(int{ stats.value1 }, 2);
    EXPECT_EQ(rilk_getVapIfStat("wlan7", &stats) + rilk_getRadioIfStat("phy7", &stats), -2);
}

TEST_F(Reading, Stations) {
    FakeHostapd hostapd(root + "/run/hostapd/wlan0", { { "STA 02:00:00:00:02:00", STA } });
    int32_t number = -1;
    uint8_t mac[6];
    VeskStaEntry entry{};
    for (int polls = 0; polls < 3; polls++) ASSERT_EQ(rilk_getVapAssocStationNumber("wlan0", &number), 0);
    EXPECT_EQ(hostapd.commands().size(), 1u) << "asked once";
    ASSERT_EQ(number, 1);
    ASSERT_EQ(rilk_getVapAssocStationMac("wlan0", 1, mac), 0);
    ASSERT_EQ(rilk_getVapAssocStationInfo("wlan0", mac, &entry), 0);
    EXPECT_EQ(std::tuple(mac[4], int{ entry.rssi }, int{ entry.value2 }, int{ entry.tx }, int{ entry.rx },
                         unsigned{ entry.time }),
              std::tuple(2, -20, -20, 1, 26, 92u));
    EXPECT_STREQ(entry.vapIntf, "wlan0");
    EXPECT_STREQ(entry.text2, "11n");
    EXPECT_TRUE(entry.is11v && entry.is11k);
    EXPECT_EQ(std::tuple(uint64_t{ entry.stats.counters[0] }, uint64_t{ entry.stats.counters[2] },
                         uint64_t{ entry.stats.counters[3] }),
              std::tuple(17u, 1662u, 531u));
    EXPECT_EQ(rilk_getVapAssocStationMac("wlan0", 0, mac) + rilk_getVapAssocStationMac("wlan0", 2, mac), -2);
    mac[5] = 0x77;
    EXPECT_EQ(rilk_getVapAssocStationInfo("wlan0", mac, &entry), -1);
    ASSERT_EQ(rilk_getVapAssocStationNumber("wlan0b", &number), 0);
    EXPECT_EQ(number, 1) << "on its AP_VLAN";
    ASSERT_EQ(rilk_getVapAssocStationMac("wlan0b", 1, mac), 0);
    EXPECT_EQ(mac[4], 3);
    ASSERT_EQ(rilk_getVapAssocStationInfo("wlan0b", mac, &entry), 0);
    EXPECT_STREQ(entry.vapIntf, "wlan0b");
    EXPECT_EQ(rilk_getVapAssocStationNumber("wlan7", &number), 0);
    EXPECT_EQ(number, 0) << "an interface that is gone has none";
}

Blob station(unsigned i, uint32_t flags, uint32_t connected) {
    const uint8_t address[6] = { 2, 0x22, 0, 0, static_cast<uint8_t>(i >> 8), static_cast<uint8_t>(i) };
    const nl80211_sta_flag_update update = { 0xff, flags };
    return join({ attribute(NL80211_ATTR_MAC, address, 6),
                  nest(NL80211_ATTR_STA_INFO, { number(NL80211_STA_INFO_CONNECTED_TIME, connected),
                                                attribute(NL80211_STA_INFO_STA_FLAGS, &update, sizeof update) }) });
}

TEST_F(Reading, ManyStationsAndTheirComing) {
    constexpr uint32_t IN = 1u << NL80211_STA_FLAG_AUTHORIZED;
    std::vector<Blob> many;
    for (unsigned i = 0; i < 310; i++)
        many.push_back(
            station(i, i % 31 == 0 ? 1u << NL80211_STA_FLAG_ASSOCIATED : IN, 5)); // each 31st isn't through yet
    kernel.on(NL80211_CMD_GET_STATION, { many });
    int32_t number;
    uint8_t mac[6], previous[6] = {};
    ASSERT_EQ(rilk_getVapAssocStationNumber("wlan1", &number), 0);
    ASSERT_EQ(number, 300);
    VeskStaEntry entry{};
    for (int i = 1; i <= number; i++) {
        ASSERT_EQ(rilk_getVapAssocStationMac("wlan1", i, mac) + rilk_getVapAssocStationInfo("wlan1", mac, &entry), 0);
        EXPECT_GT(memcmp(mac, previous, 6), 0);
        memcpy(previous, mac, 6);
    }
    EXPECT_EQ(std::pair(int{ entry.rssi }, int{ entry.tx }), std::pair(0, 0)) << "a driver without signal";
    // One that joins anew has changed what it can do.
    FakeHostapd hostapd(root + "/run/hostapd/wlan1", { { "STA", STA } });
    for (const auto &[connected, asked] : { std::pair(10u, 1u), { 20u, 1u }, { 3u, 2u } }) {
        kernel.on(NL80211_CMD_GET_STATION, { { station(1, IN, connected) } });
        ASSERT_EQ(rilk_getVapAssocStationNumber("wlan1", &number), 0);
        EXPECT_EQ(hostapd.commands().size(), asked) << connected;
    }
    kernel.on(NL80211_CMD_GET_STATION, { {}, -EIO });
    number = 77;
    EXPECT_EQ(rilk_getVapAssocStationNumber("wlan1", &number), -1);
    EXPECT_EQ(number, 77);
    EXPECT_EQ(rilk_getVapAssocStationMac("wlan1", 1, mac), 0) << "the snapshot before is kept";
}

TEST_F(Reading, Settings) {
    put("/usr/etc/vesk-radio.json", R"({"radios": [{"acs": false, "enabled": false, "excluded": [3]}], "role": 2,
        "roleFile": "/tmp/role", "hostapdConfig": "/etc/hostapd.conf"})");
    radio::config_forget();
    put("/etc/hostapd.conf", "interface=wlan0\nwpa_passphrase=password24\n");
    FakeHostapd hostapd(root + "/run/hostapd/wlan0", { { "GET_CONFIG", CONFIG } });
    int32_t role;
    for (const auto &[text, expected] : { std::pair("1\n", 1), { "x", 2 }, { "-3", 2 }, { "", 2 } }) {
        put("/tmp/role", text);
        EXPECT_EQ(hul_EM_getWorkRole(&role), 0);
        EXPECT_EQ(role, expected) << text;
    }
    HulRadioInfo info{};
    ASSERT_EQ(hul_getRadioInfo(0, &info), 0);
    EXPECT_TRUE(info.radioId == 0 && !info.isAcsEnabled && !info.isEnabled);
    ASSERT_EQ(hul_getRadioInfo(3, &info), 0);
    EXPECT_TRUE(info.radioId == 1 && info.isAcsEnabled && info.isEnabled);
    char country[8] = "";
    EXPECT_EQ(hul_getCountryID(country, sizeof country), 0);
    EXPECT_STREQ(country, "US");
    HulChannelList list{};
    ASSERT_EQ(hul_getRadioChannelList(0, &list), 0);
    EXPECT_EQ(int{ list.chListNums }, 11);
    ASSERT_EQ(hul_getRadioChannelList(3, &list), 0);
    EXPECT_EQ(std::tuple(int{ list.chListNums }, list.chList[0], list.chList[23], int{ list.chAttr[4] }),
              std::tuple(24, 36, 165, 1));
    HulExcludedChannelList excluded{};
    ASSERT_EQ(hul_getRadioExcludedChannelList(0, &excluded), 0);
    EXPECT_EQ(std::tuple(int{ excluded.chListNums }, excluded.entries[0].chList, excluded.entries[2].chList),
              std::tuple(3, 3, 13));
    ASSERT_EQ(hul_getRadioExcludedChannelList(3, &excluded), 0);
    EXPECT_EQ(std::pair(int{ excluded.chListNums }, int{ excluded.entries[0].chList }), std::pair(1, 60)) << "radar";
    RilkNolList nol{};
    ASSERT_EQ(rilk_getChannelNolList("phy1", &nol), 0);
    EXPECT_EQ(std::pair(nol.count, nol.channels[0]), std::pair(uint8_t{ 1 }, uint8_t{ 60 }));
    for (const int32_t band : { -1, 1, 2, 4 })
        EXPECT_EQ(hul_getRadioInfo(band, &info) + hul_getRadioChannelList(band, &list), -2);
    HulVapCfg cfg{};
    ASSERT_EQ(hul_getEnabledVapCfg("wlan0", &cfg), 0);
    EXPECT_EQ(std::tuple(int{ cfg.authMode }, int{ cfg.encryptMode }, int{ cfg.vapAttr }), std::tuple(32, 8, 0x40));
    EXPECT_STREQ(cfg.keyPassphrase, "password24");
    EXPECT_EQ(hul_getEnabledVapCfg("wlan1", &cfg), -1);
}

TEST_F(Reading, WhatHostapdForgetsItIsToldAgain) {
    const std::string path = root + "/run/hostapd/wlan0";
    const std::vector<std::string> all = { "SET rrm_neighbor_report 1",
                                           "SET rrm_beacon_report 1",
                                           "UPDATE_BEACON",
                                           "SET bss_transition 0",
                                           "UPDATE_BEACON",
                                           "DENY_ACL ADD_MAC 02:00:00:00:00:07",
                                           "SET vendor_elements ",
                                           "SET assocresp_elements dd03010203",
                                           "UPDATE_BEACON" };
    const uint8_t element[] = { 221, 3, 1, 2, 3 };
    const RilkAclMac block[] = { { 0, { 2, 0, 0, 0, 0, 7 } }, { 0, { 2, 0, 0, 0, 0, 8 } } },
                     release = { 1, { 2, 0, 0, 0, 0, 8 } };
    const auto polled = [&](FakeHostapd &hostapd) {
        int32_t channel;
        for (int i = 0; i < 5; i++) rilk_getRadioCurChannel("phy0", &channel);
        return hostapd.commands();
    };
    EXPECT_EQ(rilk_setRRMEnable("wlan0", 1) + rilk_setRRMEnable("wlan0/..", 1), -2) << "not there yet";
    {
        FakeHostapd hostapd(path, { { "", "OK\n" } });
        EXPECT_EQ(polled(hostapd), std::vector(all.begin(), all.begin() + 3));
        EXPECT_EQ(rilk_setWNMEnable("wlan0", 0) + rilk_setVapAclMac("wlan0", &block[0]) +
                      rilk_setVapAclMac("wlan0", &block[1]) + rilk_setVapAclMac("wlan0", &release) +
                      rilk_addVendorIE("wlan0", 4, element, sizeof element) +
                      rilk_disConnectSta("wlan0", "02:00:00:00:00:09"),
                  0);
        EXPECT_EQ(hostapd.commands().back(), "DISASSOCIATE 02:00:00:00:00:09");
        EXPECT_EQ(polled(hostapd).size(), 12u);
    }
    FakeHostapd restarted(path, { { "", "OK\n" } });
    restarted.slow = 10500; // of a patience of 20 s, which a call's commands share
    EXPECT_EQ(rilk_setRRMEnable("wlan0", 1), -1);
    restarted.slow = 0;
    clock_advance(radio::ctrlRest);
    std::vector said(all.begin(), all.begin() + 2);
    said.insert(said.end(), all.begin(), all.end());
    EXPECT_EQ(polled(restarted), said) << "what wasn't said in time, and what a new one has forgotten";
    FakeHostapd mute(root + "/run/hostapd/wlan1b", {});
    radio::ctrl_set_patience(radio::ctrlPatience);
    EXPECT_EQ(rilk_setWNMEnable("wlan1b", 1), -1);
    radio::ctrl_set_patience(20000);
    mute.say("", "OK\n");
    EXPECT_EQ(polled(mute).size(), 1u) << "let alone for a while";
    clock_advance(radio::ctrlRest);
    EXPECT_EQ(polled(mute).size(), 3u) << "which was no attempt";
    FakeHostapd without(root + "/run/hostapd/wlan1", { { "", "FAIL\n" } });
    EXPECT_EQ(rilk_setWNMEnable("wlan1", 1), -1);
    EXPECT_EQ(polled(without).size(), 3u) << "not for ever";
    const std::string other = root + "/run/hostapd/wlan0b";
    for (const bool isFirst : { true, false }) { // the second one has restarted: one command doesn't make it told
        FakeHostapd hostapd(other, { { "", "OK\n" } });
        EXPECT_EQ(isFirst ? rilk_setWNMEnable("wlan0b", 1) : 0, 0);
        EXPECT_EQ(rilk_setVapAclMac("wlan0b", &release), 0);
        EXPECT_EQ(polled(hostapd).size(), 3u);
    }
}

TEST_F(Reading, NullsAreRefused) {
    EXPECT_EQ(rilk_getRadioApInterfaceInfo(0, nullptr) + rilk_getRadioChipName("phy0", 16, nullptr) +
                  rilk_getRadioStatus(nullptr, nullptr) + rilk_getRadioDynParamters("phy0", nullptr) +
                  rilk_getCurChannelInfo(nullptr, nullptr) + rilk_getVapBssid(nullptr, nullptr) +
                  rilk_getVapSsid("wlan0", 0, nullptr) + rilk_getVapStatus(nullptr, nullptr) +
                  rilk_getVapIfStat(nullptr, nullptr) + rilk_getVapAssocStationNumber("wlan0", nullptr) +
                  rilk_getVapAssocStationMac(nullptr, 1, nullptr) +
                  rilk_getVapAssocStationInfo("wlan0", nullptr, nullptr) + rilk_getChannelNolList("phy0", nullptr) +
                  hul_EM_getWorkRole(nullptr) + hul_getCountryID(nullptr, 8) + hul_getEnabledVapCfg(nullptr, nullptr) +
                  rilk_setVapAclMac("wlan0", nullptr) + rilk_disConnectSta("wlan0", nullptr) +
                  rilk_update_debuglevel(8) + rilk_update_debuglevel(-1) +
                  rilk_getAssocReqFrame("wlan0", nullptr, nullptr, nullptr),
              -21);
}

} // namespace
