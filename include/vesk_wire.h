// Records of the bus methods. Each travels as one UNSPEC field: packed, host byte order, no header and no
// version, its exact size being its only protection. Nothing here depends on the bus libraries, so that
// clients can include it alone.
#pragma once

#include <cstddef>
#include <cstdint>

#define VESK_BUS_OBJECT "tamlo.pelk.vesk"
#define VESK_VERSION "1.4.3"

#define VESK_RECORD_SIZE(type, size) static_assert(sizeof(type) == (size), #type)
#define VESK_RECORD_AT(type, field, at) static_assert(offsetof(type, field) == (at), #type "." #field)

inline constexpr int VESK_WIRE_CHANNELS = 64;     // channels a radio lists at most
inline constexpr int VESK_WIRE_VAPS = 8;          // VAPs a radio has at most
inline constexpr int VESK_WIRE_STATIONS = 256;    // entries of staInfo
inline constexpr int VESK_WIRE_OFF_CHANNELS = 32; // entries of offChInfo
inline constexpr int VESK_WIRE_NEIGHBORS = 256;   // entries of nbAPInfo
inline constexpr int VESK_WIRE_1905_NAMES = 32;   // names of intfList
inline constexpr int VESK_WIRE_NOL_CHANNELS = 59; // entries of nolChList
inline constexpr int VESK_WIRE_BCN_CHANNELS = 64; // bytes of a beacon request's channel list
inline constexpr int VESK_WIRE_BCN_ELEMENTS = 32; // elements of a beacon request
inline constexpr int VESK_WIRE_BCN_ELEMENT_LEN = 32;
inline constexpr int VESK_WIRE_BTM_TARGETS = 32; // targets of a BTM request
inline constexpr int VESK_WIRE_IE_LEN = 256;     // data bytes of a vendor element

/** getVersionInfo: info. */
struct [[gnu::packed]] WireVersionInfo {
    char name[32];
    char version[32];
};
VESK_RECORD_SIZE(WireVersionInfo, 64);
VESK_RECORD_AT(WireVersionInfo, version, 32);

/** getRadioInfo: radioInfo. */
struct [[gnu::packed]] WireRadioInfo {
    int32_t band; // the argument as given
    uint8_t radioMac[6];
    char radioIfname[16];
    uint8_t status; // non-zero: up
    uint8_t isEnabled;
    uint8_t isAcsEnabled;
    uint8_t reserved1[3];
    int32_t curChannel;
    int32_t curFreq; // MHz
    char bond[8];
    char countryCode[8];
    int32_t maxStaNums;
    int32_t chListNums;
    uint8_t curchList[VESK_WIRE_CHANNELS];
    uint16_t curchAttr[VESK_WIRE_CHANNELS];
    float txPower; // dBm
    int32_t curBw; // bandwidth index
    uint8_t reserved2[9];
    char operatingStandards[32];
    uint8_t reserved3[3];
};
VESK_RECORD_SIZE(WireRadioInfo, 308);
VESK_RECORD_AT(WireRadioInfo, radioMac, 4);
VESK_RECORD_AT(WireRadioInfo, radioIfname, 10);
VESK_RECORD_AT(WireRadioInfo, status, 26);
VESK_RECORD_AT(WireRadioInfo, isEnabled, 27);
VESK_RECORD_AT(WireRadioInfo, isAcsEnabled, 28);
VESK_RECORD_AT(WireRadioInfo, curChannel, 32);
VESK_RECORD_AT(WireRadioInfo, curFreq, 36);
VESK_RECORD_AT(WireRadioInfo, bond, 40);
VESK_RECORD_AT(WireRadioInfo, countryCode, 48);
VESK_RECORD_AT(WireRadioInfo, maxStaNums, 56);
VESK_RECORD_AT(WireRadioInfo, chListNums, 60);
VESK_RECORD_AT(WireRadioInfo, curchList, 64);
VESK_RECORD_AT(WireRadioInfo, curchAttr, 128);
VESK_RECORD_AT(WireRadioInfo, txPower, 256);
VESK_RECORD_AT(WireRadioInfo, curBw, 260);
VESK_RECORD_AT(WireRadioInfo, operatingStandards, 273);

