// Texts of devices made safe and measured, addresses and numbers read strictly, names of values, guesses at words.
#include <gtest/gtest.h>

#include "tools/client/names.h"
#include "tools/client/text.h"

namespace {

const struct {
    const char *name, *in, *out;
    size_t cells;
} texts[] = {
    { "plain", "Café & Co", "Café & Co", 9 },
    { "terminal sequence", "\x1b[2Jx\x7f\r\n", "?[2Jx???", 8 },
    { "C1 control", "\xc2\x9b[m", "?[m", 3 },
    { "no UTF-8", "a\xff\xc3", "a\ufffd\ufffd", 3 },
    { "overlong slash", "\xc0\xaf", "\ufffd\ufffd", 2 },
    { "surrogate", "\xed\xa0\x80", "\ufffd\ufffd\ufffd", 3 },
    { "right-to-left override", "\u202eabc", "?abc", 4 },
    { "right-to-left mark", "a\u200fb", "a?b", 3 },
    { "isolate", "\u2067x\u2069", "?x?", 3 },
    { "zero width space", "a\u200bb", "a?b", 3 },
    { "byte order mark", "\ufeffx", "?x", 2 },
    { "East Asian", "日本", "日本", 4 },
    { "combining", "e\u0301", "e\u0301", 1 },
    { "emoji", "\U0001f600", "\U0001f600", 2 },
};

TEST(ClientText, IsSafeAndMeasured) {
    for (const auto &t : texts) {
        EXPECT_EQ(clean_text(t.in), t.out) << t.name;
        EXPECT_EQ(cell_count(clean_text(t.in)), t.cells) << t.name;
    }
    EXPECT_EQ(cut_text("日本語", 6), "日本語");
    EXPECT_EQ(cut_text("日本語", 5), "日本…");
    EXPECT_EQ(cut_text("日本語", 4, "."), "日."); // half a character is none
    EXPECT_EQ(cut_text("abcdef", 4, ""), "abcd");
    EXPECT_EQ(padded("日本語", 8), "日本語  ");
}

TEST(ClientText, AddressesAndBytesAreReadStrictly) {
    uint8_t mac[6] = { 9, 9, 9, 9, 9, 9 };
    for (const char *bad : { "", "02 11 22 33 44 55", "02:11:22:33:44", "02:11:22:33:44:5", "02:11:22:33:44:55:",
                             "02-11-22-33-44-55", "021122334455     ", "0:211:22:33:44:55", "02:11:22:33:44:5g" }) {
        EXPECT_FALSE(parse_mac(bad, mac)) << bad;
        EXPECT_EQ(mac[0], 9) << bad;
    }
    ASSERT_TRUE(parse_mac("02:aB:22:33:44:ff", mac));
    EXPECT_EQ(mac_text(mac), "02:ab:22:33:44:ff");
    std::vector<uint8_t> bytes;
    for (const char *bad : { "d", "d d", "0x" }) EXPECT_FALSE(from_hex(bad, bytes)) << bad;
    EXPECT_TRUE(from_hex("", bytes) && bytes.empty());
    ASSERT_TRUE(from_hex("dd:03 aA", bytes));
    EXPECT_EQ(to_hex(bytes.data(), bytes.size()), "dd03aa");
}

TEST(ClientText, NumbersAreReadStrictly) {
    long long number = 7;
    for (const char *bad : { "", "5x", " 5", "+5", "101", "-6", "99999999999999999999" }) {
        EXPECT_FALSE(parse_number(bad, -5, 100, number)) << bad;
        EXPECT_EQ(number, 7) << bad;
    }
    for (const int good : { 0, -5, 100 }) {
        EXPECT_TRUE(parse_number(std::to_string(good), -5, 100, number)) << good;
        EXPECT_EQ(number, good);
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
const struct {
    const char *text;
    int band;
} bands[] = { { "2.4", 0 }, { "2.4GHz", 0 }, { "0", 0 }, { "5", 3 }, { "5G", 3 }, { "3", 3 }, { "6", -1 }, { "", -1 } };
const struct {
    const char *text;
    int index;
} bandwidths[] = { { "80", 2 }, { "80 mhz", 2 }, { "80+80", 4 }, { "81", -1 } };
const struct {
    const char *word, *guess;
} slips[] = {
    { "vpas", "vaps" },          { "vap", "vaps" },  { "station", "stations" },
    { "neigbors", "neighbors" }, { "fly", nullptr }, { "", nullptr },
};

TEST(ClientNames, ValuesAreCalledWhatTheyAre) {
    for (const auto &w : widths)
        EXPECT_EQ(width_fits(w.band, w.channel, w.bandwidth), w.fits) << w.channel << " " << w.bandwidth;
    for (const auto &b : bands) EXPECT_EQ(band_of(b.text), b.band) << b.text;
    for (const auto &b : bandwidths) EXPECT_EQ(bandwidth_of(b.text), b.index) << b.text;
    EXPECT_EQ(channel_block(3, 44, 2).first, 36);
    EXPECT_EQ(channel_block(3, 44, 2).last, 48);
    EXPECT_EQ(channel_block(3, 157, 1).first, 157);
    EXPECT_EQ(security_name(8), "mode 8");
    EXPECT_EQ(vht_mcs_text(0xfff9), "MCS 0-8, 0-9");
    EXPECT_EQ(he_mcs_text(0xfff4), "MCS 0-7, 0-9");
    EXPECT_EQ(he_mcs_text(0xffff), "none");
    for (const int dfs : { 52, 144 }) EXPECT_TRUE(needs_dfs(dfs, 0)) << dfs;
    for (const int plain : { 48, 149 }) EXPECT_FALSE(needs_dfs(plain, 0)) << plain;
    EXPECT_TRUE(needs_dfs(36, channelNeedsDfs));
    const char *const words[] = { "vaps", "stations", "neighbors", "scan" };
    for (const auto &s : slips) EXPECT_STREQ(closest_word(s.word, words), s.guess) << s.word;
}

} // namespace
