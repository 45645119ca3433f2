// The monotonic clock in milliseconds.
#pragma once

#include <cstdint>
#include <ctime>

namespace radio
{

inline int64_t clock_ms()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{ now.tv_sec } * 1000 + now.tv_nsec / 1000000;
}

} // namespace radio
