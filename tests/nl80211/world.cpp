#include "tests/nl80211/world.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "platform/nl80211/backhaul.h"
#include "platform/nl80211/config.h"
#include "platform/nl80211/ctrl.h"
#include "platform/nl80211/device.h"
#include "platform/nl80211/drelm/message.h"
#include "platform/nl80211/places.h"
#include "platform/nl80211/scan.h"
#include "platform/nl80211/settings.h"
#include "platform/nl80211/station.h"
#include "platform/nl80211/vlan.h"

namespace fs = std::filesystem;

FakeHostapd::FakeHostapd(const std::string &where, std::map<std::string, std::string> rows)
    : path(where), replies(std::move(rows)), fd(socket(AF_UNIX, SOCK_DGRAM, 0)) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    fs::create_directories(fs::path(path).parent_path());
    EXPECT_EQ(bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof address), 0) << path;
    thread = std::thread([this] { serve(); });
}

FakeHostapd::~FakeHostapd() {
    ends = true;
    shutdown(fd, SHUT_RD); // wakes the thread
    thread.join();
    close(fd);
    unlink(path.c_str());
}

void FakeHostapd::serve() {
    while (!ends) {
        pollfd wanted = { fd, POLLIN, 0 };
        char bytes[4096];
        sockaddr_un from;
        socklen_t size = sizeof from;
        if (poll(&wanted, 1, -1) <= 0 || ends) continue;
        const ssize_t length = recvfrom(fd, bytes, sizeof bytes, MSG_PEEK, reinterpret_cast<sockaddr *>(&from), &size);
        const std::string command(bytes, static_cast<size_t>(std::max<ssize_t>(length, 0)));
        clock_advance(slow); // not under the lock: the kernel, whose clock it is, notes things here under its own
        const std::lock_guard guard(lock);
        heard.push_back(command);
        recv(fd, bytes, sizeof bytes, MSG_DONTWAIT); // until now it was still to be heard
        if (command.starts_with("ATTACH")) listener.assign(reinterpret_cast<char *>(&from), size);
        for (auto row = replies.rbegin(); row != replies.rend(); ++row) // the longest row that fits
            if (command.starts_with(row->first)) {
                const std::string &reply = row->second;
                if (reply == silence) break;
                for (size_t at = 0, end = 0; end != std::string::npos; at = end + 1) {
                    end = reply.find('\f', at);
                    const std::string part = reply.substr(at, end - at);
                    sendto(fd, part.data(), part.size(), 0, reinterpret_cast<sockaddr *>(&from), size);
                }
                break;
            }
    }
}

std::vector<std::string> FakeHostapd::commands() {
    for (;; std::this_thread::sleep_for(std::chrono::milliseconds(1))) {
        const std::lock_guard guard(lock);
        int unread = 0;
        if (ioctl(fd, FIONREAD, &unread) != 0 || unread == 0) return heard;
    }
}

void FakeHostapd::note(const std::string &what) {
    const std::lock_guard guard(lock);
    heard.push_back(what);
}

void FakeHostapd::say(const std::string &command, const std::string &reply) {
    const std::lock_guard guard(lock);
    replies[command] = reply;
}

bool FakeHostapd::tell(const std::string &event) {
    const std::lock_guard guard(lock);
    return !listener.empty() &&
           sendto(fd, event.data(), event.size(), 0, reinterpret_cast<const sockaddr *>(listener.data()),
                  static_cast<socklen_t>(listener.size())) == static_cast<ssize_t>(event.size());
}

void FakeHostapd::drop() {
    const std::lock_guard guard(lock);
    listener.clear();
}

