// The capability store: slots, bits, and its limit.
#include "tests/unit/fixtures.h"

/** Stations differ only behind a zero byte. */
static void set(uint8_t n, uint8_t byte0, uint8_t byte1) {
    vesk_set_sta_cap(Bytes{ 2, 0, 0, 0, 1, n }.data(), Bytes{ byte0, byte1 }.data());
}

/** All three bytes as one number; -1: unknown. */
static int get(uint8_t n) {
    uint8_t cap[3];
    return vesk_get_sta_cap(Bytes{ 2, 0, 0, 0, 1, n }.data(), cap) ? -1 : cap[0] << 16 | cap[1] << 8 | cap[2];
}

TEST(StaCap, KeepsTwoBitsInTheFirstSlotThatFits) {
    vesk_init_g_sta_cap();
    set(0, 0xff, 0xff);
    EXPECT_EQ(get(0), 0x800100);
    set(0, 0x7f, 0xfe);
    EXPECT_EQ(get(0), 0);
    for (uint8_t n = 1; n < 65; n++) set(n, 0x80, 0);
    EXPECT_EQ(words(get(0), get(63), get(64)), words(0, 0x800000, -1)); // full: the last is dropped
    vesk_unset_sta_cap(Bytes{ 2, 0, 0, 0, 1, 5 }.data());
    set(63, 0, 1); // goes into the free slot in front of its own, and is found there
    EXPECT_EQ(get(63), 0x100);
    vesk_unset_sta_cap(Bytes{ 2, 0, 0, 0, 1, 63 }.data()); // clears both
    for (uint8_t n = 64; n < 67; n++) set(n, 0x80, 0);
    EXPECT_EQ(words(get(63), get(65), get(66)), words(-1, 0x800000, -1));
}
