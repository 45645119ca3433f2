// The first scan: each radio sweeps its whole list once, on a detached thread that its firstTimer starts. One
// thread per radio at most: the timer's handler claims the run, the thread gives it back. A run belongs to a
// generation, and a new generation, begun by the tear-down, ends the runs of the old one at their next step.
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <unistd.h>

#include "foundation/vesk_utils.h"
#include "source/vesk_interface/vesk_interface.h"
#include "source/vesk_scan/scan_private.h"

namespace
{
constexpr ScanTimer firstTimer = { &VeskScanCfg::firstTimer,
                                   { vesk_scan_2G_first_ubus_handle, vesk_scan_5GA_first_ubus_handle } };
constexpr char stepOf[] = "vesk_first_scanning"; // its steps log under its name
constexpr int channelPauseUs = 500000;           // more than any usual dwell
constexpr int neighborPauseUs = 100000;
constexpr int emptyListPauseUs = 15000000;
constexpr int sliceUs = 500000; // longest sleep between two looks at the generation
constexpr int secondUs = 1000000;
constexpr int resultTries = 3;
constexpr unsigned stopPollUs = 10000;
constexpr unsigned stopWaitUs = 600000; // a pause in progress, and the library calls behind it

std::atomic<uint32_t> generation{ 1 };
std::atomic<uint32_t> runs[VESK_RADIOS]; // generation of the radio's run; 0: none

/** False if the radio has a run already. */
bool claim_run(uint32_t band)
{
    uint32_t none = 0;
    return runs[band].compare_exchange_strong(none, generation.load());
}

void release_run(uint32_t band)
{
    runs[band].store(0);
}

/** Whether the tear-down has begun since the run was claimed. */
bool is_stopped(uint32_t band)
{
    const uint32_t run = runs[band].load();
    return run != 0 && run != generation.load();
}

bool is_any_running()
{
    return std::any_of(std::begin(runs), std::end(runs), [](const auto &run) { return run.load() != 0; });
}

/** Sleeps in slices. False if the run has to end. */
bool pause_run(uint32_t band, int us)
{
    while (us > 0 && !is_stopped(band)) {
        const int slice = std::min(us, sliceUs);
        usleep(static_cast<useconds_t>(slice));
        us -= slice;
    }
    return !is_stopped(band);
}

/** One channel: marked, triggered, and what is known after the pause fetched. False if the run has to end. */
bool scan_channel(uint32_t band, const ScanEntry &entry)
{
    if (is_stopped(band))
        return false;
    if (vesk_get_scan_status() == 0)
        return true;
    const VeskScanParam param = scan_param(band, entry.channel);
    if (param.baseVap[0] == '\0') {
        VESK_LOG_AS(stepOf, INFO, " Trigger scan base vap interface name is NULL, continue\n");
        return true;
    }
    VeskScanCfg *cfg = scan_cfg(band);
    const ScanName radio = scan_radio_name(band);
    scan_mark_visited(cfg, entry.chIdx);
    VESK_LOG_AS(stepOf, INFO, VESK_TEXT_FIRST_CHANNEL, band, radio.text, param.baseVap, entry.position,
                entry.chIdx, entry.channel, scan_visited_count(cfg));
    rilk_triggerScan(radio.text, &param);
    if (!pause_run(band, channelPauseUs))
        return false;
    scan_fetch_neighbors(vesk_get_scan_info(), cfg, entry.channel);
    scan_fetch_results(vesk_get_scan_info(), cfg);
    return true;
}

/** The way of most chips. False if the run has to end without closing anything. */
bool sweep_by_channel(uint32_t band)
{
    rilk_setEnableNoiseFloor(scan_cfg(band)->radio);
    bool goesOn = true;
    scan_walk(vesk_get_scan_info(), scan_cfg(band),
              [&](const ScanEntry &entry) { return goesOn = scan_channel(band, entry); });
    if (goesOn)
        scan_read_cur_channel(band);
    return goesOn && !is_stopped(band);
}

int count_5g_results()
{
    int count = 0;
    for (int i = 0; i < vesk_get_scan_info()->channelNums; i++) {
        const VeskScanChannel *record = vesk_scan_channel_at(i);
        count += record != nullptr && record->ch >= VESK_FIRST_5G_CHANNEL;
    }
    return count;
}

/** Reads results until all channels have one: at most three more times, a second per missing channel apart.
 */
bool await_results(uint32_t band)
{
    const VeskScanCfg *cfg = scan_cfg(band);
    VESK_LOG_AS(stepOf, INFO, " start to get acs scan result, band=%d\r\n\n", band);
    scan_fetch_results(vesk_get_scan_info(), cfg);
    for (int tries = resultTries; tries > 0;) {
        const int scanCnt = count_5g_results();
        VESK_LOG_AS(stepOf, INFO, " scanCnt=%d, offChListNums=%d\r\n\n", scanCnt, cfg->offChListNums);
        if (scanCnt >= cfg->offChListNums)
            return true;
        if (!pause_run(band, (cfg->offChListNums - scanCnt) * secondUs))
            return false;
        tries--;
        scan_fetch_results(vesk_get_scan_info(), cfg);
        VESK_LOG_AS(stepOf, INFO, " Get first scan channel result scanCyc=%d\n", tries);
    }
    return true;
}

bool collect_neighbors(uint32_t band)
{
    const VeskOffScanCfg *offScan = vesk_get_scan_info();
    bool goesOn = true;
    scan_walk(offScan, scan_cfg(band), [&](const ScanEntry &entry) {
        if (vesk_get_scan_status() == 0)
            return true;
        scan_refresh_cur_channel(scan_radio(band), entry.chIdx);
        goesOn = pause_run(band, neighborPauseUs);
        if (goesOn)
            scan_fetch_neighbors(offScan, scan_cfg(band), entry.channel);
        return goesOn;
    });
    return goesOn && !is_stopped(band);
}

/** The way of the chip that takes its whole list in one command. False as above. */
bool sweep_whole_band(uint32_t band)
{
    VeskScanCfg *cfg = scan_cfg(band);
    const uint8_t enabled = vesk_get_scan_status();
    if (enabled == 0) {
        VESK_LOG_AS(stepOf, INFO, " first scan offScan->scanEnable = %d\n", enabled);
        return false;
    }
    const VeskScanParam param = scan_param(band, 0);
    if (param.baseVap[0] == '\0') {
        VESK_LOG_AS(stepOf, INFO, " Trigger scan base vap interface name is NULL, continue\n");
        return false;
    }
    const int sweepUs = cfg->offChListNums * channelPauseUs;
    VESK_LOG_AS(stepOf, INFO, VESK_TEXT_FIRST_WHOLE_BAND, sweepUs, band, scan_radio(band)->chipName);
    rilk_triggerScan(scan_radio_name(band).text, &param);
    if (!pause_run(band, sweepUs > 0 ? sweepUs : emptyListPauseUs) || !await_results(band) ||
        !collect_neighbors(band))
        return false;
    flag_store(&cfg->alreadyScanCount, cfg->offChListNums);
    return true;
}

/** Leaves either a closed cycle or one that the periodic scan may finish. */
void end_scan(uint32_t band)
{
    VeskOffScanCfg *offScan = vesk_get_scan_info();
    vesk_smooth_channel_noise(offScan, band);
    if (scan_is_cycle_complete(offScan, scan_cfg(band)))
        scan_close_cycle(scan_cfg(band));
    else
        flag_store(&scan_cfg(band)->cycScanSend, 1);
}

void run_first_scan(uint32_t band)
{
    const int blocking = scan_auto_radio();
    if (blocking >= 0) {
        VESK_LOG_AS(stepOf, INFO, VESK_TEXT_AUTO_CONNECT, blocking, scan_auto_enabled(blocking));
        return; // the scan is still owed
    }
    flag_store(&scan_cfg(band)->isFirstScan, 0);
    const bool swept =
        scan_is_whole_band_chip(scan_radio(band)) ? sweep_whole_band(band) : sweep_by_channel(band);
    if (swept)
        end_scan(band);
}

void start_waiting(uloop_timeout *timer);

/** Starts the radio's thread, or looks again in a second, without a word, while one is running. */
void start_thread(uint32_t band)
{
    if (!claim_run(band)) {
        uloop_timeout *timer = &scan_cfg(band)->firstTimer;
        timer->cb = start_waiting;
        uloop_timeout_set(timer, vesk_timer_ms(1));
        return;
    }
    pthread_t thread;
    if (vesk_create_detached_pthread(vesk_first_scanning, &scan_radio(band)->band, &thread) != 0)
        release_run(band);
}

void start_waiting(uloop_timeout *timer)
{
    start_thread(timer == &scan_cfg(0)->firstTimer ? 0 : 1);
}

/** Whether one radio's first scan is over, or none is to be expected of it. */
bool is_radio_at_end(int radio, VeskLogSite caller = VESK_CALLER)
{
    const VeskRadioInfo *info = &vesk_get_radio_info()[radio];
    const VeskScanCfg *cfg = scan_cfg(static_cast<uint32_t>(radio));
    const bool isDown = vesk_is_active_radio(info) == 0;
    const bool isAcsOff = info->isAcsEnabled == 0;
    const int isFirstScan = flag_load(&cfg->isFirstScan), isScanEnd = flag_load(&cfg->isScanEnd);
    if (isDown)
        VESK_LOG_AS(caller, INFO, " Radio %s is not enable , set radio scan status to end\n",
                    info->apIntf.radioIfname);
    if (isAcsOff)
        VESK_LOG_AS(caller, INFO, VESK_TEXT_RADIO_ACS_OFF, radio, info->isAcsEnabled);
    VESK_LOG_AS(caller, INFO, VESK_TEXT_RADIO_END, radio, isScanEnd, isFirstScan);
    return isDown || isAcsOff || (isFirstScan == 0 && isScanEnd != 0);
}
} // namespace

