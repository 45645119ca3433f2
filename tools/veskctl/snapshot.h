// Everything that the bus tells of the device, read once. The report, the status, the metrics and the
// explanations are written from it; none of them asks the bus again.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <cjson/cJSON.h>

#include "include/vesk_wire.h"

/** A channel of a radio. What hasn't been measured is absent, never a zero. */
struct ChannelState {
    int number;
    bool isOwn, isAvailable, isNol;
    std::optional<int> utilisation; // percent
    std::optional<int> noise;       // raw, dBm
    std::optional<double> smoothed; // dBm
    int neighbors;                  // heard there
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
    int tx, rx;                // the driver's figures
    long seconds;              // since the association
    bool is11k, is11v, isBackhaul;
};

struct RadioState {
    int band; // band word
    std::string name, mac, standards, country;
    bool isUp, isEnabled, isAcsEnabled;
    int channel, bandwidth;               // index
    int frequency;                        // MHz
    double power;                         // dBm
    int scanInterval;                     // seconds
    std::vector<ChannelState> channels;   // ascending
    std::vector<NeighborState> neighbors; // strongest first
    std::optional<WireCurChannelInfo> operating;
    std::optional<WireIntfStats> stats;
    int measured() const;
};

struct VapState {
    std::string name, ssid, bssid, peer; // peer: of a connected backhaul station, else empty
    int band;
    uint8_t attribute;
    bool isUp;
    std::vector<StationState> stations;
    std::optional<WireIntfStats> stats;
};

struct Snapshot {
    double time; // seconds since the epoch
    std::string name, version;
    bool isReady; // the flag file is there
    std::optional<time_t> readySince;
    bool areFirstScansOver;
    std::optional<time_t> lastResult; // of the last periodic 5 GHz result, which is all that the daemon keeps
    std::vector<RadioState> radios;
    std::vector<VapState> vaps;
};

inline constexpr const char *readyFlag = "/tmp/vesk_ready";

/** Reads everything; `counters`: the interface statistics, too. False, with the reason, when the daemon can't
 * be asked. */
bool take_snapshot(Snapshot &snapshot, std::string &error, bool counters = false);
/** The same, or the end of the program. */
Snapshot must_take_snapshot(bool counters = false);

/** The snapshot as JSON; caller deletes. */
cJSON *snapshot_json(const Snapshot &snapshot);

/** 0 to 4 bars of a signal level in dBm. */
int signal_bars(int dbm);
