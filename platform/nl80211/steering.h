// Requests to stations: a beacon report (802.11k), a move to another access point (802.11v).
#pragma once

#include "include/rilk.h"

namespace radio
{

/**
 * Sends a beacon request: for a moment of 100 time units on `value2` of the operating class `value1` (0: the
 * channel's own), `value3` the mode, `value4` the reporting detail; the list becomes AP channel reports. 0,
 * or -1 with a line.
 */
int steering_request_beacon(const char *ifName, const RilkBeaconReq &req);

/**
 * Sends a BSS transition management request: `value1` the mode (1 candidates are a preference, 2 abridged, 4
 * disassociation is imminent), `value2` the validity, `value3` the disassociation timer, a candidate's
 * `value1` and `value2` its operating class and channel; what is 0 of the two comes from the other or from
 * the scans. 0, or -1 with a line: also for a mode whose fields the record doesn't have.
 */
int steering_request_move(const char *ifName, const RilkBtmReq &req);

} // namespace radio