void vesk_start_first_scan_ubus_timer(uint32_t band, uint32_t itv)
{
    if (band >= VESK_SCAN_RADIOS)
        return;
    VESK_LOG_SWITCHES_BAND(band, itv);
    scan_arm_timer(firstTimer, band, itv);
}

void vesk_stop_first_scan_ubus_timer(uint32_t band)
{
    scan_cancel_timer(firstTimer, band);
}

void vesk_scan_2G_first_ubus_handle(uloop_timeout *)
{
    VESK_LOG_SWITCHES();
    start_thread(0);
}

void vesk_scan_5GA_first_ubus_handle(uloop_timeout *)
{
    VESK_LOG_SWITCHES();
    start_thread(1);
}

void *vesk_first_scanning(void *arg)
{
    if (arg == nullptr) {
        fputs("argv is NULL!\r\n", stderr);
        return nullptr;
    }
    const auto band = static_cast<uint32_t>(flag_load(static_cast<const int32_t *>(arg)));
    if (band >= VESK_SCAN_RADIOS) {
        VESK_LOG(ERROR, " bandIdx=[%d] is not in range!\n", band);
        return nullptr;
    }
    if (!is_stopped(band))
        run_first_scan(band);
    release_run(band);
    return nullptr;
}

uint32_t vesk_first_scanning_is_end()
{
    int32_t role = HUL_UNSELECTED;
    hul_EM_getWorkRole(&role);
    if (role == HUL_UNSELECTED) {
        VESK_LOG(INFO, VESK_TEXT_UNSELECTED);
        return 0;
    }
    int count = 0;
    for (int radio = 0; radio < VESK_RADIOS; radio++)
        count += is_radio_at_end(radio);
    VESK_LOG(INFO, VESK_TEXT_RADIOS_AT_END, count);
    return count >= VESK_RADIOS;
}

bool scan_has_run(uint32_t band)
{
    return runs[band].load() != 0;
}

bool scan_stop_threads()
{
    generation++;
    for (unsigned waited = 0; is_any_running() && waited < stopWaitUs; waited += stopPollUs)
        usleep(stopPollUs);
    return !is_any_running();
}
