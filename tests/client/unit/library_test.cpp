// Runs library.rows: the client's library as functions from text to text; and all layouts against hostile bytes.
#include <gtest/gtest.h>

#include <map>

#include "tests/rows.h"
#include "tests/unit/test_files.h"
#include "tools/client/log.h"
#include "tools/client/recommend.h"
#include "tools/client/signals.h"
#include "tools/client/text.h"

// Of what asks a bus, which device_test.cpp stands in for.
std::string absences(const Texts &w);
std::string calls(const Texts &w);

namespace {
constexpr time_t newYear = 1767225600; // 2026
constexpr char start[] = "VESK > Wed Nov 25 10:00:00 | INFO    | source/vesk_config | vesk_load_cfg:1 |  vesk version "
                         "[1.4.3] load vesk conf /x, 9";

std::string unescaped(const std::string &text) {
    std::string bytes;
    for (size_t i = 0; i < text.size(); i++) {
        const char next = text[i] == '\\' ? text.at(++i) : '\0';
        bytes += next == 'n' ? '\n' : next == 'r' ? '\r' : next == 'x' ? '\0' : text[i];
        if (next == 'x') bytes.back() = static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16)), i += 2;
    }
    return bytes;
}

std::string yes(bool is) { return is ? "yes" : "no"; }
std::string shown(int number) { return std::to_string(number); }

/** A function of up to three numbers, which stand in one word. */
std::function<std::string(const Texts &)> numbers(std::string (*of)(int, int, int)) {
    return [of](const Texts &w) {
        int n[3] = {};
        sscanf(w[0].c_str(), "%d %d %d", &n[0], &n[1], &n[2]);
        return of(n[0], n[1], n[2]);
    };
}

SeenSignal signal_from(const std::string &line) {
    SeenSignal signal = {};
    return parse_signal(line.c_str(), signal) ? signal : SeenSignal{};
}

/** A member of the record that "NAME JSON" describes, or why there is none. */
std::string vap_member(const std::string &word, Secrets secrets) {
    const size_t blank = word.find(' ');
    std::vector<uint8_t> record;
    const std::string error = encode_record(layoutVapInfo, Json::parse(word.c_str() + blank).get(), record);
    const Json vap = decode_record(layoutVapInfo, record.data(), secrets);
    return error.empty() ? json_line(vap.at(word.substr(0, blank).c_str())) : error;
}

LogLine log_line(const std::string &text) { return parse_log_line(text, false, 1, newYear); }

std::string follow(const Texts &added) {
    constexpr char path[] = "/tmp/followed.log", other[] = "/tmp/other.log";
    Logbook log;
    log.path = path;
    unlink(path);
    for (const std::string &word : added) {
        const bool isNew = word.starts_with("NEW"), isCut = word.starts_with("CUT");
        const std::string text = replaced(word.substr(isNew || isCut ? 3 : 0), "START", start);
        if (word == "GONE")
            unlink(path);
        else
            put_file(isNew ? other : path, (isNew || isCut ? "" : file_text(path)) + text);
        if (isNew) rename(other, path);
        follow_log(log);
    }
    const LogLine &last = log.lines.back();
    return printed("%zu: %d ", log.lines.size(), last.number) + std::string(last.message()) +
           (log.knowsStart ? "" : ", no start") + (log.error.empty() ? "" : ", " + log.error);
}

std::string advise(const Texts &words) {
    RadioState radio = {};
    radio.band = words[0].starts_with("5") ? 3 : 0;
    std::istringstream channels(words[0].substr(words[0].find(' '))), neighbors(words.size() > 1 ? words[1] : "");
    for (std::string word; channels >> word;) {
        ChannelState c = {};
        int used, noise;
        const auto has = [&](char sign) { return word.find(sign) != std::string::npos; };
        c.number = std::stoi(word);
        c.isOwn = has('*'), c.needsDfs = has('d'), c.isNol = has('n'), c.isAvailable = !has('x');
        if (has('%') && sscanf(word.c_str() + word.find('%'), "%%%d@%d", &used, &noise) > 1) c.noise = noise;
        if (has('%')) c.utilisation = used;
        if (c.isOwn) radio.channel = c.number;
        radio.channels.push_back(c);
    }
    for (int channel; neighbors >> channel;) radio.neighbors.push_back({ channel, {}, "", "" });
    const std::vector<Recommendation> best = recommend_channels(radio);
    std::string order;
    for (const Recommendation &r : best) order += (order.empty() ? "" : " ") + shown(r.channel->number);
    return order + "; " + advice(radio, best);
}

constexpr const char *slips[] = { "vaps", "stations", "neighbors", "scan" };

