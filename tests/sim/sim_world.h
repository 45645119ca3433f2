// The simulated device on files and a clock of its own, in the /tmp of a private root, and the daemon's tables.
#pragma once

#include <algorithm>
#include <functional>
#include <map>
#include <memory>

#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/sim/sim.h"
#include "tests/unit/test_files.h"

struct SimWorld {
    static constexpr int dwell = 60; // ms
    const std::string base = "/tmp/sim-test." + std::to_string(getpid());
    const std::string description = base + ".json", log = base + ".log", stations = base + ".stations";
    size_t read = 0; // of the log
    VeskScanChannel records[5] = {};
    VeskScanChannel *channels[5]; // 1, 6, 11, 36, 44
    std::vector<VeskScanNeighbor *> table{ VESK_SCAN_CHANNELS * VESK_SCAN_NEIGHBORS_PER_CHANNEL, nullptr };
    const VeskScanNeighbor *kept = nullptr; // a block that the table may hold no longer

    SimWorld() {
        unlink(description.c_str()), unlink(stations.c_str());
        sim_use_files(description.c_str(), log.c_str(), stations.c_str());
        sim_advance(0); // from here on the tests move the clock
        const uint32_t list[] = { 1, 6, 11, 36, 44 };
        rilk_initDriver(), rilk_initScanChannelList(list, 5);
        unlink(log.c_str());
        for (size_t i = 0; i < 5; i++) channels[i] = &records[i], records[i].smoothedNoise = -77.5;
    }
    ~SimWorld() { std::ranges::for_each(table, free); }

    /** Replaces the description as a person would be told to: written beside, then renamed. */
    void describe(const std::string &json) const {
        put_file((base + ".new").c_str(), json);
        rename((base + ".new").c_str(), description.c_str());
    }
    std::string logged() const { return file_text(log.c_str()); }
    bool notes(const std::string &text) const { return logged().find(text) != std::string::npos; }
    std::string next_line() {
        const std::string text = logged(), line = text.substr(read, text.find('\n', read) - read);
        read += line.empty() ? 0 : line.size() + 1;
        return line;
    }
    int trigger(const char *radio, int channel, const char *baseVap) const {
        VeskScanParam param = { .channel = static_cast<uint8_t>(channel), .dwell = dwell };
        sim_copy(param.baseVap, baseVap ? baseVap : "");
        return rilk_triggerScan(radio, &param);
    }
    void visit(int channel) {
        ASSERT_EQ(trigger("wifi0", channel, "ath0"), 0);
        sim_advance(dwell);
        ASSERT_EQ(rilk_getScanNeighborApOneChannel("wifi0", channel, table.data()), 0);
        ASSERT_EQ(rilk_getScanChannelResult("wifi0", channels), 0);
    }
    VeskScanNeighbor *slot(size_t row, size_t at) const { return table[row * VESK_SCAN_NEIGHBORS_PER_CHANNEL + at]; }
};

inline std::unique_ptr<SimWorld> simWorld;
