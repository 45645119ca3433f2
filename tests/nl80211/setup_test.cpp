// vesk-setup on the recorded kernel: what it writes of a machine, what it finds missing there.
#include "tools/vesk-setup/plan.h"

#include <fstream>
#include <iterator>
#include <sstream>

#include "tests/nl80211/world.h"
#include "tools/vesk-setup/write.h"

namespace {

const char file24[] = "interface=wlan0\nctrl_interface=/run/hostapd\nhw_mode=g\nbss=wlan0b\n"
                      "ctrl_interface=/run/hostapd\n";
const char file5[] = "interface=wlan1\nctrl_interface=DIR=/run/ap GROUP=wheel\nhw_mode=a\n# bss=off\n";

/** A whole access point: nothing is missing but where a row takes it away. */
struct Machine : World {
    void TestBody() override {}
    Machine() {
        put("/etc/hostapd/24.conf", file24);
        put("/proc/77/comm", "hostapd\n");
        put("/proc/77/cmdline", std::string("/usr/sbin/hostapd\0-B\0/etc/hostapd/24.conf\0five.conf\0", 53));
        put("/proc/77/cwd/five.conf", file5);
        put("/proc/78/comm", "wpa_supplicant\n");
        put("/proc/78/cmdline", std::string("wpa_supplicant\0-ibsta1\0-c\0/etc/wpa.conf\0", 40));
        put("/etc/wpa.conf", "ctrl_interface=/run/station\n");
        put("/run/station/bsta1", "");
        for (const char *name : { "wlan0", "wlan0b", "wlan1" })
            link("/sys/class/net/" + std::string(name) + "/master", "../br0");
        put("/sys/class/net/br0/bridge/vlan_filtering", "1\n");
        for (const char *port : { "lan2", "lan1" }) {
            put("/sys/class/net/" + std::string(port) + "/device/vendor", "");
            put("/sys/class/net/" + std::string(port) + "/type", "1\n");
        }
        put("/tmp/sysinfo/model", "Gateway\n");
        with({});
    }
    void with(std::vector<Blob> more) {
        std::vector<Blob> all = { interface(2, 0, NL80211_IFTYPE_AP, "wlan0", 2437, 1),
                                  interface(9, 0, NL80211_IFTYPE_AP, "wlan0b", 2437, 2),
                                  interface(3, 1, NL80211_IFTYPE_AP, "wlan1", 5180, 3),
                                  interface(12, 1, NL80211_IFTYPE_STATION, "bsta1", 0, 4) };
        all.insert(all.end(), more.begin(), more.end());
        kernel.on(NL80211_CMD_GET_INTERFACE, { all });
    }
    Machine &plan_it() {
        found = {};
        EXPECT_EQ(setup::machine_read(found), 0);
        plan = setup::plan_make(found);
        product = setup::plan_product(found, plan);
        radio = setup::plan_radio(plan);
        return *this;
    }
    /** A value by its keys and positions, "Wifi 1 HT40MHz". */
    static std::string value(const Json &json, const std::string &keys) {
        std::istringstream words(keys);
        const cJSON *at = json.get();
        for (std::string key; words >> key;)
            at = isdigit(key[0]) && cJSON_IsArray(at) ? cJSON_GetArrayItem(at, atoi(key.c_str()))
                                                      : cJSON_GetObjectItemCaseSensitive(at, key.c_str());
        return at ? json_line(at) : "";
    }
    std::string remedy(const std::string &what) {
        for (const setup::Finding &one : plan.missing)
            if (one.what.find(what) != std::string::npos) return one.remedy;
        return "none";
    }

