// Building and taking apart of attributes. The buffer may move with every addition, so that an open
// container is remembered by its offset (the cookie), never by its address.
#include "bundled/libubox/blob_internal.h"

#include <errno.h>
#include <stdlib.h>

namespace
{
constexpr size_t maxBufferLength = 0xffffff; // a length has 24 bits
constexpr size_t growStep = 256;
constexpr size_t cookieBias = 1; // tells the outermost container's offset, 0, from a failure

blob_attr *at_offset(const blob_buf *buf, size_t offset)
{
    return reinterpret_cast<blob_attr *>(static_cast<char *>(buf->buf) + offset);
}

size_t offset_of(const blob_buf *buf, const void *position)
{
    return static_cast<size_t>(static_cast<const char *>(position) - static_cast<const char *>(buf->buf));
}

void init_attr(blob_attr *attr, int id, size_t rawLength)
{
    const uint32_t idBits = (static_cast<uint32_t>(id) << BLOB_ATTR_ID_SHIFT) & BLOB_ATTR_ID_MASK;
    attr->id_len = cpu_to_be32(idBits | static_cast<uint32_t>(rawLength));
}

bool grow_default(blob_buf *buf, int minlen)
{
    const size_t old = static_cast<size_t>(buf->buflen);
    const size_t needed = old + static_cast<size_t>(minlen);
    if (needed > maxBufferLength)
        return false;
    size_t wanted = (needed + old / 2 + growStep - 1) / growStep * growStep;
    if (wanted > maxBufferLength)
        wanted = maxBufferLength;
    void *moved = realloc(buf->buf, wanted);
    if (!moved)
        return false;
    buf->buf = moved;
    buf->buflen = static_cast<int>(wanted);
    return true;
}

// Makes sure that the buffer reaches to `end`; the head follows when the buffer moves.
bool reserve(blob_buf *buf, size_t end)
{
    if (end <= static_cast<size_t>(buf->buflen))
        return true;
    if (end > maxBufferLength)
        return false;
    const size_t head = buf->head ? offset_of(buf, buf->head) : 0;
    if (!buf->grow || !buf->grow(buf, static_cast<int>(end - static_cast<size_t>(buf->buflen))))
        return false;
    buf->head = at_offset(buf, head);
    return end <= static_cast<size_t>(buf->buflen);
}

// A new attribute at the end of the open container, its value not yet filled in.
blob_attr *append(blob_buf *buf, int id, size_t payload)
{
    const size_t head = offset_of(buf, buf->head);
    const size_t start = head + blob_pad_len(buf->head);
    const size_t raw = sizeof(blob_attr) + payload;
    if (payload > maxBufferLength || !reserve(buf, start + blob_padded(raw)))
        return nullptr;
    blob_attr *attr = at_offset(buf, start);
    init_attr(attr, id, raw);
    blob_fill_pad(attr);
    blob_set_raw_len(buf->head, static_cast<unsigned int>(blob_pad_len(buf->head) + blob_padded(raw)));
    return attr;
}

struct LengthRule {
    unsigned int least, most;
};
constexpr LengthRule lengthRules[] = {
    { 0, ~0u }, { 0, ~0u }, { 0, ~0u }, { 1, ~0u }, { 1, 1 }, { 2, 2 }, { 4, 4 }, { 8, 8 }, { 8, ~0u },
};
static_assert(ARRAY_SIZE(lengthRules) == BLOB_ATTR_LAST);

bool accepted(const blob_attr_info &info, blob_attr *attr)
{
    const size_t len = blob_len(attr);
    if (info.type != BLOB_ATTR_UNSPEC &&
        !blob_check_type(blob_data(attr), static_cast<unsigned int>(len), static_cast<int>(info.type)))
        return false;
    if (len < info.minlen || (info.maxlen && len > info.maxlen))
        return false;
    return !info.validate || info.validate(&info, attr);
}

int parse_children(blob_attr *first, size_t rem, blob_attr **data, const blob_attr_info *info, int max)
{
    int found = 0;
    memset(data, 0, sizeof(*data) * static_cast<size_t>(max));
    blob_attr *pos;
    __blob_for_each_attr(pos, first, rem)
    {
        const unsigned int id = blob_id(pos);
        if (id >= static_cast<unsigned int>(max) || (info && !accepted(info[id], pos)))
            continue;
        found += !data[id];
        data[id] = pos;
    }
    return found;
}
} // namespace

void blob_fill_pad(blob_attr *attr)
{
    const size_t raw = blob_raw_len(attr);
    memset(reinterpret_cast<char *>(attr) + raw, 0, blob_padded(raw) - raw);
}

void blob_set_raw_len(blob_attr *attr, unsigned int len)
{
    const uint32_t kept = be32_to_cpu(attr->id_len) & ~BLOB_ATTR_LEN_MASK;
    attr->id_len = cpu_to_be32(kept | (len & BLOB_ATTR_LEN_MASK));
}

bool blob_check_type(const void *ptr, unsigned int len, int type)
{
    if (type < 0 || type >= BLOB_ATTR_LAST)
        return false;
    if (len < lengthRules[type].least || len > lengthRules[type].most)
        return false;
    return type != BLOB_ATTR_STRING || static_cast<const char *>(ptr)[len - 1] == '\0';
}

int blob_buf_init(blob_buf *buf, int id)
{
    if (!buf->grow)
        buf->grow = grow_default;
    buf->head = static_cast<blob_attr *>(buf->buf);
    if (!reserve(buf, sizeof(blob_attr)))
        return -ENOMEM;
    init_attr(buf->head, id, sizeof(blob_attr));
    return 0;
}

void blob_buf_free(blob_buf *buf)
{
    free(buf->buf);
    buf->buf = nullptr;
    buf->head = nullptr;
    buf->buflen = 0;
}

blob_attr *blob_new(blob_buf *buf, int id, int payload)
{
    return payload < 0 ? nullptr : append(buf, id, static_cast<size_t>(payload));
}

void *blob_nest_into(blob_buf *buf, blob_attr *last)
{
    blob_attr *outer = buf->head;
    // blob_nest_end adds the finished container; until then the outer one doesn't count it.
    blob_set_raw_len(outer, static_cast<unsigned int>(blob_raw_len(outer) - blob_pad_len(last)));
    buf->head = last;
    return reinterpret_cast<void *>(offset_of(buf, outer) + cookieBias);
}

void blob_nest_end(blob_buf *buf, void *cookie)
{
    if (!cookie)
        return;
    blob_attr *outer = at_offset(buf, reinterpret_cast<size_t>(cookie) - cookieBias);
    blob_set_raw_len(outer, static_cast<unsigned int>(blob_raw_len(outer) + blob_pad_len(buf->head)));
    buf->head = outer;
}

int blob_parse(blob_attr *attr, blob_attr **data, const blob_attr_info *info, int max)
{
    if (!attr)
        return parse_children(nullptr, 0, data, info, max);
    return parse_children(static_cast<blob_attr *>(blob_data(attr)), blob_len(attr), data, info, max);
}

int blob_parse_untrusted(blob_attr *attr, size_t attr_len, blob_attr **data, const blob_attr_info *info,
                         int max)
{
    const bool whole = attr && attr_len >= sizeof(blob_attr) && blob_raw_len(attr) >= sizeof(blob_attr) &&
                       blob_raw_len(attr) <= attr_len;
    if (!whole)
        return parse_children(nullptr, 0, data, info, max);
    return blob_parse(attr, data, info, max);
}
