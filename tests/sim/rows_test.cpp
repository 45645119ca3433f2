// Runs rows/*.rows: what the simulated device's libraries answer and do, and what drelm makes of its lines, as steps in
// text. rows/README.md explains how they are written.
#include <tuple>

#include "platform/sim/drelm/drelm.h"
#include "tests/record_text.h"
#include "tests/sim/sim_world.h"

namespace {
constexpr size_t outBytes = 17000; // more than any record
constexpr uint8_t untouched = 0xa5;

/** A call of a library: the words that it is given, in order, and the record that it takes or gives. */
struct Call {
    Texts words;
    Bytes record, out = Bytes(outBytes, untouched);
    size_t next = 0, size = 0; // the next word; bytes of `out` that the function may write
    std::vector<Bytes> kept = {};

    std::string &word() { return words.at(next++); }
};

/** The argument of this type: a text ("-": none), a number, bytes or a record that go in, or the one place for what
 * comes out. Bytes that come out are six at most, texts 65. */
template <class T>
T argument(Call &call) {
    if constexpr (std::is_integral_v<T>) {
        return number<T>(call.word());
    } else if constexpr (std::is_same_v<T, const char *>) {
        const std::string &word = call.word();
        return word == "-" ? nullptr : word.c_str();
    } else if constexpr (std::is_const_v<std::remove_pointer_t<T>>) {
        using Value = std::remove_pointer_t<T>;
        if (std::is_class_v<Value>) return reinterpret_cast<T>(call.record.data());
        const Bytes bytes = sizeof(Value) == 1 ? from_digits(call.word()) : value_of("i32", call.word());
        return reinterpret_cast<T>(call.kept.emplace_back(bytes).data());
    } else {
        using Value = std::remove_pointer_t<T>;
        call.size = std::is_same_v<Value, char> ? 65 : std::max<size_t>(sizeof(Value), 6);
        return reinterpret_cast<T>(call.out.data());
    }
}

using Function = std::function<int(Call &)>;

template <class... A>
Function with(int (*function)(A...)) {
    return [function](Call &call) {
        const std::tuple<A...> arguments{ argument<A>(call)... };
        return std::apply(function, arguments);
    };
}

/** INTERFACE MAC ROOM: what comes out is the length, then the frame. */
int assoc_frame(Call &call) {
    const char *vap = argument<const char *>(call);
    const uint8_t *mac = argument<const uint8_t *>(call);
    uint32_t length = argument<uint32_t>(call);
    const int rc = rilk_getAssocReqFrame(vap, mac, &length, call.out.data() + sizeof length);
    if (rc == 0) memcpy(call.out.data(), &length, sizeof length);
    call.size = sizeof length + 512;
    return rc;
}

#define FUNCTION(name)                                                                                                 \
    { #name, with(name) }
const std::map<std::string, Function> functions = {
    FUNCTION(hul_EM_getWorkRole),
    FUNCTION(hul_getEnabledVapCfg),
    FUNCTION(hul_getRadioChannelList),
    FUNCTION(hul_getRadioExcludedChannelList),
    FUNCTION(rilk_addVendorIE),
    FUNCTION(rilk_applyBackhaulCredentialToBsta),
    FUNCTION(rilk_delVendorIE),
    FUNCTION(rilk_disConnectSta),
    FUNCTION(rilk_getChannelNolList),
    FUNCTION(rilk_getRadioApInterfaceInfo),
    FUNCTION(rilk_getRadioCurChannel),
    FUNCTION(rilk_getRadioDynParamters),
    FUNCTION(rilk_getRadioStatus),
    FUNCTION(rilk_getVapAssocStationInfo),
    FUNCTION(rilk_getVapAssocStationMac),
    FUNCTION(rilk_getVapAssocStationNumber),
    FUNCTION(rilk_getVapSsid),
    FUNCTION(rilk_getVapStatus),
    FUNCTION(rilk_initScanChannelList),
    FUNCTION(rilk_sendBTMReq),
    FUNCTION(rilk_sendBeaconReq),
    FUNCTION(rilk_set8021dotqCfg),
    FUNCTION(rilk_setBstaAutoConnect),
    FUNCTION(rilk_setMinMaxDwellTime),
    FUNCTION(rilk_setRadioChanSpec),
    FUNCTION(rilk_setRadioCurChannel),
    FUNCTION(rilk_setVapAclMac),
    FUNCTION(rilk_setWNMEnable),
    { "rilk_getAssocReqFrame", assoc_frame },
    { "rilk_getScanChannelResult",
      [](Call &call) { return rilk_getScanChannelResult(argument<const char *>(call), simWorld->channels); } },
    { "rilk_getScanNeighborApOneChannel",
      [](Call &call) {
          const char *radio = argument<const char *>(call);
          return rilk_getScanNeighborApOneChannel(radio, argument<int32_t>(call), simWorld->table.data());
      } },
    { "rilk_triggerScan",
      [](Call &call) {
          const char *radio = argument<const char *>(call);
          const int channel = argument<int32_t>(call);
          return simWorld->trigger(radio, channel, argument<const char *>(call));
      } },
};

/** FUNCTION ARGUMENTS {RECORD} -> RESULT {RECORD}. What a call that fails was given stays as it was, and what stands
 * behind its record always. */
void call_function(const std::string &step) {
    const auto [asked, answer] = halves(step, "->");
    Call call = { split(asked.substr(0, asked.find('{'))), record_of(braced(asked)) };
    const std::string name = call.word();
    ASSERT_TRUE(functions.contains(name)) << "neither a step nor a function";
    const int rc = functions.at(name)(call);
    EXPECT_EQ(rc, number<int>(answer));
    const auto end = call.out.begin() + static_cast<long>(rc == 0 ? call.size : 0);
    EXPECT_EQ(std::count(end, call.out.end(), untouched), call.out.end() - end)
        << "a byte was written behind the record";
    call.out.erase(end, call.out.end());
    const bool isText = answer.find('"') != std::string::npos;
    EXPECT_EQ(isText ? reinterpret_cast<const char *>(call.out.data()) : "", isText ? quoted(answer) : "");
    expect_record(call.out, answer);
}

// --- drelm ---

std::vector<Bytes> datagrams;

/** LINE -> ID INTERFACE {BODY}; LINE -> nothing; LINE -> refused "PART OF THE REASON" */
void drelm(const std::string &step) {
    const auto [line, sent] = halves(step, "->");
    std::string message;
    datagrams.clear();
    const int rc = drelm_run_line(
        line.c_str(), [](const void *at, size_t size) { datagrams.emplace_back(bytes_at(at, size)); }, message);
    const bool isRefused = sent.starts_with("refused");
    EXPECT_EQ(rc == 0, !isRefused);
    EXPECT_TRUE(isRefused ? message.find(quoted(sent)) != std::string::npos : message.empty()) << message;
    ASSERT_EQ(datagrams.size(), isRefused || sent == "nothing" ? 0u : 1u);
    if (datagrams.empty() || sent.empty()) return;
    const char *ifName = reinterpret_cast<const char *>(&datagrams[0][4]);
    EXPECT_EQ(std::to_string(datagrams[0][0]) + " " + (*ifName ? ifName : "-"), sent.substr(0, sent.find(" {")));
    expect_record({ datagrams[0].begin() + 41, datagrams[0].end() }, sent);
}

/** ROW POSITION: a slot of the neighbour table. */
const VeskScanNeighbor *slot(const std::string &step) {
    const Texts words = split(step);
    return simWorld->slot(number<size_t>(words.at(0)), number<size_t>(words.at(1)));
}

/** ROW POSITION {RECORD}, or "none" */
void neighbor(const std::string &step) {
    const VeskScanNeighbor *found = slot(step);
    EXPECT_EQ(!found, step.ends_with("none"));
    if (found) expect_record(bytes_of(*found), step);
}

/** ROW POSITION {RECORD}: of the block that was in this slot. */
void kept(const std::string &step) {
    EXPECT_NE(simWorld->kept, slot(step));
    ASSERT_TRUE(simWorld->kept);
    expect_record(bytes_of(*simWorld->kept), step);
}

const std::map<std::string, void (*)(const std::string &rest)> steps = {
    { "describe", [](const std::string &json) { simWorld->describe(json); } },
    { "undescribe", [](const std::string &) { unlink(simWorld->description.c_str()); } },
    { "station-list",
      [](const std::string &text) { put_file(simWorld->stations.c_str(), replaced(text, "\\n", "\n")); } },
    { "station-list-more",
      [](const std::string &text) {
          const std::string before = file_text(simWorld->stations.c_str());
          put_file(simWorld->stations.c_str(), before + replaced(text, "\\n", "\n"));
      } },
    { "station-list-gone", [](const std::string &) { unlink(simWorld->stations.c_str()); } },
    { "wait", [](const std::string &ms) { sim_advance(number<int>(ms)); } },
    { "noted", [](const std::string &text) { EXPECT_TRUE(simWorld->notes(quoted(text))) << simWorld->logged(); } },
    { "unnoted", [](const std::string &text) { EXPECT_FALSE(simWorld->notes(quoted(text))) << simWorld->logged(); } },
    { "next-line", [](const std::string &begin) { EXPECT_TRUE(simWorld->next_line().starts_with(quoted(begin))); } },
    { "no-line", [](const std::string &) { EXPECT_EQ(simWorld->next_line(), ""); } },
    { "visit", [](const std::string &channel) { simWorld->visit(number<int>(channel)); } },
    { "result",
      [](const std::string &rest) { expect_record(bytes_of(simWorld->records[number<size_t>(rest)]), rest); } },
    { "no-record", [](const std::string &row) { simWorld->channels[number<size_t>(row)] = nullptr; } },
    { "neighbor", neighbor },
    { "keep", [](const std::string &at) { simWorld->kept = slot(at); } },
    { "kept", kept },
    { "drelm", drelm },
    { "share",
      [](const std::string &words) { drelm_share_stations(words == "off" ? nullptr : simWorld->stations.c_str()); } },
    { "shared", [](const std::string &text) { EXPECT_EQ(file_text(simWorld->stations.c_str()), quoted(text)); } },
};

void run_step(const std::string &step) {
    const std::string name = step.substr(0, step.find(' '));
    if (!steps.contains(name)) return call_function(step);
    steps.at(name)(step.substr(std::min(step.size(), name.size() + 1)));
}

struct Rows : testing::TestWithParam<std::string> {
    void TearDown() override { simWorld.reset(), drelm_share_stations(nullptr); }
};

TEST_P(Rows, Hold) {
    const auto begin = [](const std::string &) { simWorld = std::make_unique<SimWorld>(); };
    for (const RowCase &one : row_cases(std::string(VESK_ROWS) + "/" + GetParam() + ".rows"))
        one.run(GetParam() + ".rows", begin, run_step);
}

INSTANTIATE_TEST_SUITE_P(, Rows, testing::ValuesIn(row_files(VESK_ROWS)), [](const auto &file) { return file.param; });
} // namespace
