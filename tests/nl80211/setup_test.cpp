// vesk-setup on the recorded kernel: what it writes of a machine, what it finds missing there; see talks/setup.rows.
#include "tools/vesk-setup/plan.h"

#include <fstream>
#include <iterator>

#include "tests/nl80211/talk.h"
#include "tools/vesk-setup/write.h"

namespace {

const char file24[] = "interface=wlan0\nctrl_interface=/run/hostapd\nhw_mode=g\nbss=wlan0b\n"
                      "ctrl_interface=/run/hostapd\n";
const char file5[] = "interface=wlan1\nctrl_interface=DIR=/run/ap GROUP=wheel\nhw_mode=a\n#bss=off\n";

/** A value by its keys and positions, "Wifi 1 HT40MHz". */
std::string value(const Json &json, const std::string &keys) {
    const cJSON *at = json.get();
    for (const std::string &key : split(keys))
        at = isdigit(key[0]) && cJSON_IsArray(at) ? cJSON_GetArrayItem(at, atoi(key.c_str()))
                                                  : cJSON_GetObjectItemCaseSensitive(at, key.c_str());
    return at ? json_line(at) : "nothing";
}

/** The wiphy's recording and pieces that mustn't count: a station's 802.11ax; 802.11ac, and maps of widths that the phy
 * hasn't, at 2.4 GHz. */
std::vector<Blob> wiphy_with_more() {
    const auto piece = [](int wiphy, int band, const Blob &values) {
        return join({ number(NL80211_ATTR_WIPHY, wiphy), nest(NL80211_ATTR_WIPHY_BANDS, { nest(band, { values }) }) });
    };
    const auto kind = [](int type, const Blob &phy, const Blob &maps) {
        const Blob values = join({ nest(NL80211_BAND_IFTYPE_ATTR_IFTYPES, { flag(type) }),
                                   attribute(NL80211_BAND_IFTYPE_ATTR_HE_CAP_PHY, phy.data(), phy.size()),
                                   attribute(NL80211_BAND_IFTYPE_ATTR_HE_CAP_MCS_SET, maps.data(), maps.size()) });
        return nest(NL80211_BAND_ATTR_IFTYPE_DATA, { nest(1, { values }) });
    };
    const Blob maps = { 0xfa, 0xff, 0xfa, 0xff, 0xfa, 0xff, 0xfa, 0xff, 0xfa, 0xff, 0xfa, 0xff };
    const Blob narrow = { 0, 0xbf, 0xce, 0, 0, 0, 0, 0, 0, 0, 0 };
    const Blob vht = join({ attribute(NL80211_BAND_ATTR_VHT_MCS_SET, maps.data(), 8),
                            number<uint32_t>(NL80211_BAND_ATTR_VHT_CAPA, 0x20) });
    auto pieces = recorded("wiphy");
    pieces.push_back(piece(1, NL80211_BAND_5GHZ, kind(NL80211_IFTYPE_STATION, Blob(11, 0xff), maps)));
    pieces.push_back(piece(0, NL80211_BAND_2GHZ, join({ vht, kind(NL80211_IFTYPE_AP, narrow, maps) })));
    return pieces;
}

/** A whole access point: nothing is missing but where a row takes it away. */
struct Machine : Talk {
    std::vector<Blob> interfaces;
    setup::Machine found;
    setup::Plan plan;
    bool isPlanned = false;

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
        for (const char *port : { "lan2", "lan1", "lan3", "wlan0" }) { // the last is none
            put("/sys/class/net/" + std::string(port) + "/device/vendor", "");
            put("/sys/class/net/" + std::string(port) + "/type", "1\n");
        }
        put("/sys/class/net/can0/device/vendor", "");
        put("/sys/class/net/can0/type", "280\n");
        put("/tmp/sysinfo/model", "Gateway\033\n");
        put("/proc/device-tree/model", "Board\n");
        kernel.on(NL80211_CMD_GET_WIPHY, { wiphy_with_more() });
        for (const auto &[name, folder] :
             { std::pair("wlan0", "/run/hostapd"), { "wlan0b", "/run/hostapd" }, { "wlan1", "/run/ap" } })
            add_peer(name, folder, { { "BSS_TM_REQ", "FAIL\n" } });
        kernel.on(NL80211_CMD_GET_INTERFACE, [this](const Asked &) { return Reply{ interfaces }; });
        for (const char *each :
             { "2 phy0 ap wlan0 2437", "9 phy0 ap wlan0b 2437", "3 phy1 ap wlan1 5180", "12 phy1 sta bsta1 0" })
            add_interface(each);
        add_steps();
    }
    /** INDEX PHY TYPE NAME MHZ, or "none": those before are gone. */
    void add_interface(const std::string &rest) {
        const Texts words = split(rest);
        if (rest == "none") return interfaces.clear();
        const auto index = static_cast<uint32_t>(std::stoul(words.at(0)));
        interfaces.push_back(interface(index, words.at(1).back() - '0',
                                       words.at(2) == "ap" ? NL80211_IFTYPE_AP : NL80211_IFTYPE_STATION, words.at(3),
                                       static_cast<uint32_t>(std::stoul(words.at(4))), static_cast<uint8_t>(index)));
    }
    const setup::Plan &planned() {
        if (isPlanned) return plan;
        found = {};
        EXPECT_EQ(setup::machine_read(found), 0);
        plan = setup::plan_make(found);
        isPlanned = true;
        return plan;
    }
    std::string missing(const std::string &what) {
        for (const setup::Finding &one : planned().missing)
            if (one.what.find(what) != std::string::npos) return one.remedy;
        return "nothing of it";
    }
    void step(const std::string &text) {
        static const std::set<std::string> questions = { "product", "radio", "missing", "sentence" };
        isPlanned = isPlanned && questions.contains(word(text).first);
        Talk::step(text);
    }
    void end() {} // what is asked of hostapd is of no interest

