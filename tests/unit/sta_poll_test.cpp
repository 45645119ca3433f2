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

TEST_F(StaPollTest, NeverMoreThanTheStoreHolds) {
    for (int i = 0; i < 300; i++) join("ath0", i % 256, i / 256 + 1);
    join("ath1", 0), join("ath1", 0, 9); // the first replaces although the store is full
    EXPECT_EQ(poll(), 256);
    EXPECT_EQ(fakeDevice.calls("rilk_getVapAssocStationMac").at(256).args, "ath1 1") << "256 positions of ath0";
    EXPECT_STREQ(station(0)->vapIntf, "ath1");
}
