// Results: a second behind a step its handler fetches what the scan found, counts the channel as visited and
// closes the cycle behind the last one. The noise of every channel of the radio is then smoothed once more.
#include <ctime>
#include <iterator>

#include "source/vesk_scan/scan_private.h"

namespace
{
constexpr int lowestFloor = -253;  // dBm; a raw noise floor below it is invalid
constexpr int defaultNoise = -105; // dBm
constexpr int highestSample = -50; // dBm
constexpr double defaultWeight = 0.2;
constexpr int biases5G[] = { 6, 6, 6, 6 }; // dB, by bandwidth index
constexpr int biases2G[] = { 6, 6 };

/** A channel's noise in dBm, raised by the bias and held below the bound. */
int noise_sample(int floor, uint32_t channel)
{
    const int64_t sample = int64_t{ floor } + vesk_get_noise_bias(static_cast<int>(channel));
    return static_cast<int>(std::min<int64_t>(sample, highestSample));
}

double smooth(double smoothed, int sample, int noiseEval)
{
    const double weight = noiseEval != 0 ? 1.0 / (2.0 * noiseEval) : defaultWeight;
    if (smoothed == 0.0)
        return sample;
    return weight * sample + (1.0 - weight) * smoothed;
}

/** Fetches the neighbours of the channel that the step has triggered, and marks it. */
ScanEntry take_channel(uint32_t band)
{
    const VeskOffScanCfg *offScan = vesk_get_scan_info();
    const VeskScanCfg *cfg = scan_cfg(band);
    ScanEntry taken{ 0, 0, -1 };
    scan_walk(offScan, cfg, [&](const ScanEntry &entry) {
        if (scan_is_visited(cfg, entry.chIdx))
            return true;
        taken = entry;
        return false;
    });
    if (taken.chIdx >= 0)
        scan_fetch_neighbors(offScan, cfg, taken.channel);
    return taken;
}

/** The part of a result that is the same for a channel within a cycle and for the last one. */
void update_tables(uint32_t band)
{
    VeskOffScanCfg *offScan = vesk_get_scan_info();
    scan_fetch_results(offScan, scan_cfg(band));
    vesk_smooth_channel_noise(offScan, band);
    rilk_setEnableNoiseFloor(scan_cfg(band)->radio);
}

bool is_scanning()
{
    return vesk_get_scan_info()->scanEnableCfg != 0 && vesk_get_scan_status() != 0;
}
} // namespace

void scan_fetch_results(const VeskOffScanCfg *offScan, const VeskScanCfg *cfg)
{
    if (offScan->channels != nullptr)
        rilk_getScanChannelResult(cfg->radio, offScan->channels);
}

void scan_fetch_neighbors(const VeskOffScanCfg *offScan, const VeskScanCfg *cfg, uint32_t channel)
{
    if (offScan->neighbors != nullptr)
        rilk_getScanNeighborApOneChannel(cfg->radio, static_cast<int32_t>(channel), offScan->neighbors);
}

void scan_refresh_cur_channel(VeskRadioInfo *radio, int chIdx)
{
    const VeskScanChannel *entry = vesk_scan_channel_at(chIdx);
    if (entry == nullptr || entry->ch != flag_load(&radio->curChannel))
        return;
    const VeskScanChannel record = *entry;
    radio->curChannelInfo.channel = record.ch;
    radio->curChannelInfo.ccaIdle = static_cast<int32_t>(100 - int64_t{ record.chnUtil });
    radio->curChannelInfo.noise = record.noise;
    radio->curChannelInfo.time = static_cast<int32_t>(time(nullptr));
}

void vesk_start_scan_result_ubus_timer(uint32_t band, uint32_t itv)
{
    if (band >= VESK_SCAN_RADIOS)
        return;
    VESK_LOG_SWITCHES_ITV(itv);
    scan_arm_timer(band, &scan_cfg(band)->resultTimer,
                   band == 0 ? vesk_scan_2G_result_ubus_handle : vesk_scan_5GA_result_ubus_handle, itv);
}

