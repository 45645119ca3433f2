// The VAP refresh as a change detector: what is announced, in which order, and what is silent.
#include "tests/unit/fixtures.h"

struct VapInventoryTest : DeviceTest {
    VeskCfgWifi *wifi = vesk_get_vesk_cfg_info()->Wifi;
    /** One refresh of all VAPs and the signals it sent, as "veskIfStatusChange ath0.v0 1;". */
    static std::string refresh() {
        fakeBus.signals.clear();
        vesk_update_vap_info();
        std::string list;
        for (const FakeSignal &s : fakeBus.signals)
            list += s.name.substr(16) + " " + reinterpret_cast<const char *>(s.payload.data()) + " " +
                    std::to_string(s.payload.at(16)) + ";";
        return list;
    }
};

TEST_F(VapInventoryTest, AnnouncesWhatChangesLater) {
    fakeDevice.vaps.push_back({ .name = "apcli0" });
    vesk_update_radio_info();
    EXPECT_EQ(refresh(),
              "veskIfStatusChange apcli0 1;"); // at first only a backhaul station, by its bare name
    EXPECT_EQ(memcmp(radio[1].radioMac, fakeDevice.vap("ath10")->bssid, 6), 0);
    fakeDevice.addVap(0, "ath2");
    for (const char *name : { "ath0", "ath1" }) {
        FakeVap &device = *fakeDevice.vap(name);
        device.status = device.cfg.vapAttr = 0, device.bssid[5] = 0xfe;
        device.ssid = std::string(65, 's'); // no terminator
        device.cfg.authMode = 0x20, device.cfg.encryptMode = 4;
    }
    strcpy(wifi[0].Vap[0].Mode, "xsta"), strcpy(wifi[0].Vap[1].InterfaceName, "gone");
    EXPECT_EQ(refresh(), "veskIfStatusChange ath1.v0 0;veskVapAttrChange ath1.v0 2;veskVapAttrChange ath1.v0 1;");
    EXPECT_EQ(words(vap_of("ath0").authMode, vap_of("ath1").authMode, vap_of("ath1").encryptMode), "32 32 4 ");
    EXPECT_EQ(refresh(), "");
    EXPECT_EQ(words(+vap_of("ath1").isBackhaulBss, vap_of("ath1").mode), "1 ap ")
        << "never cleared; kept without a row";
    EXPECT_EQ(words(vap_of("ath0").ssid, +vap_of("ath0").bssid[5]), "net-ath0 254 ") << "no SSID is read for a station";
    for (const char *call : { "rilk_setWNMEnable", "rilk_setRRMEnable" })
        EXPECT_EQ(fakeDevice.count(call), 5) << "once per slot";
}

TEST_F(VapInventoryTest, MissingConfigurationAndSlots) {
    vesk_get_vesk_cfg_info()->wifiNum = 1;
    wifi[0].vapNum = 2; // its "sta" row is the third
    vesk_update_radio_info();
    refresh();
    EXPECT_TRUE(fake_logged("ERROR", " Error:num [2] [min-max) = [0] - [2] is out range\n"));
    EXPECT_EQ(vap_of("ath10").actualBand, 3) << "only name, radio and band";
    vesk_get_vesk_cfg_info()->wifiNum = 2;
    EXPECT_EQ(refresh(), "") << "still its first";
    EXPECT_EQ(fakeDevice.count("rilk_setWNMEnable"), 4);
    SetUp(), fill(); // a seventeenth interface gets no slot
    for (int i = 6; i < VESK_VAPS; i++) snprintf(vap[i].ifName, 16, "x%d", i);
    strcpy(wifi[0].Vap[2].InterfaceName, "late1");
    vesk_init_vap_info("wifi0", "late0", 0), vesk_init_bsta_info("wifi0", 0);
    EXPECT_TRUE(fake_logged("ERROR", " Error:num [16] [min-max) = [0] - [16] is out range\n"));
    EXPECT_TRUE(fakeDevice.log.empty());
}
