// A broker of the test's own and clients that speak bytes.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <signal.h>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <unistd.h>
#include <vector>

// Bytes written as hexadecimal digits; blanks don't count.
std::string bytes(std::string_view hex);
std::string be(uint64_t value, size_t size);               // big-endian
std::string attr(uint32_t id, const std::string &payload); // with its padding
std::string field(uint32_t type, const std::string &name, const std::string &value);
std::string message(int type, uint16_t seq, uint32_t peer, const std::string &body);
inline const auto be32 = [](uint64_t value) { return be(value, 4); };
inline const auto text_attr = [](uint32_t id, const std::string &text) { return attr(id, text + '\0'); };
inline const auto object_attr = [](uint32_t id) { return attr(3, be32(id)); };
inline const auto method_attr = [](const std::string &name) { return text_attr(4, name); };
inline const auto data_attr = [](const std::string &fields) { return attr(7, fields); };
inline const auto text_field = [](const char *name, const std::string &text) {
    return field(3, name, text + '\0');
};
inline const auto int_field = [](const char *name, uint32_t value) { return field(5, name, be32(value)); };
// Calls of the event object.
std::string event(const std::string &id, const std::string &content);
std::string listen(uint32_t object, const std::string &pattern);

struct Message {
    int type;
    uint16_t seq;
    uint32_t peer;
    std::string body;
    // Payload of the first attribute of that id.
    std::optional<std::string> get(uint32_t id) const;
    std::optional<uint32_t> number(uint32_t id) const;
};

// A broker on a socket of its own, in a folder of its own. VESK_TEST_OTHER_BROKER in the environment:
// that program instead of the built one.
struct Broker {
    std::string folder, path;
    pid_t pid = -1;
    Broker();
    ~Broker();
    void start();
    int stop(int signal); // wait status
    bool alive() const { return kill(pid, 0) == 0; }
};

// One connection that sends and receives bytes.
struct Wire {
    int fd;
    uint32_t id = 0; // the broker's number for it
    explicit Wire(const std::string &path);
    ~Wire() { close(fd); }
    Wire(const Wire &) = delete;
    void send(const std::string &data) const;
    std::optional<Message> receive(int timeoutMs = 2000);   // nothing: silence
    bool closed(int timeoutMs = 2000);                      // the broker hung up; unread messages are skipped
    bool alive() { return ask(message(3, 1, 0, "")) == 0; } // the broker answers it
    // Sends, returns the status; DATA messages before it are kept in `data`.
    std::optional<int> ask(const std::string &request);
    std::vector<Message> data;
    uint32_t add_object(const std::string &body); // 0: refused
private:
    std::string unread;
};

pid_t in_child(const std::function<void()> &body); // ends with the test
int end_child(pid_t pid, int signal);
int64_t now_ms();
bool eventually(const std::function<bool()> &condition, int timeoutMs = 3000);
