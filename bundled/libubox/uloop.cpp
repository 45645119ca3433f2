// The loop itself and its descriptors. One pass: due timers, a stop, then one callback
// of one descriptor; what else the poll returned is served in the following passes, so that timers and a
// stop are looked at between any two callbacks.
#include "bundled/libubox/uloop_internal.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/epoll.h>
#include <unistd.h>

bool uloop_cancelled = false;

namespace
{
constexpr int batchSize = 10;

int pollFd = -1;

struct Batch {
    epoll_event event[batchSize];
    int count;
    int next;
} batch;

uint32_t poll_mask(unsigned int flags)
{
    return EPOLLRDHUP | (flags & ULOOP_READ ? EPOLLIN : 0u) | (flags & ULOOP_WRITE ? EPOLLOUT : 0u) |
           (flags & ULOOP_EDGE_TRIGGER ? EPOLLET : 0u);
}

void set_nonblocking(int fd)
{
    const int flags = fcntl(fd, F_GETFL);
    if (flags >= 0 && !(flags & O_NONBLOCK))
        fcntl(fd, F_SETFL, flags | O_NONBLOCK);
}

void fetch_batch(int timeout)
{
    batch.next = 0;
    const int count = epoll_wait(pollFd, batch.event, batchSize, timeout);
    batch.count = count < 0 ? 0 : count;
}

// What a poll result means for the descriptor; unregisters it on an error it doesn't want to hear about.
unsigned int take_event(uloop_fd *sock, uint32_t polled)
{
    if (polled & (EPOLLERR | EPOLLHUP)) {
        sock->error = true;
        if (!(sock->flags & ULOOP_ERROR_CB))
            uloop_fd_delete(sock);
    }
    if (polled & EPOLLRDHUP)
        sock->eof = true;
    return (polled & EPOLLIN ? ULOOP_READ : 0u) | (polled & EPOLLOUT ? ULOOP_WRITE : 0u);
}
} // namespace

int uloop_poll_open()
{
    pollFd = epoll_create1(EPOLL_CLOEXEC);
    batch.count = batch.next = 0;
    return pollFd < 0 ? -1 : 0;
}

void uloop_poll_close()
{
    close(pollFd);
    pollFd = -1;
    batch.count = batch.next = 0;
}

void uloop_poll_once(int timeout)
{
    if (batch.next >= batch.count)
        fetch_batch(timeout);
    while (batch.next < batch.count) {
        const epoll_event event = batch.event[batch.next++];
        auto *sock = static_cast<uloop_fd *>(event.data.ptr);
        if (!sock)
            continue; // deleted meanwhile
        const unsigned int ready = take_event(sock, event.events);
        if (!sock->cb || (!ready && !sock->error && !sock->eof))
            continue;
        sock->cb(sock, ready);
        return;
    }
}

int uloop_fd_add(uloop_fd *sock, unsigned int flags)
{
    if (!(flags & (ULOOP_READ | ULOOP_WRITE)))
        return uloop_fd_delete(sock);
    if (!sock->registered && !(flags & ULOOP_BLOCKING))
        set_nonblocking(sock->fd);
    epoll_event event = {};
    event.events = poll_mask(flags);
    event.data.ptr = sock;
    if (epoll_ctl(pollFd, sock->registered ? EPOLL_CTL_MOD : EPOLL_CTL_ADD, sock->fd, &event) < 0)
        return -1;
    sock->flags = static_cast<uint8_t>(flags);
    sock->registered = true;
    sock->eof = false;
    sock->error = false;
    return 0;
}

int uloop_fd_delete(uloop_fd *sock)
{
    for (int i = batch.next; i < batch.count; i++)
        if (batch.event[i].data.ptr == sock)
            batch.event[i].data.ptr = nullptr;
    if (!sock->registered)
        return 0;
    sock->registered = false;
    sock->flags = 0;
    epoll_event unused = {};
    return epoll_ctl(pollFd, EPOLL_CTL_DEL, sock->fd, &unused) < 0 ? -1 : 0;
}

int uloop_init()
{
    if (pollFd >= 0)
        return 0;
    if (uloop_poll_open() < 0)
        return -1;
    if (uloop_signals_open() < 0) {
        uloop_done();
        return -1;
    }
    uloop_alarm_open();
    return 0;
}

void uloop_done()
{
    if (pollFd < 0)
        return;
    uloop_signals_close();
    uloop_timers_clear();
    uloop_alarm_close();
    uloop_poll_close();
}

int uloop_run_timeout(int timeout)
{
    uloop_clear_stop();
    uloop_cancelled = false;
    do {
        uloop_timers_run();
        if (uloop_cancelled)
            break;
        int wait = uloop_timers_wait();
        if (timeout >= 0 && (wait < 0 || wait > timeout))
            wait = timeout;
        uloop_poll_once(wait);
    } while (!uloop_cancelled && timeout < 0);
    return uloop_stop_signal();
}
