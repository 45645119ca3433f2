#include "platform/nl80211/wiphy.h"

#include <cerrno>
#include <cstring>

#include "platform/nl80211/channels.h"
#include "platform/nl80211/netlink.h"

namespace radio
{

namespace
{

uint16_t limits_of(nlattr *const (&values)[NL80211_FREQUENCY_ATTR_MAX + 1])
{
    const auto is = [&](int attr, uint16_t limit) { return values[attr] ? limit : uint16_t{ 0 }; };
    const bool no40 =
        values[NL80211_FREQUENCY_ATTR_NO_HT40_MINUS] && values[NL80211_FREQUENCY_ATTR_NO_HT40_PLUS];
    return static_cast<uint16_t>(is(NL80211_FREQUENCY_ATTR_RADAR, limitRadar) |
                                 is(NL80211_FREQUENCY_ATTR_NO_IR, limitNoIr) | (no40 ? limitNo40 : 0) |
                                 is(NL80211_FREQUENCY_ATTR_NO_80MHZ, limitNo80) |
                                 is(NL80211_FREQUENCY_ATTR_NO_160MHZ, limitNo160));
}

void add_channel(const nlattr *attr, Wiphy &wiphy)
{
    nlattr *values[NL80211_FREQUENCY_ATTR_MAX + 1];
    attr_nested(attr, values);
    const auto frequency = attr_value<uint32_t>(values[NL80211_FREQUENCY_ATTR_FREQ]);
    const int band = band_of_frequency(frequency);
    if (band < 0 || wiphy.count == wiphyChannels)
        return;
    Channel &channel = wiphy.channels[wiphy.count++];
    channel = {};
    channel.frequency = static_cast<uint16_t>(frequency);
    channel.number = static_cast<uint8_t>(channel_of_frequency(frequency));
    channel.band = static_cast<uint8_t>(band);
    channel.limits = limits_of(values);
    channel.disabled = values[NL80211_FREQUENCY_ATTR_DISABLED] != nullptr;
    const auto state = attr_value<uint32_t>(values[NL80211_FREQUENCY_ATTR_DFS_STATE]);
    channel.unavailable = state == NL80211_DFS_UNAVAILABLE;
    channel.cleared = state == NL80211_DFS_AVAILABLE;
}

/** One piece of a wiphy; a band's channels come over several of them. */
void add_piece(const Attributes &answer, Wiphy &wiphy)
{
    attr_each(answer[NL80211_ATTR_WIPHY_BANDS], [&](const nlattr *band) {
        nlattr *values[NL80211_BAND_ATTR_MAX + 1];
        attr_nested(band, values);
        attr_each(values[NL80211_BAND_ATTR_FREQS], [&](const nlattr *one) { add_channel(one, wiphy); });
    });
    const auto features = attr_bytes(answer[NL80211_ATTR_EXT_FEATURES]);
    constexpr size_t dwell = NL80211_EXT_FEATURE_SET_SCAN_DWELL;
    if (dwell / 8 < features.size() && (features[dwell / 8] >> (dwell % 8) & 1) != 0)
        wiphy.scanDwell = true;
}

/** The answer to a question about one phy and to one about the system: a text of two characters. */
void take_country(const Attributes &answer, char (&country)[3])
{
    if (attr_bytes(answer[NL80211_ATTR_REG_ALPHA2]).size() >= 2)
        attr_text(answer[NL80211_ATTR_REG_ALPHA2], country);
}

} // namespace

int wiphy_read(int index, Wiphy &wiphy)
{
    const Query query = {
        .command = NL80211_CMD_GET_WIPHY, .dump = true, .wiphy = index, .splitWiphy = true
    };
    Wiphy found = {};
    const int status = netlink_read<Wiphy>(query, add_piece, found, [](Wiphy &result) { result = {}; });
    if (status == 0 && found.count == 0)
        return -ENODEV;
    if (status == 0)
        wiphy = found;
    return status;
}

const Channel *wiphy_channel(const Wiphy &wiphy, int band, int number)
{
    for (size_t i = 0; i < wiphy.count; i++) {
        if (wiphy.channels[i].band == band && wiphy.channels[i].number == number)
            return &wiphy.channels[i];
    }
    return nullptr;
}

int wiphy_country(int index, char (&country)[3])
{
    char found[3] = {};
    const Query query = { .command = NL80211_CMD_GET_REG, .wiphy = index };
    const int status =
        netlink_read<char[3]>(query, take_country, found, [](char(&result)[3]) { result[0] = '\0'; });
    if (status != 0)
        return status;
    if (found[0] == '\0')
        return -EIO;
    memcpy(country, found, sizeof found);
    return 0;
}

} // namespace radio
