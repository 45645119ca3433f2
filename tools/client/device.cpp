#include "tools/client/device.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include <sys/stat.h>

#include "tools/client/text.h"

namespace
{
/** Calls one after the other; the first that the bus itself fails ends them all. */
struct Reader {
    unsigned parts;
    std::string error;

    bool wants(Parts part) const { return (parts & part) != 0; }

    /** The record's bytes; none where the daemon refuses, or when the bus has failed. */
    std::vector<uint8_t> bytes(const char *method, const std::vector<CallArg> &args, size_t size)
    {
        if (!error.empty())
            return {};
        CallResult result = bus_call(*bus_method(method), args);
        error = result.error;
        if (!error.empty() || result.status != 0 || result.record.size() != size)
            return {};
        return std::move(result.record);
    }
    /** False and no change as above. */
    template <class T>
    bool get(const char *method, const std::vector<CallArg> &args, T *value)
    {
        const std::vector<uint8_t> record = bytes(method, args, sizeof(T));
        if (!record.empty())
            memcpy(static_cast<void *>(value), record.data(), sizeof(T));
        return !record.empty();
    }
};

std::optional<int> unless_zero(int value)
{
    return value == 0 ? std::nullopt : std::optional(value);
}

/** By value: a reference to a packed member would be misaligned. */
int clamp_count(int count, int limit)
{
    return std::clamp(count, 0, limit);
}

template <size_t N>
bool lists(const uint8_t (&list)[N], int count, int channel)
{
    const uint8_t *end = list + clamp_count(count, N);
    return std::find(list, end, channel) != end;
}

void list_channels(RadioState &radio, bool knowsAvailable)
{
    const WireRadioInfo &info = radio.info;
    for (int i = 0; i < clamp_count(info.chListNums, VESK_WIRE_CHANNELS); i++) {
        ChannelState channel = {};
        channel.number = info.curchList[i];
        channel.attribute = info.curchAttr[i];
        channel.isOwn = channel.number == info.curChannel;
        channel.needsDfs = radio.band != 0 && needs_dfs(channel.number, channel.attribute);
        channel.isAvailable =
            !knowsAvailable || lists(radio.available.chList, radio.available.chListNums, channel.number);
        for (int k = 0; k < std::min<int>(radio.nol.count, VESK_WIRE_NOL_CHANNELS); k++) {
            if (radio.nol.channels[k].channel != channel.number)
                continue;
            channel.isNol = true;
            channel.nolSeconds = radio.nol.channels[k].value;
        }
        if (!radio.find_channel(channel.number))
            radio.channels.push_back(channel);
    }
    std::sort(radio.channels.begin(), radio.channels.end(),
              [](const auto &a, const auto &b) { return a.number < b.number; });
}

void read_channels(Reader &reader, RadioState &radio)
{
    bool knowsAvailable = false;
    if (reader.wants(PartChannels)) {
        WireScanCap cap = {};
        if (reader.get("getScanCap", { arg_band(radio.band) }, &cap)) {
            radio.scans = cap.isSupportScan != 0;
            radio.scanInterval = cap.scanItv;
        }
        knowsAvailable =
            reader.get("getRadioAvaliableChannelList", { arg_band(radio.band) }, &radio.available);
        reader.get("getNolChannelList", { arg_band(radio.band) }, &radio.nol);
    }
    list_channels(radio, knowsAvailable);
}

ChannelState *channel_of(RadioState &radio, int number)
{
    return const_cast<ChannelState *>(radio.find_channel(number));
}

void read_figures(Reader &reader, RadioState &radio, Snapshot &snapshot)
{
    WireOffChInfo figures = {};
    if (!reader.get("getOffChannelInfo", { arg_band(radio.band) }, &figures))
        return;
    radio.figures = figures;
    for (const WireOffChannel &record : figures.channels) {
        if (record.ch <= 0)
            continue;
        if (record.time != 0)
            snapshot.lastResult = record.time;
        ChannelState *channel = channel_of(radio, record.ch);
        if (!channel)
            continue;
        channel->isVisited = true;
        if (record.chnUtil >= 0)
            channel->utilisation = record.chnUtil;
        if (record.time != 0)
            channel->measuredAt = record.time;
        if (record.noise >= lowestFloor)
            channel->noise = record.noise;
        // Without a raw noise the daemon puts its default there, which nobody measured.
        const double smoothed = record.smoothedNoise;
        if (channel->noise && smoothed != 0.0 && std::isfinite(smoothed))
            channel->smoothed = smoothed;
    }
}

void read_neighbors(Reader &reader, RadioState &radio)
{
    radio.heard = reader.bytes("getNeighborAPInfo", { arg_band(radio.band) }, sizeof(WireNbAPInfo));
    if (radio.heard.empty())
        return;
    const auto *heard = reinterpret_cast<const WireNbAPInfo *>(radio.heard.data()); // packed: lies anywhere
    for (int i = 0; i < clamp_count(heard->nbNums, VESK_WIRE_NEIGHBORS); i++) {
        const WireNeighbor &n = heard->neighbors[i];
        radio.neighbors.push_back({ n.channel, unless_zero(n.rssi), mac_text(n.bssid), FIELD_TEXT(n.ssid) });
        if (ChannelState *channel = channel_of(radio, n.channel))
            channel->neighbors++;
    }
    std::stable_sort(radio.neighbors.begin(), radio.neighbors.end(), [](const auto &a, const auto &b) {
        return a.level.value_or(-999) > b.level.value_or(-999);
    });
}

void take_radio_fields(RadioState &radio)
{
    const WireRadioInfo &info = radio.info;
    radio.name = FIELD_TEXT(info.radioIfname);
    radio.mac = mac_text(info.radioMac);
    radio.standards = FIELD_TEXT(info.operatingStandards);
    radio.country = FIELD_TEXT(info.countryCode);
    radio.isUp = info.status != 0;
    radio.isEnabled = info.isEnabled != 0;
    radio.isAcsEnabled = info.isAcsEnabled != 0;
    radio.channel = info.curChannel;
    radio.bandwidth = info.curBw;
    radio.frequency = info.curFreq;
    radio.power = static_cast<double>(info.txPower);
}

bool read_radio(Reader &reader, int band, Snapshot &snapshot)
{
    RadioState radio = {};
    radio.band = band;
    if (!reader.get("getRadioInfo", { arg_band(band) }, &radio.info))
        return false;
    take_radio_fields(radio);
    read_channels(reader, radio);
    if (reader.wants(PartFigures)) {
        read_figures(reader, radio, snapshot);
        read_neighbors(reader, radio);
    }
    WireCurChannelInfo operating = {};
    if (reader.wants(PartLoad) && reader.get("getCurChannelInfo", { arg_band(band) }, &operating) &&
        operating.channel != 0)
        radio.operating = operating;
    WireIntfStats stats = {};
    if (reader.wants(PartCounters) && reader.get("getRadioIntfStats", { arg_band(band) }, &stats))
        radio.stats = stats;
    snapshot.radios.push_back(std::move(radio));
    return true;
}

void read_stations(Reader &reader, VapState &vap)
{
    vap.stationTable = reader.bytes("getStaInfo", { arg_text("vapName", vap.name) }, sizeof(WireStaInfo));
    if (vap.stationTable.empty())
        return;
    const auto *all = reinterpret_cast<const WireStaInfo *>(vap.stationTable.data()); // packed: lies anywhere
    for (int i = 0; i < clamp_count(all->count, VESK_WIRE_STATIONS); i++) {
        const WireStation &s = all->stations[i];
        vap.stations.push_back({ mac_text(s.mac), unless_zero(s.rssi), s.tx, s.rx, static_cast<long>(s.time),
                                 s.bw, s.is11k != 0, s.is11v != 0, s.isBhInt != 0 });
    }
}

/** A name that the driver lists twice is one VAP. */
VapState *read_vap(Reader &reader, const std::string &name, int band, Snapshot &snapshot)
{
    VapState vap = {};
    if (name.empty() || snapshot.find_vap(name) ||
        !reader.get("getVapInfo", { arg_text("vapName", name) }, &vap.info))
        return nullptr;
    vap.name = name;
    vap.ssid = FIELD_TEXT(vap.info.ssid);
    vap.bssid = mac_text(vap.info.bssid);
    vap.band = band;
    vap.attribute = vap.info.vapAttr;
    vap.isUp = vap.info.status != 0;
    vap.authMode = vap.info.authMode;
    vap.encryptMode = vap.info.encryptMode;
    if (std::any_of(vap.info.bstaPeerBssid, vap.info.bstaPeerBssid + 6, [](uint8_t b) { return b != 0; }))
        vap.peer = mac_text(vap.info.bstaPeerBssid);
    if (reader.wants(PartStations) && !vap.is_station())
        read_stations(reader, vap);
    WireIntfStats stats = {};
    if (reader.wants(PartCounters) && reader.get("getVapIntfStats", { arg_text("vapName", name) }, &stats))
        vap.stats = stats;
    return &snapshot.vaps.emplace_back(std::move(vap));
}

void read_vaps(Reader &reader, int band, Snapshot &snapshot)
{
    WireApIntfsInfo list = {};
    if (reader.get("getRadioApIntfsInfo", { arg_band(band) }, &list))
        for (const auto &name : list.vapIfname)
            read_vap(reader, FIELD_TEXT(name), band, snapshot);
    WireBstaIntf station = {};
    if (!reader.get("getBstaIntfInfo", { arg_band(band) }, &station))
        return;
    const std::string name = FIELD_TEXT(station.ifName);
    read_vap(reader, name, band, snapshot);
    for (VapState &vap : snapshot.vaps)
        if (vap.name == name)
            vap.bsta = station;
}

void read_state(Reader &reader, Snapshot &snapshot)
{
    struct stat st;
    snapshot.isReady = stat(readyFlag, &st) == 0;
    if (snapshot.isReady)
        snapshot.readySince = st.st_mtime;
    reader.get("getVersionInfo", {}, &snapshot.versionInfo);
    snapshot.name = FIELD_TEXT(snapshot.versionInfo.name);
    snapshot.version = FIELD_TEXT(snapshot.versionInfo.version);
    uint8_t over = 0;
    if (reader.get("getScanStatus", {}, &over))
        snapshot.areFirstScansOver = over != 0;
}
} // namespace

