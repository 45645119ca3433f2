#include "tests/unit/scan_fixture.h"

using BackhaulSta = ScanTest;

TEST_F(BackhaulSta, CredentialIsAppliedTwoSecondsBehindTheLast)
{
    for (int result : { 0, -1, -2 }) {
        restart();
        fakeDevice.rc["rilk_applyBackhaulCredentialToBsta"] = result;
        strcpy(scan->bhCred.ssidKey, "hush-hush");
        vesk_start_backhaul_credential_timer();
        fake_advance(1500ms);
        strcpy(scan->bhCred.ssid, "second");
        vesk_start_backhaul_credential_timer();
        fake_advance(1999ms);
        EXPECT_EQ(calls(), Texts{});
        fake_advance(1ms);
        EXPECT_EQ(calls(), Texts{ "applyBackhaulCredentialToBsta  second" });
        EXPECT_EQ(fake_logged("ERROR", " rilk_applyBackhaulCredentialToBsta is error !!\n"), result == -1);
        EXPECT_EQ(fake_log().find("hush-hush"), std::string::npos);
    }
}
