// The way from libFuzzer to the entry.
#include "tests/fuzz/input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    fuzz_one({ data, size });
    return 0;
}
