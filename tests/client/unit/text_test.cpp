// Texts of devices made safe and measured, addresses and numbers read strictly, names of values, guesses at words.
#include <gtest/gtest.h>

#include "tools/client/names.h"
#include "tools/client/text.h"

namespace {

const struct {
    const char *name;
    std::string in, out;
    size_t cells;
} texts[] = {
    { "plain", "Caf\xc3\xa9 & Co", "Caf\xc3\xa9 & Co", 9 },
    { "terminal sequence", "\x1b[2Jx\x7f\r\n", "?[2Jx???", 8 },
    { "C1 control",
      "\xc2\x9b"
      "31m",
      "?31m", 4 },
    { "no UTF-8", "a\xff\xc3", "a\xef\xbf\xbd\xef\xbf\xbd", 3 },
    { "overlong slash", "\xc0\xaf", "\xef\xbf\xbd\xef\xbf\xbd", 2 },
    { "surrogate", "\xed\xa0\x80", "\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd", 3 },
    { "right-to-left override",
      "\xe2\x80\xae"
      "abc",
      "?abc", 4 },
    { "right-to-left mark",
      "a\xe2\x80\x8f"
      "b",
      "a?b", 3 },
    { "isolate", "\xe2\x81\xa7x\xe2\x81\xa9", "?x?", 3 },
    { "zero width space",
      "a\xe2\x80\x8b"
      "b",
      "a?b", 3 },
    { "byte order mark", "\xef\xbb\xbfx", "?x", 2 },
    { "East Asian", "\xe6\x97\xa5\xe6\x9c\xac", "\xe6\x97\xa5\xe6\x9c\xac", 4 },
    { "combining", "e\xcc\x81", "e\xcc\x81", 1 },
    { "emoji", "\xf0\x9f\x98\x80", "\xf0\x9f\x98\x80", 2 },
};

TEST(ClientText, IsSafeAndMeasured) {
    for (const auto &t : texts) {
        SCOPED_TRACE(t.name);
        EXPECT_EQ(clean_text(t.in), t.out);
        EXPECT_EQ(cell_count(clean_text(t.in)), t.cells);
    }
}

TEST(ClientText, IsCutByCells) {
    const std::string wide = "\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e"; // three characters, six cells
    EXPECT_EQ(cut_text(wide, 6), wide);
    EXPECT_EQ(cut_text(wide, 5), wide.substr(0, 6) + "…");
    EXPECT_EQ(cut_text(wide, 4, "."), wide.substr(0, 3) + "."); // half a character is none
    EXPECT_EQ(cut_text("abcdef", 4, ""), "abcd");
    EXPECT_EQ(padded(wide, 8), wide + "  ");
}

TEST(ClientText, MacAddressesAreReadStrictly) {
    uint8_t mac[6] = { 9, 9, 9, 9, 9, 9 };
    for (const char *bad : { "", "02 11 22 33 44 55", "02:11:22:33:44", "02:11:22:33:44:5", "02:11:22:33:44:55:",
                             "02-11-22-33-44-55", "021122334455     ", "0:211:22:33:44:55", "02:11:22:33:44:5g" }) {
        EXPECT_FALSE(parse_mac(bad, mac)) << bad;
        EXPECT_EQ(mac[0], 9) << bad;
    }
    ASSERT_TRUE(parse_mac("02:aB:22:33:44:ff", mac));
    EXPECT_EQ(mac_text(mac), "02:ab:22:33:44:ff");
}

const struct {
    const char *text;
    bool isHex;
    std::vector<uint8_t> bytes;
} hexes[] = {
    { "", true, {} },   { "dd03", true, { 0xdd, 3 } }, { "dd:03 aA", true, { 0xdd, 3, 0xaa } },
    { "d", false, {} }, { "d d", false, {} },          { "0x", false, {} },
};
const struct {
    const char *text;
    bool isNumber;
} numbers[] = {
    { "0", true }, { "-5", true },  { "100", true }, { "101", false }, { "-6", false },
    { "", false }, { "5x", false }, { " 5", false }, { "+5", false },  { "99999999999999999999", false },
};

TEST(ClientText, BytesAndNumbersAreReadStrictly) {
    for (const auto &h : hexes) {
        std::vector<uint8_t> bytes;
        EXPECT_EQ(from_hex(h.text, bytes), h.isHex) << h.text;
        EXPECT_EQ(h.isHex ? bytes : std::vector<uint8_t>{}, h.bytes) << h.text;
    }
    for (const auto &n : numbers) {
        long long number = 7;
        EXPECT_EQ(parse_number(n.text, -5, 100, number), n.isNumber) << n.text;
        EXPECT_EQ(number, n.isNumber ? atoll(n.text) : 7) << n.text;
    }
}

const struct {
    int band, channel, bandwidth;
    bool fits;
} widths[] = {
    { 0, 6, 0, true },    { 0, 6, 1, true },    { 0, 6, 2, false },  { 3, 165, 0, true },
    { 3, 165, 1, false }, { 3, 165, 2, false }, { 3, 161, 2, true }, { 3, 149, 3, false },
    { 3, 36, 3, true },   { 3, 132, 3, false }, { 3, 144, 2, true }, { 3, 128, 3, true },
};

TEST(ClientNames, ValuesAreCalledWhatTheyAre) {
    for (const auto &w : widths)
        EXPECT_EQ(width_fits(w.band, w.channel, w.bandwidth), w.fits) << w.channel << " " << w.bandwidth;
    EXPECT_EQ(channel_block(3, 44, 2).first, 36);
    EXPECT_EQ(channel_block(3, 44, 2).last, 48);
    EXPECT_EQ(channel_block(3, 157, 1).first, 157);
    EXPECT_EQ(security_name(32), "WPA2-PSK");
    EXPECT_EQ(security_name(8), "mode 8");
    EXPECT_EQ(vht_mcs_text(0xfffa), "MCS 0-9, 0-9");
    EXPECT_EQ(he_mcs_text(0xfff4), "MCS 0-7, 0-9");
    EXPECT_EQ(he_mcs_text(0xffff), "none");
    for (const auto &[text, band] : std::initializer_list<std::pair<const char *, int>>{
             { "2.4", 0 }, { "2.4GHz", 0 }, { "0", 0 }, { "5", 3 }, { "5G", 3 }, { "3", 3 }, { "6", -1 }, { "", -1 } })
        EXPECT_EQ(band_of(text), band) << text;
    EXPECT_EQ(bandwidth_of("80"), 2);
    EXPECT_EQ(bandwidth_of("80 mhz"), 2);
    EXPECT_EQ(bandwidth_of("80+80"), 4);
    EXPECT_EQ(bandwidth_of("81"), -1);
    EXPECT_TRUE(needs_dfs(52, 0) && needs_dfs(36, channelNeedsDfs) && !needs_dfs(149, 0));
}

TEST(ClientNames, AWordIsGuessedFromItsSlips) {
    const char *const words[] = { "vaps", "stations", "neighbors", "scan" };
    for (const auto &[word, guess] :
         std::initializer_list<std::pair<const char *, const char *>>{ { "vpas", "vaps" },
                                                                       { "vap", "vaps" },
                                                                       { "station", "stations" },
                                                                       { "neigbors", "neighbors" },
                                                                       { "fly", nullptr },
                                                                       { "", nullptr } }) {
        const char *said = closest_word(word, words);
        EXPECT_STREQ(said, guess) << word;
    }
}

} // namespace
