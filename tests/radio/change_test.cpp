// What changes under the libraries while a daemon runs: radios blocked and renamed, interfaces that go, hostapd
// restarted; and as many stations as a radio can have.
#include "include/rilk.h"

#include "tests/radio/crowd.h"
#include "tests/radio/table.h"

namespace {

std::string status_of(int (*operation)(const char *, uint8_t *), const char *name) {
    uint8_t status;
    return operation(name, &status) == 0 ? text("%d", status) : "error";
}

std::string channel_of(const char *name) {
    int32_t channel;
    return rilk_getRadioCurChannel(name, &channel) == 0 ? text("%d", channel) : "error";
}

/** Whether the 5 GHz radio's beacon says that it measures for stations, as another radio hears it. */
std::string measures() {
    channel_of("phy1"); // the daemon asks every few seconds, and hostapd is told what it forgot
    for (const Heard &heard : scan_on("wlan3", 5180)) {
        if (heard.bssid == "02:00:00:00:01:00") return text("%d", atoi(heard.capability.c_str()) >> 12 & 1);
    }
    return "silence";
}

#define RFKILL(value) "for r in /sys/class/rfkill/*; do grep -q '^phy0$' $r/name && echo " #value " >$r/soft; done"

struct Change {
    const char *name, *begin, *end;
    std::string (*see)();
    const char *before, *during, *after;
};
const Change changes[] = {
    { "radio blocked", RFKILL(1), RFKILL(0), [] { return status_of(rilk_getRadioStatus, "phy0"); }, "1", "0", "1" },
    // by vesk-radio.json it is phy0, whatever else bears that name
    { "radio renamed", "iw phy phy0 set name radio24", "iw phy radio24 set name phy0",
      [] { return channel_of("radio24") + " " + channel_of("phy0"); }, "error 6", "error error", "error 6" },
    { "interface gone", "iw dev bsta0 del", "iw phy phy0 interface add bsta0 type managed",
      [] { return status_of(rilk_getVapStatus, "bsta0"); }, "0", "error", "0" },
    // A reload keeps the control socket and forgets the settings: nothing tells of it (README).
    { "hostapd reloaded", "kill -HUP $(cat /run/hostapd.pid)", "true", measures, "1", "0", "0" },
    { "hostapd restarted", "kill $(cat /run/hostapd.pid)", HOSTAPD, measures, "0", "silence", "1" },
};

TEST(Change, IsSeenAndItsEndToo) {
    EXPECT_EQ(rilk_initDriver() + rilk_setRRMEnable("wlan1", 1), 0);
    for (const Change &change : changes) {
        SCOPED_TRACE(change.name);
        std::string seen;
        const auto becomes = [&](const char *wanted) {
            return within(
                30s, [&] { return (seen = change.see()) == wanted; }, 500ms);
        };
        EXPECT_TRUE(becomes(change.before)) << seen;
        sh(change.begin);
        EXPECT_TRUE(becomes(change.during)) << seen;
        sh(change.end);
        EXPECT_TRUE(becomes(change.after)) << seen;
    }
}

TEST(Change, APollOf256StationsTakesAtMost50Ms) {
    const Crowd crowd("wlan1o", 256);
    Clock::duration longest{};
    for (int poll = 0; poll < 20; poll++) { // in the first ones hostapd is asked of the new stations
        const auto begin = Clock::now();
        int32_t number = 0;
        uint8_t mac[6];
        VeskStaEntry entry;
        EXPECT_EQ(rilk_getVapAssocStationNumber("wlan1o", &number), 0);
        ASSERT_EQ(number, 256);
        for (int i = 1; i <= number; i++)
            EXPECT_EQ(rilk_getVapAssocStationMac("wlan1o", i, mac) + rilk_getVapAssocStationInfo("wlan1o", mac, &entry),
                      0);
        longest = std::max(longest, Clock::now() - begin);
    }
    EXPECT_LE(longest / 1us, 50000);
}

} // namespace
