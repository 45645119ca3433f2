// Runs rows/*.rows: what the daemon does on the fakes, as steps in text. rows/README.md explains how they are written.
#include "tests/unit/rows_words.h"

namespace {
/** Every base but "device" and the scans' leaves the model empty or fills it its own way. */
void begin(const std::string &base) {
    vesk_destory_scan_info(), vesk_deinit_devide_info(), vesk_deinit_dev_event(), vesk_stop_app_mon_timer();
    csrv_clear_timers(), vesk_sta_mon_destroy(), vesk_init_g_sta_cap();
    rowWorld = {};
    begin_device();
    if (base == "events") fill_event_records();
    if (base == "device") fill_model();
    if (base == "pollers") vesk_init_device_info();
    if (base == "scans" || base == "idle") begin_scans();
    if (base == "idle") vesk_init_scan_info(), rowActions.at("flags")({ "0-1", "0", "1", "0" });
    if (base == "empty") fake_reset();
    fakeLibc.runSystem = false;
    watch_calls();
}

void ask(const std::string &what, const std::string &wanted) {
    const size_t open = what.find('(');
    if (open != std::string::npos) {
        const std::string name = what.substr(0, open);
        ASSERT_TRUE(rowQuestions.contains(name)) << "no such question";
        std::string got = rowQuestions.at(name)(what.substr(open + 1, what.size() - open - 2));
        if (got.ends_with(' ')) got.pop_back();
        EXPECT_EQ(got, wanted);
        return;
    }
    const Field field = find_field(what);
    ASSERT_TRUE(field.at) << "no field of this name";
    EXPECT_TRUE(field.is(wanted)) << "is " << field.show(field.at);
}

/** METHOD ARGUMENTS -> STATUS {RECORD} */
void call(const std::string &step) {
    const auto [asked, answer] = halves(step, "->");
    Args args;
    const std::string method = args.fill(asked);
    const BusReply reply = rowWorld.reply = bus_call(method.c_str(), args);
    const std::string unsent = reply.dispatch == 0 ? "silent" : "refused";
    EXPECT_EQ(reply.sent ? std::to_string(reply.status) : unsent, answer.substr(0, answer.find(' ')));
    EXPECT_TRUE(!reply.sent || reply.dispatch == 0);
    expect_record(reply.result, answer);
}

const std::map<std::string, WdevHandler> handlers = {
    { "probe", wdev_probe_req_event_process },
    { "join", wdev_client_join_event_process },
    { "leave", wdev_client_leave_event_process },
    { "cac", wdev_ch_passed_cac_event_process },
    { "radar", wdev_radar_notif_process },
    { "channel", wdev_ch_change_event_process },
    { "btm-query", wdev_btm_query_event_process },
    { "btm-response", wdev_btm_resp_event_process },
    { "beacon-report", wdev_beacon_report_process },
    { "wps", wdev_enrollee_wps_event_process },
    { "map-r2", wdev_map_r2_assoc_resp_process },
    { "disassociated", wdev_sta_disassoc_process },
    { "unsafe", wdev_unsafe_channel_event_process },
    // what the daemon tells of itself
    { "if-status",
      [](void *record, const char *name) {
          return wdev_intf_change_event_process(static_cast<VeskIfStatus *>(record), name);
      } },
    { "vap-attr",
      [](void *record, const char *name) {
          return wdev_vap_attr_change_event_process(static_cast<VeskVapAttr *>(record), name);
      } },
};

/** EVENT INTERFACE {BODY} -> RESULT; "-" is a null pointer. The body lies off its alignment; behind the
 * largest one, 621 bytes, nothing is written. */
void event(const std::string &step) {
    const auto [given, result] = halves(step, "->");
    const Texts words = split(given);
    const Bytes body = record_of(braced(given));
    Bytes held = Bytes(1 + body.size()).put(1, body);
    ASSERT_TRUE(handlers.contains(words.at(0))) << "no such event";
    const char *name = words.at(1) == "-" ? nullptr : words[1].c_str();
    EXPECT_EQ(handlers.at(words[0])(body.empty() ? nullptr : &held[1], name), number<int>(result));
    EXPECT_TRUE(body.size() < 700 || std::equal(body.begin() + 621, body.end(), held.begin() + 622));
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

/** VALUE BYTES: into the store, which is set up with the first. */
void store(const std::string &step) {
    Kvhmgr &db = vesk_get_sta_info()->staDb;
    if (!db.pool) kvhmgr_init(&db, 64, 300, sizeof(VeskStaEntry), vesk_sta_hash, vesk_sta_mac_cmp);
    const Bytes entry = record_of(braced(step));
    ASSERT_EQ(entry.size(), sizeof(VeskStaEntry));
    kvhmgr_set(&db, entry.data(), static_cast<int>(entry.size()));
}

/** FUNCTION NUMBER STEP: what is done within the function's call of this number. */
void at_call(const std::string &step) {
    const Texts words = split(step);
    rowWorld.hooks.push_back(
        { words.at(0), step.substr(words[0].size() + words.at(1).size() + 2), number<int>(words[1]) });
}

/** PATH TEXT: no text removes the file. */
void put(const std::string &step) {
    const size_t blank = step.find(' ');
    const std::string path = step.substr(0, blank);
    blank == std::string::npos ? static_cast<void>(remove(path.c_str()))
                               : put_file(path.c_str(), step.substr(blank + 1));
}

/** What was logged, blanks in a row as one and none before a line: a dump pads its columns. */
std::string squeezed_log() {
    std::string all;
    for (const std::string &message : messages()) all += message;
    all.erase(std::unique(all.begin(), all.end(), [](char a, char b) { return b == ' ' && (a == ' ' || a == '\n'); }),
              all.end());
    return all;
}

int count_in(const std::string &text, const std::string &part) {
    int found = 0;
    for (size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size()) found++;
    return found;
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
    { "store", store },
    { "at", at_call },
    { "file", put },
    { "shown",
      [](const std::string &rest) { EXPECT_EQ(count_in(squeezed_log(), quoted(rest)), 1) << squeezed_log(); } },
    { "logged-times",
      [](const std::string &rest) {
          EXPECT_EQ(std::ranges::count(messages(), quoted(rest)), number<int>(rest)) << fake_log();
      } },
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
          ASSERT_TRUE(rowActions.contains(words.at(0))) << "no such action";
          rowActions.at(words[0])(Texts(words.begin() + 1, words.end()));
      } },
};

struct Rows : testing::TestWithParam<std::string> {
    void TearDown() override { begin(""); }
};

TEST_P(Rows, Hold) {
    for (const RowCase &one : row_cases(std::string(VESK_ROWS) + "/" + GetParam() + ".rows", "device"))
        one.run(GetParam() + ".rows", begin, run_row_step);
}

INSTANTIATE_TEST_SUITE_P(, Rows, testing::ValuesIn(row_files(VESK_ROWS)), [](const auto &file) { return file.param; });
} // namespace

void run_row_step(const std::string &step) {
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
