#include "bus/vesk_api/api_private.h"

#include <cstring>

#include "source/vesk_config/vesk_config.h"
#include "source/vesk_interface/vesk_interface.h"
#include "source/vesk_main/records.h"

VeskRadioInfo *api_radio(int band, VeskLogSite caller)
{
    const int idx = vesk_getRadioIdxByBand(band);
    return api_in_range(idx, 0, VESK_RADIOS, caller) ? &vesk_get_radio_info()[idx] : nullptr;
}

VeskRadioInfo *api_band_radio(int band, VeskLogSite caller)
{
    return api_is_band(band, caller) ? api_radio(band, caller) : nullptr;
}

int api_index(const VeskRadioInfo *radio)
{
    return static_cast<int>(radio - vesk_get_radio_info());
}

const VeskCfgWifi *api_cfg_row(int band, int *idx, VeskLogSite caller)
{
    *idx = vesk_get_cfg_band_idx(band);
    return api_in_range(*idx, 0, VESK_CFG_WIFI, caller) ? &vesk_get_vesk_cfg_info()->Wifi[*idx] : nullptr;
}

ApiName api_inner_name(const char *name)
{
    ApiName inner = {};
    vesk_get_intf_inner_name(inner.text, name);
    return inner;
}

void api_copy_stats(WireIntfStats *to, const VeskIntfStats *from)
{
    static_assert(sizeof(WireIntfStats::counters1) == 32 && offsetof(WireIntfStats, counters2) == 40);
    memset(to, 0, sizeof *to);
    memcpy(to->counters1, from->counters, sizeof to->counters1);
    memcpy(to->counters2, reinterpret_cast<const uint8_t *>(from) + offsetof(WireIntfStats, counters2),
           sizeof to->counters2);
    to->value1 = from->value1;
    to->value2 = from->value2;
}
