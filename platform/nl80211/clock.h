// The monotonic clock in milliseconds.
#pragma once

#include <cstdint>

namespace radio
{

int64_t clock_ms();

} // namespace radio
