// The client library against a broker: calls with every outcome, serving, events, a broker that goes and
// comes back.
#include "tests/bus/harness.h"

namespace {
ubus_request_data deferred;

int echo(ubus_context *ctx, ubus_object *, ubus_request_data *req, const char *, blob_attr *msg) {
    static const blobmsg_policy policy = { "code", BLOBMSG_TYPE_INT32 };
    blob_attr *code;
    blobmsg_parse(&policy, 1, &code, blob_data(msg), static_cast<unsigned int>(blob_len(msg)));
    ubus_send_reply(ctx, req, msg);
    return code ? static_cast<int>(blobmsg_get_u32(code)) : 0;
}

int never(ubus_context *ctx, ubus_object *, ubus_request_data *req, const char *, blob_attr *) {
    ubus_defer_request(ctx, req, &deferred);
    return 1; // of no meaning once deferred
}

/** Answers the last `never` before its own call. */
int release(ubus_context *ctx, ubus_object *, ubus_request_data *, const char *, blob_attr *) {
    for (int i = 0; i < 2; i++) ubus_send_reply(ctx, &deferred, nullptr);
    ubus_complete_deferred_request(ctx, &deferred, 8);
    return 0;
}

int later(ubus_context *ctx, ubus_object *obj, ubus_request_data *req, const char *method, blob_attr *msg) {
    static ubus_context *served;
    static uloop_timeout timer;
    served = ctx;
    timer.cb = [](uloop_timeout *) { release(served, nullptr, nullptr, nullptr, nullptr); };
    uloop_timeout_set(&timer, 30);
    return never(ctx, obj, req, method, msg);
}

pid_t brokerPid;

int end_broker(ubus_context *, ubus_object *, ubus_request_data *, const char *, blob_attr *) {
    return kill(brokerPid, SIGKILL);
}

void serve(const Broker &broker) {
    const ubus_method methods[] = { UBUS_METHOD_NOARG("echo", echo), UBUS_METHOD_NOARG("never", never),
                                    UBUS_METHOD_NOARG("later", later), UBUS_METHOD_NOARG("release", release),
                                    UBUS_METHOD_NOARG("end_broker", end_broker) };
    ubus_object_type type = UBUS_OBJECT_TYPE("test", methods);
    ubus_object object = { .name = "test.server", .type = &type, .methods = methods, .n_methods = 5 };
    brokerPid = broker.pid;
    ubus_context *ctx = ubus_connect(broker.path.c_str());
    if (!ctx || ubus_add_object(ctx, &object) != 0) _exit(1);
    ubus_add_uloop(ctx);
    uloop_run();
}

int lost;

const auto content = [](blob_attr *msg) { return std::string(static_cast<char *>(blob_data(msg)), blob_len(msg)); };

struct Client : testing::Test {
    Broker broker;
    pid_t server = in_child([this] { serve(broker); });
    ubus_context *ctx = ubus_connect(broker.path.c_str());
    blob_buf args = {};
    uint32_t object = 0;
    int replies = 0;
    std::string lastReply;

    void SetUp() override {
        ASSERT_NE(ctx, nullptr);
        ASSERT_TRUE(eventually([this] { return ubus_lookup_id(ctx, "test.server", &object) == 0; }));
        blobmsg_buf_init(&args);
        lost = 0;
        ctx->connection_lost = [](ubus_context *) { lost++, uloop_end(); };
    }
    void TearDown() override {
        ubus_free(ctx);
        blob_buf_free(&args);
        end_child(server);
        uloop_done();
    }
    int call(const char *method, int timeout = PATIENCE) {
        replies = 0;
        auto take = [](ubus_request *req, int, blob_attr *msg) {
            static_cast<Client *>(req->priv)->replies++;
            static_cast<Client *>(req->priv)->lastReply = content(msg);
        };
        return ubus_invoke(ctx, object, method, args.head, take, this, timeout);
    }
    void put(const char *name, const std::string &value) {
        blobmsg_add_field(&args, BLOBMSG_TYPE_UNSPEC, name, value.data(), static_cast<unsigned>(value.size()));
    }
};

TEST_F(Client, GetsTheStatusTheHandlerReturned) {
    for (const int code : { 0, 1, 13, 77, -1, -2147483647 }) {
        blobmsg_buf_init(&args);
        blobmsg_add_u32(&args, "code", static_cast<uint32_t>(code));
        EXPECT_EQ(call("echo"), code);
        EXPECT_EQ(replies, 1) << code; // the data comes whatever the status
    }
    EXPECT_EQ(call("unknown"), UBUS_STATUS_METHOD_NOT_FOUND);
    EXPECT_EQ(ubus_invoke(ctx, object + 1, "echo", args.head, nullptr, nullptr, PATIENCE), UBUS_STATUS_NOT_FOUND);
    EXPECT_EQ(ubus_invoke(ctx, object, "echo", nullptr, nullptr, nullptr, PATIENCE), UBUS_STATUS_OK);
}

TEST_F(Client, GetsBackWhatItSent) {
    blobmsg_add_u64(&args, "n", 0x8102030405060708);
    put("record", std::string("\0\1\2", 3));
    std::vector<size_t> sizes = { 0, 1, 70000, 1000000, 1024 * 1024, 0 };
    for (size_t size = 16000; size < 16500; size += 4)
        sizes.push_back(size); // some of them fill a buffer to its last bytes
    for (const size_t size : sizes) {
        const bool fits = size < 1024 * 1024; // else it is refused here, and the next one passes
        put("big", std::string(size, 'b'));
        EXPECT_EQ(call("echo"), fits ? UBUS_STATUS_OK : UBUS_STATUS_INVALID_ARGUMENT);
        EXPECT_EQ(replies, fits) << size;
        EXPECT_TRUE(!fits || lastReply == content(args.head));
        blobmsg_buf_init(&args);
    }
}

TEST_F(Client, SkipsWhatIsNoMessage) {
    int pair[2];
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, pair), 0);
    dup2(pair[0], ctx->sock.fd); // the test is the broker now
    for (const char *head :
         { "01010000 00000000 00000004", "00010000 00000000 00000003", "00010000 00000000 00100001" }) {
        const std::string answer = attr(UBUS_ATTR_STATUS, be32(77));
        const auto seq = static_cast<uint16_t>(ctx->request_seq + 1);
        const std::string all = bytes(head) + message(UBUS_MSG_STATUS, seq, object, answer);
        EXPECT_EQ(write(pair[1], all.data(), all.size()), static_cast<ssize_t>(all.size()));
        EXPECT_EQ(call("echo"), 77) << head;
    }
    close(pair[0]);
    close(pair[1]);
}

