#include "platform/nl80211/ctrl.h"

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "platform/nl80211/clock.h"
#include "platform/nl80211/config.h"
#include "platform/nl80211/log.h"
#include "platform/nl80211/places.h"

namespace radio
{

namespace
{

int patience = ctrlPatience;
thread_local int64_t callEnd = INT64_MAX; // ms
CtrlTap tap;

/** Who left a command without a reply, and until when it is let alone. */
struct Silent {
    char path[sizeof(sockaddr_un::sun_path)];
    int64_t until;
};

constexpr size_t silentPeers = 8;
pthread_mutex_t silentLock = PTHREAD_MUTEX_INITIALIZER;
Silent silent[silentPeers];
size_t silentNext;

bool is_silent(const char *path)
{
    const int64_t now = clock_ms();
    bool found = false;
    pthread_mutex_lock(&silentLock);
    for (const Silent &peer : silent)
        found |= peer.until > now && strcmp(peer.path, path) == 0;
    pthread_mutex_unlock(&silentLock);
    return found;
}

void note_silent(const char *path)
{
    pthread_mutex_lock(&silentLock);
    Silent &peer = silent[silentNext++ % silentPeers];
    snprintf(peer.path, sizeof peer.path, "%s", path);
    peer.until = clock_ms() + ctrlRest;
    pthread_mutex_unlock(&silentLock);
    log_line(levelNotice, "%s: no reply within %d ms", path, patience);
}

bool wait_for(int fd, short event, int64_t end)
{
    const int64_t left = end - clock_ms();
    pollfd wanted = { fd, event, 0 };
    return poll(&wanted, 1, left > 0 ? static_cast<int>(left) : 0) == 1;
}

/** The next datagram that isn't an event, which begins with its level in angle brackets. Length, or -1. */
ssize_t receive(int fd, char *reply, size_t size, int64_t end)
{
    while (wait_for(fd, POLLIN, end)) {
        const ssize_t length = recv(fd, reply, size - 1, 0);
        if (length < 0)
            return -1;
        if (length == 0 || reply[0] != '<')
            return length;
    }
    return -1;
}

const char *const usualFolders[][2] = {
    { "/run/hostapd", "/var/run/hostapd" },
    { "/run/wpa_supplicant", "/var/run/wpa_supplicant" },
};

} // namespace

void ctrl_set_patience(int ms)
{
    patience = ms;
}

/** With an address in the abstract namespace, which the kernel chooses: nothing is left in the file system.
 */
int ctrl_open(const char *socketPath)
{
    sockaddr_un peer = {};
    peer.sun_family = AF_UNIX;
    if (strlen(socketPath) >= sizeof peer.sun_path) {
        log_once(levelError, "%s: path of a control socket is too long", socketPath);
        return -1;
    }
    memcpy(peer.sun_path, socketPath, strlen(socketPath));
    const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0)
        return -1;
    const sockaddr_un own = { .sun_family = AF_UNIX, .sun_path = {} };
    if (bind(fd, reinterpret_cast<const sockaddr *>(&own), sizeof own.sun_family) == 0 &&
        connect(fd, reinterpret_cast<const sockaddr *>(&peer), sizeof peer) == 0)
        return fd;
    close(fd);
    return -1;
}

CtrlIdentity ctrl_identity(CtrlPeer peer, const char *ifName)
{
    Path path;
    struct stat found;
    if (!ctrl_path(peer, ifName, path) || stat(path, &found) != 0)
        return {};
    return { found.st_ino, int64_t{ found.st_ctim.tv_sec } * 1000000000 + found.st_ctim.tv_nsec };
}

CtrlCall::CtrlCall() : isOutermost(callEnd == INT64_MAX)
{
    if (isOutermost)
        callEnd = clock_ms() + patience;
}

CtrlCall::~CtrlCall()
{
    if (isOutermost)
        callEnd = INT64_MAX;
}

bool ctrl_time_left()
{
    return clock_ms() < callEnd;
}

int ctrl_ask(const char *socketPath, const char *command, char *reply, size_t size)
{
    if (is_silent(socketPath) || !ctrl_time_left())
        return ctrlNobody;
    const int fd = ctrl_open(socketPath);
    if (fd < 0)
        return ctrlNobody;
    const int64_t end = std::min(clock_ms() + patience, callEnd);
    ssize_t length = -1;
    if (wait_for(fd, POLLOUT, end) &&
        send(fd, command, strlen(command), MSG_NOSIGNAL) == static_cast<ssize_t>(strlen(command)))
        length = receive(fd, reply, size, end);
    close(fd);
    if (length < 0) {
        note_silent(socketPath);
        return -1;
    }
    reply[length] = '\0';
    if (tap)
        tap(socketPath, command, reply);
    return 0;
}

