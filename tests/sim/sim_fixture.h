// The simulated device on files of its own, in the /tmp of a private root.
#pragma once

#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/rilk_sim/sim.h"

struct SimTest : testing::Test {
    const std::string base = "/tmp/sim-test." + std::to_string(getpid());
    const std::string description = base + ".json", log = base + ".log";
    void SetUp() override
    {
        unlink(description.c_str());
        sim_use_files(description.c_str(), log.c_str());
        rilk_initDriver();
        unlink(log.c_str());
    }

    /** Replaces the description as a person would be told to: written beside, then renamed. */
    void describe(const std::string &json)
    {
        std::ofstream(base + ".new") << json;
        rename((base + ".new").c_str(), description.c_str());
    }

    std::string logged() const
    {
        std::ifstream file(log);
        return { std::istreambuf_iterator<char>(file), {} };
    }
    bool notes(const std::string &text) const { return logged().find(text) != std::string::npos; }
};
