// Runs rows/*.rows: what the libraries make of the kernel, of /sys and of hostapd. rows/README.md explains the steps.
#include <unistd.h>

#include <memory>

#include "platform/nl80211/config.h"
#include "platform/nl80211/device.h"
#include "platform/nl80211/iface.h"
#include "platform/nl80211/scan.h"
#include "platform/nl80211/scan_table.h"
#include "platform/nl80211/wiphy.h"
#include "tests/nl80211/text_questions.h"
#include "tools/client/text.h"
#include "tools/radiocheck/said.h"

namespace {

constexpr uint32_t CHANNELS[] = { 1, 6, 11, 36, 60 };
constexpr size_t COUNT = std::size(CHANNELS);

size_t row_of(const std::string &channel) {
    return static_cast<size_t>(std::ranges::find(CHANNELS, static_cast<uint32_t>(integer(channel))) - CHANNELS);
}
const char *radio_of(size_t row) { return row < 3 ? "phy0" : "phy1"; }

/** The recorded device, and what rows change of it. "bare": the libraries weren't begun; "scans": a list of channels.
 */
struct Stage : World {
    void TestBody() override {}
    explicit Stage(const std::string &base) {
        clock_stop();
        for (size_t i = 0; i < COUNT; i++) channels[i] = &records[i], records[i].smoothedNoise = -77.5;
        if (base != "bare") rilk_initDriver();
        if (base == "scans") begin_scans();
    }
    ~Stage() override {
        radio::scan_stop();
        for (VeskScanNeighbor *block : table) free(block);
    }
    void begin_scans() {
        rilk_initScanChannelList(CHANNELS, COUNT);
        kernel.on(NL80211_CMD_TRIGGER_SCAN, [&](const Asked &asked) {
            if (busy-- > 0) return Reply{ {}, -EBUSY };
            const int wiphy = asked.frequency < 3000 ? 0 : 1;
            kernel.send_event(NL80211_CMD_NEW_SCAN_RESULTS, 1 - wiphy); // the other radio's
            if (ending) kernel.send_event(ending, wiphy);
            clock_advance(40); // ms of scanning
            return Reply{};
        });
    }
    /** Answers with " => " between them: one a request, the last one for all that follow. */
    void answer(const std::string &name, std::string text) {
        std::vector<Reply> replies;
        for (const std::string &one : split(replaced(text, " => ", "\1"), '\1'))
            replies.push_back(reply_of(kinds.at(name), one));
        replies.resize(std::max<size_t>(1, replies.size()));
        kernel.on(kinds.at(name).command, [replies, name, n = size_t{ 0 }](const Asked &asked) mutable {
            const Reply &reply = replies[std::min(n++, replies.size() - 1)];
            return name == "interfaces" ? narrowed(reply, asked) : reply;
        });
    }
    void configure(const std::string &json) {
        put("/usr/etc/vesk-radio.json", json);
        radio::config_forget();
        radio::device_forget();
    }
    FakeHostapd &hostapd(const std::string &name) {
        auto &peer = peers[name];
        if (!peer) peer = std::make_unique<FakeHostapd>(root + "/run/hostapd/" + name, Replies{});
        return *peer;
    }
    /** Asks until there is one of the channel; "none" if a look brings none. */
    bool has_result(size_t row, int looks) {
        records[row].ch = 0;
        for (; looks > 0 && records[row].ch == 0; looks--) {
            rilk_getScanChannelResult(radio_of(row), channels);
            if (records[row].ch == 0 && looks > 1) usleep(2000);
        }
        return records[row].ch != 0;
    }
    VeskScanNeighbor *neighbor(const std::string &channel, int position) {
        return table[row_of(channel) * VESK_SCAN_NEIGHBORS_PER_CHANNEL + static_cast<size_t>(position)];
    }

