// Fields byte for byte, what counts as a whole field, and what parsing makes of whole and broken ones.
#include "foundation/ubus_headers.h"
#include "tests/bus/harness.h"

#include <gtest/gtest.h>

namespace
{
struct Built {
    blob_buf buf = {};
    Built() { blob_buf_init(&buf, 0); }
    ~Built() { blob_buf_free(&buf); }
    std::string payload() const { return { static_cast<char *>(blob_data(buf.head)), blob_len(buf.head) }; }
};

struct VectorCase {
    const char *hex;
    void (*build)(blob_buf *);
};
const VectorCase vectors[] = {
    { "8700000d 0002 6938 00 000000 fe 000000", [](blob_buf *b) { blobmsg_add_u8(b, "i8", 0xfe); } },
    { "8600000e 0003 693136 00 0000 1234 0000", [](blob_buf *b) { blobmsg_add_u16(b, "i16", 0x1234); } },
    { "85000010 0003 693332 00 0000 deadbeef", [](blob_buf *b) { blobmsg_add_u32(b, "i32", 0xdeadbeef); } },
    { "85000010 0003 693332 00 0000 fffffffb", [](blob_buf *b) { blobmsg_add_u32(b, "i32", ~4u); } },
    { "84000014 0003 693634 00 0000 0102030405060708",
      [](blob_buf *b) { blobmsg_add_u64(b, "i64", 0x0102030405060708); } },
    { "88000010 0001 64 00 c004000000000000", [](blob_buf *b) { blobmsg_add_double(b, "d", -2.5); } },
    { "83000009 0001 73 00 00 000000", [](blob_buf *b) { blobmsg_add_string(b, "s", ""); } },
    { "83000011 0004 73747234 00 00 61626364 00 000000",
      [](blob_buf *b) { blobmsg_printf(b, "str4", "ab%s", "cd"); } },
    { "83000011 0004 73747234 00 00 61626364 00 000000",
      [](blob_buf *b) {
          strcpy(static_cast<char *>(blobmsg_alloc_string_buffer(b, "str4", 100)), "abcd");
          blobmsg_add_string_buffer(b);
      } },
    { "80000008 0001 75 00", [](blob_buf *b) { blobmsg_add_field(b, 0, "u", nullptr, 0); } },
    { "8000000f 0002 7562 00 000000 78797a 00",
      [](blob_buf *b) { blobmsg_add_field(b, 0, "ub", "xyz", 3); } },
    { "81000018 0003 617272 00 0000 8500000c 0000 00 00 00000007",
      [](blob_buf *b) {
          void *cookie = blobmsg_open_array(b, "arr");
          blobmsg_add_u32(b, nullptr, 7);
          blobmsg_close_array(b, cookie);
      } },
    { "82000018 0003 746162 00 0000 8300000a 0001 6b 00 7600 0000",
      [](blob_buf *b) {
          void *cookie = blobmsg_open_table(b, "tab");
          blobmsg_add_string(b, "k", "v");
          blobmsg_close_table(b, cookie);
      } },
};

TEST(Blobmsg, BuildsFieldsByteForByte)
{
    for (const VectorCase &c : vectors) {
        SCOPED_TRACE(c.hex);
        Built built;
        // Dirty memory from a message before must not shine through the padding.
        blobmsg_add_string(&built.buf, "dirt", std::string(100, '\xff').c_str());
        blob_buf_init(&built.buf, 0);
        c.build(&built.buf);
        EXPECT_EQ(built.payload(), bytes(c.hex));
        EXPECT_EQ(blob_raw_len(built.buf.head), 4 + bytes(c.hex).size());

        Built copy;
        EXPECT_EQ(blobmsg_add_blob(&copy.buf, static_cast<blob_attr *>(blob_data(built.buf.head))), 0);
        EXPECT_EQ(copy.payload(), bytes(c.hex));
    }
}

TEST(Blobmsg, HeadAndNestingSurviveAMovingBuffer)
{
    Built built;
    blobmsg_buf_init(&built.buf);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(built.buf.head), 4), bytes("02000004"));
    void *outer = blobmsg_open_table(&built.buf, "outer");
    void *inner = blobmsg_open_array(&built.buf, "inner");
    for (uint64_t i = 0; i < 2000; i++)
        blobmsg_add_u64(&built.buf, nullptr, i);
    blobmsg_close_array(&built.buf, inner);
    blobmsg_close_table(&built.buf, outer);
    blobmsg_add_u8(&built.buf, "after", 1);

    const auto *table = static_cast<blob_attr *>(blob_data(built.buf.head));
    const auto *array = static_cast<blob_attr *>(blobmsg_data(table));
    EXPECT_EQ(blobmsg_check_array(array, BLOBMSG_TYPE_INT64), 2000);
    EXPECT_EQ(blobmsg_check_array(table, BLOBMSG_TYPE_ARRAY), 1);
    EXPECT_STREQ(blobmsg_name(blob_next(table)), "after");
}

