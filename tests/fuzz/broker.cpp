// The broker's message reader: two clients, and pieces that one or the other sends. A piece's first byte
// tells who sends it (bit 0) and whether its first byte goes ahead alone (bit 1), so that the rest is put
// together on the heap. Ids are counted from 2000: both clients, then the objects.
#include "bundled/busd/busd.h"
#include "tests/fuzz/input.h"

#include <cstring>

#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {
uint32_t lastId;

void deliver(int fd, uint32_t id, const uint8_t *bytes, size_t size) {
    Client *client = find(broker().clients, id);
    if (!client || size == 0 || write(fd, bytes, size) < 0) return;
    client_readable(*client);
    clients_settle();
    char answers[65536];
    while (recv(fd, answers, sizeof answers, MSG_DONTWAIT) > 0) {
    }
}
} // namespace

Broker &broker() {
    static Broker theBroker = [] {
        Broker fresh = {};
        fresh.pollFd = epoll_create1(0);
        return fresh;
    }();
    return theBroker;
}

extern "C" ssize_t __wrap_getrandom(void *to, size_t size, unsigned) {
    lastId++;
    memcpy(to, &lastId, size);
    return static_cast<ssize_t>(size);
}

void fuzz_broker(FuzzInput in) {
    lastId = 1999;
    int pair[2][2];
    for (int(&ends)[2] : pair) {
        fuzz_expect(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends) == 0);
        client_accept(ends[1]);
    }
    clients_settle();
    while (in.left > 0) {
        const uint8_t how = in.byte();
        const std::vector<uint8_t> bytes = in.piece();
        const size_t ahead = how & 2 && !bytes.empty();
        const int fd = pair[how & 1][0];
        deliver(fd, 2000u + (how & 1), bytes.data(), ahead);
        deliver(fd, 2000u + (how & 1), bytes.data() + ahead, bytes.size() - ahead);
    }
    for (int(&ends)[2] : pair) close(ends[0]);
    clients_drop_all();
    fuzz_expect(broker().objects.empty() && broker().paths.empty() && broker().types.empty() &&
                broker().listeners.empty());
}
