// What the client and the broker share of messages: the types of their attributes, and how one is put
// together.
#pragma once

#include <sys/uio.h>
#include <ubusmsg.h>

// What an attribute has to be to count as present.
inline constexpr blob_attr_info attributeTypes[UBUS_ATTR_MAX] = {
    {},                   // UNSPEC
    { BLOB_ATTR_INT32 },  // STATUS
    { BLOB_ATTR_STRING }, // OBJPATH
    { BLOB_ATTR_INT32 },  // OBJID
    { BLOB_ATTR_STRING }, // METHOD
    { BLOB_ATTR_INT32 },  // OBJTYPE
    { BLOB_ATTR_NESTED }, // SIGNATURE
    { BLOB_ATTR_NESTED }, // DATA
    { BLOB_ATTR_INT32 },  // TARGET
    { BLOB_ATTR_INT8 },   // ACTIVE
    { BLOB_ATTR_INT8 },   // NO_REPLY
    { BLOB_ATTR_NESTED }, // SUBSCRIBERS
    { BLOB_ATTR_STRING }, // USER
    { BLOB_ATTR_STRING }, // GROUP
};

// An outgoing message as a list of pieces: small parts are written into `fixed`, strings and payloads
// are referred to where they stand, so nothing is copied or allocated to send it.
struct OutMessage {
    uint8_t fixed[96];
    size_t used;
    iovec part[8];
    int parts;
    size_t length; // all parts, without the 8 bytes of the header
};

void out_begin(OutMessage &out, ubus_msg_type type, uint16_t seq, uint32_t peer);
void out_u32(OutMessage &out, ubus_msg_attr id, uint32_t value);
void out_bytes(OutMessage &out, ubus_msg_attr id, const void *data, size_t length);
void out_string(OutMessage &out, ubus_msg_attr id, const char *text);
void out_raw(OutMessage &out, const void *attributes, size_t length); // whole attributes as they stand
// DATA with the fields of `msg`; NULL: with none.
void out_data(OutMessage &out, const blob_attr *msg);

// Writes the length in; to be called once, when all is added.
void out_finish(OutMessage &out);

// One sendmsg without waiting, result and errno as its. The pieces then begin behind what was sent.
ssize_t pieces_send(int fd, iovec *&part, int &parts);
