#include "platform/nl80211/settings.h"

#include <algorithm>
#include <cstring>

#include <pthread.h>

#include "platform/nl80211/ctrl.h"
#include "platform/nl80211/list.h"
#include "platform/nl80211/log.h"
#include "platform/nl80211/text.h"

namespace radio
{

namespace
{

constexpr size_t bssCount = 16;
constexpr int telling = 3; // times that a socket is told what it didn't take

enum class Wish : int8_t { none, off, on };

struct Mac {
    uint8_t bytes[6];
};

struct Bss {
    char ifName[16]; // "": a free place
    Wish rrm, wnm;
    List<Mac> blocked;
    bool hasElements; // was given some: an empty list is told, too
    List<VendorElement> elements;
    CtrlIdentity told; // which socket it was
    int tries;         // 0: taken by the socket
};

pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
Bss all[bssCount];

CtrlIdentity identity_of(const char *ifName)
{
    return ctrl_identity(CtrlPeer::accessPoint, ifName);
}

int tell_block(const char *ifName, const Mac &mac, bool blocked)
{
    return ctrl_tell(CtrlPeer::accessPoint, ifName, "DENY_ACL %s %s", blocked ? "ADD_MAC" : "DEL_MAC",
                     mac_text(mac.bytes).text);
}

int tell(const char *ifName, const char *setting, Wish wish)
{
    return ctrl_tell(CtrlPeer::accessPoint, ifName, "SET %s %d", setting, wish == Wish::on);
}

int tell_rrm(const char *ifName, Wish wish)
{
    return tell(ifName, "rrm_neighbor_report", wish) == 0 && tell(ifName, "rrm_beacon_report", wish) == 0 &&
                   ctrl_tell(CtrlPeer::accessPoint, ifName, "UPDATE_BEACON") == 0
               ? 0
               : -1;
}

int tell_wnm(const char *ifName, Wish wish)
{
    return tell(ifName, "bss_transition", wish) == 0 &&
                   ctrl_tell(CtrlPeer::accessPoint, ifName, "UPDATE_BEACON") == 0
               ? 0
               : -1;
}

/** The lock is held. NULL if all places are taken. */
Bss *bss_for(const char *ifName)
{
    Bss *free = nullptr;
    for (Bss &bss : all) {
        if (strcmp(bss.ifName, ifName) == 0)
            return &bss;
        if (!free && bss.ifName[0] == '\0')
            free = &bss;
    }
    if (free)
        put_text(free->ifName, ifName);
    return free;
}

/**
 * Remembers by `note`, which returns false to refuse, and tells by `say`, which returns 0 or -1. A socket
 * that is new isn't taken for told by one command: settings_renew has more to say to it.
 */
template <class Note, class Say>
int settle(const char *ifName, Note note, Say say)
{
    if (!is_name(ifName))
        return -1;
    const CtrlIdentity identity = identity_of(ifName);
    pthread_mutex_lock(&lock);
    Bss *bss = bss_for(ifName);
    const bool taken = bss && note(*bss);
    pthread_mutex_unlock(&lock);
    if (!taken)
        return -1;
    const CtrlCall call;
    const int status = say();
    pthread_mutex_lock(&lock);
    if (bss->told.inode == 0)
        bss->told = identity;
    bss->tries = std::max(bss->tries, status == 0 ? 0 : 1);
    pthread_mutex_unlock(&lock);
    return status;
}

int settle_wish(const char *ifName, Wish Bss::*place, bool on, int (*tell)(const char *, Wish))
{
    const Wish wish = on ? Wish::on : Wish::off;
    return settle(
        ifName,
        [&](Bss &bss) {
            bss.*place = wish;
            return true;
        },
        [&] { return tell(ifName, wish); });
}

template <class T>
void copy_list(List<T> &to, const List<T> &from)
{
    for (const T &each : from)
        list_add(to, each);
}

/** A BSS that a socket has to be told of: the wishes, and copies of its lists. */
bool take_pending(Bss &place, const CtrlIdentity &now, Bss &pending, List<Mac> &blocked,
                  List<VendorElement> &elements)
{
    pthread_mutex_lock(&lock);
    const bool isNew = !(place.told == now);
    const bool due = now.inode != 0 && (isNew || (place.tries > 0 && place.tries < telling));
    if (due) {
        pending = place;
        copy_list(blocked, place.blocked);
        copy_list(elements, place.elements);
        place.told = now;
        place.tries = isNew ? 1 : place.tries + 1;
    }
    pthread_mutex_unlock(&lock);
    return due;
}

void renew(Bss &place)
{
    char ifName[sizeof place.ifName];
    pthread_mutex_lock(&lock);
    memcpy(ifName, place.ifName, sizeof ifName);
    pthread_mutex_unlock(&lock);
    Bss pending = {};
    LocalList<Mac> blocked;
    LocalList<VendorElement> elements;
    if (ifName[0] == '\0' || !ctrl_is_asked(CtrlPeer::accessPoint, ifName) ||
        !take_pending(place, identity_of(ifName), pending, blocked, elements))
        return;
    int status = 0;
    if (pending.rrm != Wish::none)
        status |= tell_rrm(ifName, pending.rrm);
    if (pending.wnm != Wish::none)
        status |= tell_wnm(ifName, pending.wnm);
    for (const Mac &mac : blocked)
        status |= tell_block(ifName, mac, true);
    if (pending.hasElements)
        status |= vendor_tell(ifName, elements);
    log_line(levelNotice, "%s: told hostapd anew%s", ifName,
             status == 0 ? "" : ", which didn't take all of it");
    pthread_mutex_lock(&lock);
    if (status == 0)
        place.tries = 0;
    else if (!ctrl_time_left() || !ctrl_is_asked(CtrlPeer::accessPoint, ifName))
        place.tries = 1; // what wasn't said or heard can't be refused
    pthread_mutex_unlock(&lock);
}

bool note_block(List<Mac> &blocked, const Mac &mac, bool isBlocked)
{
    Mac *end = std::remove_if(blocked.begin(), blocked.end(),
                              [&](const Mac &each) { return memcmp(each.bytes, mac.bytes, 6) == 0; });
    blocked.count = static_cast<size_t>(end - blocked.begin());
    return !isBlocked || list_add(blocked, mac);
}

} // namespace

int settings_rrm(const char *ifName, bool on)
{
    return settle_wish(ifName, &Bss::rrm, on, tell_rrm);
}

int settings_wnm(const char *ifName, bool on)
{
    return settle_wish(ifName, &Bss::wnm, on, tell_wnm);
}

int settings_block(const char *ifName, const uint8_t *bytes, bool blocked)
{
    Mac mac;
    memcpy(mac.bytes, bytes, sizeof mac.bytes);
    return settle(
        ifName, [&](Bss &bss) { return note_block(bss.blocked, mac, blocked); },
        [&] { return tell_block(ifName, mac, blocked); });
}

int settings_element(const char *ifName, const VendorElement &element, bool add)
{
    LocalList<VendorElement> elements;
    const auto note = [&](Bss &bss) {
        if (!(add ? vendor_add(bss.elements, element) : vendor_remove(bss.elements, element))) {
            log_refusal("%s: vendor element: %s", ifName, add ? "too many" : "it isn't there");
            return false;
        }
        bss.hasElements = true;
        copy_list(elements, bss.elements);
        return true;
    };
    return settle(ifName, note, [&] { return vendor_tell(ifName, elements); });
}

void settings_renew()
{
    const CtrlCall call;
    for (Bss &place : all) {
        if (ctrl_time_left())
            renew(place);
    }
}

void settings_forget()
{
    pthread_mutex_lock(&lock);
    for (Bss &bss : all) {
        list_free(bss.blocked);
        list_free(bss.elements);
        bss = {};
    }
    pthread_mutex_unlock(&lock);
}

} // namespace radio
