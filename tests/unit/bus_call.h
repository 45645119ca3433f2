// A bus call as a client makes it, and expected records put together byte by byte.
#pragma once

#include <algorithm>

#include <gtest/gtest.h>

#include "bus/stub.h"
#include "tests/fakes/fakes.h"

/** A record put together by offset; everything not mentioned is zero. */
struct Bytes {
    std::vector<uint8_t> data;

    explicit Bytes(size_t size) : data(size) {}
    Bytes &put(size_t at, const void *from, size_t n) {
        EXPECT_LE(at + n, data.size());
        memcpy(data.data() + at, from, n);
        return *this;
    }
    /** Values one behind the other. */
    template <class T, class... V>
    Bytes &row(size_t at, V... values) {
        const T list[] = { static_cast<T>(values)... };
        return put(at, list, sizeof list);
    }
    // clang-format off
    template <class... V> Bytes &u8(size_t at, V... values) { return row<uint8_t>(at, values...); }
    template <class... V> Bytes &u16(size_t at, V... values) { return row<uint16_t>(at, values...); }
    template <class... V> Bytes &i32(size_t at, V... values) { return row<int32_t>(at, values...); }
    // clang-format on
    Bytes &u64(size_t at, uint64_t v) { return put(at, &v, 8); }
    Bytes &f32(size_t at, float v) { return put(at, &v, 4); }
    Bytes &f64(size_t at, double v) { return put(at, &v, 8); }
    Bytes &text(size_t at, const std::string &s) { return put(at, s.data(), s.size()); }
    Bytes &mac(size_t at, int last) { return u8(at, 2).u8(at + 5, last); } // 02:00:00:00:00:LAST
    /** So many bytes that count up. */
    Bytes &count(size_t at, int first, int n) {
        for (size_t i = 0; i < static_cast<size_t>(n); i++)
            data.at(at + i) = static_cast<uint8_t>(first + static_cast<int>(i));
        return *this;
    }
};

/** The message of a call, argument by argument. */
struct Args {
    blob_buf buf = {};

    Args() { blob_buf_init(&buf, 0); }
    Args(const Args &) = delete;
    ~Args() { blob_buf_free(&buf); }
    // clang-format off
    Args &i32(const char *name, int v) { return blobmsg_add_u32(&buf, name, static_cast<uint32_t>(v)), *this; }
    Args &text(const char *name, const char *v) { return blobmsg_add_string(&buf, name, v), *this; }
    Args &record(const char *name, const Bytes &v)
    {
        blobmsg_add_field(&buf, BLOBMSG_TYPE_UNSPEC, name, v.data.data(), static_cast<unsigned>(v.data.size()));
        return *this;
    }
    // clang-format on
};

struct BusReply {
    int dispatch = 0;                // what the dispatch function returned
    bool sent = false;               // whether a reply went out
    std::vector<std::string> fields; // names in order
    int64_t status = 0;              // `return`
    int resultType = -1;             // blobmsg type of the result field
    std::vector<uint8_t> result;
};

inline BusReply bus_call(const char *method, const Args &args = Args()) {
    BusReply reply;
    ubus_request_data req = {};
    const size_t before = fakeBus.replies.size();
    reply.dispatch = onTamloPelkVeskDispatch(nullptr, TamloPelkVesk_object_get(), &req, method, args.buf.head);
    reply.sent = fakeBus.replies.size() > before;
    if (!reply.sent) return reply;
    const std::vector<uint8_t> &raw = fakeBus.replies.back();
    blob_buf copy = {};
    blob_buf_init(&copy, 0);
    blob_put_raw(&copy, raw.data(), static_cast<unsigned>(raw.size()));
    blob_attr *attr;
    size_t rem;
    blobmsg_for_each_attr(attr, copy.head, rem) {
        reply.fields.push_back(blobmsg_name(attr));
        const auto *data = static_cast<const uint8_t *>(blobmsg_data(attr));
        if (reply.fields.size() == 1) {
            reply.status = static_cast<int32_t>(blobmsg_get_u32(attr));
        } else {
            reply.resultType = blobmsg_type(attr);
            reply.result.assign(data, data + blobmsg_data_len(attr));
        }
    }
    blob_buf_free(&copy);
    return reply;
}

/** A record's first differing byte, for a readable failure. */
inline std::string first_difference(const std::vector<uint8_t> &got, const Bytes &want) {
    const auto [is, should] = std::mismatch(got.begin(), got.end(), want.data.begin(), want.data.end());
    if (is == got.end() && should == want.data.end()) return "";
    return "offset " + std::to_string(is - got.begin()) + " of " + std::to_string(got.size()) + ", not " +
           std::to_string(want.data.size());
}
