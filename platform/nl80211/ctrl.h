// The control sockets of hostapd, one per BSS, and of wpa_supplicant, one per station interface: a command
// goes out as a datagram, the reply comes back as one. Nothing is kept open between two commands, so a daemon
// that restarts isn't noticed here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/nl80211/places.h"

namespace radio
{

/** A whole STATUS, STA or GET_CONFIG fits; hostapd itself cuts at 4096. */
inline constexpr size_t ctrlReplySize = 4097;
inline constexpr int ctrlPatience = 50; // ms for a command and its reply
/** Another patience than ctrlPatience, for tests beside busy programs. */
void ctrl_set_patience(int ms);

enum class CtrlPeer { accessPoint, station };

/** A daemon that left a command without a reply isn't asked again for this long, so that it can't hold up a
 * poll. */
inline constexpr int ctrlRest = 1000; // ms

/**
 * As long as it lives, this thread's commands share one patience, of the outermost one: an operation of
 * several commands takes no longer than one of one. Those whose turn doesn't come fail.
 */
struct CtrlCall {
    CtrlCall();
    ~CtrlCall();
    CtrlCall(const CtrlCall &) = delete;
    CtrlCall &operator=(const CtrlCall &) = delete;
    const bool isOutermost;
};
/** False where a CtrlCall's patience is over. */
bool ctrl_time_left();

/** False while an interface's daemon is let alone, since it left a command without a reply. */
bool ctrl_is_asked(CtrlPeer peer, const char *ifName);

/** 0: `reply` (of `size` bytes) holds the text, terminated. Negative: no socket, no room for its path, or no
 * reply; ctrlNobody where nothing was sent. */
int ctrl_ask(const char *socketPath, const char *command, char *reply, size_t size);

/** Sees each command that was answered, for a tool that keeps them. NULL ends it. */
using CtrlTap = void (*)(const char *socketPath, const char *command, const char *reply);
void ctrl_tap(CtrlTap to);

/** The value behind "NAME=" at the beginning of a line, up to the line's end. False if there is none. */
bool ctrl_value(const char *reply, const char *name, char *value, size_t size);

template <size_t N>
bool ctrl_value(const char *reply, const char *name, char (&value)[N])
{
    return ctrl_value(reply, name, value, N);
}

/** Path of an interface's socket: the configured folder, or where the daemons usually have it. */
bool ctrl_path(CtrlPeer peer, const char *ifName, Path &path);

/** A socket towards a daemon's, without waiting; replies and events come on it. -1: nobody is there. */
int ctrl_open(const char *socketPath);

/** Which socket it is: a daemon that restarts makes a new one at the same path. */
struct CtrlIdentity {
    uint64_t inode;  // 0: there is none
    int64_t changed; // ns
    bool operator==(const CtrlIdentity &) const = default;
};
CtrlIdentity ctrl_identity(CtrlPeer peer, const char *ifName);

/** A command to an interface's daemon. 0, or negative: ctrlNobody if the log has no line about it. */
int ctrl_ask_interface(CtrlPeer peer, const char *ifName, const char *command, char *reply, size_t size);
inline constexpr int ctrlNobody = -2;

/** A command that is put together, at first all zero. One that has become too long isn't sent. */
struct Command {
    char text[4096]; // what hostapd receives at most
    size_t length;
};
void command_add(Command &command, const char *format, ...) __attribute__((format(printf, 2, 3)));
void command_add_hex(Command &command, std::span<const uint8_t> bytes);

/**
 * A command whose reply has to be "OK" or a number, which goes into `number`. 0; or -1 with a line, which
 * names no more of the command than its first word.
 */
int ctrl_send(CtrlPeer peer, const char *ifName, const Command &command, int *number = nullptr);

/** The same in one go. */
int ctrl_tell(CtrlPeer peer, const char *ifName, const char *format, ...)
    __attribute__((format(printf, 3, 4)));

/**
 * Commands in a row that may take longer than a call can wait, as those that end a connection: 0 where all
 * were sent and none was refused in time, however late their replies are; else -1 with a line.
 */
int ctrl_order(CtrlPeer peer, const char *ifName, std::span<const char *const> commands);

} // namespace radio
