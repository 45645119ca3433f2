// Runs rows/*.rows: what the daemon does on the fakes, as steps in text. rows/README.md explains how they are written.
#include "source/vesk_drelm/drelm_private.h"
#include "tests/unit/daemon_settings.h"
#include "tests/unit/rows_field.h"

namespace {
using Action = std::function<void(const Texts &words)>; // words behind the step's name

/** What stands between the braces behind this place; no braces: nothing. */
std::string braced(const std::string &step, size_t from = 0) {
    const size_t open = step.find('{', from);
    return open == std::string::npos ? "" : step.substr(open + 1, step.find('}', open) - open - 1);
}

/** Nothing is expected of a record that a step says nothing of. */
void expect_record(const std::vector<uint8_t> &got, const std::string &step) {
    const std::string difference = step.find('{') == std::string::npos ? "" : record_difference(got, braced(step));
    EXPECT_EQ(difference, "");
}

int sentAtLastCall, scanningAtLastCall; // as the driver was called

/** Every base but "device" leaves the model empty or fills it its own way. */
void begin(const std::string &base) {
    vesk_destory_scan_info(), vesk_deinit_devide_info(), vesk_deinit_dev_event();
    csrv_clear_timers(), vesk_sta_mon_destroy(), vesk_init_g_sta_cap();
    fake_reset(), fake_load_product();
    fakeLibc.runSystem = false;
    if (base == "events") fill_event_records();
    if (base == "device") DeviceTest::fill();
    if (base == "pollers") vesk_init_device_info();
    fakeDevice.onCall = [](const FakeCall &) {
        sentAtLastCall = static_cast<int>(fakeBus.signals.size());
        scanningAtLastCall = vesk_get_scan_status();
    };
    sentAtLastCall = 0;
}

void poll_stations() { vesk_update_sta_ubus_handle(&vesk_get_sta_info()->staTimer); }

/** A station on a VAP of the driver's; its MAC ends in these two. */
void add_station(const Texts &words) {
    const auto byte = [&](size_t i) { return words.size() > i ? number<uint8_t>(words[i]) : uint8_t{ 1 }; };
    fakeDevice.addStation(words.at(0), { 2, 1, 1, 1, byte(2), byte(1) });
}

void own_object() {
    static ubus_object object = {};
    object.name = "vesk";
    vesk_get_vesk_info()->ubusObj = &object;
}

/** The settings that aren't what an empty file gives. */
std::string changed_settings() {
    std::string changed;
    const Texts now = split(settings()), before = split(byDefault);
    for (size_t i = 0; i < now.size(); i++)
        if (now[i] != before.at(i)) changed += now[i] + " ";
    return changed;
}

// What a step may do beside setting and asking: "do NAME WORDS".
const std::map<std::string, Action> actions = {
    { "fill", [](const Texts &) { DeviceTest::fill(); } },
    { "refresh-radios", [](const Texts &) { vesk_update_radio_info(); } },
    { "refresh-vaps", [](const Texts &) { fakeBus.signals.clear(), vesk_update_vap_info(); } },
    { "poll-channels",
      [](const Texts &words) {
          fakeBus.signals.clear();
          for (int i = number<int>(words.at(0)); i > 0; i--) vesk_channel_change_handle(nullptr);
      } },
    { "poll-stations", [](const Texts &) { poll_stations(); } },
    { "add-station", add_station },
    { "add-vap", [](const Texts &words) { fakeDevice.addVap(number<int>(words.at(0)), words.at(1)); } },
    { "list-vap", [](const Texts &words) { fakeDevice.vaps.push_back({ .name = words.at(0) }); } },
    { "drop-stations", [](const Texts &words) { fakeDevice.vap(words.at(0))->stations.clear(); } },
    { "add-zero-station",
      [](const Texts &words) {
          fakeDevice.addStation(words.at(0), { 0, 0, 0, 0, 0, 0 });
      } },
    { "know",
      [](const Texts &words) {
          const Bytes bits = { number<uint8_t>(words.at(1)), number<uint8_t>(words.at(2)) };
          vesk_set_sta_cap(stored_mac(words[0]).data(), bits.data());
      } },
    { "poll-switch", [](const Texts &words) { vesk_set_sta_timer_status(number<uint8_t>(words.at(0))); } },
    { "fill-slots",
      [](const Texts &) {
          for (int i = 6; i < VESK_VAPS; i++) snprintf(vesk_get_vap_info()[i].ifName, 16, "x%d", i);
      } },
    { "set-channel-timer", [](const Texts &words) { vesk_start_set_channel_timer(number<uint32_t>(words.at(0))); } },
    { "scan-timer", [](const Texts &) { vesk_start_scan_ubus_timer(); } },
    { "monitor", [](const Texts &words) { vesk_sta_mon_set(STA.data(), number<int>(words.at(0))); } },
    { "know-station", [](const Texts &) { vesk_set_sta_cap(STA.data(), STA.data()); } },
    { "channel-poller",
      [](const Texts &words) { vesk_set_channel_change_timer_status(number<uint8_t>(words.at(0))); } },
    { "name-station-vap",
      [](const Texts &words) { vesk_init_bsta_info(words.at(0).c_str(), number<int>(words.at(1))); } },
    { "name-vap", [](const Texts &words) { vesk_init_vap_info(words.at(0).c_str(), words.at(1).c_str(), 0); } },
    { "own-object", [](const Texts &) { own_object(); } },
    { "clear",
      [](const Texts &) { fake_clear_log(), fakeDevice.log.clear(), fakeBus.signals.clear(), fakeBus.calls.clear(); } },
};

std::string names_of(const char *outer, const char *given) {
    char name[32] = {}, other[17] = {};
    strcpy(name, given);
    return outer ? (vesk_get_intf_outer_name(name, name), name) : (vesk_get_intf_inner_name(other, name), other);
}

std::string capability_of_station() {
    uint8_t cap[3] = {};
    return vesk_get_sta_cap(STA.data(), cap) == 0 ? words(+cap[0], +cap[1]) : "unknown";
}

std::string heard_on(const std::string &channel) {
    const VeskStaMon *node = vesk_sta_mon_get(STA.data(), number<int>(channel));
    return node ? words(+node->channel, node->ifName, node->rssi, node->lastProbeTime) : "nothing";
}

// What can be asked for beside fields: NAME(WORD).
const std::map<std::string, std::function<std::string(const std::string &word)>> questions = {
    { "calls", [](const std::string &name) { return std::to_string(fakeDevice.count(name)); } },
    { "sequence",
      [](const std::string &) {
          std::string all;
          for (const FakeCall &made : fakeDevice.log) all += made.name + " " + made.args + "; ";
          return all;
      } },
    { "lines", [](const std::string &level) { return std::to_string(messages(level).size()); } },
    { "due",
      [](const std::string &timer) {
          return std::to_string(fakeLoop.due(static_cast<uloop_timeout *>(find_field(timer).at)));
      } },
    { "asked", [](const std::string &) { return std::to_string(fakeDevice.log.size()); } },
    { "sent-at-last-call", [](const std::string &) { return std::to_string(sentAtLastCall); } },
    { "scanning-at-last-call", [](const std::string &) { return std::to_string(scanningAtLastCall); } },
    { "scanning", [](const std::string &) { return words(+vesk_get_scan_status()); } },
    { "signals", [](const std::string &) { return std::to_string(fakeBus.signals.size()); } },
    { "timers", [](const std::string &) { return std::to_string(fakeLoop.pendingTimers()); } },
    { "stored", [](const std::string &) { return std::to_string(kvhlist_count(&vesk_get_sta_info()->staDb.list)); } },
    { "fronthaul", [](const std::string &) { return std::to_string(vesk_is_connected_fronthaul_station()); } },
    { "bus", [](const std::string &) { return fakeBus.calls.empty() ? "" : fakeBus.calls.back(); } },
    { "slot", [](const std::string &name) { return std::to_string(vesk_getVapIdxByName(name.c_str())); } },
    { "active",
      [](const std::string &name) {
          return std::to_string(vesk_is_active_ap_interface(vesk_get_vap_info() + vesk_getVapIdxByName(name.c_str())));
      } },
    { "outer", [](const std::string &name) { return names_of("", name.c_str()); } },
    { "inner", [](const std::string &name) { return names_of(nullptr, name.c_str()); } },
    { "capability", [](const std::string &) { return capability_of_station(); } },
    { "heard", heard_on },
    { "changed", [](const std::string &) { return changed_settings(); } },
    { "switch", [](const std::string &index) { return vesk_inbound_signals()[number<size_t>(index)].signal; } },
};

void ask(const std::string &what, const std::string &wanted) {
    const size_t open = what.find('(');
    if (open != std::string::npos) {
        const std::string name = what.substr(0, open);
        ASSERT_TRUE(questions.contains(name)) << "no such question";
        std::string got = questions.at(name)(what.substr(open + 1, what.size() - open - 2));
        if (got.ends_with(' ')) got.pop_back();
        EXPECT_EQ(got, wanted);
        return;
    }
    const Field field = find_field(what);
    ASSERT_TRUE(field.at) << "no field of this name";
    EXPECT_TRUE(field.is(wanted)) << "is " << field.show(field.at);
}

/** METHOD NAME=VALUE... NAME{RECORD}... -> STATUS {RECORD} */
void call(const std::string &step) {
    const auto [asked, answer] = halves(step, "->");
    Args args;
    const std::string method = asked.substr(0, asked.find(' '));
    for (size_t at = method.size() + 1; at < asked.size();) {
        const size_t end = asked.find_first_of("={", at);
        const std::string name = asked.substr(at, end - at);
        if (asked[end] == '{') {
            args.record(name.c_str(), record_of(braced(asked, at)));
            at = asked.find('}', end) + 2;
            continue;
        }
        at = std::min(asked.size(), asked.find(' ', end)) + 1;
        const std::string value = asked.substr(end + 1, at - end - 2);
        const bool isNumber = value.find_first_not_of("-0123456789") == std::string::npos;
        isNumber ? args.i32(name.c_str(), number<int>(value))
                 : args.text(name.c_str(), replaced(value, "'", "").c_str());
    }
    const BusReply reply = bus_call(method.c_str(), args);
    EXPECT_EQ(reply.sent ? std::to_string(reply.status) : "refused", answer.substr(0, answer.find(' ')));
    EXPECT_EQ(reply.sent, reply.dispatch == 0);
    expect_record(reply.result, answer);
}

const std::map<std::string, WdevHandler> handlers = {
    { "probe", wdev_probe_req_event_process },       { "join", wdev_client_join_event_process },
    { "leave", wdev_client_leave_event_process },    { "cac", wdev_ch_passed_cac_event_process },
    { "radar", wdev_radar_notif_process },           { "channel", wdev_ch_change_event_process },
    { "btm-query", wdev_btm_query_event_process },   { "btm-response", wdev_btm_resp_event_process },
    { "beacon-report", wdev_beacon_report_process }, { "wps", wdev_enrollee_wps_event_process },
    { "map-r2", wdev_map_r2_assoc_resp_process },    { "disassociated", wdev_sta_disassoc_process },
    { "unsafe", wdev_unsafe_channel_event_process },
};

/** EVENT INTERFACE {BODY} -> RESULT; "-" is a null pointer. The body lies off its alignment. */
void event(const std::string &step) {
    const auto [given, result] = halves(step, "->");
    const Texts words = split(given);
    const Bytes body = record_of(braced(given));
    Bytes held = Bytes(1 + body.size()).put(1, body);
    ASSERT_TRUE(handlers.contains(words.at(0))) << "no such event";
    const char *name = words.at(1) == "-" ? nullptr : words[1].c_str();
    EXPECT_EQ(handlers.at(words[0])(body.empty() ? nullptr : &held[1], name), number<int>(result));
}

/** NAME {PAYLOAD}: the signals are taken in order. */
void signal(const std::string &step) {
    ASSERT_FALSE(fakeBus.signals.empty()) << "no signal was sent";
    const FakeSignal sent = fakeBus.signals.front();
    fakeBus.signals.erase(fakeBus.signals.begin());
    EXPECT_EQ(sent.name.substr(sent.name.rfind('.') + 1), split(step)[0]);
    expect_record(sent.payload, step);
}

/** INDEX {PAYLOAD}: without a payload nothing but null pointers. */
void inbound(const std::string &step) {
    const MerkaSignalRow &row = vesk_inbound_signals()[number<size_t>(step)];
    Bytes payload = record_of(braced(step));
    if (payload.empty()) return row.handler(nullptr, nullptr, nullptr, 0);
    row.handler(row.interface, row.signal, payload.data(), static_cast<int>(payload.size()));
}

/** FUNCTION ARGUMENTS {RECORD}: the last call of a function of the driver. */
void driver(const std::string &step) {
    const std::string said = step.substr(0, step.find(" {")), name = said.substr(0, said.find(' '));
    const std::vector<FakeCall> calls = fakeDevice.calls(name);
    ASSERT_FALSE(calls.empty()) << "it wasn't called";
    EXPECT_EQ(calls.back().args, plain(said.substr(std::min(said.size(), name.size() + 1))));
    expect_record(calls.back().bytes, step);
}

/** [LEVEL [FUNCTION]] "MESSAGE" */
bool is_logged(const std::string &step) {
    const Texts words = split(step.substr(0, step.find('"')));
    const auto word = [&](size_t i) { return words.size() > i ? words[i] : ""; };
    return fake_logged(word(0), quoted(step), word(1));
}

const std::map<std::string, void (*)(const std::string &rest)> steps = {
    { "call", call },
    { "event", event },
    { "signal", signal },
    { "inbound", inbound },
    { "driver", driver },
    { "conf", [](const std::string &lines) { load_settings(true, replaced(lines, "\\n", "\n").c_str()); } },
    { "logged", [](const std::string &rest) { EXPECT_TRUE(is_logged(rest)) << fake_log(); } },
    { "unsaid", [](const std::string &rest) { EXPECT_EQ(fake_log().find(quoted(rest)), std::string::npos); } },
    { "unlogged", [](const std::string &rest) { EXPECT_FALSE(is_logged(rest)); } },
    { "stderr", [](const std::string &rest) { EXPECT_EQ(fake_stderr(), quoted(rest)); } },
    { "wait", [](const std::string &ms) { fake_advance(std::chrono::milliseconds(number<int>(ms))); } },
    { "fail", [](const std::string &rest) { fakeDevice.rc[split(rest)[0]] = number<int>(split(rest).at(1)); } },
    { "do",
      [](const std::string &rest) {
          const Texts words = split(rest);
          ASSERT_TRUE(actions.contains(words.at(0))) << "no such action";
          actions.at(words[0])(Texts(words.begin() + 1, words.end()));
      } },
};

void run_step(const std::string &step) {
    const std::string name = step.substr(0, step.find(' '));
    if (steps.contains(name)) return steps.at(name)(step.substr(std::min(step.size(), name.size() + 1)));
    const auto [what, value] = halves(step, ":=");
    if (what == step) {
        const auto [asked, wanted] = halves(step, "==");
        return ask(asked, wanted);
    }
    const Field field = find_field(what);
    ASSERT_TRUE(field.at) << "neither a step nor a field";
    field.set(value);
}

struct Rows : testing::TestWithParam<std::string> {
    void TearDown() override { begin(""); }
};

TEST_P(Rows, Hold) {
    for (const RowCase &one : row_cases(std::string(VESK_ROWS) + "/" + GetParam() + ".rows", "device"))
        one.run(GetParam() + ".rows", begin, run_step);
}

INSTANTIATE_TEST_SUITE_P(, Rows, testing::ValuesIn(row_files(VESK_ROWS)), [](const auto &file) { return file.param; });
} // namespace
