// Joins completed and sent, leaves, association responses, probes: bytes and lines worked out by hand.
#include "tests/unit/fixtures.h"

struct ClientEvents : testing::Test {
    void SetUp() override { fill_event_records(), vesk_sta_mon_destroy(), vesk_init_g_sta_cap(); }
    static int64_t pollDue() { return fakeLoop.due(&vesk_get_sta_info()->staTimer); }
    static Bytes body(size_t size) { return Bytes(size, 0xee).put(16, STA); }
    static Bytes joinBody(uint16_t n) { return body(621).put(97, Bytes(6)).u16(105, n); }
};

TEST_F(ClientEvents, JoinIsCompletedFromTheRecords) {
    Bytes event = joinBody(0);
    Bytes expected = Bytes(event.begin(), event.end() - 2).name(0, "ath10.v0").name(32, "home5", 65).u8(102, 0xb1);
    expected.u8(26, 36, 0x3c, 0x14, 2, 238, 3); // the operating class stays
    EXPECT_EQ(wdev_client_join_event_process(event.data(), "ath10"), 0);
    ASSERT_EQ(sent(), Texts{ "veskClientJoin 619" });
    EXPECT_EQ(fakeBus.signals[0].payload, expected);
    uint8_t cap[3] = {};
    EXPECT_EQ(vesk_get_sta_cap(STA.data(), cap), 0);
    EXPECT_EQ(words(+cap[0], +cap[1]), "128 0 "); // of 0xee, 0xee
    EXPECT_EQ(pollDue(), 1000);
    const char *line =
        " Ubus send successfully [tamlo.pelk.vesk] [tamlo.pelk.vesk.veskClientJoin] [ath10] [" STA_TEXT "]\n";
    EXPECT_TRUE(fake_logged("INFO", line, "wdev_client_join_event_process"));
    event = joinBody(0).u8(102, 7);
    wdev_client_join_event_process(event.data(), "ath0");
    EXPECT_EQ(event[102], 7); // one byte that isn't zero keeps the BSSID
}

TEST_F(ClientEvents, JoinFrameComesFromTheDriverWithinItsField) {
    // clang-format off
    using Row = std::tuple<uint16_t, int, size_t, const char *, int, int>;
    for (const auto &[announced, rc, has, asked, length, first] : // announced; driver's result and length; asked for; sent
         { Row{ 0, 0, 40, "", 0, 0xee }, Row{ 40, 0, 30, "40", 30, 0x5a }, Row{ 600, 0, 700, "512", 512, 0x5a },
           Row{ 600, -1, 0, "512", 512, 0xee }, Row{ 7, -1, 0, "7", 7, 0xee }, Row{ 40, 0, 0, "40", 0, 0xee } }) {
        // clang-format on
        SetUp();
        fakeDevice.rc["rilk_getAssocReqFrame"] = rc;
        fakeDevice.assocFrame.assign(has, 0x5a);
        Bytes event = joinBody(announced);
        event.resize(1000, 0xee);
        EXPECT_EQ(wdev_client_join_event_process(event.data(), "ath0"), 0);
        EXPECT_TRUE(std::all_of(event.begin() + 621, event.end(), [](uint8_t byte) { return byte == 0xee; }));
        ASSERT_EQ(fakeDevice.log.size(), announced != 0);
        EXPECT_TRUE(!announced || fakeDevice.log[0].args == std::string("ath0 " STA_TEXT " ") + asked);
        const Bytes &payload = fakeBus.signals.at(0).payload;
        EXPECT_EQ(words(payload[105] + 256 * payload[106], +payload[107], +payload[618]),
                  words(length, first, length == 512 ? first : 0xee)); // behind the frame nothing changes
        EXPECT_EQ(messages("ERROR").empty(), announced != 40 || length != 0);
    }
}

