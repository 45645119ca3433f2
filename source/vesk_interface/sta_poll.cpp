// The station poll: a snapshot of all associated stations, rebuilt from the driver each time. Under load it
// gives up before the first per-station call and the snapshot stays as it was.
#include <cstring>

#include "foundation/clamp.h"
#include "foundation/kvhmgr.h"
#include "foundation/vesk_utils.h"
#include "include/rilk.h"
#include "source/vesk_interface/interface_private.h"
#include "source/vesk_main/log.h"
#include "source/vesk_main/records.h"
#include "source/vesk_station/vesk_station.h"

namespace
{

constexpr char stepOf[] = "vesk_update_sta_info"; // the steps below log under the poll's name
/** Whether both radios' channels are quiet enough; the first that isn't ends the look. */
bool is_load_low(uint32_t threshold)
{
    for (int i = 0; i < VESK_RADIOS; i++) {
        VeskCurChannelInfo info = {};
        rilk_getCurChannelInfo(vesk_get_radio_info()[i].apIntf.radioIfname, &info);
        const int util = static_cast<int>(info.ccaTxUtil);
        const int ibss = static_cast<int>(info.ccaInbss);
        VESK_LOG_AS(stepOf, DEBUG, " band=%d, channelUtil=%d, ibss=%d\n", i, util, ibss);
        if (info.ccaTxUtil < threshold && info.ccaInbss < threshold)
            continue;
        VESK_LOG_AS(stepOf, INFO,
                    " band [%d] channelUtil=%d, ibss=%d, ccaTxUtil or ibss is out range, exit...\n", i, util,
                    ibss);
        return false;
    }
    return true;
}

/** The bandwidth is the daemon's own knowledge: that of the radio whose VAP the station names. */
void fill_bandwidth(VeskStaEntry &entry)
{
    const int vapIdx = vesk_getVapIdxByName(entry.vapIntf);
    if (vapIdx < 0)
        return;
    const int band = vesk_get_vap_info()[vapIdx].band;
    if (band >= 0 && band < VESK_RADIOS)
        entry.bw = vesk_get_radio_info()[band].curBw;
}

/** A station that the store doesn't know keeps what the driver says. */
void fill_capabilities(VeskStaEntry &entry, const uint8_t *mac)
{
    uint8_t cap[3] = {};
    if (vesk_get_sta_cap(mac, cap) != 0)
        return;
    entry.is11v = (cap[0] >> 7) & 1;
    entry.is11k = cap[1] & 1;
}

/** Makes way for an entry whose station is already in the store; false if the stored one is older and stays.
 */
bool replaces_duplicate(Kvhmgr *db, const VeskStaEntry &entry)
{
    const auto *stored = static_cast<const VeskStaEntry *>(kvhmgr_get(db, &entry));
    if (stored == nullptr)
        return true;
    VESK_LOG_AS(stepOf, DEBUG, " found the same station, mac is [%02x:%02x:%02x:%02x:%02x:%02x]\n",
                VESK_MAC_ARGS(stored->mac));
    if (stored->time < entry.time)
        return false;
    VESK_LOG_AS(stepOf, INFO, " update the new station to db\n");
    kvhmgr_delete(db, &entry);
    return true;
}

/** The store is never asked for a node that it hasn't got; the first station left out is reported. */
void store_station(Kvhmgr *db, const VeskStaEntry &entry, bool &overflow)
{
    if (!replaces_duplicate(db, entry))
        return;
    if (db->freeCount > 0) {
        kvhmgr_set(db, &entry, sizeof entry);
        return;
    }
    if (!overflow)
        VESK_LOG_AS(stepOf, ERROR, " station store is full, max count is [%d]\n", db->maxCount);
    overflow = true;
}

void poll_station(int vapIdx, int position, bool isBh, bool &overflow)
{
    const char *ifName = vesk_get_vap_info()[vapIdx].ifName;
    uint8_t mac[6] = {};
    VeskStaEntry entry = {};
    rilk_getVapAssocStationMac(ifName, position, mac);
    rilk_getVapAssocStationInfo(ifName, mac, &entry);
    entry.vapIntf[sizeof entry.vapIntf - 1] = '\0';
    fill_bandwidth(entry);
    if (mac_is_zero(mac)) {
        VESK_LOG_AS(stepOf, ERROR, " MAC is zero, vapIdx=%d, vapName=%s\r\n\n", vapIdx, ifName);
        return;
    }
    fill_capabilities(entry, mac);
    entry.isBhInt = isBh;
    store_station(&vesk_get_sta_info()->staDb, entry, overflow);
}

void poll_vap(int vapIdx, bool &overflow)
{
    VeskVapInfo &vap = vesk_get_vap_info()[vapIdx];
    VESK_LOG_AS(stepOf, DEBUG, " vapIdx=%d, vapName=%s\r\n\n", vapIdx, vap.ifName);
    const bool isBh = vap.vapAttr == VESK_VAP_BBSS;
    rilk_getVapAssocStationNumber(vap.ifName, &vap.staNums);
    vap.staNums = vesk_clamp_count(vap.staNums, VESK_STATIONS);
    VESK_LOG_AS(stepOf, DEBUG, " vapIdx=%d, vapName=%s, nums=%d\r\n\n", vapIdx, vap.ifName, vap.staNums);
    for (int position = 1; position <= vap.staNums; position++)
        poll_station(vapIdx, position, isBh, overflow);
}

void vesk_show_object(void *value, void *)
{
    if (value == nullptr)
        return;
    const auto *entry = static_cast<const VeskStaEntry *>(value);
    VESK_LOG(INFO, " mac is [%02x:%02x:%02x:%02x:%02x:%02x], rssi=%d, time=%d, vapname=%s tx=%d, rx=%d\r\n\n",
             VESK_MAC_ARGS(entry->mac), entry->rssi, static_cast<int>(entry->time), entry->vapIntf, entry->tx,
             entry->rx);
}

/** `found` is an int: 1 once a fronthaul station has been seen. */
void vesk_check_object(void *value, void *found)
{
    if (value == nullptr)
        return;
    const auto *entry = static_cast<const VeskStaEntry *>(value);
    VESK_LOG(DEBUG, " mac is [%02x:%02x:%02x:%02x:%02x:%02x], rssi=%d, time=%d, vapname=%s, isBhInt=%d\n",
             VESK_MAC_ARGS(entry->mac), entry->rssi, static_cast<int>(entry->time), entry->vapIntf,
             entry->isBhInt);
    if (entry->isBhInt == 0)
        *static_cast<int *>(found) = 1;
}

void vesk_update_sta_info()
{
    VeskStaInfo *staInfo = vesk_get_sta_info();
    VESK_LOG(DEBUG, " staInfo->isStaPollEnabled=%d, timeId=%d, timeItv=%d, timeEventId=%d\n",
             staInfo->isStaPollEnabled, staInfo->timeId, staInfo->timeItv, staInfo->timeEventId);
    if (!is_load_low(static_cast<uint32_t>(staInfo->threshold)))
        return;
    Kvhmgr *db = &staInfo->staDb;
    kvhmgr_obj_clear(db);
    bool overflow = false;
    for (int i = 0; i < VESK_VAPS; i++)
        if (vesk_is_active_ap_interface(&vesk_get_vap_info()[i]))
            poll_vap(i, overflow);
    kvhmgr_traverse(db, vesk_show_object, nullptr);
    VESK_LOG(DEBUG, " max count is [%d], free count is [%d], used count is [%d]\n", db->maxCount,
             db->freeCount, kvhlist_count(&db->list));
}

} // namespace

