// How a broker with failing_memory.cpp in it gets its memory.
#pragma once

constexpr int PLAN_FD = 100; // a file of one plan, which the broker inherits
struct Plan {
    int granted, failing; // so many allocations succeed, then so many fail; the rest succeeds
};
