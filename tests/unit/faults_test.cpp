// The whole daemon while the world around it fails. A row says what is lost, as the methods that answer
// otherwise than usual, and which ERROR lines come in addition. With the world right again, a new start
// answers as usual.
#include <numeric>

#include "foundation/bytes.h"
#include "tests/record_text.h"
#include "tests/unit/daemon_fixture.h"

namespace {
struct Row {
    const char *name, *lost, *logged = "";
};

struct Faults : DaemonTest {
    Answers usual;
    std::set<std::string> usualErrors;

    void SetUp() override { reset(), start(), usual = answers(), usualErrors = errors(), reset(); }
    std::string lost() { return differing(answers(), usual); }
    /** What is lost, and the ERROR lines that came of it, with a bar between them. */
    std::string outcome() {
        const std::string now = lost(); // asks, which is logged
        const std::set<std::string> messages = errors(usualErrors);
        return std::accumulate(messages.begin(), messages.end(), now + "|");
    }
    template <class T>
    static T answered(size_t method, int band) {
        return load_bytes<T>(call(vesk_methods[method], band).result.data());
    }
    void expect_usual_after_restart() {
        reset(), start();
        EXPECT_EQ(lost(), "");
    }
};

/** Function, methods that answer otherwise, lines: of failing_calls.rows. */
std::vector<Texts> failing_calls() {
    std::vector<Texts> rows;
    std::ifstream file(VESK_ROWS "/../failing_calls.rows");
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#') continue;
        const Texts cells = split(line, '|');
        std::string methods;
        for (const std::string &method : split(cells.at(1))) methods += method + " ";
        rows.push_back({ split(cells[0]).at(0), methods, cells.size() > 2 ? quoted(cells[2]) : "" });
    }
    return rows;
}

// clang-format off
// What a single allocation that fails on the way up costs: lost | logged.
#define NO_PRODUCT_FILE "getBstaIntfInfo " "getNeighborAPInfo getOffChannelInfo getRadioCapability getRadioHeCap getRadioHtCap "         \
    "getRadioInfo getRadioVhtCap getStaInfo getVapInfo getVapIntfStats setBstaAutoConnect | Error:num [-1] [min-max) = [0] - [2] is out " \
    "range\n Get vesk config band index failed\n"
const std::set<std::string> failedAllocations = {
    "|", // a log line's text, a timer, or none at all
    NO_PRODUCT_FILE, // the parser says so on stdout
    NO_PRODUCT_FILE " No enough memory\n",
    "getNeighborAPInfo getOffChannelInfo | channel or neighbor calloc NULL\n",
    "getNeighborAPInfo |", // an entry that the library allocates
    "getStaInfo | station store is full, max count is [0]\n",
};

struct Surroundings { Row row; void (*arrange)(); };
int taken; // the socket that holds the event port
const Surroundings surroundings[] = {
    { { "event port taken", "", " Unable to bind to loopback socket" }, [] {
        const sockaddr_in address = { AF_INET, htons(VESK_EVENT_PORT), { htonl(INADDR_LOOPBACK) }, {} };
        taken = socket(AF_INET, SOCK_DGRAM, 0);
        bind(taken, reinterpret_cast<const sockaddr *>(&address), sizeof address); } },
    { { "configuration directory can't be made", "getCurChannelInfo getNeighborAPInfo getOffChannelInfo ",
        " Open vesk configure file [/configs/vesk/vesk.conf] failed\n" }, [] {
        fakeLibc.runSystem = true;
        std::filesystem::remove_all("/configs/vesk");
        put_file("/configs/vesk", ""); } },
    { { "script of the sibling missing", "", " drelm is not exist, start it\n" }, [] { fakeLibc.runSystem = true; } },
    { { "fork fails", "", "" }, [] { fakeLibc.popenFails = true; } },
    { { "no thread to be had", "getNeighborAPInfo " }, [] { fakeLibc.createThreadResult = 11; } },
    { { "no bus", "", "" }, [] { fakeBus.hasContext = false; } },
    { { "disk full", "", "" }, [] { symlink("/dev/full", VESK_LOG_FILE), vesk_init_log(); } },
    { { "log file deleted", "", "" }, [] { vesk_init_log(), unlink(VESK_LOG_FILE); } },
    { { "log file can't be opened", "", "vesk init log error\r\n" }, [] { mkdir(VESK_LOG_FILE, 0755), vesk_init_log(); } },
};
struct Region { const char *name; void *at; size_t size; };
#define REGION(record) { #record, static_cast<void *>(&(record)), sizeof(record) }

/** Where a library puts its answers: records with counts and texts, and some of their counts alone. */
std::vector<Region> answered_by_library(FakeRadio &radio, FakeVap &vap) {
    return { REGION(radio.ap), REGION(radio.ap.vapNums), REGION(radio.hul), REGION(radio.dyn), REGION(radio.channel),
             REGION(radio.cur), REGION(radio.stats), REGION(radio.channels), REGION(radio.channels.chListNums),
             REGION(radio.excluded), REGION(radio.excluded.chListNums), REGION(radio.nol), REGION(vap.cfg), REGION(vap.status),
             REGION(vap.stationCount), REGION(fakeDevice.vap("ath1")->stations[0].entry), REGION(fakeDevice.scan[6]),
             REGION(fakeDevice.neighbors[6][0]) };
}
// clang-format on
} // namespace

