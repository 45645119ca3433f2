#include "bundled/busd/queue.h"

#include <algorithm>
#include <errno.h>
#include <new>
#include <stdlib.h>
#include <sys/socket.h>

namespace
{
constexpr size_t ownCapacity = 4096;
constexpr size_t keptCapacity = 64 * 1024; // a longer buffer of one's own is given back when it is sent
constexpr size_t piecesPerCall = 32;
constexpr size_t compactAt = 1024;

void append_piece(OutQueue &queue, Buffer *buffer, uint32_t begin, uint32_t end)
{
    Piece *last = queue.pieces.size() > queue.first ? &queue.pieces.back() : nullptr;
    if (last && last->buffer == buffer && last->end == begin) {
        last->end = end;
        return;
    }
    buffer->references++;
    queue.pieces.push_back({ buffer, begin, end });
}

void append_copy(OutQueue &queue, const iovec &part)
{
    Buffer *own = queue.own;
    const uint32_t begin = own->used;
    memcpy(own->bytes() + begin, part.iov_base, part.iov_len);
    own->used += static_cast<uint32_t>(part.iov_len);
    append_piece(queue, own, begin, own->used);
}

bool stands_in(const Buffer *buffer, const iovec &part)
{
    const auto *start = static_cast<const char *>(part.iov_base);
    return buffer && start >= buffer->bytes() && start < buffer->bytes() + buffer->used;
}

void drop_first(OutQueue &queue)
{
    buffer_release(queue.pieces[queue.first].buffer);
    queue.first++;
}

void skip_sent(OutQueue &queue, size_t sent)
{
    queue.bytes -= sent;
    while (sent) {
        Piece &piece = queue.pieces[queue.first];
        const size_t step = std::min<size_t>(sent, piece.end - piece.begin);
        piece.begin += static_cast<uint32_t>(step);
        sent -= step;
        if (piece.begin == piece.end)
            drop_first(queue);
    }
}

// Everything is out: the row and the own buffer start anew.
void rewind(OutQueue &queue)
{
    queue.pieces.clear();
    queue.first = 0;
    if (!queue.own)
        return;
    queue.own->used = 0; // no piece refers to it any more
    if (queue.own->capacity > keptCapacity) {
        buffer_release(queue.own);
        queue.own = nullptr;
    }
}
} // namespace

Buffer *buffer_new(size_t capacity)
{
    auto *buffer = static_cast<Buffer *>(malloc(sizeof(Buffer) + capacity));
    if (!buffer)
        throw std::bad_alloc();
    buffer->references = 1;
    buffer->used = 0;
    buffer->capacity = static_cast<uint32_t>(capacity);
    return buffer;
}

void buffer_release(Buffer *buffer)
{
    if (--buffer->references == 0)
        free(buffer);
}

void queue_reserve(OutQueue &queue, const OutMessage &out, const Buffer *shared)
{
    size_t copied = 0;
    for (int i = 0; i < out.parts; i++)
        copied += stands_in(shared, out.part[i]) ? 0 : out.part[i].iov_len;
    make_room(queue.pieces, queue.pieces.size() + static_cast<size_t>(out.parts));
    if (queue.own && queue.own->capacity - queue.own->used >= copied)
        return;
    Buffer *fresh = buffer_new(std::max(copied, ownCapacity));
    if (queue.own)
        buffer_release(queue.own);
    queue.own = fresh;
}

void queue_append(OutQueue &queue, const iovec *part, int parts, Buffer *shared)
{
    for (const iovec *end = part + parts; part < end; part++) {
        queue.bytes += part->iov_len;
        if (!stands_in(shared, *part)) {
            append_copy(queue, *part);
            continue;
        }
        const auto begin = static_cast<uint32_t>(static_cast<const char *>(part->iov_base) - shared->bytes());
        append_piece(queue, shared, begin, begin + static_cast<uint32_t>(part->iov_len));
    }
}

Sent queue_send(OutQueue &queue, int fd)
{
    while (queue.bytes) {
        iovec part[piecesPerCall];
        size_t parts = 0;
        for (size_t i = queue.first; i < queue.pieces.size() && parts < piecesPerCall; i++) {
            const Piece &piece = queue.pieces[i];
            part[parts++] = { piece.buffer->bytes() + piece.begin, piece.end - piece.begin };
        }
        msghdr message = {};
        message.msg_iov = part;
        message.msg_iovlen = parts;
        const ssize_t sent = sendmsg(fd, &message, MSG_DONTWAIT | MSG_NOSIGNAL);
        if (sent > 0)
            skip_sent(queue, static_cast<size_t>(sent));
        else if (errno == EAGAIN)
            break;
        else if (errno != EINTR)
            return Sent::failed;
    }
    if (queue.bytes == 0) {
        rewind(queue);
        return Sent::all;
    }
    if (queue.first > compactAt) {
        queue.pieces.erase(queue.pieces.begin(), queue.pieces.begin() + static_cast<ptrdiff_t>(queue.first));
        queue.first = 0;
    }
    return Sent::some;
}

void queue_clear(OutQueue &queue)
{
    while (queue.first < queue.pieces.size())
        drop_first(queue);
    if (queue.own)
        buffer_release(queue.own);
    queue = {};
}
