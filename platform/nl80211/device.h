// The two radios: which phy is which, and what is remembered of each. A phy keeps its number for life, so a
// radio is held by that number; its name may change under the daemon. Nothing else of the kernel's state is
// kept: every question goes to the kernel.
#pragma once

#include <cstdint>

#include "platform/nl80211/config.h"
#include "platform/nl80211/iface.h"
#include "platform/nl80211/survey.h"

namespace radio
{

/** A radio as it is found: a copy, valid for one call. */
struct Radio {
    int index; // 0: 2.4 GHz, 1: 5 GHz
    int wiphy;
    char name[16]; // of the phy
};

/** Finds the radios. 0, or -1 without nl80211; every later call tries again. */
int device_open();

/** By index; looks for the radio anew if it isn't known for certain. False if there is none. */
bool device_radio(int index, Radio &radio);

/** By the phy's name, or by the name that the daemon was told first. False if there is none. */
bool device_find(const char *name, Radio &radio);

/** Whose phy an interface stands on. False if it is none of the two radios. */
bool device_of_wiphy(int wiphy, Radio &radio);

/** Where a radio goes. */
struct SwitchTarget {
    int channel;
    int width; // index
};

/** What is remembered of a radio; zero when another phy takes its place. */
struct Memory {
    bool hasPower;
    float power; // dBm, the last one that was known

    // Survey of the operating channel: the sample that the next load is counted from, and the last load.
    bool hasSample;
    Survey sample;
    int64_t sampled; // ms
    Load load;

    SwitchTarget pending; // a switch of the channel that was begun
    int64_t pendingUntil; // ms
};

/** Calls `use` with what is remembered, which nobody else sees meanwhile. `use` must not block. */
template <class Use>
void device_remember(const Radio &radio, Use use);

Memory &device_lock(const Radio &radio);
void device_unlock();

template <class Use>
void device_remember(const Radio &radio, Use use)
{
    use(device_lock(radio));
    device_unlock();
}

/** Everything is forgotten. For tests. */
void device_forget();

} // namespace radio
