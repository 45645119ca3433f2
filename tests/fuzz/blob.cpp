// Blob messages: the input is a row of attributes; what the checks let through is read to the last byte.
#include "foundation/ubus_headers.h"
#include "tests/fuzz/input.h"

#include <cstring>

namespace {
constexpr blobmsg_policy policy[] = {
    { "text", BLOBMSG_TYPE_STRING },   { "number", BLOBMSG_TYPE_INT32 }, { "table", BLOBMSG_TYPE_TABLE },
    { "any", BLOBMSG_TYPE_UNSPEC },    { "wide", BLOBMSG_CAST_INT64 },   { "list", BLOBMSG_TYPE_ARRAY },
    { "double", BLOBMSG_TYPE_DOUBLE },
};
constexpr int fields = static_cast<int>(std::size(policy));
constexpr blob_attr_info types[] = {
    {}, { BLOB_ATTR_STRING }, { BLOB_ATTR_INT32 }, { BLOB_ATTR_NESTED }, { BLOB_ATTR_INT64 }
};
constexpr int ids = static_cast<int>(std::size(types));
volatile size_t sum;

void read_whole(blob_attr *attr) {
    const auto *bytes = static_cast<const char *>(blobmsg_data(attr));
    for (size_t i = 0; i < blobmsg_data_len(attr); i++) sum = sum + static_cast<uint8_t>(bytes[i]);
    if (blob_is_extended(attr)) sum = sum + strlen(blobmsg_name(attr));
    if (blobmsg_type(attr) == BLOBMSG_TYPE_STRING) sum = sum + strlen(blobmsg_get_string(attr));
    if (blobmsg_check_array(attr, BLOBMSG_TYPE_UNSPEC) <= 0) return;
    blob_attr *child;
    size_t rem;
    blobmsg_for_each_attr(child, attr, rem) read_whole(child);
}
} // namespace

void fuzz_blob(FuzzInput in) {
    std::vector<uint8_t> bytes = in.take(in.left);
    const auto size = static_cast<unsigned>(bytes.size());
    blob_attr *found[fields];
    for (auto parse : { blobmsg_parse, blobmsg_parse_array })
        if (parse(policy, fields, found, bytes.data(), size) == 0)
            for (blob_attr *attr : found)
                if (attr) read_whole(attr);
    auto *first = reinterpret_cast<blob_attr *>(bytes.data());
    if (blobmsg_check_attr_len(first, true, size)) read_whole(first);
    blob_parse_untrusted(first, size, found, types, ids);
    for (int id = 0; id < ids; id++)
        for (size_t i = 0; found[id] && i < blob_len(found[id]); i++)
            sum = sum + static_cast<uint8_t *>(blob_data(found[id]))[i];
}
