#include "platform/nl80211/iface.h"

#include <cerrno>
#include <cstring>

#include "platform/nl80211/log.h"
#include "platform/nl80211/netlink.h"
#include "platform/nl80211/places.h"

namespace radio
{

namespace
{

// The bus shows a name with ".v0" behind it in a field of 16 bytes, and cuts an inner one at its first point.
constexpr size_t longestName = 11;

Iface iface_of(const Attributes &answer)
{
    Iface iface = {};
    iface.index = attr_value<uint32_t>(answer[NL80211_ATTR_IFINDEX]);
    iface.wiphy = attr_value<int>(answer[NL80211_ATTR_WIPHY], -1);
    iface.type = attr_value<uint32_t>(answer[NL80211_ATTR_IFTYPE]);
    attr_text(answer[NL80211_ATTR_IFNAME], iface.name);
    const auto mac = attr_bytes(answer[NL80211_ATTR_MAC]);
    if (mac.size() >= sizeof iface.mac)
        memcpy(iface.mac, mac.data(), sizeof iface.mac);
    attr_text(answer[NL80211_ATTR_SSID], iface.ssid);
    iface.frequency = attr_value<uint32_t>(answer[NL80211_ATTR_WIPHY_FREQ]);
    iface.width = attr_value<int>(answer[NL80211_ATTR_CHANNEL_WIDTH], -1);
    iface.centre = attr_value<uint32_t>(answer[NL80211_ATTR_CENTER_FREQ1]);
    iface.hasPower = answer[NL80211_ATTR_WIPHY_TX_POWER_LEVEL] != nullptr;
    iface.power = attr_value<int32_t>(answer[NL80211_ATTR_WIPHY_TX_POWER_LEVEL]);
    return iface;
}

void add_iface(const Attributes &answer, List<Iface> &interfaces)
{
    const Iface iface = iface_of(answer);
    if (iface.index == 0 || iface.name[0] == '\0')
        return; // a wireless device without a network interface
    size_t at = interfaces.count;
    if (!list_add(interfaces, iface))
        return;
    for (; at > 0 && interfaces.items[at - 1].index > iface.index; at--)
        interfaces.items[at] = interfaces.items[at - 1];
    interfaces.items[at] = iface;
}

} // namespace

int iface_list(List<Iface> &interfaces)
{
    const Query query = { .command = NL80211_CMD_GET_INTERFACE, .dump = true };
    return netlink_read<List<Iface>>(query, add_iface, interfaces,
                                     [](List<Iface> &result) { result.count = 0; });
}

int iface_read(const char *name, Iface &iface)
{
    const Query query = { .command = NL80211_CMD_GET_INTERFACE, .ifindex = interface_index(name) };
    if (query.ifindex == 0)
        return -ENODEV;
    Iface found = {};
    const int status = netlink_read<Iface>(
        query, [](const Attributes &answer, Iface &result) { result = iface_of(answer); }, found,
        [](Iface &result) { result = {}; });
    if (status != 0)
        return status;
    if (found.index != query.ifindex)
        return -EIO;
    iface = found;
    return 0;
}

int iface_first_ap(int wiphy, Iface &iface)
{
    LocalList<Iface> interfaces;
    const int status = iface_list(interfaces);
    if (status != 0)
        return status;
    const Iface *chosen = nullptr;
    for (const Iface &each : interfaces) {
        if (each.wiphy == wiphy && iface_is_ap(each) && (!chosen || (!chosen->frequency && each.frequency)))
            chosen = &each;
    }
    if (!chosen)
        return -ENODEV;
    iface = *chosen;
    return 0;
}

bool iface_belongs_to(const Iface &iface, const Iface &accessPoint)
{
    return iface.index == accessPoint.index ||
           (iface.type == NL80211_IFTYPE_AP_VLAN && iface.wiphy == accessPoint.wiphy &&
            memcmp(iface.mac, accessPoint.mac, sizeof iface.mac) == 0);
}

bool iface_is_ap(const Iface &iface)
{
    return iface.type == NL80211_IFTYPE_AP;
}

bool iface_is_usable(const char *name)
{
    if (strlen(name) <= longestName && !strchr(name, '.'))
        return true;
    log_once(levelError, "%s: left out, a name has at most %zu characters and no point", name, longestName);
    return false;
}

} // namespace radio