/** getRadioApIntfsInfo: apIfacInfo. */
struct [[gnu::packed]] WireApIntfsInfo {
    char radioIfname[16];
    int32_t vapNums;
    char vapIfname[VESK_WIRE_VAPS][16]; // outer names
};
VESK_RECORD_SIZE(WireApIntfsInfo, 148);
VESK_RECORD_AT(WireApIntfsInfo, vapNums, 16);
VESK_RECORD_AT(WireApIntfsInfo, vapIfname, 20);

/** getRadioIntfStats and getVapIntfStats: intfStats. The driver's counters but for one slot. */
struct [[gnu::packed]] WireIntfStats {
    uint64_t counters1[4];
    uint64_t reserved1; // this slot of the driver's record is not carried over
    uint64_t counters2[11];
    uint16_t value1;
    uint16_t value2;
    uint32_t reserved2;
};
VESK_RECORD_SIZE(WireIntfStats, 136);
VESK_RECORD_AT(WireIntfStats, reserved1, 32);
VESK_RECORD_AT(WireIntfStats, counters2, 40);
VESK_RECORD_AT(WireIntfStats, value1, 128);
VESK_RECORD_AT(WireIntfStats, value2, 130);

/** getVapInfo: vapInfo. */
struct [[gnu::packed]] WireVapInfo {
    char radio[16];
    char vapName[16]; // the argument as given
    char ssid[65];
    char keyPassphrase[65];
    uint16_t authMode;
    uint16_t supportedModes[9]; // fixed list
    uint8_t reserved1[14];
    uint16_t encryptMode;
    char mode[32];
    char network[16]; // "lan"
    uint8_t reserved2[2];
    int32_t maxStations; // 128
    int32_t reserved3;
    uint8_t bssid[6];
    uint8_t bstaPeerBssid[6];
    uint8_t status;
    uint8_t reserved4[2];
    uint8_t vapAttr; // 0x80 backhaul station, 0x40 backhaul BSS, else fronthaul
    uint8_t reserved5[2];
    uint8_t isBackhaulBss;
    uint8_t reserved6[5];
};
VESK_RECORD_SIZE(WireVapInfo, 280);
VESK_RECORD_AT(WireVapInfo, vapName, 16);
VESK_RECORD_AT(WireVapInfo, ssid, 32);
VESK_RECORD_AT(WireVapInfo, keyPassphrase, 97);
VESK_RECORD_AT(WireVapInfo, authMode, 162);
VESK_RECORD_AT(WireVapInfo, supportedModes, 164);
VESK_RECORD_AT(WireVapInfo, encryptMode, 196);
VESK_RECORD_AT(WireVapInfo, mode, 198);
VESK_RECORD_AT(WireVapInfo, network, 230);
VESK_RECORD_AT(WireVapInfo, maxStations, 248);
VESK_RECORD_AT(WireVapInfo, bssid, 256);
VESK_RECORD_AT(WireVapInfo, bstaPeerBssid, 262);
VESK_RECORD_AT(WireVapInfo, status, 268);
VESK_RECORD_AT(WireVapInfo, vapAttr, 271);
VESK_RECORD_AT(WireVapInfo, isBackhaulBss, 274);

/** get1905interfacesList: intfList. */
struct [[gnu::packed]] Wire1905List {
    int32_t count;
    char names[VESK_WIRE_1905_NAMES][16];
};
VESK_RECORD_SIZE(Wire1905List, 516);
VESK_RECORD_AT(Wire1905List, names, 4);

