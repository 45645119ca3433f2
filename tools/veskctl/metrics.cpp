// A metric is a row: name, type, help. Samples are collected per row, because the format wants a metric's
// samples together, and each set of labels once.
#include "tools/veskctl/metrics.h"

#include <array>
#include <cmath>
#include <cstring>
#include <unordered_set>
#include <vector>

#include "tools/client/device.h"
#include "tools/client/text.h"

namespace
{
enum Metric : size_t {
    Up,
    Info,
    Ready,
    ReadyTime,
    FirstScansOver,
    LastResult,
    ScanAge,
    RadioUp,
    RadioEnabled,
    RadioAcs,
    RadioInfo,
    RadioChannel,
    RadioFrequency,
    RadioWidth,
    RadioPower,
    RadioScanInterval,
    RadioMeasured,
    RadioNeighbors,
    RadioStats,
    OwnInbss,
    OwnTx,
    OwnIdle,
    OwnNoise,
    OwnTime,
    ChannelUtil,
    ChannelNoise,
    ChannelSmoothed,
    ChannelNeighbors,
    ChannelAvailable,
    ChannelNol,
    Neighbor,
    VapUp,
    VapInfo,
    VapStats,
    Stations,
    StationSignal,
    StationSeconds,
    StationTx,
    StationRx,
    Station11k,
    Station11v,
    MetricCount
};

struct Row {
    Metric id;
    const char *name, *type, *help;
};

// clang-format off
constexpr Row rows[] = {
    { Up, "vesk_up", "gauge", "1 if the daemon answered on the bus." },
    { Info, "vesk_info", "gauge", "Name and version of the daemon." },
    { Ready, "vesk_ready", "gauge", "1 if the ready flag is there." },
    { ReadyTime, "vesk_ready_timestamp_seconds", "gauge", "When the ready flag was made." },
    { FirstScansOver, "vesk_first_scans_over", "gauge", "1 if both radios' first scans are over." },
    { LastResult, "vesk_scan_last_result_timestamp_seconds", "gauge", "When the last result of a periodic 5 GHz scan came." },
    { ScanAge, "vesk_scan_age_seconds", "gauge", "Age of the last result of a periodic 5 GHz scan." },
    { RadioUp, "vesk_radio_up", "gauge", "1 if the radio is up." },
    { RadioEnabled, "vesk_radio_enabled", "gauge", "1 if the radio is enabled." },
    { RadioAcs, "vesk_radio_acs_enabled", "gauge", "1 if automatic channel selection is on." },
    { RadioInfo, "vesk_radio_info", "gauge", "What doesn't change of a radio." },
    { RadioChannel, "vesk_radio_channel", "gauge", "Operating channel." },
    { RadioFrequency, "vesk_radio_frequency_hertz", "gauge", "Frequency of the operating channel." },
    { RadioWidth, "vesk_radio_channel_width_hertz", "gauge", "Width of the operating channel." },
    { RadioPower, "vesk_radio_transmit_power_dbm", "gauge", "Transmit power as the driver gives it." },
    { RadioScanInterval, "vesk_radio_scan_interval_seconds", "gauge", "Interval of the periodic scan's passes." },
    { RadioMeasured, "vesk_radio_measured_channels", "gauge", "Channels that have been measured." },
    { RadioNeighbors, "vesk_radio_neighbors", "gauge", "Neighbouring access points heard." },
    { RadioStats, "vesk_radio_driver_statistic_total", "counter", "Statistics counter of the driver, by its place in the record." },
    { OwnInbss, "vesk_operating_channel_own_traffic_ratio", "gauge", "Load figure that the scan compares with its receive limit." },
    { OwnTx, "vesk_operating_channel_transmit_ratio", "gauge", "Utilisation figure that the scan compares with its transmit limit." },
    { OwnIdle, "vesk_operating_channel_idle_ratio", "gauge", "Idle share of the operating channel." },
    { OwnNoise, "vesk_operating_channel_noise_dbm", "gauge", "Noise on the operating channel." },
    { OwnTime, "vesk_operating_channel_timestamp_seconds", "gauge", "When the operating channel's figures were taken." },
    { ChannelUtil, "vesk_channel_utilisation_ratio", "gauge", "Share of the time that a channel was busy." },
    { ChannelNoise, "vesk_channel_noise_dbm", "gauge", "Raw noise of a channel." },
    { ChannelSmoothed, "vesk_channel_smoothed_noise_dbm", "gauge", "Smoothed noise of a channel, with its bias." },
    { ChannelNeighbors, "vesk_channel_neighbors", "gauge", "Neighbouring access points heard on a channel that has been measured." },
    { ChannelAvailable, "vesk_channel_available", "gauge", "1 if the radio may use the channel." },
    { ChannelNol, "vesk_channel_non_occupancy", "gauge", "1 while the channel is under non-occupancy after radar." },
    { Neighbor, "vesk_neighbor_signal_dbm", "gauge", "Level of a neighbouring access point." },
    { VapUp, "vesk_vap_up", "gauge", "1 if the access point or backhaul station is up." },
    { VapInfo, "vesk_vap_info", "gauge", "What doesn't change of an access point or backhaul station." },
    { VapStats, "vesk_vap_driver_statistic_total", "counter", "Statistics counter of the driver, by its place in the record." },
    { Stations, "wifi_stations", "gauge", "Number of connected stations." },
    { StationSignal, "wifi_station_signal_dbm", "gauge", "Current signal strength." },
    { StationSeconds, "wifi_station_connected_seconds", "gauge", "Time since the association." },
    { StationTx, "vesk_station_transmit_rate", "gauge", "Transmit rate in Mbit/s." },
    { StationRx, "vesk_station_receive_rate", "gauge", "Receive rate in Mbit/s." },
    { Station11k, "vesk_station_supports_11k", "gauge", "1 if the station supports 802.11k." },
    { Station11v, "vesk_station_supports_11v", "gauge", "1 if the station supports 802.11v." },
};
// clang-format on
static_assert(std::size(rows) == MetricCount);
constexpr bool rows_in_order()
{
    for (size_t i = 0; i < std::size(rows); i++)
        if (rows[i].id != i)
            return false;
    return true;
}
static_assert(rows_in_order());

/** The samples of every metric, as lines. */
struct Samples {
    std::array<std::string, MetricCount> lines;
    std::unordered_set<std::string> seen;