TEST_F(Client, WaitsForALateAnswerNoLongerThanTold) {
    EXPECT_EQ(call("later"), 8);
    EXPECT_EQ(replies, 2);
    const int64_t begin = now_ms();
    EXPECT_EQ(call("never", 60), UBUS_STATUS_TIMEOUT);
    EXPECT_GE(now_ms() - begin, 55);
    EXPECT_EQ(call("never", -1), UBUS_STATUS_TIMEOUT);
    EXPECT_EQ(call("release"), 0); // the late answer, which comes first, must not be taken for this call's
    EXPECT_EQ(replies, 0);
}

int completed; // status of the last asynchronous call

void start(ubus_context *ctx, uint32_t object, const char *method, blob_attr *args, ubus_request *request) {
    ASSERT_EQ(ubus_invoke_async(ctx, object, method, args, request), 0);
    request->complete_cb = [](ubus_request *, int status) { completed = lost ? -200 : status, uloop_end(); };
    ubus_complete_request_async(ctx, request);
}

TEST_F(Client, CallsWithoutWaiting) {
    ubus_request late, aborted;
    completed = -100;
    start(ctx, object, "echo", args.head, &aborted);
    ubus_abort_request(ctx, &aborted);
    start(ctx, object, "never", args.head, &late);
    EXPECT_EQ(call("echo"), 0); // a synchronous one in between
    EXPECT_EQ(completed, -100);
    Wire other(broker.path);
    for (const auto &[method, answers] : { std::pair("echo", 1u), { "echo", 1u }, { "release", 0u } }) {
        const std::string body = object_attr(object) + method_attr(method) + data_attr("");
        EXPECT_EQ(other.ask(message(UBUS_MSG_INVOKE, 1, object, body)), 0);
        EXPECT_EQ(other.data.size(), answers) << method; // and nothing of an earlier answer
    }
    ubus_add_uloop(ctx);
    uloop_run();
    EXPECT_EQ(completed, 8);
}

std::vector<std::string> heard;

// Makes a synchronous call while it is at it.
void hear(ubus_context *ctx, ubus_event_handler *, const char *id, blob_attr *msg) {
    static bool inside;
    uint32_t unused;
    EXPECT_FALSE(std::exchange(inside, true));
    ubus_lookup_id(ctx, "nothing", &unused);
    inside = false;
    heard.push_back(id + std::to_string(blob_len(msg)));
    if (heard.size() == 60) uloop_end();
}

// Events come in order, never inside another handler, however they are batched.
TEST_F(Client, HearsEventsInOrder) {
    Wire other(broker.path);
    ubus_event_handler listener = {};
    listener.cb = hear;
    EXPECT_EQ(ubus_register_event_handler(ctx, &listener, "e*"), 0);
    ubus_add_uloop(ctx);
    for (int i = 0; i < 60; i++)
        EXPECT_EQ(other.ask(event("e" + std::to_string(i) + ":", text_field("x", std::string(4999, 'x')))), 0);
    uloop_run();
    for (size_t i = 0; i < 60; i++) EXPECT_EQ(heard[i], "e" + std::to_string(i) + ":5008");
    EXPECT_EQ(ubus_send_event(ctx, "ubus.mine", args.head), UBUS_STATUS_PERMISSION_DENIED);
    EXPECT_EQ(ubus_unregister_event_handler(ctx, &listener), 0);
}

TEST_F(Client, LossCompletesCallsThenIsReported) {
    ubus_request request;
    start(ctx, object, "never", args.head, &request);
    EXPECT_EQ(call("end_broker"), UBUS_STATUS_CONNECTION_FAILED);
    EXPECT_EQ(completed, UBUS_STATUS_TIMEOUT);
    EXPECT_EQ(lost, 1);
    EXPECT_EQ(call("echo"), UBUS_STATUS_INVALID_ARGUMENT);
    EXPECT_EQ(ubus_connect(broker.path.c_str()), nullptr);
    EXPECT_EQ(ubus_connect(std::string(200, 'p').c_str()), nullptr);
    EXPECT_EQ(ubus_reconnect(ctx, broker.path.c_str()), UBUS_STATUS_CONNECTION_FAILED);
    broker.stop();
    broker.start();
    EXPECT_EQ(ubus_reconnect(ctx, broker.path.c_str()), 0);
    EXPECT_EQ(call("echo"), UBUS_STATUS_NOT_FOUND);
}
} // namespace
