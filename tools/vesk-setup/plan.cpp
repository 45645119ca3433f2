#include "tools/vesk-setup/plan.h"

#include <algorithm>
#include <iterator>

#include "platform/nl80211/channels.h"
#include "platform/nl80211/places.h"
#include "tools/client/text.h"
#include "tools/vesk-setup/checks.h"

namespace setup
{

namespace
{

constexpr int controller = 1; // no station interface: nothing is above it
constexpr int agent = 2;
constexpr int portLimit = 6; // the daemon has no place for more

bool has_ap_on(const Machine &machine, const Phy &phy, int band)
{
    return std::any_of(machine.interfaces.begin(), machine.interfaces.end(), [&](const radio::Iface &one) {
        return one.wiphy == phy.index && radio::iface_is_ap(one) &&
               radio::band_of_frequency(one.frequency) == band;
    });
}

bool has_section_on(const Machine &machine, const Phy &phy, int band)
{
    return std::any_of(machine.sections.begin(), machine.sections.end(), [&](const Section &one) {
        return one.band == band && radio::interface_phy(one.primary.c_str()) == phy.index;
    });
}

bool is_usable(const Machine &, const Phy &phy, int band)
{
    return phy.bands[band].isUsable;
}

struct Reason {
    bool (*holds)(const Machine &machine, const Phy &phy, int band);
    const char *text;
};

// In this order, so that the choice is the library's own where an access point runs.
constexpr Reason reasons[] = {
    { has_ap_on, "an access point runs on it" },
    { has_section_on, "hostapd's file has it" },
    { is_usable, "it can use the band; no access point yet" },
};

void choose_radios(const Machine &machine, Plan &plan)
{
    for (const Reason &reason : reasons) {
        for (int band = 0; band < 2; band++) {
            PlannedRadio &radio = plan.radios[band];
            for (const Phy &phy : machine.phys) {
                const bool isOther =
                    plan.radios[1 - band].isThere && plan.radios[1 - band].phy.index == phy.index;
                // What serves the other band isn't free for this one, even if it isn't that band's radio.
                const bool isBusy =
                    has_ap_on(machine, phy, 1 - band) || has_section_on(machine, phy, 1 - band);
                if (radio.isThere || isOther || (reason.holds == is_usable && isBusy) ||
                    !reason.holds(machine, phy, band))
                    continue;
                radio.isThere = true;
                radio.phy = phy;
                radio.why = reason.text;
            }
        }
    }
}

/** Numbers of phys change with the order in which drivers come up; two of them may share a device. */
std::string identity_of(const Machine &machine, const Phy &phy)
{
    const auto unique = [&](const std::string Phy::*field) {
        return !(phy.*field).empty() &&
               std::count_if(machine.phys.begin(), machine.phys.end(),
                             [&](const Phy &one) { return one.*field == phy.*field; }) == 1;
    };
    return unique(&Phy::device) && phy.device.find('/') != std::string::npos ? phy.device
           : unique(&Phy::mac)                                               ? phy.mac
                                                                             : phy.name;
}

bool is_named(const std::vector<Section> &sections, const std::string &name)
{
    return std::any_of(sections.begin(), sections.end(),
                       [&](const Section &one) { return one.name == name; });
}

/** Access points that run, else those of the files; and station interfaces that hostapd won't take. */
void find_interfaces(const Machine &machine, PlannedRadio &radio)
{
    for (const radio::Iface &one : machine.interfaces) {
        if (one.wiphy != radio.phy.index)
            continue;
        if (radio::iface_is_ap(one))
            radio.accessPoints.emplace_back(one.name);
        else if (one.type == NL80211_IFTYPE_STATION && !is_named(machine.sections, one.name))
            radio.stations.emplace_back(one.name);
    }
    if (!radio.accessPoints.empty())
        return;
    for (const Section &one : machine.sections) {
        if (radio::interface_phy(one.primary.c_str()) == radio.phy.index)
            radio.accessPoints.push_back(one.name);
    }
}

void add_once(std::vector<std::string> &list, const std::string &text)
{
    if (!text.empty() && std::find(list.begin(), list.end(), text) == list.end())
        list.push_back(text);
}

void find_files(const Machine &machine, Plan &plan)
{
    for (const PlannedRadio &radio : plan.radios) {
        for (const std::string &name : radio.accessPoints) {
            add_once(plan.bridges, bridge_of(name));
            for (const Section &one : machine.sections) {
                if (one.name == name)
                    add_once(plan.files, one.file);
            }
        }
    }
}

Json interfaces_of(const PlannedRadio &radio)
{
    Json rows = Json::array();
    int index = 0;
    const auto add = [&](const std::string &name, const char *mode) {
        Json row = Json::object();
        row.put("DataModelIndex", ++index);
        row.put("InterfaceName", name);
        row.put("Mode", mode);
        rows.push(std::move(row));
    };
    for (const std::string &name : radio.accessPoints)
        add(name, "ap");
    for (const std::string &name : radio.stations)
        add(name, "sta");
    return rows;
}

Json radio_row(const PlannedRadio &radio, int band)
{
    const Capability &can = radio.phy.bands[band];
    Json row = Json::object();
    row.put("OperatingFrequencyBand", band == radio::band24 ? "2.4GHZ" : "5GHZ");
    row.put("ChipsetVendor", radio.phy.driver);
    row.put("InterfaceName", radio.phy.name);
    row.put("SupportedOperatingChannelBandwidths", capability_widths(can, band));
    row.put("SupportedStandards", capability_standards(can, band));
    capability_put(can, row);
    row.put("Vap", interfaces_of(radio));
    return row;
}

/** Names as the bus has them, which is what a mesh above it goes by. */
std::string names_1905(const Machine &machine, const Plan &plan)
{
    std::string all;
    const auto add = [&](const std::string &name) { all += (all.empty() ? "" : ",") + name; };
    for (const std::string &port : machine.ports)
        add(port);
    for (const PlannedRadio &radio : plan.radios) {
        for (const std::string &name : radio.accessPoints)
            add(name + ".v0");
        for (const std::string &name : radio.stations)
            add(name);
    }
    return all;
}

Json port_rows(const Machine &machine)
{
    Json rows = Json::array();
    int number = 0;
    for (const std::string &port : machine.ports) {
        if (number == portLimit)
            break;
        Json row = Json::object();
        row.put("PhysicalPortNumber", ++number);
        row.put("InterfaceName", port);
        rows.push(std::move(row));
    }
    return rows;
}

} // namespace

Plan plan_make(const Machine &machine)
{
    Plan plan;
    choose_radios(machine, plan);
    for (PlannedRadio &radio : plan.radios) {
        if (!radio.isThere)
            continue;
        radio.identity = identity_of(machine, radio.phy);
        find_interfaces(machine, radio);
    }
    find_files(machine, plan);
    checks_make(machine, plan);
    plan.role = plan.radios[0].stations.empty() && plan.radios[1].stations.empty() ? controller : agent;
    return plan;
}

Json plan_product(const Machine &machine, const Plan &plan)
{
    int count = 0;
    Json radios = Json::array();
    for (int band = 0; band < 2; band++) {
        if (!plan.radios[band].isThere)
            continue;
        radios.push(radio_row(plan.radios[band], band));
        count++;
    }
    Json parameters = Json::object();
    if (!machine.model.empty())
        parameters.put("ModelName", clean_text(machine.model));
    parameters.put("1905EnabledInterfaceNames", names_1905(machine, plan));
    parameters.put("NumberOfWifiRadios", count);
    parameters.put("NumberOfEthernetPorts", static_cast<int>(machine.ports.size()));
    parameters.put("Ethernet", port_rows(machine));
    parameters.put("Wifi", std::move(radios));
    Json file = Json::object();
    file.put("Version", "1.2");
    file.put("ProductParameters", std::move(parameters));
    return file;
}

Json plan_radio(const Plan &plan)
{
    Json file = Json::object();
    Json radios = Json::array();
    for (const PlannedRadio &radio : plan.radios) {
        Json row = Json::object();
        if (radio.isThere)
            row.put("phy", radio.identity);
        else
            row.put("enabled", false); // else the library goes on looking for one
        radios.push(std::move(row));
    }
    file.put("role", plan.role);
    Json files = Json::array();
    for (const std::string &one : plan.files)
        files.push(Json::text(one));
    if (!plan.files.empty())
        file.put("hostapdConfig", std::move(files));
    if (!plan.hostapdFolder.empty())
        file.put("hostapdDir", plan.hostapdFolder);
    if (!plan.wpaFolder.empty())
        file.put("wpaDir", plan.wpaFolder);
    file.put("radios", std::move(radios));
    return file;
}

} // namespace setup