/** One station of staInfo. Unnamed values of the driver keep their place as value1, value2... */
struct [[gnu::packed]] WireStation {
    uint8_t mac[6];
    uint8_t reserved1[2];
    int32_t rssi; // dBm, -119 to -1; 0: unknown
    int32_t value1;
    int32_t value2; // same range as rssi
    int32_t isBhInt;
    int32_t value3;
    int32_t value4;
    int32_t tx;
    int32_t rx;
    uint32_t time;
    uint8_t reserved2[2];
    uint8_t is11v;
    uint8_t is11k;
    uint8_t value5;
    char text1[64];
    char text2[16];
    char vapIntf[16]; // the caller's name
    uint8_t reserved3[3];
    int32_t bw; // curBw of the VAP's radio
    WireIntfStats stats;
};
VESK_RECORD_SIZE(WireStation, 288);
VESK_RECORD_AT(WireStation, rssi, 8);
VESK_RECORD_AT(WireStation, value1, 12);
VESK_RECORD_AT(WireStation, value2, 16);
VESK_RECORD_AT(WireStation, isBhInt, 20);
VESK_RECORD_AT(WireStation, value3, 24);
VESK_RECORD_AT(WireStation, value4, 28);
VESK_RECORD_AT(WireStation, tx, 32);
VESK_RECORD_AT(WireStation, rx, 36);
VESK_RECORD_AT(WireStation, time, 40);
VESK_RECORD_AT(WireStation, is11v, 46);
VESK_RECORD_AT(WireStation, is11k, 47);
VESK_RECORD_AT(WireStation, value5, 48);
VESK_RECORD_AT(WireStation, text1, 49);
VESK_RECORD_AT(WireStation, text2, 113);
VESK_RECORD_AT(WireStation, vapIntf, 129);
VESK_RECORD_AT(WireStation, bw, 148);
VESK_RECORD_AT(WireStation, stats, 152);

/** getStaInfo: staInfo. */
struct [[gnu::packed]] WireStaInfo {
    int32_t count;
    char vapIntf[16];
    uint8_t reserved[4];
    WireStation stations[VESK_WIRE_STATIONS];
};
VESK_RECORD_SIZE(WireStaInfo, 73752);
VESK_RECORD_AT(WireStaInfo, vapIntf, 4);
VESK_RECORD_AT(WireStaInfo, stations, 24);

/** getCurChannelInfo: channelInfo. Unnamed values are the driver's. */
struct [[gnu::packed]] WireCurChannelInfo {
    int32_t channel;
    uint32_t ccaInbss;
    int32_t value1;
    int32_t value2;
    int32_t value3;
    int32_t ccaIdle; // percent
    uint32_t ccaTxUtil;
    uint32_t reserved;
    uint64_t counters[5];
    int32_t noise; // dBm
    int32_t value4;
    int32_t time; // seconds since the epoch
    int32_t value5;
};
VESK_RECORD_SIZE(WireCurChannelInfo, 88);
VESK_RECORD_AT(WireCurChannelInfo, value3, 16);
VESK_RECORD_AT(WireCurChannelInfo, ccaIdle, 20);
VESK_RECORD_AT(WireCurChannelInfo, ccaTxUtil, 24);
VESK_RECORD_AT(WireCurChannelInfo, counters, 32);
VESK_RECORD_AT(WireCurChannelInfo, noise, 72);
VESK_RECORD_AT(WireCurChannelInfo, value4, 76);
VESK_RECORD_AT(WireCurChannelInfo, time, 80);
VESK_RECORD_AT(WireCurChannelInfo, value5, 84);

/** One channel of offChInfo. */
struct [[gnu::packed]] WireOffChannel {
    int32_t ch;
    int32_t inC;
    int32_t chnUtil; // percent
    int32_t noise;   // raw, dBm
    uint8_t cac;
    uint8_t reserved[7];
    double smoothedNoise; // dBm; 0.0: no sample yet
    int32_t time;         // seconds since the epoch of the last 5 GHz result
    int32_t dwell;        // milliseconds
};
VESK_RECORD_SIZE(WireOffChannel, 40);
VESK_RECORD_AT(WireOffChannel, inC, 4);
VESK_RECORD_AT(WireOffChannel, chnUtil, 8);
VESK_RECORD_AT(WireOffChannel, noise, 12);
VESK_RECORD_AT(WireOffChannel, cac, 16);
VESK_RECORD_AT(WireOffChannel, smoothedNoise, 24);
VESK_RECORD_AT(WireOffChannel, time, 32);
VESK_RECORD_AT(WireOffChannel, dwell, 36);

