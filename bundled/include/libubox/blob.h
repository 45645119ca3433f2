// Attributes of the wire: a big-endian word of id and length, the payload, padding to four bytes. The
// length counts the word and the payload; a container's payload includes the padding of all its children.
#pragma once

#include <libubox/utils.h>

#ifdef __cplusplus
extern "C" {
#endif

enum {
    BLOB_ATTR_UNSPEC,
    BLOB_ATTR_NESTED,
    BLOB_ATTR_BINARY,
    BLOB_ATTR_STRING,
    BLOB_ATTR_INT8,
    BLOB_ATTR_INT16,
    BLOB_ATTR_INT32,
    BLOB_ATTR_INT64,
    BLOB_ATTR_DOUBLE,
    BLOB_ATTR_LAST
};

#define BLOB_ATTR_ID_MASK 0x7f000000u
#define BLOB_ATTR_ID_SHIFT 24
#define BLOB_ATTR_LEN_MASK 0x00ffffffu
#define BLOB_ATTR_ALIGN 4u
#define BLOB_ATTR_EXTENDED 0x80000000u

struct blob_attr {
    uint32_t id_len; // big-endian
    char data[];
} __attribute__((packed));

struct blob_attr_info {
    unsigned int type; // BLOB_ATTR_UNSPEC: no check
    unsigned int minlen;
    unsigned int maxlen; // 0: no limit
    bool (*validate)(const struct blob_attr_info *info, struct blob_attr *attr);
};

struct blob_buf {
    struct blob_attr *head;                         // innermost open container
    bool (*grow)(struct blob_buf *buf, int minlen); // makes room for minlen more bytes
    int buflen;
    void *buf;
};

static inline void *blob_data(const struct blob_attr *attr)
{
    return (void *)attr->data;
}

static inline unsigned int blob_id(const struct blob_attr *attr)
{
    return (be32_to_cpu(attr->id_len) & BLOB_ATTR_ID_MASK) >> BLOB_ATTR_ID_SHIFT;
}

static inline bool blob_is_extended(const struct blob_attr *attr)
{
    return (attr->id_len & cpu_to_be32(BLOB_ATTR_EXTENDED)) != 0;
}

static inline size_t blob_raw_len(const struct blob_attr *attr)
{
    return be32_to_cpu(attr->id_len) & BLOB_ATTR_LEN_MASK;
}

static inline size_t blob_len(const struct blob_attr *attr)
{
    return blob_raw_len(attr) - sizeof(struct blob_attr);
}

static inline size_t blob_padded(size_t length)
{
    return (length + BLOB_ATTR_ALIGN - 1) & ~(size_t)(BLOB_ATTR_ALIGN - 1);
}

static inline size_t blob_pad_len(const struct blob_attr *attr)
{
    return blob_padded(blob_raw_len(attr));
}

static inline struct blob_attr *blob_next(const struct blob_attr *attr)
{
    return (struct blob_attr *)((char *)attr + blob_pad_len(attr));
}

static inline uint8_t blob_get_u8(const struct blob_attr *attr)
{
    return (uint8_t)attr->data[0];
}

static inline uint32_t blob_get_u32(const struct blob_attr *attr)
{
    uint32_t value;
    memcpy(&value, attr->data, sizeof value);
    return be32_to_cpu(value);
}

static inline int32_t blob_get_int32(const struct blob_attr *attr)
{
    return (int32_t)blob_get_u32(attr);
}
static inline const char *blob_get_string(const struct blob_attr *attr)
{
    return attr->data;
}

// True while `attr` may be visited with `rem` bytes of its container left.
static inline bool blob_attr_fits(const struct blob_attr *attr, size_t rem)
{
    return rem >= sizeof(struct blob_attr) && blob_pad_len(attr) <= rem &&
           blob_raw_len(attr) >= sizeof(struct blob_attr);
}

#define __blob_for_each_attr(pos, attr, rem)                                                                 \
    for (pos = (__typeof__(pos))(attr); pos && blob_attr_fits(pos, rem);                                     \
         rem -= blob_pad_len(pos), pos = blob_next(pos))

// Walks the children of `attr` (may be NULL); `rem` is a size_t of the caller.
#define blob_for_each_attr(pos, attr, rem)                                                                   \
    for (rem = (attr) ? blob_len(attr) : 0, pos = (__typeof__(pos))((attr) ? blob_data(attr) : NULL);        \
         pos && blob_attr_fits(pos, rem); rem -= blob_pad_len(pos), pos = blob_next(pos))

void blob_fill_pad(struct blob_attr *attr); // zeroes the padding
void blob_set_raw_len(struct blob_attr *attr, unsigned int len);
bool blob_check_type(const void *ptr, unsigned int len, int type);

// Starts a message; the memory of the one before is used again. 0 or -ENOMEM.
int blob_buf_init(struct blob_buf *buf, int id);
void blob_buf_free(struct blob_buf *buf);

// NULL when the buffer can't grow (24-bit length, memory).
struct blob_attr *blob_new(struct blob_buf *buf, int id, int payload); // payload is for the caller to fill
// Ends the container that blobmsg_open_nested opened; cookie NULL, of one that couldn't be opened: nothing.
void blob_nest_end(struct blob_buf *buf, void *cookie);

// Sorts the children by id into data[0..max); malformed ones count as absent, the last duplicate wins.
// Returns the number of different ids found.
int blob_parse(struct blob_attr *attr, struct blob_attr **data, const struct blob_attr_info *info, int max);
int blob_parse_untrusted(struct blob_attr *attr, size_t attr_len, struct blob_attr **data,
                         const struct blob_attr_info *info, int max);

#ifdef __cplusplus
}
#endif
