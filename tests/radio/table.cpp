#include "tests/radio/table.h"

#include <algorithm>
#include <sstream>

void compare(const Row &row) {
    for (const std::string name : row.names) {
        const std::string before = row.truth(name);
        const std::string got = row.library(name);
        if (got != before && got != row.truth(name))
            ADD_FAILURE() << row.operation << " " << name << "\n  says  " << got << "\n  truth " << before;
    }
}

std::string mac_text(const uint8_t *mac) {
    return text("%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
}

std::string info(const std::string &interface) { return sh("iw dev " + interface + " info"); }

std::string sys(const std::string &interface, const std::string &file) {
    return find(read_file("/sys/class/net/" + interface + "/" + file), "[^\n]*");
}

std::string access_points(const std::string &phy) {
    return join_words(find_all(sh("iw dev | awk '/^phy/ { phy = $1 } /Interface/ { name = $2 }"
                                  " /type AP$/ && phy == \"" +
                                  std::string(phy).insert(3, "#") + "\" { print name }' | sort"),
                               "\\S+"));
}

namespace {

std::string dumps(const std::string &bss) {
    return sh("for i in " + bss + " $(cd /sys/class/net; ls -d " + bss +
              ".* 2>/dev/null); do iw dev $i station dump; done");
}

} // namespace

std::string stations_of(const std::string &bss) { return join_words(find_all(dumps(bss), "^Station (\\S+)")); }

std::string station(const std::string &bss, const std::string &mac, const std::string &line) {
    const std::string all = dumps(bss);
    const size_t begin = all.find("Station " + mac);
    if (begin == std::string::npos) return "";
    const size_t end = all.find("Station ", begin + 1);
    return find(all.substr(begin, end == std::string::npos ? end : end - begin), line);
}

std::string is_up(const std::string &interface) {
    const bool station = find(info(interface), "type managed") != "";
    return sys(interface, "operstate") == "up" && (station || find(info(interface), "channel") != "") ? "1" : "0";
}

std::string phy_of(const std::string &band) { return band == "0" ? "phy0" : "phy1"; }

std::vector<IwChannel> iw_channels(const std::string &band) {
    std::vector<IwChannel> channels;
    std::istringstream lines(sh("iw phy " + phy_of(band) + " channels | tr '\n\t' '  ' | sed 's/[*] /\\n/g'"));
    for (std::string line; std::getline(lines, line);) {
        const auto lacks = [&](const char *word) { return line.find(word) == std::string::npos; };
        int frequency, number; // 6 GHz has the same numbers once more
        if (sscanf(line.c_str(), "%d MHz [%d]", &frequency, &number) != 2) continue;
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
    for (const std::string &block : find_all(sh("iw dev " + interface +
                                                " scan dump | grep -E '^BSS|freq:|signal:|SSID:'"
                                                " | tr '\\n' ' ' | sed 's/BSS /\\n/g'"),
                                             "^\\S+\\(on .*")) {
        if (atoi(find(block, "freq: (\\d+)").c_str()) == frequency)
            all.push_back(
                { find(block, "^\\S{17}"), find(block, "SSID: (.*\\S)? *$"), find(block, "signal: (-?\\d+)") });
    }
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