/** getOffChannelInfo: offChInfo. */
struct [[gnu::packed]] WireOffChInfo {
    int32_t radioBand;
    int32_t scanNums; // channels the radio lists, not entries filled
    WireOffChannel channels[VESK_WIRE_OFF_CHANNELS];
};
VESK_RECORD_SIZE(WireOffChInfo, 1288);
VESK_RECORD_AT(WireOffChInfo, scanNums, 4);
VESK_RECORD_AT(WireOffChInfo, channels, 8);

/** One neighbouring access point of nbAPInfo. */
struct [[gnu::packed]] WireNeighbor {
    int32_t channel;
    int32_t rssi; // dBm
    uint8_t bssid[6];
    char ssid[65];
    uint8_t reserved;
    uint16_t value1;
    uint16_t value2;
    char text[32];
};
VESK_RECORD_SIZE(WireNeighbor, 116);
VESK_RECORD_AT(WireNeighbor, rssi, 4);
VESK_RECORD_AT(WireNeighbor, bssid, 8);
VESK_RECORD_AT(WireNeighbor, ssid, 14);
VESK_RECORD_AT(WireNeighbor, value1, 80);
VESK_RECORD_AT(WireNeighbor, value2, 82);
VESK_RECORD_AT(WireNeighbor, text, 84);

/** getNeighborAPInfo: nbAPInfo. */
struct [[gnu::packed]] WireNbAPInfo {
    int32_t radioBand;
    int32_t nbNums;
    WireNeighbor neighbors[VESK_WIRE_NEIGHBORS];
};
VESK_RECORD_SIZE(WireNbAPInfo, 29704);
VESK_RECORD_AT(WireNbAPInfo, nbNums, 4);
VESK_RECORD_AT(WireNbAPInfo, neighbors, 8);

/** getBstaIntfInfo: info. */
struct [[gnu::packed]] WireBstaIntf {
    char ifName[16];
    uint8_t mac[6];
};
VESK_RECORD_SIZE(WireBstaIntf, 22);
VESK_RECORD_AT(WireBstaIntf, mac, 16);

/** applyBackhaulCredentialToBsta: bh. */
struct [[gnu::packed]] WireBackhaulCred {
    int32_t band;
    char ifName[16];
    char ssid[65];
    char ssidKey[65];
    uint8_t reserved1[2];
    int32_t encryption; // not 0
    int32_t authMode;   // not 0
    uint8_t bssid[6];
    uint8_t channel;
    uint8_t reserved2;
    int32_t bw;
};
VESK_RECORD_SIZE(WireBackhaulCred, 172);
VESK_RECORD_AT(WireBackhaulCred, ifName, 4);
VESK_RECORD_AT(WireBackhaulCred, ssid, 20);
VESK_RECORD_AT(WireBackhaulCred, ssidKey, 85);
VESK_RECORD_AT(WireBackhaulCred, encryption, 152);
VESK_RECORD_AT(WireBackhaulCred, authMode, 156);
VESK_RECORD_AT(WireBackhaulCred, bssid, 160);
VESK_RECORD_AT(WireBackhaulCred, channel, 166);
VESK_RECORD_AT(WireBackhaulCred, bw, 168);

/** setBstaAutoConnect: autoConnect. */
struct [[gnu::packed]] WireBstaAuto {
    int32_t band;
    uint8_t enableAuto;
    uint8_t needSetRadar;
    uint8_t radarCheckSkip;
    uint8_t reserved;
    int32_t connectItv;
};
VESK_RECORD_SIZE(WireBstaAuto, 12);
VESK_RECORD_AT(WireBstaAuto, enableAuto, 4);
VESK_RECORD_AT(WireBstaAuto, needSetRadar, 5);
VESK_RECORD_AT(WireBstaAuto, radarCheckSkip, 6);
VESK_RECORD_AT(WireBstaAuto, connectItv, 8);

/** getChannel and setChannel: data. */
struct [[gnu::packed]] WireChannel {
    int32_t channel;   // 0 in a request: leave the channel
    int32_t bandwidth; // index 0 to 4; 5: none given
};
VESK_RECORD_SIZE(WireChannel, 8);
VESK_RECORD_AT(WireChannel, bandwidth, 4);

