// The log statement on several threads at once, through a rotation and changes of the level.
#include "source/vesk_main/log.h"

#include <cstdlib>
#include <fstream>
#include <set>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "source/vesk_main/records.h"
#include "tests/fakes/fakes.h"

namespace
{

constexpr int workers = 3;
constexpr int linesEach = 2500; // of 210 bytes: one rotation, and nothing falls off behind it

void log_lines(int worker)
{
    const std::string filler(130, 'x');
    for (int i = 0; i < linesEach; i++)
        VESK_LOG(INFO, " %s worker %d line %d\n", filler.c_str(), worker, i);
}

/** The lines' last words, "1 line 17"; lines that aren't whole count as another one. */
void collect(const char *path, std::set<std::string> &ends)
{
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        const size_t word = line.rfind("x worker ");
        const bool whole = line.rfind("VESK > ", 0) == 0 && word != std::string::npos;
        ends.insert(whole ? line.substr(word + 9) : "cut: " + line);
    }
}

TEST(LogThreads, EveryLineIsWholeAndNoneIsLost)
{
    fake_reset();
    ASSERT_EQ(system("rm -f /tmp/vesk.log*"), 0);
    vesk_init_log();
    std::thread threads[workers];
    for (int i = 0; i < workers; i++)
        threads[i] = std::thread(log_lines, i);
    for (int i = 0; i < 1000; i++) {
        vesk_log_set_level(i % 2 ? VESK_LEVEL_INFO : VESK_LEVEL_DEBUG);
        VESK_LOG(DEBUG, " %d x worker main\n", i);
    }
    for (std::thread &thread : threads)
        thread.join();
    vesk_log_redirect(nullptr);

    ASSERT_EQ(system("gzip -dc /tmp/vesk.log.old.gz > /tmp/old.txt"), 0);
    std::set<std::string> ends;
    collect("/tmp/old.txt", ends);
    collect("/tmp/vesk.log", ends);
    EXPECT_EQ(ends.erase("main"), 1u);
    EXPECT_EQ(ends.size(), size_t{ workers * linesEach });
    EXPECT_TRUE(ends.count("0 line 0") && ends.count("2 line 2499")) << *ends.begin();
}

} // namespace