const std::map<std::string, std::function<std::string(const Texts &)>> functions = {
    { "clean", [](const Texts &w) { return clean_text(w[0]) + printed(", %zu", cell_count(clean_text(w[0]))); } },
    { "cut", [](const Texts &w) { return cut_text(w[0], std::stoul(w[1]), w[2].c_str()); } },
    { "pad", [](const Texts &w) { return "[" + padded(w[0], std::stoul(w[1])) + "]"; } },
    { "bar", numbers([](int share, int, int) { return bar_text(share, 10); }) },
    { "span", numbers([](int seconds, int, int) { return span_text(seconds); }) },
    { "mac",
      [](const Texts &w) {
          uint8_t mac[6] = { 9 };
          return parse_mac(w[0], mac) ? mac_text(mac) : mac[0] == 9 ? "refused" : "half read";
      } },
    { "hex",
      [](const Texts &w) {
          std::vector<uint8_t> bytes;
          return from_hex(w[0], bytes) ? to_hex(bytes.data(), bytes.size()) : "refused";
      } },
    { "number",
      [](const Texts &w) {
          long long number = 77;
          return parse_number(w[0], -5, 100, number) ? printed("%lld", number) : number == 77 ? "refused" : "taken";
      } },
    { "band", [](const Texts &w) { return shown(band_of(w[0])); } },
    { "width", [](const Texts &w) { return shown(bandwidth_of(w[0])); } },
    { "security", numbers([](int mode, int, int) { return security_name(mode); }) },
    { "vht", numbers([](int map, int, int) { return vht_mcs_text(map); }) },
    { "he", numbers([](int map, int, int) { return he_mcs_text(map); }) },
    { "bars", numbers([](int level, int, int) { return shown(signal_bars(level)); }) },
    { "fits", numbers([](int band, int channel, int width) { return yes(width_fits(band, channel, width)); }) },
    { "block", numbers([](int band, int channel, int width) {
          const auto [first, last] = channel_block(band, channel, width);
          return printed("%d %d", first, last);
      }) },
    { "dfs", numbers([](int channel, int bits, int) { return yes(needs_dfs(channel, static_cast<uint16_t>(bits))); }) },
    { "meant",
      [](const Texts &w) {
          const char *word = closest_word(w[0], slips);
          return std::string(word ? word : "nothing");
      } },
    { "channel",
      [](const Texts &w) {
          std::vector<uint8_t> record;
          const std::string error = encode_record(layoutChannel, Json::parse(w[0].c_str()).get(), record);
          return error.empty() ? to_hex(record.data(), record.size()) : error;
      } },
    { "vap", [](const Texts &w) { return vap_member(w[0], Secrets::Hidden); } },
    { "secret", [](const Texts &w) { return vap_member(w[0], Secrets::Shown); } },
    { "stations",
      [](const Texts &w) {
          std::vector<uint8_t> record(sizeof(WireStaInfo));
          *reinterpret_cast<int32_t *>(record.data()) = std::stoi(w[0]);
          return shown(cJSON_GetArraySize(decode_record(layoutStaInfo, record.data()).at("stations")));
      } },
    { "signal",
      [](const Texts &w) {
          const SeenSignal signal = signal_from(w[0]);
          return signal.name.empty() ? "none" : signal_line(signal, true);
      } },
    { "names", [](const Texts &w) { return yes(concerns_station(signal_from(w[0].substr(18)), w[0].substr(0, 17))); } },
    { "line",
      [](const Texts &w) {
          const LogLine line = log_line(w[0]);
          return std::string(line.level()) + ", " + std::string(line.function()) + ": " + std::string(line.message());
      } },
    { "stamp",
      [](const Texts &w) {
          return shown(static_cast<int>(log_line("VESK > " + w[0] + " | INFO | m | f:1 |  x").when - newYear));
      } },
    { "from", [](const Texts &w) { return yes(is_message_of(w[1], w[0])); } },
    { "field",
      [](const Texts &w) {
          return shown(log_number(log_line("VESK > Wed Nov 25 10:00:05 | I | m | f:1 |  " + w[1]), w[0].c_str(), 7));
      } },
    { "follow", follow },
    { "advise", advise },
    { "absent", absences },
    { "calls", calls },
};

Texts arguments_of(std::string text) {
    Texts words;
    for (bool goesOn = true; goesOn;) {
        const auto [word, rest] = halves(text, "::");
        goesOn = text.size() > word.size();
        words.push_back(unescaped(word));
        text = rest;
    }
    return words;
}

void run_row(const std::string &row) {
    const auto [call, answer] = halves(row, "=>");
    const size_t end = std::min(call.find(' '), call.size());
    const auto function = functions.find(call.substr(0, end));
    ASSERT_NE(function, functions.end());
    EXPECT_EQ(function->second(arguments_of(call.substr(std::min(end + 1, call.size())))), unescaped(answer));
}

TEST(ClientLibrary, Rows) {
    setenv("TZ", "UTC", 1);
    tzset();
    for (const RowCase &one : row_cases(VESK_CLIENT_ROWS))
        one.run(
            "library.rows", [](const std::string &) {}, run_row);
}

TEST(ClientLibrary, EveryLayoutSurvivesTheRoundTripAndHostileBytes) {
    for (const MethodLayout &row : vesk_method_layouts) {
        SCOPED_TRACE(row.layout->name);
        const std::vector<uint8_t> zeros(row.layout->size), ones(row.layout->size, 0xff);
        EXPECT_TRUE(cJSON_IsObject(decode_record(*row.layout, ones.data()).get()));
        const Json object = decode_record(*row.layout, zeros.data(), Secrets::Shown);
        cJSON *given = cJSON_Parse(object.line().c_str());
        for (cJSON *item = given->child, *next; item; item = next) {
            next = item->next;
            if (cJSON_IsNull(item)) cJSON_Delete(cJSON_DetachItemViaPointer(given, item)); // absent: nobody gives it
        }
        std::vector<uint8_t> back;
        EXPECT_EQ(encode_record(*row.layout, given, back), "");
        EXPECT_EQ(back, zeros);
        cJSON_Delete(given);
    }
}

} // namespace
