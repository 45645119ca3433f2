// The closed platform library, libhul.so: the device's Wi-Fi settings. A radio is named by its band word
// (0: 2.4 GHz, 3: 5 GHz), never by its index. 0 is success.
#pragma once

#include "include/vesk_wire.h"

inline constexpr int32_t HUL_UNSELECTED = 0; // role not decided yet
inline constexpr int32_t HUL_CONTROLLER = 1;

struct [[gnu::packed]] HulRadioInfo {
    int32_t radioId;
    uint8_t unread1[40];
    uint8_t isAcsEnabled;
    uint8_t isEnabled;
    uint8_t unread2[18];
};
VESK_RECORD_SIZE(HulRadioInfo, 64);
VESK_RECORD_AT(HulRadioInfo, isAcsEnabled, 44);
VESK_RECORD_AT(HulRadioInfo, isEnabled, 45);

struct [[gnu::packed]] HulChannelList {
    int32_t chListNums;
    uint8_t chList[VESK_WIRE_CHANNELS];
    uint16_t chAttr[VESK_WIRE_CHANNELS];
};
VESK_RECORD_SIZE(HulChannelList, 196);
VESK_RECORD_AT(HulChannelList, chList, 4);
VESK_RECORD_AT(HulChannelList, chAttr, 68);

struct [[gnu::packed]] HulExcludedChannel {
    uint8_t chList;
    uint8_t unread;
    uint16_t chAttr;
};
VESK_RECORD_SIZE(HulExcludedChannel, 4);

struct [[gnu::packed]] HulExcludedChannelList {
    int32_t chListNums;
    HulExcludedChannel entries[VESK_WIRE_CHANNELS];
};
VESK_RECORD_SIZE(HulExcludedChannelList, 260);
VESK_RECORD_AT(HulExcludedChannelList, entries, 4);

struct [[gnu::packed]] HulVapCfg {
    uint8_t unread[84];
    uint16_t encryptMode;
    uint16_t authMode;
    char keyPassphrase[65];
    uint8_t vapAttr; // 0x40: backhaul BSS
};
VESK_RECORD_SIZE(HulVapCfg, 154);
VESK_RECORD_AT(HulVapCfg, encryptMode, 84);
VESK_RECORD_AT(HulVapCfg, authMode, 86);
VESK_RECORD_AT(HulVapCfg, keyPassphrase, 88);
VESK_RECORD_AT(HulVapCfg, vapAttr, 153);

extern "C" {
int hul_EM_getWorkRole(int32_t *role);
int hul_getRadioInfo(int32_t actualBand, HulRadioInfo *info);
int hul_getCountryID(char *countryCode, int32_t size);
int hul_getRadioChannelList(int32_t actualBand, HulChannelList *list);
int hul_getRadioExcludedChannelList(int32_t actualBand, HulExcludedChannelList *list);
int hul_getEnabledVapCfg(const char *ifName, HulVapCfg *cfg);
}
