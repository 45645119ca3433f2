// A bus call as a client makes it.
#pragma once

#include "bus/stub.h"
#include "tests/call_text.h"
#include "tests/unit/common.h"

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
    if (fakeLibc.failInCall >= 0) fakeLibc.failAlloc = std::exchange(fakeLibc.failInCall, -1);
    reply.dispatch = onTamloPelkVeskDispatch(nullptr, TamloPelkVesk_object_get(), &req, method, args.buf.head);
    reply.sent = fakeBus.replies.size() > before;
    if (!reply.sent) return reply;
    const auto *message = reinterpret_cast<const blob_attr *>(fakeBus.replies.back().data());
    blob_attr *attr;
    size_t rem;
    blobmsg_for_each_attr(attr, message, rem) {
        reply.fields.push_back(blobmsg_name(attr));
        const auto *data = static_cast<const uint8_t *>(blobmsg_data(attr));
        if (reply.fields.size() == 1) {
            reply.status = static_cast<int32_t>(blobmsg_get_u32(attr));
        } else {
            reply.resultType = blobmsg_type(attr);
            reply.result.assign(data, data + blobmsg_data_len(attr));
        }
    }
    return reply;
}
