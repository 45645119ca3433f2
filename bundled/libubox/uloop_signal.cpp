// Signals. The handlers only set flags and write the signal's number into a pipe
// that the loop watches, which ends a wait and carries signals to their callbacks on the loop's thread.
#include "bundled/libubox/uloop_internal.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

namespace
{
int wakeReader = -1;
int wakeWriter = -1;
volatile sig_atomic_t stopSignal = 0;

list_head signals = LIST_HEAD_INIT(signals);
uloop_fd waker;

void wake(int signo)
{
    const int saved = errno;
    const auto byte = static_cast<unsigned char>(signo);
    if (write(wakeWriter, &byte, 1) < 0) {
        // The pipe is full: the loop is going to wake anyway.
    }
    errno = saved;
}

void on_stop(int signo)
{
    stopSignal = signo;
    uloop_cancelled = true;
    wake(signo);
}

struct DefaultAction {
    int signo;
    void (*handler)(int);
    bool restored; // put back by uloop_done
    bool installed;
    struct sigaction before;
} defaults[] = {
    { SIGINT, on_stop, true, false, {} },
    { SIGTERM, on_stop, true, false, {} },
    { SIGPIPE, SIG_IGN, false, false, {} },
};

// No SA_RESTART: a blocking system call returns, so that a stop is noticed.
int set_action(int signo, void (*handler)(int), struct sigaction *before)
{
    struct sigaction action = {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    return sigaction(signo, &action, before);
}

void install_defaults()
{
    for (DefaultAction &row : defaults) {
        struct sigaction current;
        if (row.installed)
            continue;
        if (sigaction(row.signo, nullptr, &current) < 0 || current.sa_handler != SIG_DFL)
            continue; // someone else's action is kept
        row.installed = set_action(row.signo, row.handler, &row.before) == 0;
    }
}

void run_signal_callbacks(int signo)
{
    uloop_signal *s;
    uloop_signal *following;
    list_for_each_entry_safe(s, following, &signals, list)
    {
        if (s->signo != signo || !s->cb)
            continue;
        s->cb(s);
        return; // one action per signal; the list may have changed
    }
}

void on_wake(uloop_fd *u, unsigned int)
{
    unsigned char byte[64];
    ssize_t count;
    while ((count = read(u->fd, byte, sizeof byte)) > 0)
        for (ssize_t i = 0; i < count; i++)
            run_signal_callbacks(byte[i]);
}

} // namespace

int uloop_signals_open()
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) < 0)
        return -1;
    wakeReader = ends[0];
    wakeWriter = ends[1];
    waker = {};
    waker.fd = wakeReader;
    waker.cb = on_wake;
    if (uloop_fd_add(&waker, ULOOP_READ) < 0)
        return -1;
    install_defaults();
    return 0;
}

void uloop_signals_close()
{
    while (!list_empty(&signals))
        uloop_signal_delete(list_first_entry(&signals, uloop_signal, list));
    for (DefaultAction &row : defaults) {
        if (row.installed && row.restored) {
            sigaction(row.signo, &row.before, nullptr);
            row.installed = false;
        }
    }
    uloop_fd_delete(&waker);
    close(wakeReader);
    close(wakeWriter);
    wakeReader = wakeWriter = -1;
}

int uloop_stop_signal()
{
    return stopSignal;
}

void uloop_clear_stop()
{
    stopSignal = 0;
}

int uloop_signal_add(uloop_signal *s)
{
    if (s->pending || set_action(s->signo, wake, &s->orig) < 0)
        return -1;
    list_add_tail(&s->list, &signals);
    s->pending = true;
    return 0;
}

int uloop_signal_delete(uloop_signal *s)
{
    if (!s->pending)
        return -1;
    list_del(&s->list);
    s->pending = false;
    sigaction(s->signo, &s->orig, nullptr);
    return 0;
}
