// What the bodies of several methods share: checks on arguments, look-ups, a copy. All of them log for the
// method that calls them.
#pragma once

#include "include/vesk_device.h"
#include "source/vesk_main/log.h"

// --- checks ---

/** Logs the line for a null pointer if `p` is one. */
bool api_is_null(const void *p, VeskLogSite caller = VESK_CALLER);
/** Whether low <= value < high; logs the out-of-range line if not. */
bool api_in_range(int value, int low, int high, VeskLogSite caller = VESK_CALLER);
/** Whether `band` is a band word. */
bool api_is_band(int band, VeskLogSite caller = VESK_CALLER);

// --- look-ups ---

/** The radio that runs on a band word; NULL, with the out-of-range line, if none does. */
VeskRadioInfo *api_radio(int band, VeskLogSite caller = VESK_CALLER);
/** The same for what may not even be a band word. */
VeskRadioInfo *api_band_radio(int band, VeskLogSite caller = VESK_CALLER);
int api_index(const VeskRadioInfo *radio);

/** The product configuration's row of a band word and its index; NULL, with its lines, if there is none. */
const VeskCfgWifi *api_cfg_row(int band, int *idx, VeskLogSite caller = VESK_CALLER);

/** The inner form of an interface name; empty for NULL. */
struct ApiName {
    char text[VESK_IFNAME_SIZE];
};
ApiName api_inner_name(const char *name);

// --- copies ---

/** The driver's statistics in the bus form: one slot is left out. */
void api_copy_stats(WireIntfStats *to, const VeskIntfStats *from);
