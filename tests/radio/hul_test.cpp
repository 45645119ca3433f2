// What libhul.so says of the device, against iw and hostapd's own configuration.
#include "include/hul.h"

#include "tests/radio/table.h"

namespace {

std::string vap_config(const std::string &name) {
    HulVapCfg value{};
    EXPECT_EQ(hul_getEnabledVapCfg(name.c_str(), &value), 0);
    return text("auth=%d encrypt=%d attr=%d key=%s", value.authMode, value.encryptMode, value.vapAttr,
                value.keyPassphrase);
}

std::string vap_config_truth(const std::string &name) {
    const VapTruth truth = vap_truth(name);
    return "auth=" + truth.auth + " encrypt=" + truth.encrypt + " attr=" + truth.attr + " key=" + truth.key;
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
    EXPECT_EQ(vap_config_truth("wlan0b"), "auth=32 encrypt=8 attr=64 key=hinterm Haus");
    EXPECT_EQ(vap_config_truth("wlan0s"), "auth=64 encrypt=8 attr=0 key=nur mit Schutz");
    EXPECT_EQ(vap_config_truth("wlan1"), "auth=96 encrypt=8 attr=0 key=unter den Linden");
    EXPECT_EQ(vap_config_truth("wlan1o"), "auth=1 encrypt=0 attr=0 key=");
}

} // namespace