    using Replies = std::map<std::string, std::string>;
    std::map<std::string, std::unique_ptr<FakeHostapd>> peers;
    std::map<std::string, size_t> told;
    std::atomic<int> busy = 0;
    std::atomic<uint8_t> ending = NL80211_CMD_NEW_SCAN_RESULTS; // 0: a scan never ends
    VeskScanChannel records[COUNT] = {};
    VeskScanChannel *channels[COUNT];
    std::vector<VeskScanNeighbor *> table{ VESK_SCAN_CHANNELS * VESK_SCAN_NEIGHBORS_PER_CHANNEL };
    VeskScanNeighbor *earlier = nullptr; // the first one of a list that was read anew since
};
std::optional<Stage> stage;

/** Looks of 2 ms; where something has failed already, nothing is waited for at length. */
int patience() { return testing::Test::HasFailure() ? 50 : 5000; }

/** Two samples of a survey, as the kernel tells them. */
std::string ask_between(const Given &given) {
    stage->answer("surveys", given.text);
    radio::LocalList<radio::Survey> samples;
    EXPECT_EQ(radio::survey_list(2, samples), 0);
    const radio::Load load = radio::survey_load(samples.items[0], samples.items[1]);
    return spaced(load.busyKnown ? load.busy : -1, load.ownKnown ? load.own : -1);
}

/** Samples before a scan and behind it, or none; ms between them. */
std::string ask_utilisation(const Given &given) {
    radio::LocalList<radio::Survey> samples[2];
    for (const size_t i : { 0u, 1u }) {
        stage->answer("surveys", split(given.text, ';').at(i));
        EXPECT_EQ(radio::survey_list(2, samples[i]), 0);
    }
    const auto sample = [&](size_t i) { return samples[i].count ? samples[i].items : nullptr; };
    return spaced(radio::scan_utilisation(sample(0), sample(1), given.number()));
}

std::string ask_vaps(const Given &given) {
    VeskApIntfInfo info{};
    if (rilk_getRadioApInterfaceInfo(given.number(), &info) != 0) return "none";
    std::string text = info.radioIfname;
    for (int i = 0; i < info.vapNums; i++) text += std::string(" ") + info.vapIfname[i];
    return text;
}

std::string radio_at(int index) {
    clock_advance(1000); // a search a second
    radio::Radio radio;
    return radio::device_radio(index, radio) ? radio.name : "none";
}

std::string ask_told(const Given &given) {
    const Texts all = stage->hostapd(given.name()).commands();
    std::string fresh;
    for (size_t &i = stage->told[given.name()]; i < all.size(); i++) fresh += (fresh.empty() ? "" : "; ") + all[i];
    return fresh;
}

std::string ask_element(const Given &given) {
    const Blob bytes = bytes_of(given.name(2));
    const auto size = static_cast<uint32_t>(bytes.size());
    return spaced(rilk_addVendorIE(given.name(), given.mhz(1), bytes.data(), size));
}

std::string ask_acl(const Given &given) {
    const RilkAclMac acl = { given.words.at(1) == "free", { 2, 0, 0, 0, 0, static_cast<uint8_t>(given.number(2)) } };
    return spaced(rilk_setVapAclMac(given.name(), &acl));
}

std::string ask_scan(const Given &given) {
    VeskScanParam param = { .channel = static_cast<uint8_t>(given.number(1)), .dwell = 150 };
    if (given.words.size() > 3) param.dwell = given.number(3);
    given.words.at(2).copy(param.baseVap, sizeof param.baseVap);
    return spaced(rilk_triggerScan(given.name(), &param));
}

std::string ask_queue(const Given &given) {
    int taken = 0;
    while (taken < 100 && ask_scan(given) == "0") taken++;
    return taken >= 63 && taken <= 65 ? "full" : spaced(taken); // the queue, and the one under way
}

/** Waits until the kernel was asked for so many; says what the last of them was. */
std::string ask_triggered(const Given &given) {
    const auto count = static_cast<size_t>(given.number());
    const auto made = [&] { return stage->kernel.asked(NL80211_CMD_TRIGGER_SCAN); };
    for (int looks = 0; looks < patience() && made().size() < count; looks++) usleep(2000);
    if (made().size() < count) return "too few";
    const Asked last = made()[count - 1];
    return spaced(last.ifindex, last.frequency, last.active ? "active" : "passive", last.duration, last.flags);
}

std::string ask_neighbors(const Given &given) {
    if (!stage->earlier) stage->earlier = stage->neighbor(given.words.at(1), 0);
    return spaced(rilk_getScanNeighborApOneChannel(given.name(), given.number(1), stage->table.data()));
}

std::string ask_list(const Given &) {
    radio::LocalList<radio::Iface> interfaces;
    return spaced(radio::iface_list(interfaces), interfaces.count);
}

std::string ask_known(const Given &given) {
    radio::Wiphy wiphy = {};
    const int status = radio::wiphy_read(given.number(), wiphy);
    return spaced(status, wiphy.count, wiphy.count ? std::to_string(wiphy.channels[wiphy.count - 1].frequency) : "");
}

std::string ask_stations(const Given &given) {
    std::string all;
    for (const std::string &mac : said_stations(given.name())) all += (all.empty() ? "" : " ") + mac.substr(9);
    return all;
}

std::string ask_logged(const Given &given) {
    if (!stage->logged(given.text)) return "no";
    return stage->log.find(given.text) == stage->log.rfind(given.text) ? "once" : "often";
}

std::string ask_role(const Given &) {
    int32_t role = -1;
    return hul_EM_getWorkRole(&role) == 0 ? spaced(role) : "refused";
}

std::string ask_width_of(const Given &given) {
    RilkRadioDynParams params{};
    return rilk_getRadioDynParamters(given.name(), &params) == 0 ? spaced(int{ params.bw }, params.bond) : "refused";
}

std::string ask_passphrase(const Given &given) {
    HulVapCfg cfg{};
    return hul_getEnabledVapCfg(given.name(), &cfg) == 0 ? cfg.keyPassphrase : "refused";
}

std::string ask_ssid(const Given &given) {
    char ssid[65] = "";
    return rilk_getVapSsid(given.name(), given.number(1), ssid) == 0 ? ssid : "refused";
}

const std::map<std::string, Question> questions = {
    { "between", ask_between },
    { "utilisation", ask_utilisation },
    { "vaps", ask_vaps },
    { "radios", [](const Given &) { return radio_at(0) + " " + radio_at(1); } },
    { "width-of", ask_width_of },
    { "role", ask_role },
    { "ssid", ask_ssid },
    { "passphrase", ask_passphrase },
    { "joined", ask_stations },
    { "count", [](const Given &given) { return spaced(said_stations(given.name()).size()); } },
    { "told", ask_told },
    { "rrm", [](const Given &given) { return spaced(rilk_setRRMEnable(given.name(), given.number(1))); } },
    { "wnm", [](const Given &given) { return spaced(rilk_setWNMEnable(given.name(), given.number(1))); } },
    { "acl", ask_acl },
    { "element", ask_element },
    { "kick", [](const Given &given) { return spaced(rilk_disConnectSta(given.name(), given.name(1))); } },
    { "scan", ask_scan },
    { "dwell",
      [](const Given &given) {
          return spaced(rilk_setMinMaxDwellTime(given.name(), given.number(1), given.number(2)));
      } },
    { "queue", ask_queue },
    { "triggered", ask_triggered },
    { "scanned", [](const Given &given) { return spaced(stage->has_result(row_of(given.name()), 1)); } },
    { "neighbors", ask_neighbors },
    { "earlier", [](const Given &) { return spaced(stage->earlier->bssid, stage->earlier->ssid); } },
    { "asked", [](const Given &given) { return spaced(stage->kernel.asked(kinds.at(given.name()).command).size()); } },
    { "list", ask_list },
    { "known", ask_known },
    { "init", [](const Given &) { return spaced(rilk_initDriver()); } },
    { "logged", ask_logged },
};

// Answers of several values, of which a row names some; of none, where a call is refused.

/** NAME, VALUE, and so on. */
template <class... T>
Values named(const T &...parts) {
    const Texts texts = { spaced(parts)... };
    Values values;
    for (size_t i = 0; i + 1 < texts.size(); i += 2) values.add(texts[i], texts[i + 1]);
    return values;
}

Values load_of(const Given &given) {
    VeskCurChannelInfo info{};
    if (rilk_getCurChannelInfo(given.name(), &info) != 0) return {};
    uint64_t more[4];
    memcpy(more, info.counters2, sizeof more);
    return named("channel", int{ info.channel }, "used", unsigned{ info.ccaTxUtil }, "own", unsigned{ info.ccaInbss },
                 "idle", int{ info.ccaIdle }, "noise", int{ info.noise }, "knows", int{ info.value4 }, "counters",
                 spaced(uint64_t{ info.counter1 }, more[0], more[1], more[2], more[3]), "dated", info.time != 0);
}

Values settings_of(const Given &given) {
    HulRadioInfo info{};
    if (hul_getRadioInfo(given.number(), &info) != 0) return {};
    return named("id", int{ info.radioId }, "enabled", int{ info.isEnabled }, "acs", int{ info.isAcsEnabled });
}

Values result_of(const Given &given) {
    const size_t row = row_of(given.name());
    if (!stage->has_result(row, patience())) return {};
    const VeskScanChannel &record = stage->records[row];
    return named("noise", int{ record.noise }, "networks", int{ record.inC }, "used", int{ record.chnUtil }, "radar",
                 int{ record.cac }, "smoothed", double{ record.smoothedNoise });
}

Values neighbor_of(const Given &given) {
    const VeskScanNeighbor *one = stage->neighbor(given.name(), given.number(1));
    if (!one) return {};
    return named("bssid", one->bssid, "ssid", one->ssid, "security", one->text, "channel", int{ one->ch }, "level",
                 int{ one->rssi }, "width", int{ one->value1 }, "capability", int{ one->value2 });
}

const std::map<std::string, Values (*)(const Given &given)> records = {
    { "radio",
      [](const Given &given) {
          return said_of_radio({ given.number(), given.name(1), {} });
      } },
    { "vap", [](const Given &given) { return said_of_vap(given.name()); } },
    { "station", [](const Given &given) { return said_of_station(given.name(), given.name(1)); } },
    { "load", load_of },
    { "settings", settings_of },
    { "result", result_of },
    { "neighbor", neighbor_of },
};

void expect_values(const Values &values, const std::string &expected) {
    EXPECT_EQ(values.all.empty(), expected == "none");
    for (const std::string &word : values.all.empty() ? Texts{} : split(expected)) {
        const std::string name = word.substr(0, word.find('=')), text = word.substr(name.size() + 1);
        const auto named = [&](const Value &value) { return replaced(value.name, " ", "-") == name; };
        const auto value = std::ranges::find_if(values.all, named);
        EXPECT_EQ(value == values.all.end() ? "refused" : replaced(value->text, " ", "_"), text) << name;
    }
}

void poll(const Given &given) {
    int32_t channel;
    for (int i = 0; i < given.number(); i++) rilk_getRadioCurChannel("phy0", &channel);
}

void add_interfaces(const Given &given) {
    for (size_t i = 2; i < given.words.size(); i++)
        stage->add_interface(given.mhz() + static_cast<uint32_t>(i) - 2, given.words[i], given.number(1));
}

void end_scans(const Given &given) {
    const std::string &end = given.words.at(0);
    stage->ending = end == "never" ? 0 : end == "aborted" ? NL80211_CMD_SCAN_ABORTED : NL80211_CMD_NEW_SCAN_RESULTS;
}

/** What stands behind the first word, its line ends with it. */
std::string behind_name(const Given &given) {
    return replaced(given.text.substr(std::min(given.text.size(), given.words.at(0).size() + 1)), "\\n", "\n");
}

void let_hostapd_say(const Given &given) {
    const auto [command, reply] = halves(behind_name(given), "=>");
    stage->hostapd(given.name()).say(command, reply);
}

const std::map<std::string, void (*)(const Given &given)> actions = {
    { "config", [](const Given &given) { stage->configure(given.text); } },
    { "file", [](const Given &given) { stage->put(given.name(), behind_name(given)); } },
    { "gone", [](const Given &given) { stage->remove(given.name()); } },
    { "phy", [](const Given &given) { stage->add_phy(given.number(), given.name(1)); } },
    { "net", add_interfaces },
    { "nl80211", [](const Given &given) { stage->kernel.present = given.words.at(0) == "present"; } },
    { "hostapd", let_hostapd_say },
    { "ends", [](const Given &given) { stage->peers.erase(given.name()), stage->told.erase(given.name()); } },
    { "slow", [](const Given &given) { stage->hostapd(given.name()).slow = given.number(1); } },
    { "patience", [](const Given &given) { radio::ctrl_set_patience(given.number()); } },
    { "wait", [](const Given &given) { clock_advance(given.number()); } },
    { "poll", poll },
    { "busy", [](const Given &given) { stage->busy = given.number(); } },
    { "ending", end_scans },
    { "abort", [](const Given &) { stage->kernel.send_event(NL80211_CMD_SCAN_ABORTED, 0); } },
};

void run_step(const std::string &step) {
    const std::string name = step.substr(0, step.find(' ')), rest = step.substr(std::min(step.size(), name.size() + 1));
    if (actions.contains(name)) return actions.at(name)({ split(rest), rest });
    if (kinds.contains(name)) return stage->answer(name, rest);
    const auto [asked, expected] = halves(rest, "->");
    const size_t open = std::min(asked.find_first_of("\"("), asked.size()), last = asked.size() - 1;
    Given given = { split(asked.substr(0, open)), "" };
    if (open < asked.size()) given.text = asked[open] == '"' ? quoted(asked) : asked.substr(open + 1, last - open - 1);
    if (records.contains(name)) return expect_values(records.at(name)(given), expected);
    const auto &known = questions.contains(name) ? questions : textQuestions;
    ASSERT_TRUE(known.contains(name)) << "no such step";
    EXPECT_EQ(known.at(name)(given), expected);
}

void begin(const std::string &base) {
    stage.reset();
    if (base != "text") stage.emplace(base);
}

struct RadioRows : testing::TestWithParam<std::string> {
    void TearDown() override { stage.reset(); }
};

TEST_P(RadioRows, Hold) {
    for (const RowCase &one : row_cases(std::string(VESK_RADIO_ROWS) + "/" + GetParam() + ".rows"))
        one.run(GetParam() + ".rows", begin, run_step);
}

INSTANTIATE_TEST_SUITE_P(, RadioRows, testing::ValuesIn(row_files(VESK_RADIO_ROWS)),
                         [](const auto &file) { return file.param; });

TEST(ScanThread, ReadersBesideScans) {
    begin("scans");
    stage->answer("wiphy", "recorded; 0x0500d90020000000"); // takes a dwell time
    std::atomic<bool> over = false;
    std::thread stations([&] {
        while (!over) said_stations("wlan0"), load_of({ { "phy0" }, "" });
    });
    std::vector<std::thread> scanners;
    for (const char *const channel : { "1", "36" })
        scanners.emplace_back([channel] {
            const std::string radio = radio_of(row_of(channel)), interface = radio == "phy0" ? "wlan0" : "wlan1";
            for (int i = 0; i < 40; i++) {
                ask_scan({ { radio, channel, interface }, "" });
                rilk_getScanNeighborApOneChannel(radio.c_str(), std::stoi(channel), stage->table.data());
                usleep(1000);
            }
        });
    for (std::thread &scanner : scanners) scanner.join();
    over = true;
    stations.join();
    for (const char *const channel : { "1", "36" }) EXPECT_TRUE(stage->has_result(row_of(channel), patience()));
    stage.reset();
}

} // namespace
