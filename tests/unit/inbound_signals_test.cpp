// The two switches of the log; the others are rows (rows/signals.rows).
#include "tests/unit/fixtures.h"

static void deliver(size_t index, Bytes payload) {
    const MerkaSignalRow &row = vesk_inbound_signals()[index];
    row.handler(row.interface, row.signal, payload.data(), static_cast<int>(payload.size()));
}

static void deliver_log_setting(size_t index, uint32_t level, const std::string &destination) {
    deliver(index, Bytes(36).i32(0, level).text(4, destination));
}

TEST(InboundSignals, LogLevelAndDestination) {
    VeskInfo &vesk = *vesk_get_vesk_info();
    // clang-format off
    using Row = std::tuple<uint32_t, int, std::string, std::string>; // level; logLevel then, for the library, whose on stderr
    for (const auto &[level, now, args, whose] :
         { Row{ 0, 0, "", "vesk.log" }, Row{ 7, 7, "", "vesk.log" }, Row{ 8, 5, "", "" }, Row{ 9, 5, "0", "rilk_update_debuglevel" },
           Row{ 16, 5, "7", "rilk_update_debuglevel" }, Row{ 17, 5, "", "" }, Row{ 99, 7, "7", "vesk.log" }, Row{ UINT32_MAX, 5, "", "" } }) {
        // clang-format on
        fill_event_records(), vesk.logLevel = 5;
        const FILE *before = vesk.logFile;
        deliver_log_setting(0, level, "stderr");
        EXPECT_EQ(vesk.logLevel, now) << level;
        EXPECT_EQ(vesk.logFile, level == 99 ? stderr : before);
        const std::string text = " vesk_setLogLevelSignal level=[",
                          shown = args.empty() ? std::to_string(static_cast<int>(level)) : args;
        EXPECT_EQ(fake_stderr(), whose.empty() ? "" : whose + text + shown + "]\r\n");
        EXPECT_EQ(fakeDevice.log.empty() ? "" : fakeDevice.log[0].args, args) << level;
        EXPECT_EQ(fake_logged("ERROR", text + shown + "] is out range\n"), whose.empty()) << level;
    }
    vesk.logFile = nullptr, vesk.logLevel = 6;
    const std::string path = "/tmp/" + std::string(26, 'p');
    deliver_log_setting(1, 0, path + "x"); // fills the field: its last byte ends the text
    EXPECT_EQ(remove(path.c_str()), 0);
    deliver_log_setting(1, 0, "stderr");
    EXPECT_TRUE(fake_logged("INFO", " vesk_setLogDestinationSignal logFile=stderr, level=[6]\n"));
    deliver_log_setting(1, 0, "/nowhere/log");
    EXPECT_TRUE(fake_logged("INFO", " vesk_setLogDestinationSignal logifle=[/nowhere/log]\n"));
    EXPECT_EQ(vesk.logFile, nullptr);
}
