#include "tests/radio/table.h"

#include <algorithm>
#include <cstring>
#include <sstream>

std::string sys(const std::string &interface, const std::string &file) {
    return find(read_file("/sys/class/net/" + interface + "/" + file), "[^\n]*");
}

static std::vector<Interface> parsed_interfaces() {
    std::vector<Interface> all;
    std::string phy;
    std::istringstream lines(sh("iw dev"));
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("phy#")) phy = "phy" + line.substr(4);
        if (line.starts_with("\tInterface ")) all.push_back({ line.substr(11), phy, "" });
        if (line.starts_with("\tUnnamed")) all.push_back({ "", phy, "" });
        if (!all.empty()) all.back().info += line + "\n";
    }
    return all;
}

std::vector<Interface> interfaces() {
    return of_moment("", [] { return parsed_interfaces(); });
}

std::string info(const std::string &interface) {
    for (const Interface &each : interfaces()) {
        if (each.name == interface) return each.info;
    }
    return "";
}

std::string station_dumps(const std::string &bss) {
    return of_moment(bss, [&] {
        std::string all;
        for (const Interface &each : interfaces()) {
            if (each.name == bss || each.name.starts_with(bss + "."))
                all += sh("iw dev " + each.name + " station dump");
        }
        return all;
    });
}

std::string stations_of(const std::string &bss) {
    return of_moment(bss, [&] { return join_words(find_all(station_dumps(bss), "^Station (\\S+)")); });
}

std::string station(const std::string &bss, const std::string &mac, const std::string &line) {
    const std::string all = station_dumps(bss);
    const size_t begin = all.find("Station " + mac);
    return begin == std::string::npos ? "" : find(all.substr(begin, all.find("Station ", begin + 1) - begin), line);
}

std::string is_up(const std::string &interface) {
    const std::string said = info(interface);
    const bool onAir = said.find("type managed") != std::string::npos || said.find("channel") != std::string::npos;
    return sys(interface, "operstate") == "up" && onAir ? "1" : "0";
}

std::string standards(const std::string &bss) {
    const std::string status = hostapd(bss, "status");
    std::string modes = bss[4] == '0' ? "b,g" : "a";
    for (const char *mode : { "n", "ac", "ax" })
        modes += find(status, text("^ieee80211%s=1", mode)).empty() ? "" : text(",%s", mode);
    return modes;
}

Abilities abilities_of(const std::string &bss, const std::string &mac) {
    const std::string heard = hostapd(bss, "sta " + mac), flags = find(heard, "^flags=.*");
    const auto hex = [&](const char *pattern) { return strtoull(find(heard, pattern).c_str(), nullptr, 16); };
    const auto has = [&](const char *flag) { return flags.find(flag) != std::string::npos; };
    return { (hex("^capability=0x(\\w+)") >> 12 & 1) != 0, (hex("^ext_capab=\\w{4}(\\w\\w)") >> 3 & 1) != 0, // bit 19
             has("[HE]")    ? "11ax"
             : has("[VHT]") ? "11ac"
             : has("[HT]")  ? "11n"
                            : "" };
}

std::string phy_of(const std::string &band) { return band == "0" ? "phy0" : "phy1"; }

static std::vector<IwChannel> parsed_channels(const std::string &band) {
    std::vector<IwChannel> channels;
    std::istringstream blocks(sh("iw phy " + phy_of(band) + " channels"));
    for (std::string line; std::getline(blocks, line, '*');) {
        const auto lacks = [&](const char *word) { return line.find(word) == std::string::npos; };
        int frequency, number; // 6 GHz has the same numbers once more
        if (sscanf(line.c_str(), " %d MHz [%d]", &frequency, &number) != 2) continue;
        const bool listed = band == "0" ? number <= 13 && frequency > 2400 && frequency < 2500
                                        : frequency > 5000 && frequency < 5830 && number % 4 < 2;
        if (listed)
            channels.push_back({ number,
                                 (lacks("Radar detection") ? 0 : 1) + (lacks("No IR") ? 0 : 2) +
                                     (lacks("HT40-") && lacks("HT40+") ? 4 : 0) + (lacks("VHT80") ? 8 : 0) +
                                     (lacks("VHT160") ? 16 : 0),
                                 !lacks("(disabled)"), !lacks("DFS state: unavailable") });
    }
    return channels;
}

std::vector<IwChannel> iw_channels(const std::string &band) {
    return of_moment(band, [&] { return parsed_channels(band); });
}

VapTruth vap_truth(const std::string &name) {
    const std::string config = hostapd(name, "get_config");
    const bool psk = !find(config, "^key_mgmt=.*WPA-PSK").empty(), sae = !find(config, "^key_mgmt=.*SAE").empty();
    const std::string file = read_file(name[4] == '0' ? "/etc/radio/access24.conf" : "/etc/radio/access5.conf");
    const std::string section = find(file, "(?:interface|bss)=" + name + "\n((?:(?!bss=)[^\n]*\n)*)");
    return { text("%d", (psk ? 32 : 0) + (sae ? 64 : 0) + (!psk && !sae)),
             find(config, "^rsn_pairwise_cipher=CCMP").empty() ? "0" : "8",
             find(section, "^multi_ap=1").empty() ? "0" : "64",
             find(section, "^(?:wpa_passphrase|sae_password)=([^\n]*)") };
}

std::vector<Heard> heard_on(const std::string &interface, int frequency) {
    std::vector<Heard> all;
    std::istringstream lines(sh("iw dev " + interface + " scan dump"));
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("BSS ")) all.push_back({ line.substr(4, 17), "", "", "", 0 });
        if (line.starts_with("\tfreq: ")) all.back().frequency = atoi(line.c_str() + 7);
        if (line.starts_with("\tsignal: ")) all.back().rssi = text("%d", atoi(line.c_str() + 9));
        if (line.starts_with("\tcapability: "))
            all.back().capability = text("%ld", strtol(find(line, "\\((0x\\w+)\\)").c_str(), nullptr, 16));
        if (line.starts_with("\tSSID: ")) all.back().ssid = line.substr(7);
    }
    std::erase_if(all, [&](const Heard &each) { return each.frequency != frequency; });
    std::ranges::sort(all, {}, &Heard::bssid);
    return all;
}

std::vector<Heard> scan_on(const std::string &interface, int frequency) {
    sh(text("iw dev %s scan freq %d flush ap-force passive", interface.c_str(), frequency));
    return heard_on(interface, frequency);
}

std::string surveyed(const std::string &interface, int frequency) {
    const std::string survey =
        find(sh("iw dev " + interface + " survey dump"),
             text("frequency:\\s+%d MHz[^\n]*\n((?:\t\t[^\n]*\n|\tnoise[^\n]*\n|\tchannel[^\n]*\n)*)", frequency));
    const int64_t time = strtoll(find(survey, "active time:\\s+(\\d+)").c_str(), nullptr, 10);
    const int64_t busy = strtoll(find(survey, "busy time:\\s+(\\d+)").c_str(), nullptr, 10);
    const std::string noise = find(survey, "noise:\\s+(-\\d+)");
    return text("%d %s", time > 0 ? static_cast<int>(100 * busy / time) : -1, noise.empty() ? "-254" : noise.c_str());
}
