// Signals. The handlers only set flags and write into a pipe that the loop watches, which ends a wait.
#include "bundled/libubox/uloop_internal.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

namespace
{
int wakeReader = -1;
int wakeWriter = -1;
volatile sig_atomic_t stopSignal = 0;

uloop_fd waker;

void wake()
{
    const int saved = errno;
    if (write(wakeWriter, "", 1) < 0) {
        // The pipe is full: the loop is going to wake anyway.
    }
    errno = saved;
}

void on_stop(int signo)
{
    stopSignal = signo;
    uloop_cancelled = true;
    wake();
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

void on_wake(uloop_fd *u, unsigned int)
{
    unsigned char byte[64];
    while (read(u->fd, byte, sizeof byte) > 0) {
    }
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
