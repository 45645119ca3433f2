#include "tools/vesk-setup/machine.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include <dirent.h>
#include <glob.h>
#include <unistd.h>

#include "platform/nl80211/channels.h"
#include "platform/nl80211/places.h"
#include "platform/nl80211/wiphy.h"

namespace setup
{

namespace
{

constexpr size_t fileLimit = 256 * 1024;

std::string placed(const std::string &path)
{
    radio::Path to;
    return radio::place(to, "%s", path.c_str()) ? to : "";
}

std::string content(const std::string &path)
{
    char *text = radio::read_file(placed(path).c_str(), fileLimit);
    std::string whole = text ? text : "";
    free(text);
    return whole;
}

std::string line_of(const std::string &path)
{
    char line[256];
    return radio::read_line(placed(path).c_str(), line, sizeof line) ? line : "";
}

std::string link_name(const std::string &path)
{
    char name[64];
    return radio::read_link_name(placed(path).c_str(), name, sizeof name) ? name : "";
}

std::vector<std::string> entries(const std::string &folder)
{
    std::vector<std::string> names;
    DIR *open = opendir(placed(folder).c_str());
    while (const dirent *entry = open ? readdir(open) : nullptr) {
        if (entry->d_name[0] != '.')
            names.emplace_back(entry->d_name);
    }
    if (open)
        closedir(open);
    std::sort(names.begin(), names.end());
    return names;
}

/** "pci0000:00/0000:01:00.0", without what stands before it. */
std::string device_of(const std::string &phy)
{
    char *path = realpath(placed("/sys/class/ieee80211/" + phy + "/device").c_str(), nullptr);
    std::string device = path ? path : "";
    free(path);
    constexpr char devices[] = "/sys/devices/";
    const size_t at = device.find(devices);
    return at == std::string::npos ? "" : device.substr(at + strlen(devices));
}

std::vector<Phy> read_phys()
{
    std::vector<Phy> phys;
    for (const std::string &name : entries("/sys/class/ieee80211")) {
        const std::string folder = "/sys/class/ieee80211/" + name;
        Phy phy = { radio::phy_index(name.c_str()),
                    name,
                    link_name(folder + "/device/driver"),
                    line_of(folder + "/macaddress"),
                    device_of(name),
                    "",
                    {} };
        char country[3];
        if (phy.index < 0 || capability_read(phy.index, phy.bands) != 0)
            continue;
        if (radio::wiphy_country(phy.index, country) == 0)
            phy.country = country;
        phys.push_back(phy);
    }
    std::sort(phys.begin(), phys.end(), [](const Phy &a, const Phy &b) { return a.index < b.index; });
    return phys;
}

/** Command line of each process of that name, its first word left out; paths made absolute. */
std::vector<std::string> arguments_of(const char *program)
{
    std::vector<std::string> all;
    for (const std::string &process : entries("/proc")) {
        const std::string folder = "/proc/" + process;
        if (line_of(folder + "/comm") != program)
            continue;
        // Words end with NUL: read_file stops there, so each is fetched from where the one before ended.
        FILE *file = fopen(placed(folder + "/cmdline").c_str(), "re");
        char *word = nullptr;
        size_t room = 0;
        for (bool first = true; file && getdelim(&word, &room, '\0', file) > 0; first = false) {
            if (!first)
                all.push_back(word[0] == '/' || word[0] == '-' ? word : folder + "/cwd/" + word);
        }
        free(word);
        if (file)
            fclose(file);
    }
    return all;
}

/** Calls `use` for each "key=value" of a file in hostapd's form. */
template <class Use>
void each_setting(const std::string &text, Use use)
{
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find_first_of("\r\n", at), text.size());
        const std::string line = text.substr(at, end - at);
        const size_t equals = line.find('=');
        if (equals != std::string::npos && line[0] != '#')
            use(line.substr(0, equals), line.substr(equals + 1));
        at = end + 1;
    }
}

/** "DIR=/run/hostapd GROUP=wheel" is a form of it, too. */
std::string socket_folder(const std::string &value)
{
    const std::string folder = value.rfind("DIR=", 0) == 0 ? value.substr(4) : value;
    return folder.substr(0, folder.find(' '));
}

