#include "platform/nl80211/backhaul_watch.h"

#include <cstdio>
#include <cstring>

#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/nl80211/backhaul.h"
#include "platform/nl80211/clock.h"
#include "platform/nl80211/ctrl.h"
#include "platform/nl80211/log.h"
#include "platform/nl80211/text.h"

namespace radio
{

namespace
{

constexpr size_t threadStack = 64 * 1024;

struct Watch {
    pthread_t thread;
    bool runs;
    int fd;      // attached to wpa_supplicant
    int stop[2]; // a pipe whose end ends the thread
    char ifName[16];
    int network;
};

Watch watch; // the daemon's loop begins and ends it, the thread only reads

/** The text behind a beginning; NULL if it has another. */
const char *behind(const char *text, const char *beginning)
{
    const size_t length = strlen(beginning);
    return strncmp(text, beginning, length) == 0 ? text + length : nullptr;
}

/**
 * True when an event settles it. The SSID in an event is somebody else's text: the network's number stands
 * before it, the reason behind it.
 */
bool take_event(const Watch &own, const char *event)
{
    char id[16];
    const size_t length = static_cast<size_t>(snprintf(id, sizeof id, "id=%d ", own.network));
    const char *rest = behind(event, "CTRL-EVENT-SSID-TEMP-DISABLED ");
    if (rest && strncmp(rest, id, length) == 0) {
        const char *reason = nullptr;
        for (const char *at = strstr(rest, " reason="); at; at = strstr(at + 1, " reason="))
            reason = at + strlen(" reason=");
        const bool isKey = reason && strcmp(reason, "WRONG_KEY") == 0;
        log_line(levelError, "%s: %s", own.ifName,
                 isKey ? "the key of the backhaul network is wrong"
                       : "the backhaul network doesn't let it in");
        return true;
    }
    if (!behind(event, "CTRL-EVENT-CONNECTED "))
        return false;
    const char *mark = strstr(event, "[id=");
    id[length - 1] = '\0';
    if (!mark || strncmp(mark + 1, id, length - 1) != 0)
        return false;
    log_line(levelNotice, "%s: has joined the backhaul network", own.ifName);
    return true;
}

void *listen(void *)
{
    const int64_t end = clock_ms() + backhaulPatience;
    char text[4096];
    for (int64_t left = backhaulPatience; left > 0; left = end - clock_ms()) {
        pollfd wanted[] = { { watch.fd, POLLIN, 0 }, { watch.stop[0], POLLIN, 0 } };
        if (poll(wanted, 2, static_cast<int>(left)) < 0 || wanted[1].revents != 0)
            return nullptr;
        const ssize_t length = wanted[0].revents != 0 ? recv(watch.fd, text, sizeof text - 1, 0) : 0;
        if (length < 0)
            break;
        text[length] = '\0';
        if (length > 3 && text[0] == '<' && text[2] == '>' && take_event(watch, text + 3))
            return nullptr;
    }
    log_line(levelError, "%s: hasn't joined the backhaul network within %d s", watch.ifName,
             backhaulPatience / 1000);
    return nullptr;
}

/** The daemon's signals are for its own thread. */
bool start()
{
    sigset_t all, before;
    pthread_attr_t attributes;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, threadStack);
    const bool runs = pthread_create(&watch.thread, &attributes, listen, nullptr) == 0;
    pthread_attr_destroy(&attributes);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return runs;
}

void close_all()
{
    close(watch.fd);
    close(watch.stop[0]);
    close(watch.stop[1]);
}

} // namespace

void backhaul_watch(const char *ifName, int network)
{
    Path path;
    backhaul_stop();
    if (!ctrl_path(CtrlPeer::station, ifName, path) || pipe2(watch.stop, O_CLOEXEC) != 0)
        return;
    put_text(watch.ifName, ifName);
    watch.network = network;
    watch.fd = ctrl_open(path);
    watch.runs = watch.fd >= 0 && send(watch.fd, "ATTACH", 6, MSG_NOSIGNAL) == 6 && start();
    if (!watch.runs)
        close_all();
}

void backhaul_stop()
{
    if (!watch.runs)
        return;
    write(watch.stop[1], "", 1);
    pthread_join(watch.thread, nullptr);
    close_all();
    watch.runs = false;
}

} // namespace radio
