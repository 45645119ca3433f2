// The kernel's side of nl80211: answers with recorded or built messages, notes what it was asked, sends events. It
// stands where netlink_port.cpp stands in the library, below libnl, whose handling of messages is the real one.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <linux/netlink.h>
#include <linux/nl80211.h>

using Blob = std::vector<uint8_t>;

// Attributes: a message's content is a row of them.
Blob attribute(int type, const void *data, size_t size);
template <class T>
Blob number(int type, T value) {
    return attribute(type, &value, sizeof value);
}
Blob text(int type, const std::string &value);
inline Blob flag(int type) { return attribute(type, nullptr, 0); }
Blob join(std::initializer_list<Blob> parts);
Blob nest(int type, std::initializer_list<Blob> parts);
Blob mac(int type, uint16_t last); // 02:11:00:00:LAST

std::string content_of(const std::string &file);
/** Whole messages, one behind the other. */
std::vector<Blob> messages_of(const std::string &bytes);
/** Contents of the messages in tests/nl80211/recorded/NAME, as a kernel once sent them. */
std::vector<Blob> recorded(const std::string &name);

/** What a request asked. */
struct Asked {
    uint8_t command;
    bool dump = false;
    uint32_t ifindex = 0;
    int wiphy = -1;
    uint32_t frequency = 0, flags = 0;
    int duration = -1; // time units, -1 without
    bool active = false;
    uint8_t station = 0; // last byte of the MAC
};

Asked read_request(nlmsghdr *header);

struct Reply {
    std::vector<Blob> messages;
    int error = 0;         // negative errno
    uint16_t flags = 0;    // of each message
    size_t cutTo = 100000; // bytes of a datagram that arrive
    bool lost = false;     // nothing arrives
};

struct FakeKernel {
    FakeKernel();
    ~FakeKernel();
    void on(uint8_t command, Reply reply);
    void on(uint8_t command, std::function<Reply(const Asked &)> answer);
    void send_event(uint8_t command, const Blob &content, const char *group = "scan");
    void send_event(uint8_t command, int wiphy) { send_event(command, number<int>(NL80211_ATTR_WIPHY, wiphy)); }
    void overflow(); // the next reading of a socket says that messages were lost
    std::vector<Asked> asked(uint8_t command);
    bool present = true; // nl80211 is there
};

void clock_advance(int64_t ms);
/** From here to the kernel's end time passes only in clock_advance, in pauses, and in waits that nothing ended. */
void clock_stop();
