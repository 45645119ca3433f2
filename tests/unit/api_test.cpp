// Every method's record against bytes put together by hand, for success and for each refusal.
#include "tests/unit/bus_call.h"

#include "bus/vesk_api/vesk_api.h"
#include "source/vesk_interface/vesk_interface.h"
#include "source/vesk_main/records.h"
#include "source/vesk_scan/vesk_scan.h"
#include "source/vesk_station/vesk_station.h"

namespace
{
const char *const rangeLine = " Error:num [%d] [min-max) = [%d] - [%d] is out range\n";

std::string range(int value, int low, int high)
{
    char text[100];
    snprintf(text, sizeof text, rangeLine, value, low, high);
    return text;
}

VeskIntfStats counting_stats()
{
    VeskIntfStats s = {};
    for (unsigned i = 0; i < 16; i++)
        s.counters[i] = 0x1100 + i;
    s.value1 = 0x2201;
    s.value2 = 0x2202;
    return s;
}

/** The statistics as a client sees them, from `at` on. */
Bytes &stats_bytes(Bytes &b, size_t at)
{
    for (size_t i = 0; i < 16; i++)
        if (i != 4)
            b.u64(at + 8 * i, 0x1100 + i);
    return b.u16(at + 128, 0x2201).u16(at + 130, 0x2202);
}

/** Two radios, VAPs ath0 (slot 0), ath11 (slot 1, backhaul BSS), apclii0 (slot 2, backhaul station). */
struct Api : testing::Test {
    VeskRadioInfo *radio = vesk_get_radio_info();
    VeskVapInfo *vap = vesk_get_vap_info();
    VeskOffScanCfg *scan = vesk_get_scan_info();

    void SetUp() override
    {
        fake_reset();
        fake_load_product();
        for (int i = 0; i < 2; i++) {
            radio[i].apIntf = fakeDevice.radio[i].ap;
            radio[i].status = 1;
            radio[i].band = i;
            radio[i].actualBand = i ? 3 : 0;
            radio[i].intfStats = counting_stats();
        }
        set_vap(0, "ath0", 0);
        set_vap(1, "ath11", 0x40);
        set_vap(2, "apclii0", 0x80);
    }
    void set_vap(int i, const char *name, uint8_t attr)
    {
        snprintf(vap[i].ifName, 16, "%s", name);
        snprintf(vap[i].radio, 16, i ? "wifi1" : "wifi0");
        vap[i].vapAttr = attr;
        vap[i].status = 1;
        vap[i].intfStats = counting_stats();
    }
    static BusReply band_call(const char *method, int band)
    {
        Args args;
        return bus_call(method, args.i32("band", band));
    }
    static BusReply vap_call(const char *method, const char *name)
    {
        Args args;
        return bus_call(method, args.text("vapName", name));
    }
    static void expect_bytes(const BusReply &reply, const Bytes &want)
    {
        EXPECT_EQ(reply.status, 0);
        EXPECT_EQ(first_difference(reply.result, want.data), "");
    }
};
} // namespace

TEST_F(Api, RadioInfo)
{
    VeskRadioInfo &r = radio[1];
    r.radioMac[0] = 2;
    r.radioMac[5] = 9;
    r.isEnabled = 1;
    r.isAcsEnabled = 2;
    r.curChannel = 36;
    r.curFreq = 5180;
    snprintf(r.bond, 8, "HT80");
    snprintf(r.countryCode, 8, "DE");
    r.maxStaNums = 128;
    r.chListNums = 2;
    r.curchList[0] = 36;
    r.curchList[1] = 100;
    r.curchList[2] = 77; // behind the count
    r.curchAttr[0] = 0x1234;
    r.curchAttr[1] = 0x5678;
    r.txPower = 20.5f;
    r.curBw = 2;
    snprintf(r.operatingStandards, 32, "a,n,ac");
    Bytes want(308);
    want.i32(0, 3).mac(4, 9).text(10, "wifi1").u8(26, 1).u8(27, 1).u8(28, 2).i32(32, 36).i32(36, 5180);
    want.text(40, "HT80").text(48, "DE").i32(56, 128).i32(60, 2).u8(64, 36).u8(65, 100).u16(128, 0x1234);
    want.u16(130, 0x5678).f32(256, 20.5f).i32(260, 2).text(273, "a,n,ac");
    expect_bytes(band_call("getRadioInfo", 3), want);
}

