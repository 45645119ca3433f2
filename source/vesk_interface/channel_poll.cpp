// The channel change poller: after the first refresh the only writer of channel, bandwidth, power and
// frequency. The channel is read on every poll; bandwidth and power on every twentieth, or when the inventory
// asks for it. What it finds goes out as the record that a driver event would bring.
#include "foundation/clamp.h"
#include "foundation/shared.h"
#include "foundation/vesk_utils.h"
#include "include/rilk.h"
#include "include/vesk_event.h"
#include "source/vesk_drelm/vesk_drelm.h"
#include "source/vesk_interface/interface_private.h"
#include "source/vesk_main/log.h"
#include "source/vesk_main/records.h"
#include "source/vesk_scan/vesk_scan.h"

namespace
{

constexpr char stepOf[] = "vesk_channel_change_handle"; // the steps below log under the handler's name
constexpr int fullReadEvery = 20;                       // polls
constexpr uint8_t foundByPoller = 1;                    // VeskChChange.reason
struct Reading {
    int32_t channel;
    int32_t bw;
    float power; // dBm
};

/** Without a full read bandwidth and power are the record's own, so that only the channel can differ. */
Reading read_radio(int idx, VeskRadioInfo &radio)
{
    Reading now = { 0, radio.curBw, radio.txPower };
    const char *name = radio.apIntf.radioIfname;
    rilk_getRadioCurChannel(name, &now.channel);
    int32_t &pollCnt = vesk_get_model_state()->pollCnt[idx];
    pollCnt++;
    VESK_LOG_AS(stepOf, DEBUG, " band=%d, ch=%d, pollCnt=%d, ctl=%d\n", idx, now.channel, pollCnt,
                radio.intfPollCtl);
    if (pollCnt < fullReadEvery && radio.intfPollCtl == 0)
        return now;
    VESK_LOG_AS(stepOf, DEBUG, " reset band=%d, pollCnt=%d, intfPollCtl=%d\n", idx, pollCnt,
                radio.intfPollCtl);
    RilkRadioDynParams dyn = {};
    rilk_getRadioDynParamters(name, &dyn);
    now.bw = dyn.bw;
    now.power = 0;
    rilk_getRadioTxpower(name, &now.power);
    pollCnt = 0;
    radio.intfPollCtl = 0;
    return now;
}

bool is_unchanged(const VeskRadioInfo &radio, const Reading &now)
{
    return now.channel == radio.curChannel && vesk_is_same_power(now.power, radio.txPower) &&
           now.bw == radio.curBw;
}

/** A new channel can bring a new bandwidth and mode, so they are read again; the power isn't. */
void store_change(VeskRadioInfo &radio, const Reading &now)
{
    flag_store(&radio.curChannel, now.channel); // scan threads read it, and the bandwidth
    radio.curFreq = vesk_utils_channel_to_freq(now.channel);
    RilkRadioDynParams dyn = {};
    rilk_getRadioDynParamters(radio.apIntf.radioIfname, &dyn);
    vesk_set_text(radio.bond, dyn.bond);
    vesk_set_text(radio.operatingStandards, dyn.operatingStandards);
    flag_store(&radio.curBw, dyn.bw);
    radio.txPower = now.power;
}

/** Takes the change over and announces it, with the scan standing still meanwhile. */
void publish_change(VeskRadioInfo &radio, const Reading &now)
{
    vesk_set_scan_status(0);
    VESK_LOG_AS(stepOf, INFO, " vesk_channel_change_handle curChannel=%d, pollCh=%d\n", radio.curChannel,
                now.channel);
    VeskChChange change = {};
    change.reason = foundByPoller;
    change.radioId = static_cast<uint8_t>(radio.actualBand);
    change.oldCh = static_cast<uint8_t>(radio.curChannel);
    change.oldBw = static_cast<uint8_t>(radio.curBw);
    vesk_util_strncpy(change.oldHwMode, radio.operatingStandards, sizeof change.oldHwMode);
    change.oldTxPower = radio.txPower;
    store_change(radio, now);
    change.newCh = static_cast<uint8_t>(radio.curChannel);
    change.newBw = static_cast<uint8_t>(radio.curBw);
    vesk_util_strncpy(change.newHwMode, radio.operatingStandards, sizeof change.newHwMode);
    change.newTxPower = radio.txPower;
    change.interfaceIndex = radio.actualBand;
    wdev_ch_change_event_process(&change, radio.apIntf.radioIfname);
    if (flag_load(&vesk_get_scan_info()->scanEnableCfg))
        vesk_set_scan_status(1);
}

/** A radio that is down isn't asked, and its count stands still. */
void poll_radio(int idx, VeskRadioInfo &radio)
{
    if (radio.status == 0) {
        VESK_LOG_AS(stepOf, DEBUG, " band=%d, radioInfo[band].state=%d continue\n", idx, radio.status);
        return;
    }
    const Reading now = read_radio(idx, radio);
    if (!is_unchanged(radio, now))
        publish_change(radio, now);
}

} // namespace

void vesk_start_channel_change_timer()
{
    VeskChChangePoll &poller = vesk_get_vesk_info()->chChange;
    VESK_LOG(INFO, " chEventEnable=%d, timeItv=%d\n", poller.chEventEnable, poller.timeItv);
    if (!poller.chEventEnable)
        return;
    poller.timer.cb = vesk_channel_change_handle;
    uloop_timeout_set(&poller.timer, vesk_timer_ms(poller.timeItv));
}

void vesk_stop_channel_change_timer()
{
    VeskChChangePoll &poller = vesk_get_vesk_info()->chChange;
    VESK_LOG(INFO, " chEventEnable=%d, timeItv=%d\n", poller.chEventEnable, poller.timeItv);
    if (poller.chEventEnable)
        uloop_timeout_cancel(&poller.timer);
}

// The handler doesn't look at the switch: the stop has to find it still on, or the chain would go on for
// ever.
void vesk_set_channel_change_timer_status(uint8_t status)
{
    VeskChChangePoll &poller = vesk_get_vesk_info()->chChange;
    VESK_LOG(INFO, " chEventEnable=%d, timeItv=%d\n", poller.chEventEnable, poller.timeItv);
    if (status == poller.chEventEnable) {
        VESK_LOG(INFO, " veskInfo->chChange.chEventEnable is same as status = %d\n", status);
        return;
    }
    vesk_stop_channel_change_timer();
    poller.chEventEnable = status ? 1 : 0;
    if (status)
        vesk_start_channel_change_timer();
}

void vesk_channel_change_handle(uloop_timeout *timer)
{
    const VeskChChangePoll &poller = vesk_get_vesk_info()->chChange;
    VESK_LOG(DEBUG, " chEventEnable=%d, timeItv=%d\r\n\n", poller.chEventEnable, poller.timeItv);
    for (int i = 0; i < VESK_RADIOS; i++)
        poll_radio(i, vesk_get_radio_info()[i]);
    if (timer != nullptr)
        uloop_timeout_set(timer, vesk_timer_ms(poller.timeItv));
}
