// The client library when the broker goes, and when it comes back.
#include "foundation/ubus_headers.h"
#include "tests/bus/harness.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

namespace
{
int lost;

struct Loss : testing::Test {
    Broker broker;
    ubus_context *ctx = ubus_connect(broker.path.c_str());
    blob_buf args = {};
    void SetUp() override
    {
        ASSERT_NE(ctx, nullptr);
        blobmsg_buf_init(&args);
        lost = 0;
        ctx->connection_lost = [](ubus_context *) {
            lost++;
            uloop_end();
        };
    }
    void TearDown() override
    {
        ubus_free(ctx);
        blob_buf_free(&args);
        uloop_done();
    }
};

int serve_nothing(ubus_context *, ubus_object *, ubus_request_data *, const char *, blob_attr *)
{
    return 0;
}

TEST_F(Loss, CompletesRequestsThenReportsIt)
{
    // A server that never answers: a connection without a loop.
    Wire server(broker.path);
    const uint32_t object = server.add_object("");
    ubus_request request;
    static int status;
    status = -1;
    ASSERT_EQ(ubus_invoke_async(ctx, object, "m", args.head, &request), 0);
    request.complete_cb = [](ubus_request *, int code) {
        EXPECT_EQ(lost, 0);
        status = code;
    };
    ubus_complete_request_async(ctx, &request);
    ubus_add_uloop(ctx);
    broker.stop(SIGKILL);
    uloop_run();
    EXPECT_EQ(status, UBUS_STATUS_TIMEOUT);
    EXPECT_EQ(lost, 1);
    EXPECT_FALSE(ctx->sock.registered);
    EXPECT_EQ(ubus_invoke(ctx, object, "m", args.head, nullptr, nullptr, 1000), UBUS_STATUS_INVALID_ARGUMENT);
}

TEST_F(Loss, EndsASynchronousCall)
{
    Wire server(broker.path);
    const uint32_t object = server.add_object("");
    const pid_t killer = in_child([this] {
        usleep(50000);
        kill(broker.pid, SIGKILL);
    });
    EXPECT_EQ(ubus_invoke(ctx, object, "m", args.head, nullptr, nullptr, 5000),
              UBUS_STATUS_CONNECTION_FAILED);
    EXPECT_EQ(lost, 1);
    end_child(killer, SIGKILL);
}

TEST_F(Loss, ReconnectPutsObjectsBack)
{
    const ubus_method methods[] = { UBUS_METHOD_NOARG("m", serve_nothing) };
    ubus_object_type type = UBUS_OBJECT_TYPE("t", methods);
    ubus_object object = { .name = "test.back", .type = &type, .methods = methods, .n_methods = 1 };
    static int heard;
    heard = 0;
    ubus_event_handler handler = {};
    handler.cb = [](ubus_context *, ubus_event_handler *, const char *, blob_attr *) { heard++; };
    ASSERT_EQ(ubus_add_object(ctx, &object), 0);
    ASSERT_EQ(ubus_register_event_handler(ctx, &handler, "e"), 0);
    ubus_add_uloop(ctx);
    broker.stop(SIGKILL);
    uloop_run();
    EXPECT_EQ(ubus_connect(broker.path.c_str()), nullptr);
    EXPECT_EQ(ubus_connect(std::string(200, 'p').c_str()), nullptr);
    EXPECT_EQ(ubus_reconnect(ctx, broker.path.c_str()), UBUS_STATUS_CONNECTION_FAILED);
    broker.start();
    ASSERT_EQ(ubus_reconnect(ctx, broker.path.c_str()), 0);
    EXPECT_FALSE(ctx->sock.registered); // the caller's to do
    ubus_add_uloop(ctx);
    const uint32_t listenerId = handler.obj.id;

    ubus_context *other = ubus_connect(broker.path.c_str());
    uint32_t id = 0;
    EXPECT_EQ(ubus_lookup_id(other, "test.back", &id), 0);
    EXPECT_EQ(id, object.id);
    EXPECT_EQ(ubus_send_event(other, "e", args.head), 0);
    uloop_run_timeout(50);
    EXPECT_EQ(heard, 0); // patterns are the caller's, too
    EXPECT_EQ(ubus_register_event_handler(ctx, &handler, "e"), 0);
    EXPECT_EQ(handler.obj.id, listenerId);
    EXPECT_EQ(ubus_send_event(other, "e", args.head), 0);
    for (int i = 0; i < 3; i++)
        uloop_run_timeout(50);
    EXPECT_EQ(heard, 1);
    ubus_free(other);
    EXPECT_EQ(ubus_remove_object(ctx, &object), 0);
}

} // namespace
