#include "platform/nl80211/vlan.h"

#include <cstring>
#include <iterator>

#include <fcntl.h>
#include <linux/nl80211.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/nl80211/log.h"
#include "platform/nl80211/netlink_bridge.h"
#include "platform/nl80211/places.h"
#include "platform/nl80211/text.h"

namespace radio
{

namespace
{

constexpr uint16_t lastVid = 4094;

/** What an access point was given. */
struct Wish {
    char ifName[16]; // "": a free place
    uint16_t vid;
};

/** A port that was set. It has another inode when it leaves the bridge and comes back. */
struct Told {
    ino_t port;
    uint16_t vid;
};

// The daemon's loop alone is here.
Wish wishes[16];
Told told[64]; // the oldest goes first
size_t toldNext;

/** 0: no port of a bridge. */
ino_t port_of(const char *ifName)
{
    Path path;
    struct stat found;
    return place(path, "/sys/class/net/%s/brport", ifName) && stat(path, &found) == 0 ? found.st_ino : 0;
}

int64_t bridge_number(const char *ifName, const char *what)
{
    Path path;
    return place(path, "/sys/class/net/%s/brport/bridge/bridge/%s", ifName, what) ? read_number(path, -1)
                                                                                  : -1;
}

/** NULL if the port wasn't set. */
const Told *find_told(ino_t port)
{
    for (const Told &each : told) {
        if (port != 0 && each.port == port)
            return &each;
    }
    return nullptr;
}

void note_told(ino_t port, uint16_t vid)
{
    for (Told &each : told) {
        if (each.port == port) {
            each.vid = vid;
            return;
        }
    }
    told[toldNext++ % std::size(told)] = { port, vid };
}

/** The VLAN before it goes: its frames would leave the port untagged, too. */
int set_port(const Iface &iface, uint16_t wanted)
{
    const ino_t port = port_of(iface.name);
    const int64_t own = bridge_number(iface.name, "default_pvid");
    const auto vid = wanted != 0 ? wanted : static_cast<uint16_t>(own);
    const Told *before = find_told(port);
    const int64_t old = before && before->vid != 0 ? before->vid : own;
    if (bridge_number(iface.name, "vlan_filtering") != 1 || own < 0 || vid == 0)
        return log_refusal("%s: no default VLAN: it isn't in a bridge with vlan_filtering", iface.name);
    if (netlink_vlan_set(iface.index, vid) != 0)
        return log_refusal("%s: no default VLAN: the kernel refused %d", iface.name, vid);
    if (old > 0 && old != vid)
        netlink_vlan_remove(iface.index, static_cast<uint16_t>(old));
    log_line(levelNotice, "%s: untagged frames belong to VLAN %d", iface.name, vid);
    return 0;
}

const Iface *find_access_point(const List<Iface> &interfaces, const char *ifName)
{
    for (const Iface &iface : interfaces) {
        if (iface_is_ap(iface) && strcmp(iface.name, ifName) == 0)
            return &iface;
    }
    return nullptr;
}

/** Sets an access point's ports, or only those that are new; of these a failure is final. 0 or -1. */
int set_ports(const List<Iface> &interfaces, const Iface &accessPoint, uint16_t vid, bool onlyNew)
{
    int status = 0;
    for (const Iface &iface : interfaces) {
        const ino_t port = port_of(iface.name);
        const Told *before = find_told(port);
        if (port == 0 || !iface_belongs_to(iface, accessPoint) || (onlyNew && before && before->vid == vid))
            continue;
        const int result = set_port(iface, vid);
        status |= result;
        if (result == 0 || onlyNew)
            note_told(port, vid);
    }
    return status;
}

void note_wish(const char *ifName, uint16_t vid)
{
    Wish *place = nullptr;
    for (Wish &wish : wishes) {
        if (strcmp(wish.ifName, ifName) == 0 || (!place && wish.ifName[0] == '\0'))
            place = &wish;
    }
    if (!place)
        return;
    put_text(place->ifName, ifName);
    place->vid = vid;
}

bool write_one(const char *path)
{
    const int fd = open(path, O_WRONLY | O_CLOEXEC);
    const bool written = fd >= 0 && write(fd, "1", 1) == 1;
    if (fd >= 0)
        close(fd);
    return written;
}

} // namespace

int vlan_set(const char *ifName, uint16_t vid)
{
    LocalList<Iface> interfaces;
    const Iface *accessPoint =
        is_name(ifName) && iface_list(interfaces) == 0 ? find_access_point(interfaces, ifName) : nullptr;
    if (!accessPoint || vid > lastVid)
        return log_refusal("no default VLAN %d: no such VLAN or access point", vid);
    if (port_of(ifName) == 0)
        return log_refusal("%s: no default VLAN: it isn't in a bridge with vlan_filtering", ifName);
    if (set_ports(interfaces, *accessPoint, vid, false) != 0)
        return -1;
    note_wish(ifName, vid);
    return 0;
}

void vlan_renew()
{
    LocalList<Iface> interfaces;
    for (const Wish &wish : wishes) {
        if (wish.ifName[0] == '\0' || (interfaces.count == 0 && iface_list(interfaces) != 0))
            continue;
        if (const Iface *accessPoint = find_access_point(interfaces, wish.ifName))
            set_ports(interfaces, *accessPoint, wish.vid, true);
    }
}

int vlan_flush(const Radio &radio)
{
    LocalList<Iface> interfaces;
    bool flushed = false;
    iface_list(interfaces);
    for (const Iface &iface : interfaces) {
        Path path;
        const bool carries = iface_is_ap(iface) || iface.type == NL80211_IFTYPE_AP_VLAN;
        if (iface.wiphy == radio.wiphy && carries &&
            place(path, "/sys/class/net/%s/brport/flush", iface.name))
            flushed |= write_one(path);
    }
    return flushed ? 0 : log_refusal("%s: no forwarding entries to forget: no bridge", radio.name);
}

void vlan_forget()
{
    memset(wishes, 0, sizeof wishes);
    memset(told, 0, sizeof told);
}

} // namespace radio
