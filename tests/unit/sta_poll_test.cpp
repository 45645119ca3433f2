// The station poll: when it gives up, what it writes into an entry, duplicates, and the limits of the store.
#include "tests/unit/fixtures.h"

struct StaPollTest : DeviceTest {
    VeskStaInfo *store = vesk_get_sta_info();
    void SetUp() override {
        DeviceTest::SetUp();
        store->isStaPollEnabled = 1, store->timeItv = 10, store->threshold = 50;
        vesk_init_device_info();
    }
    VeskStaEntry *station(uint8_t last) {
        const uint8_t mac[6] = { 2, 1, 1, 1, 1, last };
        return static_cast<VeskStaEntry *>(kvhmgr_get(&store->staDb, mac));
    }
    static VeskStaEntry &join(const char *name, int last, int fifth = 1) {
        return fakeDevice.addStation(name, { 2, 1, 1, 1, uint8_t(fifth), uint8_t(last) }).entry;
    }
    /** One poll; the number of stations it left. */
    int poll() {
        vesk_update_sta_ubus_handle(&store->staTimer);
        EXPECT_EQ(fakeLoop.due(&store->staTimer), 10000) << "re-armed, whatever it found";
        return kvhlist_count(&store->staDb.list);
    }
};

TEST_F(StaPollTest, GivesUpUnderLoadAndKeepsTheTable) {
    // radio with this utilisation and own traffic, threshold, stations left of one that left, radios asked
    using Row = std::tuple<int, uint32_t, uint32_t, int, int, int>;
    for (const auto &[band, util, ibss, threshold, left, asked] :
         { Row{ 1, 49, 49, 50, 0, 2 }, Row{ 0, 50, 0, 50, 1, 1 }, Row{ 1, 0, ~0u, 50, 1, 2 },
           Row{ 0, ~1u, 0, -1, 0, 2 } }) {
        SetUp();
        join("ath0", 1), poll();
        fakeDevice.vap("ath0")->stations.clear(), fakeDevice.log.clear();
        fakeDevice.radio[band].cur.ccaTxUtil = util, fakeDevice.radio[band].cur.ccaInbss = ibss;
        store->threshold = threshold;
        EXPECT_EQ(poll(), left) << band << " " << util << " " << ibss;
        EXPECT_EQ(fakeDevice.count("rilk_getCurChannelInfo"), asked);
    }
}

TEST_F(StaPollTest, Entry) {
    join("ath1", 1).bw = 99;
    fakeDevice.addStation("ath10", { 0, 0, 0, 0, 0, 0 }); // skipped, alone
    join("ath10", 2).is11v = 7;
    memset(join("ath10", 3).vapIntf, 'x', 16);
    vesk_set_sta_cap(fakeDevice.vap("ath1")->stations[0].mac, std::vector<uint8_t>{ 0x80, 0x01 }.data());
    ASSERT_EQ(poll(), 3);
    const auto values = [](const VeskStaEntry *s) { return words(+s->isBhInt, +s->bw, +s->is11v, +s->is11k); };
    EXPECT_EQ(values(station(1)) + values(station(2)), "1 0 1 1 0 1 7 0 ");
    EXPECT_EQ(strlen(station(3)->vapIntf), 15u);
    EXPECT_EQ(vesk_is_connected_fronthaul_station(), 1);
    vap_of("ath10").status = 0;
    EXPECT_EQ(poll(), 1) << "rebuilt from scratch, of active VAPs";
    EXPECT_EQ(vesk_is_connected_fronthaul_station(), 0) << "backhaul only";
}

TEST_F(StaPollTest, OfDuplicatesTheSmallerTimeStaysOrTheLater) {
    fake_advance(1s);
    vesk_set_sta_timer_status(1);
    EXPECT_EQ(fakeLoop.due(&store->staTimer), 10000) << "the same status restarts the interval";
    join("ath0", 1).time = 1;
    join("ath0", 2).time = join("ath10", 2).time = 5;
    join("ath10", 1).time = ~0u;
    EXPECT_EQ(poll(), 2);
    EXPECT_EQ(words(station(1)->vapIntf, station(2)->vapIntf), "ath0 ath10 ");
    SetUp(); // never more than the store holds
    for (int i = 0; i < 300; i++) join("ath0", i % 256, i / 256 + 1);
    join("ath1", 0), join("ath1", 0, 9); // the first replaces although the store is full
    EXPECT_EQ(poll(), 256);
    EXPECT_EQ(fakeDevice.calls("rilk_getVapAssocStationMac").at(256).args, "ath1 1") << "256 positions of ath0";
    EXPECT_STREQ(station(0)->vapIntf, "ath1");
}
