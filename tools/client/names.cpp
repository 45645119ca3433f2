#include "tools/client/names.h"

#include <algorithm>
#include <cstring>
#include <strings.h>
#include <vector>

#include "tools/client/text.h"

namespace
{
std::string name_or_mode(std::span<const ValueName> names, int value)
{
    const char *name = find_name(names, value);
    return name ? name : "mode " + std::to_string(value);
}

/** Two bits a stream, the first stream lowest; 3: the stream isn't there. */
std::string mcs_text(int map, const int (&highest)[3])
{
    std::string text;
    for (int shift = 0; shift < 16; shift += 2) {
        const int code = map >> shift & 3;
        if (code != 3)
            text += (text.empty() ? "MCS 0-" : ", 0-") + std::to_string(highest[code]);
    }
    return text.empty() ? "none" : text;
}

bool is_same(std::string_view a, std::string_view b)
{
    return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

/** Letters to change, add, leave out or swap to make one word of the other. */
size_t edit_distance(std::string_view a, std::string_view b)
{
    std::vector<std::vector<size_t>> d(a.size() + 1, std::vector<size_t>(b.size() + 1));
    for (size_t i = 0; i <= a.size(); i++)
        for (size_t j = 0; j <= b.size(); j++) {
            if (i == 0 || j == 0) {
                d[i][j] = i + j;
                continue;
            }
            d[i][j] =
                std::min({ d[i - 1][j] + 1, d[i][j - 1] + 1, d[i - 1][j - 1] + (a[i - 1] != b[j - 1]) });
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
        }
    return d[a.size()][b.size()];
}
} // namespace

int value_of_name(std::span<const ValueName> names, std::string_view name)
{
    for (const ValueName &row : names)
        if (is_same(row.name, name))
            return row.value;
    return -1;
}

std::string listed_names(std::span<const ValueName> names)
{
    std::string text;
    for (const ValueName &row : names)
        text += (text.empty() ? "" : ", ") + std::string(row.name);
    return text;
}

int band_of(std::string_view text)
{
    static constexpr ValueName words[] = {
        { 0, "0" },    { 1, "1" },      { 2, "2" },   { 3, "3" }, { 4, "4" },  { 0, "2.4" },
        { 0, "2.4g" }, { 0, "2.4ghz" }, { 0, "24g" }, { 3, "5" }, { 3, "5g" }, { 3, "5ghz" },
    };
    return value_of_name(words, text);
}

const char *band_name(int band)
{
    const char *name = find_name(bandNames, band);
    return name ? name : "?";
}

const char *bandwidth_name(int index)
{
    const char *name = index < 5 ? find_name(bandwidthNames, index) : nullptr;
    return name ? name : "unknown";
}

int bandwidth_of(std::string_view text)
{
    for (const ValueName &row : bandwidthNames) {
        const std::string_view name = row.name;
        if (is_same(name, text) || is_same(name.substr(0, name.find(' ')), text))
            return row.value;
    }
    return -1;
}

int bandwidth_mhz(int index)
{
    static constexpr int mhz[] = { 20, 40, 80, 160, 160 };
    return index >= 0 && index < 5 ? mhz[index] : 0;
}

const char *vap_role(uint8_t vapAttr)
{
    const char *name = find_name(vapRoleNames, vapAttr);
    return name ? name : "fronthaul";
}

std::string security_name(int authMode)
{
    return name_or_mode(securityNames, authMode);
}

std::string encryption_name(int encryptMode)
{
    return name_or_mode(encryptionNames, encryptMode);
}

std::string_view inner_name(std::string_view name)
{
    return name.substr(0, name.find('.'));
}

std::string vht_mcs_text(int map)
{
    return mcs_text(map, { 7, 8, 9 });
}

std::string he_mcs_text(int map)
{
    return mcs_text(map, { 7, 9, 11 });
}

bool needs_dfs(int channel, uint16_t attribute)
{
    return (attribute & channelNeedsDfs) || (channel >= 52 && channel <= 144);
}

ChannelBlock channel_block(int band, int channel, int bandwidth)
{
    static constexpr int channels[] = { 1, 2, 4, 8, 4 }; // of 20 MHz; 80+80: the primary's half
    if (band == 0 || bandwidth < 1 || bandwidth > 4)
        return { channel, channel };
    const int base = channel >= 149 ? 149 : 36, span = 4 * channels[bandwidth];
    const int first = base + (channel - base) / span * span;
    return { first, first + span - 4 };
}

bool width_fits(int band, int channel, int bandwidth)
{
    if (bandwidth == 0)
        return true;
    if (band == 0)
        return bandwidth == 1 && channel <= 13;
    // The last block of each width: 40 MHz 157-161, 80 MHz 149-161, 160 MHz 100-128; 165 stands alone.
    static constexpr int lastBelow149[] = { 144, 144, 144, 128, 144 };
    const ChannelBlock block = channel_block(band, channel, bandwidth);
    return channel >= 149 ? bandwidth != 3 && block.last <= 161 : block.last <= lastBelow149[bandwidth];
}

const char *closest_word(std::string_view word, std::span<const char *const> candidates)
{
    const char *best = nullptr;
    size_t least = 1 + std::clamp<size_t>(word.size() / 3, 1, 3);
    for (const char *candidate : candidates) {
        const size_t distance = edit_distance(word, candidate);
        if (distance < least) {
            least = distance;
            best = candidate;
        }
    }
    return best;
}
