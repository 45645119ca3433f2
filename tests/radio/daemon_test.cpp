// The daemon on real radios: started as on a device, over the libraries of build/lib/nl80211, asked with veskctl.
#include <algorithm>
#include <cstring>
#include <thread>

#include "tests/radio/table.h"

namespace {

const std::vector<std::string> vaps = { "wlan0", "wlan0b", "wlan0s", "bsta0", "wlan1", "wlan1b", "wlan1o" };
const std::vector<std::string> radios = { "wlan0", "wlan1" }; // by their first BSS

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

template <class Names, class Of>
std::string each(const Names &names, Of of) {
    std::string all;
    for (const auto &name : names) all += (all.empty() ? "" : "|") + of(name);
    return all;
}

bool is_bsta(const std::string &name) { return name == "bsta0"; }

std::string frequency(const std::string &name) { return find(info(name), "\\((\\d+) MHz\\)"); }

std::string number(const std::string &decimal) { return text("%g", atof(decimal.c_str())); }

std::string numbers(const std::string &band, bool (*wanted)(const IwChannel &), int (*of)(const IwChannel &)) {
    std::string all;
    for (const IwChannel &channel : iw_channels(band)) {
        if (wanted(channel)) all += text("%s%d", all.empty() ? "" : ", ", of(channel));
    }
    return "[" + all + "]";
}
/** The same as single values. */
std::string plain(std::string list) {
    std::erase_if(list, [](char c) { return c == '[' || c == ']' || c == ' '; });
    std::ranges::replace(list, ',', '|');
    return list;
}
int number_of(const IwChannel &channel) { return channel.number; }
int limits_of(const IwChannel &channel) { return channel.limits; }
bool is_enabled(const IwChannel &channel) { return !channel.disabled; }
bool is_available(const IwChannel &channel) {
    const bool excluded = channel.number == 11; // vesk-radio.json
    return !channel.disabled && !channel.unavailable && !(channel.limits & 2) && !excluded;
}

/** Of the VAPs' stations, with the VAPs' order. */
std::string stations(std::string (*of)(const std::string &bss, const std::string &mac)) {
    std::vector<std::string> all;
    for (const std::string &bss : vaps) {
        for (const std::string &mac : find_all(is_bsta(bss) ? "" : stations_of(bss), "\\S+"))
            all.push_back(of(bss, mac));
    }
    return each(all, [](const std::string &text) { return text; });
}

std::string neighbors(std::string Heard::*part) {
    std::string all;
    for (const auto &[interface, frequency] : { std::pair("wlan0", 2412), std::pair("wlan1", 5745) }) {
        for (const Heard &heard : scan_on(interface, frequency)) all += (all.empty() ? "" : "|") + heard.*part;
    }
    return all;
}

/** Of the simulated driver's channels all but the operating one count alike. */
std::string scanned(const char *field) {
    scan_on("wlan0", 2412);
    const std::string off = surveyed("wlan0", 2412);
    std::string all;
    for (const std::string band : { "0", "3" }) {
        for (const IwChannel &channel : iw_channels(band)) {
            const bool own = channel.number == 6 || channel.number == 36;
            const std::string figures = own ? "-1 -254" : off;
            if (!channel.disabled)
                all += (all.empty() ? "" : "|") + find(figures, strcmp(field, "noise") == 0 ? "\\S+$" : "^\\S+");
        }
    }
    return all;
}

std::string statistics(const std::string &name) {
    std::string all;
    for (const char *file : { "rx_packets", "tx_packets", "rx_bytes", "tx_bytes" })
        all += (all.empty() ? "" : ", ") + sys(name, text("statistics/%s", file));
    return "[" + all + "]";
}

struct View {
    const char *command, *key;
    std::string (*truth)();
};
const View views[] = {
    { "radios", "radioIfname", [] { return std::string("phy0|phy1"); } },
    { "radios", "status", [] { return each(radios, is_up); } },
    { "radios", "curChannel",
      [] { return each(radios, [](auto &name) { return find(info(name), "channel (\\d+)"); }); } },
    { "radios", "curFreq", [] { return each(radios, frequency); } },
    { "radios", "bond",
      [] { return each(radios, [](auto &name) { return find(info(name), "width: (\\d+)") + "MHz"; }); } },
    { "radios", "txPower",
      [] { return each(radios, [](auto &name) { return number(find(info(name), "txpower (\\S+)")); }); } },
    { "radios", "radioMac", [] { return each(radios, [](auto &name) { return find(info(name), "addr (\\S+)"); }); } },
    { "radios", "countryCode", [] { return std::string("US|US"); } },
    { "radios", "curchList",
      [] { return numbers("0", is_enabled, number_of) + "|" + numbers("3", is_enabled, number_of); } },
    { "vaps", "vapName", [] { return each(vaps, [](auto &name) { return is_bsta(name) ? name : name + ".v0"; }); } },
    { "vaps", "ssid", [] { return each(vaps, [](auto &name) { return find(info(name), "ssid ([^\n]*)"); }); } },
    { "vaps", "bssid", [] { return each(vaps, [](auto &name) { return find(info(name), "addr (\\S+)"); }); } },
    { "vaps", "status", [] { return each(vaps, is_up); } },
    { "vaps", "authMode",
      [] { return each(vaps, [](auto &name) { return is_bsta(name) ? "0" : vap_truth(name).auth; }); } },
    { "vaps", "encryptMode",
      [] { return each(vaps, [](auto &name) { return is_bsta(name) ? "0" : vap_truth(name).encrypt; }); } },
    { "vaps", "vapAttr",
      [] { return each(vaps, [](auto &name) { return is_bsta(name) ? "128" : vap_truth(name).attr; }); } },
    { "stations", "mac", [] { return stations([](auto &, auto &mac) { return mac; }); } },
    { "stations", "rssi",
      [] { return stations([](auto &bss, auto &mac) { return station(bss, mac, "signal:\\s+(-\\d+)"); }); } },
    { "stations", "isBhInt",
      [] { return stations([](auto &bss, auto &) { return text("%d", bss.ends_with("b")); }); } },
    { "scan", "ch",
      [] { return plain(numbers("0", is_enabled, number_of) + "|" + numbers("3", is_enabled, number_of)); } },
    { "scan", "chnUtil", [] { return scanned("chnUtil"); } },
    { "scan", "noise", [] { return scanned("noise"); } },
    { "neighbors", "bssid", [] { return neighbors(&Heard::bssid); } },
    { "neighbors", "ssid", [] { return neighbors(&Heard::ssid); } },
    { "neighbors", "rssi", [] { return neighbors(&Heard::rssi); } },
    { "channels 0", "chList", [] { return numbers("0", is_available, number_of); } },
    { "channels 3", "chList", [] { return numbers("3", is_available, number_of); } },
    { "channels 3", "chAttr", [] { return numbers("3", is_available, limits_of); } },
    { "nol 3", "channel",
      [] {
          return plain(numbers(
              "3", [](const IwChannel &c) { return c.unavailable; }, number_of));
      } },
    { "stats wlan0", "counters1", [] { return statistics("wlan0"); } },
};
const std::vector<std::string> commands = { "radios",     "vaps",       "stations", "scan",       "neighbors",
                                            "channels 0", "channels 3", "nol 3",    "stats wlan0" };

std::string ask(const std::string &command) {
    std::string answer = sh("veskctl --json " + command);
    for (size_t heard; (heard = answer.find("\"heard\"")) != std::string::npos;)
        answer.erase(heard, answer.find(']', heard) - heard); // channels once more, with the counts of `neighbors`
    return answer;
}

/** The keys of a view that differ from the truth of the moment; empty without any. */
std::string look(const std::string &command) {
    std::string all, answer;
    for (const View &view : views) {
        if (command != view.command) continue;
        if (answer.empty()) answer = ask(command);
        const std::string truth = view.truth(), got = values(answer, view.key);
        if (got != truth && values(ask(command), view.key) != view.truth())
            all += text("%s %s\n  says  ", view.command, view.key) + got + "\n  truth " + truth + "\n";
    }
    return all;
}

/** The station table is as old as the daemon's last poll, at most 13 s; what else moves does so within a second. */
std::string differences(const std::string &command) {
    std::string last;
    within(command == "stations" ? 15s : 1s, [&] { return (last = look(command)).empty(); });
    return last;
}

int lines_with(const std::string &part) { return atoi(sh("grep -c -F '" + part + "' /tmp/vesk.log").c_str()); }

/** Moments of the start, in ms of virtual time since the daemon's. */
struct Device : testing::Test {
    static inline int64_t ready, begun[2], done[2];

