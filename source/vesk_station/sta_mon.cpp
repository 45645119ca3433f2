// The list of stations that a client wants to hear of although they aren't associated. Probe requests write
// into its nodes; a routine every 3 seconds reports each request once and drops requests of an hour ago. A
// node stays after its report, so that a repeated request is answered with the values of the last probe.
#include "source/vesk_station/vesk_station.h"

#include <cstdlib>
#include <cstring>
#include <ctime>

#include "foundation/vesk_utils.h"
#include "include/merka.h"
#include "include/vesk_event.h"
#include "source/vesk_main/log.h"

#define MAC_FORMAT "%02x:%02x:%02x:%02x:%02x:%02x"

namespace
{

constexpr int first_routine = 30000; // milliseconds
constexpr int routine_period = 3000;
constexpr uint32_t max_age = 3600; // seconds since the last request
constexpr char stepOf[] = "vesk_sta_mon_routine_check";

VeskStaMon *unassoc_sta_head; // newest first
int unassoc_sta_count;
uloop_timeout staMonTimer;

/** Channel 0 is a wildcard of the query only. */
bool matches(const VeskStaMon *node, const uint8_t *mac, int channel)
{
    return memcmp(node->mac, mac, sizeof node->mac) == 0 && (channel == 0 || channel == node->channel);
}

/** Takes out the node that `link` points to. */
void unlink_and_free(VeskStaMon **link)
{
    VeskStaMon *node = *link;
    *link = node->next;
    free(node);
    unassoc_sta_count--;
}

VeskStaMon *add_node()
{
    if (unassoc_sta_count >= VESK_STA_MON_MAX)
        return nullptr;
    auto *node = static_cast<VeskStaMon *>(calloc(1, sizeof(VeskStaMon)));
    if (node == nullptr)
        return nullptr;
    node->next = unassoc_sta_head;
    unassoc_sta_head = node;
    unassoc_sta_count++;
    return node;
}

void note_request(VeskStaMon *node, const uint8_t *mac, int channel)
{
    memcpy(node->mac, mac, sizeof node->mac);
    node->channel = channel;
    node->queryTime = get_current_time();
    node->needReport = 1;
}

const char *mac_text(const uint8_t *mac, char (&text)[18])
{
    vesk_utils_mac2str(mac, text);
    return text;
}

void send_report(const VeskStaMon *node)
{
    VeskUnassocMetrics report = {};
    static_assert(sizeof report.ifName == sizeof node->ifName);
    memcpy(report.ifName, node->ifName, strnlen(node->ifName, sizeof report.ifName));
    memcpy(report.mac, node->mac, sizeof report.mac);
    report.channel = static_cast<uint8_t>(node->channel);
    report.rssi = node->rssi;
    report.time = node->lastProbeTime;
    merkaSendSignal(nullptr, VESK_SIGNAL_UNASSOC_METRICS, &report, sizeof report);
}

/** A request is answered once; one for a station that hasn't been heard yet stays owed. */
void send_owed_reports()
{
    for (VeskStaMon *node = unassoc_sta_head; node != nullptr; node = node->next) {
        if (!node->needReport)
            continue;
        VESK_LOG_AS(stepOf, DEBUG, " need report sta[" MAC_FORMAT "], rssi=%d, channel=%d\n\n",
                    VESK_MAC_ARGS(node->mac), node->rssi, node->channel);
        if (node->rssi == 0) {
            VESK_LOG_AS(stepOf, DEBUG, " prepare unassoc station report, station is not ready\n\n");
            continue;
        }
        send_report(node);
        node->needReport = 0;
    }
}

void log_node(const VeskStaMon *node)
{
    VESK_LOG_AS(stepOf, DEBUG, " sta[" MAC_FORMAT "], query_time[%d], channel[%d]\n\n",
                VESK_MAC_ARGS(node->mac), static_cast<int>(node->queryTime), node->channel);
}

bool is_aged(const VeskStaMon *node, uint32_t now)
{
    return now - node->queryTime >= max_age;
}

void drop_aged_nodes(uint32_t now)
{
    if (unassoc_sta_head != nullptr)
        log_node(unassoc_sta_head);
    while (unassoc_sta_head != nullptr && is_aged(unassoc_sta_head, now)) {
        unlink_and_free(&unassoc_sta_head);
        VESK_LOG_AS(stepOf, INFO, " monitor timeout. it's head node, remove\n\n");
    }
    if (unassoc_sta_head == nullptr)
        return;
    for (VeskStaMon **link = &unassoc_sta_head->next; *link != nullptr;) {
        log_node(*link);
        if (!is_aged(*link, now)) {
            link = &(*link)->next;
            continue;
        }
        unlink_and_free(link);
        VESK_LOG_AS(stepOf, INFO, " monotor timeout. it's not head node, remove\n\n");
    }
}

} // namespace

