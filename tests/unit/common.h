// Small things that many unit tests share.
#pragma once

#include <algorithm>
#include <sstream>

#include <gtest/gtest.h>

#include "tests/fakes/fakes.h"
#include "tests/unit/test_files.h"

using Texts = std::vector<std::string>;

/** The values' texts, a blank behind each. */
template <class... T>
std::string words(const T &...values) {
    std::ostringstream text;
    ((text << values << ' '), ...);
    return text.str();
}

/** The messages that were logged at this level, in order; "": at any. */
inline Texts messages(const std::string &level = "") {
    Texts found;
    for (const FakeLogLine &line : fake_log_lines())
        if (level.empty() || line.level == level) found.push_back(line.message);
    return found;
}

inline bool logged(const std::string &function, const std::string &level, const std::string &message) {
    const auto lines = fake_log_lines();
    return std::any_of(lines.begin(), lines.end(), [&](const FakeLogLine &line) {
        return line.function == function && line.level == level && line.message == message;
    });
}
