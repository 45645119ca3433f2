// Every method's record against bytes put together by hand, for success and for each refusal.
#include "tests/unit/bus_call.h"
#include "tests/unit/fixtures.h"

// clang-format off
namespace {
std::string range(int value, int low, int high) {
    char text[100];
    snprintf(text, sizeof text, " Error:num [%d] [min-max) = [%d] - [%d] is out range\n", value, low, high);
    return text;
}

VeskIntfStats counting_stats() {
    VeskIntfStats s = {};
    for (unsigned i = 0; i < 16; i++) s.counters[i] = 0x1100 + i;
    s.value1 = 0x2201, s.value2 = 0x2202;
    return s;
}

/** The statistics as a client sees them, from `at` on. */
Bytes &stats_bytes(Bytes &b, size_t at) {
    for (size_t i = 0; i < 16; i++)
        if (i != 4) b.u64(at + 8 * i, 0x1100 + i);
    return b.u16(at + 128, 0x2201, 0x2202);
}

struct Api : DeviceTest {
    void SetUp() override { DeviceTest::SetUp(), fill(); }
    static VeskCfgWifi &wifi_row() { return vesk_get_vesk_cfg_info()->Wifi[0]; }
    static BusReply band_call(const char *method, int band) { return bus_call(method, Args().i32("band", band)); }
    static BusReply vap_call(const char *method, const char *name) {
        return bus_call(method, Args().text("vapName", name));
    }
    static int record_call(const char *method, const char *arg, const Bytes &record, const char *vapName = nullptr) {
        Args args;
        if (vapName) args.text("vapName", vapName);
        const BusReply reply = bus_call(method, args.record(arg, record));
        EXPECT_TRUE(reply.sent);
        return static_cast<int>(reply.status);
    }
    static void expect_bytes(const BusReply &reply, const Bytes &want, int status = 0) {
        EXPECT_EQ(reply.status, status);
        EXPECT_EQ(first_difference(reply.result, want), "");
    }
    /** The last call of a library function: its text and its record. */
    static void expect_call(const char *function, const char *args, const Bytes &want) {
        const std::vector<FakeCall> calls = fakeDevice.calls(function);
        ASSERT_FALSE(calls.empty()) << function;
        EXPECT_EQ(calls.back().args, args);
        EXPECT_EQ(first_difference(calls.back().bytes, want), "");
    }
};
} // namespace

TEST_F(Api, RadioRecords) {
    VeskRadioInfo &r = radio[1];
    r.radioMac[4] = 0, r.radioMac[5] = 9, r.isEnabled = 1, r.isAcsEnabled = 2, r.curChannel = 36, r.curFreq = 5180;
    r.maxStaNums = 128, r.chListNums = 2, r.curchAttr[0] = 0x1234, r.curchAttr[1] = 0x5678, r.txPower = 20.5f;
    r.curBw = 2;
    Bytes want(308); // the third channel stands behind the count
    want.i32(0, 3).mac(4, 9).text(10, "wifi1").u8(26, 1, 1, 2).i32(32, 36, 5180).text(40, "HT80").text(48, "DE")
        .i32(56, 128, 2);
    want.u8(64, 36, 40).u16(128, 0x1234, 0x5678).f32(256, 20.5f).i32(260, 2).text(273, "a,n,ac,ax");
    expect_bytes(band_call("getRadioInfo", 3), want);
    expect_bytes(band_call("getRadioApIntfsInfo", 3),
                 Bytes(148).text(0, "wifi1").i32(16, 2).text(20, "ath10.v0").text(36, "ath11.v0"));

    scan->scanCfg[1].isSupportScan = 1, scan->scanCfg[1].scanItv = 60;
    expect_bytes(band_call("getScanCap", 3), Bytes(8).u8(0, 1).i32(4, 60));
    radio[0].chAttrList = { 2, { 1, 6, 99 }, { 0x11, 0x66, 0x99 } }, radio[0].status = 0;
    expect_bytes(band_call("getRadioAvaliableChannelList", 0), Bytes(196).i32(0, 2).u8(4, 1, 6).u16(68, 0x11, 0x66));

    auto *raw = reinterpret_cast<uint8_t *>(&r.curChannelInfo);
    for (size_t i = 0; i < 84; i++) raw[i] = static_cast<uint8_t>(i + 1);
    expect_bytes(band_call("getCurChannelInfo", 3), Bytes(88).count(0, 1, 16).count(16, 25, 4).count(20, 29, 4)
        .count(24, 33, 4).count(32, 17, 8).count(40, 37, 32).count(72, 69, 16)); // reordered
    r.status = 0;
    expect_bytes(band_call("getCurChannelInfo", 3), Bytes(88), -1);
}

