// Client of the bus: one connection per context, objects served and called, events sent and received.
// Not thread-safe; a context belongs to the thread of its event loop. Handlers never nest: what arrives
// while a handler or a synchronous call is under way waits until that is over.
#pragma once

#include <libubox/blobmsg.h>
#include <libubox/list.h>
#include <libubox/uloop.h>
#include <ubusmsg.h>

#ifdef __cplusplus
extern "C" {
#endif

struct ubus_context;
struct ubus_object;
struct ubus_object_data;
struct ubus_request;
struct ubus_request_data;
struct ubus_event_handler;

// Serves one call; the result is the call's status unless the request was deferred. `msg` is valid
// until the handler returns, also across synchronous calls made inside it.
typedef int (*ubus_handler_t)(struct ubus_context *ctx, struct ubus_object *obj,
                              struct ubus_request_data *req, const char *method, struct blob_attr *msg);
typedef void (*ubus_state_handler_t)(struct ubus_context *ctx, struct ubus_object *obj);
typedef void (*ubus_lookup_handler_t)(struct ubus_context *ctx, struct ubus_object_data *obj, void *priv);
typedef void (*ubus_event_handler_t)(struct ubus_context *ctx, struct ubus_event_handler *ev,
                                     const char *type, struct blob_attr *msg);
// One piece of a call's result; `msg` is valid until the callback returns.
typedef void (*ubus_data_handler_t)(struct ubus_request *req, int type, struct blob_attr *msg);
typedef void (*ubus_fd_handler_t)(struct ubus_request *req, int fd);
typedef void (*ubus_complete_handler_t)(struct ubus_request *req, int ret);

#define UBUS_METHOD_NOARG(_name, _handler)                                                                   \
    {                                                                                                        \
        .name = _name, .handler = _handler                                                                   \
    }
#define UBUS_METHOD(_name, _handler, _policy)                                                                \
    {                                                                                                        \
        .name = _name, .handler = _handler, .policy = _policy, .n_policy = ARRAY_SIZE(_policy)               \
    }
#define UBUS_OBJECT_TYPE(_name, _methods)                                                                    \
    {                                                                                                        \
        .name = _name, .id = 0, .methods = _methods, .n_methods = ARRAY_SIZE(_methods)                       \
    }

struct ubus_method {
    const char *name; // NULL: any method
    ubus_handler_t handler;
    unsigned long mask; // which arguments the signature lists; 0: all
    unsigned long tags;
    const struct blobmsg_policy *policy;
    int n_policy;
};

struct ubus_object_type {
    const char *name;
    uint32_t id; // the broker's, 0: not yet known there
    const struct ubus_method *methods;
    int n_methods;
};

struct ubus_object {
    struct list_head link; // the context's objects
    const char *name;
    uint32_t id; // 0: not on the bus
    const char *path;
    struct ubus_object_type *type;
    ubus_state_handler_t subscribe_cb;
    bool has_subscribers;
    const struct ubus_method *methods;
    int n_methods;
};

struct ubus_event_handler {
    struct ubus_object obj;
    ubus_event_handler_t cb;
};

// Growable buffers of a connection; of no concern to users.
struct ubus_stream {
    char *rx;
    size_t rx_cap, rx_head, rx_tail;
    char *rx_pinned; // buffer that a running callback's message stands in
    char *tx;        // results of the running handler, sent together with its status
    size_t tx_len;
    struct ubus_request_data *serving;
};

struct ubus_context {
    struct list_head requests;
    struct list_head objects;
    struct list_head pending;
    struct uloop_fd sock;
    struct uloop_timeout pending_timer;
    uint32_t local_id;
    uint16_t request_seq;
    bool cancel_poll;
    int stack_depth;
    void (*connection_lost)(struct ubus_context *ctx);
    void (*monitor_cb)(struct ubus_context *ctx, uint32_t seq, struct blob_attr *data);
    struct ubus_stream stream;
};

struct ubus_object_data {
    uint32_t id;
    uint32_t type_id;
    const char *path;
    struct blob_attr *signature; // may be NULL
};

struct ubus_acl_key {
    const char *user;
    const char *group;
    const char *object;
};

struct ubus_request_data {
    uint32_t object;
    uint32_t peer;
    uint16_t seq;
    struct ubus_acl_key acl;
    bool deferred;
    int fd;
    int req_fd;
};

struct ubus_request {
    struct list_head list;
    struct list_head pending;
    int status_code;
    bool status_msg;
    bool blocked;
    bool cancelled;
    bool notify;
    uint32_t peer;
    uint16_t seq;
    ubus_data_handler_t raw_data_cb; // the whole DATA message
    ubus_data_handler_t data_cb;
    ubus_fd_handler_t fd_cb;
    ubus_complete_handler_t complete_cb;
    int fd;
    struct ubus_context *ctx;
    void *priv;
};

// path NULL: /var/run/ubus.sock, where vesk-busd listens by default. Blocks until the broker's greeting.
// Calls uloop_init().
struct ubus_context *ubus_connect(const char *path);
int ubus_connect_ctx(struct ubus_context *ctx, const char *path);
// New connection, all known objects added again; loop registration and event patterns are the caller's.
int ubus_reconnect(struct ubus_context *ctx, const char *path);
void ubus_free(struct ubus_context *ctx);
void ubus_shutdown(struct ubus_context *ctx);
static inline void ubus_add_uloop(struct ubus_context *ctx)
{
    uloop_fd_add(&ctx->sock, ULOOP_BLOCKING | ULOOP_READ);
}
// For users without the loop: takes what has arrived.
static inline void ubus_handle_event(struct ubus_context *ctx)
{
    ctx->sock.cb(&ctx->sock, ULOOP_READ);
}
const char *ubus_strerror(int error);

// All of these wait for the broker's answer and return its status.
int ubus_lookup(struct ubus_context *ctx, const char *path, ubus_lookup_handler_t cb, void *priv);
// With no hit that may be seen, *id stays as it is although 0 is returned: preset it.
int ubus_lookup_id(struct ubus_context *ctx, const char *path, uint32_t *id);
int ubus_add_object(struct ubus_context *ctx, struct ubus_object *obj);
int ubus_remove_object(struct ubus_context *ctx, struct ubus_object *obj);
int ubus_send_event(struct ubus_context *ctx, const char *id, struct blob_attr *data);
int ubus_register_event_handler(struct ubus_context *ctx, struct ubus_event_handler *ev, const char *pattern);
static inline int ubus_unregister_event_handler(struct ubus_context *ctx, struct ubus_event_handler *ev)
{
    return ubus_remove_object(ctx, &ev->obj);
}
// timeout: milliseconds, 0: none. msg NULL: no arguments. `cb` finds priv in req->priv.
int ubus_invoke(struct ubus_context *ctx, uint32_t obj, const char *method, struct blob_attr *msg,
                ubus_data_handler_t cb, void *priv, int timeout);

// Sends a call and zeroes *req; then set the callbacks and list it with ubus_complete_request_async.
// *req must live until complete_cb or ubus_abort_request. 0 or UBUS_STATUS_INVALID_ARGUMENT.
int ubus_invoke_async(struct ubus_context *ctx, uint32_t obj, const char *method, struct blob_attr *msg,
                      struct ubus_request *req);
void ubus_complete_request_async(struct ubus_context *ctx, struct ubus_request *req);
int ubus_complete_request(struct ubus_context *ctx, struct ubus_request *req, int timeout);
// No callback after this; inside a callback of the same request it must live until that returns.
void ubus_abort_request(struct ubus_context *ctx, struct ubus_request *req);
void ubus_flush_requests(struct ubus_context *ctx);

// Any number of times before the call's status. 0, or UBUS_STATUS_NO_DATA when the connection is dead.
int ubus_send_reply(struct ubus_context *ctx, struct ubus_request_data *req, struct blob_attr *msg);
static inline void ubus_defer_request(struct ubus_context *ctx, struct ubus_request_data *req,
                                      struct ubus_request_data *new_req)
{
    (void)ctx;
    memcpy(new_req, req, sizeof *req);
    req->deferred = true;
}
void ubus_complete_deferred_request(struct ubus_context *ctx, struct ubus_request_data *req, int ret);

#ifdef __cplusplus
}
#endif
