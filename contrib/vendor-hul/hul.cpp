// A vendor's libhul.so, as small as it can be: one access point in Austria, no VAP settings.
//   g++ -std=c++20 -shared -fPIC -I/usr/include/vesk -o libhul.so hul.cpp
//   LD_LIBRARY_PATH=. vesk
#include <cstring>

#include "include/hul.h"

int hul_EM_getWorkRole(int32_t *role)
{
    *role = HUL_CONTROLLER;
    return 0;
}

int hul_getRadioInfo(int32_t actualBand, HulRadioInfo *info)
{
    *info = {}; // actualBand is 0 for 2.4 GHz, 3 for 5 GHz
    info->radioId = actualBand;
    info->isEnabled = 1;
    return 0;
}

int hul_getCountryID(char *countryCode, int32_t size)
{
    return size < 3 ? -1 : (memcpy(countryCode, "AT", 3), 0);
}

int hul_getRadioChannelList(int32_t actualBand, HulChannelList *list)
{
    *list = actualBand == 0 ? HulChannelList{ 3, { 1, 6, 11 }, {} } : HulChannelList{ 2, { 36, 40 }, {} };
    return 0;
}

int hul_getRadioExcludedChannelList(int32_t, HulExcludedChannelList *list)
{
    *list = {};
    return 0;
}

int hul_getEnabledVapCfg(const char *, HulVapCfg *cfg)
{
    *cfg = {};
    return 0;
}
