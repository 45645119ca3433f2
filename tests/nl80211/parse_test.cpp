// What is read without a kernel: channel tables, elements off the air, survey figures, hostapd's texts.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "platform/nl80211/channels.h"
#include "platform/nl80211/ctrl.h"
#include "platform/nl80211/element.h"
#include "platform/nl80211/hostapd.h"
#include "platform/nl80211/scan_table.h"

using namespace radio;

namespace {

struct FrequencyCase {
    uint32_t frequency;
    int band, channel;
    bool listed;
};
const FrequencyCase frequencies[] = {
    { 2407, -1, 0, false },        { 2414, -1, 0, false },  { 5183, -1, 0, false }, { 2412, 0, 1, true },
    { 2472, 0, 13, true },         { 2484, 0, 14, false },  { 2477, -1, 0, false }, { 5160, 1, 32, false },
    { 5180, 1, 36, true },         { 5185, 1, 37, false },  { 5320, 1, 64, true },  { 5340, 1, 68, false },
    { 5500, 1, 100, true },        { 5720, 1, 144, true },  { 5745, 1, 149, true }, { 5825, 1, 165, true },
    { 5845, 1, 169, false },       { 5885, 1, 177, false }, { 5955, -1, 0, false }, { 0, -1, 0, false },
    { 4294967295u, -1, 0, false },
};

TEST(Nl80211Channels, FrequenciesAndNumbers) {
    for (const FrequencyCase &c : frequencies) {
        SCOPED_TRACE(c.frequency);
        EXPECT_EQ(band_of_frequency(c.frequency), c.band);
        EXPECT_EQ(channel_of_frequency(c.frequency), c.channel);
        EXPECT_EQ(is_listed_channel(c.band, c.channel), c.listed);
        if (c.band >= 0) {
            EXPECT_EQ(frequency_of_channel(c.band, c.channel), c.frequency);
        }
    }
    for (const auto &[band, channel] : { std::pair(0, 36), { 1, 6 }, { 0, 0 }, { 1, -1 }, { 2, 36 }, { 1, 255 } })
        EXPECT_EQ(frequency_of_channel(band, channel), 0u) << band << " " << channel;
}

TEST(Nl80211Channels, Widths) {
    for (const auto &[value, index, bond] : { std::tuple(0, 0, "20MHz"),
                                              { 1, 0, "20MHz" },
                                              { 2, 1, "40MHz" },
                                              { 3, 2, "80MHz" },
                                              { 4, 4, "80+80" },
                                              { 5, 3, "160MHz" },
                                              { 6, 5, "" },
                                              { 7, 5, "" },
                                              { 13, 5, "" },
                                              { -1, 5, "" } }) {
        EXPECT_EQ(width_of(value).index, index) << value;
        EXPECT_STREQ(width_of(value).bond, bond) << value;
    }
}

struct ClassCase {
    uint32_t frequency;
    uint16_t mhz;
    uint32_t centre;
    int expected;
};
const ClassCase classes[] = {
    { 2437, 20, 0, 81 },  { 2484, 20, 0, 82 },   { 2437, 40, 2447, 83 },  { 2437, 40, 2427, 84 },
    { 2437, 40, 0, 81 },  { 2472, 40, 2482, 0 }, { 2412, 40, 2402, 0 },   { 2437, 80, 2437, 0 },
    { 5180, 20, 0, 115 }, { 5220, 40, 0, 116 },  { 5240, 40, 5230, 117 }, { 5320, 20, 0, 118 },
    { 5260, 40, 0, 119 }, { 5280, 40, 0, 120 },  { 5720, 20, 0, 121 },    { 5500, 40, 0, 122 },
    { 5520, 40, 0, 123 }, { 5805, 20, 0, 124 },  { 5825, 20, 0, 125 },    { 5745, 40, 0, 126 },
    { 5765, 40, 0, 127 }, { 5260, 80, 0, 128 },  { 5540, 160, 0, 129 },   { 5660, 160, 0, 0 },
    { 5935, 20, 0, 136 }, { 5955, 20, 0, 131 },  { 5955, 160, 0, 134 },   { 5190, 20, 0, 0 },
    { 5180, 320, 0, 0 },  { 0, 20, 0, 0 },
};

TEST(Nl80211Channels, OperatingClasses) {
    for (const ClassCase &c : classes)
        EXPECT_EQ(operating_class(c.frequency, width_of_mhz(c.mhz).index, c.centre), c.expected)
            << c.frequency << " " << c.mhz << " " << c.centre;
    EXPECT_EQ(operating_class(5180, 4), 130);
}

std::vector<uint8_t> hex(const std::string &digits) {
    std::vector<uint8_t> bytes;
    for (size_t i = 0; i + 1 < digits.size(); i += 2)
        bytes.push_back(static_cast<uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
    return bytes;
}

struct ElementCase {
    const char *name, *elements;
    uint16_t capability;
    const char *ssid;
    int width;
    const char *security;
};
const std::string psk = "30140100000fac040100000fac040100000fac020000";
const ElementCase elements[] = {
    { "nothing", "", 0, "", 20, "OPEN" },
    { "privacy without a suite", "0003616263", 0x10, "abc", 20, "WEP" },
    { "hidden, as zeros", "000400000000", 0, "", 20, "OPEN" },
    { "NUL and newline in the name", "0005610a620063", 0, "a\nb", 20, "OPEN" },
    { "name longer than allowed", "0022414141414141414141414141414141414141414141414141414141414141414141414242", 0,
      "AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA", 20, "OPEN" },
    { "length that runs over", "00ff6162", 0, "", 20, "OPEN" },
    { "half an element behind a whole one", "00016130", 0, "a", 20, "OPEN" },
    { "HT 40", "3d16060500000000000000000000000000000000000000000000", 0, "", 40, "OPEN" },
    { "HT 20 beside VHT that leaves it to HT", "3d16060000000000000000000000000000000000000000000000c005000000fcff", 0,
      "", 20, "OPEN" },
    { "VHT 80", "c005012a00fcff", 0, "", 80, "OPEN" },
    { "VHT 160 by the second centre", "c005012a32fcff", 0, "", 160, "OPEN" },
    { "VHT 160, the older way", "c005023200fcff", 0, "", 160, "OPEN" },
    { "HE with VHT information", "ff0a24004000000000012a00", 0, "", 80, "OPEN" },
    { "HE without", "ff0724000000000000", 0, "", 20, "OPEN" },
    { "HE cut", "ff0324004000", 0, "", 20, "OPEN" },
    { "WPA2-PSK", psk.c_str(), 0x10, "", 20, "WPA2-PSK" },
    { "WPA and WPA2", "30140100000fac020100000fac040100000fac020000dd160050f20101000050f20201000050f20201000050f202",
      0x10, "", 20, "WPA/WPA2-PSK" },
    { "WPA alone", "dd160050f20101000050f20201000050f20201000050f202", 0x10, "", 20, "WPA-PSK" },
    { "SAE and PSK", "30180100000fac040100000fac040200000fac02000fac080000", 0x10, "", 20, "WPA2-PSK/WPA3-SAE" },
    { "SAE", "30140100000fac040100000fac040100000fac080000", 0x10, "", 20, "WPA3-SAE" },
    { "802.1X", "30140100000fac040100000fac040100000fac010000", 0x10, "", 20, "WPA2-EAP" },
    { "OWE", "30140100000fac040100000fac040100000fac120000", 0x10, "", 20, "OWE" },
    { "suites counted beyond the end", "30140100000fac04ffff000fac040100000fac020000", 0x10, "", 20, "WEP" },
};

TEST(Nl80211Elements, Tables) {
    for (const ElementCase &c : elements) {
        SCOPED_TRACE(c.name);
        const auto bytes = hex(c.elements);
        char ssid[33], security[32];
        element_ssid(bytes, ssid);
        element_security(bytes, c.capability, security);
        EXPECT_STREQ(ssid, c.ssid);
        EXPECT_EQ(element_width(bytes), c.width);
        EXPECT_STREQ(security, c.security);
    }
}

TEST(Nl80211Elements, EveryCutIsBorne) {
    for (const ElementCase &c : elements)
        for (auto bytes = hex(c.elements); !bytes.empty(); bytes.pop_back()) {
            const auto exact = std::make_unique<uint8_t[]>(bytes.size()); // a read behind its end is seen
            memcpy(exact.get(), bytes.data(), bytes.size());
            char ssid[33], security[32];
            element_ssid({ exact.get(), bytes.size() }, ssid);
            element_security({ exact.get(), bytes.size() }, 0, security);
            EXPECT_GE(element_width({ exact.get(), bytes.size() }), 20);
        }
}

Survey survey(uint64_t time, uint64_t busy, uint64_t rx, uint64_t tx, int64_t bssRx = -1) {
    return { 2437, true, true,       true, true,
             true, true, bssRx >= 0, -95,  time,
             busy, 0,    rx,         tx,   static_cast<uint64_t>(std::max<int64_t>(bssRx, 0)) };
}

struct LoadCase {
    const char *name;
    Survey before, now;
    int busy, own;
}; // -1: unknown
Survey without(Survey s, bool Survey::*what) {
    s.*what = false;
    return s;
}
Survey at(Survey s, uint32_t frequency) {
    s.frequency = frequency;
    return s;
}
const LoadCase loads[] = {
    { "no busy time", survey(0, 0, 0, 0), without(survey(1000, 10, 10, 10), &Survey::hasBusy), -1, 2 },
    { "no receive time", survey(0, 0, 0, 0), without(survey(1000, 500, 0, 10), &Survey::hasRx), 50, -1 },
    { "no time between", survey(1000, 10, 1, 1), survey(1000, 20, 2, 2), -1, -1 },
    { "time counted backwards", survey(1000, 10, 1, 1), survey(900, 20, 2, 2), -1, -1 },
    { "busy counted backwards", survey(1000, 900, 1, 1), survey(2000, 10, 2, 2), -1, 0 },
    { "transmit counted backwards", survey(1000, 0, 1, 100), survey(2000, 100, 2, 2), 10, -1 },
    { "another channel", survey(1000, 10, 1, 1), at(survey(2000, 20, 2, 2), 2412), -1, -1 },
    { "busier than time passed", survey(0, 0, 0, 0), survey(100, 250, 300, 1), 100, 100 },
    { "64 bits", survey(0, 0, 0, 0), survey(1ull << 40, 1ull << 39, 0, 0), 50, 0 },
};

TEST(Nl80211Survey, LoadBetweenTwoSamples) {
    for (const LoadCase &c : loads) {
        SCOPED_TRACE(c.name);
        const Load load = survey_load(c.before, c.now);
        EXPECT_EQ(load.busyKnown ? load.busy : -1, c.busy);
        EXPECT_EQ(load.ownKnown ? load.own : -1, c.own);
    }
}

TEST(Nl80211Survey, UtilisationOfAScan) {
    const Survey none = without(survey(124, 62, 0, 0), &Survey::hasTime), before = survey(5000, 1000, 0, 0);
    const Survey own = survey(124, 62, 0, 0), running = survey(5100, 1075, 0, 0), reset = survey(400, 10, 0, 0);
    EXPECT_EQ(scan_utilisation(nullptr, &own, 125), 50); // counted from the scan's beginning
    EXPECT_EQ(scan_utilisation(&before, &own, 125), 50);
    EXPECT_EQ(scan_utilisation(&before, &running, 125), 75); // counted from the driver's
    EXPECT_EQ(scan_utilisation(nullptr, &running, 125), -1);
    EXPECT_EQ(scan_utilisation(&before, &reset, 125), -1);
    EXPECT_EQ(scan_utilisation(&before, &none, 125), -1);
    EXPECT_EQ(scan_utilisation(&before, nullptr, 125), -1);
    const Survey idle = survey(0, 0, 0, 0);
    EXPECT_EQ(scan_utilisation(nullptr, &idle, 125), -1);
}

TEST(Nl80211Hostapd, ValuesOfAReply) {
    char value[8];
    for (const auto &[reply, name, expected] : { std::tuple("a=1\nb=2\n", "a", "1"),
                                                 { "a=1\nb=2\n", "b", "2" },
                                                 { "ab=1\nb=2", "b", "2" },
                                                 { "a=", "a", "" },
                                                 { "a=1", "b", "-" },
                                                 { "", "a", "-" },
                                                 { "\n\na=3", "a", "3" },
                                                 { "a=123456789", "a", "1234567" },
                                                 { "x a=1\n", "a", "-" },
                                                 { "a", "a", "-" } })
        EXPECT_STREQ(ctrl_value(reply, name, value) ? value : "-", expected) << reply;
}

struct SecurityCase {
    const char *reply;
    int auth, encrypt;
    bool backhaul;
};
const SecurityCase securities[] = {
    { "ssid=x\n", 1, 0, false },
    { "key_mgmt=WPA-PSK\nrsn_pairwise_cipher=CCMP\nmulti_ap=1\n", 32, 8, true },
    { "key_mgmt=WPA-PSK\nrsn_pairwise_cipher=CCMP\nwpa_pairwise_cipher=TKIP\nmulti_ap=3\n", 34, 12, false },
    { "key_mgmt=WPA-PSK-SHA256 FT-PSK\nrsn_pairwise_cipher=CCMP\n", 32, 8, false },
    { "key_mgmt=SAE\nrsn_pairwise_cipher=CCMP\nmulti_ap=2\n", 64, 8, false },
    { "key_mgmt=WPA-PSK SAE\nrsn_pairwise_cipher=GCMP-256\n", 96, 8, false },
    { "key_mgmt=WPA-EAP\nrsn_pairwise_cipher=CCMP\n", 16, 8, false },
    { "FAIL\n", 1, 0, false },
};

TEST(Nl80211Hostapd, Security) {
    for (const SecurityCase &c : securities) {
        SCOPED_TRACE(c.reply);
        const Security security = hostapd_security(c.reply);
        EXPECT_EQ(security.authMode, c.auth);
        EXPECT_EQ(security.encryptMode, c.encrypt);
        EXPECT_EQ(security.isBackhaul, c.backhaul);
    }
}

struct StationCase {
    const char *reply;
    bool is11k, is11v;
    const char *mode;
};
const StationCase stations[] = {
    { "FAIL\n", false, false, "" },
    { "flags=[AUTH][WMM]\ncapability=0x431\next_capab=04\n", false, false, "" },
    { "flags=[AUTH][HT]\ncapability=0x1431\next_capab=000000\n", true, false, "11n" },
    { "flags=[HT][VHT]\ncapability=0x1000\next_capab=000008\n", true, true, "11ac" },
    { "flags=[HT][VHT][HE]\ncapability=0xefff\next_capab=04004a0201\n", false, true, "11ax" },
    { "capability=zz\next_capab=0000zz\n", false, false, "" },
};

TEST(Nl80211Hostapd, AbilitiesOfAStation) {
    for (const StationCase &c : stations) {
        SCOPED_TRACE(c.reply);
        const Abilities abilities = hostapd_abilities(c.reply);
        EXPECT_EQ(abilities.is11k, c.is11k);
        EXPECT_EQ(abilities.is11v, c.is11v);
        EXPECT_STREQ(abilities.mode, c.mode);
    }
}

TEST(Nl80211Hostapd, Modes) {
    char modes[32];
    for (const auto &[band, status, expected] :
         { std::tuple(0, "ieee80211n=1\nieee80211ac=1\nieee80211ax=1\nsupported_rates=02 04 0b 16 0c 12\n", "b,g,n,ax"),
           { 0, "ieee80211n=1\nsupported_rates=0c 12 18\n", "g,n" },
           { 0, "supported_rates=02 04\n", "b" },
           { 1, "ieee80211n=1\nieee80211ac=1\nieee80211ax=0\nsupported_rates=8c 12 98\n", "a,n,ac" },
           { 1, "FAIL", "" } }) {
        hostapd_modes(status, band, modes, sizeof modes);
        EXPECT_STREQ(modes, expected) << status;
    }
    hostapd_modes("ieee80211n=1\nieee80211ac=1\nieee80211ax=1\nsupported_rates=0c\n", 1, modes, 6);
    EXPECT_STREQ(modes, "a,n,a"); // cut, and terminated
}

TEST(Nl80211Hostapd, ValuesOfItsFile) {
    const char *file = "ssid=none\ninterface=wlan0\nwpa_passphrase=first one\r\n#wpa_passphrase=no\nbss=wlan0b\n"
                       "wpa_passphrase_x=no\nwpa_passphrase=second\nbss=wlan0\nbss=wlan0c\nwpa_passphrase=";
    char value[16];
    for (const auto &[name, expected] : { std::pair("wlan0", "first one"),
                                          { "wlan0b", "second" },
                                          { "wlan0c", "" },
                                          { "wlan", "-" },
                                          { "wlan0bb", "-" } })
        EXPECT_STREQ(hostapd_file_value(file, name, "wpa_passphrase", value, sizeof value) ? value : "-", expected)
            << name;
}

} // namespace
