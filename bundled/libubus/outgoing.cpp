#include "bundled/libubus/outgoing.h"

#include <sys/socket.h>

namespace
{
constexpr size_t headerLength = sizeof(ubus_msghdr);

void add_part(OutMessage &out, const void *data, size_t length)
{
    if (!length)
        return;
    iovec *last = out.parts ? &out.part[out.parts - 1] : nullptr;
    if (last && static_cast<char *>(last->iov_base) + last->iov_len == data)
        last->iov_len += length;
    else
        out.part[out.parts++] = { const_cast<void *>(data), length };
    out.length += length;
}

void add_fixed(OutMessage &out, const void *data, size_t length)
{
    uint8_t *place = out.fixed + out.used;
    memcpy(place, data, length);
    out.used += length;
    add_part(out, place, length);
}

void add_word(OutMessage &out, uint32_t value)
{
    value = cpu_to_be32(value);
    add_fixed(out, &value, sizeof value);
}

void skip_sent(iovec *&part, int &parts, size_t sent)
{
    while (parts && sent >= part->iov_len) {
        sent -= part->iov_len;
        part++;
        parts--;
    }
    if (!parts)
        return;
    part->iov_base = static_cast<char *>(part->iov_base) + sent;
    part->iov_len -= sent;
}
} // namespace

void out_begin(OutMessage &out, ubus_msg_type type, uint16_t seq, uint32_t peer)
{
    out.used = 0;
    out.parts = 0;
    out.length = 0;
    ubus_msghdr header = { 0, static_cast<uint8_t>(type), cpu_to_be16(seq), cpu_to_be32(peer) };
    add_fixed(out, &header, sizeof header);
    add_word(out, 0); // length, known when the message is sent
    out.length -= headerLength;
}

void out_u32(OutMessage &out, ubus_msg_attr id, uint32_t value)
{
    add_word(out, static_cast<uint32_t>(id) << BLOB_ATTR_ID_SHIFT | (sizeof(blob_attr) + sizeof value));
    add_word(out, value);
}

void out_bytes(OutMessage &out, ubus_msg_attr id, const void *data, size_t length)
{
    static constexpr uint8_t zeros[4] = {};
    const uint32_t raw = static_cast<uint32_t>(sizeof(blob_attr) + length) & BLOB_ATTR_LEN_MASK;
    add_word(out, static_cast<uint32_t>(id) << BLOB_ATTR_ID_SHIFT | raw);
    add_part(out, data, length);
    add_fixed(out, zeros, blob_padded(length) - length);
}

void out_string(OutMessage &out, ubus_msg_attr id, const char *text)
{
    out_bytes(out, id, text, strlen(text) + 1);
}

void out_raw(OutMessage &out, const void *attributes, size_t length)
{
    add_part(out, attributes, length);
}

void out_data(OutMessage &out, const blob_attr *msg)
{
    out_bytes(out, UBUS_ATTR_DATA, msg ? blob_data(msg) : nullptr, msg ? blob_len(msg) : 0);
}

void out_finish(OutMessage &out)
{
    const uint32_t length = cpu_to_be32(static_cast<uint32_t>(out.length));
    memcpy(out.fixed + headerLength, &length, sizeof length);
}

ssize_t pieces_send(int fd, iovec *&part, int &parts)
{
    msghdr message = {};
    message.msg_iov = part;
    message.msg_iovlen = static_cast<size_t>(parts);
    const ssize_t sent = sendmsg(fd, &message, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent > 0)
        skip_sent(part, parts, static_cast<size_t>(sent));
    return sent;
}
