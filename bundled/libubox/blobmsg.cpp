// Named fields: checking, parsing by policy, building. What comes from the wire is looked at only after
// blobmsg_check_attr_len has found it whole.
#include "bundled/libubox/blob_internal.h"

#include <libubox/blobmsg.h>

#include <errno.h>
#include <stdio.h>

namespace
{
constexpr size_t longestPolicyName = 255;

bool check_name(const blob_attr *attr, bool needName)
{
    if (!blob_is_extended(attr))
        return !needName;
    const size_t len = blob_len(attr);
    if (len < sizeof(blobmsg_hdr))
        return false;
    const auto *hdr = static_cast<const blobmsg_hdr *>(blob_data(attr));
    const unsigned int nameLength = blobmsg_namelen(hdr);
    if (needName && nameLength == 0)
        return false;
    return blobmsg_hdrlen(nameLength) <= len && hdr->name[nameLength] == 0;
}

bool type_matches(int policyType, int type)
{
    if (policyType == BLOBMSG_CAST_INT64)
        return type >= BLOBMSG_TYPE_INT64 && type <= BLOBMSG_TYPE_INT8;
    return policyType == BLOBMSG_TYPE_UNSPEC || policyType == type;
}

bool name_matches(const char *policyName, const blob_attr *attr)
{
    if (!policyName)
        return false;
    const size_t length = strlen(policyName);
    const auto *hdr = static_cast<const blobmsg_hdr *>(blob_data(attr));
    return length == blobmsg_namelen(hdr) && length <= longestPolicyName &&
           memcmp(policyName, hdr->name, length) == 0;
}

// A field at the end of the open container: name written, value left to the caller (in *value).
blob_attr *new_field(blob_buf *buf, int type, const char *name, size_t valueLength, void **value)
{
    const size_t nameLength = name ? strlen(name) : 0;
    if (nameLength > UINT16_MAX || valueLength > BLOB_ATTR_LEN_MASK)
        return nullptr;
    const size_t headerLength = blobmsg_hdrlen(static_cast<unsigned int>(nameLength));
    blob_attr *attr = blob_new(buf, type, static_cast<int>(headerLength + valueLength));
    if (!attr)
        return nullptr;
    attr->id_len |= cpu_to_be32(BLOB_ATTR_EXTENDED);
    auto *hdr = static_cast<blobmsg_hdr *>(blob_data(attr));
    memset(hdr, 0, headerLength);
    hdr->namelen = cpu_to_be16(static_cast<uint16_t>(nameLength));
    if (nameLength)
        memcpy(hdr->name, name, nameLength);
    *value = reinterpret_cast<char *>(hdr) + headerLength;
    return attr;
}

} // namespace

bool blobmsg_check_attr(const blob_attr *attr, bool name)
{
    return blobmsg_check_attr_len(attr, name, blob_raw_len(attr));
}

bool blobmsg_check_attr_len(const blob_attr *attr, bool name, size_t len)
{
    if (len < sizeof(blob_attr))
        return false;
    const size_t raw = blob_raw_len(attr);
    if (raw < sizeof(blob_attr) || raw > len || !check_name(attr, name))
        return false;
    const int type = blobmsg_type(attr);
    if (type > BLOBMSG_TYPE_LAST)
        return false;
    // How the value of each type is checked; containers and the unspecified may hold anything.
    static constexpr int checkAs[] = { BLOB_ATTR_UNSPEC, BLOB_ATTR_UNSPEC, BLOB_ATTR_UNSPEC,
                                       BLOB_ATTR_STRING, BLOB_ATTR_INT64,  BLOB_ATTR_INT32,
                                       BLOB_ATTR_INT16,  BLOB_ATTR_INT8,   BLOB_ATTR_DOUBLE };
    static_assert(ARRAY_SIZE(checkAs) == __BLOBMSG_TYPE_LAST);
    return blob_check_type(blobmsg_data(attr), static_cast<unsigned int>(blobmsg_data_len(attr)),
                           checkAs[type]);
}

int blobmsg_check_array(const blob_attr *attr, int type)
{
    return blobmsg_check_array_len(attr, type, blob_raw_len(attr));
}

