// Numbers from outside are brought into their range where they enter, and relied upon behind that point.
#pragma once

#include <algorithm>
#include <climits>
#include <cstdint>

/** A count from outside, brought into 0..limit. */
constexpr int vesk_clamp_count(int value, int limit)
{
    return std::clamp(value, 0, limit);
}

/** Seconds as the milliseconds of a timer, held within its range. */
constexpr int vesk_timer_ms(int64_t seconds)
{
    return static_cast<int>(std::clamp<int64_t>(seconds, 0, INT_MAX / 1000) * 1000);
}