void ctrl_tap(CtrlTap to)
{
    tap = to;
}

bool ctrl_value(const char *reply, const char *name, char *value, size_t size)
{
    const size_t length = strlen(name);
    for (const char *line = reply; line; line = strchr(line, '\n')) {
        if (*line == '\n')
            line++;
        if (strncmp(line, name, length) != 0 || line[length] != '=')
            continue;
        const char *text = line + length + 1;
        snprintf(value, size, "%.*s", static_cast<int>(strcspn(text, "\n")), text);
        return true;
    }
    return false;
}

bool ctrl_path(CtrlPeer peer, const char *ifName, Path &path)
{
    if (!is_name(ifName))
        return false;
    const Config &config = config_get();
    const char *chosen = peer == CtrlPeer::accessPoint ? config.hostapdDir : config.wpaDir;
    if (chosen[0] != '\0')
        return place(path, "%s/%s", chosen, ifName);
    for (const char *folder : usualFolders[peer == CtrlPeer::station]) {
        if (place(path, "%s/%s", folder, ifName) && access(path, F_OK) == 0)
            return true;
    }
    return false;
}

bool ctrl_is_asked(CtrlPeer peer, const char *ifName)
{
    Path path;
    return ctrl_path(peer, ifName, path) && !is_silent(path);
}

int ctrl_ask_interface(CtrlPeer peer, const char *ifName, const char *command, char *reply, size_t size)
{
    Path path;
    if (!ctrl_path(peer, ifName, path))
        return ctrlNobody;
    return ctrl_ask(path, command, reply, size);
}

namespace
{

void add_text(Command &command, const char *format, va_list arguments)
{
    const size_t left = sizeof command.text - command.length;
    const int length = vsnprintf(command.text + command.length, left, format, arguments);
    const bool fits = length >= 0 && static_cast<size_t>(length) < left;
    command.length = fits ? command.length + static_cast<size_t>(length) : sizeof command.text - 1;
}

} // namespace

void command_add(Command &command, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    add_text(command, format, arguments);
    va_end(arguments);
}

void command_add_hex(Command &command, std::span<const uint8_t> bytes)
{
    for (const uint8_t byte : bytes)
        command_add(command, "%02x", byte);
}

int ctrl_send(CtrlPeer peer, const char *ifName, const Command &command, int *number)
{
    const auto word = static_cast<int>(strcspn(command.text, " "));
    char reply[64];
    if (command.length >= sizeof command.text - 1)
        return log_refusal("%s: %.*s: too long", ifName, word, command.text);
    const int status = ctrl_ask_interface(peer, ifName, command.text, reply, sizeof reply);
    if (status == ctrlNobody)
        log_once(levelError, "%s: %.*s: nobody answers", ifName, word, command.text);
    if (status != 0)
        return -1;
    char *end;
    const long value = strtol(reply, &end, 10);
    if (end == reply && strncmp(reply, "OK", 2) != 0)
        return log_refusal("%s: %.*s was refused", ifName, word, command.text);
    if (number)
        *number = static_cast<int>(value);
    return 0;
}

int ctrl_tell(CtrlPeer peer, const char *ifName, const char *format, ...)
{
    Command command = {};
    va_list arguments;
    va_start(arguments, format);
    add_text(command, format, arguments);
    va_end(arguments);
    return ctrl_send(peer, ifName, command);
}

int ctrl_order(CtrlPeer peer, const char *ifName, std::span<const char *const> commands)
{
    Path path;
    const bool isAsked = ctrl_path(peer, ifName, path) && !is_silent(path);
    const int fd = isAsked ? ctrl_open(path) : -1;
    const int64_t end = std::min(clock_ms() + patience, callEnd);
    int status = 0;
    char reply[64];
    for (const char *command : commands) {
        const size_t length = strlen(command);
        if (fd < 0 || send(fd, command, length, MSG_NOSIGNAL) != static_cast<ssize_t>(length)) {
            log_once(levelError, "%s: %s: nobody answers", ifName, command);
            status = -1;
            break;
        }
    }
    for (size_t i = 0; status == 0 && i < commands.size(); i++) {
        const ssize_t length = receive(fd, reply, sizeof reply, end);
        if (length < 0)
            break; // still at it
        if (length < 2 || memcmp(reply, "OK", 2) != 0)
            status = log_refusal("%s: %s was refused", ifName, commands[i]);
    }
    if (fd >= 0)
        close(fd);
    return status;
}

} // namespace radio