/** getEirp and setEirp: eirp. */
struct [[gnu::packed]] WireEirp {
    int32_t eirp;
};
VESK_RECORD_SIZE(WireEirp, 4);

/** getLinkMetrics: metrics. No field is defined. */
struct [[gnu::packed]] WireLinkMetrics {
    uint8_t reserved[40];
};
VESK_RECORD_SIZE(WireLinkMetrics, 40);

/** setStaMon: monStaInfo. */
struct [[gnu::packed]] WireStaMon {
    uint32_t operation; // 0 add or refresh, 1 remove
    uint8_t mac[6];
    uint8_t channel; // 0 in a removal: any
    uint8_t reserved;
};
VESK_RECORD_SIZE(WireStaMon, 12);
VESK_RECORD_AT(WireStaMon, mac, 4);
VESK_RECORD_AT(WireStaMon, channel, 10);

/** setBlockClient: aclMac. */
struct [[gnu::packed]] WireAclMac {
    uint32_t operation; // 0 or 1
    uint8_t mac[6];
    uint8_t reserved[2];
};
VESK_RECORD_SIZE(WireAclMac, 12);
VESK_RECORD_AT(WireAclMac, mac, 4);

struct [[gnu::packed]] WireBcnElement {
    uint8_t id;
    uint8_t length;
    uint8_t data[VESK_WIRE_BCN_ELEMENT_LEN];
};
VESK_RECORD_SIZE(WireBcnElement, 34);

/** setBeaconRequest: bcnReq. Values without a meaning here are carried to the driver. */
struct [[gnu::packed]] WireBeaconReq {
    uint8_t mac[6];
    uint8_t value1;
    uint8_t value2;
    uint8_t bssid[6];
    uint8_t value3;
    uint8_t listNums; // bytes used in list
    uint8_t list[VESK_WIRE_BCN_CHANNELS];
    char ssid[65];
    uint8_t elementNums;
    WireBcnElement elements[VESK_WIRE_BCN_ELEMENTS];
    uint8_t value4;
};
VESK_RECORD_SIZE(WireBeaconReq, 1235);
VESK_RECORD_AT(WireBeaconReq, bssid, 8);
VESK_RECORD_AT(WireBeaconReq, listNums, 15);
VESK_RECORD_AT(WireBeaconReq, list, 16);
VESK_RECORD_AT(WireBeaconReq, ssid, 80);
VESK_RECORD_AT(WireBeaconReq, elementNums, 145);
VESK_RECORD_AT(WireBeaconReq, elements, 146);
VESK_RECORD_AT(WireBeaconReq, value4, 1234);

struct [[gnu::packed]] WireBtmTarget {
    uint8_t bssid[6];
    uint8_t value1;
    uint8_t value2;
};
VESK_RECORD_SIZE(WireBtmTarget, 8);

/** setBTMRequest: btmReq. */
struct [[gnu::packed]] WireBtmReq {
    uint8_t mac[6];
    uint8_t value1;
    uint8_t value2;
    uint16_t value3;
    uint8_t targetNums;
    WireBtmTarget targets[VESK_WIRE_BTM_TARGETS];
    uint8_t reserved;
};
VESK_RECORD_SIZE(WireBtmReq, 268);
VESK_RECORD_AT(WireBtmReq, value3, 8);
VESK_RECORD_AT(WireBtmReq, targetNums, 10);
VESK_RECORD_AT(WireBtmReq, targets, 11);

/** getRadioHtCap: htCap. */
struct [[gnu::packed]] WireHtCap {
    uint8_t txStreams;
    uint8_t rxStreams;
    uint8_t shortGi20;
    uint8_t shortGi40;
    uint8_t ht40;
};
VESK_RECORD_SIZE(WireHtCap, 5);

/** getRadioVhtCap: vhtCap. */
struct [[gnu::packed]] WireVhtCap {
    uint16_t txMcs;
    uint16_t rxMcs;
    uint8_t txStreams;
    uint8_t rxStreams;
    uint8_t shortGi80;
    uint8_t shortGi160;
    uint8_t vht160;
    uint8_t vht80p80;
    uint8_t suBeamformer;
    uint8_t muBeamformer;
};
VESK_RECORD_SIZE(WireVhtCap, 12);
VESK_RECORD_AT(WireVhtCap, txStreams, 4);
VESK_RECORD_AT(WireVhtCap, shortGi80, 6);
VESK_RECORD_AT(WireVhtCap, vht160, 8);
VESK_RECORD_AT(WireVhtCap, vht80p80, 9);

