// The fields of the bus records and signals as data, for whoever shows or documents them: name, place, kind,
// unit, names of values. Bytes that carry nothing (reserved) have no row. Offsets and widths come from the
// records themselves.
#pragma once

#include <span>
#include <string_view>
#include <type_traits>

#include "include/vesk_event.h"
#include "include/vesk_methods.h"
#include "tools/client/names.h"

enum class FieldKind : uint8_t { Int, Unsigned, Float, Text, Mac, Bytes, Record };

/** dBm; the daemon takes a raw noise below it for invalid. */
inline constexpr int lowestFloor = -253;

/** What a value is called beside its number. */
enum class FieldNaming : uint8_t { None, Table, VhtMcs, HeMcs };

struct RecordLayout;

struct FieldLayout {
    const char *name;
    uint32_t offset;
    uint32_t width; // bytes of one element
    uint32_t count; // elements; 1 for a single value
    FieldKind kind;
    const char *unit;           // "" where there is none
    const char *countField;     // field that tells how many elements are used; NULL: all
    const RecordLayout *record; // of a Record
    bool zeroIsAbsent;          // 0 means: not known
    int64_t lowest = INT64_MIN; // a lower value means the same
    bool isSecret = false;      // shown on demand only
    FieldNaming naming = FieldNaming::None;
    std::span<const ValueName> names = {}; // of a Table
};

struct RecordLayout {
    const char *name;
    uint32_t size;
    std::span<const FieldLayout> fields;
};

// --- rows ---

template <class T>
constexpr FieldKind scalar_kind()
{
    return std::is_floating_point_v<T> ? FieldKind::Float
           : std::is_signed_v<T>       ? FieldKind::Int
                                       : FieldKind::Unsigned;
}

/** Row of a member of type T: a char array is a text, an array of them texts, other arrays are values. */
template <class T>
constexpr FieldLayout field_row(const char *name, size_t offset, const char *unit, const char *countField)
{
    using Element = std::remove_extent_t<T>;
    FieldLayout row{
        name, static_cast<uint32_t>(offset), sizeof(T), 1, FieldKind::Text, unit, countField, nullptr, false
    };
    if constexpr (std::is_array_v<T> && !std::is_same_v<Element, char>) {
        row.width = sizeof(Element);
        row.count = std::extent_v<T>;
        if constexpr (!std::is_array_v<Element>)
            row.kind = scalar_kind<Element>();
    } else if constexpr (!std::is_array_v<T>) {
        row.kind = scalar_kind<T>();
    }
    return row;
}

constexpr FieldLayout mac_row(const char *name, size_t offset)
{
    return { name, static_cast<uint32_t>(offset), 6, 1, FieldKind::Mac, "", nullptr, nullptr, false };
}

constexpr FieldLayout bytes_row(const char *name, size_t offset, size_t size, const char *countField)
{
    return { name,
             static_cast<uint32_t>(offset),
             static_cast<uint32_t>(size),
             1,
             FieldKind::Bytes,
             "",
             countField,
             nullptr,
             false };
}

template <class T>
constexpr FieldLayout record_row(const char *name, size_t offset, const RecordLayout &layout,
                                 const char *countField)
{
    using Element = std::remove_extent_t<T>;
    static_assert(!std::is_array_v<Element>);
    const uint32_t count = std::is_array_v<T> ? static_cast<uint32_t>(std::extent_v<T>) : 1;
    return { name,
             static_cast<uint32_t>(offset),
             sizeof(Element),
             count,
             FieldKind::Record,
             "",
             countField,
             &layout,
             false };
}

constexpr FieldLayout absent_below(int64_t lowest, FieldLayout row)
{
    row.lowest = lowest;
    return row;
}

constexpr FieldLayout absent_if_zero(FieldLayout row)
{
    row.zeroIsAbsent = true;
    return row;
}

constexpr FieldLayout secret(FieldLayout row)
{
    row.isSecret = true;
    return row;
}