TEST_F(Api, StatisticsComeFromTheRecordOrTheDriver) {
    Bytes want(136);
    stats_bytes(want, 0);
    radio[1].intfStats = vap_of("ath11").intfStats = counting_stats();
    for (const bool polled : { false, true }) { // radio 0's flag counts for all
        radio[0].isIntfStatEnabled = polled, radio[1].isIntfStatEnabled = !polled;
        fakeDevice.log.clear();
        fakeDevice.radio[1].stats = fakeDevice.vap("ath11")->stats = counting_stats();
        expect_bytes(band_call("getRadioIntfStats", 3), want);
        expect_bytes(vap_call("getVapIntfStats", "ath11.v0"), want);
        EXPECT_EQ(fakeDevice.count("rilk_getRadioIfStat") + fakeDevice.count("rilk_getVapIfStat"), polled ? 0 : 2);
    }
}

TEST_F(Api, VapInfo) {
    VeskVapInfo &v = vap_of("ath11"), &bsta = vap_of("apclii0");
    strcpy(v.keyPassphrase, "secret"), v.bssid[4] = 0, v.bssid[5] = 7;
    v.authMode = 0x20, v.encryptMode = 4, v.isBackhaulBss = 1;
    v.bstaPeerBssid[0] = 9; // of no use on a BSS
    Bytes want(280);
    want.text(0, "wifi1").text(16, "ath11.v0").text(32, "net-ath11").text(97, "secret").u16(162, 0x20).u16(196, 4)
        .text(198, "ap");
    want.u16(164, 1, 2, 4, 8, 16, 32, 64, 96, 34).text(230, "lan").i32(248, 128).mac(256, 7).u8(268, 1).u8(271, 0x40)
        .u8(274, 1);
    expect_bytes(vap_call("getVapInfo", "ath11.v0"), want);
    expect_bytes(vap_call("getVapInfo", "ath11"),
                 want.text(16, std::string("ath11\0\0\0", 8))); // as the caller wrote it

    strcpy(bsta.ssid, "not this"), strcpy(bsta.keyPassphrase, "nor this"), bsta.status = 1;
    bsta.bssid[0] = bsta.bstaPeerBssid[0] = 2, bsta.bstaPeerBssid[5] = 5;
    strcpy(scan->bhCred.ssid, "backhaul");
    want = Bytes(280).text(0, "wifi1").text(16, "apclii0").text(32, "backhaul").text(198, "sta").mac(256, 0).mac(262, 5);
    expect_bytes(vap_call("getVapInfo", "apclii0"), want.u8(268, 1).u8(271, 0x80));
}

