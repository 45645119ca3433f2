// What the device can do: radio capabilities as the product configuration tells them, and the
// channels under non-occupancy, which alone are asked of the driver.
#include "bus/vesk_api/vesk_api.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "bus/vesk_api/api_private.h"
#include "source/vesk_config/vesk_config.h"

namespace
{
constexpr int32_t ADVANCED_CAPABILITY = 64;
constexpr uint16_t NOL_VALUE = 1860; // stands beside every channel under non-occupancy

/** The common road of the three capability methods: checks, clears, finds the configuration row. */
template <class Record>
const VeskCfgWifi *cleared_cfg_row(int band, Record *record, VeskLogSite caller = VESK_CALLER)
{
    if (api_is_null(record, caller))
        return nullptr;
    memset(record, 0, sizeof *record);
    int idx;
    return api_is_band(band, caller) ? api_cfg_row(band, &idx, caller) : nullptr;
}
} // namespace

int vesk_getRadioCapability(int32_t *rfCfgAbility)
{
    constexpr int32_t ability[] = { 0, 1, 9, 7, 16 }; // by number of radios
    const int radios = vesk_getCfgRadioCap();
    *rfCfgAbility = radios >= 0 && radios < static_cast<int>(std::size(ability)) ? ability[radios] : 0;
    return 0;
}

int vesk_getRadioAdvancedCapability(int32_t *rfCfgAdvancedCapability)
{
    *rfCfgAdvancedCapability = ADVANCED_CAPABILITY;
    return 0;
}

int vesk_getRadioHtCap(int band, WireHtCap *htCap)
{
    const VeskCfgWifi *cfg = cleared_cfg_row(band, htCap);
    if (!cfg)
        return -1;
    *htCap = {
        .txStreams = cfg->HTNumberOfTxStreams,
        .rxStreams = cfg->HTNumberOfRxStreams,
        .shortGi20 = cfg->HTShortGI20MHz,
        .shortGi40 = cfg->HTShortGI40MHz,
        .ht40 = cfg->HT40MHz,
    };
    return 0;
}

int vesk_getRadioVhtCap(int band, WireVhtCap *vhtCap)
{
    const VeskCfgWifi *cfg = cleared_cfg_row(band, vhtCap);
    if (!cfg)
        return -1;
    *vhtCap = {
        .txMcs = cfg->VHTTxMCS,
        .rxMcs = cfg->VHTRxMCS,
        .txStreams = cfg->VHTNumberOfTxStreams,
        .rxStreams = cfg->VHTNumberOfRxStreams,
        .shortGi80 = cfg->VHTShortGI80MHz,
        .shortGi160 = cfg->VHTShortGI160And80p80MHz,
        .vht160 = cfg->VHT160MHz,
        .vht80p80 = cfg->VHT80p80MHz,
        .suBeamformer = cfg->VHTSUBeamFormer,
        .muBeamformer = cfg->VHTMUBeamFormer,
    };
    return 0;
}

int vesk_getRadioHeCap(int band, WireHeCap *heCap)
{
    const VeskCfgWifi *cfg = cleared_cfg_row(band, heCap);
    if (!cfg)
        return -1;
    *heCap = {
        .mcsLen = cfg->heMcsLen,
        .rxMapLE80 = cfg->HEMCS.RxMapLE80MHz,
        .txMapLE80 = cfg->HEMCS.TxMapLE80MHz,
        .rxMap160 = cfg->HEMCS.RxMap160MHz,
        .txMap160 = cfg->HEMCS.TxMap160MHz,
        .rxMap80p80 = cfg->HEMCS.RxMap80p80MHz,
        .txMap80p80 = cfg->HEMCS.TxMap80p80MHz,
        .txStreams = cfg->HENumberOfTxStreams,
        .rxStreams = cfg->HENumberOfRxStreams,
        .he80p80 = cfg->HE80p80MHz,
        .he160 = cfg->HE160MHz,
        .suBeamformer = cfg->HESUBeamFormer,
        .muBeamformer = cfg->HEMUBeamFormer,
        .ulMuMimo = cfg->HEULMUMIMO,
        .ulMuMimoOfdma = cfg->HEULMUMIMOOFDMA,
        .dlMuMimoOfdma = cfg->HEDLMUMIMOOFDMA,
        .ulOfdma = cfg->HEULOFDMA,
        .dlOfdma = cfg->HEDLOFDMA,
    };
    return 0;
}

int vesk_getNolChannelList(int band, WireNolList *nolChList)
{
    if (api_is_null(nolChList))
        return -1;
    memset(nolChList, 0, sizeof *nolChList);
    const VeskRadioInfo *radio = api_band_radio(band);
    if (!radio)
        return -1;
    VESK_LOG(DEBUG, " vesk get channel nol list, band=%d, radioIdx=%d\n\n", band, api_index(radio));

    RilkNolList list = {};
    if (rilk_getChannelNolList(radio->apIntf.radioIfname, &list) != 0) {
        VESK_LOG(ERROR, " rilk_getChannelNolList ERROR, band=%d\n\n", band);
        return -1;
    }
    nolChList->count = std::min<uint8_t>(list.count, VESK_WIRE_NOL_CHANNELS);
    for (int i = 0; i < nolChList->count; i++)
        nolChList->channels[i] = { .value = NOL_VALUE, .channel = list.channels[i], .reserved = 0 };
    return 0;
}
