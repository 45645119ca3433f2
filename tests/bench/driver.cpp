// Measures the daemon against the bare servers on one broker, in alternating blocks of one run, and prints a
// table: medians and their ratio. Started by scripts/bench inside a private root with everything running.
//   vesk-bench PID-OF-VESK PID-OF-ECHO CONTROL-SOCKET [FILE.json]
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "foundation/ubus_headers.h"
#include "include/vesk_event.h"

namespace {
using Clock = std::chrono::steady_clock;
constexpr int blocks = 15;      // of each side, alternating
constexpr double blockMs = 150; // length of a block
constexpr int eventsPerBlock = 3000;
constexpr int window = 48; // datagrams under way: a socket's default buffer holds more

ubus_context *ctx;
std::string json; // the rows printed so far

const auto ms_since = [](Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
};

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

[[noreturn]] void give_up(const std::string &why) {
    fprintf(stderr, "vesk-bench: %s\n", why.c_str());
    exit(1);
}

/** A figure; with a goal it is a ratio, to be reached or not to be exceeded. */
void row(const std::string &what, double measured, double bare = 0, double goal = 0, bool lowerIsBetter = false) {
    const double ratio = bare > 0 ? measured / bare : measured;
    const bool met = lowerIsBetter ? ratio <= goal : ratio >= goal;
    char line[256];
    int size = snprintf(line, sizeof line, R"({"what": "%s", "measured": %g)", what.c_str(), measured);
    printf("%-44s %12.1f", what.c_str(), measured);
    if (goal > 0) {
        printf(" %12.1f %8.3f   %s %.2f  %s", bare, ratio, lowerIsBetter ? "<=" : ">=", goal, met ? "met" : "MISSED");
        size += snprintf(line + size, sizeof line - size, R"(, "bare": %g, "ratio": %g, "goal": %g, "met": %s)", bare,
                         ratio, goal, met ? "true" : "false");
    }
    puts("");
    json += (json.empty() ? "[" : ",\n ") + std::string(line) + "}";
}

using Measure = std::function<double()>;

/** Medians of both sides, in alternating blocks. */
void compare(const std::string &what, double goal, int times, const Measure &measured, const Measure &bare) {
    std::vector<double> all[2];
    for (int i = 0; i < times; i++) {
        all[1].push_back(bare());
        all[0].push_back(measured());
    }
    row(what, median(all[0]), median(all[1]), goal);
}

// --- calls ---

using Fill = std::function<void(blob_buf *)>;

uint32_t object_id(const char *name) {
    uint32_t id = 0;
    if (ubus_lookup_id(ctx, name, &id) != 0 || id == 0) give_up(std::string(name) + " isn't on the bus");
    return id;
}

double calls_per_second(const char *object, const char *method, const Fill &fill) {
    const uint32_t id = object_id(object);
    blob_buf args = {};
    blob_buf_init(&args, 0);
    fill(&args);
    const Clock::time_point start = Clock::now();
    int n = 0;
    while (ms_since(start) < blockMs)
        for (int i = 0; i < 20; i++, n++)
            if (ubus_invoke(ctx, id, method, args.head, nullptr, nullptr, 5000) != 0) give_up("a call fails");
    blob_buf_free(&args);
    return n * 1000.0 / ms_since(start);
}

/** Calls of the bare server, whose replies have this size. */
double echoes_per_second(uint32_t size) {
    return calls_per_second("bench.echo", "echo", [=](blob_buf *b) { blobmsg_add_u32(b, "size", size); });
}

void compare_calls(const char *method, const Fill &fill, uint32_t size, double goal) {
    compare(
        std::string(method) + " (calls per s)", goal, blocks,
        [&] { return calls_per_second(VESK_BUS_OBJECT, method, fill); }, [&] { return echoes_per_second(size); });
}

/** A long message must not cost more per byte than a shorter one: buffers are kept, not cleared anew for each. */
void compare_lengths() {
    const auto rate = [](uint32_t size) { return [=] { return size / 1e6 * echoes_per_second(size); }; };
    compare("MB per s, replies of 73,752 against 29,704 B", 1.0, blocks, rate(sizeof(WireStaInfo)),
            rate(sizeof(WireNbAPInfo)));
}

/** The first statement after the log has outgrown 1 MiB packs it, and the call waits. The file is filled with
 * what the daemon itself has logged. */
void measure_rotation() {
    const uint32_t id = object_id(VESK_BUS_OBJECT);
    std::stringstream log;
    log << std::ifstream("/tmp/vesk.log").rdbuf();
    std::vector<double> stalls;
    for (int i = 0; i < 5; i++) {
        std::ofstream file("/tmp/vesk.log", std::ios::app);
        while (file.tellp() <= 1 << 20) file << log.str() << "\n";
        file.close();
        const Clock::time_point start = Clock::now();
        if (ubus_invoke(ctx, id, "getScanStatus", nullptr, nullptr, nullptr, 5000) != 0) give_up("a call fails");
        stalls.push_back(ms_since(start));
    }
    row("a call that waits for a log rotation (ms)", median(stalls));
}

// --- events ---

int received;

void serve_until(int wanted, double limitMs) {
    const Clock::time_point start = Clock::now();
    while (received < wanted && ms_since(start) < limitMs) {
        pollfd bus = { ctx->sock.fd, POLLIN, 0 };
        if (poll(&bus, 1, 2) > 0) ubus_handle_event(ctx);
    }
}

using SendEvent = std::function<void(int number)>;

/** Events per second from what is sent to a listener's signal, none lost. */
double events_per_second(const SendEvent &send_event) {
    received = 0;
    const Clock::time_point start = Clock::now();
    for (int sent = 0; sent < eventsPerBlock;) {
        while (sent < eventsPerBlock && sent - received < window) send_event(sent++);
        serve_until(sent - window / 2, 5000);
    }
    serve_until(eventsPerBlock, 5000);
    if (received != eventsPerBlock) give_up(std::to_string(received) + " events arrived");
    return eventsPerBlock * 1000.0 / ms_since(start);
}

/** Sends joins as datagrams. */
SendEvent datagrams_to(int fd, uint16_t port) {
    struct [[gnu::packed]] {
        VeskEventHeader header;
        VeskClientJoinEvent body;
    } datagram = {};
    datagram.header.eventId = VESK_EVENT_CLIENT_JOIN;
    memcpy(datagram.header.ifName, "ath0", 5);
    return [=](int number) mutable {
        const sockaddr_in to = { AF_INET, htons(port), { htonl(INADDR_LOOPBACK) }, {} };
        datagram.body.join.mac_addr[0] = 2;
        datagram.body.join.bssid[0] = 2; // the ordinary case: the event brings it
        datagram.body.join.mac_addr[5] = static_cast<uint8_t>(number % 60);
        sendto(fd, &datagram, sizeof datagram, 0, reinterpret_cast<const sockaddr *>(&to), sizeof to);
    };
}

/** hostapd as drelm meets it: a control socket, on which it has attached when this is back. */
struct ScriptedHostapd {
    int fd = socket(AF_UNIX, SOCK_DGRAM, 0);
    sockaddr_un listener = {};
    socklen_t length = 0;

