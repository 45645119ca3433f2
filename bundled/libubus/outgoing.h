// Messages on their way out, as the client and the broker put them together.
#pragma once

#include <sys/uio.h>
#include <ubusmsg.h>

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
