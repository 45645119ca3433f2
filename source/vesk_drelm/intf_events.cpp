// What the daemon finds out about its interfaces by itself. No driver event leads here: the VAP refresh and
// an inbound signal call these publishers. A leaf: names, log and the signal sender are all it knows.
#include "source/vesk_drelm/drelm_private.h"

#include <cstdio>

#include "source/vesk_main/log.h"

namespace
{

template <class Record>
int publish_change(const char *signal, Record *change, uint8_t Record::*value, const char *ifName,
                   VeskLogSite caller = VESK_CALLER)
{
    if (is_missing(change, caller))
        return -1;
    put_outer_name(change->ifName, ifName);
    send_record(signal, change);
    fprintf(stderr, "Ubus send successfully [%s] [%s] [%d]\r\n", signal, change->ifName, change->*value);
    return 0;
}

} // namespace

int wdev_intf_change_event_process(VeskIfStatus *record, const char *ifName)
{
    fputs("Enter wdev_intf_change_event_process\r\n", stderr);
    return publish_change(VESK_SIGNAL_IF_STATUS, record, &VeskIfStatus::status, ifName);
}

int wdev_vap_attr_change_event_process(VeskVapAttr *record, const char *ifName)
{
    fputs("Enter wdev_vap_attr_change_event_process\r\n", stderr);
    return publish_change(VESK_SIGNAL_VAP_ATTR, record, &VeskVapAttr::attribute, ifName);
}

int wdev_ieee1905_vlan_intf_change_event_process(void *record)
{
    merkaSendSignal(nullptr, VESK_SIGNAL_1905_VLAN_IF, record, VESK_1905_VLAN_IF_SIZE);
    VESK_LOG(INFO, " send %s event success\n\n", VESK_SIGNAL_1905_VLAN_IF);
    return 0;
}
