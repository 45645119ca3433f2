// Driver events: settings, then a datagram per piece, through the read callback and a socket of its own.
#include <unistd.h>

#include <sys/socket.h>

#include "source/vesk_drelm/vesk_drelm.h"
#include "tests/fuzz/world.h"

namespace {
int sender;

/** The daemon's descriptor, its socket replaced by one end of a pair. */
uloop_fd *intake() {
    static uloop_fd *watched = [] {
        vesk_init_dev_event();
        uloop_fd *fd = fakeLoop.fds.at(0);
        int pair[2];
        fuzz_expect(socketpair(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK, 0, pair) == 0 && dup2(pair[0], fd->fd) == fd->fd);
        sender = pair[1];
        return fd;
    }();
    return watched;
}
} // namespace

void fuzz_one(FuzzInput in) {
    fuzz_start(in.byte());
    uloop_fd *fd = intake();
    while (in.left > 0) {
        const std::vector<uint8_t> datagram = in.piece();
        send(sender, datagram.data(), datagram.size(), 0);
        fd->cb(fd, ULOOP_READ);
    }
    for (const FakeSignal &signal : fakeBus.signals) // frames never claim more bytes than they have
        fuzz_expect(signal.payload.size() != 619 || signal.payload[105] + signal.payload[106] * 256 <= 512);
    fake_advance(2s); // the station poll that a client event brings forward
}
