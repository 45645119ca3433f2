// Scan threads beside the main loop, everything built for the thread sanitizer: first scans are asked for
// again and again while passes, calls and switches go on. What the sanitizer finds stands in files of its
// own.
#include "tests/system/harness.h"

#include <filesystem>
#include <span>

#include "include/vesk_event.h"

namespace {

const char sanitizer[] = "log_path=/tmp/output/tsan exitcode=66 history_size=7 "
                         "suppressions=" VESK_SOURCE_DIR "/tests/system/tsan.supp";

/** Four channels a radio, no stations, passes as often as they go: a sweep takes two of three seconds, so a
 * pass meets it at every stage. The delay comes just behind a thread's first look at the switches: what the
 * main loop does to them meanwhile has no order that a lock has made by chance. */
void restless_device() {
    write_file("/tmp/vesk-sim.json", R"({"functions":{"rilk_setEnableNoiseFloor":{"delayMs":50}},"radios":[
               {"channels":[1,6,11,13],"channel":6,"vaps":[{"name":"ath0","stations":[]}]},
               {"channels":[36,40,44,60],"channel":36,"vaps":[{"name":"ath10","stations":[]}]}]})");
    configure("VESK_SCAN_CONFIG=1\nVESK_SCAN_FIRST_INTERVAL=0\nVESK_SCAN_24G_INTERVAL=5\n"
              "VESK_SCAN_24G_TX_THRESHOLD=100\nVESK_SCAN_24G_RX_THRESHOLD=100\n"
              "VESK_SCAN_5GA_TX_THRESHOLD=100\nVESK_SCAN_5GA_RX_THRESHOLD=100\n");
}

/** Calls on one radio, each of which has to succeed. */
void ask(Bus &bus, uint32_t band, std::initializer_list<const char *> methods) {
    const WireChannel other = { band == 0 ? 1 : 40, 5 }; // for setChannel
    for (const char *method : methods) {
        const Answer answer = bus.call(method, [&](blob_buf *b) {
            blobmsg_add_u32(b, "band", band);
            blobmsg_add_field(b, BLOBMSG_TYPE_UNSPEC, "data", &other, sizeof other);
        });
        ASSERT_EQ(answer.status, 0) << method << " " << band;
        ASSERT_EQ(answer.result, 0) << method << " " << band;
    }
}

ptrdiff_t count(const std::string &text, const std::string &part) {
    ptrdiff_t found = 0;
    for (size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size()) found++;
    return found;
}

/** A line of the log and how often it stands there at least. */
struct Work {
    const char *line;
    int least;
};

/** A sweep is four steps, and the first isn't asked for. */
const Work amongPasses[] = {
    { "usleep=500ms, radio[0]", 16 },
    { "usleep=500ms, radio[1]", 16 },
    { "band[0], just first scan now, not retrigger", 100 },
    { "| vesk_scan_2G_result_ubus_handle:", 1 },
    { "| vesk_scan_5GA_result_ubus_handle:", 1 },
    { " vesk_channel_change_handle curChannel=", 2 },
};

/** Lines that a refresh, a channel change and both ways of sweeping leave, beside each other. */
const Work besideSweeps[] = {
    { "usleep=500ms, radio[0]", 16 },
    { " start to get acs scan result, band=1", 4 },
    { " vesk_channel_change_handle curChannel=", 8 },
    { "vapName=ath0, status change from", 8 },
    { " found the baseVap=ath1", 2 },
};

/** Radio 1 takes its whole list in one command. In its other state the device has other channels, another VAP that
 * can carry a scan, and one more. */
void changing_device(bool other) {
    write_file("/tmp/vesk-sim.new", other ? R"({"radios":[
        {"channels":[1,6,11,13],"channel":1,"vaps":[{"name":"ath0","status":0,"stations":[]},{"name":"ath1","stations":[]}]},
        {"chip":"MTK7612","channels":[36,40,44,60],"channel":40,"vaps":[{"name":"ath10","stations":[]}]}]})"
                                          : R"({"radios":[
        {"channels":[1,6,11,13],"channel":6,"vaps":[{"name":"ath0","stations":[]}]},
        {"chip":"MTK7612","channels":[36,40,44,60],"channel":36,"vaps":[{"name":"ath10","stations":[]}]}]})");
    rename("/tmp/vesk-sim.new", "/tmp/vesk-sim.json");
}

struct ScanThreads : System {
    /** Both programs, the daemon's log in a file that isn't rotated. */
    void start() {
        setenv("TSAN_OPTIONS", sanitizer, 1);
        startBoth();
        Bus().send(VESK_SIGNAL_SET_LOG_DESTINATION, std::string(4, '\0') + "/tmp/whole.log" + std::string(18, '\0'));
    }
    static bool is_done(std::span<const Work> work) {
        const std::string log = read_file("/tmp/whole.log");
        return std::ranges::all_of(work, [&](const Work &w) { return count(log, w.line) >= w.least; });
    }
    /** Nothing was found, and there was something to be found. */
    void expect_no_report(std::span<const Work> work) {
        kill(daemon.pid, SIGTERM);
        EXPECT_EQ(finish(daemon), 0);
        broker.kill();
        for (const auto &file : std::filesystem::directory_iterator("/tmp/output"))
            EXPECT_FALSE(contains(file.path(), "/tsan.")) << read_file(file.path());
        const std::string log = read_file("/tmp/whole.log");
        for (const auto &[line, least] : work) EXPECT_GE(count(log, line), least) << line;
    }
};

TEST_F(ScanThreads, ShareNothingUnseenWithTheMainLoop) {
    restless_device();
    start();
    Bus bus;
    bool isLate = false;
    for (int round = 0; round < 100000 && !HasFatalFailure(); round++, usleep(1000)) {
        if (round % 100 == 99) {
            if (isLate && is_done(amongPasses)) break;
            isLate = isLate || is_done(std::span(amongPasses).first(3)); // of the sweeps
        }
        for (const uint32_t band : { 0u, 3u }) {
            if (round == 0) ask(bus, band, { "setChannel" });
            // Late: passes beside a sweep that no other waits for, and behind a last one, whose end no start has
            // ordered.
            if (!isLate || (band != 0 && round % 500 == 0)) ask(bus, band, { "triggerScan" });
            ask(bus, band, { "getNeighborAPInfo", "getOffChannelInfo", "getCurChannelInfo" });
            if (round % 20 == 0) // rarely: their way through the device library orders the threads
                ask(bus, band, { "getScanStatus", "getRadioInfo", "getScanCap", "getChannel" });
        }
        if (isLate && round % 20 == 10) // a sweep that starts now stays owed for good
            bus.send(VESK_SIGNAL_SET_SCAN_ENABLE, word(0));
        bus.send(VESK_SIGNAL_SET_SCAN_ENABLE, word(1));
    }
    expect_no_report(amongPasses);
}

TEST_F(ScanThreads, SweepBesideRefreshesAndChannelChanges) {
    changing_device(false);
    configure("VESK_SCAN_CONFIG=1\nVESK_SCAN_FIRST_INTERVAL=0\nVESK_UPDATE_INTF_ENABLE=1\n"
              "VESK_UPDATE_INTF_INTERVAL=1\nVESK_CH_CHANGE_INTERVAL=1\n");
    start();
    Bus bus;
    for (int round = 0; !is_done(besideSweeps) && round < 300 && !HasFatalFailure(); round++, usleep(700000)) {
        changing_device(round % 2 == 0);
        for (const uint32_t band : { 0u, 3u }) ask(bus, band, { "triggerScan" });
    }
    expect_no_report(besideSweeps);
}

} // namespace
