// The daemon on real radios: started as on a device, over the libraries of build/lib/nl80211, asked with veskctl.
#include <algorithm>
#include <fstream>
#include <functional>
#include <sstream>

#include "tests/radio/script.h"
#include "tests/radio/table.h"

namespace {

/** What a key of a JSON text holds, all of them in order, without quotes. By hand: a regular expression over a long
 * text takes the guest a second. */
std::string values(const std::string &json, const std::string &key) {
    const std::string name = "\"" + key + "\":";
    std::string all;
    for (size_t at = json.find(name); at != std::string::npos; at = json.find(name, at)) {
        at = json.find_first_not_of(" \t\n", at + name.size());
        const size_t end = json[at] == '"'   ? json.find('"', at + 1)
                           : json[at] == '[' ? json.find(']', at) + 1
                                             : json.find_first_of(",\n}", at);
        const size_t begin = at + (json[at] == '"');
        all += (all.empty() ? "" : "|") + json.substr(begin, end - begin);
    }
    return all;
}

std::string joined(const std::vector<std::string> &all, const char *between = "|") {
    std::string text;
    for (const std::string &one : all) text += (text.empty() ? "" : between) + one;
    return text;
}

// What a view's rows are of, by name.
std::vector<std::string> radios() { return { "wlan0", "wlan1" }; } // by their first BSS
std::vector<std::string> vaps() { return { "wlan0", "wlan0b", "wlan0s", "bsta0", "wlan1", "wlan1b", "wlan1o" }; }
std::vector<std::string> access_points() { return { "wlan0", "wlan0b", "wlan0s", "wlan1", "wlan1b", "wlan1o" }; }
std::vector<std::string> bands() { return { "0", "3" }; }
std::vector<std::string> one() { return { "wlan0" }; }
std::vector<std::string> stations() { // "BSS MAC"
    std::vector<std::string> all;
    for (const std::string &bss : access_points()) {
        for (const std::string &mac : find_all(stations_of(bss), "\\S+")) all.push_back(bss + " " + mac);
    }
    return all;
}
std::vector<std::string> channels(bool (*wanted)(const IwChannel &)) { // "band channel"
    std::vector<std::string> all;
    for (const std::string &band : bands()) {
        for (const IwChannel &channel : iw_channels(band)) {
            if (wanted(channel)) all.push_back(band + " " + text("%d", channel.number));
        }
    }
    return all;
}
bool is_enabled(const IwChannel &channel) { return !channel.disabled; }
std::vector<std::string> scanned() { return channels(is_enabled); }
std::vector<std::string> unavailable() {
    return channels([](const IwChannel &channel) { return channel.unavailable; });
}

using Of = std::function<std::string(const std::string &name)>;
std::string first(const std::string &name) { return name.substr(0, name.find(' ')); }
std::string second(const std::string &name) { return name.substr(name.find(' ') + 1); }
bool is_bsta(const std::string &name) { return name == "bsta0"; }

Of in_info(const char *pattern) {
    return [=](const std::string &name) { return find(info(name), pattern); };
}
std::string number(const std::string &decimal) { return text("%g", atof(decimal.c_str())); }
/** In a station's dump; 0 where iw has no such line. */
std::string in_dump(const std::string &name, const char *label) {
    return text("%ld", atol(station(first(name), second(name), std::string(label) + ":\\s+(-?\\d+)").c_str()));
}
Of dumped(const char *label, const char *more = "") {
    return [=](const std::string &name) { return in_dump(name, label) + more; };
}
Abilities abilities(const std::string &name) { return abilities_of(first(name), second(name)); }

Of secured(std::string VapTruth::*part, const char *ofStation) {
    return [=](const std::string &name) { return is_bsta(name) ? ofStation : vap_truth(name).*part; };
}

/** The channels of a band that satisfy, as a list of the JSON text. */
Of listed(bool (*wanted)(const IwChannel &), int IwChannel::*part) {
    return [=](const std::string &band) {
        std::vector<std::string> all;
        for (const IwChannel &channel : iw_channels(band)) {
            if (wanted(channel)) all.push_back(text("%d", channel.*part));
        }
        return "[" + joined(all, ", ") + "]";
    };
}
bool is_available(const IwChannel &channel) {
    const bool excluded = channel.number == 11; // vesk-radio.json
    return !channel.disabled && !channel.unavailable && !(channel.limits & 2) && !excluded;
}

/** Of the radios' channels two have neighbours. */
std::vector<Heard> neighbours() {
    auto all = scan_on("wlan0", 2412), more = scan_on("wlan1", 5745);
    all.insert(all.end(), more.begin(), more.end());
    return all;
}
std::vector<std::string> heard() {
    return map_each(neighbours(), [](const Heard &h) { return h.bssid; });
}
Of in_scan(std::string Heard::*part) {
    return [=](const std::string &bssid) {
        for (const Heard &h : neighbours()) {
            if (h.bssid == bssid) return h.*part;
        }
        return std::string();
    };
}
/** Of the access point that was heard. */
Of neighbour(std::string (*of)(const Interface &)) {
    return [=](const std::string &bssid) {
        for (const Interface &each : interfaces()) {
            if (each.info.find(bssid) != std::string::npos) return of(each);
        }
        return std::string();
    };
}
std::string heard_on_channel(const std::string &name) {
    const std::string channel = second(name);
    return text("%zu", scan_on(channel == "1" ? "wlan0" : "wlan1", channel == "1" ? 2412 : 5745).size() *
                           (channel == "1" || channel == "149"));
}
/** Of the simulated driver's channels all but the operating one count alike. */
Of survey(const char *part) {
    return [=](const std::string &name) {
        const bool own = second(name) == "6" || second(name) == "36";
        return find(own ? "null null" : (scan_on("wlan0", 2412), surveyed("wlan0", 2412)), part);
    };
}

template <class... Files>
Of counted(Files... files) {
    return [=](const std::string &name) {
        return "[" + joined({ (files[0] == '0' ? "0" : sys(name, text("statistics/%s", files)))... }, ", ") + "]";
    };
}
Of constant(const char *value) {
    return [=](const std::string &) { return value; };
}

/** A key of a view's JSON text, and what it is of each of the view's rows. */
struct View {
    const char *command, *key;
    std::vector<std::string> (*rows)();
    Of of;
    int behind = 0; // a number that grows: it may be older by this
};
const View views[] = {
    { "radios", "radioIfname", bands, phy_of },
    { "radios", "status", radios, is_up },
    { "radios", "isEnabled", radios, constant("1") },
    { "radios", "isAcsEnabled", radios, constant("1") },
    { "radios", "curChannel", radios, in_info("channel (\\d+)") },
    { "radios", "curFreq", radios, in_info("\\((\\d+) MHz\\)") },
    { "radios", "bond", radios, [](auto &name) { return find(info(name), "width: (\\d+)") + "MHz"; } },
    { "radios", "curBwName", radios, in_info("width: (\\d+ MHz)") },
    { "radios", "operatingStandards", radios, standards },
    { "radios", "txPower", radios, [](auto &name) { return number(find(info(name), "txpower (\\S+)")); } },
    { "radios", "radioMac", radios, in_info("addr (\\S+)") },
    { "radios", "countryCode", radios, [](auto &) { return find(sh("iw reg get"), "country (\\w\\w)"); } },
    { "radios", "curchList", bands, listed(is_enabled, &IwChannel::number) },
    { "radios", "curchAttr", bands, listed(is_enabled, &IwChannel::limits) },
    { "vaps", "vapName", vaps, [](auto &name) { return is_bsta(name) ? name : name + ".v0"; } },
    { "vaps", "ssid", vaps, in_info("ssid ([^\n]*)") },
    { "vaps", "bssid", vaps, in_info("addr (\\S+)") },
    { "vaps", "status", vaps, is_up },
    { "vaps", "authMode", vaps, secured(&VapTruth::auth, "0") },
    { "vaps", "encryptMode", vaps, secured(&VapTruth::encrypt, "0") },
    { "vaps", "vapAttr", vaps, secured(&VapTruth::attr, "128") },
    { "stations", "count", access_points,
      [](auto &bss) { return text("%zu", find_all(stations_of(bss), "\\S+").size()); } },
    { "stations", "mac", stations, second },
    { "stations", "rssi", stations, dumped("signal") },
    { "stations", "value1", stations, dumped("expected throughput", "|0") }, // and the counters' own
    { "stations", "value2", stations, dumped("signal avg", "|0") },
    { "stations", "tx", stations, dumped("tx bitrate") },
    { "stations", "rx", stations, dumped("rx bitrate") },
    { "stations", "time", stations, dumped("connected time"), 15 },
    { "stations", "value3", stations, dumped("inactive time"), 15000 },
    { "stations", "isBhInt", stations, [](auto &name) { return text("%d", first(name).ends_with("b")); } },
    { "stations", "bwName", stations, [](auto &name) { return find(info(first(name)), "width: (\\d+ MHz)"); } },
    { "stations", "is11k", stations, [](auto &name) { return text("%d", abilities(name).is11k); } },
    { "stations", "is11v", stations, [](auto &name) { return text("%d", abilities(name).is11v); } },
    { "stations", "text2", stations, [](auto &name) { return abilities(name).mode; } },
    { "stations", "counters1", stations,
      [](auto &name) {
          return "[" + in_dump(name, "rx packets") + ", " + in_dump(name, "tx packets") + ", " +
                 in_dump(name, "rx bytes") + ", " + in_dump(name, "tx bytes") + "]";
      } },
    { "stations", "counters2", stations,
      [](auto &name) {
          return "[0, 0, " + in_dump(name, "rx drop misc") + ", 0, 0, " + in_dump(name, "tx retries") + ", " +
                 in_dump(name, "tx failed") + ", 0, 0, 0, 0]";
      } },
    { "scan", "ch", scanned, second },
    { "scan", "inC", scanned, heard_on_channel },
    { "scan", "chnUtil", scanned, survey("^\\S+") },
    { "scan", "noise", scanned, survey("\\S+$") },
    { "scan", "cac", scanned,
      [](auto &name) {
          for (const IwChannel &channel : iw_channels(first(name))) {
              if (text("%d", channel.number) == second(name)) return text("%d", channel.limits & 1);
          }
          return std::string();
      } },
    { "neighbors", "bssid", heard, [](auto &bssid) { return bssid; } },
    { "neighbors", "ssid", heard, in_scan(&Heard::ssid) },
    { "neighbors", "rssi", heard, in_scan(&Heard::rssi) },
    { "neighbors", "value2", heard, in_scan(&Heard::capability) },
    { "neighbors", "channel", heard, neighbour([](auto &ap) { return find(ap.info, "channel (\\d+)"); }) },
    { "neighbors", "value1", heard, neighbour([](auto &ap) { return find(ap.info, "width: (\\d+)"); }) },
    { "channels 0", "chList", one, [](auto &) { return listed(is_available, &IwChannel::number)("0"); } },
    { "channels 3", "chList", one, [](auto &) { return listed(is_available, &IwChannel::number)("3"); } },
    { "channels 3", "chAttr", one, [](auto &) { return listed(is_available, &IwChannel::limits)("3"); } },
    { "nol 3", "channel", unavailable, second },
    { "stats wlan0", "counters1", one, counted("rx_packets", "tx_packets", "rx_bytes", "tx_bytes") },
    { "stats wlan0", "counters2", one,
      counted("rx_errors", "tx_errors", "rx_dropped", "tx_dropped", "multicast", "0", "0", "0", "0", "0", "0") },
    { "stats wlan0", "value1", one,
      [](auto &name) { return text("%zu", find_all(stations_of(name), "\\S+").size()); } },
};
const std::vector<std::string> commands = { "radios",     "vaps",       "stations", "scan",       "neighbors",
                                            "channels 0", "channels 3", "nol 3",    "stats wlan0" };

std::string ask(const std::string &command) {
    std::string answer = sh("veskctl --json " + command);
    for (size_t heard; (heard = answer.find("\"heard\"")) != std::string::npos;)
        answer.erase(heard, answer.find(']', heard) - heard); // channels once more, with the counts of `neighbors`
    return answer;
}

bool is_behind(const std::string &got, const std::string &truth, int most) {
    const auto a = find_all(got, "\\d+"), b = find_all(truth, "\\d+");
    return std::ranges::equal(a, b, [&](auto &x, auto &y) {
        return atol(y.c_str()) - atol(x.c_str()) <= most && atol(y.c_str()) >= atol(x.c_str());
    });
}

/** The keys of a command's view that differ from the truth of the moment; empty without any. */
std::string look(const std::string &command) {
    const Moment moment;
    std::string all;
    const std::string answer = ask(command);
    for (const View &view : views) {
        if (command != view.command) continue;
        const std::string truth = joined(map_each(view.rows(), view.of)), got = values(answer, view.key);
        if (got != truth && !(view.behind > 0 && is_behind(got, truth, view.behind)))
            all += text("%s %s\n  says  ", view.command, view.key) + got + "\n  truth " + truth + "\n";
    }
    return all;
}

/** The station table is as old as the daemon's last poll, at most 13 s, of which a frame may come at the end; what else
 * moves does so within a second. */
std::string differences(const std::string &command) {
    std::string last;
    const bool polled = command == "stations";
    within(
        polled ? 30s : 1s, [&] { return (last = look(command)).empty(); }, polled ? 2s : 100ms);
    return last;
}

/** Moments of the start, in ms of virtual time since the daemon's, by its log. */
struct Device : testing::Test {
    static inline int64_t ready, begun[2], done[2];
    static inline long simulatedKiB; // resident, the daemon over the simulated device

