// Clients: their bytes in and out, their coming and going.
#include "bundled/busd/busd.h"

#include <errno.h>
#include <memory>
#include <new>
#include <stdio.h>
#include <sys/epoll.h>
#include <sys/random.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{
constexpr size_t readSize = 80 * 1024;    // the longest answer of a daemon comes in one piece
constexpr size_t longMessage = 16 * 1024; // is sent at once from where it stands, so that it isn't copied
constexpr size_t headerLength = sizeof(ubus_msghdr);
constexpr size_t minMessage = headerLength + sizeof(blob_attr);
constexpr uint32_t reservedClientId = 0x01000000; // little-endian libraries see 1 and refuse it

void watch(Client &client, int operation)
{
    epoll_event event = {};
    event.events = EPOLLIN | (client.blocked ? EPOLLOUT : 0u);
    event.data.ptr = &client;
    if (epoll_ctl(broker().pollFd, operation, client.fd, &event) == 0)
        return;
    say_no_memory(client, "it is let go"); // nothing would be heard of it any more
    client_doom(client);
}

// Bytes of the message at `data`; 0: not yet known; doomed client: it can't be one.
size_t message_length(Client &client, const char *data, size_t length)
{
    if (length < minMessage)
        return 0;
    const auto *body = reinterpret_cast<const blob_attr *>(data + headerLength);
    if (blob_raw_len(body) >= sizeof(blob_attr) && blob_pad_len(body) <= UBUS_MAX_MSGLEN)
        return headerLength + blob_raw_len(body);
    client_doom(client);
    return 0;
}

// Bytes that have come; 0: none, and perhaps never any more.
size_t receive(Client &client, char *to, size_t room)
{
    const ssize_t count = recv(client.fd, to, room, MSG_DONTWAIT);
    if (count > 0)
        return static_cast<size_t>(count);
    if (count == 0 || (errno != EAGAIN && errno != EINTR))
        client_doom(client);
    return 0;
}

// Serves all whole messages; returns how many bytes they took.
size_t consume(Client &client, char *data, size_t length, Buffer *buffer)
{
    size_t done = 0;
    while (!client.doomed) {
        const size_t next = message_length(client, data + done, length - done);
        if (!next || next > length - done)
            break;
        ubus_msghdr header;
        memcpy(&header, data + done, sizeof header);
        dispatch(client, header, reinterpret_cast<blob_attr *>(data + done + headerLength), buffer);
        done += next;
    }
    return done;
}

// Keeps the begin of a message, with room for all of it or for what tells how long it is.
void keep_begin(Client &client, const char *data, size_t length)
{
    const size_t whole = message_length(client, data, length);
    if (client.doomed)
        return;
    Buffer *kept = buffer_new(whole ? whole : minMessage);
    memcpy(kept->bytes(), data, length);
    kept->used = static_cast<uint32_t>(length);
    if (client.unread)
        buffer_release(client.unread);
    client.unread = kept;
}

// The begin of a message is here, the rest is read behind it and no more.
void continue_message(Client &client)
{
    Buffer *unread = client.unread;
    unread->used += static_cast<uint32_t>(
        receive(client, unread->bytes() + unread->used, unread->capacity - unread->used));
    if (unread->used < unread->capacity)
        return;
    if (message_length(client, unread->bytes(), unread->used) > unread->used) {
        keep_begin(client, unread->bytes(), unread->used);
        return;
    }
    client.unread = nullptr;
    consume(client, unread->bytes(), unread->used, unread);
    buffer_release(unread);
}

void read_messages(Client &client)
{
    static char buffer[readSize];
    const size_t length = receive(client, buffer, sizeof buffer);
    const size_t done = consume(client, buffer, length, nullptr);
    if (done < length)
        keep_begin(client, buffer + done, length - done);
}

void flush(Client &client)
{
    const Sent sent = queue_send(client.queue, client.fd);
    if (sent == Sent::failed) {
        client_doom(client);
        return;
    }
    const bool blocked = sent == Sent::some;
    if (blocked != client.blocked) {
        client.blocked = blocked;
        watch(client, EPOLL_CTL_MOD);
    }
}

