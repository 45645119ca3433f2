// Answers of bus methods that are put together from tables; the others are rows (rows/api.rows).
#include "tests/unit/bus_call.h"
#include "tests/unit/fixtures.h"

// clang-format off
namespace {
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
    static void expect_bytes(const BusReply &reply, const Bytes &want, int status = 0) {
        EXPECT_EQ(reply.status, status);
        EXPECT_EQ(first_difference(reply.result, want), "");
    }
};
} // namespace

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

TEST_F(Api, DwellLimits) {
    EXPECT_EQ(words(vesk_setMinMaxDwellTime(3, 60, 60), vesk_setMinMaxDwellTime(3, 61, 60)), "0 -1 ");
    EXPECT_TRUE(fake_logged("ERROR", " rilk_setMinMaxDwellTime ERROR, band=3, min=61, max=60\n\n"));
    const std::vector<FakeCall> calls = fakeDevice.calls("rilk_setMinMaxDwellTime");
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].args, "wifi1 60 60");
    fakeDevice.rc["rilk_setMinMaxDwellTime"] = 3;
    EXPECT_EQ(vesk_setMinMaxDwellTime(3, 60, 60), -1);
}
