// The simulated device on files and a clock of its own, in the /tmp of a private root.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/sim/sim.h"
#include "tests/unit/test_files.h"

struct SimTest : testing::Test {
    const std::string base = "/tmp/sim-test." + std::to_string(getpid());
    const std::string description = base + ".json", log = base + ".log", stations = base + ".stations";
    void SetUp() override {
        unlink(description.c_str());
        unlink(stations.c_str());
        sim_use_files(description.c_str(), log.c_str(), stations.c_str());
        sim_advance(0); // from here on the tests move the clock
        rilk_initDriver();
        unlink(log.c_str());
    }

    /** Replaces the description as a person would be told to: written beside, then renamed. */
    void describe(const std::string &json) {
        put_file((base + ".new").c_str(), json);
        rename((base + ".new").c_str(), description.c_str());
    }

    std::string logged() const { return file_text(log.c_str()); }
    bool notes(const std::string &text) const { return logged().find(text) != std::string::npos; }
};