    FakeHostapd sockets[3] = { { root + "/run/hostapd/wlan0", { { "BSS_TM_REQ", "FAIL\n" } } },
                               { root + "/run/hostapd/wlan0b", { { "BSS_TM_REQ", "FAIL\n" } } },
                               { root + "/run/ap/wlan1", { { "BSS_TM_REQ", "FAIL\n" } } } };
    setup::Machine found;
    setup::Plan plan;
    Json product, radio;
};

// By hand, from the recorded bytes: HT 0x107e, VHT 0x038004fa, maps 0xaaaa; HE PHY of an access
// point 00 bf ce 00 at 2.4 and 1c bf ce 00 at 5 GHz, maps 0xfffa.
const char *const values[][2] = {
    { "1905EnabledInterfaceNames", "\"lan1,lan2,wlan0.v0,wlan0b.v0,wlan1.v0,bsta1\"" },
    { "ModelName", "\"Gateway\"" },
    { "NumberOfWifiRadios", "2" },
    { "NumberOfEthernetPorts", "2" },
    { "Ethernet 1", R"({"PhysicalPortNumber":2,"InterfaceName":"lan2"})" },
    { "Wifi 0 OperatingFrequencyBand", "\"2.4GHZ\"" },
    { "Wifi 0 InterfaceName", "\"phy0\"" },
    { "Wifi 0 Vap 1", R"({"DataModelIndex":2,"InterfaceName":"wlan0b","Mode":"ap"})" },
    { "Wifi 1 Vap 1", R"({"DataModelIndex":2,"InterfaceName":"bsta1","Mode":"sta"})" },
    { "Wifi 0 SupportedStandards", "\"b,g,n,ax\"" },
    { "Wifi 1 SupportedStandards", "\"a,n,ac,ax\"" },
    { "Wifi 0 SupportedOperatingChannelBandwidths", "\"20MHz,40MHz\"" },
    { "Wifi 1 SupportedOperatingChannelBandwidths", "\"20MHz,40MHz,80MHz,160MHz\"" },
    { "Wifi 0 HTNumberOfTxStreams", "2" },
    { "Wifi 0 HTNumberOfRxStreams", "2" },
    { "Wifi 0 HTShortGI20MHz", "\"Supported\"" },
    { "Wifi 0 HT40MHz", "\"Supported\"" },
    { "Wifi 0 VHTTxMCS", "" },
    { "Wifi 1 VHTTxMCS", "43690" },
    { "Wifi 1 VHTNumberOfRxStreams", "8" },
    { "Wifi 1 VHTShortGI80MHz", "\"Supported\"" },
    { "Wifi 1 VHTShortGI160And80+80MHz", "\"Supported\"" },
    { "Wifi 1 VHT160MHz", "\"Supported\"" },
    { "Wifi 1 VHT80+80MHz", "\"Supported\"" },
    { "Wifi 1 VHTSUBeamFormer", "\"NotSupported\"" },
    { "Wifi 1 HE160MHz", "\"Supported\"" },
    { "Wifi 0 HE160MHz", "\"NotSupported\"" },
    { "Wifi 1 HEULMUMIMO", "\"Supported\"" }, // of the access point: a mesh point hasn't it
    { "Wifi 1 HEDLMUMIMOOFDMA", "\"NotSupported\"" },
    { "Wifi 1 HESUBeamFormer", "\"NotSupported\"" },
    { "Wifi 1 HENumberOfTxStreams", "2" },
    { "Wifi 0 HEMCS RxMapLE80MHz", "65530" },
    { "Wifi 0 HEMCS RxMap160MHz", "65535" },
    { "Wifi 1 HEMCS TxMap80+80MHz", "65530" },
};

TEST(Setup, WhatTheFilesSay) {
    Machine w;
    w.plan_it();
    for (const auto &[keys, expected] : values)
        EXPECT_EQ(w.value(w.product, std::string("ProductParameters ") + keys), expected) << keys;
    EXPECT_EQ(w.radio.line(), R"({"role":2,"hostapdConfig":["/etc/hostapd/24.conf","/proc/77/cwd/five.conf"],)"
                              R"("hostapdDir":"/run/ap","wpaDir":"/run/station",)"
                              R"("radios":[{"phy":"pci0000:00/0000:00:00.0"},{"phy":"pci0000:00/0000:01:00.0"}]})");
    EXPECT_TRUE(w.plan.missing.empty()) << w.plan.missing[0].what;
    EXPECT_EQ(w.plan.sentence, "");
    // The library, given the file, finds the same radios.
    w.put("/usr/etc/vesk-radio.json", w.radio.pretty());
    VeskApIntfInfo radios[2] = {};
    EXPECT_EQ(rilk_getRadioApInterfaceInfo(0, &radios[0]) + rilk_getRadioApInterfaceInfo(1, &radios[1]), 0);
    EXPECT_STREQ(radios[0].radioIfname, "phy0");
    EXPECT_STREQ(radios[1].radioIfname, "phy1");
    EXPECT_FALSE(w.logged("vesk-radio.json")) << w.log;
}

struct MissingCase {
    const char *name;
    void (*arrange)(Machine &world);
    const char *what, *remedy;
};
const MissingCase missing[] = {
    { "bss= without its own control interface", [](Machine &w) { w.remove("/run/hostapd/wlan0b"); },
      "wlan0b has no control socket", "ctrl_interface=/run/hostapd below bss=wlan0b in /etc/hostapd/24.conf" },
    { "a build without WNM", [](Machine &w) { w.sockets[2].say("BSS_TM_REQ", "UNKNOWN COMMAND\n"); }, "without WNM",
      "full build" },
    { "nobody behind the socket",
      [](Machine &w) {
          w.remove("/run/ap/wlan1");
          w.put("/run/ap/wlan1", "");
      },
      "wlan1: hostapd doesn't answer", "as root" },
    { "a name of 12 characters",
      [](Machine &w) { w.with({ interface(20, 0, NL80211_IFTYPE_AP, "phy0-ap0-abc", 2437, 5) }); },
      "phy0-ap0-abc is left out", "another name" },
    { "a point in a name", [](Machine &w) { w.with({ interface(20, 0, NL80211_IFTYPE_AP, "wlan0.2", 2437, 5) }); },
      "wlan0.2 is left out", "another name" },
    { "nine interfaces",
      [](Machine &w) {
          std::vector<Blob> more;
          for (uint32_t i = 0; i < 8; i++)
              more.push_back(interface(20 + i, 1, NL80211_IFTYPE_AP, "wlan1x" + std::to_string(i), 5180, 6));
          w.with(more);
      },
      "phy1: 9 access points, the daemon serves 7", "first" },
    { "no file", [](Machine &w) { w.remove("/proc/77"), w.remove("/etc/hostapd"); }, "wlan0: no file of hostapd's",
      "hostapdConfig" },
    { "no bridge", [](Machine &w) { w.remove("/sys/class/net/wlan1/master"); }, "wlan1 is in no bridge", "bridge=" },
    { "a bridge without VLANs", [](Machine &w) { w.put("/sys/class/net/br0/bridge/vlan_filtering", "0\n"); },
      "br0 doesn't filter", "vlan_filtering 1" },
    { "no wpa_supplicant", [](Machine &w) { w.remove("/run/station"); }, "bsta1: no wpa_supplicant", "ctrl_interface" },
    { "no country", [](Machine &w) { w.kernel.on(NL80211_CMD_GET_REG, { { text(NL80211_ATTR_REG_ALPHA2, "00") } }); },
      "no country", "country_code" },
    { "the simulated device's product file", [](Machine &w) { w.put("/tmp/kor-product-cfg.json", "{}"); },
      "in place of the file in /usr/etc", "remove" },
};

TEST(Setup, WhatIsMissing) {
    for (const MissingCase &c : missing) {
        SCOPED_TRACE(c.name);
        Machine w;
        c.arrange(w);
        EXPECT_NE(w.plan_it().remedy(c.what).find(c.remedy), std::string::npos) << w.remedy(c.what);
    }
}

struct RadiosCase {
    const char *name;
    std::vector<Blob> (*interfaces)();
    const char *radios, *sentence; // of vesk-radio.json; a part of what the daemon can do there
};
const RadiosCase radiosCases[] = {
    { "two on the same band",
      [] {
          return std::vector<Blob>{ interface(2, 0, NL80211_IFTYPE_AP, "wlan0", 2437, 1),
                                    interface(3, 1, NL80211_IFTYPE_AP, "wlan1", 2462, 2),
                                    interface(6, 4, NL80211_IFTYPE_AP, "wlan4", 2412, 3) };
      },
      R"([{"phy":"pci0000:00/0000:00:00.0"},{"enabled":false}])", "one radio a band: phy1 and its access points" },
    { "one radio",
      [] {
          return std::vector<Blob>{ interface(3, 1, NL80211_IFTYPE_AP, "wlan1", 5180, 2),
                                    interface(6, 4, NL80211_IFTYPE_AP, "wlan4", 5200, 3) };
      },
      R"([{"enabled":false},{"phy":"pci0000:00/0000:01:00.0"}])", "One radio only: the daemon serves and scans phy1" },
    { "before hostapd runs: by its files",
      [] { return std::vector<Blob>{ interface(3, 1, NL80211_IFTYPE_STATION, "wlan1", 0, 2) }; },
      R"([{"phy":"pci0000:00/0000:00:00.0"},{"phy":"pci0000:00/0000:01:00.0"}])", "" },
};

TEST(Setup, WhichRadios) {
    for (const RadiosCase &c : radiosCases) {
        SCOPED_TRACE(c.name);
        Machine w;
        if (c.sentence[0] != '\0') w.remove("/proc/77"), w.remove("/etc/hostapd");
        if (c.sentence[0] == 'O') w.remove("/sys/class/ieee80211/phy0");
        w.kernel.on(NL80211_CMD_GET_INTERFACE, { c.interfaces() });
        EXPECT_EQ(w.value(w.plan_it().radio, "radios"), c.radios);
        EXPECT_NE(w.plan.sentence.find(c.sentence), std::string::npos) << w.plan.sentence;
        if (c.sentence[0] != '\0') continue;
        EXPECT_EQ(w.value(w.product, "ProductParameters Wifi 0 Vap 1 InterfaceName"), "\"wlan0b\"");
        EXPECT_EQ(w.value(w.product, "ProductParameters Wifi 1 Vap"),
                  R"([{"DataModelIndex":1,"InterfaceName":"wlan1","Mode":"ap"}])");
    }
}

TEST(Setup, WritesOverNothingUnasked) {
    Machine w;
    std::string error;
    const std::vector<setup::File> files = { { "/usr/etc/one", "1\n" }, { "/usr/etc/two", "2\n" } };
    w.put("/usr/etc/two", "old");
    EXPECT_FALSE(setup::write_files(files, false, error));
    EXPECT_EQ(error, "/usr/etc/two is there already, and nothing was written; --force writes over it");
    EXPECT_FALSE(setup::path_exists("/usr/etc/one"));
    EXPECT_TRUE(setup::write_files(files, true, error)) << error;
    std::ifstream two(w.root + "/usr/etc/two");
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(two), {}), "2\n");
}

} // namespace