    static long resident() { return atol(find(sh("cat /proc/$(pidof vesk)/smaps_rollup"), "Rss:\\s+(\\d+)").c_str()); }
    static bool is_ready() { return access("/tmp/vesk_ready", F_OK) == 0; }
    static void note(const std::string &line, int64_t now) {
        const char *last[] = { "alyScanCnt=11", "alyScanCnt=24" };
        for (int radio = 0; radio < 2; radio++) {
            if (line.find(text("radio[%d]=", radio)) == std::string::npos) continue;
            if (!begun[radio] && line.find(" usleep=500ms, ") != std::string::npos) begun[radio] = now;
            if (!done[radio] && line.find(last[radio]) != std::string::npos)
                done[radio] = now + 500; // the last channel's own half second
        }
    }
    static void SetUpTestSuite() {
        ready = begun[0] = begun[1] = done[0] = done[1] = 0;
        sh("vesk-busd >/dev/null 2>&1 &");
        sh("vesk >/dev/null 2>&1 &");
        within(60s, is_ready, 1s);
        simulatedKiB = resident();
        sh("killall vesk");
        within(10s, [] { return sh("pidof vesk").empty(); });
        sh("rm -f /tmp/vesk_ready /tmp/vesk.log");
        const auto start = Clock::now();
        // The capability of the packaged service, and no other, for all tests of the daemon. By its path: the shell has
        // a setpriv of its own.
        sh("LD_LIBRARY_PATH=/vesk/lib/nl80211 /vesk/setpriv --bounding-set=-all,+net_admin"
           " vesk >/dev/null 2>/tmp/vesk.err &");
        std::ifstream log;
        std::string said;
        within(60s, [&] {
            const int64_t now = (Clock::now() - start) / 1ms;
            if (!log.is_open()) log.open("/tmp/vesk.log");
            std::ostringstream more;
            more << log.rdbuf();
            said += more.str(); // the last line may be half of one
            size_t begin = 0;
            for (size_t end; (end = said.find('\n', begin)) != std::string::npos; begin = end + 1)
                note(said.substr(begin, end - begin), now);
            said.erase(0, begin);
            log.clear();
            if (is_ready()) ready = now;
            return ready != 0;
        });
        sh("veskctl polling stats off");
    }
    static void TearDownTestSuite() { sh("killall vesk vesk-busd"); }
};

TEST_F(Device, FirstScansAndReadyFlagAreInTime) {
    ASSERT_NE(ready, 0) << sh("tail -n 40 /tmp/vesk.log; cat /tmp/vesk.err");
    EXPECT_LE(ready, 26000);
    EXPECT_LE(done[0] - begun[0], 6000) << "11 channels";
    EXPECT_LE(done[1] - begun[1], 13000) << "24 channels";
    EXPECT_EQ(values(ask("call getScanStatus"), "scanStatus"), "1");
}

TEST_F(Device, RunsWithOneCapability) {
    EXPECT_EQ(find(sh("cat /proc/$(pidof vesk)/status"), "CapEff:\\s*(\\S+)"), "0000000000001000") << "CAP_NET_ADMIN";
}

TEST_F(Device, EveryViewEqualsTheTruthOverAHundredPolls) {
    const Joined node("wlan3", 0);
    for (const Network network : { LINDENHOF_24, LINDENHOF_5 }) {
        const Joined telephone("wlan2", network);
        EXPECT_EQ(differences("stations"), "");
        EXPECT_EQ(stations(), (std::vector<std::string>{ (network == LINDENHOF_24 ? "wlan0 " : "wlan1 ") + phone,
                                                         "wlan1b " + agent }));
        for (size_t poll = 0; poll < 50; poll++)
            EXPECT_EQ(differences(commands[poll % commands.size()]), "") << "poll " << poll;
    }
}

TEST_F(Device, RealRadiosTakeLittleMemory) { // after all that was read above
    EXPECT_GT(simulatedKiB, 1000);
    EXPECT_LE(resident() - simulatedKiB, 400);
}

[[maybe_unused]] const bool isReady = add_tests<Device>("Device", "daemon.rows");

} // namespace