TEST_F(Api, RadioInterfacesCarryOuterNames)
{
    snprintf(radio[1].chipName, 16, "SIM");
    Bytes want(148);
    want.text(0, "wifi1").i32(16, 2).text(20, "ath10.v0").text(36, "ath11.v0");
    expect_bytes(band_call("getRadioApIntfsInfo", 3), want);
}

TEST_F(Api, StatisticsComeFromTheRecordOrTheDriver)
{
    Bytes want(136);
    stats_bytes(want, 0);
    struct Case {
        const char *name;
        uint8_t flag0, flag1;
        int driverCalls;
    };
    for (const Case &c :
         { Case{ "poll off, own flag on", 0, 1, 1 }, Case{ "poll on, own flag off", 1, 0, 0 } }) {
        SCOPED_TRACE(c.name);
        radio[0].isIntfStatEnabled = c.flag0;
        radio[1].isIntfStatEnabled = c.flag1;
        fakeDevice.log.clear();
        fakeDevice.radio[1].stats = counting_stats();
        fakeDevice.vap("ath11")->stats = counting_stats();
        expect_bytes(band_call("getRadioIntfStats", 3), want);
        expect_bytes(vap_call("getVapIntfStats", "ath11.v0"), want);
        EXPECT_EQ(fakeDevice.count("rilk_getRadioIfStat"), c.driverCalls);
        EXPECT_EQ(fakeDevice.count("rilk_getVapIfStat"), c.driverCalls);
    }
}

TEST_F(Api, VapInfo)
{
    VeskVapInfo &v = vap[1];
    snprintf(v.ssid, 65, "home");
    snprintf(v.keyPassphrase, 65, "secret");
    v.authMode = 0x20;
    v.encryptMode = 4;
    snprintf(v.mode, 32, "ap");
    v.bssid[0] = 2;
    v.bssid[5] = 7;
    v.bstaPeerBssid[0] = 9; // of no use on a BSS
    v.isBackhaulBss = 1;
    Bytes want(280);
    want.text(0, "wifi1").text(16, "ath11.v0").text(32, "home").text(97, "secret").u16(162, 0x20).u16(196, 4);
    want.text(198, "ap").text(230, "lan").i32(248, 128).mac(256, 7).u8(268, 1).u8(271, 0x40).u8(274, 1);
    const int list[] = { 1, 2, 4, 8, 16, 32, 64, 96, 34 };
    for (size_t i = 0; i < 9; i++)
        want.u16(164 + 2 * i, list[i]);
    expect_bytes(vap_call("getVapInfo", "ath11.v0"), want);
    memset(&want.data[16], 0, 16); // the name comes back as the caller wrote it
    expect_bytes(vap_call("getVapInfo", "ath11"), want.text(16, "ath11"));
}

TEST_F(Api, BackhaulStationShowsItsCredentialAndPeerOnly)
{
    snprintf(vap[2].ssid, 65, "not this");
    snprintf(vap[2].keyPassphrase, 65, "nor this");
    snprintf(vap[2].mode, 32, "sta");
    vap[2].bssid[0] = 2;
    vap[2].bstaPeerBssid[0] = 2;
    vap[2].bstaPeerBssid[5] = 5;
    snprintf(scan->bhCred.ssid, 65, "backhaul");
    Bytes want(280);
    want.text(0, "wifi1").text(16, "apclii0").text(32, "backhaul").text(198, "sta").mac(256, 0).mac(262, 5);
    expect_bytes(vap_call("getVapInfo", "apclii0"), want.u8(268, 1).u8(271, 0x80));
}

TEST_F(Api, ListOf1905Interfaces)
{
    Bytes want(516);
    expect_bytes(bus_call("get1905interfacesList"),
                 want.i32(0, 3).text(4, "eth0").text(20, "ath0.v0").text(36, "ath10.v0"));
    char *text = vesk_get_vesk_cfg_info()->EnabledInterfaceNames1905;
    text[0] = '\0';
    expect_bytes(bus_call("get1905interfacesList"), Bytes(516));
    for (int i = 0; i < 33; i++)
        snprintf(text + strlen(text), 256 - strlen(text), "e%d,", i);
    EXPECT_EQ(bus_call("get1905interfacesList").result[0], 32);
}

