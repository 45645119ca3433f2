// The simulated two-radio device behind librilk.so and libhul.so: its model, and the way into it. One shared
// object, libvesk_sim.so, holds the state, so that both libraries see the same device. Everything here but
// the file names below is used between sim_enter and sim_leave only: one mutex guards the whole device.
#pragma once

#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "include/hul.h"
#include "include/rilk.h"

inline constexpr int SIM_UNSET = INT32_MIN; // a figure that the description leaves to the simulator

/** Comes and goes: there for `on` visits, away for `off`, and again; off 0: always there. */
struct SimCycle {
    int on = 1;
    int off = 0;
};

struct SimMac {
    uint8_t bytes[6] = {};
};

struct SimStation {
    SimMac mac;
    int rssi = -55;  // dBm
    int flutter = 0; // dB that rssi moves by, up and down
    int tx = 0;
    int rx = 0;
    int value1 = 0;
    int value2 = -60;
    int value3 = 0;
    int value4 = 0;
    uint32_t time = 0;
    bool is11v = false;
    bool is11k = false;
    char text1[64] = {};
    char text2[16] = {};
    std::vector<uint8_t> frame; // association request; empty: one is made up
    SimCycle polls;             // counted by rilk_getVapAssocStationNumber
    bool gone = false;          // disconnected
};

struct SimVap {
    char name[16] = {};
    char ssid[65] = {};
    char key[65] = {};
    char mode[32] = "ap";
    SimMac bssid;
    uint8_t status = 1;
    uint8_t attr = 0;
    uint16_t auth = 0;
    uint16_t encrypt = 0;
    int listed = SIM_UNSET; // in the radio's VAP list; unset: unless it is a station interface
    std::vector<uint64_t> counters;
    std::vector<SimStation> stations;
    std::vector<SimMac> blocked;
    uint32_t polls = 0;   // calls of rilk_getVapAssocStationNumber
    uint32_t queries = 0; // of the statistics
};

struct SimNeighbor {
    char bssid[18] = {};
    char ssid[65] = {};
    int channel = 0;
    int rssi = -70;
    int flutter = 0;
    uint16_t value1 = 0;
    uint16_t value2 = 0;
    char text[32] = {};
    SimCycle visits; // counted by the scans of its channel
};

struct SimChannel {
    uint8_t ch = 0;
    uint16_t attr = 0;
    int util = SIM_UNSET;  // percent
    int noise = SIM_UNSET; // dBm
    int inC = SIM_UNSET;
    int cac = SIM_UNSET;
};

struct SimRadio {
    char name[16] = {};
    char chip[64] = {};
    char bond[8] = {};
    char standards[32] = {};
    uint8_t status = 1;
    uint8_t enabled = 1;
    uint8_t acs = 1;
    int channel = 0;
    int bw = 0;
    float power = 20.0F;
    uint32_t ccaInbss = 0;
    uint32_t ccaTxUtil = 0;
    int noise = -95;
    std::vector<SimChannel> channels;
    std::vector<SimChannel> excluded;
    std::vector<SimChannel> nol;
    std::vector<SimNeighbor> neighbors;
    std::vector<SimVap> vaps;
    std::vector<uint64_t> counters;
    uint32_t queries = 0;
};

/** What a named function does instead of its work. */
struct SimFault {
    int delayMs = 0;
    int rc = 0;
    int garbage = -1; // byte that fills the results; -1: none
};

struct SimDevice {
    int role = 2;
    char country[8] = {};
    uint32_t seed = 1;
    SimRadio radios[2];
    std::map<std::string, SimFault> functions;
};

/** Names the description, the log and the list of stations; the device begins anew. For tests. */
void sim_use_files(const char *description, const char *log, const char *stations);
/**
 * Moves the device's clock by `ms`. From the first call on it stands still between the calls, and a
 * function's delay lasts until it has been moved far enough. The number of callers that sit in a delay now.
 * For tests.
 */
int sim_advance(int64_t ms);

/** Brings the device up to date with the description, waits out the function's delay, locks the device. */
SimFault sim_enter(const char *function);
void sim_leave();
SimDevice &sim_device();

