// The log statement: where a line goes, what it looks like, when it is held back, and when the file is
// rotated.
#include "tests/unit/common.h"

namespace {
static_assert(vesk_log_module("bus/stub.cpp").text == std::string_view("bus/stub"));
static_assert(vesk_log_module("../../source/vesk_main/log.cpp").text == std::string_view("source/vesk_main"));

/** Fresh fakes and the log file, empty, with an older generation beside it. */
void open_log() {
    fake_reset();
    ASSERT_EQ(system("rm -rf /tmp/vesk.log*; echo old > /tmp/vesk.log.old.gz"), 0);
    fakeLibc.systems.clear();
    vesk_init_log();
}

void refuse(VeskLogSite caller = VESK_CALLER) { VESK_LOG_RANGE_AS(caller, 5, 0, 5); }

int evaluated;
int counted() {
    VESK_LOG(NOTICE, " inner\n");
    return ++evaluated;
}

TEST(Log, WritesThePrefixAndTheMessageAsItStands) {
    setenv("TZ", "UTC", 1);
    open_log();
    VESK_LOG_AS("vesk_start_pthread", ERROR, " Bus buf is %s\r\n\n", "NULL");
    EXPECT_EQ(file_text("/tmp/vesk.log"),
              "VESK > Tue Nov 14 22:13:20 | ERROR   | tests/unit      | vesk_start_pthread:" +
                  std::to_string(__LINE__ - 3) + " |  Bus buf is NULL\r\n\n");
    VESK_LOG(DEBUG, " %d\n", counted()); // level 6 from the start
    vesk_log_set_level(4);
    VESK_LOG(NOTICE, " %d\n", counted());
    EXPECT_EQ(evaluated, 0);
    vesk_log_set_level(5);
    VESK_LOG(NOTICE, " outer %d\n", counted()); // a statement inside a statement
    fake_advance(61s);
    VESK_LOG(NOTICE, " later\n");
    const int line = __LINE__ + 1;
    refuse();                 // a helper's line names its caller, line and all
    setenv("TZ", "CET-1", 1); // as the administrator changes it under the running daemon
    fake_advance(1s);
    VESK_LOG(NOTICE, " elsewhere\n");
    const std::string text = file_text("/tmp/vesk.log");
    EXPECT_LT(text.find(" | counted:"), text.find(" |  outer 1\n"));
    for (const std::string &part : { std::string("VESK > Tue Nov 14 22:14:21 | NOTICE "), // later
                                     "TestBody:" + std::to_string(line) + " |  Error:num [5] [min-max)",
                                     std::string("VESK > Tue Nov 14 23:14:22 | NOTICE ") })
        EXPECT_NE(text.find(part), std::string::npos) << part;
}

TEST(Log, RotatesAboveOneMebibyteAndComesBackToTheFile) {
    // clang-format off
    const struct { const char *name; int64_t size; int level; void (*redirect)(); } cases[] = {
        { "just full", 1048576, 7, [] {} }, { "one byte more", 1048577, 7, [] {} },
        { "held back by its level", 1048577, 0, [] {} }, { "from stderr", 1048577, 6, vesk_log_use_stderr },
        { "from nowhere", 1048577, 6, [] { vesk_log_redirect(nullptr); } },
        { "from another file", 1048577, 6, [] { vesk_log_redirect("/tmp/elsewhere"); } } };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        open_log();
        c.redirect();
        ASSERT_EQ(truncate("/tmp/vesk.log", static_cast<off_t>(c.size)), 0);
        vesk_log_set_level(c.level);
        VESK_LOG(DEBUG, " x\n");
        const bool rotates = c.size > 1048576;
        EXPECT_EQ(file_text("/tmp/vesk.log.old.gz") == "old\n", !rotates);
        EXPECT_EQ(fakeLibc.systems.size(), size_t{ rotates });
        EXPECT_GE(fputs("stderr lives", stderr), 0);
        VESK_LOG(ERROR, " y\n");
        EXPECT_EQ(file_text("/tmp/vesk.log").starts_with("VESK > "), c.level > 0);
    }
    EXPECT_EQ(fakeLibc.systems.at(0), "rm -rf /tmp/vesk.log.old.gz;gzip /tmp/vesk.log.old");
}

TEST(Log, EndsOnce) {
    open_log();
    FILE *stream = vesk_get_vesk_info()->logFile;
    vesk_deinit_log(), vesk_deinit_log();
    VESK_LOG(ERROR, " too late\n"); // a scan thread that still runs
    EXPECT_EQ(vesk_get_vesk_info()->logFile, stream);
    EXPECT_EQ(file_text("/tmp/vesk.log") + fake_stderr(), "");
    vesk_log_use_stderr(); // logging goes on for the next test
}
} // namespace
