// Joins completed and sent, leaves, association responses, probes: bytes and lines worked out by hand.
#include "source/vesk_drelm/vesk_drelm.h"

#include "source/vesk_station/vesk_station.h"
#include "tests/unit/event_records.h"

struct ClientEvents : testing::Test {
    const char *join = "wdev_client_join_event_process";
    void SetUp() override
    {
        fill_event_records();
        vesk_sta_mon_destroy();
        vesk_init_g_sta_cap();
    }
    static int64_t pollDue() { return fakeLoop.due(&vesk_get_sta_info()->staTimer); }
    static Bytes body(size_t size) { return changed(Bytes(size, 0xee), 16, STA); }
    static Bytes joinBody(uint16_t frame)
    {
        return changed(changed(body(621), 97, Bytes(6)), 105, bytes_of(frame));
    }
};

TEST_F(ClientEvents, JoinIsCompletedFromTheRecords)
{
    Bytes event = joinBody(0);
    Bytes expected =
        changed(changed(Bytes(event.begin(), event.end() - 2), 0, text_field("ath10.v0")), 31, { 3 });
    expected = changed(changed(expected, 26, { 36, 0x3c, 0x14, 2 }), 32, text_field("home5", 65));
    EXPECT_EQ(wdev_client_join_event_process(event.data(), "ath10"), 0);
    ASSERT_EQ(sent(), Texts{ "veskClientJoin 619" });
    EXPECT_EQ(fakeBus.signals[0].payload, changed(expected, 97, { 0, 0, 0, 0, 0, 0xb1 }));
    uint8_t cap[3] = {};
    EXPECT_TRUE(vesk_get_sta_cap(STA.data(), cap) == 0 && cap[0] == 0x80 && cap[1] == 0); // of 0xee, 0xee
    EXPECT_EQ(pollDue(), 1000);
    EXPECT_TRUE(logged(join, "DEBUG", " vesk evt 11v---1, 11k-----0\n\n"));
    EXPECT_TRUE(logged(join, "INFO", " MAC is zero so use vapDb bssid, vapIdx=1, vapName=ath10\r\n\n"));
    const char *line =
        " Ubus send successfully [tamlo.pelk.vesk] [tamlo.pelk.vesk.veskClientJoin] [ath10] [" STA_TEXT "]\n";
    EXPECT_TRUE(logged(join, "INFO", line));
    event = changed(joinBody(0), 102, { 7 });
    wdev_client_join_event_process(event.data(), "ath0");
    EXPECT_EQ(event[102], 7); // one byte that isn't zero keeps the BSSID
}

TEST_F(ClientEvents, JoinFrameComesFromTheDriverWithinItsField)
{
    // announced, result, driver's length; asked for; length and first byte sent
    const std::tuple<uint16_t, int, size_t, const char *, int, int> rows[] = {
        { 0, 0, 40, "", 0, 0xee },        { 40, 0, 30, "40", 30, 0x5a }, { 600, 0, 700, "512", 512, 0x5a },
        { 600, -1, 0, "512", 512, 0xee }, { 7, -1, 0, "7", 7, 0xee },    { 40, 0, 0, "40", 0, 0xee },
    };
    for (const auto &[announced, rc, has, asked, length, first] : rows) {
        SetUp();
        fakeDevice.rc["rilk_getAssocReqFrame"] = rc;
        fakeDevice.assocFrame.assign(has, 0x5a);
        Bytes event = joinBody(announced);
        EXPECT_EQ(wdev_client_join_event_process(event.data(), "ath0"), 0);
        ASSERT_EQ(fakeDevice.count("rilk_getAssocReqFrame"), announced != 0);
        const std::string args = announced ? fakeDevice.log[0].args : "";
        EXPECT_EQ(args, announced ? std::string("ath0 " STA_TEXT " ") + asked : "");
        const Bytes &payload = fakeBus.signals.at(0).payload;
        EXPECT_EQ(payload[105] + 256 * payload[106], length);
        EXPECT_EQ(payload[107], first);
        EXPECT_EQ(payload[618], length == 512 ? first : 0xee); // behind the frame nothing changes
        const char *line = " Get assoc req frame: vap=ath0, mac=" STA_TEXT ", assoc_req_len=0, error!\r\n\n";
        EXPECT_EQ(logged(join, "ERROR", line), announced == 40 && length == 0);
    }
}

