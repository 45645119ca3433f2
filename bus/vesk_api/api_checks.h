// Tests on arguments that several methods share. They log under the name of the method that asks.
#pragma once

#include <algorithm>
#include <cstring>
#include <iterator>

#include "foundation/vesk_utils.h"
#include "source/vesk_config/vesk_config.h"
#include "source/vesk_interface/vesk_interface.h"
#include "source/vesk_main/log.h"
#include "source/vesk_main/records.h"

/** Logs the line for a null pointer if `p` is one. */
inline bool api_is_null(const void *p, const char *function = __builtin_FUNCTION())
{
    if (!p)
        VESK_LOG_AS(function, ERROR, " Error:is NULL\n");
    return !p;
}

/** Whether low <= value < high; logs the out-of-range line if not. */
inline bool api_in_range(int value, int low, int high, const char *function = __builtin_FUNCTION())
{
    const bool in = value >= low && value < high;
    if (!in)
        VESK_LOG_AS(function, ERROR, " Error:num [%d] [min-max) = [%d] - [%d] is out range\n", value, low,
                    high);
    return in;
}

/** Whether `band` is a band word. */
inline bool api_is_band(int band, const char *function = __builtin_FUNCTION())
{
    return api_in_range(band, 0, VESK_BAND_WORDS, function);
}

/** The radio that runs on a band word; NULL, with the out-of-range line, if none does. */
inline VeskRadioInfo *api_radio(int band, const char *function = __builtin_FUNCTION())
{
    const int idx = vesk_getRadioIdxByBand(band);
    return api_in_range(idx, 0, VESK_RADIOS, function) ? &vesk_get_radio_info()[idx] : nullptr;
}

/** The product configuration's row of a band word; NULL, with its lines, if there is none. */
inline const VeskCfgWifi *api_cfg_row(int band, int *idx, const char *function = __builtin_FUNCTION())
{
    *idx = vesk_get_cfg_band_idx(band);
    return api_in_range(*idx, 0, VESK_CFG_WIFI, function) ? &vesk_get_vesk_cfg_info()->Wifi[*idx] : nullptr;
}

/** Copies the driver's statistics into the bus form: one slot is left out. */
inline void api_copy_stats(WireIntfStats *to, const VeskIntfStats *from)
{
    static_assert(sizeof(WireIntfStats::counters1) == 32 && offsetof(WireIntfStats, counters2) == 40);
    memset(to, 0, sizeof *to);
    memcpy(to->counters1, from->counters, sizeof to->counters1);
    memcpy(to->counters2, reinterpret_cast<const uint8_t *>(from) + offsetof(WireIntfStats, counters2),
           sizeof to->counters2);
    to->value1 = from->value1;
    to->value2 = from->value2;
}
