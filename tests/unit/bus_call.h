// A bus call as a client makes it, and expected records put together byte by byte.
#pragma once

#include <gtest/gtest.h>

#include "bus/stub.h"
#include "tests/fakes/fakes.h"

/** A record put together by offset; everything not mentioned is zero. */
struct Bytes {
    std::vector<uint8_t> data;

    explicit Bytes(size_t size) : data(size) {}
    Bytes &put(size_t at, const void *from, size_t n)
    {
        EXPECT_LE(at + n, data.size());
        memcpy(data.data() + at, from, n);
        return *this;
    }
    Bytes &u8(size_t at, int v) { return num<uint8_t>(at, v); }
    Bytes &u16(size_t at, int v) { return num<uint16_t>(at, v); }
    Bytes &i32(size_t at, int64_t v) { return num<int32_t>(at, v); }
    Bytes &u64(size_t at, uint64_t v) { return put(at, &v, 8); }
    Bytes &f32(size_t at, float v) { return put(at, &v, 4); }
    Bytes &f64(size_t at, double v) { return put(at, &v, 8); }
    Bytes &text(size_t at, const char *s) { return put(at, s, strlen(s)); }
    Bytes &mac(size_t at, int last) // 02:00:00:00:00:LAST
    {
        return u8(at, 2).u8(at + 5, last);
    }

    template <class T>
    Bytes &num(size_t at, int64_t v)
    {
        T t = static_cast<T>(v);
        return put(at, &t, sizeof t);
    }
};

/** The message of a call, argument by argument. */
struct Args {
    blob_buf buf = {};

    Args() { blob_buf_init(&buf, 0); }
    Args(const Args &) = delete;
    ~Args() { blob_buf_free(&buf); }
    Args &i32(const char *name, int v)
    {
        blobmsg_add_u32(&buf, name, static_cast<uint32_t>(v));
        return *this;
    }
    Args &text(const char *name, const char *v)
    {
        blobmsg_add_string(&buf, name, v);
        return *this;
    }
    Args &record(const char *name, const std::vector<uint8_t> &v)
    {
        blobmsg_add_field(&buf, BLOBMSG_TYPE_UNSPEC, name, v.data(), static_cast<unsigned>(v.size()));
        return *this;
    }
};

struct BusReply {
    int dispatch = 0;                // what the dispatch function returned
    bool sent = false;               // whether a reply went out
    std::vector<std::string> fields; // names in order
    int64_t status = 0;              // `return`
    int resultType = -1;             // blobmsg type of the result field
    std::vector<uint8_t> result;
};

inline BusReply bus_call(const char *method, Args &args)
{
    BusReply reply;
    ubus_request_data req = {};
    const size_t before = fakeBus.replies.size();
    reply.dispatch =
        onTamloPelkVeskDispatch(nullptr, TamloPelkVesk_object_get(), &req, method, args.buf.head);
    reply.sent = fakeBus.replies.size() > before;
    if (!reply.sent)
        return reply;
    std::vector<uint8_t> &raw = fakeBus.replies.back();
    blob_buf copy = {};
    blob_buf_init(&copy, 0);
    blob_put_raw(&copy, raw.data(), static_cast<unsigned>(raw.size()));
    blob_attr *attr;
    size_t rem;
    blobmsg_for_each_attr(attr, copy.head, rem)
    {
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

inline BusReply bus_call(const char *method)
{
    Args none;
    return bus_call(method, none);
}

/** Bytes that differ, for a readable failure. */
inline std::string first_difference(const std::vector<uint8_t> &got, const std::vector<uint8_t> &want)
{
    if (got.size() != want.size())
        return "size " + std::to_string(got.size()) + " instead of " + std::to_string(want.size());
    for (size_t i = 0; i < got.size(); i++)
        if (got[i] != want[i])
            return "offset " + std::to_string(i) + ": " + std::to_string(got[i]) + " instead of " +
                   std::to_string(want[i]);
    return "";
}
