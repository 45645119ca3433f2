// The radio refresh: what is read once, what only flags a difference, and what is clamped.
#include "tests/unit/fixtures.h"

using RadioInventoryTest = DeviceTest;

TEST_F(RadioInventoryTest, ReadsOnceAndFlagsDifferences) {
    FakeRadio &device = fakeDevice.radio[0];
    device.chip = std::string(16, 'c'), device.ap.vapNums = 9, device.hul.isAcsEnabled = 3;
    vesk_update_radio_info();
    EXPECT_EQ(words(+radio[0].isAcsEnabled, radio[0].curChannel, radio[0].curFreq, radio[0].maxStaNums,
                    strlen(radio[0].chipName), radio[0].intfNums),
              "3 6 2437 128 15 8 ");
    const auto second = [](const char *call) { return fakeDevice.calls(call).at(1).args; };
    EXPECT_EQ(words(second("rilk_getRadioApInterfaceInfo"), second("hul_getRadioInfo")), "1 3 ");
    device.channel = 11;
    using Row = std::tuple<int, float, float, int>; // bandwidth, known and present power; flagged
    for (const auto &[bw, known, power, flagged] :
         { Row{ 0, 20.f, 20.f, 0 }, Row{ 2, 20.f, 20.f, 1 }, Row{ 0, 20.f, 21.f, 1 }, Row{ 0, NAN, NAN, 0 },
           Row{ 0, NAN, 20.f, 1 } }) {
        device.dyn.bw = bw, device.power = power;
        radio[0].txPower = known, radio[0].intfPollCtl = 0;
        vesk_update_radio_info();
        EXPECT_EQ(radio[0].intfPollCtl, flagged) << bw << " " << known << " " << power;
        EXPECT_EQ(radio[0].curBw, 0) << "the poller's";
    }
    EXPECT_EQ(radio[0].curChannel, 6);
}

TEST_F(RadioInventoryTest, StatusChangeMakesScanListsStale) {
    // later refresh, enabled, driver's status, stale
    const uint8_t rows[][4] = { { 0, 0, 1, 0 }, { 1, 1, 1, 0 }, { 1, 1, 0, 1 }, { 1, 0, 1, 1 } };
    for (const auto &[later, enabled, status, stale] : rows) {
        SetUp();
        if (later) fill();
        fakeDevice.radio[1].hul.isEnabled = enabled, fakeDevice.radio[1].status = status;
        vesk_update_radio_info();
        EXPECT_EQ(radio[1].status, enabled && status);
        EXPECT_EQ(scan->needResetScan, stale) << int{ later } << int{ enabled } << int{ status };
        EXPECT_EQ(fakeDevice.count("rilk_getRadioStatus"), 1 + enabled) << "a disabled radio isn't asked";
    }
}

TEST_F(RadioInventoryTest, AvailableListIsTheFullListLessTheExcluded) {
    using Row = std::tuple<int, int, const char *>; // counts of the library, which excludes '(' and '0'
    for (const auto &[full, excluded, left] :
         { Row{ 4, 1, "$,0" }, Row{ 4, -1, "$(,0" }, Row{ 4, 1000, "$," }, Row{ 1000, 2, "$," } }) {
        SetUp();
        fakeDevice.radio[1].channels.chListNums = full;
        fakeDevice.radio[1].excluded = { excluded, { { 40, 0, 0xdead }, { 48, 0, 0xdead } } };
        vesk_update_radio_info();
        EXPECT_STREQ(reinterpret_cast<const char *>(radio[1].chAttrList.chList), left) << full << " " << excluded;
        EXPECT_EQ(radio[1].chListNums, full == 4 ? 4 : 64);
        EXPECT_EQ(radio[1].chAttrList.chAttr[0], 0x124) << "the full list's";
        EXPECT_EQ(radio[1].chAttrList.chAttr[1], 0x100 + left[1]) << "of the same channel";
    }
}
