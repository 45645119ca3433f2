// The commands, one row each. A command fills a body from its line and hands it to send_event, which sends
// nothing if the line has a mistake.
#include "platform/sim/drelm/drelm.h"
#include "platform/sim/drelm/line.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>

#include <fcntl.h>
#include <unistd.h>

#include "include/vesk_event.h"

namespace
{

constexpr size_t BODY_MAX = VESK_EVENT_MAX - sizeof(VeskEventHeader);

struct [[gnu::packed]] Datagram {
    VeskEventHeader header;
    uint8_t body[BODY_MAX];
};
VESK_RECORD_SIZE(Datagram, VESK_EVENT_MAX);

struct Command {
    const char *name;
    const char *arguments;
    const char *help;
    void (*run)(Line &line, DrelmSend send);
};

const char *stationList = nullptr;

/** Whether the line has neither a mistake nor words left over. */
bool is_good(Line &line, const char *ifName)
{
    if (strlen(ifName) >= sizeof VeskEventHeader::ifName)
        line_refuse(line, "the interface name is too long");
    line_refuse_rest(line);
    return line.error.empty();
}

/** Tells the simulated device, before the event: who hears of it and looks finds the station there, or gone.
 */
void share_station(Line &line, const char *ifName, const std::string &told)
{
    if (!stationList || !is_good(line, ifName))
        return;
    const std::string text = told + "\n";
    const int fd = open(stationList, O_WRONLY | O_CREAT | O_APPEND | O_NOFOLLOW | O_CLOEXEC, 0644);
    if (fd < 0 || write(fd, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        fprintf(stderr, "drelm: %s: %s\n", stationList, strerror(errno));
    if (fd >= 0)
        close(fd);
}

/** Sends one event of a line that is good. */
void send_event(Line &line, DrelmSend send, uint32_t id, const char *ifName, const void *body, size_t size)
{
    Datagram datagram{};
    if (!is_good(line, ifName))
        return;
    datagram.header.eventId = id;
    memcpy(datagram.header.ifName, ifName, strlen(ifName));
    memcpy(datagram.body, body, size);
    send(&datagram, sizeof datagram.header + size);
}

template <class Body>
void send_body(Line &line, DrelmSend send, uint32_t id, const char *ifName, const Body &body)
{
    static_assert(sizeof body <= BODY_MAX);
    send_event(line, send, id, ifName, &body, sizeof body);
}

const char *interface_word(Line &line)
{
    return line_word(line, 1, "interface");
}

void mac_word(Line &line, size_t at, uint8_t *mac)
{
    const char *text = line_word(line, at, "MAC address");
    to_mac(line, text, mac);
}

void run_join(Line &line, DrelmSend send)
{
    VeskClientJoinEvent event{};
    const char *ifName = interface_word(line);
    mac_word(line, 2, event.join.mac_addr);
    event.join.rssi = static_cast<int32_t>(line_number(line, "rssi", -128, 0, -55));
    event.join.opClass = static_cast<uint8_t>(line_number(line, "opclass", 0, 255, 0));
    event.join.assoc_time = static_cast<uint16_t>(line_number(line, "time", 0, 65535, 0));
    if (const char *bssid = line_option(line, "bssid"))
        to_mac(line, bssid, event.join.bssid);
    int64_t length = 0;
    if (const char *frame = line_option(line, "frame"))
        length =
            static_cast<int64_t>(to_bytes(line, frame, event.join.assoc_req, sizeof event.join.assoc_req));
    event.join.assoc_req_len = static_cast<uint16_t>(line_number(line, "framelen", 0, 65535, length));
    event.cap[0] = line_flag(line, "11v") ? 0x80 : 0;
    event.cap[1] = line_flag(line, "11k") ? 0x01 : 0;
    std::string told = std::string("join ") + ifName + " " + line_word(line, 2, "MAC address") +
                       " rssi=" + std::to_string(event.join.rssi) +
                       " time=" + std::to_string(event.join.assoc_time) +
                       " 11v=" + (event.cap[0] ? "1" : "0") + " 11k=" + (event.cap[1] ? "1" : "0");
    if (const char *frame = line_option(line, "frame"))
        told += std::string(" frame=") + frame;
    share_station(line, ifName, told);
    send_body(line, send, VESK_EVENT_CLIENT_JOIN, ifName, event);
}

void run_leave(Line &line, DrelmSend send)
{
    VeskClientLeave event{};
    const char *ifName = interface_word(line);
    mac_word(line, 2, event.mac);
    share_station(line, ifName, std::string("leave ") + ifName + " " + line_word(line, 2, "MAC address"));
    send_body(line, send, VESK_EVENT_CLIENT_LEAVE, ifName, event);
}

void run_disassoc(Line &line, DrelmSend send)
{
    VeskStaDisassoc event{};
    const char *ifName = interface_word(line);
    mac_word(line, 2, event.mac);
    event.reasonCode = static_cast<uint16_t>(line_number(line, "reason", 0, 65535, 3));
    send_body(line, send, VESK_EVENT_STA_DISASSOC, ifName, event);
}

void run_probe(Line &line, DrelmSend send)
{
    VeskProbeReq event{};
    const char *ifName = interface_word(line);
    mac_word(line, 2, event.mac);
    event.channel = static_cast<uint8_t>(line_number(line, "channel", 0, 255, 0));
    event.rssi = static_cast<int32_t>(line_number(line, "rssi", INT32_MIN, INT32_MAX, -60));
    send_body(line, send, VESK_EVENT_PROBE_REQ, ifName, event);
}

uint8_t byte_option(Line &line, const char *name, int64_t fallback)
{
    return static_cast<uint8_t>(line_number(line, name, 0, 255, fallback));
}

void run_channel(Line &line, DrelmSend send)
{
    VeskChChange event{};
    const char *ifName = interface_word(line);
    event.reason = byte_option(line, "reason", 0);
    event.radioId = byte_option(line, "radio", 0);
    event.oldCh = byte_option(line, "old", 0);
    event.oldBw = byte_option(line, "oldbw", 0);
    event.oldOpClass = byte_option(line, "oldclass", 0);
    line_text(line, "oldmode", event.oldHwMode, sizeof event.oldHwMode);
    event.oldTxPower = line_float(line, "oldpower", 0);
    event.newCh = byte_option(line, "new", 0);
    event.newBw = byte_option(line, "newbw", 0);
    event.newOpClass = byte_option(line, "newclass", 0);
    line_text(line, "newmode", event.newHwMode, sizeof event.newHwMode);
    event.newTxPower = line_float(line, "newpower", 0);
    event.interfaceIndex =
        static_cast<int32_t>(line_number(line, "index", INT32_MIN, INT32_MAX, event.radioId));
    send_body(line, send, VESK_EVENT_CH_CHANGE, ifName, event);
}

template <uint32_t Id>
void run_radar(Line &line, DrelmSend send)
{
    VeskRadarEvent event{};
    to_bytes(line, line_word(line, 1, "bytes"), event.data, sizeof event.data);
    send_body(line, send, Id, "", event);
}

void run_unsafe(Line &line, DrelmSend send)
{
    VeskUnsafeChannel event{};
    for (size_t i = 0; i < 3; i++) {
        const char *word = line_word(line, 1 + i, "bitmap word");
        event.ch_bitmap[i] = static_cast<uint32_t>(to_number(line, word, "bitmap word", 0, UINT32_MAX));
    }
    send_body(line, send, VESK_EVENT_UNSAFE_CHANNEL, "", event);
}

/** Bytes behind the interface name of a body that the daemon carries unread. */
template <uint32_t Id, class Body>
void run_opaque(Line &line, DrelmSend send)
{
    uint8_t body[sizeof(Body)] = {};
    const char *ifName = interface_word(line);
    to_bytes(line, line_word(line, 2, "bytes"), body + 16, sizeof body - 16);
    send_body(line, send, Id, ifName, body);
}

void run_wps(Line &line, DrelmSend send)
{
    VeskEnrolleeWps event{};
    const char *ifName = interface_word(line);
    mac_word(line, 2, event.mac_addr);
    mac_word(line, 3, event.connected_bssid);
    send_body(line, send, VESK_EVENT_ENROLLEE_WPS, ifName, event);
}

void run_assoc_resp(Line &line, DrelmSend send)
{
    VeskMapR2AssocResp event{};
    const char *ifName = interface_word(line);
    mac_word(line, 2, event.peerMac);
    event.vid = static_cast<uint16_t>(line_number(line, "vid", 0, 65535, 0));
    event.pcp = byte_option(line, "pcp", 0);
    send_body(line, send, VESK_EVENT_MAP_R2_ASSOC_RESP, ifName, event);
}

void run_raw(Line &line, DrelmSend send)
{
    uint8_t body[BODY_MAX] = {};
    const auto id =
        static_cast<uint32_t>(to_number(line, line_word(line, 1, "event id"), "event id", 0, UINT32_MAX));
    const char *ifName = line_word(line, 2, "interface");
    const size_t size =
        line.words.size() > 3 ? to_bytes(line, line_word(line, 3, "bytes"), body, sizeof body) : 0;
    send_event(line, send, id, strcmp(ifName, "-") == 0 ? "" : ifName, body, size);
}

void run_bytes(Line &line, DrelmSend send)
{
    uint8_t bytes[2 * VESK_EVENT_MAX];
    const size_t size = to_bytes(line, line_word(line, 1, "bytes"), bytes, sizeof bytes);
    line_refuse_rest(line);
    if (line.error.empty())
        send(bytes, size);
}

void sleep_until(timespec &when, long nanoseconds)
{
    when.tv_nsec += nanoseconds;
    when.tv_sec += when.tv_nsec / 1000000000;
    when.tv_nsec %= 1000000000;
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &when, nullptr) != 0)
        ;
}

void run_wait(Line &line, DrelmSend)
{
    const double seconds = to_seconds(line, line_word(line, 1, "seconds"));
    line_refuse_rest(line);
    if (!line.error.empty())
        return;
    timespec when;
    clock_gettime(CLOCK_MONOTONIC, &when);
    when.tv_sec += static_cast<time_t>(seconds);
    sleep_until(when, static_cast<long>((seconds - static_cast<double>(static_cast<time_t>(seconds))) * 1e9));
}

void storm_event(Line &line, DrelmSend send, const char *ifName, int64_t count, int64_t n)
{
    const int64_t station = n % count;
    const uint8_t mac[6] = {
        0x02, 0xd0, 0, 0, static_cast<uint8_t>(station >> 8), static_cast<uint8_t>(station)
    };
    VeskClientJoinEvent join{};
    memcpy(join.join.mac_addr, mac, sizeof mac);
    join.join.rssi = -50 - static_cast<int32_t>(station % 40);
    VeskClientLeave leave{};
    memcpy(leave.mac, mac, sizeof mac);
    if (n / count % 2 == 0)
        send_body(line, send, VESK_EVENT_CLIENT_JOIN, ifName, join);
    else
        send_body(line, send, VESK_EVENT_CLIENT_LEAVE, ifName, leave);
}

/** All stations join, then all leave, and so on. */
void run_storm(Line &line, DrelmSend send)
{
    const char *ifName = interface_word(line);
    const int64_t count = to_number(line, line_word(line, 2, "stations"), "stations", 1, 65536);
    const int64_t rate =
        to_number(line, line_word(line, 3, "events a second"), "events a second", 1, 1000000);
    const double seconds =
        to_seconds(line, line_option(line, "seconds") ? line_option(line, "seconds") : "0");
    const int64_t events =
        seconds > 0 ? static_cast<int64_t>(seconds * static_cast<double>(rate)) : 2 * count;
    timespec when;
    clock_gettime(CLOCK_MONOTONIC, &when);
    for (int64_t n = 0; n < events && line.error.empty(); n++) {
        storm_event(line, send, ifName, count, n);
        sleep_until(when, static_cast<long>(1000000000 / rate));
    }
}

constexpr Command COMMANDS[] = {
    { "join", "IF MAC [rssi=N] [11v] [11k] [bssid=MAC] [opclass=N] [time=N] [frame=HEX] [framelen=N]",
      "a station has joined; framelen: another length than the frame's", run_join },
    { "leave", "IF MAC", "a station has left", run_leave },
    { "disassoc", "IF MAC [reason=N]", "a station was disassociated", run_disassoc },
    { "probe", "IF MAC [channel=N] [rssi=N]", "a probe request was heard", run_probe },
    { "channel",
      "IF [old=N] [new=N] [oldbw=N] [newbw=N] [oldclass=N] [newclass=N] [oldmode=TEXT] [newmode=TEXT] "
      "[oldpower=X]"
      " [newpower=X] [radio=BAND] [reason=N] [index=N]",
      "a radio has changed its channel", run_channel },
    { "cac", "HEX", "a channel availability check was passed; at most 6 bytes",
      run_radar<VESK_EVENT_CH_PASS_CAC> },
    { "radar", "HEX", "radar was detected; at most 6 bytes", run_radar<VESK_EVENT_RADAR> },
    { "unsafe", "W0 W1 W2", "the set of unsafe channels, three 32-bit words", run_unsafe },
    { "btm-query", "IF HEX", "bytes from offset 16 on, at most 266",
      run_opaque<VESK_EVENT_BTM_QUERY, VeskBtmQuery> },
    { "btm-resp", "IF HEX", "bytes from offset 16 on, at most 280; the daemon writes the 6 at offset 22",
      run_opaque<VESK_EVENT_BTM_RESP, VeskBtmResp> },
    { "beacon-report", "IF HEX", "bytes from offset 16 on, at most 265",
      run_opaque<VESK_EVENT_BEACON_REPORT, VeskBcnReport> },
    { "wps", "IF MAC BSSID", "an enrollee has finished", run_wps },
    { "assoc-resp", "IF MAC [vid=N] [pcp=N]", "an association response gave the default VLAN",
      run_assoc_resp },
    { "raw", "ID IF [HEX]", "any event with any body; - for no interface", run_raw },
    { "bytes", "HEX", "a datagram as it stands, header and all", run_bytes },
    { "wait", "SECONDS", "2.5 and the like", run_wait },
    { "storm", "IF COUNT RATE [seconds=X]",
      "COUNT stations join, then leave, RATE events a second; one round, or for so many seconds", run_storm },
};

} // namespace

int drelm_run_line(const char *text, DrelmSend send, std::string &message)
{
    Line line = line_split(text);
    if (line.words.empty() || line.words[0][0] == '#')
        return 0;
    const auto command = std::find_if(std::begin(COMMANDS), std::end(COMMANDS),
                                      [&](const Command &c) { return line.words[0] == c.name; });
    if (command == std::end(COMMANDS)) {
        message = "unknown command \"" + line.words[0] + "\", --help lists them";
        return -1;
    }
    command->run(line, send);
    if (line.error.empty())
        return 0;
    message = line.error + " (" + command->name + " " + command->arguments + ")";
    return -1;
}

void drelm_share_stations(const char *path)
{
    stationList = path;
}

void drelm_print_commands(FILE *out)
{
    for (const Command &command : COMMANDS)
        fprintf(out, "  %s %s\n      %s\n", command.name, command.arguments, command.help);
    fputs("  # COMMENT\n", out);
}
