// The three fakes that unit tests link instead of the closed libraries, the bus and the event loop, and the
// wrapped libc calls. Every call into a closed library is recorded with its arguments; answers are set per
// test; the event loop has a virtual clock. Unit tests run in a private root, so absolute paths are real and
// private.
#pragma once

#include <chrono>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "foundation/ubus_headers.h"
#include "include/hul.h"
#include "include/merka.h"
#include "include/rilk.h"
#include "tests/bytes.h"

using namespace std::chrono_literals;

/** One recorded call of a closed library or a wrapped libc function. */
struct FakeCall {
    std::string name;           // "rilk_triggerScan"
    std::string args;           // readable: "wifi0 channel=6 dwell=150 baseVap=ath0"
    std::vector<uint8_t> bytes; // the record handed over, where there is one
};

struct FakeStation {
    uint8_t mac[6] = {}; // what the position query answers; zero is allowed
    VeskStaEntry entry = {};
};

struct FakeVap {
    std::string name, ssid;
    uint8_t status = 1, bssid[6] = {};
    HulVapCfg cfg = {};
    VeskIntfStats stats = {};
    std::vector<FakeStation> stations;
    int32_t stationCount = -1; // what the count query answers; -1: as many as there are
};

struct FakeRadio {
    VeskApIntfInfo ap = {};
    HulRadioInfo hul = {};
    uint8_t status = 1;
    RilkRadioDynParams dyn = {};
    std::string chip = "SIM";
    int32_t channel = 0;
    float power = 20.0f;
    VeskCurChannelInfo cur = {};
    HulChannelList channels = {};
    HulExcludedChannelList excluded = {};
    RilkNolList nol = {};
    VeskIntfStats stats = {};
};

/** The device behind librilk and libhul. The default: wifi0 (channels 1, 6, 11 on channel 6; ath0 fronthaul,
 *  ath1 backhaul BSS) and wifi1 (36, 40, 44, 48 on 36; ath10, ath11), both up, enabled, ACS on, role 2. */
struct FakeDevice {
    int32_t role = 2;
    std::string country = "DE";
    FakeRadio radio[2];
    std::vector<FakeVap> vaps;
    std::map<int, VeskScanChannel> scan;                    // result by channel; absent: ch stays as it was
    std::map<int, std::vector<VeskScanNeighbor>> neighbors; // by channel
    std::vector<uint8_t> assocFrame;
    std::map<std::string, int> rc;                // result by function; absent: 0
    std::function<void(const FakeCall &)> onCall; // runs after each record
    std::vector<FakeCall> log;

    FakeVap *vap(const std::string &name);
    FakeVap &addVap(int radio, const std::string &name, uint8_t attr = 0);
    /** Puts a station on a VAP: entry.mac, entry.vapIntf and the position answer are filled from `mac`. */
    FakeStation &addStation(const std::string &vap, const uint8_t (&mac)[6]);
    /** The recorded calls of one function, in order. */
    std::vector<FakeCall> calls(const std::string &name) const;
    int count(const std::string &name) const { return static_cast<int>(calls(name).size()); }
};

struct FakeSignal {
    std::string name; // full name
    std::vector<uint8_t> payload;
};

struct FakeBus {
    bool hasContext = true;
    int addObjectResult = 0, removeObjectResult = 0;
    std::vector<FakeSignal> signals;           // merkaSendSignal
    std::vector<std::string> calls;            // "ubus_add_object tamlo.pelk.vesk", "merkaAddInterestedSignal ..."
    std::vector<std::string> fatal;            // merkaLogFatalReal: "882 register_vesk_service text"
    const MerkaSignalRow *rows = nullptr;      // merkaSetInteresetedSignals
    std::vector<std::vector<uint8_t>> replies; // the message of each ubus_send_reply
};

struct FakeLoop {
    int64_t nowMs = 0;                              // virtual monotonic clock since reset
    int64_t wallSec = 1700000000;                   // time(NULL) at nowMs 0; advances with the virtual clock
    std::vector<uloop_fd *> fds;                    // uloop_fd_add
    std::multimap<int64_t, uloop_timeout *> timers; // pending, by time; of equals the one that was armed first
    int pendingTimers() const { return static_cast<int>(timers.size()); }
    /** Milliseconds until this timer fires, -1 if it isn't pending. */
    int64_t due(const uloop_timeout *timer) const;
};

struct FakeLibc {
    std::vector<std::string> systems, popens; // commands, in order
    int openPipes = 0;                        // of them
    std::vector<unsigned> sleepsUs;           // usleep and sleep, microseconds
    bool runSystem = true;                    // false: recorded only, answers 0
    bool realThreads = false;                 // false: a detached thread's function runs at once, on the caller
    std::string popenOutput;                  // of each command
    bool popenFails = false;
    bool statFails = false; // no log file to be seen: saves a system call for each statement
    std::function<void(unsigned us)> onSleep;
    int failAlloc = -1;        // countdown: the n-th malloc/calloc/realloc from now on answers NULL (0: the next)
    int failInCall = -1;       // the same from the next bus call's dispatch on
    bool freshReplies = false; // a reply's buffer takes its memory anew in each call
    int createThreadResult = 0;
};

extern FakeDevice fakeDevice;
extern FakeBus fakeBus;
extern FakeLoop fakeLoop;
extern FakeLibc fakeLibc;

/** Fresh fakes, zeroed daemon records, logging to stderr captured into fake_log(), level 7. Call in SetUp. */
void fake_reset();
/** Runs everything that falls due within the span, in order of time. */
void fake_advance(std::chrono::milliseconds span);
/** What the daemon logged since fake_reset or fake_clear_log (whole lines with their prefix). */
std::string fake_log();
void fake_clear_log();
/** Whether a line of this level ("ERROR") and exactly this message was logged; "" matches any level, any
 * function. */
bool fake_logged(const std::string &level, const std::string &message, const std::string &function = "");
struct FakeLogLine {
    std::string level;    // "INFO"
    std::string function; // "vesk_scan_process"
    std::string message;
};
std::vector<FakeLogLine> fake_log_lines();
/** What was written to stderr besides the log since then. */
std::string fake_stderr();

/** A product configuration that matches the default fake device, put into the records (no file). */
void fake_load_product();