    static void SetUpTestSuite() {
        sh("vesk-busd >/dev/null 2>&1 &");
        const auto start = Clock::now();
        sh("LD_LIBRARY_PATH=/vesk/lib/nl80211 vesk >/dev/null 2>/tmp/vesk.err &");
        const auto passed = [&] { return (Clock::now() - start) / 1ms; };
        ready = begun[0] = begun[1] = done[0] = done[1] = 0;
        const char *last[] = { "alyScanCnt=11", "alyScanCnt=24" };
        for (bool over = false; !over && passed() < 60000; std::this_thread::sleep_for(100ms)) {
            for (int radio = 0; radio < 2; radio++) {
                if (!begun[radio] && lines_with(text(" usleep=500ms, radio[%d]=", radio))) begun[radio] = passed();
                if (!done[radio] &&
                    sh(text("grep -F 'radio[%d]=' /tmp/vesk.log | grep -c %s", radio, last[radio])) != "0\n")
                    done[radio] = passed() + 500; // the last channel's own half second
            }
            if (access("/tmp/vesk_ready", F_OK) == 0) ready = passed(), over = true;
        }
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

TEST_F(Device, EveryViewEqualsTheTruth) {
    for (const std::string &command : commands) EXPECT_EQ(differences(command), "");
}

TEST_F(Device, NoDifferenceOverAHundredPolls) {
    const Joined node("wlan3", 0);
    for (const Network network : { LINDENHOF_24, LINDENHOF_5 }) {
        const Joined telephone("wlan2", network);
        EXPECT_EQ(differences("stations"), "");
        for (int poll = 0; poll < 50; poll++)
            EXPECT_EQ(differences(commands[static_cast<size_t>(poll) % commands.size()]), "") << "poll " << poll;
    }
}

} // namespace
