#include "tests/radio/script.h"

#include <thread>

#include "tests/radio/table.h"

namespace fs = std::filesystem;

namespace {

constexpr auto patience = 90s; // virtual; hostapd's longest way, a check for radar, takes 60 s
constexpr auto promptly = 2s;

std::string hex(const std::string &mac) { return replaced(mac, ":", ""); }
const std::pair<std::string, std::string> names[] = {
    { "<phone>", phone },          { "<agent>", agent },     { "<phone hex>", hex(phone) },
    { "<agent hex>", hex(agent) }, { "<no name>", "0{32}" }, // sixteen bytes of a datagram
};

std::map<std::string, uintmax_t> sizes; // of the files of /tmp, at the last "do"
std::string lastEvent;                  // that was looked for

void note_sizes() {
    sizes.clear();
    for (const auto &entry : fs::directory_iterator("/tmp"))
        if (entry.is_regular_file()) sizes[entry.path().filename()] = entry.file_size();
}

/** Of a file of /tmp what is new since the last "do"; all of it where it was begun anew. */
std::string news_of(const std::string &file) {
    const std::string text = read_file("/tmp/" + file);
    return sizes[file] <= text.size() ? text.substr(sizes[file]) : text;
}

std::string look(const std::string &what) {
    const auto [command, rest] = halves(what, ";");
    const Texts words = split(command);
    const auto own = vocabulary().find(words.at(0));
    if (own == vocabulary().end()) return sh(what);
    const std::string said = own->second(words);
    return rest.empty() ? said : said + look(rest);
}

size_t count(const std::string &file, const std::string &pattern) { return find_all(news_of(file), pattern).size(); }

void expect(const std::string &text, std::chrono::milliseconds span) {
    const bool isWanted = text.find(" !~ ") == std::string::npos;
    const auto [what, pattern] = halves(text, isWanted ? " ~" : " !~");
    if (what == "log heard") lastEvent = pattern;
    std::string said;
    const auto holds = [&] {
        said = look(what);
        return pattern.empty() || find_all(said, pattern, 1).empty() != isWanted;
    };
    EXPECT_TRUE(within(span, holds)) << said << "\n" << sh("tail -n 8 /tmp/*.log /tmp/heard /tmp/spoken /tmp/vesk.err");
}

void perform(const std::string &step) {
    const std::string verb = step.substr(0, step.find(' ')), rest = step.substr(verb.size() + 1);
    if (verb == "do") note_sizes();
    if (verb == "do" || verb == "is") {
        expect(rest, 0s);
    } else if (verb == "see") {
        expect(rest, patience);
    } else if (verb == "soon") {
        expect(rest, promptly);
    } else if (verb == "wait") {
        std::this_thread::sleep_for(std::chrono::seconds(std::stoi(rest)));
    } else if (verb == "once") {
        EXPECT_EQ(count("heard", rest), 1u) << news_of("heard");
    } else if (verb == "logged") {
        std::this_thread::sleep_for(100ms);
        EXPECT_EQ(count("heard", lastEvent), count("hostapd.log", rest)) << news_of("heard") << news_of("hostapd.log");
    } else {
        ADD_FAILURE() << "no such step";
    }
}

} // namespace

std::map<std::string, Word> &vocabulary() {
    static std::map<std::string, Word> all = {
        { "info", [](const Texts &words) { return info(words.at(1)); } },
        { "stations", [](const Texts &words) { return stations_of(words.at(1)); } },
        { "file", [](const Texts &words) { return read_file(words.at(1)); } },
        { "log", [](const Texts &words) { return news_of(words.at(1)); } },
    };
    return all;
}

void play(const RowCase &script, const std::string &file) {
    note_sizes();
    script.run(
        "tests/radio/" + file, [](const std::string &) {},
        [](std::string step) {
            for (const auto &[name, value] : names) step = replaced(step, name, value);
            perform(step);
        });
}
