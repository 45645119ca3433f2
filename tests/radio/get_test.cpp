// What librilk.so reads, operation by operation, against iw, hostapd_cli and /sys.
#include "include/rilk.h"

#include "tests/radio/table.h"

namespace {

/** A value of an operation that takes a name; its result is asserted. */
template <class T>
T get(int (*operation)(const char *, T *), const std::string &name) {
    T value{};
    EXPECT_EQ(operation(name.c_str(), &value), 0) << name;
    return value;
}

std::string first_bss(const std::string &phy) { return phy == "phy0" ? "wlan0" : "wlan1"; }

std::string parameters(const std::string &phy) {
    const auto value = get(rilk_getRadioDynParamters, phy);
    return text("%d %s %s", value.bw, value.bond, value.operatingStandards);
}

std::string parameters_truth(const std::string &phy) {
    const std::string width = find(info(first_bss(phy)), "width: (\\d+) MHz");
    return text("%d %sMHz %s",
                width == "20"   ? 0
                : width == "40" ? 1
                                : 2,
                width.c_str(), standards(first_bss(phy)).c_str());
}

/** In the order of the record, the counter that nobody fills left out. */
const char *counter_files[] = { "rx_packets", "tx_packets", "rx_bytes",   "tx_bytes",   nullptr,
                                "rx_errors",  "tx_errors",  "rx_dropped", "tx_dropped", "multicast" };

std::string counters(const VeskIntfStats &stats) {
    std::string all;
    for (int i = 0; i < 10; i++) all += counter_files[i] ? text("%s=%lu ", counter_files[i], stats.counters[i]) : "";
    return all + text("stations=%d", stats.value1);
}

std::string counters_truth(const std::vector<std::string> &interfaces, const std::string &stations) {
    std::string all;
    for (const char *file : counter_files) {
        uint64_t sum = 0;
        for (const std::string &name : interfaces)
            sum += file ? strtoull(sys(name, text("statistics/%s", file)).c_str(), nullptr, 10) : 0;
        all += file ? text("%s=%lu ", file, sum) : "";
    }
    return all + text("stations=%zu", find_all(stations, "\\S+").size());
}

std::string radio_interfaces(const std::string &phy) {
    std::vector<std::string> names;
    for (const Interface &each : interfaces()) {
        if (each.phy == phy && !each.name.empty()) names.push_back(each.name);
    }
    return join_words(names);
}

std::string snapshot(const std::string &bss) {
    const int32_t number = get(rilk_getVapAssocStationNumber, bss);
    std::string all;
    for (int position = 1; position <= number; position++) {
        uint8_t mac[6] = {};
        EXPECT_EQ(rilk_getVapAssocStationMac(bss.c_str(), position, mac), 0);
        all += (position > 1 ? " " : "") + mac_text(mac);
    }
    uint8_t mac[6];
    EXPECT_NE(rilk_getVapAssocStationMac(bss.c_str(), number + 1, mac), 0);
    return all;
}

std::string absent_load(const std::string &phy) {
    const auto value = get(rilk_getCurChannelInfo, phy);
    EXPECT_LE(time(nullptr) - value.time, 1);
    return text("%d used=%u own=%u idle=%d noise=%d known=%d", value.channel, value.ccaTxUtil, value.ccaInbss,
                value.ccaIdle, value.noise, value.value4);
}

const Row rows[] = {
    { "getRadioApInterfaceInfo",
      { "phy0", "phy1" },
      [](const std::string &phy) {
          VeskApIntfInfo value{};
          EXPECT_EQ(rilk_getRadioApInterfaceInfo(phy == "phy0" ? 0 : 1, &value), 0);
          std::string all = value.radioIfname;
          for (int i = 0; i < value.vapNums; i++) all += std::string(" ") + value.vapIfname[i];
          return all;
      },
      [](const std::string &phy) { return phy + " " + access_points(phy); } },
    { "getRadioChipName",
      { "phy0", "phy1" },
      [](const std::string &phy) {
          char name[16] = "";
          EXPECT_EQ(rilk_getRadioChipName(phy.c_str(), sizeof name, name), 0);
          return std::string(name);
      },
      [](const std::string &phy) {
          return find(sh("readlink /sys/class/ieee80211/" + phy + "/device/driver"), "[^/\n]+$");
      } },
    { "getRadioStatus",
      { "phy0", "phy1" },
      [](const std::string &phy) { return text("%d", get(rilk_getRadioStatus, phy)); },
      [](const std::string &phy) { return is_up(first_bss(phy)); } },
    { "getRadioDynParamters", { "phy0", "phy1" }, parameters, parameters_truth },
    { "getRadioCurChannel",
      { "phy0", "phy1" },
      [](const std::string &phy) { return text("%d", get(rilk_getRadioCurChannel, phy)); },
      [](const std::string &phy) { return find(info(first_bss(phy)), "channel (\\d+)"); } },
    { "getRadioTxpower",
      { "phy0", "phy1" },
      [](const std::string &phy) { return text("%.2f", static_cast<double>(get(rilk_getRadioTxpower, phy))); },
      [](const std::string &phy) { return find(info(first_bss(phy)), "txpower ([0-9.]+)"); } },
    // The simulated driver marks no operating channel: all is absent, and told as such.
    { "getCurChannelInfo",
      { "phy0", "phy1" },
      absent_load,
      [](const std::string &phy) {
          const std::string survey = sh("iw dev " + first_bss(phy) + " survey dump");
          return find(info(first_bss(phy)), "channel (\\d+)") +
                 (find(survey, "in use").empty() ? " used=0 own=0 idle=-1 noise=0 known=0" : " a load");
      } },
    { "getVapBssid",
      { "wlan0", "wlan0b", "wlan0s", "wlan1", "wlan1b", "wlan1o" },
      [](const std::string &name) {
          uint8_t mac[6] = {};
          EXPECT_EQ(rilk_getVapBssid(name.c_str(), mac), 0);
          return mac_text(mac);
      },
      [](const std::string &name) { return find(info(name), "addr (\\S+)"); } },
    { "getVapSsid",
      { "wlan0", "wlan0b", "wlan0s", "wlan1", "wlan1b", "wlan1o", "bsta0", "wlan2" },
      [](const std::string &name) {
          char ssid[65] = "";
          EXPECT_EQ(rilk_getVapSsid(name.c_str(), sizeof ssid, ssid), 0);
          return std::string(ssid);
      },
      [](const std::string &name) { return find(info(name), "ssid ([^\n]*)"); } },
    { "getVapStatus",
      { "wlan0", "wlan0b", "wlan0s", "wlan1", "wlan1b", "wlan1o", "bsta0", "wlan2" },
      [](const std::string &name) { return text("%d", get(rilk_getVapStatus, name)); },
      is_up },
    { "getVapIfStat",
      { "wlan0", "wlan0b", "wlan1", "wlan1b" },
      [](const std::string &name) { return counters(get(rilk_getVapIfStat, name)); },
      [](const std::string &name) { return counters_truth({ name }, stations_of(name)); } },
    { "getRadioIfStat",
      { "phy0", "phy1" },
      [](const std::string &phy) { return counters(get(rilk_getRadioIfStat, phy)); },
      [](const std::string &phy) {
          std::string stations;
          for (const std::string &bss : find_all(access_points(phy), "\\S+")) stations += stations_of(bss) + " ";
          return counters_truth(find_all(radio_interfaces(phy), "\\S+"), stations);
      } },
    { "getVapAssocStationNumber, getVapAssocStationMac",
      { "wlan0", "wlan0b", "wlan1", "wlan1b" },
      snapshot,
      stations_of },
    { "getChannelNolList",
      { "phy0", "phy1" },
      [](const std::string &phy) {
          const auto list = get(rilk_getChannelNolList, phy);
          std::string all;
          for (int i = 0; i < list.count; i++) all += (i > 0 ? " " : "") + text("%d", list.channels[i]);
          return all;
      },
      [](const std::string &phy) {
          return phy == "phy0" ? ""
                               : join_words(find_all(sh("iw phy " + phy +
                                                        " channels | awk '/MHz \\[/ { channel = $4 }"
                                                        " /DFS state: unavailable/ { print channel }'"),
                                                     "\\d+"));
      } },
};

/** A telephone on the 2.4 GHz radio and a mesh node on the backhaul of the other, both with some traffic. */
struct Get : testing::Test {
    static void SetUpTestSuite() {
        sh("ip addr add 10.1.1.2/24 dev wlan2; ip addr add 10.1.2.3/24 dev wlan3");
        telephone = new Joined("wlan2", LINDENHOF_24);
        node = new Joined("wlan3", 0);
        sh("arping -c 5 -I wlan2 10.1.1.1; arping -c 3 -I wlan3 10.1.2.1");
    }
    static void TearDownTestSuite() {
        delete telephone;
        delete node;
    }
    static inline Joined *telephone, *node;
};

TEST_F(Get, EqualsTheTruth) {
    ASSERT_EQ(rilk_initDriver(), 0);
    for (const Row &row : rows) compare(row);
}

TEST_F(Get, TheTruthHasSomethingToShow) {
    EXPECT_EQ(stations_of("wlan0"), phone);
    EXPECT_EQ(stations_of("wlan1b"), agent);
    EXPECT_EQ(sh("iw dev wlan1b station dump"), "") << "the mesh node stands on an interface of its own";
    EXPECT_NE(sys("wlan0", "statistics/rx_packets"), "0");
    EXPECT_GE(get(rilk_getChannelNolList, "phy1").count, 1);
}

} // namespace
