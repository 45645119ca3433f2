// Steering and measurement: what is rewritten, what is refused, and the traces on stderr.
#include "tests/unit/fixtures.h"

TEST(SteeringEvents, AreRenamedAndSent) {
    // clang-format off
    const std::string end = "enrolleeWps->mac_addr=[" STA_TEXT "], enrolleeWps->connected_bssid[ee:ee:ee:ee:ee:ee]\r\n";
    const std::string name = "ifName=apcli0, ", known = name + "key=2, enrolleeWps->connected_bssid[ee:ee:ee:ee:ee:ee]\r\n" + name;
    const std::tuple<std::string, WdevHandler, size_t, std::string, std::string, std::string> rows[] = {
        { "btm_query_event_process", wdev_btm_query_event_process, 282, "ath9", "BtmQuery 282", "" },
        { "btm_resp_event_process", wdev_btm_resp_event_process, 296, "ath10", "BtmResp 296", "" },
        { "btm_resp_event_process", wdev_btm_resp_event_process, 296, "ath9", "", "" }, // refused
        { "beacon_report_process", wdev_beacon_report_process, 281, "ath9", "BcnReport 281", "" },
        { "enrollee_wps_event_process", wdev_enrollee_wps_event_process, 28, "apcli0", "EnrolleeWpsFinish 28", known + end },
        { "enrollee_wps_event_process", wdev_enrollee_wps_event_process, 28, "ath9", "EnrolleeWpsFinish 28", "ifName=ath9, " + end },
    };
    // clang-format on
    for (const auto &[event, handler, size, ifName, signal, trace] : rows) {
        SCOPED_TRACE(event + " " + ifName);
        fill_event_records();
        vesk_get_vesk_info()->logLevel = size == 281 ? 7 : 3; // the traces don't depend on it
        size_t sentBefore = 9;
        fakeDevice.onCall = [&](const FakeCall &) { sentBefore = fakeBus.signals.size(); };
        const bool wps = size == 28, bsta = ifName == "apcli0";
        Bytes body = Bytes(size, 0xee).put(16, STA), expected = body;
        expected.name(0, ifName + (bsta ? "" : ".v0"));
        if (size == 296) expected.u8(22, 0, 0, 0, 0, 0, 0xb1); // the VAP's own
        EXPECT_EQ(handler(body.data(), ifName.c_str()), signal.empty() ? -1 : 0);
        EXPECT_EQ(fake_stderr(), size == 281 ? "" : "Enter wdev_" + event + "\r\n" + trace);
        EXPECT_EQ(fake_logged("DEBUG", " Enter wdev_beacon_report_process\n", "wdev_" + event), size == 281);
        ASSERT_EQ(sent(), signal.empty() ? Texts{} : Texts{ "vesk" + signal });
        EXPECT_EQ(signal.empty() ? expected : fakeBus.signals[0].payload, expected);
        EXPECT_EQ(sentBefore, wps ? 0u : 9u); // the forwarding rules go first, and only here
        EXPECT_EQ(vesk_get_vap_info()[2].bstaPeerBssid[5], bsta ? 0xee : 0);
        EXPECT_EQ(fake_logged("ERROR", " Error:num [-1] [min-max) = [0] - [16] is out range\n"), signal.empty());
        EXPECT_EQ(handler(nullptr, "ath0") + handler(body.data(), nullptr), -2);
    }
}

TEST(SteeringEvents, OwnInterfacesAreAnnouncedByTheirOuterName) {
    fill_event_records();
    Bytes record(17, 0xee);
    EXPECT_EQ(wdev_intf_change_event_process(reinterpret_cast<VeskIfStatus *>(record.data()), "ath0"), 0);
    EXPECT_EQ(sent(), Texts{ "veskIfStatusChange 17" });
    EXPECT_EQ(fakeBus.signals[0].payload, Bytes(17, 0xee).name(0, "ath0.v0"));
    EXPECT_EQ(wdev_vap_attr_change_event_process(nullptr, "ath0"), -1);
    EXPECT_EQ(fake_stderr(), "Enter wdev_intf_change_event_process\r\nUbus send successfully "
                             "[tamlo.pelk.vesk.veskIfStatusChange] [ath0.v0] [238]\r\n"
                             "Enter wdev_vap_attr_change_event_process\r\n");
}
