// The daemon's model of the device: one daemon record, two radios, sixteen VAPs, the station store. All are
// static, zero at process start, and live as long as the process; they are reached through the accessors of
// source/vesk_main/records.h. These records never leave the process, so their layout is the compiler's.
#pragma once

#include <cstdio>

#include "foundation/kvhmgr.h"
#include "foundation/ubus_headers.h"
#include "include/rilk.h"

inline constexpr int VESK_RADIOS = 2;
inline constexpr int VESK_VAPS = 16;
inline constexpr int VESK_IFNAME_SIZE = 16;
inline constexpr int VESK_STATIONS = 256; // capacity of the station store
inline constexpr int VESK_STA_BUCKETS = 64;
inline constexpr int VESK_MAX_STA_PER_RADIO = 128;

inline constexpr int32_t VESK_BAND_24G = 0; // band word of radio 0
inline constexpr int32_t VESK_BAND_5GA = 3; // band word of radio 1
inline constexpr int VESK_BAND_WORDS = 5;   // band words run from 0 to 4

inline constexpr uint8_t VESK_VAP_BSTA = 0x80; // vapAttr: backhaul station
inline constexpr uint8_t VESK_VAP_BBSS = 0x40; // vapAttr: backhaul BSS

// Limits of the product configuration's lists.
inline constexpr int VESK_CFG_ETHERNET = 6;
inline constexpr int VESK_CFG_WIFI = 2;
inline constexpr int VESK_CFG_VAPS = 8;
inline constexpr int VESK_CFG_BIAS = 3;
inline constexpr int VESK_CFG_APPS = 16;

struct VeskCfgEthernet {
    uint8_t PhysicalPortNumber;
    uint16_t MaxBitRate;
    char InterfaceName[16];
};

struct VeskCfgVap {
    uint8_t DataModelIndex;
    char InterfaceName[16]; // may have the outer form
    char Mode[32];          // "sta" marks the backhaul station
};

struct VeskCfgBias {
    char ChannelBandwidth[8];
    int8_t BiasIndBm;
};

struct VeskCfgApp {
    char moduleName[32];
    uint8_t loadEnable;
};

struct VeskCfgHeMcs {
    uint16_t RxMapLE80MHz;
    uint16_t TxMapLE80MHz;
    uint16_t RxMap160MHz;
    uint16_t TxMap160MHz;
    uint16_t RxMap80p80MHz;
    uint16_t TxMap80p80MHz;
};
static_assert(sizeof(VeskCfgHeMcs) == 12);

/** One radio of the product configuration. Flags are 1 for a text that begins with "Supported". */
struct VeskCfgWifi {
    char OperatingFrequencyBand[8];
    char ChipsetVendor[16];
    uint8_t MaxSupportedSSIDs;
    char InterfaceName[16];
    char SupportedOperatingChannelBandwidths[32];
    char SupportedStandards[32];
    char SupportedAuthenticationMode[32];
    uint8_t HTShortGI20MHz;
    uint8_t HTShortGI40MHz;
    uint8_t HT40MHz;
    uint8_t HTNumberOfTxStreams;
    uint8_t HTNumberOfRxStreams;
    uint8_t VHTShortGI80MHz;
    uint8_t VHTShortGI160And80p80MHz;
    uint8_t VHTNumberOfTxStreams;
    uint8_t VHTNumberOfRxStreams;
    uint8_t VHT80p80MHz;
    uint8_t VHT160MHz;
    uint8_t VHTSUBeamFormer;
    uint8_t VHTMUBeamFormer;
    uint16_t VHTTxMCS;
    uint16_t VHTRxMCS;
    uint8_t HEULMUMIMO;
    uint8_t HEULMUMIMOOFDMA;
    uint8_t HEDLMUMIMOOFDMA;
    uint8_t HEULOFDMA;
    uint8_t HEDLOFDMA;
    uint8_t HENumberOfTxStreams;
    uint8_t HENumberOfRxStreams;
    uint8_t HE80p80MHz;
    uint8_t HE160MHz;
    uint8_t HESUBeamFormer;
    uint8_t HEMUBeamFormer;
    uint8_t heMcsLen; // bytes of HEMCS: 12 for every loaded row
    VeskCfgHeMcs HEMCS;
    uint8_t vapNum;
    VeskCfgVap Vap[VESK_CFG_VAPS];
    VeskCfgBias NoiseBias[VESK_CFG_BIAS];
    VeskCfgBias RssiBias[VESK_CFG_BIAS];
    int8_t NoCATBias;
};

