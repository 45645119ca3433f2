// Counts from outside are brought into their range where they enter, and relied upon behind that point.
#pragma once

#include <algorithm>

/** A count from outside, brought into 0..limit. */
constexpr int vesk_clamp_count(int value, int limit)
{
    return std::clamp(value, 0, limit);
}