TEST_F(ClientEvents, JoinIsDumpedAtTheDebugLevelOnly)
{
    fakeDevice.rc["rilk_getAssocReqFrame"] = -1;
    Bytes event = changed(changed(joinBody(12), 22, { 0xc4, 0xff, 0xff, 0xff }), 97, STA);
    vesk_get_vesk_info()->logLevel = 6;
    wdev_client_join_event_process(event.data(), "ath10");
    EXPECT_EQ(fake_stderr(), "");
    vesk_get_vesk_info()->logLevel = 7;
    wdev_client_join_event_process(event.data(), "ath10");
    const std::string first =
        "], rssi=-60, channel=36, frequency=5180, bw=2, opClass=238, radioId=3\r\nssid=home5, ";
    const std::string second = "], assoc_time=61166, assoc_req_len=12\r\n[ee]  \r\n";
    const std::string third = "[ee] [ee] [ee] [ee] [ee] [ee] [ee] [ee] [ee] [ee]  \r\n[ee]  \r\n";
    EXPECT_EQ(fake_stderr(), "mac_addr=[" STA_TEXT + first + "bssid=[" STA_TEXT + second + third);
}

TEST_F(ClientEvents, JoinRefusals)
{
    const std::tuple<const char *, int, int64_t, std::string> rows[] = {
        // name, band; poll due, line
        { nullptr, 0, -1, " Error:is NULL\n" },
        { "ath9", 0, -1, "" }, // silent
        { "ath0", 2, 100, " Error:num [2] [min-max) = [0] - [2] is out range\n" },
        { "ath0", -1, 100, " Error:num [-1] [min-max) = [0] - [2] is out range\n" },
    };
    for (const auto &[ifName, band, due, line] : rows) {
        SetUp();
        vesk_get_vap_info()->band = band;
        Bytes event = joinBody(5);
        EXPECT_EQ(wdev_client_join_event_process(event.data(), ifName), -1);
        EXPECT_TRUE(sent().empty() && fakeDevice.log.empty() && pollDue() == due) << line;
        EXPECT_TRUE(line.empty() ? fake_log_lines().size() == 1 : logged(join, "ERROR", line)) << line;
    }
}

TEST_F(ClientEvents, LeaveAndAssociationResponseAreSentAndDisassociationIsLogged)
{
    vesk_set_sta_cap(STA.data(), STA.data());
    Bytes leave = body(22), response = changed(body(25), 22, { 0x64, 0x01, 5 }), disassoc = body(24);
    EXPECT_EQ(wdev_client_leave_event_process(leave.data(), "ath9"), 0); // known to no record
    EXPECT_EQ(wdev_map_r2_assoc_resp_process(response.data(), "apcli0"), 0);
    EXPECT_EQ(wdev_sta_disassoc_process(disassoc.data(), "ath0"), 0);
    ASSERT_EQ(sent(), (Texts{ "veskClientLeave 22", "veskMapR2AssocResp 25" }));
    EXPECT_EQ(fakeBus.signals[0].payload, changed(body(22), 0, text_field("ath9.v0")));
    EXPECT_EQ(fakeBus.signals[1].payload, changed(response, 0, text_field("apcli0")));
    uint8_t cap[3];
    EXPECT_EQ(vesk_get_sta_cap(STA.data(), cap), -1);
    EXPECT_EQ(pollDue(), 1000);
    EXPECT_TRUE(vesk_get_dot1q_cfg()->vid == 356 && vesk_get_dot1q_cfg()->pcp == 5 && fakeDevice.log.empty());
    const char *name = "wdev_map_r2_assoc_resp_process";
    EXPECT_TRUE(logged(name, "ERROR", " Enter wdev_map_r2_assoc_resp_process\n"));
    EXPECT_TRUE(logged(name, "ERROR", " vid=356, pcp=5, ifname=apcli0,peer mac=[" STA_TEXT "]\n"));
    name = "wdev_sta_disassoc_process";
    EXPECT_TRUE(logged(name, "ERROR", " Enter wdev_sta_disassoc_process\n"));
    EXPECT_TRUE(
        logged(name, "NOTICE", " sta mac=[" STA_TEXT "] disassoc, ifname=ath0.v0, reason code 61166\n"));
}

TEST_F(ClientEvents, ProbeReachesTheMonitoredStationOfItsChannelOnly)
{
    vesk_sta_mon_set(STA.data(), 6);
    vesk_sta_mon_set(STA.data(), 11);
    fake_advance(5s);
    Bytes event = changed(body(27), 22, { 6, 0xb9, 0xff, 0xff, 0xff });
    EXPECT_EQ(wdev_probe_req_event_process(event.data(), "ath0"), 0);
    const VeskStaMon *node = vesk_sta_mon_get(STA.data(), 6);
    EXPECT_STREQ(node->ifName, "ath0.v0");
    EXPECT_TRUE(node->rssi == -71 && node->lastProbeTime == get_current_time());
    EXPECT_EQ(vesk_sta_mon_get(STA.data(), 11)->rssi, 0);
    for (WdevHandler handler : { wdev_probe_req_event_process, wdev_client_leave_event_process })
        EXPECT_EQ(handler(nullptr, "ath0") + handler(event.data(), nullptr), -2);
}
