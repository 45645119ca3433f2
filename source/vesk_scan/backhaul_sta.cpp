// The backhaul station: the credential that is applied two seconds after it came, and the auto-connect
// record. Auto-connect on either radio keeps every scan away.
#include "foundation/csrv_timer.h"
#include "source/vesk_scan/scan_private.h"

namespace
{
constexpr int deferral = 2; // seconds
} // namespace

void vesk_set_bsta_auto_status(uint32_t enable)
{
    constexpr int radio = 1; // whichever radio the request was for
    VeskScanCfg *cfg = scan_cfg(radio);
    flag_store(&cfg->bstaAuto.enableAuto, static_cast<uint8_t>(enable));
    VESK_LOG(INFO, " offScan->scanCfg[%d].bstaAuto.enableAuto=%d\n", radio, scan_auto_enabled(radio));
}

uint32_t vesk_start_backhaul_credential_timer()
{
    VESK_LOG_SWITCHES_ITV(deferral);
    uloop_timeout *timer = &vesk_get_scan_info()->bhCredTimer;
    timer->cb = vesk_set_backhaul_credential_ubus_handle;
    uloop_timeout_set(timer, vesk_timer_ms(deferral));
    return 0;
}

uint32_t vesk_stop_backhaul_credential_timer()
{
    VESK_LOG_SWITCHES_ITV(deferral);
    uloop_timeout_cancel(&vesk_get_scan_info()->bhCredTimer);
    return 0;
}

void vesk_set_backhaul_credential_ubus_handle(uloop_timeout *)
{
    VESK_LOG_SWITCHES();
    const VeskBackhaulCred &cred = vesk_get_scan_info()->bhCred;
    if (rilk_applyBackhaulCredentialToBsta(&cred) == -1)
        VESK_LOG(ERROR, " rilk_applyBackhaulCredentialToBsta is error !!\n");
    VESK_LOG_CREDENTIAL(cred);
}

void vesk_start_bsta_auto_connect_timer(uint32_t band, uint32_t itv)
{
    if (band >= VESK_SCAN_RADIOS)
        return;
    VESK_LOG(INFO, " vesk_start_bsta_auto_connect_timer band = %d\n", band);
    VeskScanCfg *cfg = scan_cfg(band);
    if (cfg->bstaAutoTimer != -1)
        csrv_stop_timer(cfg->bstaAutoTimer);
    cfg->bstaAutoTimer = csrv_start_periodic_timer(vesk_timer_ms(itv), vesk_bsta_auto_connect, band, 0);
    VESK_LOG(INFO, " timeId=%d, itv=%d\n", cfg->bstaAutoTimer, itv);
}

void vesk_stop_bsta_auto_connect_timer(uint32_t band)
{
    if (band >= VESK_SCAN_RADIOS)
        return;
    VESK_LOG(INFO, " vesk_stop_bsta_auto_connect_timer band = %d\n", band);
    const int timeId = scan_cfg(band)->bstaAutoTimer;
    if (timeId != -1)
        csrv_stop_timer(timeId);
    VESK_LOG(INFO, " timeId=%d, band=%d\n", timeId, band);
}

void vesk_bsta_auto_connect(uint32_t band, uint32_t)
{
    if (band >= VESK_SCAN_RADIOS)
        return;
    VESK_LOG(INFO, " vesk_bsta_auto_connect band = %d\n", band);
    VeskScanCfg *cfg = scan_cfg(band);
    rilk_setBstaAutoConnect(&cfg->bstaAuto);
    cfg->bstaAuto.needSetRadar = 0; // only the first command behind a request carries it
}
