#include "platform/nl80211/scan.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <pthread.h>

#include "platform/nl80211/channels.h"
#include "platform/nl80211/clock.h"
#include "platform/nl80211/log.h"
#include "platform/nl80211/netlink.h"
#include "platform/nl80211/places.h"
#include "platform/nl80211/scan_table.h"
#include "platform/nl80211/text.h"
#include "platform/nl80211/thread.h"
#include "platform/nl80211/wiphy.h"

namespace radio
{

namespace
{

// The daemon fetches a channel's result half a second behind its request; a radio that is busy for that long
// (another scan, a channel switch, a CAC) has none.
constexpr int64_t busyPatience = 500; // ms
constexpr int busyPause = 20;         // ms

// From the request to the kernel to the event of its end, beyond the dwell: leaving the channel and coming
// back.
constexpr int scanPatience = 2000; // ms

constexpr int defaultDwell = 100; // ms
constexpr int passiveDwell = 100; // ms; long enough for a beacon every 102.4 ms, so nothing need be sent

struct Request {
    Radio radio;
    int channel;
    int dwell; // ms
    char ifName[16];
    int64_t since; // ms; when its turn came
};

/** A radio's thread and what waits for it. */
struct Worker {
    pthread_t thread;
    bool runs;
    bool ends;
    Request queue[VESK_SCAN_CHANNELS];
    size_t first, count;
    int dwell; // ms
};

pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
pthread_cond_t wake = PTHREAD_COND_INITIALIZER;
Worker workers[radioCount];

template <class T>
const T *find_frequency(const List<T> &list, uint32_t frequency)
{
    for (const T &entry : list) {
        if (entry.frequency == frequency)
            return &entry;
    }
    return nullptr;
}

/** Whether a BSSID is one of the two radios'. */
bool is_own(const List<Iface> &interfaces, const uint8_t *bssid)
{
    Radio radio;
    for (const Iface &iface : interfaces) {
        if (memcmp(iface.mac, bssid, sizeof iface.mac) == 0 && device_of_wiphy(iface.wiphy, radio))
            return true;
    }
    return false;
}

/** One scan under way. */
struct Scan {
    const Request *request;
    uint32_t ifindex;
    uint32_t frequency;
    bool radar;
    int64_t begin; // ms
    LocalList<Survey> before;
};

/** The scan's own networks of its channel, the strongest first, without ours. */
void take_networks(const Scan &scan, List<Bss> &networks)
{
    LocalList<Iface> interfaces;
    LocalList<Bss> heard;
    iface_list(interfaces);
    bss_list(scan.ifindex, heard);
    const int64_t elapsed = clock_ms() - scan.begin;
    for (const Bss &bss : heard) {
        if (bss.frequency == scan.frequency && bss.age <= elapsed && !is_own(interfaces, bss.bssid))
            list_add(networks, bss);
    }
    std::sort(networks.begin(), networks.end(), [](const Bss &a, const Bss &b) { return a.rssi > b.rssi; });
}

void keep_outcome(const Scan &scan)
{
    const int64_t elapsed = clock_ms() - scan.begin;
    LocalList<Survey> surveys;
    survey_list(scan.ifindex, surveys);
    const Survey *now = find_frequency(surveys, scan.frequency);
    LocalList<Bss> networks;
    take_networks(scan, networks);
    const Figures figures = {
        .channel = scan.request->channel,
        .radar = scan.radar,
        .networks = static_cast<int>(networks.count),
        .utilisation = scan_utilisation(find_frequency(scan.before, scan.frequency), now, elapsed),
        .noise = now && now->hasNoise ? now->noise : noiseUnknown,
    };
    scan_keep(scan.request->radio.index, figures, networks);
}

void forget_events(nl_sock *socket)
{
    ScanEvent event;
    while (netlink_wait(socket, 0, event) > 0)
        ;
}

/** Asks the kernel for the scan. 0 or negative errno. Of the events only those behind the request can be its
 * end: a busy radio's own scan ends before it. The figures are counted from here.
 */
int attempt(nl_sock *socket, Scan &scan, const Query &query)
{
    survey_list(scan.ifindex, scan.before);
    forget_events(socket);
    scan.begin = clock_ms();
    return netlink_ask(query, nullptr, nullptr);
}

/** The same, again and again while the radio is busy. */
int trigger(nl_sock *socket, Scan &scan, const Query &query)
{
    const int64_t end = scan.request->since + busyPatience;
    int status = attempt(socket, scan, query);
    while (status == -EBUSY && clock_ms() < end) {
        clock_sleep(busyPause);
        status = attempt(socket, scan, query);
    }
    return status;
}

/** True when the radio's scan came to its end, false when it was given up. */
bool wait_for_end(nl_sock *socket, const Scan &scan)
{
    const int64_t end = clock_ms() + scan.request->dwell + scanPatience;
    ScanEvent event;
    for (int64_t left = end - clock_ms(); left > 0; left = end - clock_ms()) {
        const int status = netlink_wait(socket, static_cast<int>(left), event);
        if (status < 0)
            return false;
        if (status > 0 && event.wiphy == scan.request->radio.wiphy &&
            (event.frequency == 0 || event.frequency == scan.frequency))
            return event.command == NL80211_CMD_NEW_SCAN_RESULTS;
    }
    return false;
}

Query query_of(const Request &request, const Scan &scan, const Wiphy &wiphy, const Channel &channel)
{
    Query query = { .command = NL80211_CMD_TRIGGER_SCAN, .ifindex = scan.ifindex };
    query.scanFrequency = scan.frequency;
    query.scanFlags = NL80211_SCAN_FLAG_AP;
    query.scanActive = request.dwell < passiveDwell && !(channel.limits & (limitRadar | limitNoIr));
    if (!wiphy.scanDwell)
        log_once(levelNotice, "%s: the driver takes no dwell time; scans are passive from %d ms on",
                 request.radio.name, passiveDwell);
    else
        query.scanDuration = static_cast<uint16_t>(std::clamp(request.dwell * 1000 / 1024, 1, UINT16_MAX));
    return query;
}

/** False if the socket of events is of no more use. */
bool run(nl_sock *socket, const Request &request)
{
    Wiphy wiphy;
    const Channel *channel = wiphy_read(request.radio.wiphy, wiphy) == 0
                                 ? wiphy_channel(wiphy, request.radio.index, request.channel)
                                 : nullptr;
    Scan scan = { &request, interface_index(request.ifName), 0, false, 0, {} };
    if (!channel || channel->disabled || scan.ifindex == 0)
        return true;
    scan.frequency = channel->frequency;
    scan.radar = (channel->limits & limitRadar) != 0;
    const int status = trigger(socket, scan, query_of(request, scan, wiphy, *channel));
    if (status != 0) {
        log_line(levelInfo, "%s: no scan of channel %d: %s", request.radio.name, request.channel,
                 strerror(-status));
        return true;
    }
    if (!wait_for_end(socket, scan))
        return false;
    keep_outcome(scan);
    return true;
}

/** The next request, or false when the thread is to end. */
bool next_request(Worker &worker, Request &request)
{
    pthread_mutex_lock(&lock);
    while (worker.count == 0 && !worker.ends)
        pthread_cond_wait(&wake, &lock);
    const bool goesOn = !worker.ends;
    if (goesOn) {
        request = worker.queue[worker.first];
        worker.first = (worker.first + 1) % std::size(worker.queue);
        worker.count--;
    }
    pthread_mutex_unlock(&lock);
    return goesOn;
}

void *work(void *argument)
{
    auto &worker = *static_cast<Worker *>(argument);
    nl_sock *socket = nullptr;
    Request request;
    while (next_request(worker, request)) {
        if (!socket)
            socket = netlink_listen();
        request.since = clock_ms();
        if (socket && !run(socket, request)) {
            netlink_close(socket);
            socket = nullptr;
        }
    }
    netlink_close(socket);
    return nullptr;
}

/** The lock is held. */
bool start(Worker &worker)
{
    if (worker.runs)
        return true;
    worker.ends = false;
    worker.runs = thread_start(worker.thread, work, &worker);
    return worker.runs;
}

/** The lock is held. */
bool enqueue(Worker &worker, const Request &request)
{
    if (worker.count == std::size(worker.queue))
        return false;
    worker.queue[(worker.first + worker.count) % std::size(worker.queue)] = request;
    worker.count++;
    return true;
}

} // namespace

int scan_set_dwell(const Radio &radio, int32_t min, int32_t max)
{
    if (min < 1 || max < min)
        return -1;
    pthread_mutex_lock(&lock);
    workers[radio.index].dwell = max;
    pthread_mutex_unlock(&lock);
    return 0;
}

int scan_request(const Radio &radio, int channel, int dwell, const char *ifName)
{
    uint8_t numbers[VESK_SCAN_CHANNELS];
    size_t count = 1;
    numbers[0] = static_cast<uint8_t>(channel);
    if (channel == 0)
        count = scan_channels_of(radio, numbers);
    if (count == 0 || interface_phy(ifName) != radio.wiphy || !is_listed_channel(radio.index, numbers[0]))
        return -1;
    Request request = { radio, 0, dwell, {}, 0 };
    put_text(request.ifName, ifName);
    pthread_mutex_lock(&lock);
    Worker &worker = workers[radio.index];
    if (dwell < 1)
        request.dwell = worker.dwell > 0 ? worker.dwell : defaultDwell;
    bool taken = start(worker);
    for (size_t i = 0; i < count && taken; i++) {
        request.channel = numbers[i];
        taken = enqueue(worker, request);
    }
    pthread_cond_broadcast(&wake);
    pthread_mutex_unlock(&lock);
    return taken ? 0 : -1;
}

void scan_stop()
{
    for (Worker &worker : workers) {
        pthread_mutex_lock(&lock);
        const bool runs = worker.runs;
        worker.ends = true;
        pthread_cond_broadcast(&wake);
        pthread_mutex_unlock(&lock);
        if (runs)
            pthread_join(worker.thread, nullptr);
        worker = {};
    }
    scan_forget();
}

} // namespace radio
