// Conversations in text (talks/README.md): peers on control sockets, what each of them is told, and what is answered.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <set>

#include "platform/nl80211/ctrl.h"
#include "tests/nl80211/world.h"
#include "tests/rows.h"

/** First word, and what stands behind the blank. */
inline std::pair<std::string, std::string> word(const std::string &step) {
    const size_t blank = step.find(' ');
    return { step.substr(0, blank), blank == std::string::npos ? "" : step.substr(blank + 1) };
}

/** "\n" is a newline, "\s" a blank, "\f" parts a reply into two, x{64} is 64 times x, "'" parts digits and stands for
 * nothing. */
inline std::string spoken(std::string text) {
    text = replaced(replaced(replaced(text, "'", ""), "\\n", "\n"), "\\s", " ");
    text = replaced(text, "\\f", "\f");
    for (size_t open; (open = text.find('{')) != std::string::npos;)
        text.replace(open - 1, text.find('}') + 2 - open, std::stoul(text.substr(open + 1)), text[open - 1]);
    return text;
}

/** A text of one word: "_" is a blank. */
inline std::string plain(const std::string &word) { return replaced(spoken(word), "_", " "); }

struct Talk : World {
    using Call = int (*)(const Texts &words);
    using Replies = std::map<std::string, std::string>;
    struct Peer {
        std::string path;
        Replies replies;
        std::optional<FakeHostapd> socket;
        size_t heard = 0; // commands that steps have named

        void start(const Replies &with) { heard = 0, socket.emplace(path, with); }
    };

    Talk() { clock_stop(); }
    void TestBody() override {}
    void add_peer(const std::string &name, const std::string &folder, const Replies &replies) {
        Peer &peer = peers[name];
        peer.path = root + folder + "/" + name;
        peer.start(peer.replies = replies);
    }

    /** Waits for what other threads do. */
    virtual bool until(const std::function<bool()> &done) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (!done() && std::chrono::steady_clock::now() < end)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return done();
    }

    /** "... COMMAND": whatever stands before it. */
    void hear(Peer &peer, const std::string &wanted) {
        const bool skips = wanted.starts_with("... ");
        const std::string command = spoken(skips ? wanted.substr(4) : wanted);
        std::string got;
        const bool came = until([&] {
            const Texts all = peer.socket->commands();
            while (peer.heard < all.size() && got != command && (skips || got.empty())) got = all[peer.heard++];
            return skips ? got == command : !got.empty();
        });
        EXPECT_TRUE(came && got == command) << "but \"" << got << '"';
    }
    /** No peer was told anything that no step has named. */
    void hear_nothing() {
        for (auto &[name, peer] : peers) {
            const Texts all = peer.socket->commands();
            for (; peer.heard < all.size(); peer.heard++) ADD_FAILURE() << name << " heard: " << all[peer.heard];
        }
    }

    /** What the log got since it was last forgotten. */
    std::string fresh() {
        logged("");
        return log.substr(logStart);
    }
    void forget_log() { fresh(), logStart = log.size(); }

    void begin(const std::string &) {}
    /** Whatever came of what stands before has been named. */
    void end() {
        hear_nothing();
        EXPECT_TRUE(isLogNamed || fresh().empty()) << fresh();
    }
    /** ARGUMENTS -> STATUS */
    void call(Call function, const std::string &rest) {
        const auto [arguments, status] = halves(rest, "->");
        end();
        forget_log();
        isLogNamed = false;
        EXPECT_EQ(std::to_string(function(split(arguments))), status) << fresh();
    }
    void add_calls(const std::map<std::string, Call> &calls) {
        for (const auto &[name, function] : calls)
            steps[name] = [function = function, this](const std::string &rest) { call(function, rest); };
    }

    void step(const std::string &text) {
        const auto [first, rest] = word(text);
        const auto peer = peers.find(first);
        if (peer == peers.end()) {
            ASSERT_TRUE(steps.contains(first)) << "no such step";
            return steps.at(first)(rest);
        }
        const auto [verb, what] = word(rest);
        ASSERT_TRUE(verbs.contains(verb)) << "no such verb";
        verbs.at(verb)(peer->second, what);
    }

    std::map<std::string, Peer> peers;
    size_t logStart = 0;
    bool isLogNamed = true; // by a step, since the last call
    std::map<std::string, std::function<void(Peer &peer, const std::string &rest)>> verbs = {
        { "hears", [this](Peer &peer, const std::string &rest) { hear(peer, rest); } },
        { "says", [](Peer &peer, const std::string &rest) { EXPECT_TRUE(peer.socket->tell(spoken(rest))); } },
        { "answers",
          [](Peer &peer, const std::string &rest) {
              const auto [command, reply] = halves(rest, "->");
              peer.socket->say(command, spoken(reply));
          } },
        { "leaves", [](Peer &peer, const std::string &command) { peer.socket->say(command, FakeHostapd::silence); } },
    };
    std::map<std::string, std::function<void(const std::string &rest)>> steps = {
        { "wait", [](const std::string &ms) { clock_advance(std::stoll(ms)); } },
        { "patience",
          [](const std::string &ms) {
              radio::ctrl_set_patience(ms == "usual" ? radio::ctrlPatience : std::stoi(ms));
          } },
        { "logged",
          [this](const std::string &text) {
              isLogNamed = true;
              EXPECT_TRUE(until([&] { return fresh().find(quoted(text)) != std::string::npos; })) << log;
          } },
        { "unlogged", [this](const std::string &text) { EXPECT_FALSE(logged(quoted(text))) << log; } },
        { "file", // PATH TEXT
          [this](const std::string &rest) {
              const auto [path, content] = word(rest);
              put(path, replaced(content, "\\n", "\n")); // JSON has braces
          } },
        { "link", // PATH TARGET, both below the root
          [this](const std::string &rest) {
              const auto [path, target] = word(rest);
              link(path, root + target);
          } },
        { "remove", [this](const std::string &path) { World::remove(path); } },
    };
};

/** Runs talks/FILE up to its first failure, behind which others would each wait for what never comes; a world of its
 * own for each case and for each row of its table. */
template <class World>
void run_talks(const std::string &file) {
    std::optional<World> world;
    std::string last;
    const auto end = [&] {
        SCOPED_TRACE(file + ": behind " + last);
        if (world && !testing::Test::HasFailure()) world->end();
        world.reset();
    };
    const auto begin = [&](const std::string &base) {
        end();
        clock_advance(60000); // what the library remembers of the one before is over
        if (!testing::Test::HasFailure()) world.emplace().begin(last = base);
    };
    const auto step = [&](const std::string &text) {
        if (!testing::Test::HasFailure()) world->step(last = text);
    };
    for (const RowCase &one : row_cases(std::string(VESK_TALKS) + "/" + file)) one.run(file, begin, step);
    end();
}