/** The product configuration; read-only after start, zero where the file says nothing. */
struct VeskConfigInfo {
    char Version[32];
    char Manufacturer[32];
    char ModelName[32];
    char ModelNumber[32];
    char ProductClass[32];
    char EnabledInterfaceNames1905[256]; // 1905EnabledInterfaceNames, comma-separated
    uint8_t MAPProfile;
    int32_t NumberOfWifiRadios;
    int32_t NumberOfEthernetPorts;
    char ConfigPath[32];
    char LogPath[32];
    uint8_t ethernetNum;
    VeskCfgEthernet Ethernet[VESK_CFG_ETHERNET];
    uint8_t wifiNum;
    VeskCfgWifi Wifi[VESK_CFG_WIFI];
    uint8_t appNum;
    VeskCfgApp KorApplicationList[VESK_CFG_APPS];
};

struct VeskChChangePoll {
    uloop_timeout timer;
    int32_t timeItv; // seconds
    uint8_t chEventEnable;
};

struct VeskInfo {
    VeskConfigInfo cfgInfo;
    FILE *logFile; // NULL: lines go to stderr
    int32_t logLevel;
    VeskChChangePoll chChange;
    ubus_object *ubusObj;
    int32_t workRole;
    uloop_timeout checkAllReadyTimer;
    uint32_t chBitmap[3]; // last unsafe channel bitmap
};

struct VeskChAttrList {
    int32_t chListNums;
    uint8_t chList[VESK_WIRE_CHANNELS];
    uint16_t chAttr[VESK_WIRE_CHANNELS];
};

/** A radio. The polling fields are set and read in radio 0's record only: they serve the whole device. */
struct VeskRadioInfo {
    uint8_t status; // non-zero: up
    uint8_t isEnabled;
    int32_t band;       // radio index
    int32_t actualBand; // band word
    uint8_t radioMac[6];
    float txPower; // dBm
    int32_t curChannel;
    int32_t curFreq; // MHz
    char countryCode[8];
    char chipName[16];
    int32_t curBw; // bandwidth index
    int32_t intfNums;
    int32_t maxStaNums;
    char bond[8];
    char operatingStandards[32];
    int32_t chListNums;
    uint8_t curchList[VESK_WIRE_CHANNELS];
    uint16_t curchAttr[VESK_WIRE_CHANNELS];
    uint8_t intfPollEnable;
    uint8_t intfPollCtl; // 1: bandwidth or power differ, the channel poller is to read them
    int32_t intfTimeId;  // timer service identifier
    int32_t intfPollItv; // seconds
    int32_t intfTriggerItv;
    uint8_t intfSupportTrigger;
    uloop_timeout intfEventTimer;
    VeskApIntfInfo apIntf; // radioIfname, vapNums, vapIfname: filled in place by the driver
    VeskCurChannelInfo curChannelInfo;
    VeskIntfStats intfStats;
    VeskChAttrList chAttrList; // curchList less the excluded channels
    uint8_t isAcsEnabled;
    uint8_t isIntfStatEnabled;
    int32_t intfStatItv;    // seconds
    int32_t intfStatTimeId; // shown in logs only
    uloop_timeout intfStatTimer;
    uint8_t setChannel; // pending channel; 0: leave it
    int32_t setBw;      // pending bandwidth index; 5: leave it
    int32_t setResult;  // outcome of the last change
    uloop_timeout setChannelTimer;
};

/** A VAP slot; an empty ifName marks a free one. Slots fill from 0 upwards and are never given back. */
struct VeskVapInfo {
    char radio[16];
    char ifName[16]; // inner name
    char ssid[65];
    char keyPassphrase[65];
    uint16_t authMode;
    uint16_t encryptMode;
    char mode[32];
    uint8_t bssid[6];
    uint8_t bstaPeerBssid[6];
    uint8_t status;
    uint8_t vapAttr;
    uint8_t isBackhaulBss;
    int32_t staNums;
    int32_t band; // radio index
    int32_t actualBand;
    VeskIntfStats intfStats;
};

/** The station store. */
struct VeskStaInfo {
    int32_t timeId;  // shown in logs only
    int32_t timeItv; // seconds
    int32_t timeEventId;
    Kvhmgr staDb; // VeskStaEntry values
    uint8_t isStaPollEnabled;
    uloop_timeout staTimer;
    int32_t threshold; // channel load limit of the poll, compared unsigned
};
