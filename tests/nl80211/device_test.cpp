// Which phy is which radio: by configuration, by its access points, by what it can do; and phys that come, go and
// change their names while the daemon runs.
#include "platform/nl80211/device.h"
#include "tests/nl80211/world.h"

namespace {

struct Device : World {
    void configure(const std::string &radios) { put("/usr/etc/vesk-radio.json", "{\"radios\": " + radios + "}"); }
    void with_interfaces(std::vector<Blob> messages) { kernel.on(NL80211_CMD_GET_INTERFACE, { messages }); }
    std::string name(int index) {
        clock_advance(1000); // a search a second
        radio::Radio radio;
        return radio::device_radio(index, radio) ? radio.name : "none";
    }
    std::string names() { return name(0) + " " + name(1); }
};

struct FindCase {
    const char *name, *radios, *found;
};
const FindCase finds[] = {
    { "by their access points", "[]", "phy0 phy1" },
    { "by name", R"([{"phy": "phy4"}, {"phy": "phy0"}])", "phy4 phy0" },
    { "one by name", R"([{}, {"phy": "phy4"}])", "phy0 phy4" },
    { "by MAC", R"([{"phy": "02:00:00:00:04:00"}])", "phy4 phy1" },
    { "by device", R"([{"phy": "pci0000:00/0000:04:00.0"}, {"phy": "0000:00:00.0"}])", "phy4 none" },
    { "by half a device", R"([{"phy": "000:04:00.0/"}])", "none phy1" },
    { "not there", R"([{"phy": "phy9"}])", "none phy1" },
};

TEST_F(Device, Finding) {
    for (const FindCase &c : finds) {
        SCOPED_TRACE(c.name);
        configure(c.radios);
        radio::config_forget();
        radio::device_forget();
        EXPECT_EQ(names(), c.found);
    }
    EXPECT_TRUE(logged("radios[0].phy: there is no phy9"));
}

TEST_F(Device, WithoutAccessPointsAGuessUntilTheyCome) {
    with_interfaces({});
    EXPECT_EQ(names(), "phy0 phy1");
    with_interfaces(
        { interface(5, 4, NL80211_IFTYPE_AP, "wlan4", 5180, 1), interface(6, 1, NL80211_IFTYPE_AP, "wlan1", 2437, 2) });
    EXPECT_EQ(names(), "phy1 phy4");
    with_interfaces({});
    EXPECT_EQ(names(), "phy1 phy4") << "hostapd is down for a while";
    remove("/sys/class/ieee80211/phy4");
    EXPECT_EQ(names(), "phy1 phy0") << "a radio that goes leaves the other one alone";
    radio::Radio radio;
    EXPECT_TRUE(radio::device_find("phy1", radio) && radio.index == 0) << "a present name goes before one of the past";
}

TEST_F(Device, APhyWithoutTheBand) {
    kernel.on(NL80211_CMD_GET_WIPHY, [](const Asked &) {
        auto pieces = recorded("wiphy");
        pieces.resize(3); // channels of 2.4 GHz only
        return Reply{ pieces };
    });
    with_interfaces({ interface(5, 0, NL80211_IFTYPE_AP, "wlan0", 2437, 1) });
    EXPECT_EQ(names(), "phy0 none");
    HulChannelList list;
    VeskApIntfInfo info;
    EXPECT_EQ(hul_getRadioChannelList(3, &list) + rilk_getRadioApInterfaceInfo(1, &info), -2);
}

TEST_F(Device, RenamedGoneAndBack) {
    int32_t channel = 0;
    EXPECT_EQ(names(), "phy0 phy1");
    remove("/sys/class/ieee80211/phy0");
    add_phy(0, "radio24");
    EXPECT_EQ(name(0), "radio24");
    EXPECT_EQ(rilk_getRadioCurChannel("radio24", &channel) + rilk_getRadioCurChannel("phy0", &channel), 0);
    EXPECT_EQ(channel, 6);
    remove("/sys/class/ieee80211/radio24"); // unplugged
    with_interfaces({ interface(3, 1, NL80211_IFTYPE_AP, "wlan1", 5180, 1) });
    kernel.on(NL80211_CMD_GET_WIPHY, { {}, -ENODEV });
    EXPECT_EQ(names(), "none phy1");
    EXPECT_EQ(rilk_getRadioCurChannel("phy0", &channel), -1);
    add_phy(7, "phy7");
    with_interfaces(
        { interface(3, 1, NL80211_IFTYPE_AP, "wlan1", 5180, 1), interface(8, 7, NL80211_IFTYPE_AP, "wlan7", 2462, 1) });
    EXPECT_EQ(names(), "phy7 phy1");
    EXPECT_EQ(rilk_getRadioCurChannel("phy0", &channel), 0);
    EXPECT_EQ(channel, 11);
    for (const char *name : { "phy4", "", "..", "phy1/../phy0" })
        EXPECT_EQ(rilk_getRadioCurChannel(name, &channel), -1) << name;
}

TEST_F(Device, IsntSearchedForMoreThanOnceASecond) {
    remove("/sys/class/ieee80211");
    EXPECT_EQ(names(), "none none");
    const size_t before = kernel.asked(NL80211_CMD_GET_INTERFACE).size();
    int32_t channel;
    for (int i = 0; i < 50; i++) rilk_getRadioCurChannel("phy0", &channel);
    EXPECT_LE(kernel.asked(NL80211_CMD_GET_INTERFACE).size(), before + 1);
}

} // namespace