// One chain for all: a traversal shows the station stored last first.
int vesk_sta_hash(const void *)
{
    return 0;
}

int vesk_sta_mac_cmp(Kvhmgr *, const void *entry, const void *key)
{
    return memcmp(entry, key, sizeof VeskStaEntry::mac);
}

void vesk_start_sta_timer()
{
    VeskStaInfo *staInfo = vesk_get_sta_info();
    VESK_LOG(INFO, " isStaPollEnabled=%d, itv=%d\n", staInfo->isStaPollEnabled, staInfo->timeItv);
    if (!staInfo->isStaPollEnabled) {
        VESK_LOG(INFO, " Sta metric polling not enabled ----exit\n");
        return;
    }
    staInfo->staTimer.cb = vesk_update_sta_ubus_handle;
    uloop_timeout_set(&staInfo->staTimer, vesk_timer_ms(staInfo->timeItv));
}

void vesk_stop_sta_timer()
{
    VeskStaInfo *staInfo = vesk_get_sta_info();
    VESK_LOG(INFO, " isStaPollEnabled=%d, itv=%d\n", staInfo->isStaPollEnabled, staInfo->timeItv);
    uloop_timeout_cancel(&staInfo->staTimer);
}

void vesk_retrigger_sta_timer(int ms)
{
    VESK_LOG(INFO, " vesk_retrigger_sta_timer interval = %d ms\n", ms);
    vesk_stop_sta_timer();
    uloop_timeout &timer = vesk_get_sta_info()->staTimer;
    timer.cb = vesk_update_sta_ubus_handle;
    uloop_timeout_set(&timer, ms);
}

// The same status restarts the interval.
void vesk_set_sta_timer_status(uint8_t status)
{
    VeskStaInfo *staInfo = vesk_get_sta_info();
    VESK_LOG(INFO, " vesk_set_sta_timer_status, status=%d, isStaPollEnabled=%d, itv=%d\n", status,
             staInfo->isStaPollEnabled, staInfo->timeItv);
    vesk_stop_sta_timer();
    staInfo->isStaPollEnabled = status;
    if (status)
        vesk_start_sta_timer();
}

void vesk_update_sta_ubus_handle(uloop_timeout *timer)
{
    const VeskStaInfo *staInfo = vesk_get_sta_info();
    VESK_LOG(INFO, " isStaPollEnabled=%d, itv=%d\n", staInfo->isStaPollEnabled, staInfo->timeItv);
    if (!staInfo->isStaPollEnabled) {
        VESK_LOG(INFO, " Sta metric polling not enabled ----exit\n");
        return;
    }
    vesk_update_sta_info();
    if (timer != nullptr)
        uloop_timeout_set(timer, vesk_timer_ms(staInfo->timeItv));
}

int vesk_is_connected_fronthaul_station()
{
    Kvhmgr *db = &vesk_get_sta_info()->staDb;
    if (kvhlist_count(&db->list) == 0)
        return 0;
    int found = 0;
    kvhmgr_traverse(db, vesk_check_object, &found);
    return found > 0 ? 1 : 0;
}
