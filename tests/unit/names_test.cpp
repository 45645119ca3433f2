// Both forms of an interface's name at their cutting lengths, and the look-ups' edges.
#include "tests/unit/fixtures.h"

using NamesTest = DeviceTest;

TEST_F(NamesTest, BothFormsAndLookUps) {
    const char *rows[][5] = {
        // chips, given, outer, inner; the backhaul station is abcdefghijklmno
        { "SIM", "SIM", "abcdefghijk", "abcdefghijk.v0", "abcdefghijk" },
        { "SIM", "SIM", "abcdefghijkl", "abcdefghijkl.v", "abcdefghijkl" },
        { "SIM", "SIM", "abcdefghijklmno", "abcdefghijklmno", "abcdefghijklmno" },
        { "SIM", "SIM", "abcdefghijklmnO", "abcdefghijklmn", "abcdefghijklmnO" },
        { "MTK7915IDU", "SIM", "ath10.v0", "ath10.v0", "ath10" },
        { "SIM", "MTK7915IDU", "abcdefghijklmnopq.v0", "abcdefghijklmno", "abcdefghijklmno" },
        { "MTK7915IDUX", "MTK7915", "", ".v0", "" },
    };
    strcpy(vap[0].ifName, "abcdefghijklmno");
    vap[0].vapAttr = 0x80;
    for (const auto &[chip0, chip1, given, outer, inner] : rows) {
        strcpy(radio[0].chipName, chip0);
        strcpy(radio[1].chipName, chip1);
        char name[32] = {}, other[17] = "################";
        strcpy(name, given);
        EXPECT_EQ(vesk_get_intf_inner_name(other, name) + vesk_get_intf_outer_name(name, name), 0);
        EXPECT_EQ(words(name, other), words(outer, inner));
    }
    SetUp(), fill(); // ath0, ath1, apcli0, ath10, ath11, apclii0 in slots 0 to 5
    EXPECT_EQ(vesk_getVapIdxByName(""), 6) << "first free slot";
    strcpy(vap[4].mode, "aps");
    EXPECT_TRUE(vesk_is_active_ap_interface(&vap[3])) << "exactly ap";
    EXPECT_FALSE(vesk_is_active_ap_interface(&vap[4])) << "exactly ap";
}
