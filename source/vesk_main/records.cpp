// The static records of the daemon, one instance each, zero at process start, never freed, without a lock.
#include "source/vesk_main/records.h"

namespace
{
VeskInfo g_veskInfo;
VeskRadioInfo g_radioInfo[VESK_RADIOS];
VeskVapInfo g_vapInfo[VESK_VAPS];
VeskStaInfo g_staInfo;
VeskOffScanCfg g_offScan;
VeskDot1qCfg gDefault8021dotqCfg;
} // namespace

VeskInfo *vesk_get_vesk_info()
{
    return &g_veskInfo;
}

VeskConfigInfo *vesk_get_vesk_cfg_info()
{
    return &g_veskInfo.cfgInfo;
}

VeskRadioInfo *vesk_get_radio_info()
{
    return g_radioInfo;
}

VeskVapInfo *vesk_get_vap_info()
{
    return g_vapInfo;
}

VeskStaInfo *vesk_get_sta_info()
{
    return &g_staInfo;
}

VeskOffScanCfg *vesk_get_scan_info()
{
    return &g_offScan;
}

VeskDot1qCfg *vesk_get_dot1q_cfg()
{
    return &gDefault8021dotqCfg;
}
