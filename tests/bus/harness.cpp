#include "tests/bus/harness.h"

#include "foundation/ubus_headers.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

namespace
{
std::string padded(std::string data)
{
    data.resize((data.size() + 3) / 4 * 4, '\0');
    return data;
}

uint32_t read32(const std::string &data, size_t at)
{
    uint32_t value;
    memcpy(&value, data.data() + at, sizeof value);
    return ntohl(value);
}

int connect_to(const std::string &path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0)
        return fd;
    close(fd);
    return -1;
}
} // namespace

std::string bytes(std::string_view hex)
{
    std::string data, digits;
    for (const char c : hex)
        if (c != ' ')
            digits += c;
    for (size_t i = 0; i + 1 < digits.size(); i += 2)
        data += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    return data;
}

std::string be(uint64_t value, size_t size)
{
    std::string data(size, 0);
    for (; size; value >>= 8)
        data[--size] = static_cast<char>(value);
    return data;
}

std::string attr(uint32_t id, const std::string &payload)
{
    return padded(be32(id << 24 | (payload.size() + 4)) + payload);
}

std::string field(uint32_t type, const std::string &name, const std::string &value)
{
    const std::string header = padded(be(name.size(), 2) + name + '\0');
    return attr(0x80 | type, header + value);
}

std::string message(int type, uint16_t seq, uint32_t peer, const std::string &body)
{
    return std::string{ '\0', static_cast<char>(type) } + be(seq, 2) + be32(peer) + be32(body.size() + 4) +
           body;
}

std::string event(const std::string &id, const std::string &content)
{
    return message(UBUS_MSG_INVOKE, 9, 1,
                   object_attr(1) + method_attr("send") +
                       data_attr(text_field("id", id) + field(BLOBMSG_TYPE_TABLE, "data", content)));
}

std::string listen(uint32_t object, const std::string &pattern)
{
    return message(UBUS_MSG_INVOKE, 8, 1,
                   object_attr(1) + method_attr("register") +
                       data_attr(int_field("object", object) + text_field("pattern", pattern)));
}

std::optional<std::string> Message::get(uint32_t id) const
{
    for (size_t at = 0; at + 4 <= body.size();) {
        const uint32_t word = read32(body, at);
        const size_t length = word & 0xffffff;
        if (length < 4)
            break;
        if (word >> 24 == id)
            return body.substr(at + 4, length - 4);
        at += (length + 3) / 4 * 4;
    }
    return {};
}

std::optional<uint32_t> Message::number(uint32_t id) const
{
    const auto payload = get(id);
    return payload && payload->size() == 4 ? std::optional(read32(*payload, 0)) : std::nullopt;
}

Broker::Broker()
{
    char name[] = "/tmp/vesk-bus-XXXXXX";
    folder = mkdtemp(name);
    path = folder + "/bus.sock";
    start();
}

Broker::~Broker()
{
    stop(SIGKILL);
    unlink(path.c_str());
    rmdir(folder.c_str());
}

void Broker::start()
{
    const char *other = getenv("VESK_TEST_OTHER_BROKER");
    const char *program = other ? other : VESK_TEST_BROKER;
    pid = fork();
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        execl(program, program, "-s", path.c_str(), nullptr);
        _exit(127);
    }
    int fd = -1;
    EXPECT_TRUE(eventually([this, &fd] { return (fd = connect_to(path)) >= 0; }));
    close(fd);
}

int Broker::stop(int signal)
{
    const int status = pid > 0 ? end_child(pid, signal) : 0;
    pid = -1;
    return status;
}

Wire::Wire(const std::string &path) : fd(connect_to(path))
{
    const auto greeting = receive();
    EXPECT_TRUE(greeting && greeting->type == UBUS_MSG_HELLO);
    if (greeting)
        id = greeting->peer;
}

void Wire::send(const std::string &data_) const
{
    ::send(fd, data_.data(), data_.size(), MSG_NOSIGNAL); // blocks until all is out
}

std::optional<Message> Wire::receive(int timeoutMs)
{
    for (;;) {
        const size_t length = unread.size() < 12 ? 0 : 8 + (read32(unread, 8) & 0xffffff);
        if (length && unread.size() >= length) {
            Message m = { static_cast<uint8_t>(unread[1]), static_cast<uint16_t>(read32(unread, 0) & 0xffff),
                          read32(unread, 4), unread.substr(12, length - 12) };
            unread.erase(0, length);
            return m;
        }
        pollfd one = { fd, POLLIN, 0 };
        static char chunk[65536];
        const ssize_t count = poll(&one, 1, timeoutMs) > 0 ? recv(fd, chunk, sizeof chunk, 0) : 0;
        if (count <= 0)
            return {};
        unread.append(chunk, static_cast<size_t>(count));
    }
}

bool Wire::closed(int timeoutMs)
{
    while (receive(timeoutMs)) {
    }
    char byte;
    return recv(fd, &byte, 1, MSG_DONTWAIT) == 0 || errno == ECONNRESET;
}

std::optional<int> Wire::ask(const std::string &request)
{
    data.clear();
    send(request);
    while (const auto answer = receive()) {
        if (answer->type == UBUS_MSG_STATUS)
            return static_cast<int>(answer->number(UBUS_ATTR_STATUS).value_or(0xffff));
        data.push_back(*answer);
    }
    return {};
}

uint32_t Wire::add_object(const std::string &body)
{
    return ask(message(UBUS_MSG_ADD_OBJECT, 1, 0, body)) == 0
               ? data.back().number(UBUS_ATTR_OBJID).value_or(0)
               : 0;
}

pid_t in_child(const std::function<void()> &body)
{
    const pid_t pid = fork();
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        body();
        _exit(0);
    }
    return pid;
}

int end_child(pid_t pid, int signal)
{
    int status = -1;
    kill(pid, signal);
    kill(pid, SIGCONT);
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

int64_t now_ms()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{ now.tv_sec } * 1000 + now.tv_nsec / 1000000;
}

bool eventually(const std::function<bool()> &condition, int timeoutMs)
{
    for (const int64_t end = now_ms() + timeoutMs; now_ms() < end; usleep(2000))
        if (condition())
            return true;
    return condition();
}
