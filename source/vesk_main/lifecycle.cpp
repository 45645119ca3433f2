// How the process begins and ends: it waits for the bus, takes the instance lock, and turns a signal into an
// orderly end. The handler itself only writes its line and one byte into a pipe; the main loop reads the pipe
// and runs the clean-up chain on the main thread. The byte stays in the pipe, so that a signal that comes
// during start-up, before the loop runs, isn't lost.
#include "source/vesk_main/vesk_main.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include "foundation/ubus_headers.h"
#include "source/vesk_drelm/vesk_drelm.h"
#include "source/vesk_interface/vesk_interface.h"
#include "source/vesk_main/log.h"
#include "source/vesk_scan/vesk_scan.h"
#include "source/vesk_station/vesk_station.h"

namespace
{
constexpr char busSocket[] = "/var/run/ubus.sock";
constexpr char lockFile[] = "/var/run/vesk.pid";
constexpr unsigned busRetrySeconds = 2;

constexpr int endingSignals[] = { SIGINT, SIGQUIT, SIGTERM };
constexpr char signalLine[] = "[vesk] Signal received [%d]. Exiting ...\r\n";

int endPipe[2] = { -1, -1 };
uloop_fd endWatch;

char *put_number(char *out, int number)
{
    char digits[12];
    int count = 0;
    do {
        digits[count++] = static_cast<char>('0' + number % 10);
        number /= 10;
    } while (number > 0);
    while (count > 0)
        *out++ = digits[--count];
    return out;
}

/** Writes a line with a number in the place of its %d; nothing but write(2) is safe in a handler. */
[[gnu::noinline]] void write_signal_line(const char *format, int number)
{
    char line[sizeof signalLine + 12];
    char *out = line;
    while (*format != '\0') {
        if (strncmp(format, "%d", 2) == 0) {
            out = put_number(out, number);
            format += 2;
        } else {
            *out++ = *format++;
        }
    }
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line, static_cast<size_t>(out - line));
}

void vesk_signal_handler(int signum)
{
    const int savedErrno = errno;
    write_signal_line(signalLine, signum);
    if (std::find(std::begin(endingSignals), std::end(endingSignals), signum) != std::end(endingSignals)) {
        [[maybe_unused]] const ssize_t written = write(endPipe[1], "", 1);
    }
    errno = savedErrno;
}

void end_requested(uloop_fd *, unsigned)
{
    vesk_clean_up();
}

/** Restarting: a signal alone doesn't make a library's blocking call fail. */
void install_handler(int signum, void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(signum, &action, nullptr);
}

void mask_ending_signals(int how)
{
    sigset_t set;
    sigemptyset(&set);
    for (const int signum : endingSignals)
        sigaddset(&set, signum);
    pthread_sigmask(how, &set, nullptr);
}

/** The exit of a child of system() interrupts nobody. Threads are started later and inherit the mask. */
void block_child_signal()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGCHLD);
    if (pthread_sigmask(SIG_BLOCK, &set, nullptr) != 0)
        fputs("vesk signal mask error\r\n", stderr);
}
} // namespace

void vesk_wait_for_bus()
{
    while (access(busSocket, F_OK) != 0) {
        fputs("\nUbusd not running, run ubusd firstly !!\r\n", stderr);
        sleep(busRetrySeconds);
    }
}

int vesk_lock_instance()
{
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_len = 1;
    // Never closed: the lock lives as long as the process, and closing any descriptor of the file drops it.
    const int fd = open(lockFile, O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    if (fd >= 0 && fcntl(fd, F_SETLK, &lock) == 0)
        return 0;
    fputs("\nVesk already running.\r\n", stderr);
    return -1;
}

void vesk_hold_signals()
{
    mask_ending_signals(SIG_BLOCK);
}

void vesk_init_signals()
{
    block_child_signal();
    // Without a pipe the signals get their default action back, which ends the process, too.
    const bool isWatched = pipe2(endPipe, O_CLOEXEC | O_NONBLOCK) == 0;
    if (isWatched) {
        endWatch = {};
        endWatch.fd = endPipe[0];
        endWatch.cb = end_requested;
        uloop_fd_add(&endWatch, ULOOP_READ);
    }
    for (const int signum : endingSignals)
        install_handler(signum, isWatched ? vesk_signal_handler : SIG_DFL);
    // Blocked: runs only if somebody lifts the block, and then just writes its line.
    install_handler(SIGCHLD, vesk_signal_handler);
    mask_ending_signals(SIG_UNBLOCK);
}

void vesk_clean_up()
{
    vesk_destory_scan_info();
    vesk_deinit_devide_info();
    vesk_deinit_dev_event();
    vesk_sta_mon_destroy();
    vesk_deinit_log();
    exit(0);
}
