#include "tools/radiocheck/said.h"

#include <cstring>

#include "include/hul.h"
#include "include/rilk.h"
#include "tools/client/text.h"

namespace
{
constexpr const char *refused = "the library refuses the call";

/** What one call fills, or nothing with the reason. */
template <class T, class Call, class Show>
void add_result(Values &values, const char *name, Call call, Show show)
{
    T record = {};
    if (call(&record) == 0)
        values.add(name, show(record));
    else
        values.add(name, "", refused);
}

std::string number(int64_t value)
{
    return std::to_string(value);
}

std::string number_or_absent(int64_t value, int64_t absent = 0)
{
    return value == absent ? "" : number(value);
}

int32_t band_word(const SaidRadio &radio)
{
    return radio.index == 0 ? 0 : 3;
}

void add_counters(Values &values, const VeskIntfStats &stats)
{
    uint64_t counters[16];
    memcpy(counters, stats.counters, sizeof counters);
    for (size_t i = 0; i < std::size(counterNames); i++)
        if (counterNames[i])
            values.add(counterNames[i], printed("%llu", static_cast<unsigned long long>(counters[i])));
    values.add("stations", number(stats.value1));
}

void add_statistics(Values &values, int (*call)(const char *, VeskIntfStats *), const std::string &name)
{
    VeskIntfStats stats = {};
    if (call(name.c_str(), &stats) == 0)
        add_counters(values, stats);
}

/** "1 2 3/1": number, and the bits of its limits where it has any. */
std::string channel_text(int channel, int limits)
{
    return limits ? printed("%d/%d", channel, limits) : number(channel);
}

std::string channels_of(const HulChannelList &list)
{
    std::string text;
    for (int i = 0; i < list.chListNums && i < VESK_WIRE_CHANNELS; i++)
        text += (i > 0 ? " " : "") + channel_text(list.chList[i], list.chAttr[i]);
    return text;
}

std::string channels_of(const HulExcludedChannelList &list)
{
    std::string text;
    for (int i = 0; i < list.chListNums && i < VESK_WIRE_CHANNELS; i++)
        text += (i > 0 ? " " : "") + number(list.entries[i].chList);
    return text;
}

std::string channels_of(const RilkNolList &list)
{
    std::string text;
    for (int i = 0; i < list.count && i < VESK_WIRE_NOL_CHANNELS; i++)
        text += (i > 0 ? " " : "") + number(list.channels[i]);
    return text;
}

void add_channel_info(Values &values, const char *radio)
{
    VeskCurChannelInfo info = {};
    const bool known = rilk_getCurChannelInfo(radio, &info) == 0;
    values.add("load's channel", known ? number(info.channel) : "", refused);
    values.add("noise", known ? number_or_absent(info.noise) : "", "the driver's survey has no noise");
}
} // namespace

std::vector<SaidRadio> said_radios()
{
    std::vector<SaidRadio> radios;
    if (rilk_initDriver() != 0)
        return radios;
    for (int index = 0; index < 2; index++) {
        VeskApIntfInfo info = {};
        if (rilk_getRadioApInterfaceInfo(index, &info) != 0)
            continue;
        SaidRadio radio = { index, FIELD_TEXT(info.radioIfname), {} };
        for (int i = 0; i < info.vapNums && i < VESK_WIRE_VAPS; i++)
            radio.vaps.push_back(FIELD_TEXT(info.vapIfname[i]));
        radios.push_back(std::move(radio));
    }
    return radios;
}

