// The default VLAN of the backhaul BSSs. The value lives in memory only; a set pushes it to the driver for
// every backhaul BSS and stores it, whether any took it or not.
#include "bus/vesk_api/vesk_api.h"

#include "source/vesk_main/log.h"
#include "source/vesk_main/records.h"

int vesk_getDefault802dot1qSetting(VeskDot1qCfg *cfg)
{
    const VeskDot1qCfg *stored = vesk_get_dot1q_cfg();
    cfg->vid = stored->vid;
    cfg->pcp = stored->pcp;
    VESK_LOG(DEBUG, " Get 802.1q cfg(vid = %d, pcp = %d)\n", cfg->vid, cfg->pcp);
    return 0;
}

int vesk_setDefault802dot1qSetting(const VeskDot1qCfg *cfg)
{
    const VeskVapInfo *vaps = vesk_get_vap_info();
    for (int i = 0; i < VESK_VAPS; i++) {
        if (vaps[i].ifName[0] == '\0' || vaps[i].vapAttr != VESK_VAP_BBSS)
            continue;
        VESK_LOG(DEBUG, " Set to driver(%s)(vid = %d, pcp = %d)\n", vaps[i].ifName, cfg->vid, cfg->pcp);
        rilk_set8021dotqCfg(vaps[i].ifName, cfg);
    }
    vesk_get_dot1q_cfg()->vid = cfg->vid;
    vesk_get_dot1q_cfg()->pcp = cfg->pcp;
    VESK_LOG(DEBUG, " Set 802.1q cfg(vid = %d, pcp = %d)\n", cfg->vid, cfg->pcp);
    return 0;
}
