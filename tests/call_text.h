// The arguments of a bus call, one by one or as a row writes them.
#pragma once

#include "foundation/ubus_headers.h"
#include "tests/record_text.h"

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
        blobmsg_add_field(&buf, BLOBMSG_TYPE_UNSPEC, name, v.data(), static_cast<unsigned>(v.size()));
        return *this;
    }
    // clang-format on

    /** METHOD NAME=VALUE... NAME{RECORD}...; text that looks like a number stands in "'". The method. */
    std::string fill(const std::string &call) {
        const std::string method = call.substr(0, call.find(' '));
        for (size_t at = method.size() + 1; at < call.size();) {
            const size_t end = call.find_first_of("={", at);
            const std::string name = call.substr(at, end - at);
            if (call[end] == '{') {
                record(name.c_str(), record_of(braced(call, at)));
                at = call.find('}', end) + 2;
                continue;
            }
            at = std::min(call.size(), call.find(' ', end)) + 1;
            const std::string value = call.substr(end + 1, at - end - 2);
            const bool isNumber = value.find_first_not_of("-0123456789") == std::string::npos;
            isNumber ? i32(name.c_str(), number<int>(value)) : text(name.c_str(), replaced(value, "'", "").c_str());
        }
        return method;
    }
};
