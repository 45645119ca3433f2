#include "foundation/vesk_utils.h"

#include <cstring>
#include <string>

#include <gtest/gtest.h>

namespace
{

TEST(Utils, ChannelRules)
{
    const struct {
        int channel, band, freq;
    } rows[] = { { -1, 5, 0 },     { 0, 5, 0 },      { 1, 0, 2412 },  { 13, 0, 2472 },
                 { 14, 5, 0 },     { 35, 5, 0 },     { 36, 1, 5180 }, { 99, 1, 5495 },
                 { 100, 2, 5500 }, { 165, 2, 5825 }, { 166, 5, 0 } };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.channel);
        EXPECT_EQ(vesk_utils_get_band_by_channel(row.channel), row.band);
        EXPECT_EQ(vesk_utils_channel_to_freq(row.channel), row.freq);
    }
    const int radios[] = { -1, 0, 1, 2, 1, 1, -1 };
    for (int band = -1; band <= 5; ++band)
        EXPECT_EQ(vesk_utils_mapping_band(band), radios[band + 1]) << band;
}

TEST(Utils, MacText)
{
    const struct {
        const char *text, *result;
    } rows[] = { { "00:1A:2b:3C:4d:fF", "00:1a:2b:3c:4d:ff" },
                 { "00:1a:2b:3c:4d", nullptr },
                 { "00:1a:2b:3c:4d:ff:00", nullptr },
                 { "0:1a:2b:3c:4d:ff", nullptr },
                 { "00:1a:2b:3c:4d:fff", nullptr },
                 { "00:1a:2b:3c:4d:fg", nullptr },
                 { "00::1a:2b:3c:4d:ff", nullptr },
                 { "a:b:c:d:e:f", nullptr } };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.text);
        uint8_t mac[6] = { 9, 9, 9, 9, 9, 9 };
        char text[18];
        EXPECT_EQ(vesk_utils_str2mac(row.text, mac), row.result ? 0 : -1);
        EXPECT_EQ(vesk_utils_mac2str(mac, text), 0);
        EXPECT_STREQ(text, row.result ? row.result : "09:09:09:09:09:09");
    }
}

TEST(Utils, BoundedCopyKeepsTheTail)
{
    for (const char *source : { "", "abc", "abcd", "abcde" }) {
        SCOPED_TRACE(source);
        const std::string kept = std::string(source).substr(0, 3);
        char field[8];
        memset(field, 'x', sizeof field);
        vesk_util_strncpy(field, source, 4);
        EXPECT_EQ(std::string(field, 8), kept + '\0' + std::string(7 - kept.size(), 'x'));
    }
}

TEST(Utils, ChannelListText)
{
    const uint32_t list[] = { 1, 0, 6, 149 };
    const struct {
        int count, size, result;
        const char *text;
    } rows[] = { { 3, 512, 0, "1 6 " }, { 4, 9, 0, "1 6 149 " }, { 4, 8, 0, "1 6 " }, { 4, 3, 1, "old" } };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.size);
        char out[512] = "old";
        EXPECT_EQ(vesk_utils_translate_channelInt2Str(list, row.count, out, row.size), row.result);
        EXPECT_STREQ(out, row.text);
    }
}

TEST(Utils, NameList)
{
    char names[4][16] = {};
    char text[] = " ath0 , eth 1,,a-name-of-16-char,ath10";
    EXPECT_EQ(vesk_utils_str2array(text, names, 3), 3);
    EXPECT_STREQ(names[1], "eth1");
    EXPECT_STREQ(names[2], "a-name-of-16-ch");
    EXPECT_STREQ(names[3], "") << "behind the maximum";
    char empty[] = " \t\n";
    EXPECT_EQ(vesk_utils_str2array(empty, names, 3), 0);
    EXPECT_EQ(vesk_utils_str2array(nullptr, names, 3), -1);
}

} // namespace
