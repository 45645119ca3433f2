// The words of the tests in text that call the driver libraries, and commands.rows: every command of librilk.so, seen
// from the other side of the air.
#include <cstring>

#include "include/hul.h"
#include "include/rilk.h"
#include "tests/radio/script.h"
#include "tests/radio/table.h"

namespace {

int number(const std::string &word) { return std::stoi(word); }

void put_mac(uint8_t *mac, const std::string &word) {
    sscanf(word.c_str(), "%hhx:%hhx:%hhx:%hhx:%hhx:%hhx", mac, mac + 1, mac + 2, mac + 3, mac + 4, mac + 5);
}

int set_blocked(const Texts &words, bool isBlocked) {
    RilkAclMac acl{ static_cast<uint8_t>(!isBlocked), {} };
    put_mac(acl.mac, words.at(2));
    return rilk_setVapAclMac(words.at(1).c_str(), &acl);
}

int change_element(const Texts &words, decltype(rilk_addVendorIE) change) {
    const uint8_t element[] = { 221, 5, 0, 0x11, 0x22, 0x33, 0x44 };
    return change(words.at(1).c_str(), static_cast<uint32_t>(number(words.at(2))), element, sizeof element);
}

/** Of channel 1, all access points. */
int request_beacon(const Texts &words) {
    RilkBeaconReq request{};
    put_mac(request.mac, words.at(2));
    memset(request.bssid, 255, 6);
    request.value2 = 1;
    return rilk_sendBeaconReq(words.at(1).c_str(), &request);
}

/** Disassociation imminent, to the BSSID behind the station if there is one. */
int request_move(const Texts &words) {
    RilkBtmReq request{};
    put_mac(request.mac, words.at(2));
    request.value1 = 4, request.value2 = 9, request.targetNums = words.size() > 3;
    if (words.size() > 3) put_mac(request.targets[0].bssid, words[3]);
    return rilk_sendBTMReq(words.at(1).c_str(), &request);
}

int apply_credential(const Texts &words) {
    VeskBackhaulCred cred{};
    cred.band = 3, cred.authMode = 32, cred.encryption = 8, cred.channel = 36;
    strcpy(cred.ifName, "wlan3");
    strcpy(cred.ssid, "Lindenhof-bh");
    strcpy(cred.ssidKey, (words.at(1) + " " + words.at(2)).c_str());
    return rilk_applyBackhaulCredentialToBsta(&cred);
}

int connect_backhaul(const Texts &words) {
    const VeskBstaAuto wish{ 3, "wlan3", static_cast<uint8_t>(number(words.at(1))), 0, 0 };
    return rilk_setBstaAutoConnect(&wish);
}

int set_vlan(const Texts &words) {
    const VeskDot1qCfg config{ static_cast<uint16_t>(number(words.at(2))), 0, 0 };
    return rilk_set8021dotqCfg(words.at(1).c_str(), &config);
}

/** "done" or "refused". */
const std::pair<const char *, int (*)(const Texts &words)> commands[] = {
    { "init_driver", [](const Texts &) { return rilk_initDriver(); } },
    { "set_channel", [](const Texts &w) { return rilk_setRadioCurChannel(w.at(1).c_str(), number(w.at(2))); } },
    { "set_width",
      [](const Texts &w) { return rilk_setRadioChanSpec(w.at(1).c_str(), number(w.at(2)), number(w.at(3))); } },
    { "measure", [](const Texts &w) { return rilk_setRRMEnable(w.at(1).c_str(), 1); } },
    { "disconnect", [](const Texts &w) { return rilk_disConnectSta(w.at(1).c_str(), w.at(2).c_str()); } },
    { "block", [](const Texts &w) { return set_blocked(w, true); } },
    { "release", [](const Texts &w) { return set_blocked(w, false); } },
    { "request_beacon", request_beacon },
    { "request_move", request_move },
    { "add_element", [](const Texts &w) { return change_element(w, rilk_addVendorIE); } },
    { "remove_element", [](const Texts &w) { return change_element(w, rilk_delVendorIE); } },
    { "credential", apply_credential },
    { "connect_backhaul", connect_backhaul },
    { "set_vlan", set_vlan },
    { "forget_forwarding", [](const Texts &w) { return rilk_cleanHwFwdRule(w.at(1).c_str()); } },
};

template <class T>
std::string read(int (*operation)(const char *, T *), const Texts &words) {
    T value{};
    return operation(words.at(1).c_str(), &value) == 0 ? std::to_string(value) : "error";
}

/** A station's level at an access point, less the power of the telephone's own radio. */
std::string level(const Texts &words) {
    VeskStaEntry entry{};
    int32_t count;
    uint8_t mac[6];
    put_mac(mac, words.at(2));
    rilk_getVapAssocStationNumber(words.at(1).c_str(), &count);
    rilk_getVapAssocStationInfo(words.at(1).c_str(), mac, &entry);
    return std::to_string(entry.rssi - atoi(find(info("wlan2"), "txpower (\\d+)").c_str()));
}

std::string load(const Texts &words) {
    VeskCurChannelInfo value{};
    EXPECT_EQ(rilk_getCurChannelInfo(words.at(1).c_str(), &value), 0);
    EXPECT_LE(time(nullptr) - value.time, 1);
    return text("%d used=%u own=%u idle=%d noise=%d known=%d", value.channel, value.ccaTxUtil, value.ccaInbss,
                value.ccaIdle, value.noise, value.value4);
}

std::string security(const Texts &words) {
    HulVapCfg value{};
    EXPECT_EQ(hul_getEnabledVapCfg(words.at(1).c_str(), &value), 0);
    return text("auth=%d encrypt=%d attr=%d key=%s", value.authMode, value.encryptMode, value.vapAttr,
                value.keyPassphrase);
}

std::string role(const Texts &) {
    int32_t value = -1;
    EXPECT_EQ(hul_EM_getWorkRole(&value), 0);
    return std::to_string(value);
}

bool add_words() {
    for (const auto &[name, command] : commands)
        vocabulary()[name] = [command](const Texts &w) { return command(w) == 0 ? "done" : "refused"; };
    vocabulary()["channel"] = [](const Texts &w) { return read(rilk_getRadioCurChannel, w); };
    vocabulary()["radio_status"] = [](const Texts &w) { return read(rilk_getRadioStatus, w); };
    vocabulary()["vap_status"] = [](const Texts &w) { return read(rilk_getVapStatus, w); };
    vocabulary()["level"] = level;
    vocabulary()["load"] = load;
    vocabulary()["security"] = security;
    vocabulary()["role"] = role;
    return true;
}

struct Commands : testing::Test {
    static void SetUpTestSuite() { ASSERT_EQ(rilk_initDriver(), 0); }
};
[[maybe_unused]] const bool isReady = add_words() && add_tests<Commands>("Commands", "commands.rows");

} // namespace