World::World() : root("/tmp/radio." + std::to_string(getpid())) {
    fs::remove_all(root);
    radio::places_begin_at(root.c_str());
    radio::ctrl_set_patience(20000);
    for (const auto &[index, name] : { std::pair(0, "phy0"), { 1, "phy1" }, { 4, "phy4" } }) add_phy(index, name);
    for (const auto &[index, name, phy] : { std::tuple(2u, "wlan0", 0),
                                            { 9u, "wlan0b", 0 },
                                            { 10u, "wlan0b.sta1", 0 },
                                            { 3u, "wlan1", 1 },
                                            { 6u, "wlan4", 4 } })
        add_interface(index, name, phy);
    kernel.on(NL80211_CMD_GET_INTERFACE, [](const Asked &asked) { return narrowed({ recorded("iface") }, asked); });
    kernel.on(NL80211_CMD_GET_WIPHY, { recorded("wiphy") });
    kernel.on(NL80211_CMD_GET_STATION, [](const Asked &asked) {
        return asked.ifindex == 2    ? Reply{ recorded("station_wlan0") }
               : asked.ifindex == 10 ? Reply{ recorded("station_vlan") }
                                     : Reply{};
    });
    kernel.on(NL80211_CMD_GET_SURVEY, { recorded("survey") });
    kernel.on(NL80211_CMD_GET_SCAN, { recorded("scan") });
    kernel.on(NL80211_CMD_GET_REG, { recorded("reg") });
    testing::internal::CaptureStderr();
}

World::~World() {
    radio::scan_stop();
    testing::internal::GetCapturedStderr();
    radio::station_forget();
    radio::backhaul_stop();
    radio::vlan_forget();
    radio::settings_forget();
    radio::device_forget();
    radio::config_forget();
    fs::remove_all(root);
}

bool World::logged(const std::string &text) {
    log += testing::internal::GetCapturedStderr();
    testing::internal::CaptureStderr();
    return log.find(text) != std::string::npos;
}

void World::put(const std::string &file, const std::string &content) {
    fs::create_directories(fs::path(root + file).parent_path());
    std::ofstream(root + file) << content;
}

void World::link(const std::string &file, const std::string &target) {
    put(file, "");
    fs::remove(root + file);
    fs::create_symlink(target, root + file);
}

void World::remove(const std::string &path) { fs::remove_all(root + path); }

void World::add_phy(int index, const std::string &name) {
    const std::string device = "/sys/devices/pci0000:00/0000:0" + std::to_string(index) + ":00.0";
    put(device + "/vendor", "0x14c3\n");
    link(device + "/driver", "../../../bus/pci/drivers/mt7915e");
    const std::string phy = "/sys/class/ieee80211/" + name;
    put(phy + "/index", std::to_string(index) + "\n");
    put(phy + "/macaddress", "02:00:00:00:0" + std::to_string(index) + ":00\n");
    link(phy + "/device", root + device);
}

void World::add_interface(uint32_t index, const std::string &name, int phy) {
    const std::string net = "/sys/class/net/" + name;
    put(net + "/ifindex", std::to_string(index) + "\n");
    put(net + "/operstate", "up\n");
    put(net + "/phy80211/index", std::to_string(phy) + "\n");
    const char *counters[] = { "rx_packets", "tx_packets", "rx_bytes",   "tx_bytes", "rx_errors",
                               "tx_errors",  "rx_dropped", "tx_dropped", "multicast" };
    for (size_t i = 0; i < std::size(counters); i++)
        put(net + "/statistics/" + counters[i], std::to_string(5000000000 + 100 * index + i) + "\n");
}

std::string hex(const void *bytes, size_t size) {
    std::string digits;
    char pair[3];
    for (size_t i = 0; i < size; i++) {
        snprintf(pair, sizeof pair, "%02x", static_cast<const uint8_t *>(bytes)[i]);
        digits += pair;
    }
    return digits;
}

std::vector<uint8_t> bytes_of(const std::string &digits) {
    std::vector<uint8_t> bytes(digits.size() / 2);
    radio::message_bytes(digits, bytes.data(), bytes.size());
    return bytes;
}

Reply narrowed(Reply interfaces, const Asked &asked) {
    if (asked.dump || interfaces.error) return interfaces;
    std::erase_if(interfaces.messages, [&](const Blob &one) { return one.at(4) != asked.ifindex; }); // comes first
    return interfaces.messages.empty() ? Reply{ {}, -ENODEV } : interfaces;
}

Blob interface(uint32_t index, int wiphy, uint32_t type, const std::string &name, uint32_t frequency, uint8_t last) {
    return join({ number(NL80211_ATTR_IFINDEX, index), text(NL80211_ATTR_IFNAME, name),
                  number(NL80211_ATTR_WIPHY, wiphy), number(NL80211_ATTR_IFTYPE, type), mac(NL80211_ATTR_MAC, last),
                  frequency ? number(NL80211_ATTR_WIPHY_FREQ, frequency) : Blob{} });
}