TEST_F(Api, NothingOfAFormerTextGoesOut) {
    FakeRadio &r = fakeDevice.radio[0];
    FakeVap &v = *fakeDevice.vap("ath0");
    for (const char *text : { "xOLD", "x" }) { // as a driver copies texts: what stood behind the end stays there
        for (char *field : { r.ap.radioIfname, r.dyn.bond, r.dyn.operatingStandards }) strcpy(field, text);
        strcpy(r.ap.vapIfname[1], text), strcpy(wifi_row().Vap[0].Mode, text);
        v.ssid = text, v.cfg = {}, strcpy(v.cfg.keyPassphrase, text);
        fill();
    }
    for (const BusReply &reply : { band_call("getRadioInfo", 0), band_call("getRadioApIntfsInfo", 0),
                                   vap_call("getVapInfo", "ath0") }) {
        EXPECT_EQ(reply.status, 0);
        EXPECT_EQ(std::string(reply.result.begin(), reply.result.end()).find("LD"), std::string::npos);
    }
    v.cfg.keyPassphrase[64] = 'k', v.cfg.keyPassphrase[63] = 'k', fill();
    EXPECT_STREQ(vap_of("ath0").keyPassphrase + 63, "k"); // all 65 bytes of the driver's record, terminated
}

TEST_F(Api, Capabilities) {
    VeskCfgWifi &w = vesk_get_vesk_cfg_info()->Wifi[1];
    w.HTNumberOfTxStreams = 1, w.HTNumberOfRxStreams = 2, w.HTShortGI20MHz = 3, w.HTShortGI40MHz = 4, w.HT40MHz = 5;
    expect_bytes(band_call("getRadioHtCap", 3), Bytes(5).count(0, 1, 5));
    w.VHTTxMCS = 0xfffa, w.VHTRxMCS = 0xfff5, w.VHTNumberOfTxStreams = 4, w.VHTNumberOfRxStreams = 5, w.VHTShortGI80MHz = 6;
    w.VHTShortGI160And80p80MHz = 7, w.VHT160MHz = 8, w.VHT80p80MHz = 9, w.VHTSUBeamFormer = 10, w.VHTMUBeamFormer = 11;
    expect_bytes(band_call("getRadioVhtCap", 3), Bytes(12).u16(0, 0xfffa, 0xfff5).count(4, 4, 8));
    w.HEMCS = { 0x101, 0x202, 0x303, 0x404, 0x505, 0x606 };
    w.HENumberOfTxStreams = 13, w.HENumberOfRxStreams = 14, w.HE80p80MHz = 15, w.HE160MHz = 16, w.HESUBeamFormer = 17;
    w.HEMUBeamFormer = 18, w.HEULMUMIMO = 19, w.HEULMUMIMOOFDMA = 20, w.HEDLMUMIMOOFDMA = 21, w.HEULOFDMA = 22, w.HEDLOFDMA = 23;
    const Bytes he = Bytes(24).u8(0, 12).u16(1, 0x101, 0x202, 0x303, 0x404, 0x505, 0x606).count(13, 13, 11);
    expect_bytes(band_call("getRadioHeCap", 3), he);
    expect_bytes(bus_call("get1905interfacesList"),
                 Bytes(516).i32(0, 3).text(4, "eth0").text(20, "ath0.v0").text(36, "ath10.v0"));
    const int abilities[][2] = { { 0, 0 }, { 1, 1 }, { 2, 9 }, { 3, 7 }, { 4, 16 }, { 5, 0 }, { -1, 0 } };
    for (auto [radios, ability] : abilities) {
        vesk_get_vesk_cfg_info()->NumberOfWifiRadios = radios;
        EXPECT_EQ(bus_call("getRadioCapability").result[3], ability) << radios;
    }
}

TEST_F(Api, NonOccupancyList) {
    RilkNolList &nol = fakeDevice.radio[1].nol;
    expect_bytes(band_call("getNolChannelList", 3), Bytes(238));
    nol = { 3, { 52, 56, 60, 64 } };
    Bytes want = Bytes(238).u8(0, 3).u16(2, 1860).u8(4, 52).u16(6, 1860).u8(8, 56).u16(10, 1860).u8(12, 60);
    expect_bytes(band_call("getNolChannelList", 3), want);
    nol.count = 60;
    EXPECT_EQ(band_call("getNolChannelList", 3).result[0], 59);
    fakeDevice.rc["rilk_getChannelNolList"] = 1;
    EXPECT_EQ(band_call("getNolChannelList", 3).status, -1);
    EXPECT_TRUE(fake_logged("ERROR", " rilk_getChannelNolList ERROR, band=3\n\n"));
}

