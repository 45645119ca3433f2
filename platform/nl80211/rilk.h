// What the files of librilk.so share: the guard that every operation begins with.
#pragma once

#include <cstring>

#include "include/rilk.h"
#include "platform/nl80211/device.h"
#include "platform/nl80211/text.h"

namespace radio
{

/**
 * A call that fills the caller's record: `fill` gets the radio and a zeroed record and returns 0 or -1. The
 * caller's record is touched only if it succeeds.
 */
template <class T, class Fill>
int radio_get(const char *name, T *out, Fill fill)
{
    Radio radio;
    T value{};
    if (!out || !device_find(name, radio) || fill(radio, value) != 0)
        return -1;
    memcpy(static_cast<void *>(out), &value, sizeof value);
    return 0;
}

} // namespace radio
