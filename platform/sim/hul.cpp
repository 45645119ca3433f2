// libhul.so: the device's Wi-Fi settings, read from the same simulated device.
#include "platform/sim/sim.h"

#include <algorithm>
#include <cstdio>

namespace
{

template <class T, class Fill>
int band_get(const char *function, int32_t actualBand, T *out, Fill fill)
{
    return sim_get(function, out, sizeof(T), [&](SimDevice &device) {
        const SimRadio *radio = sim_radio_of_band(device, actualBand);
        if (!radio)
            return -1;
        *out = {};
        fill(*radio, *out);
        return 0;
    });
}

} // namespace

int hul_EM_getWorkRole(int32_t *role)
{
    return sim_get(__func__, role, sizeof *role, [&](SimDevice &device) {
        *role = device.role;
        return 0;
    });
}

int hul_getRadioInfo(int32_t actualBand, HulRadioInfo *info)
{
    return band_get(__func__, actualBand, info, [&](const SimRadio &radio, HulRadioInfo &value) {
        value.radioId = actualBand;
        value.isAcsEnabled = radio.acs;
        value.isEnabled = radio.enabled;
    });
}

int hul_getCountryID(char *countryCode, int32_t size)
{
    if (size <= 0)
        return -1;
    return sim_get(__func__, countryCode, static_cast<size_t>(size), [&](SimDevice &device) {
        snprintf(countryCode, static_cast<size_t>(size), "%s", device.country);
        return 0;
    });
}

int hul_getRadioChannelList(int32_t actualBand, HulChannelList *list)
{
    return band_get(__func__, actualBand, list, [](const SimRadio &radio, HulChannelList &value) {
        const size_t count = std::min<size_t>(radio.channels.size(), VESK_WIRE_CHANNELS);
        value.chListNums = static_cast<int32_t>(count);
        for (size_t i = 0; i < count; i++) {
            value.chList[i] = radio.channels[i].ch;
            value.chAttr[i] = radio.channels[i].attr;
        }
    });
}

int hul_getRadioExcludedChannelList(int32_t actualBand, HulExcludedChannelList *list)
{
    return band_get(__func__, actualBand, list, [](const SimRadio &radio, HulExcludedChannelList &value) {
        const size_t count = std::min<size_t>(radio.excluded.size(), VESK_WIRE_CHANNELS);
        value.chListNums = static_cast<int32_t>(count);
        for (size_t i = 0; i < count; i++)
            value.entries[i] = { radio.excluded[i].ch, 0, radio.excluded[i].attr };
    });
}

int hul_getEnabledVapCfg(const char *ifName, HulVapCfg *cfg)
{
    return sim_get(__func__, cfg, sizeof *cfg, [&](SimDevice &device) {
        SimRadio *radio;
        const SimVap *vap = sim_vap(device, ifName, &radio);
        if (!vap)
            return -1;
        *cfg = {};
        cfg->encryptMode = vap->encrypt;
        cfg->authMode = vap->auth;
        sim_copy(cfg->keyPassphrase, vap->key);
        cfg->vapAttr = vap->attr;
        return 0;
    });
}
