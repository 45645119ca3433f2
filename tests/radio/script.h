// Tests written as text, *.rows in this folder; README.md says how.
#pragma once

#include "tests/radio/world.h"
#include "tests/rows.h"

/** What a word of the tests' own answers; the words of the step, itself first. Any other word is the shell's. */
using Word = std::function<std::string(const Texts &words)>;
std::map<std::string, Word> &vocabulary();

void play(const RowCase &script, const std::string &file);

/** A test of the suite for each case of the file, named by what stands behind its brackets. */
template <class Fixture>
bool add_tests(const char *suite, const std::string &file) {
    struct Script : Fixture {
        RowCase script;
        std::string file;
        void TestBody() override { play(script, file); }
    };
    for (const RowCase &each : row_cases("/etc/radio/" + file)) {
        testing::RegisterTest(suite, each.base.c_str(), nullptr, nullptr, file.c_str(), each.steps.at(0).first,
                              [=]() -> Fixture * {
                                  auto *test = new Script;
                                  test->script = each, test->file = file;
                                  return test;
                              });
    }
    return true;
}
