// MAC addresses: six bytes, and their text form.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>

#include <endian.h>

/** The six bytes of a MAC as arguments of "%02x:%02x:%02x:%02x:%02x:%02x". */
#define VESK_MAC_ARGS(mac) (mac)[0], (mac)[1], (mac)[2], (mac)[3], (mac)[4], (mac)[5]

inline constexpr int MAC_BYTES = 6;
inline constexpr size_t MAC_TEXT_LENGTH = 17; // without the terminator

/** Whether a MAC is 00:00:00:00:00:00. */
inline bool mac_is_zero(const uint8_t *mac)
{
    constexpr uint8_t zero[MAC_BYTES] = {};
    return memcmp(mac, zero, sizeof zero) == 0;
}

/** Values of the hexadecimal digits, -1 for every other character. */
inline constexpr auto macDigits = [] {
    std::array<int8_t, 256> values;
    values.fill(-1);
    for (int8_t i = 0; i < 16; ++i)
        values[static_cast<uint8_t>("0123456789abcdef"[i])] =
            values[static_cast<uint8_t>("0123456789ABCDEF"[i])] = i;
    return values;
}();

/**
 * Reads the six bytes of "aa:bb:cc:dd:ee:ff", either case, from the first MAC_TEXT_LENGTH characters; what
 * follows is the caller's to judge. False, with `mac` untouched, if they are something else.
 */
inline bool mac_parse(const char *text, uint8_t *mac)
{
    uint64_t bytes = 0; // in a register: bytes in memory would have to be waited for
    for (int i = 0; i < MAC_BYTES; ++i) {
        if (i > 0 && *text++ != ':')
            return false;
        const int high = macDigits[static_cast<uint8_t>(text[0])];
        const int low = high < 0 ? -1 : macDigits[static_cast<uint8_t>(text[1])];
        if (low < 0)
            return false;
        bytes = bytes << 8 | static_cast<unsigned>(high * 16 + low);
        text += 2;
    }
    bytes = htobe64(bytes << 16);
    memcpy(mac, &bytes, MAC_BYTES);
    return true;
}
