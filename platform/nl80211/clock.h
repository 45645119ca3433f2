// The monotonic clock in milliseconds; tests have one of their own.
#pragma once

#include <cstdint>

namespace radio
{

int64_t clock_ms();
void clock_sleep(int ms);

} // namespace radio