constexpr FieldLayout named(FieldLayout row, std::span<const ValueName> names)
{
    row.naming = FieldNaming::Table;
    row.names = names;
    return row;
}

constexpr FieldLayout named(FieldLayout row, FieldNaming naming)
{
    row.naming = naming;
    return row;
}

/** Whether the rows of a layout lie in order, without overlap, inside the record. */
constexpr bool layout_is_sound(const RecordLayout &layout)
{
    uint32_t end = 0;
    for (const FieldLayout &f : layout.fields) {
        if (f.offset < end || (f.kind == FieldKind::Record && f.record->size != f.width))
            return false;
        end = f.offset + f.width * f.count;
    }
    return end <= layout.size;
}

#define VESK_F(member, unit) field_row<decltype(R::member)>(#member, offsetof(R, member), unit, nullptr)
#define VESK_FN(member, countMember, unit)                                                                   \
    field_row<decltype(R::member)>(#member, offsetof(R, member), unit, #countMember)
#define VESK_FW(member) named(VESK_F(member, "bandwidth index"), bandwidthNames)
#define VESK_FBAND(member) named(VESK_F(member, "band word"), bandNames)
#define VESK_FT(member, names) named(VESK_F(member, ""), names)
#define VESK_FM(member) mac_row(#member, offsetof(R, member))
#define VESK_FB(member) bytes_row(#member, offsetof(R, member), sizeof(R::member), nullptr)
#define VESK_FBN(member, countMember) bytes_row(#member, offsetof(R, member), sizeof(R::member), #countMember)
#define VESK_FR(member, layout, countMember)                                                                 \
    record_row<decltype(R::member)>(#member, offsetof(R, member), layout, countMember)

/** VESK_LAYOUT(name, record, rows...): `name` becomes the layout of `record`. */
#define VESK_LAYOUT(layoutName, record, ...)                                                                 \
    namespace layout_rows_##layoutName                                                                       \
    {                                                                                                        \
        using R = record;                                                                                    \
        inline constexpr FieldLayout rows[] = { __VA_ARGS__ };                                               \
    }                                                                                                        \
    inline constexpr RecordLayout layoutName = { #record, sizeof(record), layout_rows_##layoutName::rows };  \
    static_assert(layout_is_sound(layoutName))

// clang-format off
VESK_LAYOUT(layoutVersionInfo, WireVersionInfo, VESK_F(name, ""), VESK_F(version, ""));
VESK_LAYOUT(layoutRadioInfo, WireRadioInfo,
    VESK_FBAND(band), VESK_FM(radioMac), VESK_F(radioIfname, ""), VESK_F(status, ""), VESK_F(isEnabled, ""),
    VESK_F(isAcsEnabled, ""), VESK_F(curChannel, ""), VESK_F(curFreq, "MHz"), VESK_F(bond, ""),
    VESK_F(countryCode, ""), VESK_F(maxStaNums, ""), VESK_F(chListNums, ""), VESK_FN(curchList, chListNums, ""),
    VESK_FN(curchAttr, chListNums, ""), VESK_F(txPower, "dBm"), VESK_FW(curBw), VESK_F(operatingStandards, ""));
VESK_LAYOUT(layoutApIntfsInfo, WireApIntfsInfo,
    VESK_F(radioIfname, ""), VESK_F(vapNums, ""), VESK_FN(vapIfname, vapNums, ""));
VESK_LAYOUT(layoutIntfStats, WireIntfStats,
    VESK_F(counters1, ""), VESK_F(counters2, ""), VESK_F(value1, ""), VESK_F(value2, ""));
VESK_LAYOUT(layoutVapInfo, WireVapInfo,
    VESK_F(radio, ""), VESK_F(vapName, ""), VESK_F(ssid, ""), secret(VESK_F(keyPassphrase, "")),
    VESK_FT(authMode, securityNames), VESK_F(supportedModes, ""), VESK_FT(encryptMode, encryptionNames),
    VESK_F(mode, ""), VESK_F(network, ""), VESK_F(maxStations, ""), VESK_FM(bssid), VESK_FM(bstaPeerBssid),
    VESK_F(status, ""), VESK_F(vapAttr, ""), VESK_F(isBackhaulBss, ""));
VESK_LAYOUT(layout1905List, Wire1905List, VESK_F(count, ""), VESK_FN(names, count, ""));
VESK_LAYOUT(layoutStation, WireStation,
    VESK_FM(mac), absent_if_zero(VESK_F(rssi, "dBm")), VESK_F(value1, ""), absent_if_zero(VESK_F(value2, "dBm")),
    VESK_F(isBhInt, ""), VESK_F(value3, ""), VESK_F(value4, ""), VESK_F(tx, "Mbit/s"), VESK_F(rx, "Mbit/s"),
    VESK_F(time, "s"), VESK_F(is11v, ""), VESK_F(is11k, ""), VESK_F(value5, ""), VESK_F(text1, ""), VESK_F(text2, ""),
    VESK_F(vapIntf, ""), VESK_FW(bw), VESK_FR(stats, layoutIntfStats, nullptr));
VESK_LAYOUT(layoutStaInfo, WireStaInfo,
    VESK_F(count, ""), VESK_F(vapIntf, ""), VESK_FR(stations, layoutStation, "count"));
VESK_LAYOUT(layoutCurChannelInfo, WireCurChannelInfo,
    absent_if_zero(VESK_F(channel, "")), VESK_F(ccaInbss, "percent"), VESK_F(value1, ""), VESK_F(value2, ""),
    VESK_F(value3, ""), absent_below(0, VESK_F(ccaIdle, "percent")), VESK_F(ccaTxUtil, "percent"), VESK_F(counters, ""),
    absent_if_zero(VESK_F(noise, "dBm")), VESK_F(value4, ""), absent_if_zero(VESK_F(time, "s since 1970")),
    VESK_F(value5, ""));
VESK_LAYOUT(layoutOffChannel, WireOffChannel,
    absent_if_zero(VESK_F(ch, "")), VESK_F(inC, ""), absent_below(0, VESK_F(chnUtil, "percent")),
    absent_below(lowestFloor, VESK_F(noise, "dBm")),
    VESK_F(cac, ""), absent_if_zero(VESK_F(smoothedNoise, "dBm")), absent_if_zero(VESK_F(time, "s since 1970")),
    VESK_F(dwell, "ms"));
VESK_LAYOUT(layoutOffChInfo, WireOffChInfo,
    VESK_FBAND(radioBand), VESK_F(scanNums, ""), VESK_FR(channels, layoutOffChannel, nullptr));
VESK_LAYOUT(layoutNeighbor, WireNeighbor,
    absent_if_zero(VESK_F(channel, "")), absent_if_zero(VESK_F(rssi, "dBm")), VESK_FM(bssid), VESK_F(ssid, ""),
    VESK_F(value1, ""), VESK_F(value2, ""), VESK_F(text, ""));
VESK_LAYOUT(layoutNbAPInfo, WireNbAPInfo,
    VESK_FBAND(radioBand), VESK_F(nbNums, ""), VESK_FR(neighbors, layoutNeighbor, "nbNums"));
VESK_LAYOUT(layoutBstaIntf, WireBstaIntf, VESK_F(ifName, ""), VESK_FM(mac));
VESK_LAYOUT(layoutBackhaulCred, WireBackhaulCred,
    VESK_FBAND(band), VESK_F(ifName, ""), VESK_F(ssid, ""), secret(VESK_F(ssidKey, "")),
    VESK_FT(encryption, encryptionNames), VESK_FT(authMode, securityNames), VESK_FM(bssid), VESK_F(channel, ""),
    VESK_FW(bw));
VESK_LAYOUT(layoutBstaAuto, WireBstaAuto,
    VESK_FBAND(band), VESK_F(enableAuto, ""), VESK_F(needSetRadar, ""), VESK_F(radarCheckSkip, ""),
    VESK_F(connectItv, "s"));
VESK_LAYOUT(layoutChannel, WireChannel, VESK_F(channel, ""), VESK_FW(bandwidth));
VESK_LAYOUT(layoutEirp, WireEirp, VESK_F(eirp, ""));
VESK_LAYOUT(layoutLinkMetrics, WireLinkMetrics, VESK_FB(reserved));
VESK_LAYOUT(layoutStaMon, WireStaMon, VESK_F(operation, ""), VESK_FM(mac), VESK_F(channel, ""));
VESK_LAYOUT(layoutAclMac, WireAclMac, VESK_F(operation, ""), VESK_FM(mac));
VESK_LAYOUT(layoutBcnElement, WireBcnElement, VESK_F(id, ""), VESK_F(length, ""), VESK_FBN(data, length));
VESK_LAYOUT(layoutBeaconReq, WireBeaconReq,
    VESK_FM(mac), VESK_F(value1, ""), VESK_F(value2, ""), VESK_FM(bssid), VESK_F(value3, ""), VESK_F(listNums, ""),
    VESK_FN(list, listNums, ""), VESK_F(ssid, ""), VESK_F(elementNums, ""),
    VESK_FR(elements, layoutBcnElement, "elementNums"), VESK_F(value4, ""));
VESK_LAYOUT(layoutBtmTarget, WireBtmTarget, VESK_FM(bssid), VESK_F(value1, ""), VESK_F(value2, ""));
VESK_LAYOUT(layoutBtmReq, WireBtmReq,
    VESK_FM(mac), VESK_F(value1, ""), VESK_F(value2, ""), VESK_F(value3, ""), VESK_F(targetNums, ""),
    VESK_FR(targets, layoutBtmTarget, "targetNums"));
VESK_LAYOUT(layoutHtCap, WireHtCap,
    VESK_F(txStreams, ""), VESK_F(rxStreams, ""), VESK_F(shortGi20, ""), VESK_F(shortGi40, ""), VESK_F(ht40, ""));
VESK_LAYOUT(layoutVhtCap, WireVhtCap,
    VESK_FT(txMcs, FieldNaming::VhtMcs), VESK_FT(rxMcs, FieldNaming::VhtMcs), VESK_F(txStreams, ""),
    VESK_F(rxStreams, ""), VESK_F(shortGi80, ""), VESK_F(shortGi160, ""), VESK_F(vht160, ""), VESK_F(vht80p80, ""),
    VESK_F(suBeamformer, ""), VESK_F(muBeamformer, ""));
VESK_LAYOUT(layoutHeCap, WireHeCap,
    VESK_F(mcsLen, "bytes"), VESK_FT(rxMapLE80, FieldNaming::HeMcs), VESK_FT(txMapLE80, FieldNaming::HeMcs),
    VESK_FT(rxMap160, FieldNaming::HeMcs), VESK_FT(txMap160, FieldNaming::HeMcs),
    VESK_FT(rxMap80p80, FieldNaming::HeMcs), VESK_FT(txMap80p80, FieldNaming::HeMcs), VESK_F(txStreams, ""),
    VESK_F(rxStreams, ""), VESK_F(he80p80, ""), VESK_F(he160, ""), VESK_F(suBeamformer, ""), VESK_F(muBeamformer, ""),
    VESK_F(ulMuMimo, ""), VESK_F(ulMuMimoOfdma, ""), VESK_F(dlMuMimoOfdma, ""), VESK_F(ulOfdma, ""),
    VESK_F(dlOfdma, ""));
VESK_LAYOUT(layoutNolChannel, WireNolChannel, VESK_F(value, ""), VESK_F(channel, ""));
VESK_LAYOUT(layoutNolList, WireNolList, VESK_F(count, ""), VESK_FR(channels, layoutNolChannel, "count"));
VESK_LAYOUT(layoutVendorIE, WireVendorIE,
    VESK_F(ifName, ""), VESK_F(pktType, ""), VESK_FBN(data, dataLen), VESK_F(dataLen, "bytes"));
VESK_LAYOUT(layoutScanCap, WireScanCap, VESK_F(isSupportScan, ""), VESK_F(scanItv, "s"));
VESK_LAYOUT(layoutChList, WireChList,
    VESK_F(chListNums, ""), VESK_FN(chList, chListNums, ""), VESK_FN(chAttr, chListNums, ""));
VESK_LAYOUT(layoutDot1qCfg, VeskDot1qCfg, VESK_F(vid, ""), VESK_F(pcp, ""));

VESK_LAYOUT(layoutLogSetting, WireLogSetting, VESK_F(level, ""), VESK_F(destination, ""));

VESK_LAYOUT(layoutClientJoin, VeskClientJoin,
    VESK_F(ifName, ""), VESK_FM(mac_addr), absent_if_zero(VESK_F(rssi, "dBm")), VESK_F(channel, ""),
    VESK_F(frequency, "MHz"), VESK_FW(bw), VESK_F(opClass, ""), VESK_FBAND(radioId), VESK_F(ssid, ""), VESK_FM(bssid),
    VESK_F(assoc_time, ""), VESK_F(assoc_req_len, "bytes"), VESK_FBN(assoc_req, assoc_req_len));
VESK_LAYOUT(layoutClientLeave, VeskClientLeave, VESK_F(ifName, ""), VESK_FM(mac));
VESK_LAYOUT(layoutChChange, VeskChChange,
    VESK_F(reason, ""), VESK_FBAND(radioId), VESK_F(oldCh, ""), VESK_FW(oldBw), VESK_F(oldOpClass, ""),
    VESK_F(oldHwMode, ""), VESK_F(oldTxPower, "dBm"), VESK_F(newCh, ""), VESK_FW(newBw), VESK_F(newOpClass, ""),
    VESK_F(newHwMode, ""), VESK_F(newTxPower, "dBm"), VESK_F(interfaceIndex, ""));
VESK_LAYOUT(layoutRadarEvent, VeskRadarEvent, VESK_FB(data));
VESK_LAYOUT(layoutBtmQuery, VeskBtmQuery, VESK_F(ifName, ""), VESK_FB(query));
VESK_LAYOUT(layoutBtmResp, VeskBtmResp, VESK_F(ifName, ""), VESK_FM(mac), VESK_FM(bssid), VESK_FB(response));
VESK_LAYOUT(layoutBcnReport, VeskBcnReport, VESK_F(ifName, ""), VESK_FB(report));
VESK_LAYOUT(layoutEnrolleeWps, VeskEnrolleeWps,
    VESK_F(ifName, ""), VESK_FM(mac_addr), VESK_FM(connected_bssid));
VESK_LAYOUT(layoutMapR2AssocResp, VeskMapR2AssocResp,
    VESK_F(ifname, ""), VESK_FM(peerMac), VESK_F(vid, ""), VESK_F(pcp, ""));
VESK_LAYOUT(layoutUnsafeChannel, VeskUnsafeChannel, VESK_F(ch_bitmap, ""));
VESK_LAYOUT(layoutIfStatus, VeskIfStatus, VESK_F(ifName, ""), VESK_F(status, ""));
VESK_LAYOUT(layoutVapAttr, VeskVapAttr, VESK_F(ifName, ""), VESK_F(attribute, ""));
VESK_LAYOUT(layoutUnassocMetrics, VeskUnassocMetrics,
    VESK_F(ifName, ""), VESK_FM(mac), VESK_F(channel, ""), VESK_F(rssi, "dBm"), VESK_F(time, "s, monotonic"));

/** The layout of each record that a method takes or gives, by method and field. */
struct MethodLayout {
    const char *method;
    const char *field;
    const RecordLayout *layout;
};

inline constexpr MethodLayout vesk_method_layouts[] = {
    { "getVersionInfo", "info", &layoutVersionInfo },
    { "getRadioInfo", "radioInfo", &layoutRadioInfo },
    { "getRadioApIntfsInfo", "apIfacInfo", &layoutApIntfsInfo },
    { "getRadioIntfStats", "intfStats", &layoutIntfStats },
    { "getVapInfo", "vapInfo", &layoutVapInfo },
    { "getVapIntfStats", "intfStats", &layoutIntfStats },
    { "getStaInfo", "staInfo", &layoutStaInfo },
    { "getCurChannelInfo", "channelInfo", &layoutCurChannelInfo },
    { "getOffChannelInfo", "offChInfo", &layoutOffChInfo },
    { "getNeighborAPInfo", "nbAPInfo", &layoutNbAPInfo },
    { "get1905interfacesList", "intfList", &layout1905List },
    { "getBstaIntfInfo", "info", &layoutBstaIntf },
    { "applyBackhaulCredentialToBsta", "bh", &layoutBackhaulCred },
    { "setBstaAutoConnect", "autoConnect", &layoutBstaAuto },
    { "getChannel", "data", &layoutChannel },
    { "setChannel", "data", &layoutChannel },
    { "getEirp", "eirp", &layoutEirp },
    { "setEirp", "eirp", &layoutEirp },
    { "getLinkMetrics", "metrics", &layoutLinkMetrics },
    { "setStaMon", "monStaInfo", &layoutStaMon },
    { "setBeaconRequest", "bcnReq", &layoutBeaconReq },
    { "setBTMRequest", "btmReq", &layoutBtmReq },
    { "getRadioHtCap", "htCap", &layoutHtCap },
    { "getRadioVhtCap", "vhtCap", &layoutVhtCap },
    { "getRadioHeCap", "heCap", &layoutHeCap },
    { "getNolChannelList", "nolChList", &layoutNolList },
    { "setBlockClient", "aclMac", &layoutAclMac },
    { "addVendorIE", "vendorIE", &layoutVendorIE },
    { "delVendorIE", "vendorIE", &layoutVendorIE },
    { "getScanCap", "scanCap", &layoutScanCap },
    { "getRadioAvaliableChannelList", "chList", &layoutChList },
    { "getDefault802dot1qSetting", "cfg", &layoutDot1qCfg },
    { "setDefault802dot1qSetting", "cfg", &layoutDot1qCfg },
};
// clang-format on

/** Layout of a method's record field, or NULL. */
constexpr const RecordLayout *vesk_layout_of(std::string_view method, std::string_view field)
{
    for (const MethodLayout &row : vesk_method_layouts)
        if (method == row.method && field == row.field)
            return row.layout;
    return nullptr;
}

/** Whether every record field of every method has a layout of its exact size. No pointer is compared with
 * NULL: under the sanitizers g++ takes that for no constant. */
constexpr bool layouts_match_methods()
{
    size_t records = 0, wanted = 0;
    for (const WireMethod &m : vesk_methods)
        for (const WireField &f : { m.args[0], m.args[1], m.result }) {
            if (f.type != WireType::Record)
                continue;
            wanted++;
            for (const MethodLayout &row : vesk_method_layouts)
                records += std::string_view(m.name) == row.method && std::string_view(f.name) == row.field &&
                           row.layout->size == f.size;
        }
    return records == wanted && records == std::size(vesk_method_layouts);
}
static_assert(layouts_match_methods(),
              "vesk_method_layouts needs a row for each record of include/vesk_methods.inc");

/** An outbound signal. `layout` NULL: opaque bytes of `size`. */
struct SignalLayout {
    const char *name; // full name
    uint32_t size;
    const RecordLayout *layout;
};

inline constexpr SignalLayout vesk_signals[] = {
    { VESK_SIGNAL_CLIENT_JOIN, layoutClientJoin.size, &layoutClientJoin },
    { VESK_SIGNAL_CLIENT_LEAVE, layoutClientLeave.size, &layoutClientLeave },
    { VESK_SIGNAL_CH_CHANGE, layoutChChange.size, &layoutChChange },
    { VESK_SIGNAL_CH_PASS_CAC, layoutRadarEvent.size, &layoutRadarEvent },
    { VESK_SIGNAL_RADAR_NOTIF, layoutRadarEvent.size, &layoutRadarEvent },
    { VESK_SIGNAL_BTM_QUERY, layoutBtmQuery.size, &layoutBtmQuery },
    { VESK_SIGNAL_BTM_RESP, layoutBtmResp.size, &layoutBtmResp },
    { VESK_SIGNAL_BCN_REPORT, layoutBcnReport.size, &layoutBcnReport },
    { VESK_SIGNAL_ENROLLEE_WPS, layoutEnrolleeWps.size, &layoutEnrolleeWps },
    { VESK_SIGNAL_MAP_R2_ASSOC_RESP, layoutMapR2AssocResp.size, &layoutMapR2AssocResp },
    { VESK_SIGNAL_UNSAFE_CHANNEL, layoutUnsafeChannel.size, &layoutUnsafeChannel },
    { VESK_SIGNAL_IF_STATUS, layoutIfStatus.size, &layoutIfStatus },
    { VESK_SIGNAL_VAP_ATTR, layoutVapAttr.size, &layoutVapAttr },
    { VESK_SIGNAL_1905_VLAN_IF, VESK_1905_VLAN_IF_SIZE, nullptr },
    { VESK_SIGNAL_UNASSOC_METRICS, layoutUnassocMetrics.size, &layoutUnassocMetrics },
};

/** What an inbound signal carries. Word: a signed 32-bit number in host order; more bytes don't matter. */
enum class SwitchPayload : uint8_t { Record, Word, Presence, Opaque };

/** An inbound signal, sent to the daemon under its own interface name. */
struct SwitchLayout {
    const char *name; // full name
    SwitchPayload payload;
    uint32_t size; // exact for a record, the least for the others
    const RecordLayout *layout;
    const char *help;
};

// clang-format off
inline constexpr SwitchLayout vesk_switches[] = {
    { VESK_SIGNAL_SET_LOG_LEVEL, SwitchPayload::Record, layoutLogSetting.size, &layoutLogSetting,
      "`level` 0 to 7 is the daemon's own threshold, 9 to 16 the driver library's 0 to 7, 99 everything on stderr" },
    { VESK_SIGNAL_SET_LOG_DESTINATION, SwitchPayload::Record, layoutLogSetting.size, &layoutLogSetting,
      "`destination` is a path that is opened for appending, or `stderr`" },
    { VESK_SIGNAL_SET_SCAN_ENABLE, SwitchPayload::Word, 4, nullptr,
      "1 and more: scanning on and backhaul auto-connect off; less: the reverse" },
    { VESK_SIGNAL_NOTIFY_WLAN_CHANGE, SwitchPayload::Presence, 1, nullptr,
      "the WLAN configuration has changed: radios and VAPs are read again, once, after the last of a burst" },
    { VESK_SIGNAL_SET_INTF_STAT_ENABLE, SwitchPayload::Word, 4, nullptr, "1 and more: interface statistics are polled" },
    { VESK_SIGNAL_SET_STA_ENABLE, SwitchPayload::Word, 4, nullptr, "1 and more: the station table is polled" },
    { VESK_SIGNAL_SET_CHANNEL_CHANGE_ENABLE, SwitchPayload::Word, 4, nullptr, "1 and more: the operating channels are polled" },
    { VESK_SIGNAL_SET_UBUS_OBJ, SwitchPayload::Word, 4, nullptr,
      "1 and more: the object is put on the bus (again); less: it is taken off, the signals stay heard" },
    { VESK_SIGNAL_NOTIFY_1905_VLAN_IF, SwitchPayload::Opaque, VESK_1905_VLAN_IF_SIZE, nullptr,
      "the record goes on as the signal `veskIEEE1905VlanIfChange`, unread" },
};
// clang-format on