TEST_F(Api, Capabilities)
{
    VeskCfgWifi &w = vesk_get_vesk_cfg_info()->Wifi[1];
    w.HTNumberOfTxStreams = 1, w.HTNumberOfRxStreams = 2, w.HTShortGI20MHz = 3, w.HTShortGI40MHz = 4,
    w.HT40MHz = 5;
    expect_bytes(band_call("getRadioHtCap", 3), Bytes(5).u8(0, 1).u8(1, 2).u8(2, 3).u8(3, 4).u8(4, 5));
    w.VHTTxMCS = 0xfffa, w.VHTRxMCS = 0xfff5, w.VHTNumberOfTxStreams = 4, w.VHTNumberOfRxStreams = 5;
    w.VHTShortGI80MHz = 6, w.VHTShortGI160And80p80MHz = 7, w.VHT160MHz = 8, w.VHT80p80MHz = 9;
    w.VHTSUBeamFormer = 10, w.VHTMUBeamFormer = 11;
    Bytes vht(12);
    vht.u16(0, 0xfffa).u16(2, 0xfff5);
    for (size_t i = 4; i < 12; i++)
        vht.u8(i, static_cast<int>(i));
    expect_bytes(band_call("getRadioVhtCap", 3), vht);
    w.HEMCS = { 0x101, 0x202, 0x303, 0x404, 0x505, 0x606 };
    w.HENumberOfTxStreams = 13, w.HENumberOfRxStreams = 14, w.HE80p80MHz = 15, w.HE160MHz = 16,
    w.HESUBeamFormer = 17;
    w.HEMUBeamFormer = 18, w.HEULMUMIMO = 19, w.HEULMUMIMOOFDMA = 20, w.HEDLMUMIMOOFDMA = 21,
    w.HEULOFDMA = 22;
    w.HEDLOFDMA = 23;
    Bytes he(24);
    he.u8(0, 12);
    for (size_t i = 0; i < 6; i++)
        he.u16(1 + 2 * i, 0x101 * static_cast<int>(i + 1));
    for (size_t i = 13; i < 24; i++)
        he.u8(i, static_cast<int>(i));
    expect_bytes(band_call("getRadioHeCap", 3), he);

    const int abilities[][2] = { { 0, 0 }, { 1, 1 }, { 2, 9 }, { 3, 7 }, { 4, 16 }, { 5, 0 }, { -1, 0 } };
    for (auto [radios, ability] : abilities) {
        vesk_get_vesk_cfg_info()->NumberOfWifiRadios = radios;
        EXPECT_EQ(bus_call("getRadioCapability").result[3], ability) << radios;
    }
}

TEST_F(Api, NonOccupancyList)
{
    RilkNolList &nol = fakeDevice.radio[1].nol;
    expect_bytes(band_call("getNolChannelList", 3), Bytes(238));
    nol.count = 3;
    nol.channels[0] = 52, nol.channels[1] = 56, nol.channels[2] = 60, nol.channels[3] = 64;
    Bytes want(238);
    want.u8(0, 3).u16(2, 1860).u8(4, 52).u16(6, 1860).u8(8, 56).u16(10, 1860).u8(12, 60);
    expect_bytes(band_call("getNolChannelList", 3), want);
    nol.count = 60;
    EXPECT_EQ(band_call("getNolChannelList", 3).result[0], 59);
    fakeDevice.rc["rilk_getChannelNolList"] = 1;
    EXPECT_EQ(band_call("getNolChannelList", 3).status, -1);
    EXPECT_TRUE(fake_logged("ERROR", " rilk_getChannelNolList ERROR, band=3\n\n"));
}

