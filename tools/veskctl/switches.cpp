// The daemon's run-time switches, its inbound signals. A signal is answered by nobody: whether there is a
// daemon to hear it is asked beforehand, and what the log or the bus tells of it is looked at afterwards.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "include/vesk_event.h"
#include "tools/client/text.h"
#include "tools/veskctl/checks.h"
#include "tools/veskctl/log_state.h"
#include "tools/veskctl/output.h"

namespace
{
constexpr int patienceMs = 3000; // for the daemon to do it and its log to show it
constexpr const char *untold = "sent; neither the bus nor the log tells whether it is so";

void need_daemon()
{
    const CallResult there = bus_call(*bus_method("getVersionInfo"), {});
    if (!there.error.empty())
        fail(there.error);
}

void send_signal(const char *signal, const void *payload, size_t size)
{
    const std::string error = bus_send_signal(signal, payload, size);
    if (!error.empty())
        fail(error);
}

void send_word(const char *signal, int32_t value)
{
    send_signal(signal, &value, sizeof value);
}

/** Sends the word and waits for a line behind the present end of the log that `tells`. */
template <class Tells>
bool send_and_read(Logbook &log, const char *signal, int32_t value, const Tells &tells)
{
    need_daemon();
    const int before = log.number;
    const ino_t file = log.inode;
    send_word(signal, value);
    return wait_until(patienceMs, [&] {
        follow_log(log);
        return tells(log.inode == file ? before : 0);
    });
}

bool is_newer(const LogLine *line, int before)
{
    return line && !line->isPacked && line->number > before;
}

std::string state_sentence(const Logbook &log, const char *what, const SwitchState &state)
{
    if (state.state == Switch::Unknown)
        return std::string(what) + ": unknown, the log doesn't tell";
    return std::string(what) + ": " + state.word() + line_reference(log, state.line);
}

// --- scanning ---

void show_scanning(const Arguments &arguments, const Logbook &log)
{
    need_daemon();
    const ScanSwitch state = scan_switch(log);
    print_done(arguments,
               state_sentence(log, "scanning", state) + (state.why.empty() ? "" : ", because " + state.why));
}

// --- log ---

/** Where an opened file of the daemon would lie: the folder must be there, the file writable if it is. */
void need_appendable(const std::string &path)
{
    const std::string folder = path.substr(0, path.rfind('/') + 1);
    if (path[0] != '/')
        usage_error("\"" + path + "\": the daemon opens it, so it has to be an absolute path, or stderr");
    const int fd = open(path.c_str(), O_WRONLY | O_APPEND | O_NONBLOCK | O_CLOEXEC);
    const bool isMissing = fd < 0 && errno == ENOENT;
    if (fd >= 0)
        close(fd);
    if ((fd < 0 && !isMissing) || (isMissing && access(folder.c_str(), W_OK) != 0))
        fail("refused: " + path + " can't be opened for appending: " + strerror(errno) +
             "; the daemon would write to stderr instead");
}

std::string level_of(const Logbook &log)
{
    const LogLine *debug = nullptr, *info = log.newest_info();
    for (const LogLine &line : log.lines)
        if (line.level() == "DEBUG")
            debug = &line;
    if (debug && info && info->when - debug->when < 60)
        return "7 (DEBUG lines come)";
    return info ? "at least 6 (INFO lines come)" : "below 6 (no INFO line)";
}
} // namespace

void run_scanning(const Arguments &arguments)
{
    Logbook log = read_log(log_path(arguments));
    if (!arguments.has("STATE")) {
        show_scanning(arguments, log);
        return;
    }
    const bool on = arguments.text("STATE") == "on";
    const bool isTold = send_and_read(log, VESK_SIGNAL_SET_SCAN_ENABLE, on, [&](int before) {
        return is_newer(log.last(nullptr, VESK_TEXT_SET_SCANNING), before) &&
               is_newer(log.last_with("vesk_set_scan_status", ""), before);
    });
    const ScanSwitch state = scan_switch(log);
    if (!isTold)
        print_done(arguments, untold);
    else if ((state.state == Switch::On) != on)
        fail(std::string("refused: scanning is ") + state.word() + ", because " + state.why +
             "; `veskctl backhaul auto BAND off` ends auto-connect");
    else
        print_done(arguments, on ? "scanning: on" : "scanning: off; backhaul auto-connect is on");
}

