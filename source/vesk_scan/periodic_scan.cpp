// The periodic scan: a master timer opens a pass, a pass gives each radio one step, and a step either stands
// back, for any of a dozen reasons, or triggers the next unvisited channel and has its result fetched a
// second later.
#include "source/vesk_interface/vesk_interface.h"
#include "source/vesk_scan/scan_private.h"

namespace
{
constexpr ScanTimer periodTimer = { &VeskScanCfg::periodTimer,
                                    { vesk_scan_2G_period_ubus_handle, vesk_scan_5GA_period_ubus_handle } };
constexpr uint32_t stepDelay[VESK_RADIOS] = { 1, 3 }; // seconds behind the pass
constexpr char stepOf[] = "vesk_scan_process";        // its steps log under its name

int pass_interval_ms()
{
    return vesk_timer_ms(scan_cfg(0)->scanItv);
}

bool vesk_is_allowed_scan(uint32_t band)
{
    int32_t *role = &vesk_get_vesk_info()->workRole;
    hul_EM_getWorkRole(role);
    if (*role == HUL_UNSELECTED) {
        VESK_LOG(INFO, VESK_TEXT_STEP_UNSELECTED);
        return false;
    }
    if (vesk_get_scan_status() == 0)
        return false;
    if (vesk_is_active_radio(scan_radio(band)) == 0) {
        VESK_LOG(INFO, VESK_TEXT_STEP_RADIO_DOWN, scan_radio(band)->apIntf.radioIfname);
        return false;
    }
    const int blocking = scan_auto_radio();
    if (blocking >= 0)
        VESK_LOG(INFO, VESK_TEXT_AUTO_CONNECT, blocking, scan_auto_enabled(blocking));
    return blocking < 0;
}

/** True if the step ends here: the owed first scan is asked for instead, once, or one is running. An owed one
 * that waits behind a running one is as good as running. */
bool yields_to_first_scan(uint32_t band)
{
    VeskScanCfg *cfg = scan_cfg(band);
    uint32_t *triggerCnt = &vesk_get_scan_state()->triggerCnt[band];
    const int isFirstScan = flag_load(&cfg->isFirstScan), isScanEnd = flag_load(&cfg->isScanEnd);
    const int cycScanSend = flag_load(&cfg->cycScanSend);
    VESK_LOG_AS(stepOf, INFO, " band=%d, isFirstScan=%d, isScanEnd=%d, triggerCnt=%d, cycScanSend=%d\n", band,
                isFirstScan, isScanEnd, *triggerCnt, cycScanSend);
    if (isFirstScan != 0 && *triggerCnt == 0) {
        VESK_LOG_AS(stepOf, INFO, VESK_TEXT_STEP_FIRST_OWED, band);
        flag_store(&cfg->isFirstScan, 0); // the retrigger turns down a radio that still owes one
        ++*triggerCnt;
        VESK_LOG_AS(stepOf, INFO, " band=%d, isFirstScan=%d, triggerCnt=%d, cycScanSend=%d\r\n\n", band,
                    flag_load(&cfg->isFirstScan), *triggerCnt, cycScanSend);
        vesk_retrigger_scan(band);
        return true;
    }
    const bool isRunning = isFirstScan != 0 ? scan_has_run(band) : isScanEnd == 0 && cycScanSend != 1;
    if (!isRunning)
        return false;
    VESK_LOG_AS(stepOf, INFO, VESK_TEXT_STEP_FIRST_RUNS, band);
    return true;
}

/** The step of a chip that takes no periodic scans. */
void refresh_from_table(uint32_t band)
{
    VeskRadioInfo *radio = scan_radio(band);
    VESK_LOG_AS(stepOf, INFO, VESK_TEXT_STEP_CHIP_REFRESHES, radio->apIntf.radioIfname, radio->chipName);
    scan_walk(vesk_get_scan_info(), scan_cfg(band), [&](const ScanEntry &entry) {
        if (vesk_get_scan_status() != 0)
            scan_refresh_cur_channel(radio, entry.chIdx);
        return true;
    });
    VESK_LOG_AS(stepOf, INFO, VESK_TEXT_STEP_CHIP, radio->apIntf.radioIfname, radio->chipName);
}

/** Whether load, stations and settings let the radio leave its channel now. */
bool is_radio_free(uint32_t band)
{
    const VeskScanCfg *cfg = scan_cfg(band);
    const VeskRadioInfo *radio = scan_radio(band);
    const VeskCurChannelInfo cur = scan_read_cur_channel(band);
    const uint32_t ccaInbss = cur.ccaInbss, ccaTxUtil = cur.ccaTxUtil;
    if (ccaInbss >= static_cast<uint32_t>(cfg->rxThd) || ccaTxUtil >= static_cast<uint32_t>(cfg->txThd)) {
        VESK_LOG_AS(stepOf, INFO, VESK_TEXT_STEP_BUSY, band, ccaInbss, ccaTxUtil);
        return false;
    }
    if (vesk_is_connected_fronthaul_station() != 0) {
        VESK_LOG_AS(stepOf, INFO, VESK_TEXT_STEP_STATION, band);
        return false;
    }
    if (radio->isAcsEnabled == 0)
        VESK_LOG_AS(stepOf, INFO, VESK_TEXT_STEP_ACS_OFF, band, radio->isAcsEnabled);
    return radio->isAcsEnabled != 0;
}

/** The channel isn't marked here: the result's handler does it. */
void trigger_next(uint32_t band)
{
    const ScanEntry entry = scan_next_unvisited(scan_cfg(band), [band](const ScanEntry &seen) {
        VESK_LOG_AS(stepOf, DEBUG, " band=%d, vesk_get_scan_status=[%d], chIdx=%d\n", band,
                    vesk_get_scan_status(), seen.chIdx);
    });
    if (entry.chIdx < 0)
        return;
    const VeskScanParam param = scan_param(band, entry.channel);
    if (param.baseVap[0] == '\0') {
        VESK_LOG_AS(stepOf, INFO, VESK_TEXT_STEP_NO_BASE);
        return;
    }
    if (vesk_is_backhaul_intf(param.baseVap)) {
        VESK_LOG_AS(stepOf, INFO, VESK_TEXT_STEP_BASE_BACKHAUL);
        return;
    }
    rilk_triggerScan(scan_radio(band)->apIntf.radioIfname, &param);
    vesk_start_scan_result_ubus_timer(band, 1);
    VESK_LOG_AS(
        stepOf, DEBUG, " band=%d, scanning=%d, chanIdx=%d, offChListNum=%d, alreadyScanCount=%d\r\n\n", band,
        entry.channel, entry.chIdx, scan_cfg(band)->offChListNums, scan_visited_count(scan_cfg(band)));
}
} // namespace