void vesk_stop_scan_result_ubus_timer(uint32_t band)
{
    if (band >= VESK_SCAN_RADIOS)
        return;
    VESK_LOG_SWITCHES();
    uloop_timeout_cancel(&scan_cfg(band)->resultTimer);
}

void vesk_scan_2G_result_ubus_handle(uloop_timeout *)
{
    VESK_LOG_SWITCHES();
    if (!is_scanning()) {
        VESK_LOG(INFO, VESK_TEXT_TIMER_OFF);
        return;
    }
    VeskScanCfg *cfg = scan_cfg(0);
    const ScanEntry entry = take_channel(0);
    if (entry.chIdx >= 0) {
        VESK_LOG(INFO, VESK_TEXT_RESULT_2G, 0, cfg->radio, entry.channel, entry.chIdx, cfg->offChListNums,
                 scan_visited_count(cfg));
        scan_mark_visited(cfg, entry.chIdx);
    }
    if (scan_is_cycle_complete(vesk_get_scan_info(), cfg)) {
        scan_close_cycle(cfg);
        flag_store(&cfg->isFirstScan, 0);
        VESK_LOG(INFO, " ==== reset scan list band=%d ====\n", 0);
    }
    update_tables(0);
}

void vesk_scan_5GA_result_ubus_handle(uloop_timeout *)
{
    VESK_LOG_SWITCHES();
    if (!is_scanning()) {
        VESK_LOG(INFO, VESK_TEXT_TIMER_OFF);
        return;
    }
    VeskScanCfg *cfg = scan_cfg(1);
    const ScanEntry entry = take_channel(1);
    if (entry.chIdx >= 0) {
        VESK_LOG(INFO, VESK_TEXT_RESULT_5G, 1, entry.channel, entry.chIdx, cfg->offChListNums,
                 scan_visited_count(cfg));
        scan_mark_visited(cfg, entry.chIdx);
    }
    if (scan_is_cycle_complete(vesk_get_scan_info(), cfg)) {
        scan_close_cycle(cfg);
        VESK_LOG(INFO, " ====reset scan list band=%d ====\n", 1);
    }
    update_tables(1);
    vesk_get_scan_info()->scanTime = static_cast<int32_t>(time(nullptr));
}

void vesk_smooth_channel_noise(VeskOffScanCfg *offScan, uint32_t band)
{
    if (offScan == nullptr || band >= VESK_SCAN_RADIOS)
        return;
    const VeskScanCfg *cfg = &offScan->scanCfg[band];
    for (int i = 0; i < cfg->offChListNums; i++) {
        VeskScanChannel *record = vesk_scan_channel_at(
            vesk_find_channel_idx(cfg->offChList[i], offScan->channelList, offScan->channelNums));
        if (record == nullptr)
            continue;
        const int floor = record->noise;
        if (floor < lowestFloor) {
            VESK_LOG(INFO, " Vesk get channel[%d] noise invalid floor[%d], use default value[%d]\n",
                     record->ch, floor, defaultNoise);
            record->smoothedNoise = defaultNoise;
            continue;
        }
        record->smoothedNoise =
            smooth(record->smoothedNoise, noise_sample(floor, cfg->offChList[i]), cfg->noiseEval);
    }
}

int vesk_get_noise_bias(int channel)
{
    int bw = flag_load(&vesk_get_radio_info()[0].curBw); // radio 0's, whichever radio the channel belongs to
    if (bw < 0 || bw >= static_cast<int>(std::size(biases5G))) {
        VESK_LOG(INFO, " bw = %d\n", bw);
        bw = 0;
    }
    if (channel >= VESK_FIRST_5G_CHANNEL)
        return biases5G[bw];
    return biases2G[bw < static_cast<int>(std::size(biases2G)) ? bw : 0];
}
