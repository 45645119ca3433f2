// The simulated device on files of its own.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/rilk_sim/sim.h"

class SimTest : public testing::Test
{
protected:
    void SetUp() override
    {
        char folder[] = "/tmp/sim-test-XXXXXX";
        ASSERT_NE(mkdtemp(folder), nullptr);
        dir = folder;
        sim_use_files(description().c_str(), log().c_str());
        rilk_initDriver();
        unlink(log().c_str());
    }
    void TearDown() override
    {
        unlink(description().c_str());
        unlink(log().c_str());
        rmdir(dir.c_str());
    }

    std::string description() const { return dir + "/sim.json"; }
    std::string log() const { return dir + "/sim.log"; }

    /** Replaces the description as a person would be told to: written beside, then renamed. */
    void describe(const std::string &json)
    {
        const std::string beside = description() + ".new";
        FILE *file = fopen(beside.c_str(), "w");
        fputs(json.c_str(), file);
        fclose(file);
        rename(beside.c_str(), description().c_str());
    }

    std::string logged() const
    {
        std::string text;
        if (FILE *file = fopen(log().c_str(), "r")) {
            for (int c = fgetc(file); c != EOF; c = fgetc(file))
                text += static_cast<char>(c);
            fclose(file);
        }
        return text;
    }

    std::string dir;
};
