// Clients: their bytes in and out, their coming and going.
#include "bundled/busd/busd.h"

#include <errno.h>
#include <sys/epoll.h>
#include <sys/random.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{
constexpr size_t readSize = 64 * 1024;
constexpr size_t headerLength = sizeof(ubus_msghdr);
constexpr size_t minMessage = headerLength + sizeof(blob_attr);
constexpr uint32_t reservedClientId = 0x01000000; // little-endian libraries see 1 and refuse it

void watch(Client &client, int operation)
{
    epoll_event event = {};
    event.events = EPOLLIN | (client.blocked ? EPOLLOUT : 0u);
    event.data.ptr = &client;
    if (epoll_ctl(broker().pollFd, operation, client.fd, &event) < 0)
        client_doom(client); // nothing would be heard of it any more
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

// Serves all whole messages; returns how many bytes they took.
size_t consume(Client &client, char *data, size_t length)
{
    size_t done = 0;
    while (!client.doomed) {
        const size_t next = message_length(client, data + done, length - done);
        if (!next || next > length - done)
            break;
        ubus_msghdr header;
        memcpy(&header, data + done, sizeof header);
        dispatch(client, header, reinterpret_cast<blob_attr *>(data + done + headerLength));
        done += next;
    }
    return done;
}

// The begin of the message is here, the rest is appended until it is whole.
void continue_message(Client &client, char *data, size_t length)
{
    std::vector<char> &unread = client.unread;
    unread.reserve(message_length(client, unread.data(), unread.size()) + readSize); // once for a long one
    unread.insert(unread.end(), data, data + length);
    const size_t done = consume(client, unread.data(), unread.size());
    unread.erase(unread.begin(), unread.begin() + static_cast<ptrdiff_t>(done));
    if (unread.empty() && unread.capacity() > readSize)
        std::vector<char>().swap(unread);
}

void flush(Client &client)
{
    if (client.doomed)
        return;
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

void let_go(Client *client)
{
    broker().clients.erase(client->id);
    objects_of_gone_client(*client);
    close(client->fd);
    queue_clear(client->queue);
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
    auto *client = new Client{};
    client->fd = fd;
    do
        client->id = fresh_id(broker().clients);
    while (client->id == reservedClientId);
    broker().clients.emplace(client->id, client);
    watch(*client, EPOLL_CTL_ADD);
    OutMessage greeting;
    out_begin(greeting, UBUS_MSG_HELLO, 0, client->id);
    client_send(*client, greeting);
}

void client_readable(Client &client)
{
    static char buffer[readSize];
    if (client.doomed)
        return;
    const ssize_t count = recv(client.fd, buffer, sizeof buffer, MSG_DONTWAIT);
    if (count < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    if (count <= 0) {
        client_doom(client);
        return;
    }
    const auto length = static_cast<size_t>(count);
    if (!client.unread.empty()) {
        continue_message(client, buffer, length);
        return;
    }
    const size_t done = consume(client, buffer, length);
    client.unread.assign(buffer + done, buffer + length);
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
    const size_t length = headerLength + out.length;
    if (client.queue.bytes && client.queue.bytes + length > queueLimit)
        flush(client);
    if (client.queue.bytes && client.queue.bytes + length > queueLimit) {
        client_doom(client);
        return;
    }
    queue_add(client.queue, out, shared);
    if (!client.dirty) {
        client.dirty = true;
        broker().dirty.push_back(&client);
    }
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
            if (!bus.dirty[i]->blocked)
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
