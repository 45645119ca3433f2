#include "tools/veskctl/snapshot.h"

#include <algorithm>
#include <cmath>

#include <sys/stat.h>

#include "tools/veskctl/cli.h"
#include "tools/veskctl/text.h"

namespace
{
constexpr int lowestFloor = -253; // dBm; the daemon takes a raw noise below it for invalid

/** Calls one after the other; the first that the bus itself fails ends them all. */
struct Reader {
    std::string error;

    /** False where the daemon refuses, or when the bus has failed. */
    template <class T>
    bool get(const char *method, const std::vector<CallArg> &args, T *value)
    {
        if (!error.empty())
            return false;
        const CallResult result = ctl_get(method, args, value);
        error = result.error;
        return error.empty() && result.status == 0 && result.record.size() == sizeof(T);
    }
};

std::optional<int> unless_zero(int value)
{
    return value == 0 ? std::nullopt : std::optional(value);
}

template <size_t N>
bool lists(const uint8_t (&list)[N], int count, int channel)
{
    return std::find(list, list + std::clamp(count, 0, static_cast<int>(N)), channel) !=
           list + std::clamp(count, 0, static_cast<int>(N));
}

void read_channels(Reader &reader, RadioState &radio, const WireRadioInfo &info)
{
    WireChList available = {};
    WireNolList nol = {};
    const bool knowsAvailable =
        reader.get("getRadioAvaliableChannelList", { arg_band(radio.band) }, &available);
    reader.get("getNolChannelList", { arg_band(radio.band) }, &nol);
    for (int i = 0; i < std::clamp(info.chListNums, 0, VESK_WIRE_CHANNELS); i++) {
        ChannelState channel = {};
        channel.number = info.curchList[i];
        channel.isOwn = channel.number == info.curChannel;
        channel.isAvailable =
            !knowsAvailable || lists(available.chList, available.chListNums, channel.number);
        for (int k = 0; k < std::min<int>(nol.count, VESK_WIRE_NOL_CHANNELS); k++)
            channel.isNol = channel.isNol || nol.channels[k].channel == channel.number;
        radio.channels.push_back(channel);
    }
    std::sort(radio.channels.begin(), radio.channels.end(),
              [](const auto &a, const auto &b) { return a.number < b.number; });
}

void read_figures(Reader &reader, RadioState &radio, Snapshot &snapshot)
{
    WireOffChInfo figures = {};
    if (!reader.get("getOffChannelInfo", { arg_band(radio.band) }, &figures))
        return;
    for (const WireOffChannel &record : figures.channels) {
        if (record.ch <= 0)
            continue;
        if (record.time != 0)
            snapshot.lastResult = record.time;
        for (ChannelState &channel : radio.channels) {
            if (channel.number != record.ch)
                continue;
            channel.utilisation = record.chnUtil;
            if (record.noise >= lowestFloor)
                channel.noise = record.noise;
            const double smoothed = record.smoothedNoise;
            if (smoothed != 0.0 && std::isfinite(smoothed))
                channel.smoothed = smoothed;
        }
    }
}

void read_neighbors(Reader &reader, RadioState &radio)
{
    WireNbAPInfo heard = {};
    if (!reader.get("getNeighborAPInfo", { arg_band(radio.band) }, &heard))
        return;
    for (int i = 0; i < std::clamp(heard.nbNums, 0, VESK_WIRE_NEIGHBORS); i++) {
        const WireNeighbor &n = heard.neighbors[i];
        radio.neighbors.push_back({ n.channel, unless_zero(n.rssi), mac_text(n.bssid), FIELD_TEXT(n.ssid) });
        for (ChannelState &channel : radio.channels)
            channel.neighbors += channel.number == n.channel;
    }
    std::stable_sort(radio.neighbors.begin(), radio.neighbors.end(), [](const auto &a, const auto &b) {
        return a.level.value_or(-999) > b.level.value_or(-999);
    });
}

bool read_radio(Reader &reader, int band, Snapshot &snapshot, bool counters)
{
    WireRadioInfo info = {};
    if (!reader.get("getRadioInfo", { arg_band(band) }, &info))
        return false;
    RadioState radio = {};
    radio.band = band;
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
    WireScanCap cap = {};
    if (reader.get("getScanCap", { arg_band(band) }, &cap))
        radio.scanInterval = cap.scanItv;
    read_channels(reader, radio, info);
    read_figures(reader, radio, snapshot);
    read_neighbors(reader, radio);
    WireCurChannelInfo operating = {};
    if (reader.get("getCurChannelInfo", { arg_band(band) }, &operating) && operating.channel != 0)
        radio.operating = operating;
    WireIntfStats stats = {};
    if (counters && reader.get("getRadioIntfStats", { arg_band(band) }, &stats))
        radio.stats = stats;
    snapshot.radios.push_back(std::move(radio));
    return true;
}

void read_stations(Reader &reader, VapState &vap)
{
    static WireStaInfo all; // 72 KiB: not for the stack
    if (!reader.get("getStaInfo", { arg_text("vapName", vap.name) }, &all))
        return;
    for (int i = 0; i < std::clamp(all.count, 0, VESK_WIRE_STATIONS); i++) {
        const WireStation &s = all.stations[i];
        vap.stations.push_back({ mac_text(s.mac), unless_zero(s.rssi), s.tx, s.rx, static_cast<long>(s.time),
                                 s.is11k != 0, s.is11v != 0, s.isBhInt != 0 });
    }
}

void read_vap(Reader &reader, const std::string &name, int band, Snapshot &snapshot, bool counters)
{
    WireVapInfo info = {};
    if (!reader.get("getVapInfo", { arg_text("vapName", name) }, &info))
        return;
    VapState vap = {};
    vap.name = name;
    vap.ssid = FIELD_TEXT(info.ssid);
    vap.bssid = mac_text(info.bssid);
    vap.band = band;
    vap.attribute = info.vapAttr;
    vap.isUp = info.status != 0;
    if (std::any_of(info.bstaPeerBssid, info.bstaPeerBssid + 6, [](uint8_t b) { return b != 0; }))
        vap.peer = mac_text(info.bstaPeerBssid);
    if (!is_bsta(vap.attribute))
        read_stations(reader, vap);
    WireIntfStats stats = {};
    if (counters && reader.get("getVapIntfStats", { arg_text("vapName", name) }, &stats))
        vap.stats = stats;
    snapshot.vaps.push_back(std::move(vap));
}

void read_vaps(Reader &reader, int band, Snapshot &snapshot, bool counters)
{
    WireApIntfsInfo list = {};
    if (reader.get("getRadioApIntfsInfo", { arg_band(band) }, &list))
        for (const auto &name : list.vapIfname)
            if (name[0])
                read_vap(reader, FIELD_TEXT(name), band, snapshot, counters);
    WireBstaIntf station = {};
    if (reader.get("getBstaIntfInfo", { arg_band(band) }, &station) && station.ifName[0])
        read_vap(reader, FIELD_TEXT(station.ifName), band, snapshot, counters);
}

void read_ready_flag(Snapshot &snapshot)
{
    struct stat st;
    snapshot.isReady = stat(readyFlag, &st) == 0;
    if (snapshot.isReady)
        snapshot.readySince = st.st_mtime;
}
} // namespace