TEST_F(Api, StationsOfOneVapNewestFirst)
{
    VeskStaInfo *store = vesk_get_sta_info();
    kvhmgr_init(&store->staDb, 64, 256, sizeof(VeskStaEntry), vesk_sta_hash, vesk_sta_mac_cmp);
    for (int i = 1; i <= 3; i++) {
        VeskStaEntry e = {};
        e.mac[0] = 2, e.mac[5] = static_cast<uint8_t>(i);
        snprintf(e.vapIntf, 16, i == 2 ? "ath10" : "ath0");
        e.rssi = i == 1 ? -120 : -119;
        e.value1 = 26, e.value2 = -1, e.isBhInt = 34, e.tx = 38, e.rx = 42, e.value3 = 110, e.value4 = 114;
        e.time = 118, e.is11v = 124, e.is11k = 125, e.value6 = 126, e.bw = 143, e.stats = counting_stats();
        snprintf(e.text1, 64, "first");
        snprintf(e.text2, 16, "second");
        kvhmgr_set(&store->staDb, &e, sizeof e);
    }
    Bytes want(73752);
    want.i32(0, 2).text(4, "ath0.v0");
    for (size_t n = 0; n < 2; n++) {
        const size_t at = 24 + 288 * n;
        want.mac(at, n ? 1 : 3).i32(at + 8, n ? 0 : -119).i32(at + 12, 26).i32(at + 16, -1).i32(at + 20, 34);
        want.i32(at + 24, 110).i32(at + 28, 114).i32(at + 32, 38).i32(at + 36, 42).i32(at + 40, 118);
        want.u8(at + 46, 124)
            .u8(at + 47, 125)
            .u8(at + 48, 126)
            .text(at + 49, "first")
            .text(at + 113, "second");
        stats_bytes(want.text(at + 129, "ath0.v0").i32(at + 148, 143), at + 152);
    }
    expect_bytes(vap_call("getStaInfo", "ath0.v0"), want);
    for (const char *empty : { "apclii0", "nowhere" })
        EXPECT_EQ(vap_call("getStaInfo", empty).result[0], 0) << empty;
    EXPECT_EQ(vap_call("getStaInfo", "nowhere").status, 0);
}

TEST_F(Api, CurrentChannelIsReordered)
{
    auto *raw = reinterpret_cast<uint8_t *>(&radio[1].curChannelInfo);
    for (size_t i = 0; i < 84; i++)
        raw[i] = static_cast<uint8_t>(i + 1);
    const size_t moves[][3] = { { 0, 0, 16 },  { 16, 24, 4 },  { 20, 28, 4 }, { 24, 32, 4 },
                                { 32, 16, 8 }, { 40, 36, 32 }, { 72, 68, 16 } }; // to, from, bytes
    Bytes want(88);
    for (auto [to, from, n] : moves)
        want.put(to, raw + from, n);
    expect_bytes(band_call("getCurChannelInfo", 3), want);
    radio[1].status = 0;
    const BusReply down = band_call("getCurChannelInfo", 3);
    EXPECT_EQ(down.status, -1);
    EXPECT_EQ(first_difference(down.result, Bytes(88).data), "");
}

TEST_F(Api, OffChannelFigures)
{
    for (int i = 0; i < 2; i++) {
        radio[i].chListNums = fakeDevice.radio[i].channels.chListNums;
        memcpy(radio[i].curchList, fakeDevice.radio[i].channels.chList, 64);
    }
    vesk_init_scan_info();
    scan->scanTime = 4711;
    scan->scanCfg[1].dwellMax = 150;
    EXPECT_EQ(band_call("getOffChannelInfo", 3).result[4], 4); // listed, none with a result yet
    VeskScanChannel rec = {
        .ch = 44, .cac = 1, .inC = 2, .chnUtil = 3, .noise = -92, .smoothedNoise = -86.5
    };
    *scan->channels[5] = rec; // position of 44 behind radio 0's three channels
    rec.ch = 1;
    *scan->channels[0] = rec; // the other radio's
    Bytes want(1288);
    want.i32(0, 3).i32(4, 4).i32(8, 44).i32(12, 2).i32(16, 3).i32(20, -92).u8(24, 1).f64(32, -86.5);
    expect_bytes(band_call("getOffChannelInfo", 3), want.i32(40, 4711).i32(44, 150));
    vesk_destory_scan_info();
    EXPECT_EQ(band_call("getOffChannelInfo", 3).status, 0); // without tables: no entry
}