/** One line to the log, "function arguments rc=N t=SECONDS"; the device is locked. */
void sim_log_command(const char *function, const char *arguments, int rc);
/** One line to the log about the description. */
void sim_log_note(const char *note);

std::string sim_format(const char *format, ...) __attribute__((format(printf, 1, 2)));
std::string sim_hex(const uint8_t *bytes, size_t count);
int64_t sim_monotonic_ms();
/** Sleeps, by the device's clock. */
void sim_sleep(int ms);
/** Evenly spread and the same for the same arguments: -range to range. */
int sim_flutter(uint32_t salt, uint32_t visit, int range);
bool sim_present(const SimCycle &cycle, uint32_t visit);
/** 64-bit counters of a statistics record: as described, or growing with each query. */
void sim_fill_stats(VeskIntfStats &stats, const std::vector<uint64_t> &described, uint32_t query);

/** The device that a text describes, on top of what `device` holds. False: no JSON object, device untouched.
 */
bool sim_describe(const char *text, SimDevice &device);
/** The description that stands where a file says nothing. */
const char *sim_builtin_description();

/** Whether the list of stations isn't the one that was read, or has become shorter. */
bool sim_stations_replaced(const char *path);
/** Applies the lines of the list that have come since the last call, or all. */
void sim_follow_stations(const char *path, SimDevice &device, bool fromStart);

/** "02:1a:..."; false and `mac` untouched if it is none. */
bool sim_parse_mac(const char *text, SimMac &mac);
/** An even number of hexadecimal digits; false and `bytes` untouched if it isn't. */
bool sim_parse_hex(const char *text, std::vector<uint8_t> &bytes);

// Look-ups; NULL where there is none, also for a NULL name.
SimRadio *sim_radio(SimDevice &device, const char *name);
SimRadio *sim_radio_of_band(SimDevice &device, int32_t actualBand);
SimVap *sim_vap(SimDevice &device, const char *name, SimRadio **owner);
const SimChannel *sim_channel(const std::vector<SimChannel> &list, int32_t channel);
/** Whether an interface is up: its own status and its radio's. */
bool sim_vap_is_up(const SimRadio &radio, const SimVap &vap);
bool sim_mac_equal(const SimMac &mac, const uint8_t *bytes);

// Scanning: visits of channels, and what they found.
void sim_scan_forget();
void sim_scan_list(const uint32_t *channels, int32_t count);
/** Due on the monotonic clock after `dwell` ms; channel 0: the whole list, a dwell each. 0, or -1. */
int sim_scan_trigger(SimDevice &device, SimRadio &radio, int32_t channel, int32_t dwell);
/** `garbage`: as in SimFault. */
void sim_scan_results(SimDevice &device, SimRadio &radio, VeskScanChannel **channels, int garbage);
int sim_scan_neighbors(SimDevice &device, SimRadio &radio, int32_t channel, VeskScanNeighbor **table,
                       int garbage);

/** "-" for a NULL text. */
inline const char *sim_shown(const char *text)
{
    return text ? text : "-";
}

/** Copies a text into a field, cut and terminated; the rest of the field is zero. */
template <size_t N>
void sim_copy(char (&field)[N], const char *text)
{
    memset(field, 0, N);
    memcpy(field, text, strnlen(text, N - 1));
}

/** A call that only reads: `body` is skipped if the description wants a failure or garbage in `out`. */
template <class Body>
int sim_get(const char *function, void *out, size_t size, Body body)
{
    if (!out)
        return -1;
    const SimFault fault = sim_enter(function);
    int result = fault.rc;
    if (result == 0 && fault.garbage >= 0)
        memset(out, fault.garbage, size);
    else if (result == 0)
        result = body(sim_device());
    sim_leave();
    return result;
}

/** A call that changes something: written to the log, and without effect if it is to fail. */
template <class Body>
int sim_command(const char *function, const std::string &arguments, Body body)
{
    const SimFault fault = sim_enter(function);
    const int result = fault.rc != 0 ? fault.rc : body(sim_device());
    sim_log_command(function, arguments.c_str(), result);
    sim_leave();
    return result;
}
