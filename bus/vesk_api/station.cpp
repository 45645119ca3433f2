// Station methods: the snapshot of a VAP's stations out of the station store, the unassociated station
// monitor, and two commands that are passed to the driver.
#include "bus/vesk_api/vesk_api.h"

#include <cstring>

#include "bus/vesk_api/api_private.h"
#include "foundation/vesk_utils.h"
#include "source/vesk_interface/vesk_interface.h"
#include "source/vesk_main/records.h"
#include "source/vesk_station/vesk_station.h"

namespace
{
/** A signal level as the bus shows it: -119 to -1 dBm stand, anything else is unknown. */
constexpr int32_t valid_level(int32_t dbm)
{
    return static_cast<uint32_t>(dbm) + 119u < 119u ? dbm : 0;
}
static_assert(valid_level(-119) == -119 && valid_level(-1) == -1);
static_assert(valid_level(-120) == 0 && valid_level(0) == 0 && valid_level(5) == 0);

void fill_station(WireStation *to, const VeskStaEntry *from)
{
    memcpy(to->mac, from->mac, sizeof to->mac);
    to->rssi = valid_level(from->rssi);
    to->value1 = from->value1;
    to->value2 = valid_level(from->value2);
    to->isBhInt = from->isBhInt;
    to->value3 = from->value3;
    to->value4 = from->value4;
    to->tx = from->tx;
    to->rx = from->rx;
    to->time = from->time;
    to->is11v = from->is11v;
    to->is11k = from->is11k;
    to->value5 = from->value6;
    memcpy(to->text1, from->text1, sizeof to->text1);
    memcpy(to->text2, from->text2, sizeof to->text2);
    memcpy(to->vapIntf, from->vapIntf, sizeof to->vapIntf);
    to->bw = from->bw;
    api_copy_stats(&to->stats, &from->stats);
}

/** Visitor of the station store: adds the station to the record if it is on the record's VAP. */
void vesk_copyStaInfo(void *value, void *record)
{
    const auto *entry = static_cast<const VeskStaEntry *>(value);
    auto *info = static_cast<WireStaInfo *>(record);
    if (!entry || !info)
        return;
    const int idx = info->count;
    if (idx >= VESK_WIRE_STATIONS) {
        VESK_LOG(ERROR, " Out range sta idx!\n");
        return;
    }
    VESK_LOG(DEBUG, " vesk_copy_staInfo idx=[%d], pSta->vapIntf=[%s], pStaDb->vapIntf=[%s]\n", idx,
             info->vapIntf, entry->vapIntf);
    if (mac_is_zero(entry->mac)) {
        VESK_LOG(ERROR, " MAC is zero, idx=%d, vapName=%s\r\n\n", idx, entry->vapIntf);
        return;
    }
    if (strcmp(entry->vapIntf, info->vapIntf) == 0) {
        info->count = idx + 1;
        fill_station(&info->stations[idx], entry);
    }
    VESK_LOG(DEBUG, " mac is [%02x:%02x:%02x:%02x:%02x:%02x], rssi=%d, time=%d, vapname=%s tx=%d, rx=%d\n",
             VESK_MAC_ARGS(entry->mac), entry->rssi, static_cast<int>(entry->time), entry->vapIntf, entry->tx,
             entry->rx);
}
} // namespace

int vesk_getStaInfo(const char *vapName, WireStaInfo *staInfo)
{
    VeskStaInfo *store = vesk_get_sta_info();
    if (api_is_null(vapName) || api_is_null(staInfo))
        return -1;
    const ApiName inner = api_inner_name(vapName);
    memset(staInfo, 0, sizeof *staInfo);
    if (vesk_is_bsta_intf(inner.text))
        return 0;
    vesk_util_strncpy(staInfo->vapIntf, inner.text, sizeof staInfo->vapIntf); // the filter of the walk
    kvhmgr_traverse(&store->staDb, vesk_copyStaInfo, staInfo);

    memset(staInfo->vapIntf, 0, sizeof staInfo->vapIntf);
    vesk_util_strncpy(staInfo->vapIntf, vapName, sizeof staInfo->vapIntf);
    for (int i = 0; i < staInfo->count; i++)
        memcpy(staInfo->stations[i].vapIntf, staInfo->vapIntf, sizeof staInfo->vapIntf);
    return 0;
}

int vesk_getLinkMetrics(const char *, const char *, WireLinkMetrics *)
{
    return 0;
}

int vesk_setStaMon(const WireStaMon *monStaInfo)
{
    if (!monStaInfo)
        return -1;
    switch (monStaInfo->operation) {
    case 0:
        return vesk_sta_mon_set(monStaInfo->mac, monStaInfo->channel);
    case 1:
        return vesk_sta_mon_remove(monStaInfo->mac, monStaInfo->channel);
    default:
        return -1;
    }
}

int vesk_setBlockClient(const char *vapName, const WireAclMac *aclMac)
{
    RilkAclMac acl = {};
    memcpy(acl.mac, aclMac->mac, sizeof acl.mac);
    if (aclMac->operation > 1)
        return -1;
    acl.operation = static_cast<uint8_t>(aclMac->operation);
    VESK_LOG(DEBUG, " acl mac[%02x:%02x:%02x:%02x:%02x:%02x]\n", VESK_MAC_ARGS(acl.mac));
    const ApiName inner = api_inner_name(vapName); // stays empty without a name
    rilk_setVapAclMac(inner.text, &acl);
    return 0;
}

int vesk_disassocSta(const char *vapName, const char *mac)
{
    if (!vapName || !mac) {
        VESK_LOG(ERROR, " vapName or station mac is NULL\n");
        return 0;
    }
    const ApiName inner = api_inner_name(vapName);
    rilk_disConnectSta(inner.text, mac);
    return 0;
}
