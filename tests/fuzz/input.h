// An input taken apart. Whatever goes to the code under test lies in a heap block of just its size, so that a
// read past the end is seen.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

struct FuzzInput {
    const uint8_t *at;
    size_t left;

    uint8_t byte() { return left == 0 ? uint8_t{} : (left--, *at++); }
    std::vector<uint8_t> take(size_t size) {
        size = std::min(size, left);
        std::vector<uint8_t> bytes(at, at + size);
        at += size;
        left -= size;
        return bytes;
    }
    /** A piece: its length in two bytes, the low one first, then the bytes. */
    std::vector<uint8_t> piece() {
        const size_t low = byte();
        return take(low + byte() * size_t{ 256 });
    }
};

/** The fuzzer's own assertion. */
[[gnu::noinline]] inline void fuzz_expect(bool holds) {
    if (!holds) abort();
}
