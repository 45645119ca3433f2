// The world of the system tests: the real programs as child processes inside a private root, their output in
// files, a bus client of the tests' own. Nothing is said about how long a thing takes. Each test starts from an empty
// /tmp and /run.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/bus/harness.h"

inline const std::string busSocket = "/var/run/ubus.sock";

std::string read_file(const std::string &path);
void write_file(const std::string &path, const std::string &text);
inline const auto exists = [](const char *path) { return access(path, F_OK) == 0; };
inline const auto contains = [](const std::string &text, const std::string &part) {
    return text.find(part) != std::string::npos;
};

/** A program of the build with its output in files; killed and reaped when it goes out of scope. */
struct Child {
    pid_t pid = -1;
    std::string base; // of the files' names

    Child() = default;
    explicit Child(const std::string &program, const std::vector<std::string> &arguments = {});
    Child &operator=(Child &&other) noexcept;
    ~Child() { kill(); }

    void kill() { end_child(std::exchange(pid, -1)); }
    std::string out() const { return read_file(base + ".out"); }
    std::string err() const { return read_file(base + ".err"); }
};

/** Exit status; 256 + number if a signal ended it; -1 if it doesn't end (and goes on running). */
int finish(Child &child);
bool runs(const Child &child);

/** Runs veskctl with these words to its end. */
struct Outcome {
    int status;
    std::string out, err;
};
Outcome veskctl(const std::string &words);

struct Signal {
    std::string name, payload; // full name
};

struct Answer {
    int status = -1;         // of the call, as the bus library gives it
    int fields = 0;          // in the reply
    int result = 0;          // field `return`, which has to come first
    std::string key, record; // the second field and its bytes
};

/** A client of its own on the bus: calls, sent events and received signals. */
struct Bus {
    ubus_event_handler listener = {}; // first: the callback finds the client by it
    ubus_context *ctx = nullptr;
    std::vector<Signal> signals;

    Bus();
    ~Bus() { ctx ? ubus_free(ctx) : void(); }
    Bus(const Bus &) = delete;
    Bus &operator=(const Bus &) = delete;

    /** 0 and the id if the object is on the bus. */
    int lookup(uint32_t *id) { return ctx ? ubus_lookup_id(ctx, "tamlo.pelk.vesk", id) : -1; }
    /** `fill` adds the arguments. */
    Answer call(const char *method, const std::function<void(blob_buf *)> &fill = {});
    Answer call(const char *method, blob_attr *arguments);
    /** Sends an event with the bytes as field `payload`, as the bus client library does. */
    int send(const char *name, const std::string &payload);
    /** Collects signals of the daemon until the question is answered with yes. */
    bool listen(const std::function<bool()> &question);
    /** The first signal of this name that has come; null if none has. */
    const Signal *find(const std::string &name) const {
        const auto found = std::ranges::find(signals, name, &Signal::name);
        return found == signals.end() ? nullptr : &*found;
    }
    bool hears(const char *name) {
        return listen([=, this] { return find(name); });
    }
};

/** Fixture: broker and daemon, each started by the test when its time has come. */
struct System : testing::Test {
    Child broker, daemon;

    void SetUp() override;
    /** Returns when the socket answers. */
    void startBroker();
    /** Returns when the first call has been answered: by then the daemon hears signals, too. */
    void startDaemon();
    void startBoth();
};

/** The daemon's object can be found by a new client. */
bool on_the_bus();
/** Sends a driver event to the daemon as the sibling does. */
void send_event(uint32_t id, const std::string &ifName, const std::string &body);
/** Lines of the daemon's configuration, which it then doesn't renew. */
void configure(const std::string &lines);
/** The payload of a switch, and of a `setLogLevel` signal. */
std::string word(int32_t value);
std::string log_record(int32_t level);