    explicit ScriptedHostapd(const char *path) {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        snprintf(address.sun_path, sizeof address.sun_path, "%s", path);
        unlink(path);
        if (bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) exit(1);
        for (int command = 0; command < 3; command++) answer(0); // ATTACH, SET, STATUS
    }
    bool answer(int flags) {
        char text[128];
        socklen_t size = sizeof listener;
        if (recvfrom(fd, text, sizeof text, flags, reinterpret_cast<sockaddr *>(&listener), &size) < 0) return false;
        length = size;
        tell("OK\n");
        return true;
    }
    void tell(const char *text) const {
        sendto(fd, text, strlen(text), 0, reinterpret_cast<const sockaddr *>(&listener), length);
    }
    /** Joins and leaves in turn. */
    SendEvent events() {
        return [this](int number) {
            char text[64];
            while (answer(MSG_DONTWAIT)) {
            } // who attaches again in a storm
            snprintf(text, sizeof text, "<3>AP-STA-%sCONNECTED 02:42:00:00:00:01", number % 2 ? "DIS" : "");
            tell(text);
        };
    }
};

void set_log_level(uint32_t level) {
    const WireLogSetting record = { level, {} };
    blob_buf buf = {};
    blob_buf_init(&buf, 0);
    blobmsg_add_field(&buf, BLOBMSG_TYPE_UNSPEC, "payload", &record, sizeof record);
    ubus_send_event(ctx, VESK_SIGNAL_SET_LOG_LEVEL, buf.head);
    blob_buf_free(&buf);
    usleep(100000);
}

/** One event after the other: the time that 99 of 100 stay below, in ms. */
double slow_event(const SendEvent &send_event) {
    std::vector<double> times;
    received = 0;
    for (int i = 0; i < 1000; i++) {
        const Clock::time_point start = Clock::now();
        send_event(i);
        serve_until(i + 1, 5000);
        times.push_back(ms_since(start));
    }
    std::sort(times.begin(), times.end());
    return times[times.size() * 99 / 100];
}

void compare_events(const char *controlSocket) {
    static ubus_event_handler handler = {};
    handler.cb = [](ubus_context *, ubus_event_handler *, const char *, blob_attr *) { received++; };
    for (const char *name : { VESK_SIGNAL_CLIENT_JOIN, VESK_SIGNAL_CLIENT_LEAVE, "bench.event.signal" })
        ubus_register_event_handler(ctx, &handler, name);
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    ScriptedHostapd hostapd(controlSocket);
    struct Row {
        const char *what;
        uint32_t level;
        SendEvent measured;
        double goal;
    };
    const Row rows[] = {
        { "datagram to signal, log level 3 (per s)", 3, datagrams_to(fd, VESK_EVENT_PORT), 0.85 },
        { "datagram to signal, log level 6 (per s)", 6, datagrams_to(fd, VESK_EVENT_PORT), 0.35 },
        { "hostapd's event to signal (per s)", 3, hostapd.events(), 0.5 },
    };
    for (const Row &each : rows) {
        set_log_level(each.level);
        compare(
            each.what, each.goal, 5, [&] { return events_per_second(each.measured); },
            [&] { return events_per_second(datagrams_to(fd, VESK_EVENT_PORT + 1)); });
    }
    row("hostapd's event to signal, 99 of 100 (ms)", slow_event(hostapd.events()), 0, 10, true);
    ubus_unregister_event_handler(ctx, &handler);
    close(fd);
}

// --- memory and idle cost ---

/** The number behind a word of the process's status. */
double status_of(int pid, const std::string &key) {
    std::ifstream words("/proc/" + std::to_string(pid) + "/status");
    double value = 0;
    for (std::string word; words >> word;)
        if (word == key) words >> value;
    return value;
}

const auto resident = [](int pid) { return status_of(pid, "VmRSS:"); };
const auto switches = [](int pid) { return status_of(pid, "voluntary_ctxt_switches:"); };

double cpu_ms(int pid) {
    double ns = 0;
    std::ifstream("/proc/" + std::to_string(pid) + "/schedstat") >> ns;
    return ns / 1e6;
}

void measure_idle(int pid, int seconds) {
    const double wakeups = switches(pid), cpu = cpu_ms(pid);
    sleep(static_cast<unsigned>(seconds));
    row("idle: wake-ups per second", (switches(pid) - wakeups) / seconds, 0, 2.0, true);
    row("idle: CPU in an hour, from " + std::to_string(seconds) + " s (ms)", (cpu_ms(pid) - cpu) * 3600.0 / seconds);
}
} // namespace

