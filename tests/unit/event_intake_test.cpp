// Datagrams through the real loopback socket of the private root, of every length.
#include "tests/unit/fixtures.h"

struct EventIntake : testing::Test {
    int sender = socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in address = { AF_INET, htons(42033), { htonl(INADDR_LOOPBACK) }, {} };
    const sockaddr *to = reinterpret_cast<const sockaddr *>(&address);
    void SetUp() override {
        fill_event_records();
        fakeDevice.rc["rilk_getAssocReqFrame"] = -1; // a join keeps the bytes it came with
        vesk_init_dev_event();
    }
    void TearDown() override { vesk_deinit_dev_event(), close(sender); }
    /** One datagram in, one callback; the payload that came of it. */
    Bytes feed(const Bytes &bytes) {
        fakeBus.signals.clear();
        EXPECT_EQ(sendto(sender, bytes.data(), bytes.size(), 0, to, sizeof address), static_cast<long>(bytes.size()));
        fakeLoop.fds.at(0)->cb(fakeLoop.fds[0], ULOOP_READ);
        return fakeBus.signals.empty() ? Bytes{} : fakeBus.signals[0].payload;
    }
};

TEST_F(EventIntake, EveryCutLengthReadsAsZerosBehindItsEnd) {
    // clang-format off
    const std::tuple<uint32_t, size_t, std::string, size_t> events[] = { // id, bytes, signal, bytes written by the handler
        { 1, 27, "", 0 }, { 2, 16, "", 0 }, { 3, 621, "ClientJoin 619", 107 }, { 4, 22, "ClientLeave 22", 16 },
        { 5, 84, "ChChange 84", 0 }, { 6, 6, "ChPassCac 6", 0 }, { 7, 6, "RadarNotif 6", 0 }, { 8, 282, "BtmQuery 282", 16 },
        { 9, 296, "BtmResp 296", 28 }, { 10, 281, "BcnReport 281", 16 }, { 11, 28, "EnrolleeWpsFinish 28", 16 },
        { 12, 25, "MapR2AssocResp 25", 16 }, { 13, 24, "", 0 }, { 14, 12, "UnsafeChannel 12", 0 } };
    // clang-format on
    vesk_get_vesk_info()->logLevel = 2;
    for (const auto &[id, size, signal, written] : events) {
        const Bytes whole = datagram(id, "ath0", Bytes(size, 0x5a));
        for (size_t length = 0; length <= whole.size(); length++) {
            SCOPED_TRACE(testing::Message() << "event " << id << " length " << length);
            memset(vesk_get_vesk_info()->chBitmap, 0, sizeof vesk_get_vesk_info()->chBitmap);
            feed(datagram(99, "", Bytes(4055, 0xff))); // nothing of it may show
            const Bytes payload = feed(Bytes(whole.begin(), whole.begin() + static_cast<long>(length)));
            const bool unknown = (id == 3 || id == 9) && length > 4 && length < 8; // "a", "at", "ath"
            const bool unchanged = id == 14 && length <= 41;                       // an all-zero set isn't news
            const bool silent = length == 0 || unknown || unchanged || signal.empty();
            ASSERT_EQ(sent(), silent ? Texts{} : Texts{ "vesk" + signal });
            for (size_t i = written; i < payload.size(); i++) ASSERT_EQ(payload[i], 41 + i < length ? 0x5a : 0) << i;
        }
    }
}

TEST_F(EventIntake, SocketIsReachedFromThisHostOnlyAndGoesWithTheDaemon) {
    const int fd = fakeLoop.fds.at(0)->fd;
    sockaddr_in own = {};
    socklen_t size = sizeof own;
    int reuse = 0;
    getsockname(fd, reinterpret_cast<sockaddr *>(&own), &size);
    EXPECT_EQ(own.sin_addr.s_addr, htonl(INADDR_LOOPBACK));
    getsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &reuse, &(size = sizeof reuse));
    EXPECT_NE(reuse, 0); // a successor needn't wait
    vesk_deinit_dev_event();
    EXPECT_EQ(fcntl(fd, F_GETFD), -1);
    EXPECT_TRUE(fakeLoop.fds.empty());
}

TEST_F(EventIntake, FindsTheHandlerOrDropsSilently) {
    fake_clear_log();
    for (uint32_t id : { 0u, 15u, 256u, 0x01000003u, 0xffffffffu }) {
        EXPECT_TRUE(feed(datagram(id, "ath0", Bytes(621, 1))).empty());
        EXPECT_FALSE(vesk_get_eventCb(id));
    }
    fcntl(fakeLoop.fds[0]->fd, F_SETFL, O_NONBLOCK);
    fakeLoop.fds[0]->cb(fakeLoop.fds[0], ULOOP_READ); // nothing there: the read fails
    EXPECT_EQ(fake_log(), "");
    EXPECT_EQ(feed(datagram(10, "ath0", Bytes(4956, 7))), Bytes(281, 7).name(0, "ath0.v0"));
    EXPECT_EQ(feed(datagram(4, std::string(37, 'n'), Bytes(22, 7))), Bytes(22, 7).name(0, "nnnnnnnnnnnnnn"));
    EXPECT_NE(fake_log().find(" [" + std::string(36, 'n') + "] "), std::string::npos); // ends in its field
}
