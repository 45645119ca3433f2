// What the files of this folder share, and nobody else uses.
#pragma once

#include <cmath>

/** Asks the driver for a radio's interface name and VAP names. Names come back terminated, vapNums within
 * 0..8; a call that fails leaves the names as they were. */
void vesk_refresh_ap_intf(int radioIdx);

/** Whether two transmit powers are the same value. A driver that answers "not a number" twice has changed
 * nothing. */
inline bool vesk_is_same_power(float one, float other)
{
    return one == other || (std::isnan(one) && std::isnan(other));
}

// The model starts from nothing: the next refresh of each radio and VAP is its first, the poll counts are 0.
void vesk_forget_radios();
void vesk_forget_vaps();
void vesk_forget_poll_counts();
