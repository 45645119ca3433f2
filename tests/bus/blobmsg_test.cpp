// Fields byte for byte, what counts as a whole field, and what parsing makes of whole and broken ones.
#include "tests/bus/harness.h"

namespace {
struct Built {
    blob_buf buf = {};
    Built() { blob_buf_init(&buf, 0); }
    ~Built() { blob_buf_free(&buf); }
    std::string payload() const { return { static_cast<char *>(blob_data(buf.head)), blob_len(buf.head) }; }
};

// clang-format off
const struct { const char *hex; void (*build)(blob_buf *); } vectors[] = {
    { "8700000d 0002 6938 00 000000 fe 000000", [](blob_buf *b) { blobmsg_add_u8(b, "i8", 0xfe); } },
    { "8600000e 0003 693136 00 0000 1234 0000", [](blob_buf *b) { blobmsg_add_u16(b, "i16", 0x1234); } },
    { "85000010 0003 693332 00 0000 deadbeef", [](blob_buf *b) { blobmsg_add_u32(b, "i32", 0xdeadbeef); } },
    { "84000014 0003 693634 00 0000 0102030405060708", [](blob_buf *b) { blobmsg_add_u64(b, "i64", 0x0102030405060708); } },
    { "88000010 0001 64 00 c004000000000000", [](blob_buf *b) { blobmsg_add_double(b, "d", -2.5); } },
    { "83000009 0001 73 00 00 000000", [](blob_buf *b) { blobmsg_add_string(b, "s", ""); } },
    { "83000011 0004 73747234 00 00 61626364 00 000000", [](blob_buf *b) { blobmsg_printf(b, "str4", "ab%s", "cd"); } },
    { "80000008 0001 75 00", [](blob_buf *b) { blobmsg_add_field(b, 0, "u", nullptr, 0); } },
    { "8000000f 0002 7562 00 000000 78797a 00", [](blob_buf *b) { blobmsg_add_field(b, 0, "ub", "xyz", 3); } },
    { "81000018 0003 617272 00 0000 8500000c 0000 00 00 00000007", [](blob_buf *b) {
          void *cookie = blobmsg_open_array(b, "arr");
          blobmsg_add_u32(b, nullptr, 7);
          blobmsg_close_array(b, cookie); } },
    { "82000018 0003 746162 00 0000 8300000a 0001 6b 00 7600 0000", [](blob_buf *b) {
          void *cookie = blobmsg_open_table(b, "tab");
          blobmsg_add_string(b, "k", "v");
          blobmsg_close_table(b, cookie); } },
};

const char *const malformed[] = {
    "80000005 00 000000", "80000008 0005 61 00",                     // no room for the name's header, for the name
    "85000010 0003 693332 31 0000 deadbeef",                  // name not ended
    "89000008 0001 75 00",                                    // type 9
    "8500000b 0001 75 00 010203 00", "8500000d 0001 75 00 0102030405 000000", // 32 bits of 3 and 5 bytes
    "8400000c 0001 75 00 01020304", "86000009 0001 75 00 01 000000",          // 64 bits of 4, 16 bits of 1
    "87000008 0001 75 00", "8800000f 0001 75 00 01020304050607 00",           // 8 bits of none, double of 7
    "83000008 0001 73 00", "8300000a 0001 73 00 6161 0000",   // string of none, string not ended
};

#define X7 "8500000c 0001 78 00 00000007"       // x = INT32 7
#define X8 "8500000c 0001 78 00 00000008"       // x = INT32 8
#define WIDE "84000010 0001 78 00 0000000000000009" // x = INT64 9
#define BROKEN "8500000b 0001 7a 00 010203 00"  // z, 3 of 4 bytes
// What is found: a value, or -1: nothing, -2: a null.
const struct { const char *name; blobmsg_policy policy; const char *hex; int result, found; } parses[] = {
    { "empty message", { "x", BLOBMSG_TYPE_INT32 }, "", -22, -1 },
    { "longer name", { "xx", BLOBMSG_TYPE_INT32 }, X7, 0, -1 },
    { "name that goes on", { "x", BLOBMSG_TYPE_INT32 }, "85000010 0002 7879 00 000000 00000007", 0, -1 },
    { "other type", { "x", BLOBMSG_TYPE_STRING }, X7, 0, -1 },
    { "any type", { "x", BLOBMSG_TYPE_UNSPEC }, X7, 0, 7 },
    { "any type, null", { "x", BLOBMSG_TYPE_UNSPEC }, "80000008 0001 78 00", 0, -2 },
    { "null for a number", { "x", BLOBMSG_TYPE_INT32 }, "80000008 0001 78 00", 0, -1 },
    { "any width", { "x", BLOBMSG_CAST_INT64 }, WIDE, 0, 9 },
    { "any width, double", { "x", BLOBMSG_CAST_INT64 }, "88000010 0001 78 00 c004000000000000", 0, -1 },
    { "twice: first wins", { "x", BLOBMSG_TYPE_INT32 }, X7 X8, 0, 7 },
    { "twice: first of the type", { "x", BLOBMSG_TYPE_INT32 }, WIDE X8, 0, 8 },
    { "broken one before", { "x", BLOBMSG_TYPE_INT32 }, BROKEN X7, -1, -1 },
    { "plain attribute skipped", { "x", BLOBMSG_TYPE_INT32 }, "05000008 00000001" X7, 0, 7 },
    { "tail cut off", { "x", BLOBMSG_TYPE_INT32 }, X7 "8500", 0, 7 },
    { "zero word ends", { "x", BLOBMSG_TYPE_INT32 }, "00000000" X7, 0, -1 },
    { "last padding missing", { "x", BLOBMSG_TYPE_INT8 }, "87000009 0001 78 00 01", 0, -1 },
};
// clang-format on

TEST(Blobmsg, BuildsFieldsByteForByte) {
    for (const auto &c : vectors) {
        SCOPED_TRACE(c.hex);
        Built built;
        // Dirty memory from a message before must not shine through the padding.
        blobmsg_add_string(&built.buf, "dirt", std::string(100, '\xff').c_str());
        blob_buf_init(&built.buf, 0);
        c.build(&built.buf);
        EXPECT_EQ(built.payload(), bytes(c.hex));
    }
}

TEST(Blobmsg, HeadAndNestingSurviveAMovingBuffer) {
    Built built;
    blobmsg_buf_init(&built.buf);
    void *outer = blobmsg_open_table(&built.buf, "outer"), *inner = blobmsg_open_array(&built.buf, "inner");
    for (uint64_t i = 0; i < 2000; i++) blobmsg_add_u64(&built.buf, nullptr, i);
    blobmsg_close_array(&built.buf, inner);
    blobmsg_close_table(&built.buf, outer);
    const auto *table = static_cast<blob_attr *>(blob_data(built.buf.head));
    EXPECT_EQ(blobmsg_check_array(static_cast<blob_attr *>(blobmsg_data(table)), BLOBMSG_TYPE_INT64), 2000);
    EXPECT_EQ(blobmsg_check_array(built.buf.head, BLOBMSG_TYPE_TABLE), 1);
}

bool whole(const std::string &data, bool named) {
    return blobmsg_check_attr_len(reinterpret_cast<const blob_attr *>(data.data()), named, data.size());
}

int parse(const blobmsg_policy &policy, blob_attr **found, const std::string &data) {
    return blobmsg_parse(&policy, 1, found, const_cast<char *>(data.data()), static_cast<unsigned>(data.size()));
}

TEST(Blobmsg, ChecksFields) {
    for (const char *hex : { X7, "8200000c 0001 74 00 00000000" }) // junk in a table is not looked at
        EXPECT_EQ(whole(bytes(hex), false) + whole(bytes(hex), true), 2) << hex;
    for (const char *hex : { "8500000c 0000 00 00 00000007", "05000008 00000007" }) { // array element, plain
        EXPECT_TRUE(whole(bytes(hex), false)) << hex;
        EXPECT_FALSE(whole(bytes(hex), true)) << hex;
    }
    for (const char *hex : { "85000003", "850000", "85000014 0001 78 00 deadbeef" }) // lengths
        EXPECT_FALSE(whole(bytes(hex), false)) << hex;
    for (const char *hex : malformed) {
        blob_attr *found = nullptr;
        const std::string behind = bytes(X7) + bytes(hex);
        EXPECT_FALSE(whole(bytes(hex), false)) << hex;
        EXPECT_EQ(parse({ "x", BLOBMSG_TYPE_INT32 }, &found, behind), -1) << hex;
        EXPECT_TRUE(found) << hex;
    }
}

TEST(Blobmsg, Parses) {
    for (const auto &c : parses) {
        SCOPED_TRACE(c.name);
        const std::string data = bytes(c.hex);
        blob_attr *found = const_cast<blob_attr *>(reinterpret_cast<const blob_attr *>(&data));
        EXPECT_EQ(parse(c.policy, &found, data), c.result);
        EXPECT_EQ(!found ? -1 : blobmsg_type(found) ? blobmsg_cast_s64(found) : -2, c.found);
    }
}
} // namespace
