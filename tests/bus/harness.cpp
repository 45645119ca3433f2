#include "tests/bus/harness.h"

#include <arpa/inet.h>
#include <filesystem>
#include <fstream>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/un.h>
#include <sys/wait.h>

namespace {
const auto read32 = [](const std::string &data, size_t at) {
    uint32_t value;
    memcpy(&value, data.data() + at, sizeof value);
    return ntohl(value);
};
} // namespace

/** A socket that has been given to connect or bind; -1 if that one fails. */
template <class Use>
static int socket_at(const std::string &path, Use use) {
    sockaddr_un address = { AF_UNIX, {} };
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (use(fd, reinterpret_cast<sockaddr *>(&address), socklen_t{ sizeof address }) == 0) return fd;
    close(fd);
    return -1;
}

int connect_to(const std::string &path) { return socket_at(path, connect); }

int listen_at(const std::string &path) {
    const int fd = socket_at(path, bind);
    EXPECT_EQ(listen(fd, 0), 0);
    return fd;
}

std::string bytes(std::string hex) {
    std::string data;
    std::erase_if(hex, [](char c) { return c == ' ' || c == '\''; });
    for (size_t i = 0; i < hex.size(); i += 2) data += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
    return data;
}

std::string be(uint64_t value, size_t size) {
    std::string data(size, 0);
    for (; size; value >>= 8) data[--size] = static_cast<char>(value);
    return data;
}

std::optional<std::string> Message::get(uint32_t id) const {
    for (size_t at = 0, length; at + 4 <= body.size(); at += (length + 3) / 4 * 4) {
        length = std::max(read32(body, at) & 0xffffff, 4u);
        if (read32(body, at) >> 24 == id) return body.substr(at + 4, length - 4);
    }
    return {};
}

uint32_t Message::number(uint32_t id) const {
    const auto payload = get(id);
    return payload && payload->size() == 4 ? read32(*payload, 0) : 0;
}

void Broker::start() {
    const char *other = getenv("VESK_TEST_OTHER_BROKER");
    if (other && !errors) program = other;
    pid = in_child([this] {
        if (errors && !freopen(errors, "w", stderr)) _exit(1);
        execl(program, program, "-s", path.c_str(), nullptr);
    });
    EXPECT_TRUE(eventually([this] { return close(connect_to(path)) == 0; }));
}

int Broker::finish(int signal) {
    int status = -1;
    kill(pid, signal);
    waitpid(std::exchange(pid, -1), &status, 0);
    return status;
}

void Broker::sleep() {
    kill(pid, SIGSTOP);
    EXPECT_EQ(waitpid(pid, nullptr, WUNTRACED), pid);
}

bool Broker::idle() const {
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string number, name, state;
    stat >> number >> name >> state;
    return state == "S";
}

Wire::Wire(const std::string &path) : fd(connect_to(path)) {
    const timeval patience = { PATIENCE / 1000, 0 };
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    id = receive().peer;
}

Message Wire::receive(bool waits) {
    std::string head(12, '\0');
    if (!waits && recv(fd, head.data(), 1, MSG_PEEK | MSG_DONTWAIT) != 1) return {};
    if (recv(fd, head.data(), 12, MSG_WAITALL) != 12) return {};
    std::string body((read32(head, 8) & 0xffffff) - 4, '\0');
    if (!body.empty() && recv(fd, body.data(), body.size(), MSG_WAITALL) != static_cast<ssize_t>(body.size()))
        return {};
    return { static_cast<uint8_t>(head[1]), read32(head, 4), static_cast<uint16_t>(read32(head, 0)), body };
}

bool Wire::closed() {
    while (receive().type != SILENCE) {
    }
    char byte;
    return recv(fd, &byte, 1, MSG_DONTWAIT) == 0 || errno == ECONNRESET;
}

std::optional<int> Wire::ask(const std::string &request) {
    data.clear();
    send(request);
    for (Message m = receive(); m.type != SILENCE; m = receive()) {
        answering = m.type == UBUS_MSG_STATUS ? m.peer : 0;
        if (m.type == UBUS_MSG_STATUS)
            return m.get(UBUS_ATTR_STATUS) ? static_cast<int>(m.number(UBUS_ATTR_STATUS)) : -1;
        data.push_back(m);
    }
    return {};
}

uint32_t Wire::add_object(const std::string &body) {
    const bool added = ask(message(UBUS_MSG_ADD_OBJECT, 1, 0, body)) == 0 && !data.empty();
    return added ? data.back().number(UBUS_ATTR_OBJID) : 0;
}

uint32_t Wire::hear(const std::string &pattern) {
    const uint32_t object = add_object("");
    return ask(listen_to(object, pattern)) == 0 ? object : 0;
}

Plan &shared_plan() {
    static void *const plan = [] {
        const int file = memfd_create("plan", 0);
        EXPECT_EQ(ftruncate(file, sizeof(Plan)), 0);
        EXPECT_EQ(dup2(file, PLAN_FD), PLAN_FD);
        return mmap(nullptr, sizeof(Plan), PROT_READ | PROT_WRITE, MAP_SHARED, PLAN_FD, 0);
    }();
    return *static_cast<Plan *>(plan);
}

pid_t in_child(const std::function<void()> &body) {
    const pid_t pid = fork();
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        body();
        _exit(0);
    }
    return pid;
}

void end_child(pid_t pid) {
    if (pid > 0) kill(pid, SIGKILL);
    while (pid > 0 && waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
    }
}

size_t descriptors_of(pid_t pid) {
    const std::filesystem::directory_iterator all("/proc/" + std::to_string(pid) + "/fd");
    return static_cast<size_t>(std::distance(begin(all), end(all)));
}

/** Without a look at the clock, which a test may have stopped. */
bool eventually(const std::function<bool()> &condition) {
    for (int left = PATIENCE / 5; !condition(); left--) {
        if (left == 0) return false;
        usleep(5000);
    }
    return true;
}
