#include "platform/merka/watchdog.h"

#include <pthread.h>
#include <semaphore.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <fcntl.h>

#include "platform/merka/greeting.h"
#include "platform/merka/merka_internal.h"

namespace
{

constexpr int lookUs = 500 * 1000;        // a call that takes longer is looked into
constexpr int greetingMs = 500;           // a broker that lives greets at once
constexpr int interruption = SIGURG;      // means nothing to a program that didn't ask for it
constexpr size_t stackBytes = 128 * 1024; // the thread's; the C library's default is megabytes

struct Watchdog {
    bool started;
    std::atomic<unsigned> moves; // enters and leaves: odd while a call is under way
    std::atomic<bool> asleep;
    sem_t wake;
    const ubus_context *ctx;
    pthread_t caller;
    bool interrupts; // the signal is ours
} dog = {};

/** Whether the descriptor is a connection to the broker. The library may have closed it meanwhile. */
bool is_bus_connection(int fd)
{
    sockaddr_un peer = {};
    socklen_t length = sizeof peer;
    return getpeername(fd, reinterpret_cast<sockaddr *>(&peer), &length) == 0 && peer.sun_family == AF_UNIX &&
           strncmp(peer.sun_path, merka::socket_path(), sizeof peer.sun_path) == 0;
}

/** Through a descriptor of our own, which can't become somebody else's between the look and the shutdown. */
void cut_connection()
{
    const int fd = fcntl(__atomic_load_n(&dog.ctx->sock.fd, __ATOMIC_RELAXED), F_DUPFD_CLOEXEC, 0);
    if (fd < 0)
        return;
    if (is_bus_connection(fd))
        shutdown(fd, SHUT_RDWR);
    close(fd);
}

/** Without SA_RESTART it ends a wait. A program's own use of the signal is left alone. */
bool claim_interruption()
{
    struct sigaction action = {};
    if (sigaction(interruption, nullptr, &action) != 0 || action.sa_handler != SIG_DFL)
        return false;
    action.sa_handler = [](int) {};
    return sigaction(interruption, &action, nullptr) == 0;
}

/** A connect that waits for a place in the broker's full queue has no connection yet that could be cut. */
void end_call()
{
    cut_connection();
    if (dog.interrupts)
        pthread_kill(dog.caller, interruption);
}

/** Returns when nothing has been called for a while. */
void watch_calls()
{
    for (unsigned last = dog.moves;;) {
        usleep(lookUs);
        const unsigned now = dog.moves;
        const bool moved = now != last;
        last = now;
        if (moved)
            continue;
        if (now % 2 == 0)
            return;
        if (greeting_await(merka::socket_path(), greetingMs) != Greeting::ready && dog.moves == now)
            end_call();
    }
}

void *watch(void *)
{
    for (;;) {
        watch_calls();
        const unsigned seen = dog.moves;
        dog.asleep = true;
        if (seen % 2 == 0 && dog.moves == seen)
            sem_wait(&dog.wake);
        dog.asleep = false;
    }
}

/** Signals are for the main thread. */
bool start_thread()
{
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_attr_setstacksize(&attributes, stackBytes);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    pthread_t thread;
    const bool started = pthread_create(&thread, &attributes, watch, nullptr) == 0;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    pthread_attr_destroy(&attributes);
    return started;
}

} // namespace

void merka::watchdog_start(const ubus_context *ctx)
{
    if (dog.started)
        return;
    dog.ctx = ctx;
    dog.caller = pthread_self();
    dog.interrupts = claim_interruption();
    sem_init(&dog.wake, 0, 0);
    dog.started = start_thread();
}

void merka::watchdog_enter()
{
    if (dog.moves % 2 != 0)
        return;
    ++dog.moves;
    if (dog.asleep.exchange(false))
        sem_post(&dog.wake);
}

void merka::watchdog_leave()
{
    if (dog.moves % 2 != 0)
        ++dog.moves;
}
