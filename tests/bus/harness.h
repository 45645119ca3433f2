// Clients that speak bytes, a broker of the test's own, children, waiting.
#pragma once

#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <optional>
#include <signal.h>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "foundation/ubus_headers.h"
#include "tests/bus/failing_memory.h"

using namespace std::chrono_literals;

int connect_to(const std::string &path);           // -1: nobody there
int listen_at(const std::string &path);            // room for one client that waits
pid_t in_child(const std::function<void()> &body); // ends with the test
void end_child(pid_t pid);
size_t descriptors_of(pid_t pid); // that the process has open
const auto now_ms = [] { return std::chrono::steady_clock::now().time_since_epoch() / 1ms; };

// For whatever has to happen: a busy machine is slow. Only a failing test waits for that long.
inline constexpr int PATIENCE = 60000; // ms
bool eventually(const std::function<bool()> &condition);

std::string bytes(std::string hex);          // blanks and ' don't count
std::string be(uint64_t value, size_t size); // big-endian
const auto padded = [](std::string data) {
    data.resize((data.size() + 3) / 4 * 4);
    return data;
};
const auto be32 = [](uint64_t value) { return be(value, 4); };
const auto attr = [](uint32_t id, const std::string &p) { return padded(be32(id << 24 | (p.size() + 4)) + p); };
const auto field = [](uint32_t type, const std::string &name, const std::string &value) {
    return attr(0x80 | type, padded(be(name.size(), 2) + name + '\0') + value);
};
const auto message = [](uint32_t type, uint16_t seq, uint32_t peer, const std::string &body) {
    return be(type, 2) + be(seq, 2) + be32(peer) + be32(body.size() + 4) + body;
};
const auto text_attr = [](uint32_t id, const std::string &text) { return attr(id, text + '\0'); };
const auto object_attr = [](uint32_t id) { return attr(UBUS_ATTR_OBJID, be32(id)); };
const auto method_attr = [](const std::string &name) { return text_attr(UBUS_ATTR_METHOD, name); };
const auto data_attr = [](const std::string &fields) { return attr(UBUS_ATTR_DATA, fields); };
const auto text_field = [](const char *name, const std::string &text) { return field(3, name, text + '\0'); };
const auto int_field = [](const char *name, uint32_t value) { return field(5, name, be32(value)); };
// Calls of the event object: any, a sent event, a registered pattern.
const auto to_events = [](const char *method, const std::string &fields) {
    return message(UBUS_MSG_INVOKE, 9, 1, object_attr(1) + method_attr(method) + data_attr(fields));
};
const auto event = [](const std::string &id, const std::string &content) {
    return to_events("send", text_field("id", id) + field(BLOBMSG_TYPE_TABLE, "data", content));
};
const auto listen_to = [](uint32_t object, const std::string &pattern) {
    return to_events("register", int_field("object", object) + text_field("pattern", pattern));
};

constexpr uint32_t SILENCE = 256;

struct Message {
    uint32_t type = SILENCE, peer = 0;
    uint16_t seq = 0;
    std::string body;
    std::optional<std::string> get(uint32_t id) const; // payload of the first attribute of that id
    uint32_t number(uint32_t id) const;                // 0: none
    std::string whole() const { return message(type, seq, peer, body); }
};

// A broker on a socket of its own. VESK_TEST_OTHER_BROKER in the environment: that program instead of the built one.
struct Broker {
    std::string path = "/tmp/vesk-bus." + std::to_string(getpid());
    pid_t pid = -1;
    const char *program, *errors; // errors: file for its standard error; NULL: the test's
    explicit Broker(const char *p = VESK_TEST_BROKER, const char *e = nullptr) : program(p), errors(e) { start(); }
    ~Broker() { stop(), unlink(path.c_str()); }
    void start();
    void stop() { end_child(std::exchange(pid, -1)); }
    int finish(int signal); // its wait status
    void sleep();           // accepts connections and messages, by way of the kernel, and looks at none
    void wake() { kill(pid, SIGCONT); }
    bool idle() const; // it waits for something to do
};

// One connection that sends and receives bytes.
struct Wire {
    int fd;
    uint32_t id = 0; // the broker's number for it
    explicit Wire(const std::string &path);
    ~Wire() { close(fd); }
    Wire(const Wire &) = delete;
    void send(const std::string &all) const { ::send(fd, all.data(), all.size(), MSG_NOSIGNAL); }
    Message receive(bool waits = true);                     // of type SILENCE: nothing came
    bool closed();                                          // the broker hung up; unread messages are skipped
    bool alive() { return ask(message(3, 1, 0, "")) == 0; } // the broker answers it
    // Sends, returns the status; DATA messages before it are kept in `data`.
    std::optional<int> ask(const std::string &request);
    std::vector<Message> data;
    uint32_t answering = 0;                       // peer of the status
    uint32_t add_object(const std::string &body); // 0: refused
    uint32_t hear(const std::string &pattern);    // with an object of its own, its id; 0: refused
};
