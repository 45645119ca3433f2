// Radio events go out as they came; the unsafe channel set only when it differs.
#include "tests/unit/fixtures.h"

TEST(RadioEvents, GoOutAsTheyCame) {
    fill_event_records();
    VeskChChange event = { 9, 3, 36, 2, 128, "", 17.5f, 44, 3, 130, "11ac", -1.25f, -5 };
    memset(event.oldHwMode, 'x', sizeof event.oldHwMode); // no terminator
    const Bytes before = bytes_of(event);
    EXPECT_EQ(wdev_ch_change_event_process(&event, nullptr), 0);
    for (WdevHandler handler : { wdev_ch_passed_cac_event_process, wdev_radar_notif_process, wdev_radar_notif_process })
        EXPECT_EQ(handler(&event, nullptr), 0);
    EXPECT_EQ(sent(), (Texts{ "veskChChange 84", "veskChPassCac 6", "veskRadarNotif 6", "veskRadarNotif 6" }));
    EXPECT_EQ(fakeBus.signals[0].payload, before);
    EXPECT_EQ(fakeBus.signals[3].payload, Bytes(before.begin(), before.begin() + 6));
    const std::string old =
        " reason=9, radioId=3, oldCh=36, oldBw=2, oldOpClass=128, oldHwMode=" + std::string(32, 'x');
    EXPECT_EQ(messages("INFO").at(0), old + ", oldTxPower=17.500000\n");
    EXPECT_EQ(vesk_get_radio_info()[1].curChannel, 0x124); // the poller's to write
    EXPECT_EQ(wdev_radar_notif_process(nullptr, "ath0") + wdev_unsafe_channel_event_process(nullptr, "ath0"), -2);
}

TEST(RadioEvents, UnsafeChannelsAreSentOnChange) {
    fill_event_records();
    // clang-format off
    const std::string done = " Ubus send successfully [tamlo.pelk.vesk.veskUnsafeChannel]\n";
    const Texts same = { " unsafe channel not change, don't send Signal!\n\n" };
    const Texts one = { " ch_bitmap[1] changed from [0] to [ab] \n\n", " updated ch_bitmap: 2.4G 0, 5G:ab-0 \n\n", done };
    const Texts two = { " ch_bitmap[0] changed from [0] to [80000001] \n\n", " ch_bitmap[2] changed from [0] to [2] \n\n",
                        " updated ch_bitmap: 2.4G 80000001, 5G:ab-2 \n\n", done };
    const std::pair<std::array<uint32_t, 3>, Texts> rows[] = {
        { { 0, 0, 0 }, same }, { { 0, 0xab, 0 }, one }, { { 0, 0xab, 0 }, same }, { { 0x80000001, 0xab, 2 }, two } };
    // clang-format on
    for (const auto &[bits, expected] : rows) {
        fake_clear_log();
        fakeBus.signals.clear();
        Bytes body = Bytes(13).put(1, bytes_of(bits)); // off the alignment of its words
        EXPECT_EQ(wdev_unsafe_channel_event_process(&body[1], nullptr), 0);
        EXPECT_EQ(messages(), expected);
        EXPECT_EQ(sent(), expected == same ? Texts{} : Texts{ "veskUnsafeChannel 12" });
    }
    EXPECT_EQ(fakeBus.signals.at(0).payload, (Bytes{ 1, 0, 0, 0x80, 0xab, 0, 0, 0, 2, 0, 0, 0 }));
}