TEST_F(Api, StationsOfOneVapNewestFirst) {
    VeskStaInfo *store = vesk_get_sta_info();
    kvhmgr_init(&store->staDb, 64, 300, sizeof(VeskStaEntry), vesk_sta_hash, vesk_sta_mac_cmp);
    for (int i = 1; i <= 3; i++) {
        VeskStaEntry e = {};
        e.mac[0] = 2, e.mac[5] = static_cast<uint8_t>(i), e.rssi = i == 1 ? -120 : -119, e.stats = counting_stats();
        e.value1 = 26, e.value2 = -1, e.isBhInt = 34, e.tx = 38, e.rx = 42, e.value3 = 110, e.value4 = 114;
        e.time = 118, e.is11v = 124, e.is11k = 125, e.value6 = 126, e.bw = 143;
        strcpy(e.vapIntf, i == 2 ? "ath10" : "ath0"), strcpy(e.text1, "first"), strcpy(e.text2, "second");
        kvhmgr_set(&store->staDb, &e, sizeof e);
    }
    Bytes want(73752);
    want.i32(0, 2).text(4, "ath0.v0");
    for (size_t n = 0, at = 24; n < 2; n++, at += 288) {
        want.mac(at, n ? 1 : 3).i32(at + 8, n ? 0 : -119, 26, -1, 34, 110, 114, 38, 42, 118).u8(at + 46, 124, 125, 126);
        want.text(at + 49, "first").text(at + 113, "second").text(at + 129, "ath0.v0").i32(at + 148, 143);
        stats_bytes(want, at + 152);
    }
    expect_bytes(vap_call("getStaInfo", "ath0.v0"), want);
    expect_bytes(vap_call("getStaInfo", "apclii0"), Bytes(73752)); // a station itself: not even its name
    for (const char *empty : { "apclii0", "nowhere" }) {
        const BusReply reply = vap_call("getStaInfo", empty);
        EXPECT_EQ(reply.status + reply.result[0], 0) << empty;
    }
    for (int i = 0; i < 257; i++) {
        const VeskStaEntry e = { .mac = { 2, 0, 0, uint8_t(i >> 8), 1, uint8_t(i) }, .vapIntf = "ath1" };
        kvhmgr_set(&store->staDb, &e, sizeof e);
    }
    EXPECT_EQ(vap_call("getStaInfo", "ath1").result[1], 1); // 256 of them
    EXPECT_TRUE(fake_logged("ERROR", " Out range sta idx!\n"));
}

