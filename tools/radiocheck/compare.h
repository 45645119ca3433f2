// Values of both sides held against each other.
#pragma once

#include <functional>

#include "tools/radiocheck/values.h"

enum class Verdict { Same, Differs, Absent };

struct Finding {
    std::string of; // "phy0", "wlan0", "wlan0 02:..."
    std::string name;
    Verdict verdict;
    std::string said, truth; // "" where that side has nothing
    std::string why;         // of what is absent
};

/**
 * Compares what the library says of a thing with the truth before and the truth after: a value that moved in
 * between may be either or anything from one to the other. What differs is looked at again, up to `attempts`
 * times in all.
 */
void compare(std::vector<Finding> &findings, const std::string &of, const std::function<Values()> &said,
             const std::function<Values()> &truth);

size_t count(const std::vector<Finding> &findings, Verdict verdict);
