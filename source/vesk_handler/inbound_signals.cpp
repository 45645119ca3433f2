// The run-time switches of the daemon, as bus signals. A handler logs what arrived, refuses a missing or
// short payload without changing anything, and calls the module concerned.
#include "source/vesk_handler/vesk_handler.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <string_view>

#include "foundation/bytes.h"
#include "include/vesk_event.h"
#include "source/vesk_drelm/vesk_drelm.h"
#include "source/vesk_interface/vesk_interface.h"
#include "source/vesk_main/log.h"
#include "source/vesk_main/records.h"
#include "source/vesk_main/vesk_main.h"
#include "source/vesk_scan/vesk_scan.h"

namespace
{

const char *text_or_empty(const char *text)
{
    return text != nullptr ? text : "";
}

void log_arrival(const char *interface, const char *signal, int size, VeskLogSite caller = VESK_CALLER)
{
    VESK_LOG_AS(caller, INFO, " interface=%s, signal=%s size=%d\n", text_or_empty(interface),
                text_or_empty(signal), size);
}

bool has_payload(const void *payload, VeskLogSite caller = VESK_CALLER)
{
    if (payload == nullptr)
        VESK_LOG_AS(caller, ERROR, " Bus buf is NULL\n\n");
    return payload != nullptr;
}

void log_mismatch(int size, int expected, VeskLogSite caller = VESK_CALLER)
{
    VESK_LOG_AS(caller, ERROR, " Size = %d sizeof = %d, parameter mismatched\n\n", size, expected);
}

/** The payload of the two log signals; nothing else has an exact size. */
bool read_log_setting(const void *payload, int size, WireLogSetting *setting,
                      VeskLogSite caller = VESK_CALLER)
{
    if (!has_payload(payload, caller))
        return false;
    if (size != static_cast<int>(sizeof *setting)) {
        log_mismatch(size, sizeof *setting, caller);
        return false;
    }
    memcpy(setting, payload, sizeof *setting);
    return true;
}

/** Common start of the switches: logs the arrival and reads the word at the start of the payload. */
bool read_value(const char *interface, const char *signal, const void *payload, int size, int32_t *value,
                VeskLogSite caller = VESK_CALLER)
{
    log_arrival(interface, signal, size, caller);
    if (!has_payload(payload, caller))
        return false;
    if (size < static_cast<int>(sizeof *value)) {
        log_mismatch(size, sizeof *value, caller);
        return false;
    }
    *value = load_bytes<int32_t>(payload);
    return true;
}

constexpr bool means_on(int32_t value)
{
    return value >= 1;
}

void set_own_level(int level)
{
    vesk_log_set_level(level);
    fprintf(stderr, "vesk.log vesk_setLogLevelSignal level=[%d]\r\n", level);
}

void set_library_level(int level)
{
    rilk_update_debuglevel(level);
    fprintf(stderr, "rilk_update_debuglevel vesk_setLogLevelSignal level=[%d]\r\n", level);
}

void set_full_output()
{
    vesk_log_set_level(VESK_LEVEL_DEBUG);
    vesk_log_use_stderr();
    rilk_update_debuglevel(VESK_LEVEL_DEBUG);
    fprintf(stderr, "vesk.log vesk_setLogLevelSignal level=[%d]\r\n", VESK_LEVEL_DEBUG);
}

void vesk_setLogLevelSignal(const char *interface, const char *signal, void *payload, int size)
{
    VESK_LOG(INFO, " vesk_setLogLevelSignal interface=%s, signal=%s size=%d\n", text_or_empty(interface),
             text_or_empty(signal), size);
    WireLogSetting setting;
    if (!read_log_setting(payload, size, &setting))
        return;
    const auto level = static_cast<int32_t>(setting.level); // beyond 0..99 either sign is refused alike
    if (level >= 0 && level <= 7)
        set_own_level(level);
    else if (level >= 9 && level <= 16)
        set_library_level(level - 9);
    else if (level == 99)
        set_full_output();
    else
        VESK_LOG(ERROR, " vesk_setLogLevelSignal level=[%d] is out range\n", level);
}

void vesk_setLogDestinationSignal(const char *interface, const char *signal, void *payload, int size)
{
    VESK_LOG(INFO, " vesk_setLogDestinationSignal interface=%s, signal=%s size=%d\n",
             text_or_empty(interface), text_or_empty(signal), size);
    WireLogSetting setting;
    if (!read_log_setting(payload, size, &setting))
        return;
    setting.destination[sizeof setting.destination - 1] = '\0';
    if (strcmp(setting.destination, "stderr") == 0) {
        vesk_log_redirect(nullptr);
        VESK_LOG(INFO, VESK_TEXT_LOG_TO_STDERR, "stderr", vesk_get_vesk_info()->logLevel);
        return;
    }
    vesk_log_redirect(setting.destination);
    VESK_LOG(INFO, VESK_TEXT_LOG_TO_FILE, setting.destination);
}

void vesk_setScanEnableSignal(const char *interface, const char *signal, void *payload, int size)
{
    int32_t value;
    if (!read_value(interface, signal, payload, size, &value))
        return;
    VESK_LOG(INFO, VESK_TEXT_SET_SCANNING, value);
    const uint32_t scan = means_on(value);
    vesk_set_bsta_auto_status(!scan); // auto-connect and scanning exclude each other
    vesk_set_scan_status(scan);
}

void vesk_notifyWlanChange(const char *interface, const char *signal, void *payload, int size)
{
    log_arrival(interface, signal, size);
    if (!has_payload(payload))
        return;
    VeskRadioInfo *radio = vesk_get_radio_info();
    if (radio->intfSupportTrigger == 0)
        radio->intfSupportTrigger = 1;
    VESK_LOG(INFO, " radioInfo[0].intfTriggerItv = %d, radioInfo[0].intfSupportTrigger = %d\n",
             radio->intfTriggerItv, radio->intfSupportTrigger);
    vesk_retrigger_intf_timer(radio->intfTriggerItv);
    vesk_update_intf_mapping();
}

void vesk_setIntfStatEnableSignal(const char *interface, const char *signal, void *payload, int size)
{
    int32_t value;
    if (!read_value(interface, signal, payload, size, &value))
        return;
    VESK_LOG(INFO, VESK_TEXT_SET_STATISTICS, value);
    vesk_set_intf_stat_status(means_on(value));
}

void vesk_setStaEnableSignal(const char *interface, const char *signal, void *payload, int size)
{
    int32_t value;
    if (!read_value(interface, signal, payload, size, &value))
        return;
    VESK_LOG(INFO, VESK_TEXT_SET_STATIONS, value);
    vesk_set_sta_timer_status(means_on(value));
}

void vesk_setChannelChangeEnableSignal(const char *interface, const char *signal, void *payload, int size)
{
    int32_t value;
    if (!read_value(interface, signal, payload, size, &value))
        return;
    VESK_LOG(INFO, VESK_TEXT_SET_CHANNELS, value);
    vesk_set_channel_change_timer_status(means_on(value));
}

void vesk_setUbusObjSignal(const char *interface, const char *signal, void *payload, int size)
{
    int32_t value;
    if (!read_value(interface, signal, payload, size, &value))
        return;
    VESK_LOG(INFO, VESK_TEXT_SET_OBJECT, value);
    if (means_on(value))
        vesk_add_ubus_obj();
    else
        vesk_remove_ubus_obj();
}

void vesk_notifyIEEE1905VlanInftChange(const char *interface, const char *signal, void *payload, int size)
{
    log_arrival(interface, signal, size);
    if (!has_payload(payload))
        return;
    if (size < VESK_1905_VLAN_IF_SIZE) {
        log_mismatch(size, VESK_1905_VLAN_IF_SIZE);
        return;
    }
    wdev_ieee1905_vlan_intf_change_event_process(payload);
}

// --- the table ---

struct Inbound {
    const char *signal; // full name
    merka_signal_handler handler;
};

constexpr Inbound inbound[] = {
    { VESK_SIGNAL_SET_LOG_LEVEL, vesk_setLogLevelSignal },
    { VESK_SIGNAL_SET_LOG_DESTINATION, vesk_setLogDestinationSignal },
    { VESK_SIGNAL_SET_SCAN_ENABLE, vesk_setScanEnableSignal },
    { VESK_SIGNAL_NOTIFY_WLAN_CHANGE, vesk_notifyWlanChange },
    { VESK_SIGNAL_SET_INTF_STAT_ENABLE, vesk_setIntfStatEnableSignal },
    { VESK_SIGNAL_SET_STA_ENABLE, vesk_setStaEnableSignal },
    { VESK_SIGNAL_SET_CHANNEL_CHANGE_ENABLE, vesk_setChannelChangeEnableSignal },
    { VESK_SIGNAL_SET_UBUS_OBJ, vesk_setUbusObjSignal },
    { VESK_SIGNAL_NOTIFY_1905_VLAN_IF, vesk_notifyIEEE1905VlanInftChange },
};

/** The same for the bus client library, a name taken apart at its last point. */
constexpr auto rows = [] {
    std::array<MerkaSignalRow, std::size(inbound)> all{};
    for (uint32_t i = 0; i < all.size(); i++) {
        const std::string_view name = inbound[i].signal;
        const size_t point = name.rfind('.');
        name.copy(all[i].interface, point);
        name.copy(all[i].signal, sizeof all[i].signal - 1, point + 1);
        all[i].handler = inbound[i].handler;
        all[i].index = i;
    }
    return all;
}();

} // namespace

std::span<const MerkaSignalRow> vesk_inbound_signals()
{
    return rows;
}

void register_vesk_signal()
{
    for (const Inbound &row : inbound)
        merkaAddInterestedSignal(row.signal);
    merkaSetInteresetedSignals(rows.data(), static_cast<int32_t>(rows.size()));
}
