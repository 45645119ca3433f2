// The log statement on several threads at once, through a rotation and changes of the level.
#include "tests/unit/common.h"

TEST(LogThreads, EveryLineIsWholeAndNoneIsLost) {
    constexpr int workers = 3, linesEach = 2500; // of 210 bytes: one rotation, nothing falls off behind it
    fake_reset();
    ASSERT_EQ(system("rm -f /tmp/vesk.log*"), 0);
    vesk_init_log();
    std::thread threads[workers];
    for (int worker = 0; worker < workers; worker++)
        threads[worker] = std::thread([worker] {
            const std::string filler(130, 'x');
            for (int i = 0; i < linesEach; i++) VESK_LOG(INFO, " %s worker %d line %d\n", filler.c_str(), worker, i);
        });
    for (int i = 0; i < 1000; i++) {
        vesk_log_set_level(i % 2 ? VESK_LEVEL_INFO : VESK_LEVEL_DEBUG);
        VESK_LOG(DEBUG, " %d x worker main\n", i);
    }
    for (std::thread &thread : threads) thread.join();
    vesk_log_redirect(nullptr);

    ASSERT_EQ(system("gzip -dc /tmp/vesk.log.old.gz > /tmp/old.txt"), 0);
    std::set<std::string> ends; // "1 line 17", "main"
    std::istringstream text(file_text("/tmp/old.txt") + file_text("/tmp/vesk.log"));
    for (std::string line; std::getline(text, line);) {
        const size_t word = line.rfind("x worker ");
        const bool whole = line.starts_with("VESK > ") && word != std::string::npos;
        ends.insert(whole ? line.substr(word + 9) : "cut: " + line);
    }
    EXPECT_EQ(ends.erase("main"), 1u);
    EXPECT_EQ(ends.size(), size_t{ workers * linesEach });
    EXPECT_TRUE(ends.count("0 line 0")) << *ends.begin();
    EXPECT_TRUE(ends.count("2 line 2499")) << *ends.begin();
}
