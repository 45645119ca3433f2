// What changes under the libraries while a daemon runs, changes.rows; and as many stations as a radio can have.
#include "include/rilk.h"

#include "tests/radio/crowd.h"
#include "tests/radio/script.h"

namespace {

struct Change : testing::Test {
    static void SetUpTestSuite() { ASSERT_EQ(rilk_initDriver(), 0); }
};
[[maybe_unused]] const bool isReady = add_tests<Change>("Change", "changes.rows");

TEST_F(Change, APollOf256StationsTakesAtMost50Ms) {
    const Crowd crowd("wlan1o", 256);
    Clock::duration longest{};
    for (int poll = 0; poll < 20; poll++) { // in the first ones hostapd is asked of the new stations
        const auto begin = Clock::now();
        int32_t number = 0;
        uint8_t mac[6];
        VeskStaEntry entry;
        EXPECT_EQ(rilk_getVapAssocStationNumber("wlan1o", &number), 0);
        ASSERT_EQ(number, 256);
        for (int i = 1; i <= number; i++)
            EXPECT_EQ(rilk_getVapAssocStationMac("wlan1o", i, mac) + rilk_getVapAssocStationInfo("wlan1o", mac, &entry),
                      0);
        longest = std::max(longest, Clock::now() - begin);
    }
    EXPECT_LE(longest / 1us, 50000);
}

} // namespace
