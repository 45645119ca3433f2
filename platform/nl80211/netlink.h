// The one way to the kernel's wireless stack: requests of the generic netlink family nl80211, their answers,
// and the end of scans as an event. Only calls that libnl-tiny has as well are used, so that the same source
// serves OpenWrt.
//
// Any thread may ask; a request has a socket to itself, taken from a small pool. An answer that doesn't come
// within netlinkPatience ends a request: the kernel answers before the request returns, so a missing answer
// is a lost one.
#pragma once

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>

#include <linux/nl80211.h>

#include <netlink/attr.h>
#include <netlink/genl/ctrl.h>
#include <netlink/genl/genl.h>
#include <netlink/msg.h>

namespace radio
{

inline constexpr int netlinkPatience = 50; // ms
inline constexpr int netlinkInterrupted = -EINTR;

/** A request. What is zero, or negative for `wiphy`, is left out of the message. */
struct Query {
    uint8_t command = 0;
    bool dump = false;
    uint32_t ifindex = 0;
    int wiphy = -1;
    const uint8_t *mac = nullptr;  // 6 bytes
    bool splitWiphy = false;       // a wiphy in pieces: the only form that holds all of it
    bool sameGeneration = false;   // a dump whose messages differ in their generation counts as interrupted
    uint32_t scanFrequency = 0;    // MHz
    uint32_t scanFlags = 0;        // NL80211_SCAN_FLAG_...
    bool scanActive = false;       // probe requests with the wildcard SSID
    uint16_t scanDuration = 0;     // time units of 1024 us
    const char *newName = nullptr; // of an interface that is to be made
    uint32_t newType = 0;          // NL80211_IFTYPE_...
};

/** Attributes of one answer, by number; NULL where absent. */
using Attributes = nlattr * [NL80211_ATTR_MAX + 1];

/**
 * Sends a request and hands each answer to `visit`. 0; the kernel's error (negative errno), -ENODEV without
 * nl80211, -EIO if the answer was lost or cut, netlinkInterrupted if a dump was changed under the reader. On
 * an error `visit` may have seen a part.
 */
int netlink_ask(const Query &query, void (*visit)(const Attributes &answer, void *out), void *out);

/** Sees each request (NLM_F_REQUEST in its flags) and then its answers, for a tool that keeps them. Set
 * before the first request; NULL ends it. */
using NetlinkTap = void (*)(const nlmsghdr *message);
void netlink_tap(NetlinkTap to);

/** A dump is read anew this often before an interrupted one counts as failed. */
inline constexpr int netlinkAttempts = 4;

/**
 * The same for a result that is built from all answers: `result` is reset by `forget` before each attempt, so
 * that an interrupted dump leaves nothing behind.
 */
template <class T>
int netlink_read(const Query &query, void (*visit)(const Attributes &answer, T &result), T &result,
                 void (*forget)(T &result))
{
    struct Target {
        void (*visit)(const Attributes &, T &);
        T *result;
    } target = { visit, &result };
    int status = netlinkInterrupted;
    for (int i = 0; i < netlinkAttempts && status == netlinkInterrupted; i++) {
        forget(result);
        status = netlink_ask(
            query,
            [](const Attributes &answer, void *out) {
                auto *to = static_cast<Target *>(out);
                to->visit(answer, *to->result);
            },
            &target);
    }
    return status;
}

/** A socket that hears of scans. NULL without nl80211. Closed by netlink_close. */
nl_sock *netlink_listen();
void netlink_close(nl_sock *socket);

struct ScanEvent {
    uint8_t command; // NL80211_CMD_NEW_SCAN_RESULTS, NL80211_CMD_SCAN_ABORTED
    int wiphy;
    uint32_t ifindex;
    uint32_t frequency; // MHz, the first one; 0 where the kernel doesn't say
};

/** A socket that hears of groups of messages, for a loop of one's own; what it needs for poll() is in `fd`.
 */
nl_sock *netlink_listen_to(std::span<const char *const> groups, int &fd);

/**
 * Hands what waits in such a socket to `visit`, without waiting. 0, or negative: messages were lost, and what
 * is known has to be read anew.
 */
int netlink_receive(nl_sock *socket, void (*visit)(uint8_t command, const Attributes &content, void *out),
                    void *out);

/** Waits for the next end of a scan. 1; 0 when `ms` have passed without one; negative errno. */
int netlink_wait(nl_sock *socket, int ms, ScanEvent &event);

// What an attribute holds. All of them bear NULL and attributes that are shorter than what is asked for.

/** A number of the attribute's first bytes, or `absent`. */
template <class T>
T attr_value(const nlattr *attr, T absent = {})
{
    static_assert(std::is_arithmetic_v<T>);
    if (!attr || nla_len(attr) < static_cast<int>(sizeof(T)))
        return absent;
    T value;
    memcpy(&value, nla_data(attr), sizeof value);
    return value;
}

std::span<const uint8_t> attr_bytes(const nlattr *attr);

/** Copies a text, cut and terminated; "" if absent. */
void attr_text(const nlattr *attr, char *to, size_t size);

template <size_t N>
void attr_text(const nlattr *attr, char (&to)[N])
{
    attr_text(attr, to, N);
}

/** The attributes inside one, by number; all NULL if it is absent or broken. */
template <size_t N>
void attr_nested(const nlattr *attr, nlattr *(&table)[N])
{
    memset(static_cast<void *>(table), 0, sizeof table);
    if (attr && nla_parse(table, static_cast<int>(N) - 1, static_cast<nlattr *>(nla_data(attr)),
                          nla_len(attr), nullptr) != 0)
        memset(static_cast<void *>(table), 0, sizeof table);
}

/** Calls `use` for each attribute of a list inside one. */
template <class Use>
void attr_each(const nlattr *attr, Use use)
{
    if (!attr)
        return;
    int left = nla_len(attr);
    for (auto *item = static_cast<nlattr *>(nla_data(attr)); nla_ok(item, left); item = nla_next(item, &left))
        use(item);
}

} // namespace radio