uint32_t get_current_time()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const auto seconds = static_cast<uint32_t>(now.tv_sec);
    VESK_LOG(DEBUG, " time=%d sec\n\n", static_cast<int>(seconds));
    return seconds;
}

VeskStaMon *vesk_sta_mon_get(const uint8_t *mac, int channel)
{
    if (mac == nullptr)
        return nullptr;
    for (VeskStaMon *node = unassoc_sta_head; node != nullptr; node = node->next) {
        char listMac[18];
        char srcMac[18];
        VESK_LOG(
            DEBUG,
            " traverse list, mac[%s], src_mac[%s], list channel[%d], src channel[%d], query_time[%d]\n\n",
            mac_text(node->mac, listMac), mac_text(mac, srcMac), node->channel, channel,
            static_cast<int>(node->queryTime));
        if (matches(node, mac, channel)) {
            VESK_LOG(DEBUG, " macaddr and channel is matched\n\n");
            return node;
        }
    }
    return nullptr;
}

int vesk_sta_mon_set(const uint8_t *mac, int channel)
{
    if (mac == nullptr)
        return -1;
    VeskStaMon *node = vesk_sta_mon_get(mac, channel);
    if (node != nullptr) {
        VESK_LOG(DEBUG, " set station monitor, station exist, update channel and query time\n\n");
        note_request(node, mac, channel);
        return 0;
    }
    node = add_node();
    if (node == nullptr)
        return -1;
    note_request(node, mac, channel);
    VESK_LOG(INFO, " set station monitor, create station done\n\n");
    return 0;
}

int vesk_sta_mon_remove(const uint8_t *mac, int channel)
{
    if (mac == nullptr)
        return 0;
    for (VeskStaMon **link = &unassoc_sta_head; *link != nullptr; link = &(*link)->next) {
        if (!matches(*link, mac, channel))
            continue;
        if (link == &unassoc_sta_head)
            VESK_LOG(INFO, " station monitor remove, it head node, remove\n\n");
        else
            VESK_LOG(INFO, " station monitor remove, it's not head node, remove\n\n");
        unlink_and_free(link);
        break;
    }
    return 0;
}

void vesk_sta_mon_destroy()
{
    while (unassoc_sta_head != nullptr)
        unlink_and_free(&unassoc_sta_head);
}

void vesk_start_sta_mon_timer()
{
    staMonTimer.cb = vesk_sta_mon_routine_check;
    uloop_timeout_set(&staMonTimer, first_routine);
}

void vesk_stop_sta_mon_timer()
{
    uloop_timeout_cancel(&staMonTimer);
}

void vesk_sta_mon_routine_check(uloop_timeout *)
{
    const uint32_t now = get_current_time();
    send_owed_reports();
    VESK_LOG(DEBUG, " %s: common check, current time = %d\n\n", __func__, static_cast<int>(now));
    drop_aged_nodes(now);
    uloop_timeout_set(&staMonTimer, routine_period);
}
