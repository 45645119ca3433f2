#include "tests/unit/common.h"

// What stands behind the field doesn't count, neither for nor against it.
TEST(Utils, MacOfAFieldWithoutTerminator) {
    for (const auto &[size, rc] : { std::pair(16, -1), { 17, 0 }, { 18, 0 }, { 19, -1 } }) {
        uint8_t mac[6] = {};
        EXPECT_EQ(vesk_utils_field2mac("00:1a:2b:3c:4d:ff:x", static_cast<size_t>(size), mac), rc) << size;
        EXPECT_EQ(mac[5], rc == 0 ? 255 : 0);
    }
}

TEST(Utils, BoundedTexts) {
    for (const std::string source : { "", "abc", "abcd" }) {
        const std::string kept = source.substr(0, 3);
        char field[8];
        memset(field, 'x', sizeof field);
        vesk_util_strncpy(field, source.c_str(), 4);
        EXPECT_EQ(std::string(field, 8), kept + '\0' + std::string(7 - kept.size(), 'x')) << "tail is kept";
    }
    const uint32_t list[] = { 1, 0, 6, 149 };
    using Row = std::tuple<int, int, int, const char *>; // count, size; result, text
    for (const auto &[count, size, result, text] :
         { Row{ 3, 512, 0, "1 6 " }, Row{ 4, 9, 0, "1 6 149 " }, Row{ 4, 8, 0, "1 6 " }, Row{ 4, 3, 1, "old" } }) {
        char out[512] = "old";
        EXPECT_EQ(vesk_utils_translate_channelInt2Str(list, count, out, size), result);
        EXPECT_STREQ(out, text);
    }
    char names[4][16] = {}, text[] = " ath0 , eth 1,,a-name-of-16-char,ath10", empty[] = " \t\n";
    EXPECT_EQ(vesk_utils_str2array(text, names, 3), 3);
    EXPECT_EQ(words(names[0], names[1], names[2], names[3]), "ath0 eth1 a-name-of-16-ch  ");
    EXPECT_EQ(words(vesk_utils_str2array(empty, names, 3), vesk_utils_str2array(nullptr, names, 3)), "0 -1 ");
}
