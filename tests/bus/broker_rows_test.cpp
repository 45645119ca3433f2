// Conversations with the broker as text (broker.rows), compared byte for byte.
#include "tests/bus/harness.h"
#include "tests/rows.h"

#include <map>

namespace {
const Texts types = { "hello", "status", "data",      "ping",        "lookup", "invoke",
                      "add",   "remove", "subscribe", "unsubscribe", "notify", "monitor" };
const Texts fieldTypes = { "raw", "array", "table", "text", "i64", "i32" };
const std::map<std::string, uint32_t> attributes = {
    { "status", UBUS_ATTR_STATUS }, { "path", UBUS_ATTR_OBJPATH },     { "id", UBUS_ATTR_OBJID },
    { "method", UBUS_ATTR_METHOD }, { "type", UBUS_ATTR_OBJTYPE },     { "methods", UBUS_ATTR_SIGNATURE },
    { "content", UBUS_ATTR_DATA },  { "noreply", UBUS_ATTR_NO_REPLY },
};

uint64_t number_of(const std::string &text) { return static_cast<uint64_t>(std::stoll(text, nullptr, 0)); }

uint32_t place_in(const Texts &words, const std::string &word) {
    const auto found = std::ranges::find(words, word);
    return static_cast<uint32_t>(found == words.end() ? number_of(word) : found - words.begin());
}

std::string taken_until(std::string &text, const char *ends) {
    const std::string word = text.substr(0, text.find_first_of(ends));
    text.erase(0, word.size());
    return word;
}

std::string fields(std::string &text) {
    std::string all;
    while (text.size() > 1 && text.compare(0, 2, "{}") != 0 && text[0] != '}') {
        const std::string name = taken_until(text.erase(0, 1), ":"), type = taken_until(text.erase(0, 1), "={");
        std::string value = text[0] == '{' ? fields(text) : taken_until(text.erase(0, 1), ",}");
        if (value.find('^') == 1) value = std::string(std::stoul(value.substr(2)), value[0]);
        if (type[0] == 'i') value = be(number_of(value), type == "i64" ? 8 : 4);
        all += field(place_in(fieldTypes, type), name, type == "text" ? value + '\0' : value);
    }
    text.erase(0, text.find('}') + 1);
    return all;
}

struct Conversation {
    Broker broker;
    Wire pinger{ broker.path };
    const size_t piece; // bytes that are sent at once
    std::map<std::string, Wire> wires;
    std::map<std::string, uint32_t> known;
    std::string speaker, unsent;
    std::vector<std::pair<std::string, std::string>> awaited; // step and answer, of what is unsent

    explicit Conversation(size_t p) : piece(p) {}
    ~Conversation() { flush(); }

    Wire &wire(const std::string &name) {
        const auto [at, isNew] = wires.try_emplace(name, broker.path);
        known[name] = at->second.id;
        return at->second;
    }

    /** A message from its words. `told`: the one that came, for what is open ("?"). */
    std::string message_of(std::string text, const Message &told = {}) {
        for (auto at = known.rbegin(); at != known.rend(); ++at)
            text = replaced(text, "$" + at->first, std::to_string(at->second));
        Texts words = split(text);
        uint64_t seq = 0x1234, peer = 0xabcdef01;
        std::string body;
        for (std::string &word : words) {
            if (&word == &words[0]) continue;
            const std::string name = taken_until(word, "=~{");
            const char form = word[0];
            if (form != '{') word.erase(0, 1);
            if (name == "seq" || name == "peer") {
                (name == "seq" ? seq : peer) = word == "?" ? told.seq : number_of(word);
                continue;
            }
            const uint32_t id = attributes.at(name);
            if (word[0] == '?') known[word.substr(1)] = told.number(id);
            if (word[0] == '?')
                word = told.get(id).value_or("");
            else if (form == '{')
                word = fields(word);
            else if (form == '=')
                word = name == "path" || name == "method" ? word + '\0' : be32(number_of(word));
            body += attr(id, word);
        }
        return message(place_in(types, words[0]), static_cast<uint16_t>(seq), static_cast<uint32_t>(peer), body);
    }

    void hear(const std::string &name, const std::string &expected) {
        const Message told = wire(name).receive();
        EXPECT_EQ(told.whole(), message_of(expected, told)) << name << " hears " << expected;
    }

    /** What has gathered goes out, in pieces each of which the broker reads alone. */
    void flush() {
        for (; !unsent.empty(); unsent.erase(0, piece)) {
            wire(speaker).send(unsent.substr(0, piece));
            EXPECT_TRUE(pinger.alive());
        }
        for (const auto &[step, answer] : std::exchange(awaited, {})) {
            SCOPED_TRACE(step);
            hear(speaker, answer);
        }
    }

    /** Requests of one speaker gather until somebody has to hear something. */
    void run_step(const std::string &step) {
        const Texts parts = split(step);
        const std::string &who = parts[0], &verb = parts[1];
        const std::string words = step.substr(std::min(step.size(), who.size() + verb.size() + 2));
        if (verb == "publishes") {
            run_step(who + " sends add " + words.substr(parts[2].size()));
            run_step(who + " hears data id=?" + parts[2]);
            return run_step(who + " hears status status=0");
        }
        if (verb != "asks" || who != speaker) flush();
        speaker = who;
        const auto [request, status] = halves(words, "->");
        if (verb == "asks" || verb == "sends") unsent += message_of(request);
        if (verb == "asks") awaited.emplace_back(step, "status status=" + status);
        if (verb == "hears") hear(who, words);
        if (verb == "goes") wires.erase(who);
    }
};

TEST(BrokerConversations, Hold) {
    for (const size_t piece : { 100000, 5, 13 }) {
        std::optional<Conversation> talk;
        const auto begin = [&](const std::string &) { talk.reset(), talk.emplace(piece); };
        const auto run_step = [&](const std::string &step) { talk->run_step(step); };
        for (const RowCase &c : row_cases(VESK_BUS_ROWS "/broker.rows")) c.run("broker.rows", begin, run_step);
    }
}
} // namespace