int RadioState::measured() const
{
    return static_cast<int>(std::count_if(channels.begin(), channels.end(),
                                          [](const ChannelState &c) { return c.isMeasured(); }));
}

bool take_snapshot(Snapshot &snapshot, std::string &error, bool counters)
{
    snapshot = {};
    snapshot.time = now_seconds();
    read_ready_flag(snapshot);
    Reader reader;
    WireVersionInfo version = {};
    uint8_t over = 0;
    reader.get("getVersionInfo", {}, &version);
    if (reader.get("getScanStatus", {}, &over))
        snapshot.areFirstScansOver = over != 0;
    snapshot.name = FIELD_TEXT(version.name);
    snapshot.version = FIELD_TEXT(version.version);
    for (int band = 0; band < 5; band++)
        if (read_radio(reader, band, snapshot, counters))
            read_vaps(reader, band, snapshot, counters);
    error = reader.error;
    return error.empty();
}

Snapshot must_take_snapshot(bool counters)
{
    Snapshot snapshot;
    std::string error;
    if (!take_snapshot(snapshot, error, counters))
        fail(error);
    return snapshot;
}

int signal_bars(int dbm)
{
    return dbm >= -55 ? 4 : dbm >= -65 ? 3 : dbm >= -75 ? 2 : dbm >= -85 ? 1 : 0;
}
