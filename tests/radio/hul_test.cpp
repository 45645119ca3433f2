// What libhul.so says of the device, against iw and hostapd's own configuration.
#include "include/hul.h"

#include "tests/radio/table.h"

namespace {

std::string phy_of(const std::string &band) { return band == "0" ? "phy0" : "phy1"; }

/** Channel numbers of `iw phy PHY channels` that the daemon is told of, each with the bits of its limits. */
struct IwChannel {
    int number, limits;
    bool disabled, unavailable;
};
std::vector<IwChannel> iw_channels(const std::string &band) {
    std::vector<IwChannel> channels;
    for (const std::string &block :
         find_all(sh("iw phy " + phy_of(band) + " channels"), "\\* (\\d+ MHz(?:(?!\\n\\s*\\*|\\nBand)[\\s\\S])*)")) {
        const auto lacks = [&](const char *word) { return block.find(word) == std::string::npos; };
        const int number = atoi(find(block, "\\[(\\d+)\\]").c_str());
        const int frequency = atoi(block.c_str()); // 6 GHz has the same numbers once more
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

std::string vap_config(const std::string &name) {
    HulVapCfg value{};
    EXPECT_EQ(hul_getEnabledVapCfg(name.c_str(), &value), 0);
    return text("auth=%d encrypt=%d attr=%x key=%s", value.authMode, value.encryptMode, value.vapAttr,
                value.keyPassphrase);
}

/** From hostapd's mouth, and the key from its file. */
std::string vap_config_truth(const std::string &name) {
    const std::string config = hostapd(name, "get_config");
    const bool psk = !find(config, "^key_mgmt=.*WPA-PSK").empty(), sae = !find(config, "^key_mgmt=.*SAE").empty();
    const std::string file = read_file(name[4] == '0' ? "/etc/radio/access24.conf" : "/etc/radio/access5.conf");
    const std::string section = find(file, "(?:interface|bss)=" + name + "\n((?:(?!bss=)[^\n]*\n)*)");
    return text("auth=%d encrypt=%d attr=%x key=%s", (psk ? 32 : 0) + (sae ? 64 : 0) + (!psk && !sae),
                find(config, "^rsn_pairwise_cipher=CCMP").empty() ? 0 : 8,
                find(section, "^multi_ap=1").empty() ? 0 : 0x40,
                find(section, "^(?:wpa_passphrase|sae_password)=([^\n]*)").c_str());
}

const Row rows[] = {
    { "EM_getWorkRole",
      { "" },
      [](const std::string &) {
          int32_t role = -1;
          EXPECT_EQ(hul_EM_getWorkRole(&role), 0);
          return text("%d", role);
      },
      [](const std::string &) { return find(read_file("/usr/etc/vesk-radio.json"), "\"role\": (\\d+)"); } },
    { "getRadioInfo",
      { "0", "3" },
      [](const std::string &band) {
          HulRadioInfo value{};
          EXPECT_EQ(hul_getRadioInfo(atoi(band.c_str()), &value), 0);
          return text("%d enabled=%d acs=%d", value.radioId, value.isEnabled, value.isAcsEnabled);
      },
      [](const std::string &band) {
          return find(read_file("/sys/class/ieee80211/" + phy_of(band) + "/index"), "\\d+") + " enabled=1 acs=1";
      } },
    { "getCountryID",
      { "" },
      [](const std::string &) {
          char code[8] = "";
          EXPECT_EQ(hul_getCountryID(code, sizeof code), 0);
          return std::string(code);
      },
      [](const std::string &) { return find(sh("iw reg get"), "country (\\w\\w)"); } },
    { "getRadioChannelList",
      { "0", "3" },
      [](const std::string &band) {
          HulChannelList list{};
          EXPECT_EQ(hul_getRadioChannelList(atoi(band.c_str()), &list), 0);
          std::string all;
          for (int i = 0; i < list.chListNums; i++) all += text("%d/%x ", list.chList[i], list.chAttr[i]);
          return all;
      },
      [](const std::string &band) {
          std::string all;
          for (const IwChannel &channel : iw_channels(band))
              all += channel.disabled ? "" : text("%d/%x ", channel.number, channel.limits);
          return all;
      } },
    { "getRadioExcludedChannelList",
      { "0", "3" },
      [](const std::string &band) {
          HulExcludedChannelList list{};
          EXPECT_EQ(hul_getRadioExcludedChannelList(atoi(band.c_str()), &list), 0);
          std::string all;
          for (int i = 0; i < list.chListNums; i++) all += text("%d ", list.entries[i].chList);
          return all;
      },
      [](const std::string &band) {
          std::string all;
          for (const IwChannel &channel : iw_channels(band)) {
              const bool configured = band == "0" && channel.number == 11; // vesk-radio.json
              if (channel.disabled || channel.unavailable || (channel.limits & 2) || configured)
                  all += text("%d ", channel.number);
          }
          return all;
      } },
    { "getEnabledVapCfg", { "wlan0", "wlan0b", "wlan0s", "wlan1", "wlan1b", "wlan1o" }, vap_config, vap_config_truth },
};

TEST(Hul, EqualsTheTruth) {
    for (const Row &row : rows) compare(row);
}

TEST(Hul, TheTruthHasSomethingToShow) {
    EXPECT_EQ(iw_channels("0").size(), 13u);
    EXPECT_GE(iw_channels("3").size(), 24u);
    EXPECT_EQ(vap_config_truth("wlan0b"), "auth=32 encrypt=8 attr=40 key=hinterm Haus");
    EXPECT_EQ(vap_config_truth("wlan0s"), "auth=64 encrypt=8 attr=0 key=nur mit Schutz");
    EXPECT_EQ(vap_config_truth("wlan1"), "auth=96 encrypt=8 attr=0 key=unter den Linden");
    EXPECT_EQ(vap_config_truth("wlan1o"), "auth=1 encrypt=0 attr=0 key=");
}

TEST(Hul, NoSuchBand) {
    HulRadioInfo radio{};
    HulChannelList list{};
    for (const int band : { -1, 1, 2, 4 }) {
        EXPECT_EQ(hul_getRadioInfo(band, &radio), -1) << band;
        EXPECT_EQ(hul_getRadioChannelList(band, &list), -1) << band;
    }
}

} // namespace