TEST_F(Api, Neighbors)
{
    for (int i = 0; i < 2; i++) {
        radio[i].chListNums = fakeDevice.radio[i].channels.chListNums;
        memcpy(radio[i].curchList, fakeDevice.radio[i].channels.chList, 64);
    }
    vesk_init_scan_info();
    auto put = [&](int slot, int ch, const char *bssid) {
        auto *n = static_cast<VeskScanNeighbor *>(calloc(1, sizeof(VeskScanNeighbor)));
        n->ch = ch;
        memcpy(n->bssid, bssid, std::min<size_t>(strlen(bssid), 18));
        memset(n->ssid, 's', sizeof n->ssid); // unterminated
        n->rssi = -70, n->value1 = 91, n->value2 = 93;
        memset(n->text, 't', sizeof n->text);
        scan->neighbors[slot] = n;
    };
    put(0, 6, "02:00:00:00:00:01");
    put(200, 100, "02:00:00:00:00:02"); // upper 5 GHz counts to radio 1, whatever its row
    put(300, 14, "02:00:00:00:00:03");  // no band
    put(128 * 6 + 127, 36, "not a bssid, long");
    const std::string s(64, 's'), t(31, 't');
    Bytes want(29704);
    want.i32(0, 3).i32(4, 2);
    for (size_t i = 0; i < 2; i++) {
        const size_t at = 8 + 116 * i;
        want.i32(at, i ? 36 : 100)
            .i32(at + 4, -70)
            .text(at + 14, s.c_str())
            .u16(at + 80, 91)
            .u16(at + 82, 93);
        want.text(at + 84, t.c_str());
    }
    expect_bytes(band_call("getNeighborAPInfo", 3), want.mac(16, 2));
    for (int i = 0; i < 300; i++) {
        free(scan->neighbors[i]);
        put(i, 1 + i % 13, "02:00:00:00:00:09");
    }
    const BusReply full = band_call("getNeighborAPInfo", 0);
    EXPECT_EQ(full.result[5], 1); // 256
    EXPECT_EQ(full.result[4], 0);
    vesk_destory_scan_info();
}

TEST_F(Api, ChannelIsAskedOfTheDriver)
{
    fakeDevice.radio[1].channel = 100;
    fakeDevice.radio[1].dyn.bw = 2;
    expect_bytes(band_call("getChannel", 3), Bytes(8).i32(0, 100).i32(4, 2));
    fakeDevice.radio[1].dyn.bw = 9;
    expect_bytes(band_call("getChannel", 3), Bytes(8).i32(0, 100).i32(4, 5));
    fakeDevice.rc["rilk_getRadioCurChannel"] = -3;
    const BusReply failed = band_call("getChannel", 3);
    EXPECT_EQ(failed.status, -1);
    EXPECT_EQ(first_difference(failed.result, Bytes(8).i32(4, 5).data), "");
}

TEST_F(Api, SetChannelAnswersThePreviousOutcomeAndKeepsTheLastRequest)
{
    struct Case {
        const char *name;
        int channel, bandwidth, status, setChannel, setBw;
    };
    radio[1].setResult = -5;
    const Case cases[] = {
        { "first", 100, 2, -5, 100, 2 },
        { "low byte only", 0x124, 4, -5, 0x24, 4 },
        { "bandwidth 6 is refused", 44, 6, -1, 0x24, 4 },
        { "bandwidth -1 is refused", 44, -1, -1, 0x24, 4 },
        { "nothing asked for", 0, 5, -5, 0, 5 },
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        Args args;
        args.i32("band", 3).record("data", Bytes(8).i32(0, c.channel).i32(4, c.bandwidth).data);
        EXPECT_EQ(bus_call("setChannel", args).status, c.status);
        EXPECT_EQ(radio[1].setChannel, c.setChannel);
        EXPECT_EQ(radio[1].setBw, c.setBw);
    }
    EXPECT_TRUE(fake_logged("ERROR", range(6, 0, 6)));
    EXPECT_EQ(fakeLoop.due(&radio[1].setChannelTimer), 2000);
}

TEST_F(Api, ScanCapabilityAndAvailableChannels)
{
    scan->scanCfg[1].isSupportScan = 1;
    scan->scanCfg[1].scanItv = 60;
    expect_bytes(band_call("getScanCap", 3), Bytes(8).u8(0, 1).i32(4, 60));
    radio[0].chAttrList = { 2, { 1, 6, 99 }, { 0x11, 0x66, 0x99 } };
    radio[0].status = 0;
    expect_bytes(band_call("getRadioAvaliableChannelList", 0),
                 Bytes(196).i32(0, 2).u8(4, 1).u8(5, 6).u16(68, 0x11).u16(70, 0x66));
}

