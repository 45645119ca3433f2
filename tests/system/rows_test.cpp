// Runs rows/*.rows: roads through the real programs, as steps in text. rows/README.md explains how they are written.
#include "tests/system/harness.h"

#include <map>
#include <memory>

#include <cjson/cJSON.h>

#include "tests/call_text.h"

namespace {
std::unique_ptr<Bus> bus; // the tests' own client, from the daemon's start on
std::unique_ptr<Child> watch;

/** What differs from "METHOD ARGUMENTS -> RESULT {RECORD}"; the result of a call that the bus refuses: bus:ITS STATUS.
 */
std::string call_difference(const std::string &step) {
    const auto [asked, wanted] = halves(step, "->");
    Args args;
    const std::string method = args.fill(asked);
    const Answer answer = Bus().call(method.c_str(), args.buf.head);
    const std::string result =
        answer.status == 0 ? std::to_string(answer.result) : "bus:" + std::to_string(answer.status);
    if (result != wanted.substr(0, wanted.find(' '))) return "answers " + result;
    if (answer.fields != (answer.status != 0 ? 0 : answer.key.empty() ? 1 : 2))
        return std::to_string(answer.fields) + " fields";
    const Bytes record(answer.record.begin(), answer.record.end());
    return wanted.find('{') == std::string::npos ? "" : record_difference(record, braced(wanted));
}

/** WORDS -> STATUS; with --json a value that isn't empty. */
void run_client(const std::string &step) {
    const auto [words, status] = halves(step, "->");
    const Outcome outcome = veskctl(words);
    EXPECT_EQ(outcome.status, number<int>(status)) << outcome.err;
    cJSON *json = cJSON_Parse(outcome.out.c_str());
    EXPECT_EQ(cJSON_GetArraySize(json) > 0, words.starts_with("--json "))
        << outcome.out; // members of an object count, too
    cJSON_Delete(json);
}

/** Starts a watcher; it has subscribed when it shows a signal of ours. */
void start_watch() {
    watch = std::make_unique<Child>("veskctl", Texts{ "watch" });
    ASSERT_TRUE(eventually([&] {
        Bus().send("tamlo.pelk.vesk.veskRadarNotif", "radar.");
        return contains(watch->out(), "veskRadarNotif");
    })) << watch->err();
}

/** NAME {RECORD}: the first signal of this name. */
void hear(const std::string &step) {
    const std::string name = "tamlo.pelk.vesk." + step.substr(0, step.find(' '));
    ASSERT_TRUE(bus->hears(name.c_str()));
    const std::string &payload = bus->find(name)->payload;
    expect_record({ payload.begin(), payload.end() }, step);
}

std::string record_text(const std::string &step) {
    const Bytes bytes = record_of(braced(step));
    return { bytes.begin(), bytes.end() };
}

struct Rows : System, testing::WithParamInterface<std::string> {
    void SetUp() override { current = this, begin(); }
    void TearDown() override { bus.reset(), watch.reset(); }
    void begin() { TearDown(), daemon.kill(), broker.kill(), System::SetUp(); }
    static Rows *current;
};
Rows *Rows::current;

/** FILE "PART" */
bool holds(const std::string &step) { return contains(read_file(split(step).at(0)), quoted(step)); }

const std::map<std::string, void (*)(const std::string &rest)> steps = {
    { "device", [](const std::string &json) { write_file("/tmp/vesk-sim.json", json); } },
    { "configure", [](const std::string &lines) { configure(replaced(lines, "\\n", "\n")); } },
    { "start-broker", [](const std::string &) { Rows::current->startBroker(), bus = std::make_unique<Bus>(); } },
    { "start-daemon", [](const std::string &) { Rows::current->startDaemon(); } },
    { "watch", [](const std::string &) { start_watch(); } },
    { "watched",
      [](const std::string &text) {
          EXPECT_TRUE(eventually([&] { return contains(watch->out(), quoted(text)); })) << watch->out();
      } },
    { "call", [](const std::string &rest) { EXPECT_EQ(call_difference(rest), ""); } },
    { "soon",
      [](const std::string &rest) {
          EXPECT_TRUE(eventually([&] { return call_difference(rest).empty(); })) << call_difference(rest);
      } },
    { "veskctl", run_client },
    { "event",
      [](const std::string &rest) { send_event(number<uint32_t>(rest), split(rest).at(1), record_text(rest)); } },
    { "hear", hear },
    { "send",
      [](const std::string &rest) { bus->send(("tamlo.pelk.vesk." + split(rest)[0]).c_str(), record_text(rest)); } },
    { "on-the-bus",
      [](const std::string &is) { EXPECT_TRUE(eventually([&] { return on_the_bus() == (is == "1"); })); } },
    { "holds", [](const std::string &rest) { EXPECT_TRUE(eventually([&] { return holds(rest); })) << rest; } },
    { "lacks", [](const std::string &rest) { EXPECT_FALSE(holds(rest)); } },
    { "exists", [](const std::string &path) { EXPECT_TRUE(eventually([&] { return exists(path.c_str()); })); } },
};

void run_step(const std::string &step) {
    const std::string name = step.substr(0, step.find(' '));
    ASSERT_TRUE(steps.contains(name)) << "no such step";
    steps.at(name)(step.substr(std::min(step.size(), name.size() + 1)));
}
} // namespace

TEST_P(Rows, Hold) {
    for (const RowCase &one : row_cases(std::string(VESK_ROWS) + "/" + GetParam() + ".rows"))
        one.run(
            GetParam() + ".rows", [](const std::string &) { Rows::current->begin(); }, run_step);
}

INSTANTIATE_TEST_SUITE_P(, Rows, testing::ValuesIn(row_files(VESK_ROWS)), [](const auto &file) { return file.param; });
