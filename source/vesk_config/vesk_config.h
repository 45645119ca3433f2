// Both configuration files, read once at start on the main thread.
#pragma once

#include "include/vesk_device.h"

// Limits and fallbacks of the scan keys that the state dump shows.
inline constexpr int VESK_DWELL_LOW = 55;         // milliseconds
inline constexpr int VESK_DWELL_HIGH = 1000;      // milliseconds
inline constexpr int VESK_DWELL_MIN_DEFAULT = 55; // milliseconds
inline constexpr int VESK_DWELL_MAX_DEFAULT = 70; // milliseconds
inline constexpr int VESK_SCAN_ITV_DEFAULT = 30;  // seconds

/** Writes the daemon configuration file where needed, reads it into the records, then loads the product file.
 */
void vesk_load_cfg();
/** Value of a KEY=value line within [min, max]; `fallback` for a missing, empty or out-of-range value. */
int vesk_cfg_get_int(const char *line, int fallback, int min, int max);
/** Full key name of a band's keyword, or "VESK_SCAN_INVALID_KEY". Static text. */
const char *vesk_cfg_scan_key(int band, const char *keyword);

/** Reads the product configuration. 0 or -1. */
int vesk_load_platform_config();
/** Index of the Wifi row of a band word, or -1 with an ERROR line. */
int vesk_get_cfg_band_idx(int actualBand);
/** The "sta" row of a Wifi row: its index in Vap, or -1 (the caller logs). */
int vesk_find_bsta_row(const VeskCfgWifi *wifi);
/** NumberOfWifiRadios; 0 if the file wasn't read. */
int vesk_getCfgRadioCap();
