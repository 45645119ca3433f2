// The daemon as the fuzz entries meet it: started anew on the fakes for each input, so that an input always
// does the same.
#pragma once

#include "tests/fakes/fakes.h"
#include "tests/fuzz/input.h"

/** Fresh fakes and records; low three bits: the log level. */
void fuzz_reset(uint8_t settings);
/** Started to the point where the main loop would run. Low three bits: the log level; next bit: no frame from
 * the driver. */
void fuzz_start(uint8_t settings);
