// The log's lines taken apart, matched with the statements that wrote them, and followed while the file grows.
#include <gtest/gtest.h>

#include <fstream>

#include "tests/unit/test_files.h"
#include "tools/client/log.h"

namespace {

constexpr char start[] = "VESK > Wed Nov 25 10:00:00 | INFO    | source/vesk_config | vesk_load_cfg:1 |  vesk version "
                         "[1.4.3] load vesk conf /x, 9\n";
constexpr char pass[] = "VESK > Wed Nov 25 10:00:05 | DEBUG   | source/vesk_scan | vesk_update_scan_ubus_handle:7 |  "
                        "scanEnable=1, scanEnableCfg=1, scanItv=60\r\n\n";

const struct {
    const char *name, *text, *level, *function, *message;
} lines[] = {
    { "whole", pass, "DEBUG", "vesk_update_scan_ubus_handle", "scanEnable=1, scanEnableCfg=1, scanItv=60" },
    { "dump", "    scanCfg[0]->txThd           = 10\n", "", "", "scanCfg[0]->txThd           = 10" },
    { "cut behind the stamp", "VESK > Wed Nov 25 10:00:05", "", "", "VESK > Wed Nov 25 10:00:05" },
    { "no message", "VESK > Wed Nov 25 10:00:05 | INFO    | m | f:1 | ", "", "",
      "VESK > Wed Nov 25 10:00:05 | INFO    | m | f:1 |" },
    { "no stamp", "VESK > | INFO", "", "", "VESK > | INFO" },
    { "empty", "\n", "", "", "" },
};

TEST(ClientLog, LinesAreTakenApart) {
    for (const auto &l : lines) {
        const LogLine line = parse_log_line(l.text, false, 1, 1764064900);
        EXPECT_EQ(line.level(), l.level) << l.name;
        EXPECT_EQ(line.function(), l.function) << l.name;
        EXPECT_EQ(line.message(), l.message) << l.name;
    }
    EXPECT_EQ(parse_log_line(std::string(pass).replace(60, 0, std::string(70000, 'x')), false, 1, 0).level(), "");
    setenv("TZ", "UTC", 1);
    tzset();
    const time_t newYear = 1767225600; // 2026-01-01 00:00:00: a stamp ahead is that of the year before
    EXPECT_EQ(parse_log_line("VESK > Wed Dec 31 23:59:58 | INFO | m | f:1 |  x", false, 1, newYear).when, newYear - 2);
    EXPECT_EQ(parse_log_line("VESK > Thu Jan  1 00:00:00 | INFO | m | f:1 |  x", false, 1, newYear).when, newYear);
}

const struct {
    const char *message, *format;
    bool is;
} matches[] = {
    { "count=2", VESK_TEXT_RADIOS_AT_END, true },
    { "count=", VESK_TEXT_RADIOS_AT_END, false },
    { "count=2, more", VESK_TEXT_RADIOS_AT_END, false },
    { "scanEnable=1, scanEnableCfg=1, itv=4", VESK_TEXT_SWITCHES, false },
    { "Radio wifi0 is not enable - exit", VESK_TEXT_STEP_RADIO_DOWN, true },
    { "Radio  is not enable - exit", VESK_TEXT_STEP_RADIO_DOWN, true },
    { "Radio wifi0 is not enable - exit!", VESK_TEXT_STEP_RADIO_DOWN, false },
    { "Ubus send successfully [a] [b] [c] [02:5e:70:00:00:01]", VESK_TEXT_SENT_CLIENT, true },
    { "Ubus send successfully [a]", VESK_TEXT_SENT, true },
    { "", VESK_TEXT_SENT, false },
};

TEST(ClientLog, AStatementKnowsItsLines) {
    for (const auto &m : matches) EXPECT_EQ(is_message_of(m.message, m.format), m.is) << m.message;
    const LogLine line = parse_log_line(
        "VESK > Wed Nov 25 10:00:05 | INFO | m | f:1 |  xitv=9, itv=-4, big=99999999999", false, 1, 1764064900);
    EXPECT_EQ(log_number(line, "itv"), -4);
    EXPECT_EQ(log_number(line, "big"), INT_MAX);
    EXPECT_EQ(log_number(line, "none", 7), 7);
}

TEST(ClientLog, IsFollowedAsItGrows) {
    const char *path = "/tmp/followed.log";
    put_file(path, std::string("VESK > old\n") + start + pass);
    Logbook log = read_log(path);
    const auto follow = [&](const std::string &added) {
        std::ofstream(path, std::ios::app) << added;
        follow_log(log);
    };
    ASSERT_EQ(log.lines.size(), 2u); // from the start on
    EXPECT_TRUE(log.knowsStart);
    follow("one\nhalf");
    EXPECT_EQ(log.lines.back().text, "one");
    EXPECT_EQ(log.lines.back().number, 5); // the blank line behind a message counts, too
    follow(" a line\n");
    EXPECT_EQ(log.lines.back().text, "half a line");
    follow("");
    EXPECT_EQ(log.lines.size(), 4u);
    put_file("/tmp/other.log", start + std::string(9999, 'x') + "\n");
    rename("/tmp/other.log", path); // rotated: another file, longer than what was read
    follow("");
    EXPECT_EQ(log.lines.size(), 2u);
    unlink(path);
    follow_log(log);
    EXPECT_NE(log.error, "");
}

} // namespace