TEST_F(Api, EveryBandMethodRefusesABandWithoutARadio)
{
    struct Case {
        const char *method;
        int low, none; // what is logged for band -1, and for a band word of no radio; 0: band range, 1:
                       // radio, 2: config
    };
    const Case cases[] = {
        { "getRadioInfo", 0, 1 },
        { "getRadioApIntfsInfo", 0, 1 },
        { "getRadioIntfStats", 0, 1 },
        { "getCurChannelInfo", 0, 1 },
        { "getOffChannelInfo", 1, 1 },
        { "getNeighborAPInfo", 1, 1 },
        { "getChannel", 0, 1 },
        { "triggerScan", 0, 1 },
        { "getScanCap", 0, 1 },
        { "getNolChannelList", 0, 1 },
        { "getRadioAvaliableChannelList", 0, 1 },
        { "getRadioHtCap", 0, 2 },
        { "getRadioVhtCap", 0, 2 },
        { "getRadioHeCap", 0, 2 },
        { "getBstaIntfInfo", 0, 2 },
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.method);
        for (int band : { -1, 5 }) {
            fake_clear_log();
            EXPECT_EQ(band_call(c.method, band).status, -1);
            EXPECT_TRUE(fake_logged("ERROR", c.low ? range(-1, 0, 2) : range(band, 0, 5)));
        }
        fake_clear_log();
        EXPECT_EQ(band_call(c.method, 1).status, -1);
        EXPECT_TRUE(fake_logged("ERROR", range(-1, 0, 2)));
        EXPECT_EQ(fake_logged("ERROR", " Get vesk config band index failed\n"), c.none == 2);
        for (const FakeLogLine &line : fake_log_lines())
            if (line.message == range(-1, 0, 2)) {
                EXPECT_EQ(line.function, std::string("vesk_") + c.method);
            }
    }
}

TEST_F(Api, BeaconRequestIsRepacked)
{
    Bytes req(1235);
    for (size_t i = 0; i < 15; i++)
        req.u8(i, static_cast<int>(i + 1));
    req.u8(15, 2)
        .u8(16, 36)
        .u8(17, 40)
        .u8(18, 99)
        .text(80, std::string(64, 'x').c_str())
        .u8(145, 2)
        .u8(1234, 7);
    req.u8(146, 1).u8(147, 32).u8(179, 0xaa).u8(180, 2).u8(181, 1).u8(182, 0xbb).u8(183, 0xcc);
    Bytes want(16595);
    want.put(0, req.data.data(), 15).text(15, std::string(64, 'x').c_str()).u8(80, 2).u8(81, 1).u8(82, 32);
    want.u8(83 + 31, 0xaa)
        .u8(338, 2)
        .u8(339, 1)
        .u8(340, 0xbb)
        .u8(16529, 2)
        .u8(16530, 36)
        .u8(16531, 40)
        .u8(16594, 7);
    fakeDevice.rc["rilk_sendBeaconReq"] = -7;
    Args args;
    EXPECT_EQ(bus_call("setBeaconRequest", args.text("vapName", "ath0.v0").record("bcnReq", req.data)).status,
              -7);
    const std::vector<FakeCall> sent = fakeDevice.calls("rilk_sendBeaconReq");
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent[0].args, "ath0");
    EXPECT_EQ(first_difference(sent[0].bytes, want.data), "");
}

TEST_F(Api, BtmRequestIsRepackedAlsoWithoutAName)
{
    Bytes req(268), want(395);
    for (size_t i = 0; i < 10; i++)
        req.u8(i, static_cast<int>(i + 1));
    req.u8(10, 32);
    want.put(0, req.data.data(), 11);
    for (size_t i = 0; i < 32; i++)
        for (size_t b = 0; b < 8; b++) {
            req.u8(11 + 8 * i + b, static_cast<int>(i * 8 + b));
            want.u8(11 + 12 * i + b, static_cast<int>(i * 8 + b));
        }
    Args args;
    EXPECT_EQ(bus_call("setBTMRequest", args.record("btmReq", req.data)).status, 0);
    const FakeCall sent = fakeDevice.calls("rilk_sendBTMReq").at(0);
    EXPECT_EQ(sent.args, "");
    EXPECT_EQ(first_difference(sent.bytes, want.data), "");
}