    void add_steps() {
        steps["interface"] = [this](const std::string &rest) { add_interface(rest); };
        steps["arguments"] = [this](const std::string &rest) { // PID WORDS
            const auto [process, words] = word(rest);
            put("/proc/" + process + "/cmdline", replaced(words, " ", std::string(1, '\0')) + '\0');
        };
        steps["country"] = [this](const std::string &code) {
            kernel.on(NL80211_CMD_GET_REG, { { ::text(NL80211_ATTR_REG_ALPHA2, code) } });
        };
        steps["product"] = [this](const std::string &rest) {
            const auto [keys, wanted] = halves(rest, "==");
            const Json product = setup::plan_product((planned(), found), plan);
            EXPECT_EQ(value(product, "ProductParameters " + keys), wanted);
        };
        steps["radio"] = [this](const std::string &rest) {
            const auto [keys, wanted] = halves(rest, "==");
            EXPECT_EQ(value(setup::plan_radio(planned()), keys), wanted);
        };
        steps["missing"] = [this](const std::string &rest) {
            const auto [what, remedy] = halves(rest, "->");
            if (what == "nothing")
                EXPECT_TRUE(planned().missing.empty()) << plan.missing[0].what;
            else
                EXPECT_TRUE(missing(what).find(remedy) != std::string::npos) << missing(what);
        };
        steps["sentence"] = [this](const std::string &part) {
            const std::string sentence = planned().sentence.empty() ? "nothing" : plan.sentence;
            EXPECT_TRUE(sentence.find(part) != std::string::npos) << sentence;
        };
    }
};

TEST(Setup, Talks) { run_talks<Machine>("setup.rows"); }

TEST(Setup, TheLibraryFindsTheSameRadios) {
    Machine w;
    w.put("/usr/etc/vesk-radio.json", setup::plan_radio(w.planned()).pretty());
    VeskApIntfInfo radios[2] = {};
    EXPECT_EQ(rilk_getRadioApInterfaceInfo(0, &radios[0]) + rilk_getRadioApInterfaceInfo(1, &radios[1]), 0);
    EXPECT_STREQ(radios[0].radioIfname, "phy0");
    EXPECT_STREQ(radios[1].radioIfname, "phy1");
    EXPECT_FALSE(w.logged("vesk-radio.json")) << w.log;
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