// NULL: no memory.
Client *enlist(int fd)
try {
    Broker &bus = broker();
    auto client = std::make_unique<Client>();
    client->fd = fd;
    do
        client->id = fresh_id(bus.clients);
    while (client->id == reservedClientId);
    make_room(bus.dirty, bus.clients.size() + 1);
    make_room(bus.doomed, bus.clients.size() + 1);
    bus.clients.emplace(client->id, client.get());
    return client.release();
} catch (const std::bad_alloc &) {
    return nullptr;
}

void let_go(Client *client)
{
    broker().clients.erase(client->id);
    objects_of_gone_client(*client);
    close(client->fd);
    queue_clear(client->queue);
    if (client->unread)
        buffer_release(client->unread);
    delete client;
}
} // namespace

uint32_t random_number()
{
    uint32_t number;
    while (getrandom(&number, sizeof number, 0) != sizeof number) {
    }
    return number;
}

void client_accept(int fd)
{
    Client *client = enlist(fd);
    if (!client) {
        fprintf(stderr, "vesk-busd: no memory for one more client: it is turned away\n");
        close(fd);
        return;
    }
    watch(*client, EPOLL_CTL_ADD);
    OutMessage greeting;
    out_begin(greeting, UBUS_MSG_HELLO, 0, client->id);
    client_tell(*client, greeting);
}

void client_readable(Client &client)
{
    try {
        client.unread ? continue_message(client) : read_messages(client);
    } catch (const std::bad_alloc &) {
        say_no_memory(client, "it is let go");
        client_doom(client);
    }
}

void client_writable(Client &client)
{
    flush(client);
}

void client_send(Client &client, OutMessage &out, Buffer *shared)
{
    if (client.doomed)
        return;
    out_finish(out);
    OutQueue &queue = client.queue;
    const size_t length = headerLength + out.length;
    const bool direct = length >= longMessage && !shared;
    if (queue.bytes && ((direct && !client.blocked) || queue.bytes + length > queueLimit))
        flush(client);
    if (queue.bytes + length > queueLimit)
        client_doom(client);
    if (client.doomed)
        return;
    queue_reserve(queue, out, shared);
    iovec *part = out.part;
    int parts = out.parts;
    if (direct && !queue.bytes)
        pieces_send(client.fd, part, parts); // an error comes again with the rest
    queue_append(queue, part, parts, shared);
    if (!client.dirty) {
        client.dirty = true;
        broker().dirty.push_back(&client);
    }
}

void client_tell(Client &client, OutMessage &out)
{
    try {
        client_send(client, out);
    } catch (const std::bad_alloc &) {
        say_no_memory(client, "it is let go");
        client_doom(client);
    }
}

void say_no_memory(const Client &client, const char *outcome)
{
    fprintf(stderr, "vesk-busd: no memory for client %08x: %s\n", client.id, outcome);
}

void client_doom(Client &client)
{
    if (client.doomed)
        return;
    client.doomed = true;
    broker().doomed.push_back(&client);
}

bool client_charge(Client &client, size_t &kept, size_t bytes)
{
    if (client.kept + bytes > keptLimit)
        return false;
    client.kept += bytes;
    kept += bytes;
    return true;
}

void clients_settle()
{
    Broker &bus = broker();
    while (!bus.dirty.empty() || !bus.doomed.empty()) {
        // By index: sending may doom a client, letting one go makes events for others.
        for (size_t i = 0; i < bus.dirty.size(); i++) {
            bus.dirty[i]->dirty = false;
            if (!bus.dirty[i]->blocked) // else it is sent when the socket takes more
                flush(*bus.dirty[i]);
        }
        bus.dirty.clear();
        if (bus.doomed.empty())
            return;
        Client *gone = bus.doomed.back();
        bus.doomed.pop_back();
        let_go(gone);
    }
}

void clients_drop_all()
{
    for (const auto &[id, client] : broker().clients)
        client_doom(*client);
    clients_settle();
}