TEST_F(Api, OffChannelFiguresAndNeighbors) {
    vesk_init_scan_info();
    scan->scanTime = 4711, scan->scanCfg[1].dwellMax = 150;
    EXPECT_EQ(band_call("getOffChannelInfo", 3).result[4], 4); // listed, none with a result yet
    VeskScanChannel rec = { .ch = 44, .cac = 1, .inC = 2, .chnUtil = 3, .noise = -92, .smoothedNoise = -86.5 };
    *scan->channels[5] = rec; // position of 44 behind radio 0's three channels
    rec.ch = 1;
    *scan->channels[0] = rec; // the other radio's
    Bytes want = Bytes(1288).i32(0, 3, 4, 44, 2, 3, -92).u8(24, 1).f64(32, -86.5).i32(40, 4711, 150);
    expect_bytes(band_call("getOffChannelInfo", 3), want);
    vesk_destory_scan_info();
    EXPECT_EQ(band_call("getOffChannelInfo", 3).status, 0); // without tables: no entry

    vesk_init_scan_info();
    auto put = [&](int slot, int ch, const char *bssid) {
        free(scan->neighbors[slot]);
        auto *n = scan->neighbors[slot] = static_cast<VeskScanNeighbor *>(calloc(1, sizeof(VeskScanNeighbor)));
        n->ch = ch, n->rssi = -70, n->value1 = 91, n->value2 = 93;
        memcpy(n->bssid, bssid, std::min<size_t>(strlen(bssid), 18));
        memset(n->ssid, 's', sizeof n->ssid), memset(n->text, 't', sizeof n->text); // unterminated
    };
    put(0, 6, "02:00:00:00:00:01");
    put(200, 100, "02:00:00:00:00:02"); // upper 5 GHz counts to radio 1, whatever its row
    put(300, 14, "02:00:00:00:00:03");  // no band
    put(128 * 6 + 127, 36, "not a bssid, long");
    want = Bytes(29704).i32(0, 3, 2).mac(16, 2);
    for (size_t i = 0, at = 8; i < 2; i++, at += 116)
        want.i32(at, i ? 36 : 100, -70).text(at + 14, std::string(64, 's')).u16(at + 80, 91, 93)
            .text(at + 84, std::string(31, 't'));
    expect_bytes(band_call("getNeighborAPInfo", 3), want);
    for (int i = 0; i < 300; i++) put(i, 1 + i % 13, "02:00:00:00:00:09");
    const BusReply full = band_call("getNeighborAPInfo", 0);
    EXPECT_EQ(words(+full.result[4], +full.result[5]), "0 1 "); // 256
    vesk_destory_scan_info();
}

TEST_F(Api, ChannelIsAskedOfTheDriver) {
    fakeDevice.radio[1].channel = 100;
    for (int bw : { 2, 9 }) {
        fakeDevice.radio[1].dyn.bw = bw;
        expect_bytes(band_call("getChannel", 3), Bytes(8).i32(0, 100, bw == 9 ? 5 : bw));
    }
    fakeDevice.rc["rilk_getRadioCurChannel"] = -3;
    expect_bytes(band_call("getChannel", 3), Bytes(8).i32(4, 5), -1);
}

TEST_F(Api, SetChannelAnswersThePreviousOutcomeAndKeepsTheLastRequest) {
    radio[1].setResult = -5;
    const int cases[][5] = { // channel, bandwidth; status, both stored
        { 100, 2, -5, 100, 2 }, { 0x124, 4, -5, 0x24, 4 }, { 44, 6, -1, 0x24, 4 }, { 44, -1, -1, 0x24, 4 }, { 0, 5, -5, 0, 5 } };
    for (const auto &[channel, bandwidth, status, setChannel, setBw] : cases) {
        const Bytes data = Bytes(8).i32(0, channel, bandwidth);
        const BusReply reply = bus_call("setChannel", Args().i32("band", 3).record("data", data));
        EXPECT_EQ(words(reply.status, +radio[1].setChannel, radio[1].setBw), words(status, setChannel, setBw)) << bandwidth;
    }
    EXPECT_TRUE(fake_logged("ERROR", range(6, 0, 6)));
    EXPECT_EQ(fakeLoop.due(&radio[1].setChannelTimer), 2000);
}

TEST_F(Api, EveryBandMethodRefusesABandWithoutARadio) {
    const std::pair<std::vector<const char *>, bool> groups[] = { // methods, whether they look into the configuration
        { { "getRadioInfo", "getRadioApIntfsInfo", "getRadioIntfStats", "getCurChannelInfo", "getChannel", "triggerScan",
            "getScanCap", "getNolChannelList", "getRadioAvaliableChannelList", "getOffChannelInfo", "getNeighborAPInfo" }, false },
        { { "getRadioHtCap", "getRadioVhtCap", "getRadioHeCap", "getBstaIntfInfo" }, true } };
    for (const auto &[methods, config] : groups)
        for (const std::string method : methods) {
            SCOPED_TRACE(method);
            const bool unchecked = method == "getOffChannelInfo" || method == "getNeighborAPInfo";
            for (int band : { -1, 5, 1 }) {
                fake_clear_log();
                EXPECT_EQ(band_call(method.c_str(), band).status, -1);
                const std::string line = band == 1 || unchecked ? range(-1, 0, 2) : range(band, 0, 5);
                EXPECT_TRUE(fake_logged("ERROR", line));
                EXPECT_EQ(fake_logged("ERROR", " Get vesk config band index failed\n"), config && band == 1);
                for (const FakeLogLine &l : fake_log_lines())
                    EXPECT_TRUE(l.message != line || l.function == "vesk_" + method) << l.function;
            }
        }
}