int band_of_mode(const std::string &mode)
{
    return mode == "b" || mode == "g" ? radio::band24 : mode == "a" ? radio::band5 : -1;
}

void read_sections(const std::string &file, std::vector<Section> &sections)
{
    const size_t begin = sections.size();
    int band = -1;
    each_setting(content(file), [&](const std::string &key, const std::string &value) {
        const bool first = sections.size() == begin;
        if ((key == "interface" && first) || (key == "bss" && !first))
            sections.push_back({ value, first ? value : sections[begin].name, file, "", -1 });
        else if (key == "ctrl_interface" && !first)
            sections.back().folder = socket_folder(value);
        else if (key == "hw_mode")
            band = band_of_mode(value);
    });
    for (size_t i = begin; i < sections.size(); i++)
        sections[i].band = band;
}

/** The files that a running hostapd was given, else those in the usual places. */
std::vector<Section> find_sections()
{
    std::vector<Section> sections;
    for (const std::string &argument : arguments_of("hostapd")) {
        if (argument[0] == '/')
            read_sections(argument, sections);
    }
    if (!sections.empty())
        return sections;
    for (const char *pattern : { "/etc/hostapd/*.conf", "/etc/hostapd.conf", "/var/run/hostapd-*.conf" }) {
        glob_t found;
        if (glob(placed(pattern).c_str(), 0, nullptr, &found) != 0)
            continue;
        for (size_t i = 0; i < found.gl_pathc; i++)
            read_sections(found.gl_pathv[i] + placed("").size(), sections);
        globfree(&found);
    }
    return sections;
}

/** Named by a running wpa_supplicant's "-C" or its file, and the usual ones. */
std::vector<std::string> find_station_folders()
{
    std::vector<std::string> folders = { "/run/wpa_supplicant", "/var/run/wpa_supplicant" };
    std::string option;
    for (const std::string &word : arguments_of("wpa_supplicant")) {
        const bool isOption = word[0] == '-';
        option = isOption ? word.substr(0, 2) : option;
        const std::string value = isOption ? word.substr(std::min<size_t>(word.size(), 2)) : word;
        if (option == "-C")
            folders.push_back(socket_folder(value));
        else if (option == "-c")
            each_setting(content(value), [&](const std::string &key, const std::string &folder) {
                if (key == "ctrl_interface")
                    folders.push_back(socket_folder(folder));
            });
    }
    return folders;
}

std::vector<std::string> find_ports()
{
    constexpr char ethernet[] = "1"; // ARPHRD_ETHER
    std::vector<std::string> ports;
    for (const std::string &name : entries("/sys/class/net")) {
        const std::string folder = "/sys/class/net/" + name;
        if (path_exists(folder + "/device") && !path_exists(folder + "/phy80211") &&
            line_of(folder + "/type") == ethernet)
            ports.push_back(name);
    }
    return ports;
}

std::string find_model()
{
    for (const char *file :
         { "/tmp/sysinfo/model", "/proc/device-tree/model", "/sys/class/dmi/id/product_name" }) {
        const std::string model = line_of(file);
        if (!model.empty())
            return model;
    }
    return "";
}

} // namespace

int machine_read(Machine &machine)
{
    radio::LocalList<radio::Iface> interfaces;
    const int status = radio::iface_list(interfaces);
    if (status != 0)
        return status;
    machine.interfaces.assign(interfaces.begin(), interfaces.end());
    machine.phys = read_phys();
    machine.sections = find_sections();
    machine.stationFolders = find_station_folders();
    machine.ports = find_ports();
    machine.model = find_model();
    return 0;
}

bool path_exists(const std::string &path)
{
    return access(placed(path).c_str(), F_OK) == 0;
}

std::string bridge_of(const std::string &interface)
{
    const std::string master = link_name("/sys/class/net/" + interface + "/master");
    return !master.empty() && path_exists("/sys/class/net/" + master + "/bridge") ? master : "";
}

bool bridge_has_vlans(const std::string &bridge)
{
    return line_of("/sys/class/net/" + bridge + "/bridge/vlan_filtering") == "1";
}

} // namespace setup
