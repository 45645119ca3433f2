#include "tests/nl80211/fake_kernel.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <fstream>
#include <iterator>
#include <map>
#include <mutex>
#include <set>
#include <utility>

#include <sys/eventfd.h>
#include <unistd.h>

#include <linux/if_bridge.h>
#include <linux/rtnetlink.h>

#include "platform/nl80211/clock.h"
#include "platform/nl80211/netlink.h"
#include "platform/nl80211/netlink_port.h"

Asked read_request(nlmsghdr *header) {
    nlattr *attrs[NL80211_ATTR_MAX + 1];
    genlmsg_parse(header, 0, attrs, NL80211_ATTR_MAX, nullptr);
    Asked asked = { static_cast<genlmsghdr *>(nlmsg_data(header))->cmd,
                    (header->nlmsg_flags & NLM_F_DUMP) != 0,
                    radio::attr_value<uint32_t>(attrs[NL80211_ATTR_IFINDEX]),
                    radio::attr_value<int>(attrs[NL80211_ATTR_WIPHY], -1),
                    0,
                    radio::attr_value<uint32_t>(attrs[NL80211_ATTR_SCAN_FLAGS]),
                    attrs[NL80211_ATTR_MEASUREMENT_DURATION]
                        ? radio::attr_value<uint16_t>(attrs[NL80211_ATTR_MEASUREMENT_DURATION])
                        : -1,
                    attrs[NL80211_ATTR_SCAN_SSIDS] != nullptr,
                    0 };
    if (const auto mac = radio::attr_bytes(attrs[NL80211_ATTR_MAC]); mac.size() == 6) asked.station = mac[5];
    radio::attr_each(attrs[NL80211_ATTR_SCAN_FREQUENCIES],
                     [&](const nlattr *one) { asked.frequency = radio::attr_value<uint32_t>(one); });
    return asked;
}

