// The client library against a broker: calls with every outcome, serving, events.
#include "foundation/ubus_headers.h"
#include "tests/bus/harness.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

namespace
{
const blobmsg_policy codePolicy[] = { { "code", BLOBMSG_TYPE_INT32 }, { "any", BLOBMSG_TYPE_UNSPEC } };

int give_back(ubus_context *ctx, ubus_object *, ubus_request_data *req, const char *, blob_attr *msg)
{
    return ubus_send_reply(ctx, req, msg);
}

int give_status(ubus_context *ctx, ubus_object *, ubus_request_data *req, const char *, blob_attr *msg)
{
    blob_attr *code;
    blobmsg_parse(codePolicy, 1, &code, blob_data(msg), static_cast<unsigned int>(blob_len(msg)));
    ubus_send_reply(ctx, req, msg);
    return code ? static_cast<int>(blobmsg_get_u32(code)) : -99;
}

ubus_request_data deferred;
ubus_context *served;

int give_later(ubus_context *ctx, ubus_object *, ubus_request_data *req, const char *, blob_attr *)
{
    static uloop_timeout timer;
    timer.cb = [](uloop_timeout *) {
        blob_buf reply = {};
        blobmsg_buf_init(&reply);
        ubus_send_reply(served, &deferred, reply.head);
        ubus_send_reply(served, &deferred, nullptr);
        ubus_complete_deferred_request(served, &deferred, 8);
    };
    served = ctx;
    ubus_defer_request(ctx, req, &deferred);
    uloop_timeout_set(&timer, 30);
    return 1; // of no meaning once deferred
}

// Makes a synchronous call of its own before it looks at its arguments.
int give_back_slowly(ubus_context *ctx, ubus_object *obj, ubus_request_data *req, const char *method,
                     blob_attr *msg)
{
    uint32_t id = 0;
    if (ubus_lookup_id(ctx, "test.server", &id) != 0 || id != obj->id || strcmp(method, "nested") != 0)
        return UBUS_STATUS_UNKNOWN_ERROR;
    return ubus_send_reply(ctx, req, msg);
}

int never(ubus_context *ctx, ubus_object *, ubus_request_data *req, const char *, blob_attr *)
{
    ubus_defer_request(ctx, req, &deferred);
    return 0;
}

const ubus_method serverMethods[] = {
    UBUS_METHOD_NOARG("echo", give_back),   UBUS_METHOD("status", give_status, codePolicy),
    UBUS_METHOD_NOARG("later", give_later), UBUS_METHOD_NOARG("nested", give_back_slowly),
    UBUS_METHOD_NOARG("never", never),      UBUS_METHOD_MASK("half", never, codePolicy, 2),
};
ubus_object_type serverType = UBUS_OBJECT_TYPE("test.server", serverMethods);

void serve(const std::string &path)
{
    static ubus_object object = { .name = "test.server",
                                  .type = &serverType,
                                  .methods = serverMethods,
                                  .n_methods = ARRAY_SIZE(serverMethods) };
    ubus_context *ctx = ubus_connect(path.c_str());
    if (!ctx || ubus_add_object(ctx, &object) != 0)
        _exit(1);
    ubus_add_uloop(ctx);
    uloop_run();
}

struct Client : testing::Test {
    Broker broker;
    pid_t server = in_child([this] { serve(broker.path); });
    ubus_context *ctx = ubus_connect(broker.path.c_str());
    blob_buf args = {};
    uint32_t object = 0;
    int replies = 0;
    std::string lastReply;

