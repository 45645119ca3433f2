#include "platform/merka/greeting.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <ctime>

namespace
{

constexpr int greetingBytes = 12; // sent by the broker in one write

int64_t now_ms()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{ now.tv_sec } * 1000 + now.tv_nsec / 1000000;
}

Greeting await(int fd, int limitMs, bool (*stop)())
{
    const int64_t deadline = now_ms() + limitMs;
    Greeting greeting = greeting_look(fd);
    for (int64_t left = limitMs; greeting == Greeting::missing && left > 0; left = deadline - now_ms()) {
        pollfd entry = { fd, POLLIN, 0 };
        poll(&entry, 1, static_cast<int>(left));
        greeting = greeting_look(fd);
        if (stop != nullptr && stop())
            break;
    }
    return greeting;
}

} // namespace

int greeting_open(const char *path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (strlen(path) >= sizeof address.sun_path) {
        errno = ENAMETOOLONG;
        return -1;
    }
    strcpy(address.sun_path, path);
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0 || connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0)
        return fd;
    const int why = errno;
    close(fd);
    errno = why;
    return -1;
}

Greeting greeting_look(int fd)
{
    char bytes[greetingBytes];
    const ssize_t length = recv(fd, bytes, sizeof bytes, MSG_PEEK | MSG_DONTWAIT);
    if (length == greetingBytes)
        return Greeting::ready;
    if (length < 0 && (errno == EAGAIN || errno == EINTR))
        return Greeting::missing;
    return Greeting::refused;
}

Greeting greeting_await(const char *path, int limitMs, bool (*stop)())
{
    const int fd = greeting_open(path);
    if (fd < 0)
        return errno == EAGAIN ? Greeting::missing : Greeting::refused;
    const Greeting greeting = await(fd, limitMs, stop);
    close(fd);
    return greeting;
}
