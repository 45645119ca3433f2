// Who has joined and left, shared by drelm and the simulated device: a file that drelm appends a line to
// before it sends the event, and that the device reads on from where it was on every call. A line is one
// write, so that several writers don't mix theirs.
//   join IF MAC rssi=N time=N 11v=0|1 11k=0|1 [frame=HEX]
//   leave IF MAC
#pragma once

inline constexpr char SIM_STATION_LIST[] = "/tmp/vesk-sim.stations";
