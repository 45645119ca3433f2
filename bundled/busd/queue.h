// Outgoing bytes of one client: a row of pieces of reference-counted buffers. Short messages are copied
// one after the other into the queue's own buffer, so that one system call sends many; a long payload
// that goes to several clients, or that was put together in a buffer, stays there and is referred to.
#pragma once

#include "bundled/libubus/outgoing.h"

#include <vector>

struct Buffer {
    uint32_t references;
    uint32_t used;
    uint32_t capacity;

    char *bytes() { return reinterpret_cast<char *>(this + 1); } // `capacity` of them stand behind
    const char *bytes() const { return reinterpret_cast<const char *>(this + 1); }
};

// Room for `size` elements in all: those that are added until then can't fail.
template <class Vector>
void make_room(Vector &vector, size_t size)
{
    if (vector.capacity() < size)
        vector.reserve(2 * size);
}

Buffer *buffer_new(size_t capacity); // one reference, the caller's; throws std::bad_alloc
void buffer_release(Buffer *buffer);

struct Piece {
    Buffer *buffer;
    uint32_t begin, end;
};

struct OutQueue {
    std::vector<Piece> pieces;
    size_t first = 0; // pieces before this one are sent
    Buffer *own = nullptr;
    size_t bytes = 0; // not yet sent
};

// Makes room for a message, or throws std::bad_alloc: then the queue is as it was.
void queue_reserve(OutQueue &queue, const OutMessage &out, const Buffer *shared);
// Appends what is left of the message there is room for. What stands in `shared` (may be NULL) is referred
// to.
void queue_append(OutQueue &queue, const iovec *part, int parts, Buffer *shared);

enum class Sent { all, some, failed };
Sent queue_send(OutQueue &queue, int fd); // without waiting
void queue_clear(OutQueue &queue);
