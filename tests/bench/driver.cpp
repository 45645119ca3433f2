// Measures the daemon against the bare servers on one broker, in alternating blocks of one run, and prints a
// table: medians and their ratio. Started by scripts/bench inside a private root with everything running.
//   vesk-bench PID-OF-VESK PID-OF-ECHO [FILE.json]
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cjson/cJSON.h>

#include "foundation/ubus_headers.h"
#include "include/vesk_event.h"

namespace
{
using Clock = std::chrono::steady_clock;
constexpr int blocks = 15;      // of each side, alternating
constexpr double blockMs = 150; // length of a block
constexpr int eventsPerBlock = 3000;
constexpr int window = 48; // datagrams under way: a socket's default buffer holds more

ubus_context *ctx;
cJSON *results;

double ms_since(Clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

uint32_t object_id(const char *name)
{
    uint32_t id = 0;
    if (ubus_lookup_id(ctx, name, &id) != 0 || id == 0) {
        fprintf(stderr, "vesk-bench: %s isn't on the bus\n", name);
        exit(1);
    }
    return id;
}

void row(const char *what, double measured, double bare, double goal, bool lowerIsBetter = false)
{
    const double ratio = bare > 0 ? measured / bare : measured;
    const bool met = lowerIsBetter ? ratio <= goal : ratio >= goal;
    printf("%-44s %12.1f %12.1f %8.3f   %s %.2f  %s\n", what, measured, bare, ratio,
           lowerIsBetter ? "<=" : ">=", goal, met ? "met" : "MISSED");
    cJSON *r = cJSON_CreateObject();
    cJSON_AddStringToObject(r, "what", what);
    cJSON_AddNumberToObject(r, "measured", measured);
    cJSON_AddNumberToObject(r, "bare", bare);
    cJSON_AddNumberToObject(r, "ratio", ratio);
    cJSON_AddNumberToObject(r, "goal", goal);
    cJSON_AddBoolToObject(r, "met", met);
    cJSON_AddItemToArray(results, r);
}

// --- calls ---

struct Call {
    uint32_t object;
    const char *method;
    blob_buf args;
};

double calls_per_second(Call &call)
{
    const Clock::time_point start = Clock::now();
    int n = 0;
    while (ms_since(start) < blockMs)
        for (int i = 0; i < 20; i++, n++)
            if (ubus_invoke(ctx, call.object, call.method, call.args.head, nullptr, nullptr, 5000) != 0)
                exit(1);
    return n * 1000.0 / ms_since(start);
}

void compare_calls(const char *what, const char *method, const std::function<void(blob_buf *)> &fill,
                   uint32_t size, double goal)
{
    Call measured = { object_id(VESK_BUS_OBJECT), method, {} },
         bare = { object_id("bench.echo"), "echo", {} };
    blob_buf_init(&measured.args, 0);
    fill(&measured.args);
    blob_buf_init(&bare.args, 0);
    blobmsg_add_u32(&bare.args, "size", size);
    std::vector<double> a, b;
    for (int i = 0; i < blocks; i++) {
        b.push_back(calls_per_second(bare));
        a.push_back(calls_per_second(measured));
    }
    row(what, median(a), median(b), goal);
    blob_buf_free(&measured.args);
    blob_buf_free(&bare.args);
}

// --- events ---

int received;
void count_event(ubus_context *, ubus_event_handler *, const char *, blob_attr *)
{
    received++;
}

void serve_until(int wanted, double limitMs)
{
    const Clock::time_point start = Clock::now();
    while (received < wanted && ms_since(start) < limitMs) {
        fd_set set;
        FD_ZERO(&set);
        FD_SET(ctx->sock.fd, &set);
        timeval wait = { 0, 2000 };
        if (select(ctx->sock.fd + 1, &set, nullptr, nullptr, &wait) > 0)
            ubus_handle_event(ctx);
    }
}

/** Datagrams per second from intake to a listener's signal, none lost. */
double events_per_second(int fd, uint16_t port)
{
    struct [[gnu::packed]] {
        VeskEventHeader header;
        VeskClientJoinEvent body;
    } datagram = {};
    datagram.header.eventId = VESK_EVENT_CLIENT_JOIN;
    memcpy(datagram.header.ifName, "ath0", 5);
    sockaddr_in to = {};
    to.sin_family = AF_INET;
    to.sin_port = htons(port);
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    received = 0;
    const Clock::time_point start = Clock::now();
    for (int sent = 0; sent < eventsPerBlock;) {
        while (sent < eventsPerBlock && sent - received < window) {
            datagram.body.join.mac_addr[0] = 2;
            datagram.body.join.mac_addr[5] = static_cast<uint8_t>(sent % 60);
            sendto(fd, &datagram, sizeof datagram, 0, reinterpret_cast<sockaddr *>(&to), sizeof to);
            sent++;
        }
        serve_until(sent - window / 2, 5000);
    }
    serve_until(eventsPerBlock, 5000);
    if (received != eventsPerBlock) {
        fprintf(stderr, "vesk-bench: %d of %d events arrived\n", received, eventsPerBlock);
        exit(1);
    }
    return eventsPerBlock * 1000.0 / ms_since(start);
}

void set_log_level(uint32_t level)
{
    const WireLogSetting record = { level, {} };
    blob_buf buf = {};
    blob_buf_init(&buf, 0);
    blobmsg_add_field(&buf, BLOBMSG_TYPE_UNSPEC, "payload", &record, sizeof record);
    ubus_send_event(ctx, VESK_BUS_OBJECT ".setLogLevel", buf.head);
    blob_buf_free(&buf);
    usleep(100000);
}

void compare_events()
{
    static ubus_event_handler handler = {};
    handler.cb = count_event;
    ubus_register_event_handler(ctx, &handler, VESK_SIGNAL_CLIENT_JOIN);
    ubus_register_event_handler(ctx, &handler, "bench.event.signal");
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    std::vector<double> quiet, full, bare;
    for (int i = 0; i < 5; i++) {
        set_log_level(3);
        bare.push_back(events_per_second(fd, VESK_EVENT_PORT + 1));
        quiet.push_back(events_per_second(fd, VESK_EVENT_PORT));
        set_log_level(6);
        full.push_back(events_per_second(fd, VESK_EVENT_PORT));
    }
    row("datagram to signal, log level 3 (per s)", median(quiet), median(bare), 0.85);
    row("datagram to signal, log level 6 (per s)", median(full), median(bare), 0.35);
    ubus_unregister_event_handler(ctx, &handler);
    close(fd);
}

// --- memory and idle cost ---

double status_value(int pid, const char *key)
{
    char path[64], line[256];
    snprintf(path, sizeof path, "/proc/%d/status", pid);
    FILE *f = fopen(path, "r");
    double value = 0;
    while (f && fgets(line, sizeof line, f))
        if (strncmp(line, key, strlen(key)) == 0)
            value = atof(line + strlen(key) + 1);
    if (f)
        fclose(f);
    return value;
}

double cpu_ms(int pid)
{
    char path[64];
    unsigned long user = 0, system = 0;
    snprintf(path, sizeof path, "/proc/%d/stat", pid);
    if (FILE *f = fopen(path, "r")) {
        if (fscanf(f, "%*d %*s %*c %*d %*d %*d %*d %*d %*u %*u %*u %*u %*u %lu %lu", &user, &system) != 2)
            user = 0;
        fclose(f);
    }
    return static_cast<double>(user + system) * 1000.0 / static_cast<double>(sysconf(_SC_CLK_TCK));
}

void measure_idle(int pid, int seconds)
{
    const double switches = status_value(pid, "voluntary_ctxt_switches"), cpu = cpu_ms(pid);
    sleep(static_cast<unsigned>(seconds));
    const double wakeups = (status_value(pid, "voluntary_ctxt_switches") - switches) / seconds;
    row("idle: wake-ups per second", wakeups, 0, 2.0, true);
    printf("%-44s %12.1f (scaled from %d s)\n", "idle: CPU in an hour (ms)",
           (cpu_ms(pid) - cpu) * 3600.0 / seconds, seconds);
}
} // namespace

int main(int argc, char **argv)
{
    if (argc < 3)
        return 2;
    const int vesk = atoi(argv[1]), echo = atoi(argv[2]);
    const char *idle = getenv("VESK_BENCH_IDLE");
    results = cJSON_CreateArray();
    ctx = ubus_connect("/var/run/ubus.sock");
    if (!ctx)
        return 1;
    auto band = [](blob_buf *b) { blobmsg_add_u32(b, "band", 3); };
    auto ath0 = [](blob_buf *b) { blobmsg_add_string(b, "vapName", "ath0"); };
    printf("%-44s %12s %12s %8s   %s\n", "", "vesk", "bare", "ratio", "goal");
    row("resident memory, idle (KiB)", status_value(vesk, "VmRSS"), status_value(echo, "VmRSS"), 3.0, true);
    set_log_level(3);
    compare_calls(
        "getVersionInfo (calls per s)", "getVersionInfo", [](blob_buf *) {}, sizeof(WireVersionInfo), 0.95);
    compare_calls("getRadioInfo (calls per s)", "getRadioInfo", band, sizeof(WireRadioInfo), 0.97);
    compare_calls("getVapInfo (calls per s)", "getVapInfo", ath0, sizeof(WireVapInfo), 0.95);
    compare_calls("getStaInfo (calls per s)", "getStaInfo", ath0, sizeof(WireStaInfo), 0.85);
    compare_calls("getNeighborAPInfo (calls per s)", "getNeighborAPInfo", band, sizeof(WireNbAPInfo), 0.85);
    compare_events();
    row("resident memory, full tables (KiB)", status_value(vesk, "VmRSS"), status_value(echo, "VmRSS"), 3.0,
        true);
    measure_idle(vesk, idle ? atoi(idle) : 30);
    if (argc > 3)
        if (FILE *f = fopen(argv[3], "w")) {
            char *text = cJSON_Print(results);
            fprintf(f, "%s\n", text);
            cJSON_free(text);
            fclose(f);
        }
    cJSON_Delete(results);
    ubus_free(ctx);
    return 0;
}
