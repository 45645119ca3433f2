// libhul.so: the device's Wi-Fi settings, from the kernel, hostapd and vesk-radio.json.
#include "include/hul.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/nl80211/channels.h"
#include "platform/nl80211/device.h"
#include "platform/nl80211/hostapd.h"
#include "platform/nl80211/places.h"
#include "platform/nl80211/rilk.h"
#include "platform/nl80211/wiphy.h"

using namespace radio;

namespace
{

/** Radio of a band word: 0 is 2.4 GHz, 3 all of 5 GHz. */
bool radio_of_band(int32_t actualBand, Radio &radio)
{
    return (actualBand == 0 && device_radio(band24, radio)) ||
           (actualBand == 3 && device_radio(band5, radio));
}

/** Calls `use` for each channel of the radio that the daemon is told of. False if the kernel doesn't answer.
 */
template <class Use>
bool each_channel(const Radio &radio, Use use)
{
    Wiphy wiphy;
    if (wiphy_read(radio.wiphy, wiphy) != 0)
        return false;
    for (size_t i = 0; i < wiphy.count; i++) {
        const Channel &channel = wiphy.channels[i];
        if (channel.band == radio.index && is_listed_channel(radio.index, channel.number))
            use(channel);
    }
    return true;
}

bool is_excluded_by_config(int radio, uint8_t number)
{
    const RadioConfig &config = config_get().radios[radio];
    return memchr(config.excluded, number, config.excludedCount) != nullptr;
}

} // namespace

int hul_EM_getWorkRole(int32_t *role)
{
    if (!role)
        return -1;
    const Config &config = config_get();
    Path path;
    int64_t value = -1;
    if (config.roleFile[0] != '\0' && place(path, "%s", config.roleFile))
        value = read_number(path, -1);
    *role = value >= 0 && value <= UINT8_MAX ? static_cast<int32_t>(value) : config.role;
    return 0;
}

int hul_getRadioInfo(int32_t actualBand, HulRadioInfo *info)
{
    Radio radio;
    if (!info || !radio_of_band(actualBand, radio))
        return -1;
    HulRadioInfo value{};
    value.radioId = radio.wiphy;
    value.isEnabled = config_get().radios[radio.index].enabled;
    value.isAcsEnabled = config_get().radios[radio.index].acs;
    *info = value;
    return 0;
}

int hul_getCountryID(char *countryCode, int32_t size)
{
    Radio radio;
    char country[3];
    if (!countryCode || size <= 0 || (!device_radio(band24, radio) && !device_radio(band5, radio)) ||
        wiphy_country(radio.wiphy, country) != 0)
        return -1;
    snprintf(countryCode, static_cast<size_t>(size), "%s", country);
    return 0;
}

int hul_getRadioChannelList(int32_t actualBand, HulChannelList *list)
{
    Radio radio;
    if (!list || !radio_of_band(actualBand, radio))
        return -1;
    HulChannelList value{};
    int32_t count = 0;
    const bool read = each_channel(radio, [&](const Channel &channel) {
        if (channel.disabled || count == VESK_WIRE_CHANNELS)
            return;
        value.chList[count] = channel.number;
        value.chAttr[count++] = channel.limits;
    });
    value.chListNums = count;
    if (!read)
        return -1;
    *list = value;
    return 0;
}

int hul_getRadioExcludedChannelList(int32_t actualBand, HulExcludedChannelList *list)
{
    Radio radio;
    if (!list || !radio_of_band(actualBand, radio))
        return -1;
    HulExcludedChannelList value{};
    int32_t count = 0;
    const bool read = each_channel(radio, [&](const Channel &channel) {
        const bool isUsable = !channel.disabled && !(channel.limits & limitNoIr) && !channel.unavailable;
        if ((isUsable && !is_excluded_by_config(radio.index, channel.number)) || count == VESK_WIRE_CHANNELS)
            return;
        value.entries[count++] = { channel.number, 0, channel.limits };
    });
    value.chListNums = count;
    if (!read)
        return -1;
    *list = value;
    return 0;
}

int hul_getEnabledVapCfg(const char *ifName, HulVapCfg *cfg)
{
    Security security;
    if (!cfg || !is_name(ifName) || hostapd_ask_security(ifName, security) != 0)
        return -1;
    HulVapCfg value{};
    value.authMode = security.authMode;
    value.encryptMode = security.encryptMode;
    put_text(value.keyPassphrase, security.passphrase);
    value.vapAttr = security.isBackhaul ? 0x40 : 0;
    *cfg = value;
    return 0;
}
