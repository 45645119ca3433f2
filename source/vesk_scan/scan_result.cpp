// Results: a second behind a step its handler fetches the neighbours of the channel, counts it as visited and
// closes the cycle behind the last one. The figures of all channels are then fetched, and the noise of each
// channel of the radio is smoothed once more, scanned or not.
#include <ctime>
#include <iterator>

#include "source/vesk_scan/scan_private.h"

namespace
{
constexpr ScanTimer resultTimer = { &VeskScanCfg::resultTimer,
                                    { vesk_scan_2G_result_ubus_handle, vesk_scan_5GA_result_ubus_handle } };
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

/** Counts the channel that the step triggered as visited: nothing has changed the flags in between. */
void visit_channel(uint32_t band, VeskLogSite caller)
{
    VeskScanCfg *cfg = scan_cfg(band);
    const ScanEntry entry = scan_next_unvisited(cfg, [](const ScanEntry &) {});
    if (entry.chIdx < 0)
        return;
    scan_fetch_neighbors(vesk_get_scan_info(), cfg, entry.channel);
    if (band == 0)
        VESK_LOG_AS(caller, INFO, VESK_TEXT_RESULT_2G, 0, cfg->radio, entry.channel, entry.chIdx,
                    cfg->offChListNums, scan_visited_count(cfg));
    else
        VESK_LOG_AS(caller, INFO, VESK_TEXT_RESULT_5G, 1, entry.channel, entry.chIdx, cfg->offChListNums,
                    scan_visited_count(cfg));
    scan_mark_visited(cfg, entry.chIdx);
}

void end_cycle(uint32_t band, VeskLogSite caller)
{
    scan_close_cycle(scan_cfg(band));
    if (band == 0) {
        flag_store(&scan_cfg(band)->isFirstScan, 0);
        VESK_LOG_AS(caller, INFO, " ==== reset scan list band=%d ====\n", 0);
    } else {
        VESK_LOG_AS(caller, INFO, " ====reset scan list band=%d ====\n", 1);
    }
}

/** The radios differ in two lines, in isFirstScan, and in that radio 1 keeps the time. */
void take_result(uint32_t band, VeskLogSite caller = VESK_CALLER)
{
    VeskOffScanCfg *offScan = vesk_get_scan_info();
    VESK_LOG_SWITCHES_AS(caller);
    if (offScan->scanEnableCfg == 0 || vesk_get_scan_status() == 0) {
        VESK_LOG_AS(caller, INFO, VESK_TEXT_TIMER_OFF);
        return;
    }
    visit_channel(band, caller);
    if (scan_is_cycle_complete(offScan, scan_cfg(band)))
        end_cycle(band, caller);
    scan_fetch_results(offScan, scan_cfg(band));
    vesk_smooth_channel_noise(offScan, band);
    rilk_setEnableNoiseFloor(scan_cfg(band)->radio);
    if (band != 0)
        offScan->scanTime = static_cast<int32_t>(time(nullptr));
}
} // namespace

void vesk_start_scan_result_ubus_timer(uint32_t band, uint32_t itv)
{
    if (band >= VESK_SCAN_RADIOS)
        return;
    VESK_LOG_SWITCHES_ITV(itv);
    scan_arm_timer(resultTimer, band, itv);
}

void vesk_stop_scan_result_ubus_timer(uint32_t band)
{
    scan_cancel_timer(resultTimer, band);
}

void vesk_scan_2G_result_ubus_handle(uloop_timeout *)
{
    take_result(0);
}

void vesk_scan_5GA_result_ubus_handle(uloop_timeout *)
{
    take_result(1);
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
