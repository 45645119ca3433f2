#include "platform/nl80211/netlink.h"

#include <cerrno>

#include <pthread.h>

#include "platform/nl80211/clock.h"
#include "platform/nl80211/netlink_port.h"

namespace radio
{

namespace
{

constexpr char familyName[] = "nl80211";
constexpr const char *scanGroup[] = { "scan" };

/** A connected socket and the number that the kernel gave the family on it. */
struct Line {
    nl_sock *socket;
    int family;
};

// Sockets of ended requests. One is enough for the daemon's loop; the scans' threads need theirs now and
// then.
constexpr int pooled = 4;
pthread_mutex_t poolLock = PTHREAD_MUTEX_INITIALIZER;
Line pool[pooled];

Line open_line()
{
    nl_sock *socket = nl_socket_alloc();
    if (!socket)
        return {};
    int family = netlink_port_connect(socket);
    if (family >= 0)
        family = genl_ctrl_resolve(socket, familyName);
    if (family < 0) {
        nl_socket_free(socket);
        return {};
    }
    return { socket, family };
}

Line take_line()
{
    Line line = {};
    pthread_mutex_lock(&poolLock);
    for (Line &free : pool) {
        if (free.socket) {
            line = free;
            free = {};
            break;
        }
    }
    pthread_mutex_unlock(&poolLock);
    return line.socket ? line : open_line();
}

/** A line on which an answer may still be under way is of no more use: `sound` is false. */
void give_line(Line line, bool sound)
{
    pthread_mutex_lock(&poolLock);
    for (Line &free : pool) {
        if (sound && !free.socket) {
            free = line;
            line = {};
            break;
        }
    }
    pthread_mutex_unlock(&poolLock);
    if (line.socket)
        nl_socket_free(line.socket);
}

bool put_scan(nl_msg *message, const Query &query)
{
    nlattr *frequencies = nla_nest_start(message, NL80211_ATTR_SCAN_FREQUENCIES);
    if (!frequencies || nla_put_u32(message, 0, query.scanFrequency) < 0)
        return false;
    nla_nest_end(message, frequencies);
    if (query.scanActive) {
        nlattr *names = nla_nest_start(message, NL80211_ATTR_SCAN_SSIDS);
        if (!names || nla_put(message, 0, 0, "") < 0)
            return false;
        nla_nest_end(message, names);
    }
    return nla_put_u32(message, NL80211_ATTR_SCAN_FLAGS, query.scanFlags) == 0 &&
           (query.scanDuration == 0 ||
            nla_put_u16(message, NL80211_ATTR_MEASUREMENT_DURATION, query.scanDuration) == 0);
}

bool put_query(nl_msg *message, int family, const Query &query)
{
    return genlmsg_put(message, 0, 0, family, 0, query.dump ? NLM_F_DUMP : 0, query.command, 0) &&
           (query.ifindex == 0 || nla_put_u32(message, NL80211_ATTR_IFINDEX, query.ifindex) == 0) &&
           (query.wiphy < 0 ||
            nla_put_u32(message, NL80211_ATTR_WIPHY, static_cast<uint32_t>(query.wiphy)) == 0) &&
           (!query.mac || nla_put(message, NL80211_ATTR_MAC, 6, query.mac) == 0) &&
           (!query.splitWiphy || nla_put_flag(message, NL80211_ATTR_SPLIT_WIPHY_DUMP) == 0) &&
           (!query.newName || (nla_put_string(message, NL80211_ATTR_IFNAME, query.newName) == 0 &&
                               nla_put_u32(message, NL80211_ATTR_IFTYPE, query.newType) == 0)) &&
           (query.scanFrequency == 0 || put_scan(message, query));
}

/** What the callbacks of one request share. */
struct Exchange {
    const Query *query;
    void (*visit)(const Attributes &, void *);
    void *out;
    int status; // 1: under way
    bool interrupted;
    bool cut;
    bool hasGeneration;
    uint32_t generation;
};

Exchange &exchange_of(void *arg)
{
    return *static_cast<Exchange *>(arg);
}

void note_generation(Exchange &exchange, const nlattr *attr)
{
    if (!exchange.query->sameGeneration || !attr)
        return;
    const auto generation = attr_value<uint32_t>(attr);
    exchange.interrupted |= exchange.hasGeneration && generation != exchange.generation;
    exchange.hasGeneration = true;
    exchange.generation = generation;
}

int on_answer(nl_msg *message, void *arg)
{
    Exchange &exchange = exchange_of(arg);
    nlmsghdr *header = nlmsg_hdr(message);
    exchange.interrupted |= (header->nlmsg_flags & NLM_F_DUMP_INTR) != 0;
    Attributes answer = {};
    if (!genlmsg_valid_hdr(header, 0) || genlmsg_parse(header, 0, answer, NL80211_ATTR_MAX, nullptr) < 0) {
        exchange.cut = true;
        return NL_SKIP;
    }
    note_generation(exchange, answer[NL80211_ATTR_GENERATION]);
    if (exchange.visit)
        exchange.visit(answer, exchange.out);
    return NL_SKIP;
}

int on_done(nl_msg *message, void *arg)
{
    Exchange &exchange = exchange_of(arg);
    exchange.interrupted |= (nlmsg_hdr(message)->nlmsg_flags & NLM_F_DUMP_INTR) != 0;
    exchange.status = 0;
    return NL_SKIP;
}

int on_acknowledge(nl_msg *, void *arg)
{
    exchange_of(arg).status = 0;
    return NL_STOP;
}

int on_refusal(sockaddr_nl *, nlmsgerr *error, void *arg)
{
    exchange_of(arg).status = error->error < 0 ? error->error : -EIO;
    return NL_STOP;
}

/** The socket's own callbacks are counted, and to be given back. */
nl_cb *clone_callbacks(nl_sock *socket)
{
    nl_cb *own = nl_socket_get_cb(socket);
    nl_cb *callbacks = nl_cb_clone(own);
    nl_cb_put(own);
    return callbacks;
}

/** Reads until the request is over. False: it isn't, and nothing more comes. */
bool collect(nl_sock *socket, nl_cb *callbacks, const Exchange &exchange)
{
    const int64_t end = clock_ms() + netlinkPatience;
    while (exchange.status > 0) {
        const int64_t left = end - clock_ms();
        if (left < 0 || netlink_port_wait(socket, static_cast<int>(left)) <= 0)
            return false;
        const int status = nl_recvmsgs(socket, callbacks);
        if (status < 0 && status != -NLE_AGAIN && exchange.status > 0)
            return false;
    }
    return true;
}

NetlinkTap tap;

int on_any(nl_msg *message, void *)
{
    tap(nlmsg_hdr(message));
    return NL_OK;
}

/** Hands the request to the tap, once it is complete, and has its answers handed there too. */
void tap_messages(nl_msg *request, nl_cb *callbacks)
{
    if (!tap)
        return;
    tap(nlmsg_hdr(request));
    nl_cb_set(callbacks, NL_CB_MSG_IN, NL_CB_CUSTOM, on_any, nullptr);
}

bool exchange_messages(Line line, Exchange &exchange)
{
    nl_msg *message = nlmsg_alloc();
    nl_cb *callbacks = clone_callbacks(line.socket);
    bool sound = false;
    if (message && callbacks && put_query(message, line.family, *exchange.query)) {
        nl_cb_err(callbacks, NL_CB_CUSTOM, on_refusal, &exchange);
        nl_cb_set(callbacks, NL_CB_VALID, NL_CB_CUSTOM, on_answer, &exchange);
        nl_cb_set(callbacks, NL_CB_FINISH, NL_CB_CUSTOM, on_done, &exchange);
        nl_cb_set(callbacks, NL_CB_ACK, NL_CB_CUSTOM, on_acknowledge, &exchange);
        const bool sent = nl_send_auto_complete(line.socket, message) >= 0;
        tap_messages(message, callbacks);
        sound = sent && collect(line.socket, callbacks, exchange);
    }
    if (callbacks)
        nl_cb_put(callbacks);
    if (message)
        nlmsg_free(message);
    return sound;
}

int on_scan_message(nl_msg *message, void *arg)
{
    auto &event = *static_cast<ScanEvent *>(arg);
    nlmsghdr *header = nlmsg_hdr(message);
    Attributes answer = {};
    if (!genlmsg_valid_hdr(header, 0) || genlmsg_parse(header, 0, answer, NL80211_ATTR_MAX, nullptr) < 0)
        return NL_SKIP;
    const auto *generic = static_cast<genlmsghdr *>(nlmsg_data(header));
    if (generic->cmd != NL80211_CMD_NEW_SCAN_RESULTS && generic->cmd != NL80211_CMD_SCAN_ABORTED)
        return NL_SKIP;
    event.command = generic->cmd;
    event.wiphy = attr_value<int>(answer[NL80211_ATTR_WIPHY], -1);
    event.ifindex = attr_value<uint32_t>(answer[NL80211_ATTR_IFINDEX]);
    attr_each(answer[NL80211_ATTR_SCAN_FREQUENCIES], [&](const nlattr *frequency) {
        if (event.frequency == 0)
            event.frequency = attr_value<uint32_t>(frequency);
    });
    return NL_STOP;
}

} // namespace

void netlink_tap(NetlinkTap to)
{
    tap = to;
}

int netlink_ask(const Query &query, void (*visit)(const Attributes &answer, void *out), void *out)
{
    const Line line = take_line();
    if (!line.socket)
        return -ENODEV;
    Exchange exchange = { &query, visit, out, 1, false, false, false, 0 };
    const bool sound = exchange_messages(line, exchange);
    // A family that was unloaded and came back has another number; the kernel then knows nothing of this one.
    give_line(line, sound && exchange.status != -ENOENT);
    if (!sound || exchange.cut)
        return -EIO;
    return exchange.status == 0 && exchange.interrupted ? netlinkInterrupted : exchange.status;
}

nl_sock *netlink_listen_to(std::span<const char *const> groups, int &fd)
{
    const Line line = open_line();
    if (!line.socket)
        return nullptr;
    for (const char *name : groups) {
        const int group = genl_ctrl_resolve_grp(line.socket, familyName, name);
        if (group < 0 || netlink_port_join(line.socket, group) < 0) {
            nl_socket_free(line.socket);
            return nullptr;
        }
    }
    nl_socket_disable_seq_check(line.socket);
    fd = netlink_port_fd(line.socket);
    return line.socket;
}

nl_sock *netlink_listen()
{
    int fd;
    return netlink_listen_to(scanGroup, fd);
}

int netlink_receive(nl_sock *socket, void (*visit)(uint8_t command, const Attributes &content, void *out),
                    void *out)
{
    struct Target {
        void (*visit)(uint8_t, const Attributes &, void *);
        void *out;
    } target = { visit, out };
    nl_cb *callbacks = clone_callbacks(socket);
    if (!callbacks)
        return -ENOMEM;
    const auto on_message = [](nl_msg *message, void *arg) -> int {
        const auto *to = static_cast<Target *>(arg);
        nlmsghdr *header = nlmsg_hdr(message);
        Attributes content = {};
        if (genlmsg_valid_hdr(header, 0) && genlmsg_parse(header, 0, content, NL80211_ATTR_MAX, nullptr) >= 0)
            to->visit(static_cast<genlmsghdr *>(nlmsg_data(header))->cmd, content, to->out);
        return NL_OK;
    };
    nl_cb_set(callbacks, NL_CB_VALID, NL_CB_CUSTOM, on_message, &target);
    int status = 0;
    while (status >= 0 && netlink_port_wait(socket, 0) > 0)
        status = nl_recvmsgs(socket, callbacks);
    nl_cb_put(callbacks);
    return status >= 0 || status == -NLE_AGAIN ? 0 : -EIO;
}

void netlink_close(nl_sock *socket)
{
    if (socket)
        nl_socket_free(socket);
}

int netlink_wait(nl_sock *socket, int ms, ScanEvent &event)
{
    nl_cb *callbacks = clone_callbacks(socket);
    if (!callbacks)
        return -ENOMEM;
    nl_cb_set(callbacks, NL_CB_VALID, NL_CB_CUSTOM, on_scan_message, &event);
    event = {};
    int status = 0;
    const int64_t end = clock_ms() + ms;
    while (event.command == 0) {
        // What has come by the end counts, too: a reader of what waits goes on to the last message.
        const int64_t left = end - clock_ms();
        status = netlink_port_wait(socket, left < 0 ? 0 : static_cast<int>(left));
        if (status <= 0)
            break;
        status = nl_recvmsgs(socket, callbacks);
        if (status < 0 && status != -NLE_AGAIN)
            break;
    }
    nl_cb_put(callbacks);
    return event.command != 0 ? 1 : status < 0 ? -EIO : 0;
}

std::span<const uint8_t> attr_bytes(const nlattr *attr)
{
    if (!attr || nla_len(attr) <= 0)
        return {};
    return { static_cast<const uint8_t *>(nla_data(attr)), static_cast<size_t>(nla_len(attr)) };
}

void attr_text(const nlattr *attr, char *to, size_t size)
{
    const std::span<const uint8_t> bytes = attr_bytes(attr);
    const size_t length = bytes.size() < size ? bytes.size() : size - 1;
    if (length > 0)
        memcpy(to, bytes.data(), length);
    to[length] = '\0';
}

} // namespace radio