TEST_F(ClientEvents, JoinIsDumpedAtTheDebugLevelOnly) {
    fakeDevice.rc["rilk_getAssocReqFrame"] = -1;
    Bytes event = joinBody(12).i32(22, -60).put(97, STA);
    vesk_get_vesk_info()->logLevel = 6, wdev_client_join_event_process(event.data(), "ath10");
    EXPECT_EQ(fake_stderr(), "");
    vesk_get_vesk_info()->logLevel = 7, wdev_client_join_event_process(event.data(), "ath10");
    EXPECT_EQ(fake_stderr(),
              "mac_addr=[" STA_TEXT "], rssi=-60, channel=36, frequency=5180, bw=2, opClass=238, radioId=3\r\n"
              "ssid=home5, bssid=[" STA_TEXT "], assoc_time=61166, assoc_req_len=12\r\n[ee]  \r\n"
              "[ee] [ee] [ee] [ee] [ee] [ee] [ee] [ee] [ee] [ee]  \r\n[ee]  \r\n");
}

TEST_F(ClientEvents, JoinRefusals) {
    // clang-format off
    const std::string line = " Error:num [2] [min-max) = [0] - [2] is out range\n";
    using Row = std::tuple<const char *, int, int64_t, Texts>; // name, band; poll due, errors
    for (const auto &[ifName, band, due, errors] :
         { Row{ nullptr, 0, -1, { " Error:is NULL\n" } }, Row{ "ath9", 0, -1, {} }, Row{ "ath0", 2, 100, { line } } }) {
        // clang-format on
        SetUp();
        vesk_get_vap_info()->band = band;
        Bytes event = joinBody(5);
        EXPECT_EQ(wdev_client_join_event_process(event.data(), ifName), -1);
        EXPECT_TRUE(sent().empty()) << band;
        EXPECT_TRUE(fakeDevice.log.empty()) << band;
        EXPECT_EQ(pollDue(), due) << band;
        EXPECT_EQ(messages("ERROR"), errors);
    }
}

TEST_F(ClientEvents, LeaveAndAssociationResponseAreSentAndDisassociationIsLogged) {
    vesk_set_sta_cap(STA.data(), STA.data());
    Bytes leave = body(22), response = body(25).u8(22, 0x64, 0x01, 5), disassoc = body(24);
    EXPECT_EQ(wdev_client_leave_event_process(leave.data(), "ath9"), 0); // known to no record
    EXPECT_EQ(wdev_map_r2_assoc_resp_process(response.data(), "apcli0"), 0);
    EXPECT_EQ(wdev_sta_disassoc_process(disassoc.data(), "ath0"), 0);
    ASSERT_EQ(sent(), (Texts{ "veskClientLeave 22", "veskMapR2AssocResp 25" }));
    EXPECT_EQ(fakeBus.signals[0].payload, body(22).name(0, "ath9.v0"));
    EXPECT_EQ(fakeBus.signals[1].payload, response.name(0, "apcli0"));
    uint8_t cap[3];
    EXPECT_EQ(vesk_get_sta_cap(STA.data(), cap), -1);
    EXPECT_EQ(words(pollDue(), vesk_get_dot1q_cfg()->vid, +vesk_get_dot1q_cfg()->pcp), "1000 356 5 ");
    EXPECT_TRUE(fakeDevice.log.empty());
    EXPECT_EQ(messages("ERROR"), (Texts{ " Enter wdev_map_r2_assoc_resp_process\n",
                                         " vid=356, pcp=5, ifname=apcli0,peer mac=[" STA_TEXT "]\n",
                                         " Enter wdev_sta_disassoc_process\n" }));
    EXPECT_TRUE(fake_logged("NOTICE", " sta mac=[" STA_TEXT "] disassoc, ifname=ath0.v0, reason code 61166\n",
                            "wdev_sta_disassoc_process"));
}

TEST_F(ClientEvents, ProbeReachesTheMonitoredStationOfItsChannelOnly) {
    vesk_sta_mon_set(STA.data(), 6), vesk_sta_mon_set(STA.data(), 11);
    fake_advance(5s);
    Bytes event = body(27).u8(22, 6).i32(23, -71);
    EXPECT_EQ(wdev_probe_req_event_process(event.data(), "ath0"), 0);
    const VeskStaMon *node = vesk_sta_mon_get(STA.data(), 6);
    EXPECT_EQ(words(node->ifName, node->rssi, vesk_sta_mon_get(STA.data(), 11)->rssi), "ath0.v0 -71 0 ");
    EXPECT_EQ(node->lastProbeTime, get_current_time());
    EXPECT_EQ(wdev_probe_req_event_process(nullptr, "ath0") + wdev_probe_req_event_process(event.data(), nullptr), -2);
}
