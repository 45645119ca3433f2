// Named, typed fields: an attribute with the extended bit whose payload begins with a name, padded so
// that the value is aligned to four bytes.
#pragma once

#include <libubox/blob.h>
#include <stdarg.h>

#ifdef __cplusplus
extern "C" {
#endif

#define BLOBMSG_ALIGN 2
#define BLOBMSG_PADDING(len) (((len) + (1u << BLOBMSG_ALIGN) - 1) & ~((1u << BLOBMSG_ALIGN) - 1))

enum blobmsg_type {
    BLOBMSG_TYPE_UNSPEC,
    BLOBMSG_TYPE_ARRAY,
    BLOBMSG_TYPE_TABLE,
    BLOBMSG_TYPE_STRING,
    BLOBMSG_TYPE_INT64,
    BLOBMSG_TYPE_INT32,
    BLOBMSG_TYPE_INT16,
    BLOBMSG_TYPE_INT8,
    BLOBMSG_TYPE_DOUBLE,
    __BLOBMSG_TYPE_LAST,
    BLOBMSG_TYPE_LAST = __BLOBMSG_TYPE_LAST - 1,
    BLOBMSG_TYPE_BOOL = BLOBMSG_TYPE_INT8,
    BLOBMSG_CAST_INT64 = __BLOBMSG_TYPE_LAST, // in a policy: an integer of any width
};

struct blobmsg_hdr {
    uint16_t namelen; // big-endian, without the NUL
    uint8_t name[];
} __attribute__((packed));

struct blobmsg_policy {
    const char *name;
    enum blobmsg_type type; // BLOBMSG_TYPE_UNSPEC: any
};

static inline size_t blobmsg_hdrlen(unsigned int namelen)
{
    return BLOBMSG_PADDING(sizeof(struct blobmsg_hdr) + namelen + 1);
}

static inline int blobmsg_type(const struct blob_attr *attr)
{
    return (int)blob_id(attr);
}

static inline unsigned int blobmsg_namelen(const struct blobmsg_hdr *hdr)
{
    return be16_to_cpu(hdr->namelen);
}

static inline const char *blobmsg_name(const struct blob_attr *attr)
{
    return (const char *)((const struct blobmsg_hdr *)attr->data)->name;
}

// Length of the name header; 0 for an attribute without one.
static inline size_t blobmsg_value_offset(const struct blob_attr *attr)
{
    return blob_is_extended(attr) ? blobmsg_hdrlen(blobmsg_namelen((const struct blobmsg_hdr *)attr->data))
                                  : 0;
}

static inline void *blobmsg_data(const struct blob_attr *attr)
{
    return attr ? (char *)blob_data(attr) + blobmsg_value_offset(attr) : NULL;
}

static inline size_t blobmsg_data_len(const struct blob_attr *attr)
{
    if (!attr || blob_len(attr) < blobmsg_value_offset(attr))
        return 0;
    return blob_len(attr) - blobmsg_value_offset(attr);
}

static inline size_t blobmsg_len(const struct blob_attr *attr)
{
    return blobmsg_data_len(attr);
}

#define blobmsg_for_each_attr(pos, attr, rem)                                                                \
    for (rem = (attr) ? blobmsg_data_len(attr) : 0, pos = (__typeof__(pos))blobmsg_data(attr);               \
         pos && blob_attr_fits(pos, rem); rem -= blob_pad_len(pos), pos = blob_next(pos))

// Is the field whole and of a known type, its scalar value of the right size? Containers aren't entered.
bool blobmsg_check_attr(const struct blob_attr *attr, bool name);
bool blobmsg_check_attr_len(const struct blob_attr *attr, bool name, size_t len);
// One level deep: number of children, or -1. type BLOBMSG_TYPE_UNSPEC: any.
int blobmsg_check_array(const struct blob_attr *attr, int type);
int blobmsg_check_array_len(const struct blob_attr *attr, int type, size_t len);

// Fills tb[0..policy_len) with the fields of the policy's names and types, the first of a name. 0;
// -EINVAL for an empty message; -1 at the first malformed field.
int blobmsg_parse(const struct blobmsg_policy *policy, int policy_len, struct blob_attr **tb, void *data,
                  unsigned int len);
// The same by position, for the elements of an array.
int blobmsg_parse_array(const struct blobmsg_policy *policy, int policy_len, struct blob_attr **tb,
                        void *data, unsigned int len);
int blobmsg_parse_attr(const struct blobmsg_policy *policy, int policy_len, struct blob_attr **tb,
                       struct blob_attr *data);

// 0, or -1 when the buffer can't grow. name NULL: none (array element).
int blobmsg_add_field(struct blob_buf *buf, int type, const char *name, const void *data, unsigned int len);
void *blobmsg_open_nested(struct blob_buf *buf, const char *name, bool array); // cookie, NULL: failed
int blobmsg_vprintf(struct blob_buf *buf, const char *name, const char *format, va_list arg);
int blobmsg_printf(struct blob_buf *buf, const char *name, const char *format, ...)
    __attribute__((format(printf, 3, 4)));

// A string built in place: room for maxlen characters and the NUL; the field exists once it is added.

static inline int blobmsg_buf_init(struct blob_buf *buf)
{
    return blob_buf_init(buf, BLOBMSG_TYPE_TABLE);
}

static inline int blobmsg_add_u8(struct blob_buf *buf, const char *name, uint8_t val)
{
    return blobmsg_add_field(buf, BLOBMSG_TYPE_INT8, name, &val, sizeof val);
}

static inline int blobmsg_add_u16(struct blob_buf *buf, const char *name, uint16_t val)
{
    val = cpu_to_be16(val);
    return blobmsg_add_field(buf, BLOBMSG_TYPE_INT16, name, &val, sizeof val);
}

static inline int blobmsg_add_u32(struct blob_buf *buf, const char *name, uint32_t val)
{
    val = cpu_to_be32(val);
    return blobmsg_add_field(buf, BLOBMSG_TYPE_INT32, name, &val, sizeof val);
}

static inline int blobmsg_add_u64(struct blob_buf *buf, const char *name, uint64_t val)
{
    val = cpu_to_be64(val);
    return blobmsg_add_field(buf, BLOBMSG_TYPE_INT64, name, &val, sizeof val);
}

static inline int blobmsg_add_double(struct blob_buf *buf, const char *name, double d)
{
    uint64_t bits;
    memcpy(&bits, &d, sizeof bits);
    bits = cpu_to_be64(bits);
    return blobmsg_add_field(buf, BLOBMSG_TYPE_DOUBLE, name, &bits, sizeof bits);
}

static inline int blobmsg_add_string(struct blob_buf *buf, const char *name, const char *string)
{
    return blobmsg_add_field(buf, BLOBMSG_TYPE_STRING, name, string, (unsigned int)strlen(string) + 1);
}

static inline void *blobmsg_open_array(struct blob_buf *buf, const char *name)
{
    return blobmsg_open_nested(buf, name, true);
}

static inline void *blobmsg_open_table(struct blob_buf *buf, const char *name)
{
    return blobmsg_open_nested(buf, name, false);
}

static inline void blobmsg_close_array(struct blob_buf *buf, void *cookie)
{
    blob_nest_end(buf, cookie);
}
static inline void blobmsg_close_table(struct blob_buf *buf, void *cookie)
{
    blob_nest_end(buf, cookie);
}

// The value of a field of known type; nothing is checked.
static inline uint8_t blobmsg_get_u8(struct blob_attr *attr)
{
    return *(uint8_t *)blobmsg_data(attr);
}
static inline uint16_t blobmsg_get_u16(struct blob_attr *attr)
{
    uint16_t value;
    memcpy(&value, blobmsg_data(attr), sizeof value);
    return be16_to_cpu(value);
}

static inline uint32_t blobmsg_get_u32(struct blob_attr *attr)
{
    uint32_t value;
    memcpy(&value, blobmsg_data(attr), sizeof value);
    return be32_to_cpu(value);
}

static inline uint64_t blobmsg_get_u64(struct blob_attr *attr)
{
    uint64_t value;
    memcpy(&value, blobmsg_data(attr), sizeof value);
    return be64_to_cpu(value);
}

static inline char *blobmsg_get_string(struct blob_attr *attr)
{
    return (char *)blobmsg_data(attr);
}

// An integer field of any width; 0 for anything else.
int64_t blobmsg_cast_s64(struct blob_attr *attr);

#ifdef __cplusplus
}
#endif
