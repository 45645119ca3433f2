// Events of a radio, passed on byte for byte: their bodies carry no interface name and the datagram's is not
// used. Only the unsafe channel handler keeps state, and only it may hold a signal back. The channel change
// poller publishes through here as well. A leaf: log and the signal sender are all it knows.
#include "source/vesk_drelm/drelm_private.h"

#include <cstring>

#include "source/vesk_main/log.h"
#include "source/vesk_main/records.h"

namespace
{

/** A hardware mode as text for the log: its field may lack the terminator. */
struct HwMode {
    char text[sizeof(VeskChChange::oldHwMode) + 1];
};

HwMode hw_mode(const char (&field)[sizeof(VeskChChange::oldHwMode)])
{
    HwMode mode = {};
    memcpy(mode.text, field, sizeof field);
    return mode;
}

/** Passed CAC and radar: bodies that are agreed between sender and receivers and not read here. */
int forward_unread(const char *signal, const void *body, VeskLogSite caller = VESK_CALLER)
{
    if (is_missing(body, caller))
        return -1;
    send_record(signal, static_cast<const VeskRadarEvent *>(body));
    return 0;
}

} // namespace

int wdev_ch_change_event_process(void *body, const char *)
{
    if (is_missing(body))
        return -1;
    const auto *event = static_cast<const VeskChChange *>(body);
    VESK_LOG(INFO, " reason=%d, radioId=%d, oldCh=%d, oldBw=%d, oldOpClass=%d, oldHwMode=%s, oldTxPower=%f\n",
             event->reason, event->radioId, event->oldCh, event->oldBw, event->oldOpClass,
             hw_mode(event->oldHwMode).text, static_cast<double>(event->oldTxPower));
    VESK_LOG(INFO, " newCh=%d, newBw=%d, newOpClass=%d, newHwMode=%s, newTxPower=%f, interfaceIndex=%d\n",
             event->newCh, event->newBw, event->newOpClass, hw_mode(event->newHwMode).text,
             static_cast<double>(event->newTxPower), event->interfaceIndex);
    send_record(VESK_SIGNAL_CH_CHANGE, event);
    return 0;
}

int wdev_ch_passed_cac_event_process(void *body, const char *)
{
    return forward_unread(VESK_SIGNAL_CH_PASS_CAC, body);
}

int wdev_radar_notif_process(void *body, const char *)
{
    return forward_unread(VESK_SIGNAL_RADAR_NOTIF, body);
}

int wdev_unsafe_channel_event_process(void *body, const char *)
{
    if (is_missing(body))
        return -1;
    const auto *event = static_cast<const VeskUnsafeChannel *>(body);
    uint32_t(&stored)[3] = vesk_get_vesk_info()->chBitmap;
    bool changed = false;
    for (int i = 0; i < 3; i++) {
        const uint32_t word = event->ch_bitmap[i];
        if (word == stored[i])
            continue;
        VESK_LOG(INFO, " ch_bitmap[%d] changed from [%x] to [%x] \n\n", i, stored[i], word);
        stored[i] = word;
        changed = true;
    }
    if (!changed) {
        VESK_LOG(INFO, " unsafe channel not change, don't send Signal!\n\n");
        return 0;
    }
    send_record(VESK_SIGNAL_UNSAFE_CHANNEL, event);
    VESK_LOG(INFO, " updated ch_bitmap: 2.4G %x, 5G:%x-%x \n\n", stored[0], stored[1], stored[2]);
    VESK_LOG(INFO, VESK_TEXT_SENT, VESK_SIGNAL_UNSAFE_CHANNEL);
    return 0;
}
