// The two capability bits that a station's join event brings, kept until it leaves, for the station poll to
// add to its entries. A full table drops further stations: the poll then keeps what the driver says.
#include "foundation/mac.h"
#include "source/vesk_station/vesk_station.h"

#include <cstring>

namespace
{

constexpr int VESK_STA_CAPS = 64;
constexpr uint8_t mask_11v = 0x80; // in byte 0
constexpr uint8_t mask_11k = 0x01; // in byte 1

struct VeskStaCap {
    uint8_t mac[6]; // all zero: a free slot
    uint8_t cap[3];
};
static_assert(sizeof(VeskStaCap) == 9);

VeskStaCap gStaCap[VESK_STA_CAPS];

bool holds(const VeskStaCap &slot, const uint8_t *mac)
{
    return memcmp(slot.mac, mac, sizeof slot.mac) == 0;
}

void copy_bits(uint8_t *to, uint8_t from, uint8_t mask)
{
    *to = static_cast<uint8_t>((*to & ~mask) | (from & mask));
}

} // namespace

void vesk_init_g_sta_cap()
{
    memset(gStaCap, 0, sizeof gStaCap);
}

int vesk_get_sta_cap(const uint8_t *mac, uint8_t *cap)
{
    if (mac == nullptr || cap == nullptr)
        return -1;
    for (const VeskStaCap &slot : gStaCap) {
        if (holds(slot, mac)) {
            memcpy(cap, slot.cap, sizeof slot.cap);
            return 0;
        }
    }
    return -1;
}

void vesk_set_sta_cap(const uint8_t *mac, const uint8_t *capBytes)
{
    if (mac == nullptr || capBytes == nullptr)
        return;
    for (VeskStaCap &slot : gStaCap) {
        if (!mac_is_zero(slot.mac) && !holds(slot, mac))
            continue;
        memcpy(slot.mac, mac, sizeof slot.mac);
        copy_bits(&slot.cap[0], capBytes[0], mask_11v);
        copy_bits(&slot.cap[1], capBytes[1], mask_11k);
        return;
    }
}

void vesk_unset_sta_cap(const uint8_t *mac)
{
    if (mac == nullptr)
        return;
    for (VeskStaCap &slot : gStaCap)
        if (holds(slot, mac))
            slot = {};
}