int main(int argc, char **argv) {
    ctx = argc < 4 ? nullptr : ubus_connect("/var/run/ubus.sock");
    if (!ctx) return 2;
    const int vesk = atoi(argv[1]), echo = atoi(argv[2]);
    const char *idle = getenv("VESK_BENCH_IDLE");
    auto band = [](blob_buf *b) { blobmsg_add_u32(b, "band", 3); };
    auto ath0 = [](blob_buf *b) { blobmsg_add_string(b, "vapName", "ath0"); };
    printf("%-44s %12s %12s %8s   goal\n", "", "vesk", "bare", "ratio");
    row("resident memory, idle (KiB)", resident(vesk), resident(echo), 3.0, true);
    set_log_level(3);
    compare_calls(
        "getVersionInfo", [](blob_buf *) {}, sizeof(WireVersionInfo), 0.95);
    compare_calls("getRadioInfo", band, sizeof(WireRadioInfo), 0.97);
    compare_calls("getVapInfo", ath0, sizeof(WireVapInfo), 0.95);
    compare_calls("getStaInfo", ath0, sizeof(WireStaInfo), 0.85);
    compare_calls("getNeighborAPInfo", band, sizeof(WireNbAPInfo), 0.85);
    compare_lengths();
    compare_events(argv[3]);
    measure_rotation();
    row("resident memory, full (KiB)", resident(vesk), resident(echo), 3.0, true);
    measure_idle(vesk, idle ? atoi(idle) : 30);
    if (argc > 4) std::ofstream(argv[4]) << json << "]\n";
    ubus_free(ctx);
}