TEST_F(Api, RequestsAreRepacked) {
    const std::string ssid(64, 'x'); // fills its field
    Bytes beacon = Bytes(1235).count(0, 1, 15).u8(15, 2, 36, 40, 99).text(80, ssid).u8(145, 2, 1, 32)
        .u8(179, 0xaa, 2, 1, 0xbb, 0xcc);
    Bytes want = Bytes(16595).count(0, 1, 15).text(15, ssid).u8(80, 2, 1, 32).u8(83 + 31, 0xaa).u8(338, 2, 1, 0xbb);
    fakeDevice.rc["rilk_sendBeaconReq"] = -7;
    EXPECT_EQ(record_call("setBeaconRequest", "bcnReq", beacon.u8(1234, 7), "ath0.v0"), -7);
    expect_call("rilk_sendBeaconReq", "ath0", want.u8(16529, 2, 36, 40).u8(16594, 7));

    Bytes btm = Bytes(268).count(0, 1, 10).u8(10, 32).count(11, 0, 256);
    want = Bytes(395).count(0, 1, 10).u8(10, 32);
    for (int i = 0; i < 32; i++) want.count(11 + 12 * static_cast<size_t>(i), 8 * i, 8);
    EXPECT_EQ(record_call("setBTMRequest", "btmReq", btm), 0); // also without a name
    expect_call("rilk_sendBTMReq", "", want);
}

TEST_F(Api, CommandsRefusedBeforeTheDriver) {
    const std::string missing = " vesk_applyBackhaulCredentialToBsta - Missing neccessary input.\n\n";
    const Bytes cred = Bytes(172).text(4, "a").text(20, "s").text(85, "k").i32(152, 1, 1); // complete
    const char *bh = "applyBackhaulCredentialToBsta";
    const struct { const char *name, *method, *arg; Bytes record; const char *vapName; std::string logged; } cases[] = {
        { "beacon without a name", "setBeaconRequest", "bcnReq", Bytes(1235), nullptr, "" },
        { "beacon list of 65", "setBeaconRequest", "bcnReq", Bytes(1235).u8(15, 65), "ath0", range(65, 0, 65) },
        { "33 elements", "setBeaconRequest", "bcnReq", Bytes(1235).u8(145, 33), "ath0", range(33, 0, 33) },
        { "element of 33", "setBeaconRequest", "bcnReq", Bytes(1235).u8(145, 1).u8(147, 33), "ath0", range(33, 0, 33) },
        { "33 BTM targets", "setBTMRequest", "btmReq", Bytes(268).u8(10, 33), "ath0", range(33, 0, 33) },
        { "element data of 257", "addVendorIE", "vendorIE", Bytes(280).i32(276, 257), nullptr, range(257, 0, 257) },
        { "element data of 2^31", "delVendorIE", "vendorIE", Bytes(280).u8(279, 128), nullptr, range(INT32_MIN, 0, 257) },
        { "block operation 2", "setBlockClient", "aclMac", Bytes(12).i32(0, 2), "ath0", "" },
        { "block operation 256", "setBlockClient", "aclMac", Bytes(12).i32(0, 256), "ath0", "" },
        { "monitor operation 2", "setStaMon", "monStaInfo", Bytes(12).i32(0, 2), nullptr, "" },
        { "credential without a name", bh, "bh", Bytes(cred).u8(4, 0), nullptr, missing },
        { "credential without an SSID", bh, "bh", Bytes(cred).u8(20, 0), nullptr, missing },
        { "credential without a key", bh, "bh", Bytes(cred).u8(85, 0), nullptr, missing },
        { "credential without encryption", bh, "bh", Bytes(cred).i32(152, 0), nullptr, missing },
        { "credential without authMode", bh, "bh", Bytes(cred).i32(156, 0), nullptr, missing },
        { "band without a row", "setBstaAutoConnect", "autoConnect", Bytes(12).i32(0, 1).u8(4, 1), nullptr, range(-1, 0, 2) },
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        fake_clear_log();
        scan->scanEnable = 1;
        EXPECT_EQ(record_call(c.method, c.arg, c.record, c.vapName), -1);
        EXPECT_EQ(scan->scanEnable, 1);
        fake_advance(2s);
        EXPECT_EQ(fakeDevice.log.size(), 0u);
        EXPECT_TRUE(c.logged.empty() || fake_logged("ERROR", c.logged));
    }
}