TEST_F(Api, CommandsRefusedBeforeTheDriver)
{
    struct Case {
        const char *name, *method, *arg;
        Bytes record;
        const char *vapName;
        std::string logged;
    };
    const Case cases[] = {
        { "beacon without a name", "setBeaconRequest", "bcnReq", Bytes(1235), nullptr, "" },
        { "beacon list of 65", "setBeaconRequest", "bcnReq", Bytes(1235).u8(15, 65), "ath0",
          range(65, 0, 65) },
        { "33 elements", "setBeaconRequest", "bcnReq", Bytes(1235).u8(145, 33), "ath0", range(33, 0, 33) },
        { "element of 33", "setBeaconRequest", "bcnReq", Bytes(1235).u8(145, 1).u8(147, 33), "ath0",
          range(33, 0, 33) },
        { "33 BTM targets", "setBTMRequest", "btmReq", Bytes(268).u8(10, 33), "ath0", range(33, 0, 33) },
        { "element data of 257", "addVendorIE", "vendorIE", Bytes(280).i32(276, 257), nullptr,
          range(257, 0, 257) },
        { "element data of 2^31", "delVendorIE", "vendorIE", Bytes(280).u8(279, 128), nullptr,
          range(INT32_MIN, 0, 257) },
        { "block operation 2", "setBlockClient", "aclMac", Bytes(12).i32(0, 2), "ath0", "" },
        { "block operation 256", "setBlockClient", "aclMac", Bytes(12).i32(0, 256), "ath0", "" },
        { "monitor operation 2", "setStaMon", "monStaInfo", Bytes(12).i32(0, 2), nullptr, "" },
        { "credential without a name", "applyBackhaulCredentialToBsta", "bh",
          Bytes(172).text(20, "s").text(85, "k").i32(152, 1).i32(156, 1), nullptr,
          " vesk_applyBackhaulCredentialToBsta - Missing neccessary input.\n\n" },
        { "credential without authMode", "applyBackhaulCredentialToBsta", "bh",
          Bytes(172).text(4, "a").text(20, "s").text(85, "k").i32(152, 1), nullptr,
          " vesk_applyBackhaulCredentialToBsta - Missing neccessary input.\n\n" },
        { "auto-connect on a band without a row", "setBstaAutoConnect", "autoConnect",
          Bytes(12).i32(0, 1).u8(4, 1), nullptr, range(-1, 0, 2) },
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        fake_clear_log();
        fakeDevice.log.clear();
        scan->scanEnable = 1;
        Args args;
        if (c.vapName)
            args.text("vapName", c.vapName);
        const BusReply reply = bus_call(c.method, args.record(c.arg, c.record.data));
        EXPECT_TRUE(reply.sent);
        EXPECT_EQ(reply.status, -1);
        EXPECT_TRUE(fakeDevice.log.empty());
        EXPECT_TRUE(c.logged.empty() || fake_logged("ERROR", c.logged));
        EXPECT_EQ(scan->scanEnable, 1);
    }
}

TEST_F(Api, CommandsReachTheDriverWithInnerNames)
{
    Args block, ie, kick, monitor;
    block.text("vapName", "ath0.v0").record("aclMac", Bytes(12).i32(0, 1).mac(4, 8).data);
    fakeDevice.rc["rilk_setVapAclMac"] = -1; // not looked at
    EXPECT_EQ(bus_call("setBlockClient", block).status, 0);
    EXPECT_EQ(fakeDevice.calls("rilk_setVapAclMac").at(0).bytes, Bytes(7).u8(0, 1).mac(1, 8).data);
    ie.record("vendorIE", Bytes(280).text(0, "ath0.v0").i32(16, 3).u8(20, 0xdd).i32(276, 2).data);
    EXPECT_EQ(bus_call("delVendorIE", ie).status, 0);
    EXPECT_EQ(fakeDevice.calls("rilk_delVendorIE").at(0).args, "ath0 3 2");
    kick.text("vapName", "ath0.v0");
    EXPECT_EQ(bus_call("disassocSta", kick).status, 0);
    EXPECT_TRUE(fake_logged("ERROR", " vapName or station mac is NULL\n"));
    kick.text("mac", "02:00:00:00:00:08");
    bus_call("disassocSta", kick);
    EXPECT_EQ(fakeDevice.calls("rilk_disConnectSta").at(0).args, "ath0 02:00:00:00:00:08");
    monitor.record("monStaInfo", Bytes(12).mac(4, 8).u8(10, 6).data);
    EXPECT_EQ(bus_call("setStaMon", monitor).status, 0);
    const uint8_t mac[6] = { 2, 0, 0, 0, 0, 8 };
    EXPECT_NE(vesk_sta_mon_get(mac, 6), nullptr);
    vesk_sta_mon_destroy();
}