    void SetUp() override
    {
        ASSERT_NE(ctx, nullptr);
        ASSERT_TRUE(eventually([this] { return ubus_lookup_id(ctx, "test.server", &object) == 0; }));
        blobmsg_buf_init(&args);
    }
    void TearDown() override
    {
        ubus_free(ctx);
        blob_buf_free(&args);
        end_child(server, SIGKILL);
        uloop_done();
    }
    static void take(ubus_request *req, int type, blob_attr *msg)
    {
        auto *self = static_cast<Client *>(req->priv);
        EXPECT_EQ(type, UBUS_MSG_DATA);
        self->replies++;
        self->lastReply.assign(static_cast<char *>(blob_data(msg)), blob_len(msg));
    }
    std::string sent() const { return { static_cast<char *>(blob_data(args.head)), blob_len(args.head) }; }
    int call(const char *method, int timeout = 3000)
    {
        replies = 0;
        return ubus_invoke(ctx, object, method, args.head, take, this, timeout);
    }
};

TEST_F(Client, GetsTheStatusTheHandlerReturned)
{
    for (const int code : { 0, 1, 2, 6, 13, 77, -1, -2147483647 }) {
        SCOPED_TRACE(code);
        blobmsg_buf_init(&args);
        blobmsg_add_u32(&args, "code", static_cast<uint32_t>(code));
        EXPECT_EQ(call("status"), code);
        EXPECT_EQ(replies, 1); // the data comes whatever the status
    }
    EXPECT_EQ(call("unknown"), UBUS_STATUS_METHOD_NOT_FOUND);
    EXPECT_EQ(ubus_invoke(ctx, object + 1, "echo", args.head, nullptr, nullptr, 1000), UBUS_STATUS_NOT_FOUND);
    EXPECT_EQ(ubus_invoke(ctx, object, "echo", nullptr, nullptr, nullptr, 1000), UBUS_STATUS_OK);
}

TEST_F(Client, GetsBackWhatItSent)
{
    blobmsg_add_u64(&args, "n", 0x8102030405060708);
    blobmsg_add_field(&args, BLOBMSG_TYPE_UNSPEC, "record", "\0\1\2", 3);
    blobmsg_add_field(&args, BLOBMSG_TYPE_UNSPEC, "null", nullptr, 0);
    std::vector<unsigned int> sizes = { 0, 1, 70000, 1000000, 1024 * 1024, 0 };
    for (unsigned int size = 16000; size < 16500; size += 4)
        sizes.push_back(size); // some of them fill a buffer to its last bytes
    for (const unsigned int size : sizes) {
        SCOPED_TRACE(size);
        const bool fits = size < 1024 * 1024; // else it is refused here, and the next one passes
        blobmsg_add_field(&args, BLOBMSG_TYPE_UNSPEC, "big", std::string(size, 'b').data(), size);
        for (const char *method : { "echo", "nested" }) {
            EXPECT_EQ(call(method), fits ? UBUS_STATUS_OK : UBUS_STATUS_INVALID_ARGUMENT);
            EXPECT_EQ(replies, fits);
            EXPECT_TRUE(!fits || lastReply == sent());
        }
        blobmsg_buf_init(&args);
    }
}

TEST_F(Client, WaitsForALateAnswerNoLongerThanTold)
{
    EXPECT_EQ(call("later"), 8);
    EXPECT_EQ(replies, 2);
    const int64_t begin = now_ms();
    EXPECT_EQ(call("never", 60), UBUS_STATUS_TIMEOUT);
    EXPECT_GE(now_ms() - begin, 55);
    EXPECT_EQ(call("never", -1), UBUS_STATUS_TIMEOUT);
    EXPECT_EQ(call("later", 5), UBUS_STATUS_TIMEOUT);
    usleep(60000); // the late answer must not be taken for the next call's
    EXPECT_EQ(call("echo"), 0);
    EXPECT_EQ(replies, 1);
}

struct Call {
    ubus_request request;
    int status = -100;
    int replies = 0;
    bool abortInside = false;
    bool ends = false; // the loop, when it is complete
};

void start(ubus_context *ctx, uint32_t object, const char *method, blob_buf *args, Call *call)
{
    ASSERT_EQ(ubus_invoke_async(ctx, object, method, args->head, &call->request), 0);
    call->request.priv = call;
    call->request.data_cb = [](ubus_request *req, int, blob_attr *) {
        auto *self = static_cast<Call *>(req->priv);
        self->replies++;
        if (self->abortInside)
            ubus_abort_request(req->ctx, req);
    };
    call->request.complete_cb = [](ubus_request *req, int status) {
        auto *self = static_cast<Call *>(req->priv);
        self->status = status;
        if (self->ends)
            uloop_end();
    };
    ubus_complete_request_async(ctx, &call->request);
}

TEST_F(Client, CallsWithoutWaiting)
{
    ubus_add_uloop(ctx);
    Call late, aborted, abortedInside, unknown, last;
    abortedInside.abortInside = true;
    last.ends = true;
    start(ctx, object, "later", &args, &late);
    start(ctx, object, "echo", &args, &aborted);
    ubus_abort_request(ctx, &aborted.request);
    start(ctx, object, "echo", &args, &abortedInside);
    start(ctx, object, "unknown", &args, &unknown);
    EXPECT_EQ(call("echo"), 0); // a synchronous one in between
    usleep(50000);
    start(ctx, object, "echo", &args, &last);
    uloop_run();
    const std::pair<const Call &, std::pair<int, int>> expected[] = {
        { late, { 8, 2 } },
        { aborted, { -100, 0 } },
        { abortedInside, { -100, 1 } },
        { unknown, { UBUS_STATUS_METHOD_NOT_FOUND, 0 } },
        { last, { 0, 1 } },
    };
    for (const auto &[done, result] : expected)
        EXPECT_EQ(std::pair(done.status, done.replies), result);
}

struct Listener {
    ubus_event_handler handler;
    std::vector<std::string> heard;
    bool inside;
};

// Makes a synchronous call while it is at it.
void hear(ubus_context *ctx, ubus_event_handler *ev, const char *id, blob_attr *msg)
{
    auto *self = reinterpret_cast<Listener *>(ev);
    EXPECT_FALSE(self->inside);
    self->inside = true;
    uint32_t unused;
    ubus_lookup_id(ctx, "nothing", &unused);
    self->inside = false;
    self->heard.push_back(id + std::to_string(blob_len(msg)));
    if (std::string_view(id) == "end")
        uloop_end();
}

// Events come in order, never inside another handler, however they are batched.
TEST_F(Client, HearsEventsInOrder)
{
    ubus_context *other = ubus_connect(broker.path.c_str());
    Listener listener = {};
    listener.handler.cb = hear;
    EXPECT_EQ(ubus_register_event_handler(ctx, &listener.handler, nullptr), UBUS_STATUS_INVALID_ARGUMENT);
    EXPECT_EQ(ubus_register_event_handler(ctx, &listener.handler, "e*"), 0);
    EXPECT_EQ(ubus_register_event_handler(ctx, &listener.handler, "f"), 0);
    ubus_add_uloop(ctx);
    EXPECT_EQ(ubus_send_event(other, "ubus.mine", args.head), UBUS_STATUS_PERMISSION_DENIED);
    EXPECT_EQ(ubus_send_event(other, "g", args.head), 0);
    EXPECT_EQ(ubus_send_event(other, "f", args.head), 0);
    blobmsg_add_field(&args, BLOBMSG_TYPE_UNSPEC, "x", std::string(5000, 'x').data(), 5000);
    std::vector<std::string> expected = { "f0" };
    for (int i = 0; i < 60; i++) {
        const std::string id = "e" + std::to_string(i) + ":";
        EXPECT_EQ(ubus_send_event(other, id.c_str(), args.head), 0);
        expected.push_back(id + "5008");
    }
    EXPECT_EQ(ubus_send_event(other, "end", args.head), 0);
    expected.push_back("end5008");
    uloop_run();
    EXPECT_EQ(listener.heard, expected);
    EXPECT_EQ(ubus_unregister_event_handler(ctx, &listener.handler), 0);
    EXPECT_EQ(listener.handler.obj.id, 0u);
    ubus_free(other);
}

TEST_F(Client, TakesItsObjectOffTheBus)
{
    const ubus_method methods[] = { UBUS_METHOD_NOARG("m", give_back) };
    ubus_object_type type = UBUS_OBJECT_TYPE("t", methods);
    ubus_object mine = { .name = "test.mine", .type = &type, .methods = methods, .n_methods = 1 };
    ubus_object twin = mine;
    for (int i = 0; i < 2; i++) {
        EXPECT_EQ(ubus_add_object(ctx, &mine), 0);
        EXPECT_NE(type.id, 0u);
        EXPECT_EQ(ubus_add_object(ctx, &twin), UBUS_STATUS_INVALID_ARGUMENT);
        EXPECT_EQ(ubus_remove_object(ctx, &mine), 0);
        EXPECT_EQ(mine.id + type.id, 0u);
    }
    EXPECT_EQ(ubus_remove_object(ctx, &mine), UBUS_STATUS_NOT_FOUND);
}

} // namespace
