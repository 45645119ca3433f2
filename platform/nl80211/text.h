// Texts in fixed fields.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace radio
{

/** Copies a text into a field, cut and terminated; the rest of the field is zero. */
template <size_t N>
void put_text(char (&field)[N], const char *text)
{
    memset(field, 0, N);
    for (size_t i = 0; i + 1 < N && text[i] != '\0'; i++)
        field[i] = text[i];
}

struct MacText {
    char text[18];
};

/** 02:00:00:00:00:01 */
inline MacText mac_text(const uint8_t *mac)
{
    MacText to;
    snprintf(to.text, sizeof to.text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4],
             mac[5]);
    return to;
}

/** An address of one station: neither of a group nor all zero. */
inline bool is_station_mac(const uint8_t *mac)
{
    static constexpr uint8_t none[6] = {};
    return (mac[0] & 1) == 0 && memcmp(mac, none, sizeof none) != 0;
}

/** Exactly the form that mac_text writes, in either case of letters. False for anything else. */
inline bool read_mac(const char *text, uint8_t (&mac)[6])
{
    int end = -1;
    return strlen(text) == 17 &&
           sscanf(text, "%2hhx:%2hhx:%2hhx:%2hhx:%2hhx:%2hhx%n", &mac[0], &mac[1], &mac[2], &mac[3], &mac[4],
                  &mac[5], &end) == 6 &&
           end == 17;
}

} // namespace radio