namespace {

constexpr uint16_t FAMILY = 0x1c;
const char *const groups[] = { "config", "scan", "regulatory", "mlme" }; // numbers from 5 on
constexpr int FIRST_GROUP = 5;

struct State {
    std::recursive_mutex lock; // an answer may send an event
    std::condition_variable_any changed;
    FakeKernel *kernel = nullptr;
    std::map<uint8_t, std::function<Reply(const Asked &)>> answers;
    std::vector<Asked> asked;
    std::map<nl_sock *, std::deque<Blob>> queues; // datagrams on their way
    std::map<nl_sock *, std::set<int>> listeners; // their groups
    std::map<nl_sock *, int> fds;                 // readable while a queue has something
    bool overflows = false;
    int64_t ahead = 0;   // ms that the clock was advanced
    int64_t stopped = 0; // where the clock stands, 0: it runs
} state;

void append(Blob &to, const void *bytes, size_t size) {
    const size_t at = to.size();
    to.resize(at + size);
    if (size > 0) memcpy(&to[at], bytes, size);
}

template <class T>
void append(Blob &to, const T &value) {
    append(to, &value, sizeof value);
}

Blob message(uint16_t type, uint16_t flags, uint32_t seq, const Blob &payload) {
    Blob out;
    append(out, nlmsghdr{ static_cast<uint32_t>(NLMSG_HDRLEN + payload.size()), type, flags, seq, 0 });
    append(out, payload.data(), payload.size());
    out.resize((out.size() + 3) & ~size_t{ 3 });
    return out;
}

Blob generic(uint16_t family, uint8_t command, uint16_t flags, uint32_t seq, const Blob &content) {
    Blob payload;
    append(payload, genlmsghdr{ command, 1, 0 });
    append(payload, content.data(), content.size());
    return message(family, flags, seq, payload);
}

Blob ending(const nlmsghdr &request, int error, uint16_t flags) {
    Blob payload;
    const bool done = error == 0 && (request.nlmsg_flags & NLM_F_DUMP) == NLM_F_DUMP;
    if (done)
        append(payload, 0);
    else
        append(payload, nlmsgerr{ error, request });
    return message(done ? NLMSG_DONE : NLMSG_ERROR, done ? NLM_F_MULTI | flags : 0, request.nlmsg_seq, payload);
}

Blob group(int i) {
    return nest(i + 1, { number<uint32_t>(CTRL_ATTR_MCAST_GRP_ID, static_cast<uint32_t>(FIRST_GROUP + i)),
                         text(CTRL_ATTR_MCAST_GRP_NAME, groups[i]) });
}

Reply describe_family() {
    return { { join({ number<uint16_t>(CTRL_ATTR_FAMILY_ID, FAMILY), text(CTRL_ATTR_FAMILY_NAME, "nl80211"),
                      number<uint32_t>(CTRL_ATTR_VERSION, 1), number<uint32_t>(CTRL_ATTR_HDRSIZE, 0),
                      number<uint32_t>(CTRL_ATTR_MAXATTR, 300),
                      nest(CTRL_ATTR_MCAST_GROUPS, { group(0), group(1), group(2), group(3) }) }) } };
}

/** Of a bridge's port: the command is the message's type, the flags are the VLAN's and, above them, its number. */
Asked read_port(nlmsghdr *header) {
    nlattr *attrs[IFLA_MAX + 1], *bridge[IFLA_BRIDGE_MAX + 1];
    nlmsg_parse(header, sizeof(ifinfomsg), attrs, IFLA_MAX, nullptr);
    radio::attr_nested(attrs[IFLA_AF_SPEC], bridge);
    return { static_cast<uint8_t>(header->nlmsg_type),
             false,
             static_cast<uint32_t>(static_cast<ifinfomsg *>(nlmsg_data(header))->ifi_index),
             -1,
             0,
             radio::attr_value<uint32_t>(bridge[IFLA_BRIDGE_VLAN_INFO]),
             -1,
             false };
}

Reply answer(nlmsghdr *header) {
    if (!state.kernel || !state.kernel->present) return { {}, -ENOENT };
    if (header->nlmsg_type == GENL_ID_CTRL) return describe_family();
    const bool isRoute = header->nlmsg_type == RTM_SETLINK || header->nlmsg_type == RTM_DELLINK;
    const Asked asked = isRoute ? read_port(header) : read_request(header);
    state.asked.push_back(asked);
    const auto found = state.answers.find(asked.command);
    return found == state.answers.end() ? Reply{ {}, -EOPNOTSUPP } : found->second(asked);
}

int on_send(nl_sock *socket, nl_msg *request) {
    nlmsghdr *header = nlmsg_hdr(request);
    const std::lock_guard guard(state.lock);
    const Reply reply = answer(header);
    if (reply.lost) return static_cast<int>(header->nlmsg_len);
    bool whole = true; // nothing follows a datagram that is cut
    const auto deliver = [&](Blob datagram) {
        if (!whole) return;
        whole = datagram.size() <= reply.cutTo;
        datagram.resize(std::min(datagram.size(), reply.cutTo));
        state.queues[socket].push_back(std::move(datagram));
    };
    const bool dump = (header->nlmsg_flags & NLM_F_DUMP) == NLM_F_DUMP;
    for (const Blob &content : reply.error ? std::vector<Blob>{} : reply.messages)
        deliver(generic(header->nlmsg_type, 1, static_cast<uint16_t>(reply.flags | (dump ? NLM_F_MULTI : 0)),
                        header->nlmsg_seq, content));
    deliver(ending(*header, reply.error, reply.flags));
    return static_cast<int>(header->nlmsg_len);
}

int on_receive(nl_sock *socket, sockaddr_nl *from, unsigned char **bytes, ucred **) {
    const std::lock_guard guard(state.lock);
    auto &queue = state.queues[socket];
    if (std::exchange(state.overflows, false)) return -NLE_NOMEM; // what libnl makes of ENOBUFS
    if (queue.empty()) return -NLE_AGAIN;
    const Blob datagram = queue.front();
    queue.pop_front();
    uint64_t count;
    if (queue.empty() && state.fds.contains(socket) && read(state.fds[socket], &count, sizeof count) < 0)
        perror("eventfd");
    *from = {};
    from->nl_family = AF_NETLINK;
    *bytes = static_cast<unsigned char *>(malloc(datagram.size()));
    memcpy(*bytes, datagram.data(), datagram.size());
    return static_cast<int>(datagram.size());
}

} // namespace