TEST_F(Api, BackhaulCredentialIsStoredCutAndAppliedLater)
{
    const std::string longText(65, 'x');
    Bytes bh(172);
    bh.i32(0, 3).text(4, "apclii0").text(20, longText.c_str()).text(85, "key").i32(152, 4).i32(156, 5);
    Args args;
    scan->scanEnable = 1;
    EXPECT_EQ(bus_call("applyBackhaulCredentialToBsta",
                       args.record("bh", bh.mac(160, 1).u8(166, 36).i32(168, 2).data))
                  .status,
              0);
    EXPECT_EQ(scan->scanEnable, 0);
    fake_advance(2s);
    Bytes want(169);
    want.i32(0, 3)
        .text(4, "apclii0")
        .text(20, longText.substr(1).c_str())
        .text(85, "key")
        .i32(150, 4)
        .i32(154, 5);
    EXPECT_EQ(first_difference(fakeDevice.calls("rilk_applyBackhaulCredentialToBsta").at(0).bytes,
                               want.mac(158, 1).u8(164, 36).i32(165, 2).data),
              "");
    EXPECT_EQ(fake_log().find("ssidKey=key"), std::string::npos);
}

TEST_F(Api, AutoConnectExcludesScanning)
{
    auto call = [](int band, int on) {
        Args args;
        args.record("autoConnect", Bytes(12).i32(0, band).u8(4, on).u8(5, 1).data);
        return bus_call("setBstaAutoConnect", args).status;
    };
    scan->scanEnable = scan->scanEnableCfg = 1;
    int enabledAtCall = -1;
    fakeDevice.onCall = [&](const FakeCall &) { enabledAtCall = scan->scanEnable; };
    EXPECT_EQ(call(0, 1), 0);
    EXPECT_EQ(enabledAtCall, 0); // scans had stopped
    EXPECT_EQ(scan->scanCfg[0].bstaAuto.enableAuto, 1);
    EXPECT_EQ(scan->scanCfg[1].bstaAuto.enableAuto, 1);
    EXPECT_EQ(fakeDevice.calls("rilk_setBstaAutoConnect").at(0).args, "apcli0 enable=1 radar=1");
    EXPECT_EQ(call(3, 0), 0); // radio 0 still holds scanning back
    EXPECT_EQ(scan->scanEnable, 0);
    EXPECT_EQ(call(0, 0), 0);
    EXPECT_EQ(enabledAtCall, 0); // scans come back behind the driver's call
    EXPECT_EQ(scan->scanEnable, 1);
}

TEST_F(Api, DefaultVlan)
{
    expect_bytes(bus_call("getDefault802dot1qSetting"), Bytes(4));
    Args args;
    EXPECT_EQ(bus_call("setDefault802dot1qSetting",
                       args.record("cfg", Bytes(4).u16(0, 65535).u8(2, 5).u8(3, 9).data))
                  .status,
              0);
    const std::vector<FakeCall> calls = fakeDevice.calls("rilk_set8021dotqCfg");
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].args, "ath11");
    EXPECT_EQ(calls[0].bytes, Bytes(4).u16(0, 65535).u8(2, 5).u8(3, 9).data); // as it came
    expect_bytes(bus_call("getDefault802dot1qSetting"), Bytes(4).u16(0, 65535).u8(2, 5));
}

TEST_F(Api, DwellLimits)
{
    EXPECT_EQ(vesk_setMinMaxDwellTime(3, 60, 60), 0);
    EXPECT_EQ(vesk_setMinMaxDwellTime(3, 61, 60), -1);
    EXPECT_TRUE(fake_logged("ERROR", " rilk_setMinMaxDwellTime ERROR, band=3, min=61, max=60\n\n"));
    ASSERT_EQ(fakeDevice.count("rilk_setMinMaxDwellTime"), 1);
    EXPECT_EQ(fakeDevice.calls("rilk_setMinMaxDwellTime")[0].args, "wifi1 60 60");
}

TEST_F(Api, PlaceholdersAnswerZeros)
{
    Args link;
    expect_bytes(bus_call("getLinkMetrics", link.text("local_iface", "ath0").text("peer_mac", "x")),
                 Bytes(40));
    expect_bytes(band_call("getEirp", 9), Bytes(4));
}
