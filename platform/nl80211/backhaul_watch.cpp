#include "platform/nl80211/backhaul_watch.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/nl80211/backhaul.h"
#include "platform/nl80211/clock.h"
#include "platform/nl80211/ctrl.h"
#include "platform/nl80211/log.h"
#include "platform/nl80211/places.h"
#include "platform/nl80211/thread.h"

namespace radio
{

namespace
{

constexpr int orderPatience = 5000; // ms; a passphrase costs a small processor 8192 rounds of SHA-1

struct Watch {
    pthread_t thread;
    bool runs;
    int fd;      // towards wpa_supplicant
    int stop[2]; // a pipe whose end ends the thread
    BackhaulJob job;
    int64_t end; // ms
};

Watch watch; // the daemon's loop begins and ends it, the thread only reads

enum class Heard { text, late, stopped };

/** The next datagram before a moment. */
Heard hear(char (&text)[4096], int64_t end)
{
    pollfd wanted[] = { { watch.fd, POLLIN, 0 }, { watch.stop[0], POLLIN, 0 } };
    const int64_t left = end - clock_ms();
    if (poll(wanted, 2, left > 0 ? static_cast<int>(left) : 0) <= 0) // what has come by the end counts
        return Heard::late;
    if (wanted[1].revents != 0)
        return Heard::stopped;
    const ssize_t length = recv(watch.fd, text, sizeof text - 1, 0);
    text[length < 0 ? 0 : length] = '\0';
    return length < 0 ? Heard::late : Heard::text;
}

/** A command whose reply has to be "OK"; events before it are of an earlier network. The log gets its first
 * word. */
bool order(const char *format, ...) __attribute__((format(printf, 1, 2)));
bool order(const char *format, ...)
{
    char text[4096];
    char command[256];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(command, sizeof command, format, arguments);
    va_end(arguments);
    const int64_t end = clock_ms() + orderPatience;
    const auto length = static_cast<ssize_t>(strlen(command));
    Heard heard =
        send(watch.fd, command, strlen(command), MSG_NOSIGNAL) == length ? Heard::text : Heard::late;
    text[0] = '<';
    while (heard == Heard::text && text[0] == '<')
        heard = hear(text, end);
    if (heard == Heard::text && strncmp(text, "OK", 2) == 0)
        return true;
    if (heard != Heard::stopped)
        log_refusal("%s: %.*s %s", watch.job.ifName, static_cast<int>(strcspn(command, " ")), command,
                    heard == Heard::text ? "was refused" : "wasn't answered");
    return false;
}

/** What was there goes last, but before the station joins. */
bool carry_out(const BackhaulJob &job)
{
    if (!order("ATTACH"))
        return false;
    if (job.key[0] != '\0' && !order("SET_NETWORK %d %s", job.network, job.key)) {
        order("REMOVE_NETWORK %d", job.network);
        return false;
    }
    for (size_t i = 0; i < job.otherCount; i++) {
        if (!order("REMOVE_NETWORK %d", job.others[i]))
            return false;
    }
    return order("SELECT_NETWORK %d", job.network);
}

/** The text behind a beginning; NULL if it has another. */
const char *behind(const char *text, const char *beginning)
{
    const size_t length = strlen(beginning);
    return strncmp(text, beginning, length) == 0 ? text + length : nullptr;
}

/**
 * True when an event settles it. The SSID in an event is somebody else's text: the network's number stands
 * before it, the reason behind it. Another network is one that WPS has brought meanwhile.
 */
bool take_event(const BackhaulJob &own, const char *event)
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
    const bool isOwn = mark && strncmp(mark + 1, id, length) == 0;
    log_line(levelNotice, "%s: has joined %s", own.ifName,
             isOwn ? "the backhaul network" : "another network than its credential's");
    return true;
}

void *listen(void *)
{
    char text[4096];
    Heard heard = Heard::text;
    if (!carry_out(watch.job))
        return nullptr;
    while ((heard = hear(text, watch.end)) == Heard::text) {
        if (text[0] == '<' && text[1] != '\0' && text[2] == '>' && take_event(watch.job, text + 3))
            return nullptr;
    }
    if (heard == Heard::late)
        log_line(levelError, "%s: hasn't joined the backhaul network within %d s", watch.job.ifName,
                 backhaulPatience / 1000);
    return nullptr;
}

void close_all()
{
    if (watch.fd >= 0)
        close(watch.fd);
    close(watch.stop[0]);
    close(watch.stop[1]);
    watch.job = {}; // it has the key
}

} // namespace

int backhaul_watch(const BackhaulJob &job)
{
    Path path;
    backhaul_stop();
    if (!ctrl_path(CtrlPeer::station, job.ifName, path) || pipe2(watch.stop, O_CLOEXEC) != 0)
        return log_refusal("%s: the credential isn't taken: no socket", job.ifName);
    watch.job = job;
    watch.end = clock_ms() + backhaulPatience;
    watch.fd = ctrl_open(path);
    watch.runs = watch.fd >= 0 && thread_start(watch.thread, listen, nullptr);
    if (watch.runs)
        return 0;
    close_all();
    return log_refusal("%s: the credential isn't taken: no connection or no thread", job.ifName);
}

void backhaul_wait()
{
    if (!watch.runs)
        return;
    pthread_join(watch.thread, nullptr);
    close_all();
    watch.runs = false;
}

void backhaul_stop()
{
    if (watch.runs && write(watch.stop[1], "", 1) == 1)
        backhaul_wait();
}

} // namespace radio
