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
    const auto number = [&](int attr) { return radio::attr_value<uint32_t>(attrs[attr]); };
    const nlattr *duration = attrs[NL80211_ATTR_MEASUREMENT_DURATION];
    Asked asked = { .command = static_cast<genlmsghdr *>(nlmsg_data(header))->cmd,
                    .dump = (header->nlmsg_flags & NLM_F_DUMP) != 0,
                    .ifindex = number(NL80211_ATTR_IFINDEX),
                    .wiphy = radio::attr_value<int>(attrs[NL80211_ATTR_WIPHY], -1),
                    .flags = number(NL80211_ATTR_SCAN_FLAGS),
                    .duration = duration ? radio::attr_value<uint16_t>(duration) : -1,
                    .active = attrs[NL80211_ATTR_SCAN_SSIDS] != nullptr };
    if (const auto mac = radio::attr_bytes(attrs[NL80211_ATTR_MAC]); mac.size() == 6) asked.station = mac[5];
    radio::attr_each(attrs[NL80211_ATTR_SCAN_FREQUENCIES],
                     [&](const nlattr *one) { asked.frequency = radio::attr_value<uint32_t>(one); });
    return asked;
}

namespace {

constexpr uint16_t FAMILY = 0x1c;
const char *const groups[] = { "config", "scan", "regulatory", "mlme" }; // numbers from 5 on
constexpr int FIRST_GROUP = 5;

struct Socket {
    std::deque<Blob> queue; // datagrams on their way
    std::set<int> groups;   // that it listens to
    int fd = -1;            // readable while the queue has something
};

struct State {
    std::recursive_mutex lock; // an answer may send an event
    std::condition_variable_any changed;
    FakeKernel *kernel = nullptr;
    std::map<uint8_t, std::function<Reply(const Asked &)>> answers;
    std::vector<Asked> asked;
    std::map<nl_sock *, Socket> sockets;
    bool overflows = false;
    int64_t ahead = 0;   // ms that the clock was advanced
    int64_t stopped = 0; // where the clock stands, 0: it runs
} state;

template <class T>
Blob raw(const T &value) {
    Blob out(sizeof value);
    memcpy(out.data(), &value, sizeof value);
    return out;
}

Blob padded(Blob blob) {
    blob.resize((blob.size() + 3) & ~size_t{ 3 });
    return blob;
}

Blob message(uint16_t type, uint16_t flags, uint32_t seq, const Blob &payload) {
    const auto length = static_cast<uint32_t>(NLMSG_HDRLEN + payload.size());
    return padded(join({ raw(nlmsghdr{ length, type, flags, seq, 0 }), payload }));
}

Blob generic(uint16_t family, uint8_t command, uint16_t flags, uint32_t seq, const Blob &content) {
    return message(family, flags, seq, join({ raw(genlmsghdr{ command, 1, 0 }), content }));
}

bool is_dump(const nlmsghdr &request) { return (request.nlmsg_flags & NLM_F_DUMP) == NLM_F_DUMP; }

Blob ending(const nlmsghdr &request, int error, uint16_t flags) {
    if (error == 0 && is_dump(request)) return message(NLMSG_DONE, NLM_F_MULTI | flags, request.nlmsg_seq, raw(0));
    return message(NLMSG_ERROR, 0, request.nlmsg_seq, raw(nlmsgerr{ error, request }));
}

Blob group(int i) {
    return nest(i + 1, { number<uint32_t>(CTRL_ATTR_MCAST_GRP_ID, static_cast<uint32_t>(FIRST_GROUP + i)),
                         text(CTRL_ATTR_MCAST_GRP_NAME, groups[i]) });
}

Reply describe_family() {
    return { { join({ number<uint16_t>(CTRL_ATTR_FAMILY_ID, FAMILY), text(CTRL_ATTR_FAMILY_NAME, "nl80211"),
                      nest(CTRL_ATTR_MCAST_GROUPS, { group(0), group(1), group(2), group(3) }) }) } };
}

/** Of a bridge's port: the command is the message's type, the flags are the VLAN's and, above them, its number. */
Asked read_port(nlmsghdr *header) {
    nlattr *attrs[IFLA_MAX + 1], *bridge[IFLA_BRIDGE_MAX + 1];
    nlmsg_parse(header, sizeof(ifinfomsg), attrs, IFLA_MAX, nullptr);
    radio::attr_nested(attrs[IFLA_AF_SPEC], bridge);
    return { .command = static_cast<uint8_t>(header->nlmsg_type),
             .ifindex = static_cast<uint32_t>(static_cast<ifinfomsg *>(nlmsg_data(header))->ifi_index),
             .flags = radio::attr_value<uint32_t>(bridge[IFLA_BRIDGE_VLAN_INFO]) };
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
    std::deque<Blob> datagrams;
    const auto flags = static_cast<uint16_t>(reply.flags | (is_dump(*header) ? NLM_F_MULTI : 0));
    for (const Blob &content : reply.error ? std::vector<Blob>{} : reply.messages)
        datagrams.push_back(generic(header->nlmsg_type, 1, flags, header->nlmsg_seq, content));
    datagrams.push_back(ending(*header, reply.error, reply.flags));
    bool whole = !reply.lost; // nothing follows a datagram that is cut
    for (Blob &datagram : datagrams) {
        if (!whole) break;
        whole = datagram.size() <= reply.cutTo;
        datagram.resize(std::min(datagram.size(), reply.cutTo));
        state.sockets[socket].queue.push_back(datagram);
    }
    return static_cast<int>(header->nlmsg_len);
}

int on_receive(nl_sock *socket, sockaddr_nl *from, unsigned char **bytes, ucred **) {
    const std::lock_guard guard(state.lock);
    auto &[queue, joined, fd] = state.sockets[socket];
    if (std::exchange(state.overflows, false)) return -NLE_NOMEM; // what libnl makes of ENOBUFS
    if (queue.empty()) return -NLE_AGAIN;
    const Blob datagram = queue.front();
    queue.pop_front();
    eventfd_t count;
    if (queue.empty() && fd >= 0 && eventfd_read(fd, &count) < 0) perror("eventfd");
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
    Socket &own = state.sockets[socket]; // the address may be that of an earlier one
    if (own.fd >= 0) close(own.fd);
    own = {};
    return 0;
}

int netlink_port_connect_route(nl_sock *socket) { return netlink_port_connect(socket); }

int netlink_port_join(nl_sock *socket, int group) {
    const std::lock_guard guard(state.lock);
    state.sockets[socket].groups.insert(group);
    return group >= FIRST_GROUP ? 0 : -1;
}

int netlink_port_fd(nl_sock *socket) {
    const std::lock_guard guard(state.lock);
    return state.sockets[socket].fd = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
}

int netlink_port_wait(nl_sock *socket, int ms) {
    std::unique_lock guard(state.lock);
    const Socket &own = state.sockets[socket];
    const auto ready = [&] { return state.overflows || !own.queue.empty(); };
    if (own.groups.empty() || ready() || state.changed.wait_for(guard, std::chrono::milliseconds(ms), ready))
        return ready();
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
    const auto *bytes = static_cast<const uint8_t *>(data);
    const nlattr header = { static_cast<uint16_t>(NLA_HDRLEN + size), static_cast<uint16_t>(type) };
    return padded(join({ raw(header), Blob(bytes, bytes + size) }));
}

Blob text(int type, const std::string &value) { return attribute(type, value.c_str(), value.size() + 1); }

Blob join(std::initializer_list<Blob> parts) {
    Blob out;
    for (const Blob &part : parts) out.insert(out.end(), part.begin(), part.end());
    return out;
}

Blob nest(int type, std::initializer_list<Blob> parts) {
    const Blob inner = join(parts);
    return attribute(type, inner.data(), inner.size());
}

Blob mac(int type, uint16_t last) {
    const uint8_t bytes[6] = { 2, 0x11, 0, 0, static_cast<uint8_t>(last >> 8), static_cast<uint8_t>(last) };
    return attribute(type, bytes, sizeof bytes);
}

std::string content_of(const std::string &file) {
    std::ifstream stream(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(stream), {});
}

std::vector<Blob> messages_of(const std::string &bytes) {
    std::vector<Blob> messages;
    nlmsghdr header;
    for (size_t at = 0; at + sizeof header <= bytes.size(); at += NLMSG_ALIGN(header.nlmsg_len)) {
        memcpy(&header, &bytes[at], sizeof header);
        header.nlmsg_len = std::max<uint32_t>(header.nlmsg_len, sizeof header);
        const std::string one = bytes.substr(at, header.nlmsg_len);
        messages.emplace_back(one.begin(), one.end());
    }
    return messages;
}

std::vector<Blob> recorded(const std::string &name) {
    std::vector<Blob> contents = messages_of(content_of(std::string(VESK_RECORDED) + "/" + name));
    for (Blob &one : contents) one.erase(one.begin(), one.begin() + NLMSG_HDRLEN + GENL_HDRLEN);
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
    for (auto &[socket, own] : state.sockets) {
        if (!own.groups.contains(id)) continue;
        own.queue.push_back(generic(FAMILY, command, 0, 0, content));
        if (own.fd >= 0) eventfd_write(own.fd, 1);
    }
    state.changed.notify_all();
}

void FakeKernel::overflow() {
    const std::lock_guard guard(state.lock);
    state.overflows = true;
    for (const auto &[socket, own] : state.sockets)
        if (own.fd >= 0) eventfd_write(own.fd, 1);
}

std::vector<Asked> FakeKernel::asked(uint8_t command) {
    const std::lock_guard guard(state.lock);
    std::vector<Asked> found;
    for (const Asked &one : state.asked)
        if (one.command == command) found.push_back(one);
    return found;
}
