// drelm for scripts/bench, where there is no radio: its loop over a kernel of the tests', which knows one access point,
// ath0. The driver is its hostapd, on a control socket below the folder that is the first argument.
#include <filesystem>
#include <fstream>

#include <arpa/inet.h>
#include <sys/socket.h>

#include "platform/nl80211/drelm/drelm.h"
#include "platform/nl80211/places.h"
#include "tests/nl80211/fake_kernel.h"

namespace {

int port;

void send_datagram(const void *datagram, size_t size) {
    const sockaddr_in to = { AF_INET, htons(VESK_EVENT_PORT), { htonl(INADDR_LOOPBACK) }, {} };
    sendto(port, datagram, size, 0, reinterpret_cast<const sockaddr *>(&to), sizeof to);
}

void put(const std::filesystem::path &file, const char *text) {
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file) << text;
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 2) return 2;
    const std::string root = argv[1];
    put(root + "/sys/class/ieee80211/phy0/index", "0\n");
    put(root + "/run/hostapd/none", "");
    radio::places_begin_at(argv[1]);
    FakeKernel kernel;
    kernel.on(NL80211_CMD_GET_INTERFACE,
              { { join({ number<uint32_t>(NL80211_ATTR_IFINDEX, 2), text(NL80211_ATTR_IFNAME, "ath0"),
                         number(NL80211_ATTR_WIPHY, 0), number<uint32_t>(NL80211_ATTR_IFTYPE, NL80211_IFTYPE_AP),
                         mac(NL80211_ATTR_MAC, 1), number<uint32_t>(NL80211_ATTR_WIPHY_FREQ, 2437) }) } });
    const uint8_t station[6] = { 2, 0x42, 0, 0, 0, 1 };
    const Blob there = join({ attribute(NL80211_ATTR_MAC, station, sizeof station),
                              nest(NL80211_ATTR_STA_INFO, { number<int8_t>(NL80211_STA_INFO_SIGNAL, -47) }) });
    kernel.on(NL80211_CMD_GET_STATION, [=](const Asked &asked) { return asked.dump ? Reply{} : Reply{ { there } }; });
    port = socket(AF_INET, SOCK_DGRAM, 0);
    static radio::Drelm drelm;
    drelm_begin(drelm, send_datagram);
    while (true) drelm_turn(drelm, 1000);
}