    /** A second sample of the same name and labels is dropped: a reader would refuse the whole page. */
    void add_line(Metric metric, const std::string &labels, const std::string &value)
    {
        const std::string series = rows[metric].name + (labels.empty() ? "" : "{" + labels + "}");
        if (seen.insert(series).second)
            lines[metric] += series + " " + value + "\n";
    }
    void add(Metric metric, const std::string &labels, double value)
    {
        if (std::isfinite(value))
            add_line(metric, labels, printed("%.15g", value));
    }
    template <class T>
    void add_if(Metric metric, const std::string &labels, const std::optional<T> &value, double unit = 1)
    {
        if (value)
            add(metric, labels, static_cast<double>(*value) / unit);
    }
    void add_counters(Metric metric, const std::string &labels, const std::optional<WireIntfStats> &stats);
};

std::string label(const char *name, const std::string &value)
{
    std::string text = std::string(name) + "=\"";
    for (char c : value)
        text += c == '\\' ? "\\\\" : c == '"' ? "\\\"" : std::string(1, c); // line ends are gone already
    return text + "\"";
}

void Samples::add_counters(Metric metric, const std::string &labels,
                           const std::optional<WireIntfStats> &stats)
{
    if (!stats)
        return;
    const std::vector<uint8_t> bytes = bytes_of_record(*stats);
    for (const FieldLayout &field : layoutIntfStats.fields)
        for (uint32_t i = 0; field.width == sizeof(uint64_t) && i < field.count; i++) {
            const size_t at = field.offset + i * field.width;
            uint64_t counter;
            memcpy(&counter, &bytes[at], sizeof counter);
            add_line(metric, labels + printed(",place=\"%zu\"", at / field.width), std::to_string(counter));
        }
}

/** 0 marks an absent figure; add() leaves out what isn't a number. */
double unless_zero(double value)
{
    return value == 0 ? NAN : value;
}

double width_hertz(int bandwidth)
{
    return unless_zero(bandwidth_mhz(bandwidth) * 1e6);
}

void add_operating(Samples &out, const std::string &labels, const WireCurChannelInfo &o)
{
    out.add_if(OwnInbss, labels, known_share(o, o.ccaInbss), 100);
    out.add_if(OwnTx, labels, known_share(o, o.ccaTxUtil), 100);
    out.add_if(OwnIdle, labels, known_share(o, o.ccaIdle), 100);
    out.add(OwnNoise, labels, unless_zero(o.noise));
    out.add(OwnTime, labels, unless_zero(o.time));
}

void add_channels(Samples &out, const std::string &radioLabels, const RadioState &radio)
{
    for (const ChannelState &c : radio.channels) {
        const std::string labels = radioLabels + "," + label("channel", std::to_string(c.number));
        out.add_if(ChannelUtil, labels, c.utilisation, 100);
        out.add_if(ChannelNoise, labels, c.noise);
        out.add_if(ChannelSmoothed, labels, c.smoothed);
        if (c.isVisited)
            out.add(ChannelNeighbors, labels, c.neighbors);
        out.add(ChannelAvailable, labels, c.isAvailable);
        out.add(ChannelNol, labels, c.isNol);
    }
    for (const NeighborState &n : radio.neighbors)
        out.add_if(Neighbor,
                   radioLabels + "," + label("channel", std::to_string(n.channel)) + "," +
                       label("bssid", n.bssid) + "," + label("ssid", n.ssid),
                   n.level);
}

void add_radio(Samples &out, const RadioState &radio)
{
    const std::string labels = label("radio", radio.name) + "," + label("band", band_name(radio.band));
    out.add(RadioUp, labels, radio.isUp);
    out.add(RadioEnabled, labels, radio.isEnabled);
    out.add(RadioAcs, labels, radio.isAcsEnabled);
    out.add(RadioInfo,
            labels + "," + label("mac", radio.mac) + "," + label("standards", radio.standards) + "," +
                label("country", radio.country),
            1);
    out.add(RadioChannel, labels, unless_zero(radio.channel));
    out.add(RadioFrequency, labels, unless_zero(radio.frequency * 1e6));
    out.add(RadioWidth, labels, width_hertz(radio.bandwidth));
    out.add(RadioPower, labels, radio.power);
    out.add(RadioScanInterval, labels, radio.scanInterval);
    out.add(RadioMeasured, labels, radio.measured());
    out.add(RadioNeighbors, labels, static_cast<double>(radio.neighbors.size()));
    out.add_counters(RadioStats, labels, radio.stats);
    if (radio.operating)
        add_operating(out, labels, *radio.operating);
    add_channels(out, labels, radio);
}

void add_vap(Samples &out, const VapState &vap)
{
    const std::string labels = label("ifname", vap.name);
    out.add(VapUp, labels, vap.isUp);
    out.add(VapInfo,
            labels + "," + label("band", band_name(vap.band)) + "," + label("ssid", vap.ssid) + "," +
                label("bssid", vap.bssid) + "," + label("role", vap_role(vap.attribute)),
            1);
    out.add_counters(VapStats, labels, vap.stats);
    if (vap.is_station())
        return;
    out.add(Stations, labels, static_cast<double>(vap.stations.size()));
    for (const StationState &s : vap.stations) {
        const std::string station = labels + "," + label("mac", s.mac);
        out.add_if(StationSignal, station, s.signal);
        out.add(StationSeconds, station, static_cast<double>(s.seconds));
        out.add(StationTx, station, s.tx);
        out.add(StationRx, station, s.rx);
        out.add(Station11k, station, s.is11k);
        out.add(Station11v, station, s.is11v);
    }
}

void add_daemon(Samples &out, const Snapshot &s)
{
    out.add(Info, label("name", s.name) + "," + label("version", s.version), 1);
    out.add(Ready, "", s.isReady);
    out.add_if(ReadyTime, "", s.readySince);
    out.add(FirstScansOver, "", s.areFirstScansOver);
    out.add_if(LastResult, "", s.lastResult);
    if (s.lastResult)
        out.add(ScanAge, "", std::max(0.0, std::floor(s.time) - static_cast<double>(*s.lastResult)));
    for (const RadioState &radio : s.radios)
        add_radio(out, radio);
    for (const VapState &vap : s.vaps)
        add_vap(out, vap);
}
} // namespace

std::string metrics_text(const Snapshot *snapshot)
{
    Samples samples;
    samples.add(Up, "", snapshot != nullptr);
    if (snapshot)
        add_daemon(samples, *snapshot);
    std::string text;
    for (const Row &row : rows) {
        if (samples.lines[row.id].empty())
            continue;
        text += printed("# HELP %s %s\n# TYPE %s %s\n", row.name, row.help, row.name, row.type);
        text += samples.lines[row.id];
    }
    return text;
}