TEST_F(Api, CommandsReachTheDriverWithInnerNames) {
    Args kick;
    fakeDevice.rc["rilk_setVapAclMac"] = -1; // not looked at
    EXPECT_EQ(record_call("setBlockClient", "aclMac", Bytes(12).i32(0, 1).mac(4, 8), "ath0.v0"), 0);
    expect_call("rilk_setVapAclMac", "ath0 1 02:00:00:00:00:08", Bytes(7).u8(0, 1).mac(1, 8));
    const Bytes element = Bytes(280).text(0, "ath0.v0").i32(16, 3).u8(20, 0xdd).i32(276, 2);
    EXPECT_EQ(record_call("delVendorIE", "vendorIE", element), 0);
    expect_call("rilk_delVendorIE", "ath0 3 2", Bytes(2).u8(0, 0xdd));
    EXPECT_EQ(bus_call("disassocSta", kick.text("vapName", "ath0.v0")).status, 0);
    EXPECT_TRUE(fake_logged("ERROR", " vapName or station mac is NULL\n"));
    bus_call("disassocSta", kick.text("mac", "02:00:00:00:00:08"));
    expect_call("rilk_disConnectSta", "ath0 02:00:00:00:00:08", Bytes(0));
    EXPECT_EQ(record_call("setStaMon", "monStaInfo", Bytes(12).mac(4, 8).u8(10, 6)), 0);
    EXPECT_NE(vesk_sta_mon_get(Bytes(6).mac(0, 8).data(), 6), nullptr);
    vesk_sta_mon_destroy();
}

TEST_F(Api, BackhaulCredentialIsStoredCutAndAppliedLater) {
    const std::string ssid(65, 'x');
    Bytes bh = Bytes(172).i32(0, 3).text(4, "apclii0").text(20, ssid).text(85, "key").i32(152, 4, 5).mac(160, 1)
        .u8(166, 36).i32(168, 2);
    scan->scanEnable = 1;
    EXPECT_EQ(record_call("applyBackhaulCredentialToBsta", "bh", bh), 0);
    EXPECT_EQ(scan->scanEnable, 0);
    fake_advance(2s);
    Bytes want = Bytes(169).i32(0, 3).text(4, "apclii0").text(20, ssid.substr(1)).text(85, "key").i32(150, 4, 5).mac(158, 1);
    const std::string args = "apclii0 " + ssid.substr(1);
    expect_call("rilk_applyBackhaulCredentialToBsta", args.c_str(), want.u8(164, 36).i32(165, 2));
    Texts shown = messages("INFO"); // the method's line and the timer's are one, and without the key
    std::erase_if(shown, [](const std::string &line) { return line.find("ssidKey=") == std::string::npos; });
    EXPECT_EQ(shown, Texts(2, " band=3, ifName=apclii0, ssid=" + ssid.substr(1) + ", ssidKey=***, encryption=4, authMode=5, "
                              "bssid=02:00:00:00:00:01, channel=36, bw=2\n"));
}