namespace radio {

int netlink_port_connect(nl_sock *socket) {
    nl_cb *callbacks = nl_socket_get_cb(socket);
    nl_cb_overwrite_send(callbacks, on_send);
    nl_cb_overwrite_recv(callbacks, on_receive);
    nl_cb_put(callbacks);
    const std::lock_guard guard(state.lock);
    state.queues[socket].clear(); // the address may be that of an earlier one
    state.listeners.erase(socket);
    if (const auto fd = state.fds.find(socket); fd != state.fds.end()) {
        close(fd->second);
        state.fds.erase(fd);
    }
    return 0;
}

int netlink_port_connect_route(nl_sock *socket) { return netlink_port_connect(socket); }

int netlink_port_join(nl_sock *socket, int group) {
    const std::lock_guard guard(state.lock);
    state.listeners[socket].insert(group);
    return group >= FIRST_GROUP ? 0 : -1;
}

int netlink_port_fd(nl_sock *socket) {
    const std::lock_guard guard(state.lock);
    return state.fds[socket] = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
}

int netlink_port_wait(nl_sock *socket, int ms) {
    std::unique_lock guard(state.lock);
    const bool listens = state.listeners.contains(socket);
    const auto ready = [&] { return state.overflows || !state.queues[socket].empty(); };
    if (!listens || ready() || state.changed.wait_for(guard, std::chrono::milliseconds(ms), ready)) return ready();
    state.ahead += state.stopped ? ms : 0;
    return 0;
}

int64_t clock_ms() {
    using namespace std::chrono;
    const std::lock_guard guard(state.lock);
    const int64_t now = duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
    return (state.stopped ? state.stopped : now) + state.ahead;
}

void clock_sleep(int ms) { clock_advance(ms); }

} // namespace radio

void clock_advance(int64_t ms) {
    const std::lock_guard guard(state.lock);
    state.ahead += ms;
}

void clock_stop() { state.stopped = radio::clock_ms() - state.ahead; }

Blob attribute(int type, const void *data, size_t size) {
    Blob out;
    append(out, nlattr{ static_cast<uint16_t>(NLA_HDRLEN + size), static_cast<uint16_t>(type) });
    append(out, data, size);
    out.resize((out.size() + 3) & ~size_t{ 3 });
    return out;
}

Blob text(int type, const std::string &value) { return attribute(type, value.c_str(), value.size() + 1); }

Blob join(std::initializer_list<Blob> parts) {
    Blob out;
    for (const Blob &part : parts) append(out, part.data(), part.size());
    return out;
}

Blob nest(int type, std::initializer_list<Blob> parts) {
    const Blob inner = join(parts);
    return attribute(type, inner.data(), inner.size());
}

Blob mac(int type, uint8_t last) {
    const uint8_t bytes[6] = { 2, 0x11, 0, 0, 0, last };
    return attribute(type, bytes, sizeof bytes);
}

std::vector<Blob> recorded(const std::string &name) {
    std::ifstream file(std::string(VESK_RECORDED) + "/" + name, std::ios::binary);
    const Blob bytes((std::istreambuf_iterator<char>(file)), {});
    std::vector<Blob> contents;
    for (size_t at = 0; at + NLMSG_HDRLEN + GENL_HDRLEN <= bytes.size();) {
        nlmsghdr header;
        memcpy(&header, &bytes[at], sizeof header);
        contents.emplace_back(bytes.begin() + static_cast<long>(at) + NLMSG_HDRLEN + GENL_HDRLEN,
                              bytes.begin() + static_cast<long>(at + header.nlmsg_len));
        at += NLMSG_ALIGN(header.nlmsg_len);
    }
    return contents;
}

FakeKernel::FakeKernel() {
    const std::lock_guard guard(state.lock);
    state.kernel = this;
}

FakeKernel::~FakeKernel() {
    const std::lock_guard guard(state.lock);
    state.kernel = nullptr;
    state.stopped = 0;
    state.answers.clear();
    state.asked.clear();
}

void FakeKernel::on(uint8_t command, Reply reply) {
    on(command, [reply](const Asked &) { return reply; });
}

void FakeKernel::on(uint8_t command, std::function<Reply(const Asked &)> answer) {
    const std::lock_guard guard(state.lock);
    state.answers[command] = std::move(answer);
}

void FakeKernel::send_event(uint8_t command, const Blob &content, const char *to) {
    const std::lock_guard guard(state.lock);
    const auto at = std::ranges::find(groups, std::string_view(to));
    const int id = FIRST_GROUP + static_cast<int>(at - groups);
    for (const auto &[socket, joined] : state.listeners) {
        if (!joined.contains(id)) continue;
        state.queues[socket].push_back(generic(FAMILY, command, 0, 0, content));
        if (state.fds.contains(socket)) eventfd_write(state.fds[socket], 1);
    }
    state.changed.notify_all();
}

void FakeKernel::overflow() {
    const std::lock_guard guard(state.lock);
    state.overflows = true;
    for (const auto &[socket, fd] : state.fds) eventfd_write(fd, 1);
}

std::vector<Asked> FakeKernel::asked(uint8_t command) {
    const std::lock_guard guard(state.lock);
    std::vector<Asked> found;
    for (const Asked &one : state.asked)
        if (one.command == command) found.push_back(one);
    return found;
}
