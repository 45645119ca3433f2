// Lines to datagrams, byte for byte.
#include "platform/sim/drelm/drelm.h"

#include <chrono>
#include <sstream>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "include/vesk_event.h"
#include "platform/sim/sim.h"
#include "tests/unit/test_files.h"

namespace {

std::vector<std::vector<uint8_t>> sent;

void capture(const void *datagram, size_t size) {
    const auto *bytes = static_cast<const uint8_t *>(datagram);
    sent.emplace_back(bytes, bytes + size);
}

/** Runs a line; the message of a refusal, or an empty text. */
std::string run(const char *line) {
    std::string message;
    sent.clear();
    return drelm_run_line(line, capture, message) == 0 ? "" : message;
}

/** "ID IF SIZE" of the last datagram, then, for each "OFFSET=HEX" in `wanted`, the same stretch of its body.
 */
std::string described(const std::string &wanted) {
    const char *ifName = reinterpret_cast<const char *>(&sent.back()[4]);
    constexpr size_t head = sizeof(VeskEventHeader);
    const std::string body = sim_hex(&sent.back()[head], sent.back().size() - head);
    std::string text = sim_format("%d %s %zu", sent.back()[0], *ifName ? ifName : "-", body.size() / 2), word;
    std::istringstream stretches(wanted);
    while (stretches >> word)
        if (const size_t at = word.find('='); at != std::string::npos)
            text += " " + word.substr(0, at + 1) + body.substr(2 * std::stoul(word), word.size() - at - 1);
    return text;
}

// clang-format off
const struct { const char *line, *datagram; } good[] = {
    { "probe ath0 02:11:22:33:44:55 channel=010 rssi=-52", "1 ath0 27 16=0211223344550accffffff" },
    { "join ath10 02:11:22:33:44:55 rssi=-3 11v 11k bssid=02:00:00:00:00:07 opclass=115 time=258 frame=0a0b", "3 ath10 621 16=021122334455fdffffff 30=73 97=020000000007020102000a0b00 619=8001" },
    { "join ath0 02:11:22:33:44:55 framelen=600", "3 ath0 621 105=580200 619=0000" },
    { "leave ath0 02:11:22:33:44:55", "4 ath0 22 16=021122334455" },
    { "channel wifi1 old=36 new=100 oldbw=1 newbw=2 oldclass=115 newclass=128 oldmode=ac oldpower=1 newpower=-2", "5 wifi1 84 0=00002401736163 37=0000803f640280 76=000000c000000000" },
    { "channel wifi1 newmode=ax radio=3 reason=4", "5 wifi1 84 0=0403 44=617800 80=03000000" },
    { "cac 010203", "6 - 6 0=010203000000" },
    { "radar 010203040506", "7 - 6 0=010203040506" },
    { "btm-query ath0 aa", "8 ath0 282 15=00aa00" },
    { "btm-resp ath0 aabb", "9 ath0 296 15=00aabb00" },
    { "beacon-report ath0 aa", "10 ath0 281 15=00aa00" },
    { "wps ath1 02:00:00:00:00:01 02:00:00:00:00:02", "11 ath1 28 16=020000000001020000000002" },
    { "assoc-resp ath1 02:00:00:00:00:01 vid=300 pcp=5", "12 ath1 25 21=012c0105" },
    { "disassoc ath1 02:00:00:00:00:01 reason=8", "13 ath1 24 21=010800" },
    { "unsafe 1 0xffffffff 3", "14 - 12 0=01000000ffffffff03000000" },
    { "raw 200 - 0102", "200 - 2 0=0102" },
};

const struct { const char *line, *why; } bad[] = {
    { "dance", "unknown command \"dance\"" },
    { "join ath0", "missing MAC address" },
    { "join ath0 02:11:22:33:44", "\"02:11:22:33:44\" is no MAC address" },
    { "leave ath0 02:11:22:33:44:5g", "is no MAC address" },
    { "join ath0 02:11:22:33:44:55 11r", "what is \"11r\"?" },
    { "join ath0 02:11:22:33:44:55 rssi=strong", "rssi \"strong\" is no number" },
    { "probe ath0 02:11:22:33:44:55 channel=256", "channel \"256\" is no number from 0 to 255" },
    { "radar 01020304050607", "7 bytes, at most 6 fit" },
    { "radar 123", "no even number of hexadecimal digits" },
    { "channel wifi0 newmode=abcdefghijklmnopqrstuvwxyz012345", "newmode is longer than 31" },
    { "unsafe 1 2", "missing bitmap word" },
    { "raw 1 a-name-of-thirty-seven-characters-1234", "the interface name is too long" },
    { "", "" }, { "  \n", "" }, { "# join ath0", "" },
};
// clang-format on
} // namespace

TEST(Drelm, DatagramsOfEachCommand) {
    for (const auto &row : good) {
        EXPECT_EQ(run(row.line), "") << row.line;
        ASSERT_EQ(sent.size(), 1u) << row.line;
        EXPECT_EQ(described(row.datagram), row.datagram);
    }
}

TEST(Drelm, BadLinesSendNothingAndSayWhy) {
    for (const auto &row : bad) {
        const std::string message = run(row.line);
        EXPECT_TRUE(*row.why ? message.find(row.why) != std::string::npos : message.empty()) << row.line << message;
        EXPECT_TRUE(sent.empty()) << row.line;
    }
}

TEST(Drelm, JoinAndLeaveAreSharedWithTheDevice) {
    const std::string list = "/tmp/drelm-test." + std::to_string(getpid());
    drelm_share_stations(list.c_str());
    for (const char *line :
         { "join ath0 02:11:22:33:44:55 rssi=-52 11v time=7 frame=0a0b", "leave ath0 02:11:22:33:44:55",
           "join ath10 02:11:22:33:44:66", "join ath0 02:11:22:33:44:55 11r", "leave ath0" })
        run(line);
    drelm_share_stations(nullptr);
    run("leave ath0 02:11:22:33:44:77");
    EXPECT_EQ(file_text(list.c_str()), "join ath0 02:11:22:33:44:55 rssi=-52 time=7 11v=1 11k=0 frame=0a0b\n"
                                       "leave ath0 02:11:22:33:44:55\n"
                                       "join ath10 02:11:22:33:44:66 rssi=-55 time=0 11v=0 11k=0\n");
    unlink(list.c_str());
}

TEST(Drelm, StormAlternatesAtItsRate) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(run("storm ath0 300 5000"), "");
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(119)); // 0.2 ms each
    ASSERT_EQ(sent.size(), 600u);
    for (size_t i = 0; i < 600; i++) {
        EXPECT_EQ(sent[i][0], i < 300 ? 3 : 4);
        EXPECT_EQ(sent[i][61] << 8 | sent[i][62], static_cast<int>(i % 300));
    }
    EXPECT_EQ(run("storm ath0 2 1000 seconds=0.005"), "");
    EXPECT_EQ(sent.size(), 5u);
}
