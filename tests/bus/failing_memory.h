// How a program with failing_memory.cpp in it gets its memory.
#pragma once

constexpr int PLAN_FD = 100; // a file of one plan, which children inherit
struct Plan {
    int granted, failing; // so many allocations succeed, then so many fail; the rest succeeds
    int blocks;           // allocated and not freed
};
Plan &shared_plan(); // harness.cpp
