// Outgoing bytes of one client: a row of pieces of reference-counted buffers. Short messages are copied
// one after the other into the queue's own buffer, so that one system call sends many; a long payload
// that goes to several clients stands in one buffer that all their queues refer to.
#pragma once

#include "bundled/libubus/outgoing.h"

#include <vector>

struct Buffer {
    uint32_t references;
    uint32_t used;
    uint32_t capacity;

    char *bytes() { return reinterpret_cast<char *>(this + 1); } // `capacity` of them stand behind
};

Buffer *buffer_new(size_t capacity); // one reference, the caller's
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

// Appends a finished message. A part that stands in `shared` (may be NULL) is referred to.
void queue_add(OutQueue &queue, const OutMessage &out, Buffer *shared);

enum class Sent { all, some, failed };
Sent queue_send(OutQueue &queue, int fd); // without waiting
void queue_clear(OutQueue &queue);