void vesk_start_scan_ubus_timer()
{
    VeskOffScanCfg *offScan = vesk_get_scan_info();
    VESK_LOG(INFO, " vesk_start_scan_ubus_timer scanEnable=%d, scanEnableCfg=%d\n", vesk_get_scan_status(),
             offScan->scanEnableCfg);
    if (!scan_is_configured())
        return;
    offScan->scanTimer.cb = vesk_update_scan_ubus_handle;
    uloop_timeout_set(&offScan->scanTimer, pass_interval_ms());
    VESK_LOG_SWITCHES_ITV(scan_cfg(0)->scanItv);
}

void vesk_stop_scan_ubus_timer()
{
    VeskOffScanCfg *offScan = vesk_get_scan_info();
    VESK_LOG(INFO, " vesk_stop_scan_ubus_timer scanEnable=%d, scanEnableCfg=%d\n", vesk_get_scan_status(),
             offScan->scanEnableCfg);
    if (!scan_is_configured())
        return;
    uloop_timeout_cancel(&offScan->scanTimer);
    VESK_LOG_SWITCHES_ITV(scan_cfg(0)->scanItv);
}

void vesk_update_scan_ubus_handle(uloop_timeout *timer)
{
    const uint8_t enabled = vesk_get_scan_status();
    VESK_LOG(INFO, VESK_TEXT_PASS, enabled, vesk_get_scan_info()->scanEnableCfg, scan_cfg(0)->scanItv);
    if (enabled == 0)
        VESK_LOG(INFO, VESK_TEXT_PASS_OFF);
    for (uint32_t band = 0; enabled != 0 && band < VESK_SCAN_RADIOS; band++)
        vesk_start_period_scan_ubus_timer(band, stepDelay[band]);
    if (timer != nullptr)
        uloop_timeout_set(timer, pass_interval_ms());
}

void vesk_start_period_scan_ubus_timer(uint32_t band, uint32_t itv)
{
    if (band >= VESK_SCAN_RADIOS)
        return;
    VESK_LOG_SWITCHES_BAND(band, itv);
    scan_arm_timer(periodTimer, band, itv);
}

void vesk_stop_period_scan_ubus_timer(uint32_t band)
{
    scan_cancel_timer(periodTimer, band);
}

void vesk_scan_2G_period_ubus_handle(uloop_timeout *)
{
    VESK_LOG_SWITCHES();
    vesk_scan_process(0);
}

void vesk_scan_5GA_period_ubus_handle(uloop_timeout *)
{
    VESK_LOG_SWITCHES();
    vesk_scan_process(1);
}

void vesk_scan_process(uint32_t band)
{
    if (band >= VESK_SCAN_RADIOS)
        return;
    VESK_LOG(DEBUG, " band=%d, vesk_get_scan_status=[%d]\n", band, vesk_get_scan_status());
    if (!vesk_is_allowed_scan(band)) {
        VESK_LOG(INFO, VESK_TEXT_STEP_NOT_ALLOWED, band);
        return;
    }
    if (yields_to_first_scan(band))
        return;
    if (scan_is_whole_band_chip(scan_radio(band)))
        refresh_from_table(band);
    else if (is_radio_free(band))
        trigger_next(band);
}

void vesk_retrigger_scan(uint32_t band)
{
    if (band >= VESK_SCAN_RADIOS)
        return;
    VESK_LOG(INFO, " vesk_retrigger_scan band = %d\n", band);
    if (flag_load(&scan_cfg(band)->isFirstScan) != 0) {
        VESK_LOG(INFO, " band[%d], just first scan now, not retrigger\n", band);
        return;
    }
    flag_store(&scan_cfg(band)->isFirstScan, 1);
    const auto behind = static_cast<uint32_t>(vesk_get_scan_info()->firstScanItv);
    vesk_start_first_scan_ubus_timer(band, band * behind + 1);
}