int RadioState::measured() const
{
    return static_cast<int>(
        std::count_if(channels.begin(), channels.end(), [](const ChannelState &c) { return c.isVisited; }));
}

const ChannelState *RadioState::find_channel(int wanted) const
{
    for (const ChannelState &state : channels)
        if (state.number == wanted)
            return &state;
    return nullptr;
}

const RadioState *Snapshot::find_radio(int band) const
{
    for (const RadioState &radio : radios)
        if (radio.band == band)
            return &radio;
    return nullptr;
}

const VapState *Snapshot::find_vap(std::string_view wanted) const
{
    for (const VapState &vap : vaps)
        if (vap.name == wanted || inner_name(vap.name) == wanted)
            return &vap;
    return nullptr;
}

bool take_snapshot(Snapshot &snapshot, unsigned parts, std::string &error, int limitMs)
{
    bus_start_time(limitMs);
    snapshot = {};
    snapshot.time = now_seconds();
    Reader reader = { parts, "" };
    if (reader.wants(PartState))
        read_state(reader, snapshot);
    for (int band : liveBands)
        if (read_radio(reader, band, snapshot) && reader.wants(PartVaps))
            read_vaps(reader, band, snapshot);
    error = reader.error;
    if (!error.empty())
        bus_disconnect(); // the next look connects again
    return error.empty();
}

std::optional<int> known_share(const WireCurChannelInfo &load, int64_t share)
{
    const bool isAbsent = share < 0 || share > INT32_MAX || (load.ccaIdle < 0 && share == 0);
    return isAbsent ? std::nullopt : std::optional(static_cast<int>(share));
}

int signal_bars(int dbm)
{
    return dbm >= -55 ? 4 : dbm >= -65 ? 3 : dbm >= -75 ? 2 : dbm >= -85 ? 1 : 0;
}
