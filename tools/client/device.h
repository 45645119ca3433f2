// Everything that the bus tells of the device, read once, each method with the same arguments called once.
// Every table, page, screen, metric and JSON is written from it; none of them asks the bus again.
#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "include/vesk_wire.h"
#include "tools/client/bus.h"
#include "tools/client/record.h"

/** What a look is for: a command reads what it shows. */
enum Parts : unsigned {
    PartState = 1 << 0,    // version, first scans, ready flag
    PartChannels = 1 << 1, // available and non-occupancy lists, scan interval
    PartFigures = 1 << 2,  // what the scans measured and heard
    PartLoad = 1 << 3,     // figures of the operating channel
    PartVaps = 1 << 4,
    PartStations = 1 << 5, // with the VAPs
    PartCounters = 1 << 6, // of radios, and of the VAPs where those are read
    PartOverview = PartState | PartChannels | PartFigures | PartLoad | PartVaps | PartStations,
};

/** A channel of a radio. What hasn't been measured is absent, never a zero. */
struct ChannelState {
    int number;
    uint16_t attribute;
    bool isOwn, isAvailable, isNol, needsDfs;
    bool isVisited;                 // by a scan, whatever the driver measured there
    int nolSeconds;                 // non-occupancy lasts so long at most
    std::optional<int> utilisation; // percent
    std::optional<int> noise;       // raw, dBm
    std::optional<double> smoothed; // dBm
    std::optional<time_t> measuredAt;
    int neighbors; // heard there
    bool isMeasured() const { return utilisation.has_value(); }
};

struct NeighborState {
    int channel;
    std::optional<int> level; // dBm
    std::string bssid, ssid;
};

struct StationState {
    std::string mac;
    std::optional<int> signal; // dBm
    int tx, rx;                // Mbit/s
    long seconds;              // since the association
    int bandwidth;             // index, of the VAP's radio
    bool is11k, is11v, isBackhaul;
};

struct RadioState {
    int band; // band word
    std::string name, mac, standards, country;
    bool isUp, isEnabled, isAcsEnabled;
    int channel, bandwidth; // index
    int frequency;          // MHz
    double power;           // dBm
    bool scans;
    int scanInterval;                     // seconds
    std::vector<ChannelState> channels;   // ascending
    std::vector<NeighborState> neighbors; // strongest first
    std::optional<WireCurChannelInfo> operating;
    std::optional<WireIntfStats> stats;

    // As they came, for JSON.
    WireRadioInfo info;
    WireChList available;
    WireNolList nol;
    std::optional<WireOffChInfo> figures;
    std::vector<uint8_t> heard; // WireNbAPInfo, empty where it wasn't told

    int measured() const; // channels that a scan has visited
    const ChannelState *find_channel(int number) const;
    /** "up", "down", "disabled". */
    const char *state() const { return !isEnabled ? "disabled" : isUp ? "up" : "down"; }
};

struct VapState {
    std::string name, ssid, bssid, peer; // peer: of a connected backhaul station, else empty
    int band;
    uint8_t attribute;
    bool isUp;
    int authMode, encryptMode;
    std::vector<StationState> stations;
    std::optional<WireIntfStats> stats;

    WireVapInfo info;
    std::optional<WireBstaIntf> bsta;  // of a backhaul station
    std::vector<uint8_t> stationTable; // WireStaInfo, empty where it wasn't read

    bool is_station() const { return is_bsta(attribute); }
};

struct Snapshot {
    double time; // seconds since the epoch
    std::string name, version;
    WireVersionInfo versionInfo;
    bool isReady; // the flag file is there
    std::optional<time_t> readySince;
    bool areFirstScansOver;
    std::optional<time_t> lastResult; // of the last periodic 5 GHz result, which is all that the daemon keeps
    std::vector<RadioState> radios;
    std::vector<VapState> vaps; // each name once

    const RadioState *find_radio(int band) const;
    /** By outer or inner name. */
    const VapState *find_vap(std::string_view name) const;
};

inline constexpr const char *readyFlag = "/tmp/vesk_ready";

/** Reads the parts, all within one limit of time. False, with the reason, when the daemon can't be asked. */
bool take_snapshot(Snapshot &snapshot, unsigned parts, std::string &error, int limitMs = busLimitMs);

/** The snapshot as JSON: figures that are absent are null. */
Json snapshot_json(const Snapshot &snapshot);

/** A share of the operating channel's time in percent. The record counts its shares unsigned, so that a
 * driver that knows none of them says 0 beside an idle share below 0. */
std::optional<int> known_share(const WireCurChannelInfo &load, int64_t share);

/** 0 to 4 bars of a signal level in dBm. */
int signal_bars(int dbm);