TEST_F(Api, CallsOfSetChannelAreCountedWhateverIsLogged) {
    const auto count = [](int level) {
        vesk_get_vesk_info()->logLevel = level;
        bus_call("setChannel", Args().i32("band", 0).record("data", Bytes(8).i32(0, 1, 5)));
        const std::string log = fake_log(), word = "setChannelCnt=";
        return atoi(log.c_str() + log.rfind(word) + word.size());
    };
    const int first = count(6);
    count(3);
    EXPECT_EQ(count(6), first + 2);
}

TEST_F(Api, AutoConnectExcludesScanning) {
    scan->scanEnable = scan->scanEnableCfg = 1;
    int enabledAtCall = -1;
    fakeDevice.onCall = [&](const FakeCall &) { enabledAtCall = scan->scanEnable; };
    const auto call = [](int band, int on) {
        return record_call("setBstaAutoConnect", "autoConnect", Bytes(12).i32(0, band).u8(4, on, 1, 1));
    };
    EXPECT_EQ(call(0, 1), 0);
    EXPECT_EQ(enabledAtCall, 0); // scans had stopped
    EXPECT_EQ(words(+scan->scanCfg[0].bstaAuto.enableAuto, +scan->scanCfg[1].bstaAuto.enableAuto), "1 1 ");
    expect_call("rilk_setBstaAutoConnect", "apcli0 enable=1 radar=1", Bytes(23).text(4, "apcli0").u8(20, 1, 1, 1));
    const auto outcome = [&](int band, int on) {
        const int status = call(band, on);
        return words(status, enabledAtCall, +scan->scanEnable);
    };
    EXPECT_EQ(outcome(3, 0), "0 0 0 "); // radio 0 still holds scanning back
    EXPECT_EQ(outcome(0, 0), "0 0 1 "); // scans come back behind the driver's call
    scan->scanEnable = scan->scanEnableCfg = 0;
    EXPECT_EQ(outcome(0, 0), "0 0 0 "); // off by configuration
}

TEST_F(Api, DefaultVlanDwellLimitsAndPlaceholders) {
    expect_bytes(bus_call("getDefault802dot1qSetting"), Bytes(4));
    const Bytes cfg = Bytes(4).u16(0, 65535).u8(2, 5, 9);
    EXPECT_EQ(record_call("setDefault802dot1qSetting", "cfg", cfg), 0);
    EXPECT_EQ(fakeDevice.count("rilk_set8021dotqCfg"), 2); // ath1 and ath11
    expect_call("rilk_set8021dotqCfg", "ath11", cfg); // as it came
    expect_bytes(bus_call("getDefault802dot1qSetting"), Bytes(4).u16(0, 65535).u8(2, 5));
    EXPECT_EQ(words(vesk_setMinMaxDwellTime(3, 60, 60), vesk_setMinMaxDwellTime(3, 61, 60)), "0 -1 ");
    EXPECT_TRUE(fake_logged("ERROR", " rilk_setMinMaxDwellTime ERROR, band=3, min=61, max=60\n\n"));
    EXPECT_EQ(fakeDevice.count("rilk_setMinMaxDwellTime"), 1);
    expect_call("rilk_setMinMaxDwellTime", "wifi1 60 60", Bytes(0));
    fakeDevice.rc["rilk_setMinMaxDwellTime"] = 3;
    EXPECT_EQ(vesk_setMinMaxDwellTime(3, 60, 60), -1);
    expect_bytes(bus_call("getLinkMetrics", Args().text("local_iface", "ath0").text("peer_mac", "x")), Bytes(40));
    expect_bytes(band_call("getEirp", 9), Bytes(4));
}
