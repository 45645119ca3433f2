// When the inventory and the counters are refreshed. The inventory is polled until the platform first reports
// a change of the WLAN settings; from then on it is refreshed on such a report only. Counters are polled by
// their own switch. The fields at work are radio 0's: these timers serve the whole device.
#include "foundation/clamp.h"
#include "foundation/csrv_timer.h"
#include "foundation/shared.h"
#include "include/rilk.h"
#include "source/vesk_interface/interface_private.h"
#include "source/vesk_main/log.h"
#include "source/vesk_main/records.h"
#include "source/vesk_scan/vesk_scan.h"

namespace
{

VeskRadioInfo &radio0()
{
    return vesk_get_radio_info()[0];
}

void refresh_vap_stats(const char *name)
{
    const uint32_t slot = vesk_find_vap_slot(name);
    if (slot >= VESK_VAPS)
        return;
    VeskVapInfo &vap = vesk_get_vap_info()[slot];
    if (vap.ifName[0] != '\0' && vap.status != 0 && vap.vapAttr != VESK_VAP_BSTA)
        rilk_getVapIfStat(vap.ifName, &vap.intfStats);
}

} // namespace

// --- polled refresh ---

void vesk_start_intf_timer()
{
    VESK_LOG(INFO, " vesk_start_intf_timer\n");
    VeskRadioInfo &radio = radio0();
    if (radio.intfTimeId != -1)
        csrv_stop_timer(radio.intfTimeId);
    if (!radio.intfPollEnable) {
        VESK_LOG(INFO, " Interface polling not enabled ----exit\n");
        return;
    }
    radio.intfTimeId = csrv_start_periodic_timer(vesk_timer_ms(radio.intfPollItv), vesk_update_intf, 0, 0);
    VESK_LOG(INFO, " timeId=%d, itv=%d\n", radio.intfTimeId, radio.intfPollItv);
}

// The periodic timer goes on when polling is switched off; it is idle from then on.
void vesk_update_intf(uint32_t, uint32_t)
{
    VESK_LOG(DEBUG, " vesk_update_intf\n");
    if (!radio0().intfPollEnable)
        return;
    VESK_LOG(INFO, " radioInfo[0].intfPollEnable is true\n");
    vesk_update_radio_info();
    vesk_update_vap_info();
}

// --- triggered refresh ---

// Scanning stands still until the refresh has run.
void vesk_retrigger_intf_timer(int interval)
{
    VESK_LOG(INFO, " vesk_retrigger_intf_timer\n");
    VeskRadioInfo &radio = radio0();
    vesk_set_scan_status(0);
    if (radio.intfPollEnable) {
        VESK_LOG(INFO, " set radioInfo[0].intfPollEnable to false\n");
        radio.intfPollEnable = 0;
    }
    if (radio.intfSupportTrigger) {
        uloop_timeout_cancel(&radio.intfEventTimer);
        radio.intfEventTimer.cb = vesk_retrigger_intf_handle;
        uloop_timeout_set(&radio.intfEventTimer, vesk_timer_ms(interval));
    }
    VESK_LOG(INFO, " radioInfo[0].intfSupportTrigger=%d, interval=%d, radioInfo[0].intfPollEnable=%d\n",
             radio.intfSupportTrigger, interval, radio.intfPollEnable);
}

// With the channel poller off, nobody else would find a changed channel.
void vesk_retrigger_intf_handle(uloop_timeout *)
{
    VESK_LOG(INFO, " radioInfo[0].intfPollEnable = %d\n", radio0().intfPollEnable);
    vesk_update_radio_info();
    vesk_update_vap_info();
    const VeskInfo *veskInfo = vesk_get_vesk_info();
    if (!veskInfo->chChange.chEventEnable) {
        VESK_LOG(INFO, " retrigger channel change veskInfo->chChange.chEventEnable = %d\n",
                 veskInfo->chChange.chEventEnable);
        vesk_channel_change_handle(nullptr);
    }
    if (flag_load(&vesk_get_scan_info()->scanEnableCfg))
        vesk_set_scan_status(1);
}

void vesk_stop_intf_event_timer()
{
    VESK_LOG(INFO, " vesk_stop_intf_event_timer\n");
    uloop_timeout_cancel(&radio0().intfEventTimer);
}

// --- statistics ---

void vesk_start_intf_stat_timer()
{
    VeskRadioInfo &radio = radio0();
    VESK_LOG(INFO, " isIntfStatEnabled=%d, itv=%d\n", radio.isIntfStatEnabled, radio.intfStatItv);
    if (!radio.isIntfStatEnabled)
        return;
    radio.intfStatTimer.cb = vesk_update_intf_stats_ubus_handle;
    uloop_timeout_set(&radio.intfStatTimer, vesk_timer_ms(radio.intfStatItv));
}

void vesk_stop_intf_stat_timer()
{
    VESK_LOG(INFO, " isIntfStatEnabled=%d, itv=%d\n", radio0().isIntfStatEnabled, radio0().intfStatItv);
    uloop_timeout_cancel(&radio0().intfStatTimer);
}

// The same status leaves the running timer's phase alone.
void vesk_set_intf_stat_status(uint8_t status)
{
    VeskRadioInfo &radio = radio0();
    VESK_LOG(INFO, " isIntfStatEnabled=%d, itv=%d, timeId=%d\n", radio.isIntfStatEnabled, radio.intfStatItv,
             radio.intfStatTimeId);
    if (status == radio.isIntfStatEnabled) {
        VESK_LOG(INFO, " radioInfo[0].isIntfStatEnabled is same as status = %d\n", status);
        return;
    }
    vesk_stop_intf_stat_timer();
    radio.isIntfStatEnabled = status;
    if (status)
        vesk_start_intf_stat_timer();
}

// Interfaces that are down keep their last counters; all eight names are walked, whatever vapNums says.
void vesk_update_intf_stats()
{
    VESK_LOG(INFO, " isIntfStatEnabled=%d, timeId=%d, timeItv=%d\r\n\n", radio0().isIntfStatEnabled,
             radio0().intfStatTimeId, radio0().intfStatItv);
    for (int i = 0; i < VESK_RADIOS; i++) {
        VeskRadioInfo &radio = vesk_get_radio_info()[i];
        vesk_refresh_ap_intf(i);
        if (radio.status != 0)
            rilk_getRadioIfStat(radio.apIntf.radioIfname, &radio.intfStats);
        for (const auto &name : radio.apIntf.vapIfname)
            refresh_vap_stats(name);
    }
}

void vesk_update_intf_stats_ubus_handle(uloop_timeout *timer)
{
    VESK_LOG(DEBUG, " vesk_update_intf_stats_handle\n");
    if (!radio0().isIntfStatEnabled)
        return;
    vesk_update_intf_stats();
    if (timer != nullptr)
        uloop_timeout_set(timer, vesk_timer_ms(radio0().intfStatItv));
}

void vesk_clean_hw_fwd_rule()
{
    rilk_cleanHwFwdRule(radio0().apIntf.radioIfname);
}
