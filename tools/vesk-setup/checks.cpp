#include "tools/vesk-setup/checks.h"

#include <algorithm>
#include <cstring>

#include "platform/nl80211/channels.h"
#include "platform/nl80211/ctrl.h"
#include "platform/nl80211/places.h"
#include "tools/client/text.h"

namespace setup
{

namespace
{

constexpr size_t nameLimit = 11; // an inner name; ".v0" stands behind it on the bus
constexpr size_t rowLimit = 8;   // interfaces of a radio in the product file
constexpr size_t fileLimit = 4;  // of "hostapdConfig"
constexpr const char *bandNames[] = { "2.4 GHz", "5 GHz" };

std::string called(const Phy &phy, int band)
{
    return phy.name + " (" + bandNames[band] + ")";
}

void add(Plan &plan, const std::string &what, const std::string &remedy)
{
    const auto same = [&](const Finding &one) { return one.what == what; };
    if (std::none_of(plan.missing.begin(), plan.missing.end(), same))
        plan.missing.push_back({ what, remedy });
}

bool is_fit(const std::string &name)
{
    return name.size() <= nameLimit && name.find('.') == std::string::npos;
}

void check_names(Plan &plan, std::vector<std::string> &names)
{
    for (const std::string &name : names) {
        if (!is_fit(name))
            add(plan, name + " is left out: more than 11 characters, or a point in its name",
                "give it another name, in hostapd's file (interface=, bss=) or where it is made");
    }
    names.erase(
        std::remove_if(names.begin(), names.end(), [](const std::string &name) { return !is_fit(name); }),
        names.end());
}

void check_number(Plan &plan, PlannedRadio &radio)
{
    // One station interface is what the daemon looks for.
    if (radio.stations.size() > 1)
        radio.stations.resize(1);
    const size_t room = rowLimit - radio.stations.size();
    if (radio.accessPoints.size() <= room)
        return;
    add(plan,
        printed("%s: %zu access points, the daemon serves %zu", radio.phy.name.c_str(),
                radio.accessPoints.size(), room),
        "put those that matter first in hostapd's file");
    radio.accessPoints.resize(room);
}

const Section *section_of(const Machine &machine, const std::string &name)
{
    for (const Section &one : machine.sections) {
        if (one.name == name)
            return &one;
    }
    return nullptr;
}

/** The folder among these that has the interface's control socket. */
std::string folder_with(const std::vector<std::string> &folders, const std::string &name)
{
    for (const std::string &folder : folders) {
        if (!folder.empty() && path_exists(folder + "/" + name))
            return folder;
    }
    return "";
}

bool is_usual(const std::string &folder, const char *name)
{
    return folder == std::string("/run/") + name || folder == std::string("/var/run/") + name;
}

/** Commands that hostapd was built without are unknown to it; this one it knows is refused, since it names no
 * station. */
void check_answer(Plan &plan, const std::string &folder, const std::string &name)
{
    radio::Path path;
    char reply[radio::ctrlReplySize];
    if (!radio::place(path, "%s/%s", folder.c_str(), name.c_str()) ||
        radio::ctrl_ask(path, "BSS_TM_REQ -", reply, sizeof reply) != 0)
        add(plan, name + ": hostapd doesn't answer", "run vesk-setup as root; see whether hostapd runs");
    else if (strncmp(reply, "UNKNOWN", 7) == 0)
        add(plan, "hostapd is built without WNM: no BSS transition requests",
            "install a full build (OpenWrt: wpad-openssl or another one without \"basic\" or \"mini\")");
}

/** hostapd takes the setting of "interface=" for none of the sections behind it. */
std::string socket_remedy(const Section *section)
{
    const std::string where = !section ? "in its section of hostapd's file"
                              : section->name == section->primary
                                  ? "in " + section->file
                                  : "below bss=" + section->name + " in " + section->file;
    return "ctrl_interface=/run/hostapd " + where;
}

void check_access_point(const Machine &machine, Plan &plan, const std::string &name)
{
    const auto runs = [&](const radio::Iface &one) { return one.name == name && radio::iface_is_ap(one); };
    const bool isRunning = std::any_of(machine.interfaces.begin(), machine.interfaces.end(), runs);
    const Section *section = section_of(machine, name);
    const std::string folder =
        folder_with({ section ? section->folder : "", "/run/hostapd", "/var/run/hostapd" }, name);
    if (!folder.empty()) {
        if (!is_usual(folder, "hostapd"))
            plan.hostapdFolder = folder;
        check_answer(plan, folder, name);
    } else if (isRunning || (section && section->folder.empty())) {
        add(plan, name + " has no control socket: no commands, no joins and leaves", socket_remedy(section));
    }
    if (!section)
        add(plan, name + ": no file of hostapd's has it, so its key stays unknown",
            "name the file in vesk-radio.json: \"hostapdConfig\"");
}

void check_bridge(Plan &plan, const std::string &name)
{
    const std::string bridge = bridge_of(name);
    if (bridge.empty())
        add(plan, name + " is in no bridge: no default VLAN, no flush of forwarding entries",
            "bridge= in hostapd's file, where it should be one");
    else if (!bridge_has_vlans(bridge))
        add(plan, bridge + " doesn't filter VLANs: no default VLAN",
            "ip link set " + bridge + " type bridge vlan_filtering 1, where VLANs are in use");
}

void check_station(const Machine &machine, Plan &plan, const std::string &name)
{
    const std::string folder = folder_with(machine.stationFolders, name);
    if (folder.empty())
        add(plan, name + ": no wpa_supplicant, so the backhaul can't be joined",
            "run wpa_supplicant on it with ctrl_interface=/run/wpa_supplicant");
    else if (!is_usual(folder, "wpa_supplicant"))
        plan.wpaFolder = folder;
}

void check_radio(const Machine &machine, Plan &plan, PlannedRadio &radio, int band)
{
    if (radio.accessPoints.empty())
        add(plan, called(radio.phy, band) + " has no access point",
            "have hostapd run one; without it the radio neither serves nor scans");
    check_names(plan, radio.accessPoints);
    check_names(plan, radio.stations);
    check_number(plan, radio);
    for (const std::string &name : radio.accessPoints) {
        check_access_point(machine, plan, name);
        check_bridge(plan, name);
    }
    for (const std::string &name : radio.stations)
        check_station(machine, plan, name);
    const std::string &country = radio.phy.country;
    if (country.empty() || country == "00" || country == "98" || country == "99")
        add(plan, radio.phy.name + ": no country, so most of 5 GHz stays silent",
            "country_code= in hostapd's file, or iw reg set");
}

bool has_access_point(const Machine &machine, const Phy &phy)
{
    return std::any_of(machine.interfaces.begin(), machine.interfaces.end(), [&](const radio::Iface &one) {
        return one.wiphy == phy.index && radio::iface_is_ap(one);
    });
}

/** Radios that the daemon has no place for. */
void check_unused(const Machine &machine, Plan &plan)
{
    for (const Phy &phy : machine.phys) {
        const auto isIt = [&](const PlannedRadio &radio) {
            return radio.isThere && radio.phy.index == phy.index;
        };
        if (std::any_of(plan.radios, plan.radios + 2, isIt) || !has_access_point(machine, phy))
            continue;
        plan.sentence +=
            printed("The daemon has one radio a band: %s and its access points aren't there for it. ",
                    phy.name.c_str());
    }
}

void check_bands(Plan &plan)
{
    for (int band = 0; band < 2; band++) {
        const PlannedRadio &other = plan.radios[1 - band];
        if (plan.radios[band].isThere || !other.isThere)
            continue;
        plan.sentence += printed(
            "One radio only: the daemon serves and scans %s. What is asked about %s stays empty or is "
            "refused, no station can be steered to another band, and the ready flag waits for this "
            "radio alone.",
            called(other.phy, 1 - band).c_str(), bandNames[band]);
        add(plan, std::string("no radio at ") + bandNames[band],
            "a second card with an access point of that band");
    }
}

} // namespace

void checks_make(const Machine &machine, Plan &plan)
{
    check_unused(machine, plan);
    check_bands(plan);
    for (int band = 0; band < 2; band++) {
        if (plan.radios[band].isThere)
            check_radio(machine, plan, plan.radios[band], band);
    }
    if (plan.files.size() > fileLimit) {
        add(plan, "more than four files of hostapd's: keys of the others stay unknown", "join them");
        plan.files.resize(fileLimit);
    }
    if (path_exists("/tmp/kor-product-cfg.json"))
        add(plan, "/tmp/kor-product-cfg.json is read in place of the file in /usr/etc", "remove it");
}

} // namespace setup