int blobmsg_check_array_len(const blob_attr *attr, int type, size_t len)
{
    if (type > BLOBMSG_TYPE_LAST || !blobmsg_check_attr_len(attr, false, len))
        return -1;
    const int container = blobmsg_type(attr);
    if (container != BLOBMSG_TYPE_TABLE && container != BLOBMSG_TYPE_ARRAY)
        return -1;
    int count = 0;
    size_t rem;
    blob_attr *pos;
    blobmsg_for_each_attr(pos, attr, rem)
    {
        if (type != BLOBMSG_TYPE_UNSPEC && blobmsg_type(pos) != type)
            return -1;
        if (!blobmsg_check_attr_len(pos, container == BLOBMSG_TYPE_TABLE, rem))
            return -1;
        count++;
    }
    return count;
}

int blobmsg_parse(const blobmsg_policy *policy, int policy_len, blob_attr **tb, void *data, unsigned int len)
{
    memset(tb, 0, sizeof(*tb) * static_cast<size_t>(policy_len));
    if (!data || !len)
        return -EINVAL;
    size_t rem = len;
    blob_attr *pos;
    __blob_for_each_attr(pos, data, rem)
    {
        if (!blobmsg_check_attr_len(pos, false, rem))
            return -1;
        if (!blob_is_extended(pos))
            continue;
        for (int i = 0; i < policy_len; i++)
            if (!tb[i] && type_matches(policy[i].type, blobmsg_type(pos)) &&
                name_matches(policy[i].name, pos))
                tb[i] = pos;
    }
    return 0;
}

int blobmsg_parse_array(const blobmsg_policy *policy, int policy_len, blob_attr **tb, void *data,
                        unsigned int len)
{
    memset(tb, 0, sizeof(*tb) * static_cast<size_t>(policy_len));
    int filled = 0;
    size_t rem = len;
    blob_attr *pos;
    __blob_for_each_attr(pos, data, rem)
    {
        if (filled == policy_len)
            break;
        if (!blobmsg_check_attr_len(pos, false, rem))
            return -1;
        if (type_matches(policy[filled].type, blobmsg_type(pos)))
            tb[filled++] = pos;
    }
    return 0;
}

int blobmsg_parse_attr(const blobmsg_policy *policy, int policy_len, blob_attr **tb, blob_attr *data)
{
    return blobmsg_parse(policy, policy_len, tb, blobmsg_data(data),
                         static_cast<unsigned int>(blobmsg_data_len(data)));
}

int blobmsg_add_field(blob_buf *buf, int type, const char *name, const void *data, unsigned int len)
{
    void *value;
    if (!new_field(buf, type, name, len, &value))
        return -1;
    if (len)
        memcpy(value, data, len);
    return 0;
}

void *blobmsg_open_nested(blob_buf *buf, const char *name, bool array)
{
    void *value;
    blob_attr *field = new_field(buf, array ? BLOBMSG_TYPE_ARRAY : BLOBMSG_TYPE_TABLE, name, 0, &value);
    return field ? blob_nest_into(buf, field) : nullptr;
}

int blobmsg_vprintf(blob_buf *buf, const char *name, const char *format, va_list arg)
{
    va_list measured;
    va_copy(measured, arg);
    const int length = vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    if (length < 0)
        return -1;
    void *value;
    const size_t size = static_cast<size_t>(length) + 1;
    if (!new_field(buf, BLOBMSG_TYPE_STRING, name, size, &value))
        return -1;
    return vsnprintf(static_cast<char *>(value), size, format, arg);
}

int blobmsg_printf(blob_buf *buf, const char *name, const char *format, ...)
{
    va_list arg;
    va_start(arg, format);
    const int length = blobmsg_vprintf(buf, name, format, arg);
    va_end(arg);
    return length;
}

int64_t blobmsg_cast_s64(blob_attr *attr)
{
    switch (blobmsg_type(attr)) {
    case BLOBMSG_TYPE_INT64:
        return static_cast<int64_t>(blobmsg_get_u64(attr));
    case BLOBMSG_TYPE_INT32:
        return static_cast<int32_t>(blobmsg_get_u32(attr));
    case BLOBMSG_TYPE_INT16:
        return static_cast<int16_t>(blobmsg_get_u16(attr));
    case BLOBMSG_TYPE_INT8:
        return static_cast<int8_t>(blobmsg_get_u8(attr));
    default:
        return 0;
    }
}
