// The monotonic clock, as this process and the bus libraries in it read it, in the test's hands. The waits for it
// (poll, epoll_wait) are in here, too. Other processes have the real one.
#pragma once

#include <cstdint>
#include <functional>

struct TestClock {
    int64_t stoppedAt = -1; // ms that it shows; -1: it runs
    long us = 0;            // that it shows beside them
    // What a poll with a limit does on a stopped clock when there is nothing: false: wait on, for whoever has to come
    // is alive; true: move the clock by the limit.
    bool pollsElapse = false;
    int limitedPolls = 0;         // polls that had a limit above 0
    int passes = 0;               // calls of epoll_wait
    std::function<void()> onPass; // before each of them

    void stop();
    void advance(int ms) { stoppedAt += ms; }
    void go_on() { stoppedAt = -1; }
};

extern TestClock testClock;
