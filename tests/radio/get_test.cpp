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
    EXPECT_EQ(get(rilk_getChannelNolList, "phy1").count, 1);
}

VeskStaEntry entry_of(const std::string &bss, const std::string &mac) {
    uint8_t bytes[6];
    sscanf(mac.c_str(), "%hhx:%hhx:%hhx:%hhx:%hhx:%hhx", &bytes[0], &bytes[1], &bytes[2], &bytes[3], &bytes[4],
           &bytes[5]);
    VeskStaEntry entry{};
    get(rilk_getVapAssocStationNumber, bss);
    EXPECT_EQ(rilk_getVapAssocStationInfo(bss.c_str(), bytes, &entry), 0);
    EXPECT_EQ(mac_text(entry.mac), mac);
    return entry;
}

struct StationRow {
    const char *field, *line; // of `iw station dump`, its number
    int64_t (*value)(const VeskStaEntry &entry);
    bool moves; // on between two looks
};
const StationRow station_rows[] = {
    { "rssi", "signal:\\s+(-\\d+)", [](const VeskStaEntry &e) -> int64_t { return e.rssi; } },
    { "value2", "signal avg:\\s+(-\\d+)", [](const VeskStaEntry &e) -> int64_t { return e.value2; } },
    { "tx", "tx bitrate:\\s+(\\d+)", [](const VeskStaEntry &e) -> int64_t { return e.tx; } },
    { "rx", "rx bitrate:\\s+(\\d+)", [](const VeskStaEntry &e) -> int64_t { return e.rx; } },
    { "time", "connected time:\\s+(\\d+)", [](const VeskStaEntry &e) -> int64_t { return e.time; }, true },
    { "value3", "inactive time:\\s+(\\d+)", [](const VeskStaEntry &e) -> int64_t { return e.value3; }, true },
    { "value1", "expected throughput:\\s+(\\d+)", [](const VeskStaEntry &e) -> int64_t { return e.value1; } },
    { "rx packets", "rx packets:\\s+(\\d+)",
      [](const VeskStaEntry &e) { return static_cast<int64_t>(e.stats.counters[0]); } },
    { "tx packets", "tx packets:\\s+(\\d+)",
      [](const VeskStaEntry &e) { return static_cast<int64_t>(e.stats.counters[1]); } },
    { "rx bytes", "rx bytes:\\s+(\\d+)",
      [](const VeskStaEntry &e) { return static_cast<int64_t>(e.stats.counters[2]); } },
    { "tx bytes", "tx bytes:\\s+(\\d+)",
      [](const VeskStaEntry &e) { return static_cast<int64_t>(e.stats.counters[3]); } },
    { "rx dropped", "rx drop misc:\\s+(\\d+)",
      [](const VeskStaEntry &e) { return static_cast<int64_t>(e.stats.counters[7]); } },
    { "retries", "tx retries:\\s+(\\d+)",
      [](const VeskStaEntry &e) { return static_cast<int64_t>(e.stats.counters[10]); } },
    { "failed", "tx failed:\\s+(\\d+)",
      [](const VeskStaEntry &e) { return static_cast<int64_t>(e.stats.counters[11]); } },
};

void compare_station(const std::string &bss, const std::string &mac) {
    const auto truths = [&] {
        const Moment moment;
        return map_each(station_rows, [&](const StationRow &row) { return station(bss, mac, row.line); });
    };
    const auto before = truths();
    const VeskStaEntry entry = entry_of(bss, mac);
    const auto after = truths();
    for (size_t i = 0; i < before.size(); i++) {
        const int64_t least = atoll(before[i].c_str()), most = atoll(after[i].c_str());
        const int64_t got = station_rows[i].value(entry);
        EXPECT_TRUE(got == least || got == most || (station_rows[i].moves && got > least && got < most))
            << mac << " " << station_rows[i].field << ": " << got << ", truth " << least << " and then " << most;
    }
}

TEST_F(Get, StationsEqualTheTruth) {
    compare_station("wlan0", phone);
    compare_station("wlan1b", agent);
    EXPECT_STREQ(entry_of("wlan1b", agent).vapIntf, "wlan1b") << "never the mesh node's own interface";
}

TEST_F(Get, CapabilitiesAreWhatHostapdHeard) {
    const auto entry = entry_of("wlan0", phone);
    const Abilities truth = abilities_of("wlan0", phone);
    EXPECT_EQ(std::tuple(bool(entry.is11k), bool(entry.is11v), std::string(entry.text2)),
              std::tuple(truth.is11k, truth.is11v, truth.mode));
}

struct Stranger {
    const char *name;
    int (*call)();
};
uint8_t byte;
const Stranger strangers[] = {
    { "a radio that isn't there", [] { return rilk_getRadioStatus("phy9", &byte); } },
    { "somebody else's radio", [] { return rilk_getRadioStatus("phy4", &byte); } },
    { "a third radio",
      [] {
          VeskApIntfInfo names;
          return rilk_getRadioApInterfaceInfo(2, &names);
      } },
    { "an interface that isn't there", [] { return rilk_getVapStatus("wlan9", &byte); } },
    { "an interface without radio", [] { return rilk_getVapStatus("lo", &byte); } },
    { "a station's association request, which the kernel doesn't keep",
      [] {
          uint32_t length;
          uint8_t frame[2048], mac[6] = { 2, 0, 0, 0, 2, 0 };
          return rilk_getAssocReqFrame("wlan0", mac, &length, frame);
      } },
    { "a station that isn't there",
      [] {
          VeskStaEntry entry;
          const uint8_t mac[6] = { 2, 0, 0, 0, 9, 9 };
          return rilk_getVapAssocStationInfo("wlan0", mac, &entry);
      } },
};

TEST_F(Get, ErrorsLeaveTheRecordAlone) {
    byte = 77;
    for (const Stranger &stranger : strangers) {
        EXPECT_EQ(stranger.call(), -1) << stranger.name;
        EXPECT_EQ(byte, 77) << stranger.name;
    }
}

} // namespace
