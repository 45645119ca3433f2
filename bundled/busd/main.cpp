// vesk-busd: the bus broker. Listens on one socket, serves all clients from one thread, goes on SIGTERM
// or SIGINT and takes its socket along.
#include "bundled/busd/busd.h"

#include <errno.h>
#include <fcntl.h>
#include <malloc.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/epoll.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{
constexpr const char *defaultSocket = "/var/run/ubus.sock";
constexpr int batchSize = 64;

int spareFd = -1; // given up for a moment to turn a client away when descriptors have run out

// What stands in epoll's data for the two descriptors that are no clients.
char listenerTag, signalTag;

// A socket that somebody accepts on, or did until its queue was full.
bool in_use(const sockaddr_un &address)
{
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const bool used =
        connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0 || errno == EAGAIN;
    close(fd);
    return used;
}

int open_listener(const char *path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (strlen(path) >= sizeof address.sun_path) {
        errno = ENAMETOOLONG;
        return -1;
    }
    memcpy(address.sun_path, path, strlen(path) + 1);
    if (in_use(address)) {
        errno = EADDRINUSE;
        return -1;
    }
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    unlink(path); // of a broker that is gone
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) < 0 ||
        chmod(path, 0666) < 0 || listen(fd, SOMAXCONN) < 0)
        return -1;
    return fd;
}

int open_signals()
{
    signal(SIGPIPE, SIG_IGN);
    sigset_t ending;
    sigemptyset(&ending);
    sigaddset(&ending, SIGTERM);
    sigaddset(&ending, SIGINT);
    sigprocmask(SIG_BLOCK, &ending, nullptr);
    return signalfd(-1, &ending, SFD_CLOEXEC);
}

bool watch(int fd, void *tag)
{
    epoll_event event = {};
    event.events = EPOLLIN;
    event.data.ptr = tag;
    return fd >= 0 && epoll_ctl(broker().pollFd, EPOLL_CTL_ADD, fd, &event) == 0;
}

int open_spare()
{
    return open("/dev/null", O_RDONLY | O_CLOEXEC);
}

// Out of descriptors: the waiting client is accepted and closed, or it would wake the loop for ever.
void turn_away(int listener)
{
    close(spareFd);
    close(accept(listener, nullptr, nullptr));
    spareFd = open_spare();
}

void accept_clients(int listener)
{
    int fd;
    while ((fd = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK)) >= 0)
        client_accept(fd);
    if (errno == EMFILE || errno == ENFILE)
        turn_away(listener);
}

// False when a signal tells to end.
bool serve(const epoll_event &event, int listener)
{
    if (event.data.ptr == &signalTag)
        return false;
    if (event.data.ptr == &listenerTag) {
        accept_clients(listener);
        return true;
    }
    Client &client = *static_cast<Client *>(event.data.ptr);
    if (event.events & EPOLLOUT)
        client_writable(client);
    if (event.events & (EPOLLIN | EPOLLHUP | EPOLLERR))
        client_readable(client);
    return true;
}

void run(int listener)
{
    epoll_event events[batchSize];
    for (bool going = true; going;) {
        const int count = epoll_wait(broker().pollFd, events, batchSize, -1);
        for (int i = 0; i < count; i++)
            going &= serve(events[i], listener);
        clients_settle(); // clients are only freed here, so the rest of a batch never points to one
    }
}

// The buffer of a long message is freed when it is out. Given back to the kernel each time, its pages would
// be cleared anew for the next one, which costs more than half of the rate from 300 kB on.
void keep_memory()
{
#ifdef __GLIBC__
    mallopt(M_MMAP_THRESHOLD, 4 * UBUS_MAX_MSGLEN);
    mallopt(M_TRIM_THRESHOLD, 8 * UBUS_MAX_MSGLEN);
#endif
}

const char *socket_of(int argc, char **argv)
{
    const char *path = defaultSocket;
    int option;
    while ((option = getopt(argc, argv, "s:")) == 's')
        path = optarg;
    if (option == -1 && optind == argc)
        return path;
    fprintf(stderr, "Usage: %s [-s SOCKET]    bus socket, default %s\n", argv[0], defaultSocket);
    exit(2);
}
} // namespace

Broker &broker()
{
    static Broker theBroker;
    return theBroker;
}

int main(int argc, char **argv)
{
    const char *path = socket_of(argc, argv);
    keep_memory();
    broker().pollFd = epoll_create1(EPOLL_CLOEXEC);
    const int signals = open_signals();
    const int listener = open_listener(path);
    spareFd = open_spare();
    if (!watch(signals, &signalTag) || !watch(listener, &listenerTag)) {
        fprintf(stderr, "vesk-busd: %s: %s\n", path, strerror(errno));
        return 1;
    }
    run(listener);
    unlink(path);
    clients_drop_all();
    return 0;
}
