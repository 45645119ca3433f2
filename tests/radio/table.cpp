#include "tests/radio/table.h"

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
