// A device for the libraries: the recorded kernel with its two radios, /sys in a folder of its own, hostapd on sockets
// there. Recorded in a guest with simulated radios: phy0 has the access points wlan0 and wlan0b (2.4 GHz, channel 6),
// phy1 has wlan1 (channel 36, 80 MHz); one station is on wlan0, another on wlan0b.sta1, an interface of its own.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <thread>

#include "include/hul.h"
#include "include/rilk.h"
#include "tests/nl80211/fake_kernel.h"

/** A control socket that answers by the row that its commands begin with; what has no row stays unanswered. A form feed
 * parts a reply into two datagrams. */
struct FakeHostapd {
    FakeHostapd(const std::string &path, std::map<std::string, std::string> replies);
    ~FakeHostapd();
    std::vector<std::string> commands(); // waits for what has been sent and isn't heard yet
    void say(const std::string &command, const std::string &reply);
    static constexpr char silence[] = "..."; // as a reply: none
    void note(const std::string &what);      // stands among the commands from now on
    /** An event, to whoever has attached; waits for room in its queue. False if nobody has. */
    bool tell(const std::string &event);
    void drop();               // whoever has attached, as those are that don't read
    std::atomic<int> slow = 0; // ms of the libraries' clock that a command takes

private:
    void serve();
    std::string path;
    std::map<std::string, std::string> replies;
    std::vector<std::string> heard;
    std::mutex lock;
    std::string listener; // its abstract address
    int fd;
    std::atomic<bool> ends = false;
    std::thread thread;
};

struct World : testing::Test {
    World();
    ~World() override;
    void put(const std::string &file, const std::string &content); // below the root, folders are made
    void link(const std::string &file, const std::string &target);
    void remove(const std::string &path);
    void add_phy(int index, const std::string &name);
    void add_interface(uint32_t index, const std::string &name, int phy);
    /** Whether the library's log, since the world began, has a text. */
    bool logged(const std::string &text);

    FakeKernel kernel;
    const std::string root;
    std::string log;
};

/** Bytes as hexadecimal digits, and back. */
std::string hex(const void *bytes, size_t size);
std::vector<uint8_t> bytes_of(const std::string &digits);

/** Of an answer about all interfaces what a request about one of them gets. */
Reply narrowed(Reply interfaces, const Asked &asked);
/** An interface as GET_INTERFACE tells it. */
Blob interface(uint32_t index, int wiphy, uint32_t type, const std::string &name, uint32_t frequency, uint8_t last);
