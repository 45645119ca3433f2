// What vesk is measured against, written on the same bus library with nothing in it: an echo server whose
// replies have a given size, and a forwarder that sends the bytes of a datagram as an asynchronous bus event.
//   vesk-bench-bare echo | forward
#include <cstdio>
#include <cstring>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include "foundation/ubus_headers.h"
#include "include/vesk_event.h"

namespace {
constexpr uint16_t forwardPort = VESK_EVENT_PORT + 1;
constexpr size_t maxReply = sizeof(WireStaInfo);

ubus_context *ctx;
blob_buf reply;

int echo(ubus_context *, ubus_object *, ubus_request_data *req, const char *, blob_attr *msg) {
    static const uint8_t zeros[maxReply] = {};
    static const blobmsg_policy policy[] = { { "size", BLOBMSG_TYPE_INT32 } };
    blob_attr *tb[1];
    blobmsg_parse(policy, 1, tb, blob_data(msg), static_cast<unsigned>(blob_len(msg)));
    const uint32_t size = tb[0] ? blobmsg_get_u32(tb[0]) : 0;
    blob_buf_init(&reply, 0);
    blobmsg_add_u32(&reply, "return", 0);
    blobmsg_add_field(&reply, BLOBMSG_TYPE_UNSPEC, "data", zeros, size < maxReply ? size : maxReply);
    ubus_send_reply(ctx, req, reply.head);
    return 0;
}

void forward(uloop_fd *fd, unsigned) {
    uint8_t datagram[VESK_EVENT_MAX];
    const ssize_t n = recv(fd->fd, datagram, sizeof datagram, 0);
    if (n < static_cast<ssize_t>(sizeof(VeskEventHeader) + sizeof(VeskClientJoin))) return;
    blob_buf_init(&reply, 0);
    blobmsg_add_string(&reply, "id", "bench.event.signal");
    void *table = blobmsg_open_table(&reply, "data");
    blobmsg_add_field(&reply, BLOBMSG_TYPE_UNSPEC, "payload", datagram + sizeof(VeskEventHeader),
                      sizeof(VeskClientJoin));
    blobmsg_close_table(&reply, table);
    ubus_request req;
    if (ubus_invoke_async(ctx, 1, "send", reply.head, &req) == 0) ubus_abort_request(ctx, &req);
}

int serve_echo() {
    static const blobmsg_policy policy[] = { { "size", BLOBMSG_TYPE_INT32 } };
    static const ubus_method methods[] = { UBUS_METHOD("echo", echo, policy) };
    static ubus_object_type type = UBUS_OBJECT_TYPE("bench.echo", methods);
    static ubus_object object = { .name = "bench.echo", .type = &type, .methods = methods, .n_methods = 1 };
    return ubus_add_object(ctx, &object);
}

int serve_forward() {
    static uloop_fd fd;
    const sockaddr_in address = { AF_INET, htons(forwardPort), { htonl(INADDR_LOOPBACK) }, {} };
    fd.fd = socket(AF_INET, SOCK_DGRAM, 0);
    fd.cb = forward;
    if (bind(fd.fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) return -1;
    return uloop_fd_add(&fd, ULOOP_READ);
}
} // namespace

int main(int argc, char **argv) {
    uloop_init();
    ctx = ubus_connect("/var/run/ubus.sock");
    if (!ctx || argc != 2) return 1;
    ubus_add_uloop(ctx);
    const int failed = strcmp(argv[1], "echo") == 0 ? serve_echo() : serve_forward();
    return failed ? 1 : uloop_run();
}