TEST_F(Faults, EveryLibraryCallFails) {
    std::map<std::string, std::string> expected; // of every function that the daemon calls
    start(), answers();
    for (const FakeCall &call : fakeDevice.log) expected[call.name] = "|";
    EXPECT_GT(expected.size(), 35u);
    for (const Texts &row : failing_calls()) expected[row.at(0)] = row.at(1) + "|" + row.at(2);
    for (const auto &[function, wanted] : expected) {
        SCOPED_TRACE(function);
        reset();
        fakeDevice.rc[function] = -1, start();
        EXPECT_EQ(outcome(), wanted);
        expect_usual_after_restart();
    }
}

TEST_F(Faults, EveryLibraryCallBlocksForASecond) {
    start();
    const int timers = fakeLoop.pendingTimers();
    reset();
    fakeDevice.onCall = [](const FakeCall &) { fakeLoop.nowMs += 1000; };
    start(), fake_advance(100s);
    EXPECT_EQ(fakeLoop.pendingTimers(), timers); // late, but none is lost
    EXPECT_TRUE(bus_call("getVersionInfo").sent);
}

TEST_F(Faults, EveryAllocationFails) {
    std::set<std::string> outcomes;
    for (bool reached = true; reached;) {
        static int n;
        reset();
        fakeLibc.failAlloc = n++;
        start();
        reached = std::exchange(fakeLibc.failAlloc, -1) < 0;
        outcomes.insert(outcome());
    }
    EXPECT_EQ(outcomes, failedAllocations);
    expect_usual_after_restart();

    for (const WireMethod &method : vesk_methods)
        for (int n = 0; n < 5; n++) {
            SCOPED_TRACE(method.name + std::to_string(n));
            reset(), start();
            fakeLibc.freshReplies = true, fakeLibc.failInCall = n;
            const BusReply reply = call(method, 0);
            fake_advance(5s);
            // The reply's buffer grows with its first byte, and once more with a record that doesn't fit.
            const bool answered = n > 1 || (n == 1 && method.result.size < 200);
            EXPECT_EQ(reply.sent, answered);
            EXPECT_EQ(reply.dispatch, answered ? 0 : -1);
            const bool needed = answered && fakeLibc.failAlloc < 0 && reply.status != call(method, 0).status;
            EXPECT_EQ(needed, n == 1 && std::string_view(method.name) == "setStaMon");
        }
}

TEST_F(Faults, LibraryAnswersGarbage) {
    const size_t regions = answered_by_library(fakeDevice.radio[0], fakeDevice.vaps[0]).size();
    for (size_t i = 0; i < regions * 3; i++) {
        reset();
        SCOPED_TRACE(answered_by_library(fakeDevice.radio[0], fakeDevice.vaps[0])[i / 3].name);
        const int byte = i % 3 == 0 ? 0x7f : i % 3 == 1 ? 0xff : 'x';
        for (FakeRadio &radio : fakeDevice.radio)
            for (FakeVap &vap : fakeDevice.vaps) {
                const Region region = answered_by_library(radio, vap)[i / 3];
                memset(region.at, byte, region.size);
                radio.chip = vap.ssid = fakeDevice.country = std::string(200, 'x'); // never ended
            }
        start(), answers();
        for (int band : { 0, 3 }) {
            const auto radio = answered<WireRadioInfo>(2, band);
            const auto vap = answered<WireVapInfo>(5, band);
            for (const auto &[text, size] : { std::pair(radio.radioIfname, 16),
                                              { radio.bond, 8 },
                                              { radio.countryCode, 8 },
                                              { radio.operatingStandards, 32 },
                                              { vap.ssid, 65 },
                                              { vap.keyPassphrase, 65 } })
                EXPECT_LT(strnlen(text, static_cast<size_t>(size)), size) << std::string(text, 8);
            EXPECT_LE(static_cast<uint32_t>(radio.chListNums), 64u);
            EXPECT_LE(static_cast<uint32_t>(answered<WireApIntfsInfo>(3, band).vapNums), 8u);
            EXPECT_LE(answered<uint32_t>(7, band), 256u); // stations
            EXPECT_LE(answered<uint8_t>(26, band), 59);   // NOL channels
        }
        expect_usual_after_restart();
    }
}

TEST_F(Faults, Surroundings) {
    for (const auto &[row, arrange] : surroundings) {
        SCOPED_TRACE(row.name);
        reset();
        FILE *const captured = vesk_get_vesk_info()->logFile;
        arrange(), start();
        EXPECT_EQ(lost(), row.lost);
        EXPECT_NE((fake_log() + fake_stderr()).find(row.logged), std::string::npos);
        if (vesk_get_vesk_info()->logFile != captured) vesk_log_redirect(nullptr);
        close(std::exchange(taken, -1));
        remove(VESK_LOG_FILE);
        if (!std::filesystem::is_directory("/configs/vesk")) remove("/configs/vesk");
        expect_usual_after_restart();
    }
}