/** getRadioHeCap: heCap. */
struct [[gnu::packed]] WireHeCap {
    uint8_t mcsLen; // bytes of the six maps: 12
    uint16_t rxMapLE80;
    uint16_t txMapLE80;
    uint16_t rxMap160;
    uint16_t txMap160;
    uint16_t rxMap80p80;
    uint16_t txMap80p80;
    uint8_t txStreams;
    uint8_t rxStreams;
    uint8_t he80p80;
    uint8_t he160;
    uint8_t suBeamformer;
    uint8_t muBeamformer;
    uint8_t ulMuMimo;
    uint8_t ulMuMimoOfdma;
    uint8_t dlMuMimoOfdma;
    uint8_t ulOfdma;
    uint8_t dlOfdma;
};
VESK_RECORD_SIZE(WireHeCap, 24);
VESK_RECORD_AT(WireHeCap, rxMapLE80, 1);
VESK_RECORD_AT(WireHeCap, txStreams, 13);
VESK_RECORD_AT(WireHeCap, he80p80, 15);
VESK_RECORD_AT(WireHeCap, ulMuMimo, 19);
VESK_RECORD_AT(WireHeCap, dlOfdma, 23);

struct [[gnu::packed]] WireNolChannel {
    uint16_t value; // 1860 for every channel
    uint8_t channel;
    uint8_t reserved;
};
VESK_RECORD_SIZE(WireNolChannel, 4);

/** getNolChannelList: nolChList, the non-occupancy list. */
struct [[gnu::packed]] WireNolList {
    uint8_t count;
    uint8_t reserved;
    WireNolChannel channels[VESK_WIRE_NOL_CHANNELS];
};
VESK_RECORD_SIZE(WireNolList, 238);
VESK_RECORD_AT(WireNolList, channels, 2);

/** addVendorIE and delVendorIE: vendorIE. */
struct [[gnu::packed]] WireVendorIE {
    char ifName[16]; // outer name
    uint32_t pktType;
    uint8_t data[VESK_WIRE_IE_LEN];
    uint32_t dataLen;
};
VESK_RECORD_SIZE(WireVendorIE, 280);
VESK_RECORD_AT(WireVendorIE, pktType, 16);
VESK_RECORD_AT(WireVendorIE, data, 20);
VESK_RECORD_AT(WireVendorIE, dataLen, 276);

/** getScanCap: scanCap. */
struct [[gnu::packed]] WireScanCap {
    uint8_t isSupportScan;
    uint8_t reserved[3];
    int32_t scanItv; // seconds
};
VESK_RECORD_SIZE(WireScanCap, 8);
VESK_RECORD_AT(WireScanCap, scanItv, 4);

/** getRadioAvaliableChannelList: chList. */
struct [[gnu::packed]] WireChList {
    int32_t chListNums;
    uint8_t chList[VESK_WIRE_CHANNELS];
    uint16_t chAttr[VESK_WIRE_CHANNELS];
};
VESK_RECORD_SIZE(WireChList, 196);
VESK_RECORD_AT(WireChList, chList, 4);
VESK_RECORD_AT(WireChList, chAttr, 68);

/** getDefault802dot1qSetting, setDefault802dot1qSetting and rilk_set8021dotqCfg: cfg. */
struct [[gnu::packed]] VeskDot1qCfg {
    uint16_t vid;
    uint8_t pcp;
    uint8_t reserved;
};
VESK_RECORD_SIZE(VeskDot1qCfg, 4);
VESK_RECORD_AT(VeskDot1qCfg, pcp, 2);

/** Payload of the inbound signals setLogLevel and setLogDestination. */
struct [[gnu::packed]] WireLogSetting {
    uint32_t level;
    char destination[32];
};
VESK_RECORD_SIZE(WireLogSetting, 36);
VESK_RECORD_AT(WireLogSetting, destination, 4);
