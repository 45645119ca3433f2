#include "bus/vesk_api/api_private.h"

bool api_is_null(const void *p, VeskLogSite caller)
{
    if (!p)
        VESK_LOG_NULL_AS(caller);
    return !p;
}

bool api_in_range(int value, int low, int high, VeskLogSite caller)
{
    const bool in = value >= low && value < high;
    if (!in)
        VESK_LOG_RANGE_AS(caller, value, low, high);
    return in;
}

bool api_is_band(int band, VeskLogSite caller)
{
    return api_in_range(band, 0, VESK_BAND_WORDS, caller);
}
