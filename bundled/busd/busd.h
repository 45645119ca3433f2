// The broker's records and what its parts offer each other. One thread; everything a request brings
// about is queued first and sent when the batch of ready descriptors has been served. A client that
// fails or misbehaves is only marked, and let go between two batches.
//
// Memory may be lacking at any time (std::bad_alloc). Whatever throws leaves the records as they were; the
// client whose message it was for is answered UBUS_STATUS_NO_MEMORY or let go, and a line says which.
#pragma once

#include "bundled/busd/queue.h"

#include <map>
#include <string>
#include <unordered_map>
#include <vector>

// More than this unsent, and the client is let go. An empty queue takes any message.
constexpr size_t queueLimit = 4 * 1024 * 1024;
static_assert(queueLimit > 2 * UBUS_MAX_MSGLEN);

// What one client may have the broker keep: signatures, paths and patterns, and objectCost for each object.
// Above that it gets UBUS_STATUS_NO_MEMORY.
constexpr size_t keptLimit = 2 * 1024 * 1024;
constexpr size_t objectCost = 256;

struct Client;

// Methods of an object as the clients that look it up see them; shared by its objects.
struct ObjectType {
    uint32_t id;
    uint32_t objects; // that use it
    std::string signature;
};

struct Object {
    uint32_t id;
    Client *owner;
    ObjectType *type; // may be NULL
    bool named;
    std::string path;
    std::vector<std::string> patterns; // of events it listens to
    size_t kept;                       // bytes that count against its client
};

struct Client {
    int fd;
    uint32_t id;
    bool doomed;    // to be let go
    bool dirty;     // in the list of those with something to send
    bool blocked;   // waits for room in the socket
    Buffer *unread; // begin of a message whose rest is on its way; its capacity ends with the message
    size_t kept;    // bytes, of all its objects
    OutQueue queue;
    std::vector<Object *> objects; // in the order of their creation
};

struct Broker {
    int pollFd;
    uint16_t eventSeq;
    std::unordered_map<uint32_t, Client *> clients;
    std::unordered_map<uint32_t, Object *> objects;
    std::unordered_map<uint32_t, ObjectType *> types;
    std::map<std::string, Object *> paths; // in byte order
    std::vector<Object *> listeners;       // objects with patterns
    std::vector<Client *> dirty;           // these two have room for all clients
    std::vector<Client *> doomed;
};

Broker &broker();

template <class Map>
typename Map::mapped_type find(const Map &map, const typename Map::key_type &key)
{
    const auto found = map.find(key);
    return found == map.end() ? nullptr : found->second;
}

uint32_t random_number();

// A random number from 1024 on that the map doesn't know.
template <class Map>
uint32_t fresh_id(const Map &map)
{
    uint32_t id;
    do
        id = random_number();
    while (id < UBUS_SYSTEM_OBJECT_MAX || map.count(id));
    return id;
}

// client.cpp
void client_accept(int fd);
void client_readable(Client &client);
void client_writable(Client &client);
// Finishes and queues a message; dooms the client when its queue is over the limit. Throws std::bad_alloc,
// and nothing of the message is sent then. Parts that stand in `shared` are not copied.
void client_send(Client &client, OutMessage &out, Buffer *shared = nullptr);
void client_tell(Client &client, OutMessage &out); // the same; dooms a client that there is no memory for
void client_doom(Client &client);
void say_no_memory(const Client &client, const char *outcome); // on standard error
// Counts bytes that are kept for an object of the client; false: they would be too many.
bool client_charge(Client &client, size_t &kept, size_t bytes);
void clients_settle(); // sends what was queued, lets the doomed ones go
void clients_drop_all();

// A request. Attributes of the wrong type count as absent.
struct Request {
    Client &client;
    uint8_t type;
    uint16_t seq;
    uint32_t peer;
    blob_attr *body;
    Buffer *buffer; // in which the body stands; NULL: in one that is used again at once
    blob_attr *attr[UBUS_ATTR_MAX];
};

// dispatch.cpp
void dispatch(Client &client, const ubus_msghdr &header, blob_attr *body, Buffer *buffer);
void answer_begin(const Request &request, OutMessage &out, ubus_msg_type type);

constexpr int noStatus = -1;
// Handlers return the status to answer with, or noStatus.

// object.cpp
int object_add(Request &request);
int object_remove(Request &request);
int object_lookup(Request &request);
void objects_of_gone_client(Client &client);

// event.cpp
int event_call(Request &request);                                // INVOKE of the event object
void event_object_changed(const char *id, const Object &object); // "ubus.object.add" and the like
void event_forget(const Object &object);