void run_polling(const Arguments &arguments)
{
    Logbook log = read_log(log_path(arguments));
    const bool isSet = arguments.has("STATE");
    if (!isSet)
        need_daemon();
    std::string text;
    for (const SwitchTexts &poller : poller_texts()) {
        if (arguments.has("POLLER") && arguments.text("POLLER") != poller.name)
            continue;
        if (!isSet) {
            text += (text.empty() ? "" : "\n") +
                    state_sentence(log, (std::string("polling of ") + poller.what).c_str(),
                                   switch_state(log, poller));
            continue;
        }
        const bool on = arguments.text("STATE") == "on";
        const bool isTold = send_and_read(log, poller.signal, on, [&](int before) {
            return is_newer(log.last(nullptr, poller.format), before);
        });
        text = isTold ? printed("polling of %s: %s", poller.what, on ? "on" : "off") : untold;
    }
    print_done(arguments, text);
}

void run_refresh(const Arguments &arguments)
{
    need_daemon();
    send_word(VESK_SIGNAL_NOTIFY_WLAN_CHANGE, 1);
    print_done(arguments,
               "asked for: radios and access points are read again a few seconds after the last request");
}

void run_object(const Arguments &arguments)
{
    const auto is_there = [] {
        std::string error;
        bus_start_time();
        const bool is = bus_has_object(error);
        if (!error.empty())
            fail(error);
        return is;
    };
    if (!arguments.has("STATE")) {
        print_done(arguments,
                   is_there()
                       ? "the daemon's object is on the bus"
                       : "the daemon's object isn't on the bus: it doesn't run, or `veskctl object on` "
                         "brings the object back");
        return;
    }
    const bool on = arguments.text("STATE") == "on";
    if (!on && !is_there()) {
        print_done(arguments, "the daemon's object isn't on the bus");
        return;
    }
    send_word(VESK_SIGNAL_SET_UBUS_OBJ, on);
    if (!wait_until(patienceMs, [&] { return is_there() == on; }))
        fail(on ? "refused: the object isn't on the bus; is the daemon running?"
                : "refused: the object is still on the bus; the daemon's log says why");
    print_done(arguments, on ? "the daemon's object is on the bus" : "the daemon's object is off the bus");
}

void run_log(const Arguments &arguments)
{
    const Logbook log = read_log(log_path(arguments));
    if (!log.error.empty())
        fail(log.error + "; the daemon may write to stderr or to another file (--log PATH)");
    const LogLine *newest = log.lines.empty() ? nullptr : &log.lines.back();
    const LogLine *first = log.knowsStart ? &log.lines.front() : nullptr;
    print_done(arguments,
               printed("log: %s, %s%s, newest %s; level %s", log.path.c_str(),
                       counted(log.lines.size(), "line").c_str(),
                       first ? (" since the start at " + clock_time(first->when, true)).c_str() : "",
                       newest && newest->when ? (span_text(time(nullptr) - newest->when) + " old").c_str()
                                              : "unknown",
                       level_of(log).c_str()));
}

void run_log_level(const Arguments &arguments)
{
    const auto level = static_cast<uint32_t>(arguments.number("LEVEL"));
    if (level == 8 || (level > 16 && level < 99))
        usage_error(printed("LEVEL: %u is none of 0 to 7, 9 to 16 and 99", level));
    need_daemon();
    const WireLogSetting record = { level, {} };
    send_signal(VESK_SIGNAL_SET_LOG_LEVEL, &record, sizeof record);
    print_done(arguments,
               printed("sent: level %u; the daemon confirms it on its standard error only", level));
}

void run_log_to(const Arguments &arguments)
{
    const std::string &destination = arguments.text("DESTINATION");
    WireLogSetting record = {};
    need_text(record.destination, sizeof record.destination, destination, "a log destination");
    const bool isFile = destination != "stderr";
    if (isFile)
        need_appendable(destination);
    need_daemon();
    send_signal(VESK_SIGNAL_SET_LOG_DESTINATION, &record, sizeof record);
    if (isFile && !wait_until(patienceMs, [&] { return access(destination.c_str(), F_OK) == 0; }))
        fail("refused: " + destination + " hasn't been opened; the daemon writes to stderr");
    print_done(arguments, "the log goes to " + destination);
}
