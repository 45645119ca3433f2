#include "tests/unit/fixtures.h"

using BackhaulSta = ScanTest;

TEST_F(BackhaulSta, CredentialIsAppliedTwoSecondsBehindTheLast) {
    for (int result : { 0, -1, -2 }) {
        restart();
        fakeDevice.rc["rilk_applyBackhaulCredentialToBsta"] = result;
        strcpy(scan->bhCred.ssidKey, "hush-hush");
        vesk_start_backhaul_credential_timer();
        fake_advance(1500ms);
        strcpy(scan->bhCred.ssid, "second");
        vesk_start_backhaul_credential_timer(), fake_advance(1999ms);
        EXPECT_EQ(calls(), Texts{});
        fake_advance(1ms);
        EXPECT_EQ(calls(), Texts{ "applyBackhaulCredentialToBsta  second" });
        EXPECT_EQ(fake_logged("ERROR", " rilk_applyBackhaulCredentialToBsta is error !!\n"), result == -1);
        EXPECT_EQ(fake_log().find("hush-hush"), std::string::npos);
    }
}

TEST_F(BackhaulSta, AutoConnectIsIssuedAgainUntilStopped) {
    vesk_init_scan_info();
    strcpy(scan_cfg(1)->bstaAuto.ifName, "apclii0");
    scan_cfg(1)->bstaAuto.enableAuto = scan_cfg(1)->bstaAuto.needSetRadar = 1;
    EXPECT_EQ(scan_cfg(1)->bstaAutoTimer, -1);
    vesk_start_bsta_auto_connect_timer(1, 20), vesk_start_bsta_auto_connect_timer(1, 5); // replaces the first
    vesk_start_timer_service();
    calls();
    fake_advance(11s);
    const Texts issued = { "setBstaAutoConnect apclii0 enable=1 radar=1",
                           "setBstaAutoConnect apclii0 enable=1 radar=0" };
    EXPECT_EQ(calls(), issued);
    vesk_stop_bsta_auto_connect_timer(1), fake_advance(20s);
    EXPECT_EQ(calls(), Texts{});
    vesk_stop_timer_service();
}
