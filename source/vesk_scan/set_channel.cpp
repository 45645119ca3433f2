// Channel setting: the bus method leaves its request in the radio's record and arms a timer; what happens
// when it fires is here. Bandwidth first, then the channel; the model follows when the channel poller sees
// the change.
#include "source/vesk_scan/scan_private.h"

namespace
{
constexpr int deferral = 2;         // seconds
constexpr int bandwidthFailed = -1; // also: nothing was asked for
constexpr int channelFailed = -5;
constexpr char stepOf[] = "vesk_set_channel_process"; // its steps log under its name

const char *outcome(int result)
{
    return result == 0 ? "success" : "failure";
}

int apply_bandwidth(const VeskRadioInfo *radio)
{
    const char *name = radio->apIntf.radioIfname;
    const int bandwidth = vesk_map_bandwidth(radio->setBw);
    const int result = rilk_setRadioChanSpec(name, bandwidth, radio->setChannel);
    VESK_LOG_AS(stepOf, DEBUG, " vesk radio %s set bandwidth %d %s (%d).\n", name, bandwidth, outcome(result),
                result);
    if (result == 0)
        return 0;
    VESK_LOG_AS(stepOf, ERROR, " Set radio cur bandwidth error !!! \n");
    return bandwidthFailed;
}

int apply_channel(const VeskRadioInfo *radio)
{
    const char *name = radio->apIntf.radioIfname;
    const int result = rilk_setRadioCurChannel(name, radio->setChannel);
    VESK_LOG_AS(stepOf, DEBUG, " vesk radio %s set channel %d %s (%d).\n", name, radio->setChannel,
                outcome(result), result);
    if (result == 0)
        return 0;
    VESK_LOG_AS(stepOf, ERROR, " Set radio cur channel error !!! \n");
    return channelFailed;
}

/** What is asked for, in order, up to the first failure; nothing asked for is a failure, too. */
int apply_request(const VeskRadioInfo *radio)
{
    int result = bandwidthFailed;
    if (radio->setBw != VESK_BW_KEEP) {
        result = apply_bandwidth(radio);
        if (result != 0)
            return result;
    }
    return radio->setChannel != 0 ? apply_channel(radio) : result;
}
} // namespace

// The indexes are the same on both sides; the place to map them if a driver's ever aren't.
int32_t vesk_map_bandwidth(int32_t bw)
{
    return bw >= 0 && bw < VESK_BW_KEEP ? bw : VESK_BW_KEEP;
}

void vesk_start_set_channel_timer(uint32_t band)
{
    if (band >= VESK_SCAN_RADIOS)
        return;
    VESK_LOG_SWITCHES_BAND(band, deferral);
    uloop_timeout *timer = &scan_radio(band)->setChannelTimer;
    timer->cb = band == 0 ? vesk_set_2G_channel_ubus_handle : vesk_set_5G_channel_ubus_handle;
    uloop_timeout_set(timer, vesk_timer_ms(deferral));
}

void vesk_stop_set_channel_timer(uint32_t band)
{
    if (band >= VESK_SCAN_RADIOS)
        return;
    VESK_LOG_SWITCHES_BAND(band, deferral);
    uloop_timeout_cancel(&scan_radio(band)->setChannelTimer);
}

void vesk_set_2G_channel_ubus_handle(uloop_timeout *)
{
    VESK_LOG(INFO, " vesk_set_2G_channel_ubus_handle\n");
    vesk_set_channel_process(0);
}

void vesk_set_5G_channel_ubus_handle(uloop_timeout *)
{
    VESK_LOG(INFO, " vesk_set_5G_channel_ubus_handle\n");
    vesk_set_channel_process(1);
}

int vesk_set_channel_process(uint32_t band)
{
    if (band >= VESK_SCAN_RADIOS)
        return -1;
    VeskRadioInfo *radio = scan_radio(band);
    VESK_LOG(INFO, " band=%d, set channel=%d, bandwidth=%d, old channel=%d, bandwidth=%d\n", band,
             radio->setChannel, radio->setBw, radio->curChannel, radio->curBw);
    if (radio->curChannel == radio->setChannel && radio->curBw == radio->setBw) {
        VESK_LOG(INFO, " Set the same channel return !\n");
        return radio->setResult;
    }
    if (radio->setBw < 0 || radio->setBw > VESK_BW_KEEP) {
        VESK_LOG_RANGE(radio->setBw, 0, VESK_BW_KEEP + 1);
        return radio->setResult = bandwidthFailed;
    }
    vesk_stop_scan_ubus_timer(); // the next pass comes a full interval from now
    vesk_start_scan_ubus_timer();
    return radio->setResult = apply_request(radio);
}
