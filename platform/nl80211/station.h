// Stations of an access point: what the kernel knows of each, what hostapd knows beside it, and the snapshot
// that the daemon walks by position.
#pragma once

#include <cstdint>

#include "platform/nl80211/hostapd.h"
#include "platform/nl80211/list.h"

namespace radio
{

struct Station {
    uint8_t mac[6];
    int8_t signal;  // dBm; 0 if unknown
    int8_t average; // likewise
    bool authorised;
    uint32_t tx, rx;     // bit rates, 100 kbit/s
    uint32_t connected;  // s
    uint32_t inactive;   // ms
    uint32_t throughput; // expected, kbit/s
    uint64_t rxPackets, txPackets, rxBytes, txBytes, rxDropped;
    uint32_t txRetries, txFailed;

    // From hostapd, asked once when the station is new.
    bool asked;
    Abilities abilities;
};

/** One station of an access point or of its AP_VLAN interfaces. 0, or negative errno. */
int station_read(uint32_t ifindex, const uint8_t *mac, Station &station);

/** Takes an access point's authorised stations, those on AP_VLAN interfaces with them. 0, or negative errno.
 */
int station_collect(const char *ifName, List<Station> &stations);

/** Stations of one interface. 0, or negative errno. */
int station_list(uint32_t ifindex, List<Station> &stations);

/**
 * Takes the snapshot of an access point's authorised stations, those on AP_VLAN interfaces with them. 0 with
 * their number, or -1 with the earlier snapshot kept. An interface that is gone or no access point has none.
 */
int station_take(const char *ifName, int32_t &number);

/** The station at a position from 0, or of a MAC, in the last snapshot. False if there is none. */
bool station_at(const char *ifName, int32_t position, Station &station);
bool station_of(const char *ifName, const uint8_t *mac, Station &station);

/** The last snapshot is forgotten. For tests. */
void station_forget();

} // namespace radio
