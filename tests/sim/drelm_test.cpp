// Lines to datagrams, byte for byte.
#include "platform/drelm/drelm.h"

#include <algorithm>
#include <ctime>
#include <vector>

#include <gtest/gtest.h>

#include "include/vesk_event.h"

namespace
{

std::vector<std::vector<uint8_t>> sent;

void capture(const void *datagram, size_t size)
{
    const auto *bytes = static_cast<const uint8_t *>(datagram);
    sent.emplace_back(bytes, bytes + size);
}

/** Runs a line; the message of a refusal, or an empty text. */
std::string run(const char *line)
{
    std::string message;
    sent.clear();
    return drelm_run_line(line, capture, message) == 0 ? "" : message;
}

/** "ID IF SIZE" of the last datagram, then, for each "OFFSET=HEX" in `wanted`, the same stretch of its body.
 */
std::string described(const std::string &wanted)
{
    const std::vector<uint8_t> &datagram = sent.back();
    const char *ifName = reinterpret_cast<const char *>(&datagram[4]);
    std::string text = std::to_string(datagram[0]) + " " + (*ifName ? ifName : "-") + " " +
                       std::to_string(datagram.size() - sizeof(VeskEventHeader));
    for (size_t at = wanted.find('='); at != std::string::npos; at = wanted.find('=', at + 1)) {
        const std::string offset = wanted.substr(wanted.rfind(' ', at) + 1, at - wanted.rfind(' ', at));
        const size_t bytes = (std::min(wanted.find(' ', at), wanted.size()) - at - 1) / 2;
        text += " " + offset;
        for (size_t i = 0; i < bytes; i++) {
            char pair[3];
            snprintf(pair, sizeof pair, "%02x",
                     datagram.at(sizeof(VeskEventHeader) + std::stoul(offset) + i));
            text += pair;
        }
    }
    return text;
}

} // namespace

TEST(Drelm, DatagramsOfEachCommand)
{
    const struct {
        const char *line, *datagram;
    } rows[] = {
        { "probe ath0 02:11:22:33:44:55 channel=6 rssi=-52", "1 ath0 27 16=02112233445506ccffffff" },
        { "join ath10 02:11:22:33:44:55 rssi=-3 11v 11k bssid=02:00:00:00:00:07 opclass=115 time=258 "
          "frame=0a0b",
          "3 ath10 621 16=021122334455fdffffff 30=73 97=020000000007020102000a0b00 619=8001" },
        { "join ath0 02:11:22:33:44:55 framelen=600", "3 ath0 621 105=580200 619=0000" },
        { "leave ath0 02:11:22:33:44:55", "4 ath0 22 16=021122334455" },
        { "channel wifi1 old=36 new=100 oldbw=1 newbw=2 oldclass=115 newclass=128 oldmode=ac oldpower=1 "
          "newpower=-2",
          "5 wifi1 84 0=00002401736163 37=0000803f640280 76=000000c000000000" },
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
        { "raw 4 ath0", "4 ath0 0" },
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(run(row.line), "");
        ASSERT_EQ(sent.size(), 1u);
        EXPECT_EQ(described(row.datagram), row.datagram);
    }
}

TEST(Drelm, BadLinesSendNothingAndSayWhy)
{
    const struct {
        const char *line, *why;
    } rows[] = {
        { "dance", "unknown command \"dance\"" },
        { "join", "missing interface" },
        { "join ath0", "missing MAC address" },
        { "join ath0 02:11:22:33:44", "\"02:11:22:33:44\" is no MAC address" },
        { "leave ath0 02:11:22:33:44:5g", "is no MAC address" },
        { "leave ath0 021:1:22:33:44:55", "is no MAC address" },
        { "join ath0 02:11:22:33:44:55 11r", "what is \"11r\"?" },
        { "join ath0 02:11:22:33:44:55 rssi=strong", "rssi \"strong\" is no number" },
        { "probe ath0 02:11:22:33:44:55 channel=256", "channel \"256\" is no number from 0 to 255" },
        { "radar 01020304050607", "7 bytes, at most 6 fit" },
        { "radar 123", "no even number of hexadecimal digits" },
        { "channel wifi0 newmode=abcdefghijklmnopqrstuvwxyz012345", "newmode is longer than 31" },
        { "unsafe 1 2", "missing bitmap word" },
        { "raw 1 a-name-of-thirty-seven-characters-1234", "the interface name is too long" },
        { "wait soon", "\"soon\" is no number of seconds" },
        { "storm ath0 0 100", "stations \"0\" is no number" },
        { "storm ath0 10 100 now", "what is \"now\"?" },
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_NE(run(row.line).find(row.why), std::string::npos) << run(row.line);
        EXPECT_TRUE(sent.empty());
    }
    for (const char *line : { "", "  \n", "# join ath0", " #" })
        EXPECT_EQ(run(line), "");
    EXPECT_TRUE(sent.empty());
}

TEST(Drelm, StormAlternatesAtItsRate)
{
    timespec start, end;
    clock_gettime(CLOCK_MONOTONIC, &start);
    EXPECT_EQ(run("storm ath0 300 5000"), "");
    clock_gettime(CLOCK_MONOTONIC, &end);
    ASSERT_EQ(sent.size(), 600u);
    for (size_t i = 0; i < 600; i++) {
        EXPECT_EQ(sent[i][0], i < 300 ? 3 : 4);
        EXPECT_EQ(sent[i][61] << 8 | sent[i][62], static_cast<int>(i % 300));
    }
    const double seconds = static_cast<double>(end.tv_sec - start.tv_sec) +
                           static_cast<double>(end.tv_nsec - start.tv_nsec) / 1e9;
    EXPECT_GE(seconds, 0.119); // 600 events, 0.2 ms each
    EXPECT_EQ(run("storm ath0 2 1000 seconds=0.005"), "");
    EXPECT_EQ(sent.size(), 5u);
}
