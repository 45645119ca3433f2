#include "platform/nl80211/bss.h"

#include <cstring>

#include "platform/nl80211/element.h"
#include "platform/nl80211/netlink.h"

namespace radio
{

namespace
{

void add_bss(const Attributes &answer, List<Bss> &networks)
{
    nlattr *values[NL80211_BSS_MAX + 1];
    attr_nested(answer[NL80211_ATTR_BSS], values);
    const Bytes bssid = attr_bytes(values[NL80211_BSS_BSSID]);
    Bss bss = {};
    if (bssid.size() < sizeof bss.bssid)
        return;
    memcpy(bss.bssid, bssid.data(), sizeof bss.bssid);
    bss.frequency = attr_value<uint32_t>(values[NL80211_BSS_FREQUENCY]);
    bss.age = attr_value<uint32_t>(values[NL80211_BSS_SEEN_MS_AGO]);
    bss.rssi = attr_value<int32_t>(values[NL80211_BSS_SIGNAL_MBM]) / 100;
    bss.capability = attr_value<uint16_t>(values[NL80211_BSS_CAPABILITY]);
    const Bytes elements = attr_bytes(values[NL80211_BSS_INFORMATION_ELEMENTS]);
    bss.width = element_width(elements);
    bss.phy = element_phy(elements);
    element_ssid(elements, bss.ssid);
    element_security(elements, bss.capability, bss.security);
    list_add(networks, bss);
}

} // namespace

int bss_list(uint32_t ifindex, List<Bss> &networks)
{
    const Query query = {
        .command = NL80211_CMD_GET_SCAN, .dump = true, .ifindex = ifindex, .sameGeneration = true
    };
    return netlink_read<List<Bss>>(query, add_bss, networks, [](List<Bss> &result) { result.count = 0; });
}

} // namespace radio