Values said_of_radio(const SaidRadio &radio)
{
    Values values;
    const char *name = radio.name.c_str();
    const int32_t band = band_word(radio);
    std::string vaps;
    for (const std::string &vap : radio.vaps)
        vaps += (vaps.empty() ? "" : " ") + vap;
    values.add("access points", vaps);
    add_result<char[16]>(
        values, "driver", [&](auto *chip) { return rilk_getRadioChipName(name, sizeof *chip, *chip); },
        [](const auto &chip) { return FIELD_TEXT(chip); });
    add_result<uint8_t>(
        values, "up", [&](auto *up) { return rilk_getRadioStatus(name, up); }, number);
    add_result<int32_t>(
        values, "channel", [&](auto *channel) { return rilk_getRadioCurChannel(name, channel); }, number);
    RilkRadioDynParams params = {};
    const bool known = rilk_getRadioDynParamters(name, &params) == 0;
    values.add("width", known ? FIELD_TEXT(params.bond) : "", refused);
    values.add("standards", known ? FIELD_TEXT(params.operatingStandards) : "", refused);
    add_result<float>(
        values, "power", [&](auto *power) { return rilk_getRadioTxpower(name, power); },
        [](float power) { return printed("%.2f", static_cast<double>(power)); });
    add_channel_info(values, name);
    add_statistics(values, rilk_getRadioIfStat, radio.name);
    add_result<RilkNolList>(
        values, "non-occupancy", [&](auto *list) { return rilk_getChannelNolList(name, list); },
        [](const auto &list) { return channels_of(list); });
    add_result<HulChannelList>(
        values, "channels", [&](auto *list) { return hul_getRadioChannelList(band, list); },
        [](const auto &list) { return channels_of(list); });
    add_result<HulExcludedChannelList>(
        values, "excluded", [&](auto *list) { return hul_getRadioExcludedChannelList(band, list); },
        [](const auto &list) { return channels_of(list); });
    add_result<HulRadioInfo>(
        values, "phy number", [&](auto *info) { return hul_getRadioInfo(band, info); },
        [](const auto &info) { return number(info.radioId); });
    add_result<char[8]>(
        values, "country", [](auto *code) { return hul_getCountryID(*code, sizeof *code); },
        [](const auto &code) { return FIELD_TEXT(code); });
    return values;
}

Values said_of_vap(const std::string &vap)
{
    Values values;
    const char *name = vap.c_str();
    add_result<uint8_t[6]>(
        values, "BSSID", [&](auto *bssid) { return rilk_getVapBssid(name, *bssid); },
        [](const auto &bssid) { return mac_text(bssid); });
    add_result<char[65]>(
        values, "SSID", [&](auto *ssid) { return rilk_getVapSsid(name, sizeof *ssid, *ssid); },
        [](const auto &ssid) { return FIELD_TEXT(ssid); });
    add_result<uint8_t>(
        values, "up", [&](auto *up) { return rilk_getVapStatus(name, up); }, number);
    add_statistics(values, rilk_getVapIfStat, vap);
    HulVapCfg config = {};
    const bool known = hul_getEnabledVapCfg(name, &config) == 0;
    values.add("authMode", known ? number(config.authMode) : "", refused);
    values.add("encryptMode", known ? number(config.encryptMode) : "", refused);
    values.add("backhaul", known ? number((config.vapAttr & 0x40) != 0) : "", refused);
    return values;
}

std::vector<std::string> said_stations(const std::string &vap)
{
    std::vector<std::string> stations;
    int32_t number = 0;
    uint8_t mac[6];
    if (rilk_getVapAssocStationNumber(vap.c_str(), &number) != 0)
        return stations;
    for (int32_t position = 1; position <= number; position++)
        if (rilk_getVapAssocStationMac(vap.c_str(), position, mac) == 0)
            stations.push_back(mac_text(mac));
    return stations;
}

Values said_of_station(const std::string &vap, const std::string &mac)
{
    Values values;
    VeskStaEntry entry = {};
    uint8_t bytes[6];
    if (!parse_mac(mac, bytes) || rilk_getVapAssocStationInfo(vap.c_str(), bytes, &entry) != 0)
        return values;
    values.add("access point", FIELD_TEXT(entry.vapIntf));
    values.add("signal", number_or_absent(entry.rssi));
    values.add("signal avg", number_or_absent(entry.value2));
    values.add("tx bitrate", number_or_absent(entry.tx));
    values.add("rx bitrate", number_or_absent(entry.rx));
    values.add("expected throughput", number_or_absent(entry.value1));
    values.add("connected time", number(entry.time));
    values.add("inactive time", number(entry.value3));
    static constexpr struct {
        const char *name;
        int at;
    } counters[] = { { "rx packets", 0 },   { "tx packets", 1 },  { "rx bytes", 2 },  { "tx bytes", 3 },
                     { "rx drop misc", 7 }, { "tx retries", 10 }, { "tx failed", 11 } };
    for (const auto &counter : counters)
        values.add(counter.name, number(static_cast<int64_t>(entry.stats.counters[counter.at])));
    values.add("11k", number(entry.is11k));
    values.add("11v", number(entry.is11v));
    values.add("mode", FIELD_TEXT(entry.text2));
    return values;
}

Load said_load(const SaidRadio &radio)
{
    enum { knowsBusy = 1, knowsOwn = 2 };
    VeskCurChannelInfo info = {};
    Load load;
    if (rilk_getCurChannelInfo(radio.name.c_str(), &info) != 0)
        return load;
    if (info.value4 & knowsBusy)
        load.used = static_cast<int>(info.ccaTxUtil);
    if (info.value4 & knowsOwn)
        load.own = static_cast<int>(info.ccaInbss);
    return load;
}
