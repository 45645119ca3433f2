// What values are called: bands, widths, roles, security. The reference prints the same tables.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

/** A value of a field and its name; a table of them belongs to a field's layout. */
struct ValueName {
    int value;
    const char *name;
};

inline constexpr ValueName bandNames[] = {
    { 0, "2.4 GHz" }, { 1, "5 GHz low" }, { 2, "5 GHz high" }, { 3, "5 GHz" }, { 4, "60 GHz" },
};
inline constexpr ValueName bandwidthNames[] = {
    { 0, "20 MHz" }, { 1, "40 MHz" }, { 2, "80 MHz" }, { 3, "160 MHz" }, { 4, "80+80 MHz" }, { 5, "keep" },
};
inline constexpr ValueName securityNames[] = {
    { 1, "open" },          { 2, "WPA-PSK" },   { 16, "WPA2-EAP" },          { 32, "WPA2-PSK" },
    { 34, "WPA/WPA2-PSK" }, { 64, "WPA3-SAE" }, { 96, "WPA2-PSK/WPA3-SAE" },
};
inline constexpr ValueName encryptionNames[] = {
    { 4, "TKIP" },
    { 8, "CCMP" },
    { 12, "TKIP+CCMP" },
};
inline constexpr ValueName vapRoleNames[] = { { 0x40, "backhaul" }, { 0x80, "backhaul station" } };

/** The name, or NULL. */
constexpr const char *find_name(std::span<const ValueName> names, int value)
{
    for (const ValueName &row : names)
        if (row.value == value)
            return row.name;
    return nullptr;
}

/** Value of a name, whatever its case; -1 if there is none. */
int value_of_name(std::span<const ValueName> names, std::string_view name);
/** "open, WPA-PSK, ..." */
std::string listed_names(std::span<const ValueName> names);

inline constexpr int liveBands[] = { 0, 3 }; // band words that radios run on
inline constexpr int allBands = 5;           // band words run from 0 to 4

/** "2.4", "2.4GHz", "24g" or 0 is band word 0; "5", "5GHz", "5g" or 3 is 3; 1, 2 and 4 stand for themselves.
 * -1 for anything else. */
int band_of(std::string_view text);
const char *band_name(int band);
/** Width of a channel by its bandwidth index. */
const char *bandwidth_name(int index);
/** Index of "20", "80 MHz", "keep"; -1 for what is none. */
int bandwidth_of(std::string_view text);
int bandwidth_mhz(int index);
/** Whether vapAttr is that of a backhaul station. */
constexpr bool is_bsta(uint8_t vapAttr)
{
    return vapAttr == 0x80;
}
/** Fronthaul, backhaul or station, by vapAttr. */
const char *vap_role(uint8_t vapAttr);
/** "WPA2-PSK"; "32?" style for a value without a name: "mode 8". */
std::string security_name(int authMode);
std::string encryption_name(int encryptMode);

/** The name without ".v0" behind it: both forms mean the same interface. */
std::string_view inner_name(std::string_view name);

/** A set of streams' highest rates: "MCS 0-9, 0-9" for two streams. */
std::string vht_mcs_text(int map);
std::string he_mcs_text(int map);

inline constexpr uint16_t channelNeedsDfs = 1; // bit of a channel's attribute word
/** Whether a channel may be used only after a look for radar. */
bool needs_dfs(int channel, uint16_t attribute);
/** First and last channel of the block of that width round a 5 GHz channel; a channel outside stands alone.
 */
struct ChannelBlock {
    int first, last;
};
ChannelBlock channel_block(int band, int channel, int bandwidth);
/** Whether the width exists on that channel. */
bool width_fits(int band, int channel, int bandwidth);

/** The candidate that is a slip of the finger away from a word, NULL if none is. */
const char *closest_word(std::string_view word, std::span<const char *const> candidates);
