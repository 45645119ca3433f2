// Fields as text (fields.rows): built byte for byte, looked at whether they are whole, parsed when whole and broken.
#include "tests/bus/harness.h"
#include "tests/rows.h"

#include <map>

namespace {
struct Built {
    blob_buf buf = {};
    Built() { blob_buf_init(&buf, 0); }
    ~Built() { blob_buf_free(&buf); }
};

const auto number = [](const std::string &text) { return std::stoull(text, nullptr, 0); };

/** What a container holds: a number without a name, a text k. */
const std::map<std::string, void (*)(blob_buf *, const char *, const std::string &)> builders = {
    { "i8", [](auto *b, auto *name, auto &v) { blobmsg_add_u8(b, name, static_cast<uint8_t>(number(v))); } },
    { "i16", [](auto *b, auto *name, auto &v) { blobmsg_add_u16(b, name, static_cast<uint16_t>(number(v))); } },
    { "i32", [](auto *b, auto *name, auto &v) { blobmsg_add_u32(b, name, static_cast<uint32_t>(number(v))); } },
    { "i64", [](auto *b, auto *name, auto &v) { blobmsg_add_u64(b, name, number(v)); } },
    { "double", [](auto *b, auto *name, auto &v) { blobmsg_add_double(b, name, std::stod(v)); } },
    { "text", [](auto *b, auto *name, auto &v) { blobmsg_add_string(b, name, v.c_str()); } },
    { "printed", [](auto *b, auto *name, auto &v) { blobmsg_printf(b, name, "%.1s%s", v.c_str(), v.c_str() + 1); } },
    { "raw",
      [](auto *b, auto *name, auto &v) { blobmsg_add_field(b, 0, name, v.data(), static_cast<unsigned>(v.size())); } },
    { "array",
      [](auto *b, auto *name, auto &v) {
          void *cookie = blobmsg_open_array(b, name);
          blobmsg_add_u32(b, nullptr, static_cast<uint32_t>(number(v)));
          blobmsg_close_array(b, cookie);
      } },
    { "table",
      [](auto *b, auto *name, auto &v) {
          void *cookie = blobmsg_open_table(b, name);
          blobmsg_add_string(b, "k", v.c_str());
          blobmsg_close_table(b, cookie);
      } },
};

const std::map<std::string, enum blobmsg_type> types = { { "any", BLOBMSG_TYPE_UNSPEC },
                                                         { "i32", BLOBMSG_TYPE_INT32 },
                                                         { "i8", BLOBMSG_TYPE_INT8 },
                                                         { "text", BLOBMSG_TYPE_STRING },
                                                         { "number", BLOBMSG_CAST_INT64 } };

/** "status value"; the value is "none" when nothing was found, "null" for a field without a type. */
std::string parsed(const char *name, enum blobmsg_type type, std::string data) {
    const blobmsg_policy policy = { name, type };
    auto *found = reinterpret_cast<blob_attr *>(&data);
    const int status = blobmsg_parse(&policy, 1, &found, data.data(), static_cast<unsigned>(data.size()));
    const std::string value = found ? std::to_string(blobmsg_cast_s64(found)) : "none";
    return std::to_string(status) + " " + (found && blobmsg_type(found) == 0 ? "null" : value);
}

std::string built(const std::string &type, const char *name, const std::string &value) {
    Built built;
    // Dirty memory from a message before must not shine through the padding.
    blobmsg_add_string(&built.buf, "dirt", std::string(100, '\xff').c_str());
    blob_buf_init(&built.buf, 0);
    builders.at(type)(&built.buf, name, value);
    return { static_cast<char *>(blob_data(built.buf.head)), blob_len(built.buf.head) };
}

void run_step(const std::string &step) {
    const auto [question, expected] = halves(step, "->");
    Texts word = split(question);
    const std::string verb = word[0];
    word.resize(std::max<size_t>(word.size(), 3));
    if (builders.count(verb)) {
        EXPECT_EQ(built(verb, word[1].c_str(), word[2]), bytes(expected));
        return;
    }
    std::string data;
    for (size_t i = verb == "parsed" ? 3 : verb == "elements" ? 2 : 1; i < word.size(); i++) data += bytes(word[i]);
    const auto *attr = reinterpret_cast<const blob_attr *>(data.data());
    const auto whole = [&] { return blobmsg_check_attr_len(attr, verb == "named", data.size()) ? "whole" : "broken"; };
    EXPECT_EQ(verb == "parsed"     ? parsed(word[1].c_str(), types.at(word[2]), data)
              : verb == "elements" ? std::to_string(blobmsg_check_array(attr, types.at(word[1])))
                                   : whole(),
              expected);
}

TEST(Blobmsg, FieldsAreAsWritten) {
    for (const RowCase &c : row_cases(VESK_BUS_ROWS "/fields.rows"))
        c.run(
            "fields.rows", [](const std::string &) {}, run_step);
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
} // namespace
