// Joins completed and sent, leaves, association responses, probes: bytes and lines worked out by hand.
#include "tests/unit/fixtures.h"

struct ClientEvents : testing::Test {
    void SetUp() override { fill_event_records(), vesk_sta_mon_destroy(), vesk_init_g_sta_cap(); }
    static int64_t pollDue() { return fakeLoop.due(&vesk_get_sta_info()->staTimer); }
    static Bytes body(size_t size) { return Bytes(size, 0xee).put(16, STA); }
    static Bytes joinBody(uint16_t n) { return body(621).put(97, Bytes(6)).u16(105, n); }
};

TEST_F(ClientEvents, JoinFrameComesFromTheDriverWithinItsField) {
    // clang-format off
    using Row = std::tuple<uint16_t, int, size_t, const char *, int, int>;
    for (const auto &[announced, rc, has, asked, length, first] : // announced; driver's result and length; asked for; sent
         { Row{ 0, 0, 40, "", 0, 0xee }, Row{ 40, 0, 30, "40", 30, 0x5a }, Row{ 600, 0, 700, "512", 512, 0x5a },
           Row{ 600, -1, 0, "512", 512, 0xee }, Row{ 7, -1, 0, "7", 7, 0xee }, Row{ 40, 0, 0, "40", 0, 0xee } }) {
        // clang-format on
        SetUp();
        fakeDevice.rc["rilk_getAssocReqFrame"] = rc;
        fakeDevice.assocFrame.assign(has, 0x5a);
        Bytes event = joinBody(announced);
        event.resize(1000, 0xee);
        EXPECT_EQ(wdev_client_join_event_process(event.data(), "ath0"), 0);
        EXPECT_TRUE(std::all_of(event.begin() + 621, event.end(), [](uint8_t byte) { return byte == 0xee; }));
        ASSERT_EQ(fakeDevice.log.size(), announced != 0);
        EXPECT_TRUE(!announced || fakeDevice.log[0].args == std::string("ath0 " STA_TEXT " ") + asked);
        const Bytes &payload = fakeBus.signals.at(0).payload;
        EXPECT_EQ(words(payload[105] + 256 * payload[106], +payload[107], +payload[618]),
                  words(length, first, length == 512 ? first : 0xee)); // behind the frame nothing changes
        EXPECT_EQ(messages("ERROR").empty(), announced != 40 || length != 0);
    }
}
