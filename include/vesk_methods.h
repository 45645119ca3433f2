// The bus methods as data: names, arguments, results. The stub derives its policies and its dispatch from
// these rows, clients their knowledge of the calls.
#pragma once

#include <array>
#include <iterator>

#include "include/vesk_wire.h"

enum class WireType : uint8_t { None, Int8, Int32, String, Record };

/** An argument or a result: its field name, its type, and for a record its exact size. */
struct WireField {
    const char *name;
    WireType type;
    uint32_t size;
};

struct WireMethod {
    const char *name;
    std::array<WireField, 2> args; // in call order; type None: not there
    WireField result;              // type None: the reply holds `return` only

    constexpr int argCount() const
    {
        return (args[0].type != WireType::None) + (args[1].type != WireType::None);
    }
};

constexpr WireField wire_i32(const char *name)
{
    return { name, WireType::Int32, 4 };
}
constexpr WireField wire_i8(const char *name)
{
    return { name, WireType::Int8, 1 };
}
constexpr WireField wire_text(const char *name)
{
    return { name, WireType::String, 0 };
}
template <class T>
constexpr WireField wire_record(const char *name)
{
    return { name, WireType::Record, sizeof(T) };
}

inline constexpr WireField wire_band = wire_i32("band");
inline constexpr WireField wire_vap = wire_text("vapName");

// clang-format off
inline constexpr WireMethod vesk_methods[] = {
    { "getVersionInfo",               {},                                                       wire_record<WireVersionInfo>("info") },
    { "getRadioCapability",           {},                                                       wire_i32("rfCfgAbility") },
    { "getRadioInfo",                 { wire_band },                                            wire_record<WireRadioInfo>("radioInfo") },
    { "getRadioApIntfsInfo",          { wire_band },                                            wire_record<WireApIntfsInfo>("apIfacInfo") },
    { "getRadioIntfStats",            { wire_band },                                            wire_record<WireIntfStats>("intfStats") },
    { "getVapInfo",                   { wire_vap },                                             wire_record<WireVapInfo>("vapInfo") },
    { "getVapIntfStats",              { wire_vap },                                             wire_record<WireIntfStats>("intfStats") },
    { "getStaInfo",                   { wire_vap },                                             wire_record<WireStaInfo>("staInfo") },
    { "getCurChannelInfo",            { wire_band },                                            wire_record<WireCurChannelInfo>("channelInfo") },
    { "getOffChannelInfo",            { wire_band },                                            wire_record<WireOffChInfo>("offChInfo") },
    { "getNeighborAPInfo",            { wire_band },                                            wire_record<WireNbAPInfo>("nbAPInfo") },
    { "get1905interfacesList",        {},                                                       wire_record<Wire1905List>("intfList") },
    { "getBstaIntfInfo",              { wire_band },                                            wire_record<WireBstaIntf>("info") },
    { "applyBackhaulCredentialToBsta", { wire_record<WireBackhaulCred>("bh") },                 {} },
    { "setBstaAutoConnect",           { wire_record<WireBstaAuto>("autoConnect") },             {} },
    { "getChannel",                   { wire_band },                                            wire_record<WireChannel>("data") },
    { "setChannel",                   { wire_band, wire_record<WireChannel>("data") },          {} },
    { "getEirp",                      { wire_band },                                            wire_record<WireEirp>("eirp") },
    { "setEirp",                      { wire_band, wire_record<WireEirp>("eirp") },             {} },
    { "getLinkMetrics",               { wire_text("local_iface"), wire_text("peer_mac") },      wire_record<WireLinkMetrics>("metrics") },
    { "setStaMon",                    { wire_record<WireStaMon>("monStaInfo") },                {} },
    { "setBeaconRequest",             { wire_vap, wire_record<WireBeaconReq>("bcnReq") },       {} },
    { "setBTMRequest",                { wire_vap, wire_record<WireBtmReq>("btmReq") },          {} },
    { "getRadioHtCap",                { wire_band },                                            wire_record<WireHtCap>("htCap") },
    { "getRadioVhtCap",               { wire_band },                                            wire_record<WireVhtCap>("vhtCap") },
    { "getRadioHeCap",                { wire_band },                                            wire_record<WireHeCap>("heCap") },
    { "getNolChannelList",            { wire_band },                                            wire_record<WireNolList>("nolChList") },
    { "triggerScan",                  { wire_band },                                            {} },
    { "setBlockClient",               { wire_vap, wire_record<WireAclMac>("aclMac") },          {} },
    { "addVendorIE",                  { wire_record<WireVendorIE>("vendorIE") },                {} },
    { "delVendorIE",                  { wire_record<WireVendorIE>("vendorIE") },                {} },
    { "getScanStatus",                {},                                                       wire_i8("scanStatus") },
    { "getScanCap",                   { wire_band },                                            wire_record<WireScanCap>("scanCap") },
    { "getRadioAvaliableChannelList", { wire_band },                                            wire_record<WireChList>("chList") },
    { "disassocSta",                  { wire_vap, wire_text("mac") },                           {} },
    { "getDefault802dot1qSetting",    {},                                                       wire_record<VeskDot1qCfg>("cfg") },
    { "setDefault802dot1qSetting",    { wire_record<VeskDot1qCfg>("cfg") },                     {} },
    { "getRadioAdvancedCapability",   {},                                                       wire_i32("rfCfgAdvancedCapability") },
};
// clang-format on

inline constexpr int VESK_METHODS = 38;
static_assert(std::size(vesk_methods) == VESK_METHODS);
