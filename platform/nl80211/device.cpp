#include "platform/nl80211/device.h"

#include <cstdlib>
#include <cstring>

#include <dirent.h>
#include <pthread.h>
#include <strings.h>

#include "platform/nl80211/channels.h"
#include "platform/nl80211/clock.h"
#include "platform/nl80211/log.h"
#include "platform/nl80211/places.h"
#include "platform/nl80211/text.h"
#include "platform/nl80211/wiphy.h"

namespace radio
{

namespace
{

// A radio that isn't there is looked for at most this often.
constexpr int64_t searchInterval = 1000; // ms

struct Phy {
    int index;
    char name[16];
};

/** How sure it is that a phy is the radio. */
enum class Certainty { none, guessed, sure };

struct Known {
    Certainty certainty;
    Phy phy;
    char firstName[16]; // as the daemon was told first
    Memory memory;
};

pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
Known known[radioCount];
int64_t searched = -searchInterval;

/** The phys by number. */
void list_phys(List<Phy> &phys)
{
    Path path;
    DIR *folder = place(path, "/sys/class/ieee80211") ? opendir(path) : nullptr;
    if (!folder)
        return;
    while (const dirent *entry = readdir(folder)) {
        Phy phy = { phy_index(entry->d_name), {} };
        if (phy.index < 0)
            continue;
        put_text(phy.name, entry->d_name);
        size_t at = phys.count;
        if (!list_add(phys, phy))
            continue;
        for (; at > 0 && phys.items[at - 1].index > phy.index; at--)
            phys.items[at] = phys.items[at - 1];
        phys.items[at] = phy;
    }
    closedir(folder);
}

bool has_mac(const Phy &phy, const char *mac)
{
    Path path;
    char text[32];
    return place(path, "/sys/class/ieee80211/%s/macaddress", phy.name) &&
           read_line(path, text, sizeof text) && strcasecmp(text, mac) == 0;
}

/** Whether the phy's device is the one at the end of a path: "pci0000:00/0000:00:1c.0/0000:01:00.0". */
bool has_device(const Phy &phy, const char *wanted)
{
    Path link;
    char *device =
        place(link, "/sys/class/ieee80211/%s/device", phy.name) ? realpath(link, nullptr) : nullptr;
    if (!device)
        return false;
    const size_t length = strlen(device);
    const size_t end = strlen(wanted);
    const bool found = end < length && strcmp(device + length - end, wanted) == 0 &&
                       (wanted[0] == '/' || device[length - end - 1] == '/');
    free(device);
    return found;
}

bool is_configured(const Phy &phy, const char *wanted)
{
    return strcmp(phy.name, wanted) == 0 || has_mac(phy, wanted) ||
           (strchr(wanted, '/') && has_device(phy, wanted));
}

bool has_band(const Phy &phy, int band)
{
    Wiphy wiphy;
    if (wiphy_read(phy.index, wiphy) != 0)
        return false;
    for (size_t i = 0; i < wiphy.count; i++) {
        if (wiphy.channels[i].band == band && !wiphy.channels[i].disabled)
            return true;
    }
    return false;
}

bool has_ap_on(const Phy &phy, const List<Iface> &interfaces, int band)
{
    for (const Iface &iface : interfaces) {
        if (iface.wiphy == phy.index && iface_is_ap(iface) && band_of_frequency(iface.frequency) == band)
            return true;
    }
    return false;
}

struct Choice {
    Certainty certainty;
    Phy phy;
};

Choice choose_configured(const List<Phy> &phys, int band)
{
    const char *wanted = config_get().radios[band].phy;
    for (const Phy &phy : phys) {
        if (is_configured(phy, wanted))
            return { Certainty::sure, phy };
    }
    log_once(levelError, "/usr/etc/vesk-radio.json: radios[%d].phy: there is no %s", band, wanted);
    return {};
}

/** The first phy with an access point of the band. */
Choice choose_by_ap(const List<Phy> &phys, const List<Iface> &interfaces, int band)
{
    for (const Phy &phy : phys) {
        if (has_ap_on(phy, interfaces, band))
            return { Certainty::sure, phy };
    }
    return {};
}

/** An access point that is down for a while is no reason to take another phy for the radio. */
Choice choose_kept(const List<Phy> &phys, int band)
{
    pthread_mutex_lock(&lock);
    const Certainty certainty = known[band].certainty;
    const int index = known[band].phy.index;
    pthread_mutex_unlock(&lock);
    for (const Phy &phy : phys) {
        if (certainty == Certainty::sure && phy.index == index)
            return { Certainty::sure, phy };
    }
    return {};
}

/** Before hostapd runs: the first phy that isn't the other radio and can use the band. */
Choice choose_by_band(const List<Phy> &phys, const Choice &other, int band)
{
    for (const Phy &phy : phys) {
        const bool taken = other.certainty != Certainty::none && other.phy.index == phy.index;
        if (!taken && has_band(phy, band))
            return { Certainty::guessed, phy };
    }
    return {};
}

void choose(const List<Phy> &phys, const List<Iface> &interfaces, Choice (&choices)[radioCount])
{
    for (int band = 0; band < radioCount; band++) {
        Choice &choice = choices[band];
        const bool isConfigured = config_get().radios[band].phy[0] != '\0';
        choice = isConfigured ? choose_configured(phys, band) : choose_by_ap(phys, interfaces, band);
        if (!isConfigured && choice.certainty == Certainty::none)
            choice = choose_kept(phys, band);
    }
    for (int band = 0; band < radioCount; band++) {
        if (choices[band].certainty == Certainty::none && config_get().radios[band].phy[0] == '\0')
            choices[band] = choose_by_band(phys, choices[1 - band], band);
    }
}

/** The lock is held. */
void take_choice(int band, const Choice &choice)
{
    Known &radio = known[band];
    const bool same = radio.certainty != Certainty::none && choice.certainty != Certainty::none &&
                      radio.phy.index == choice.phy.index;
    if (!same)
        radio.memory = {};
    if (!same && choice.certainty != Certainty::none)
        log_line(levelNotice, "radio %d is %s", band, choice.phy.name);
    radio.certainty = choice.certainty;
    radio.phy = choice.phy;
    if (radio.firstName[0] == '\0')
        memcpy(radio.firstName, choice.phy.name, sizeof radio.firstName);
}

int search()
{
    LocalList<Phy> phys;
    LocalList<Iface> interfaces;
    if (iface_list(interfaces) != 0)
        return -1;
    list_phys(phys);
    Choice choices[radioCount] = {};
    choose(phys, interfaces, choices);
    pthread_mutex_lock(&lock);
    for (int band = 0; band < radioCount; band++)
        take_choice(band, choices[band]);
    pthread_mutex_unlock(&lock);
    return 0;
}

/** Whether the time for a search has come; the next one is then an interval away. */
bool may_search()
{
    pthread_mutex_lock(&lock);
    const int64_t now = clock_ms();
    const bool due = now - searched >= searchInterval;
    if (due)
        searched = now;
    pthread_mutex_unlock(&lock);
    return due;
}

Radio radio_at(int index)
{
    Radio radio = { index, known[index].phy.index, {} };
    memcpy(radio.name, known[index].phy.name, sizeof radio.name);
    return radio;
}

Certainty look_up(int index, Radio &radio)
{
    pthread_mutex_lock(&lock);
    const Certainty certainty = known[index].certainty;
    radio = radio_at(index);
    pthread_mutex_unlock(&lock);
    return certainty;
}

/** Its present name goes before the one that it once had. */
int index_of_name(const char *name)
{
    int found = -1;
    pthread_mutex_lock(&lock);
    for (int i = radioCount - 1; i >= 0; i--) {
        if (found < 0 && strcmp(known[i].firstName, name) == 0)
            found = i;
    }
    for (int i = radioCount - 1; i >= 0; i--) {
        if (known[i].certainty != Certainty::none && strcmp(known[i].phy.name, name) == 0)
            found = i;
    }
    pthread_mutex_unlock(&lock);
    return found;
}

} // namespace

int device_open()
{
    if (search() == 0)
        return 0;
    log_once(levelError, "no nl80211 here: no Wi-Fi driver is loaded, or netlink sockets aren't allowed");
    return -1;
}

bool device_radio(int index, Radio &radio)
{
    if (index < 0 || index >= radioCount)
        return false;
    const Certainty certainty = look_up(index, radio);
    const bool stale = certainty == Certainty::none || phy_index(radio.name) != radio.wiphy;
    if (!stale && certainty == Certainty::sure)
        return true;
    if (may_search() && search() == 0)
        return look_up(index, radio) != Certainty::none;
    return !stale;
}

bool device_find(const char *name, Radio &radio)
{
    if (!is_name(name))
        return false;
    const int index = index_of_name(name);
    if (index >= 0)
        return device_radio(index, radio);
    // A phy that was renamed, or one that came since.
    return phy_index(name) >= 0 && may_search() && search() == 0 && index_of_name(name) >= 0 &&
           look_up(index_of_name(name), radio) != Certainty::none;
}

bool device_of_wiphy(int wiphy, Radio &radio)
{
    for (int i = 0; i < radioCount; i++) {
        if (look_up(i, radio) != Certainty::none && radio.wiphy == wiphy)
            return true;
    }
    return false;
}

Memory &device_lock(const Radio &radio)
{
    pthread_mutex_lock(&lock);
    return known[radio.index].memory;
}

void device_unlock()
{
    pthread_mutex_unlock(&lock);
}

void device_forget()
{
    pthread_mutex_lock(&lock);
    for (Known &radio : known)
        radio = {};
    searched = -searchInterval;
    pthread_mutex_unlock(&lock);
}

} // namespace radio
