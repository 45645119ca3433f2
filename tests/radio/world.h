// The world of the radio tests, inside the guest: hostapd on two radios under test (phy0 at 2.4, phy1 at 5 GHz, three
// BSSs each), two stations (wlan2 a telephone, wlan3 a mesh node's backhaul station), two neighbours (wlan4, wlan5).
// The truth about them is what iw, hostapd_cli, wpa_cli and /sys say when asked. All times are virtual.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <vector>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/** As long as it lives the same command is run once, and its answer holds: each program that starts costs the guest
 * some 10 ms, and reading long answers again and again nearly as much. Never two at a time. */
struct Moment {
    Moment() { now = ++last; }
    ~Moment() { now = 0; }
    Moment(const Moment &) = delete;
    Moment &operator=(const Moment &) = delete;
    static inline int last, now; // 0: none
};
/** What `make` gives, made once for a name in a moment; every caller has names of its own. */
template <class Make>
auto of_moment(const std::string &name, Make make) {
    static std::map<std::string, decltype(make())> known;
    static int since;
    if (Moment::now == 0) return make();
    if (since != Moment::now) known.clear();
    since = Moment::now;
    if (const auto at = known.find(name); at != known.end()) return at->second;
    return known.emplace(name, make()).first->second;
}
/** What a shell command prints on both streams; it may use the words of words.sh. */
std::string sh(const std::string &command);
std::string read_file(const std::string &path);

/** Asks until the answer is yes or the time is over, at most every `pause`. */
bool within(std::chrono::milliseconds span, const std::function<bool()> &question,
            std::chrono::milliseconds pause = 20ms);

/** The first group of the first match (whole match without a group) in a text; empty without one. */
std::string find(const std::string &text, const std::string &pattern);
/** The same for every match, in order. */
std::vector<std::string> find_all(const std::string &text, const std::string &pattern, size_t most = SIZE_MAX);
std::string join_words(const std::vector<std::string> &words);

/** hostapd's answer to a control command on a BSS, the first line that isn't hostapd_cli's own. */
std::string hostapd(const std::string &bss, const std::string &command);
/** wpa_supplicant's. */
std::string supplicant(const std::string &interface, const std::string &command);

inline const std::string phone = "02:00:00:00:02:00"; // wlan2
inline const std::string agent = "02:00:00:00:03:00"; // wlan3

/** Networks of the telephone, phone.conf. */
enum Network { LINDENHOF_24, LINDENHOF_5, GUESTS };
/** Joins, waits until the access point has authorised it, and holds the link until the scope ends. */
struct Joined {
    std::string interface;
    Joined(const std::string &interface, int network);
    ~Joined();
    Joined(const Joined &) = delete;
    Joined &operator=(const Joined &) = delete;
};

/** Starts what the tests and the shell stand in. False, with a line on stderr, if something doesn't come up. */
bool start_world();