struct CheckCase {
    const char *name;
    const char *hex;
    bool unnamed, named; // results without and with a name wanted
};
const CheckCase checks[] = {
    { "whole", "85000010 0003 693332 00 0000 deadbeef", true, true },
    { "array element", "8500000c 0000 00 00 00000007", true, false },
    { "not extended", "05000008 00000007", true, false },
    { "length under 4", "85000003", false, false },
    { "longer than its memory", "85000014 0003 693332 00 0000 deadbeef", false, false },
    { "no room for the name header", "80000005 00", false, false },
    { "name longer than the field", "80000008 0005 61 00", false, false },
    { "name not ended", "85000010 0003 693332 31 0000 deadbeef", false, false },
    { "type 9", "89000008 0001 75 00", false, false },
    { "32 bits of 3 bytes", "8500000b 0001 75 00 010203 00", false, false },
    { "32 bits of 5 bytes", "8500000d 0001 75 00 0102030405 000000", false, false },
    { "64 bits of 4 bytes", "8400000c 0001 75 00 01020304", false, false },
    { "16 bits of 1 byte", "86000009 0001 75 00 01 000000", false, false },
    { "8 bits of none", "87000008 0001 75 00", false, false },
    { "double of 7 bytes", "8800000f 0001 75 00 01020304050607 00", false, false },
    { "string of none", "83000008 0001 73 00", false, false },
    { "string not ended", "8300000a 0001 73 00 6161 0000", false, false },
    { "junk in a table", "8200000c 0001 74 00 00000000", true, true },
};

TEST(Blobmsg, ChecksFields)
{
    for (const CheckCase &c : checks) {
        SCOPED_TRACE(c.name);
        const std::string data = bytes(c.hex);
        const auto *attr = reinterpret_cast<const blob_attr *>(data.data());
        EXPECT_EQ(blobmsg_check_attr_len(attr, false, data.size()), c.unnamed);
        EXPECT_EQ(blobmsg_check_attr_len(attr, true, data.size()), c.named);
        EXPECT_FALSE(blobmsg_check_attr_len(attr, false, 3));
    }
}

constexpr const char *x7 = "8500000c 0001 78 00 00000007";            // x = INT32 7
constexpr const char *x8 = "8500000c 0001 78 00 00000008";            // x = INT32 8
constexpr const char *xWide = "84000010 0001 78 00 0000000000000009"; // x = INT64 9
constexpr const char *xReal = "88000010 0001 78 00 c004000000000000"; // x = DOUBLE -2.5
constexpr const char *xNull = "80000008 0001 78 00";
constexpr const char *broken = "8500000b 0001 7a 00 010203 00"; // z, 3 of 4 bytes

struct ParseCase {
    const char *name;
    blobmsg_policy policy;
    std::string data;
    int result;
    int found; // value, or -1: nothing, -2: a null
};
const ParseCase parses[] = {
    { "empty message", { "x", BLOBMSG_TYPE_INT32 }, "", -22, -1 },
    { "found", { "x", BLOBMSG_TYPE_INT32 }, bytes(x7), 0, 7 },
    { "other name", { "y", BLOBMSG_TYPE_INT32 }, bytes(x7), 0, -1 },
    { "longer name", { "xx", BLOBMSG_TYPE_INT32 }, bytes(x7), 0, -1 },
    { "other type", { "x", BLOBMSG_TYPE_STRING }, bytes(x7), 0, -1 },
    { "any type", { "x", BLOBMSG_TYPE_UNSPEC }, bytes(x7), 0, 7 },
    { "any type, null", { "x", BLOBMSG_TYPE_UNSPEC }, bytes(xNull), 0, -2 },
    { "null for a number", { "x", BLOBMSG_TYPE_INT32 }, bytes(xNull), 0, -1 },
    { "any width", { "x", BLOBMSG_CAST_INT64 }, bytes(xWide), 0, 9 },
    { "any width, double", { "x", BLOBMSG_CAST_INT64 }, bytes(xReal), 0, -1 },
    { "twice: first wins", { "x", BLOBMSG_TYPE_INT32 }, bytes(x7) + bytes(x8), 0, 7 },
    { "twice: first of the type", { "x", BLOBMSG_TYPE_INT32 }, bytes(xWide) + bytes(x8), 0, 8 },
    { "no name in the policy", { nullptr, BLOBMSG_TYPE_INT32 }, bytes(x7), 0, -1 },
    { "broken one before", { "x", BLOBMSG_TYPE_INT32 }, bytes(broken) + bytes(x7), -1, -1 },
    { "broken one behind", { "x", BLOBMSG_TYPE_INT32 }, bytes(x7) + bytes(broken), -1, 7 },
    { "type 9 behind", { "x", BLOBMSG_TYPE_INT32 }, bytes(x7) + bytes("89000008 0001 75 00"), -1, 7 },
    { "plain attribute skipped", { "x", BLOBMSG_TYPE_INT32 }, bytes("05000008 00000001") + bytes(x7), 0, 7 },
    { "tail cut off", { "x", BLOBMSG_TYPE_INT32 }, bytes(x7) + bytes("8500"), 0, 7 },
    { "field cut off", { "x", BLOBMSG_TYPE_INT32 }, bytes(x7).substr(0, 10), 0, -1 },
    { "zero word ends", { "x", BLOBMSG_TYPE_INT32 }, bytes("00000000") + bytes(x7), 0, -1 },
    { "last padding missing", { "x", BLOBMSG_TYPE_INT8 }, bytes("87000009 0001 78 00 01"), 0, -1 },
};

TEST(Blobmsg, Parses)
{
    for (const ParseCase &c : parses) {
        SCOPED_TRACE(c.name);
        std::string data = c.data;
        blob_attr *found = reinterpret_cast<blob_attr *>(&data);
        EXPECT_EQ(blobmsg_parse(&c.policy, 1, &found, data.data(), static_cast<unsigned int>(data.size())),
                  c.result);
        EXPECT_EQ(!found ? -1 : blobmsg_type(found) ? blobmsg_cast_s64(found) : -2, c.found);
    }
}

} // namespace
