// What rows can't say of the stand-ins: several threads, a rate, figures that move.
#include <atomic>
#include <chrono>
#include <set>
#include <thread>

#include "platform/sim/drelm/drelm.h"
#include "tests/sim/sim_world.h"

TEST(Sim, DelayBlocksOnlyItsOwnCaller) {
    SimWorld().describe(R"({"functions": {"rilk_getRadioStatus": {"delayMs": 300}}})");
    const auto channel = [] {
        int32_t value = 0;
        return rilk_getRadioCurChannel("wifi0", &value), value;
    };
    std::atomic<bool> isOver = false;
    uint8_t status = 0;
    std::thread slow([&] { rilk_getRadioStatus("wifi0", &status), isOver = true; });
    while (sim_advance(0) == 0) usleep(1000); // until it sits in its delay
    for (const int ms : { 0, 299 }) {
        EXPECT_EQ(sim_advance(ms), 1);
        EXPECT_EQ(channel(), 6);
        EXPECT_FALSE(isOver);
    }
    sim_advance(1);
    slow.join();
    EXPECT_EQ(status, 1);
}

TEST(Sim, FiguresThatAreNotDescribedMove) {
    SimWorld world;
    std::set<int> utils;
    for (int visit = 0; visit < 4; visit++) world.visit(6), utils.insert(int{ world.records[1].chnUtil });
    EXPECT_GT(utils.size(), 1u);
    EXPECT_GT(*utils.begin(), 0);
    EXPECT_LE(*utils.rbegin(), 100);
}

TEST(Sim, StormAlternatesAtItsRate) {
    static std::vector<std::vector<uint8_t>> sent;
    const auto run = [](const char *line) {
        std::string message;
        const auto capture = [](const void *at, size_t size) {
            const auto *bytes = static_cast<const uint8_t *>(at);
            sent.emplace_back(bytes, bytes + size);
        };
        sent.clear();
        EXPECT_EQ(drelm_run_line(line, capture, message), 0) << message;
    };
    const auto start = std::chrono::steady_clock::now();
    run("storm ath0 300 5000");
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(119)); // 0.2 ms each
    ASSERT_EQ(sent.size(), 600u);
    for (size_t i = 0; i < 600; i++) {
        EXPECT_EQ(sent[i][0], i < 300 ? 3 : 4);
        EXPECT_EQ(sent[i][61] << 8 | sent[i][62], static_cast<int>(i % 300));
    }
    run("storm ath0 2 1000 seconds=0.005");
    EXPECT_EQ(sent.size(), 5u);
}
