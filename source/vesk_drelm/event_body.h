// What the event handlers share: the interface name at the start of a body, and the way out to the bus. The
// records are packed and lie at any address: their members are read by value or as byte arrays only.
#pragma once

#include <cstring>

#include "foundation/vesk_utils.h"
#include "include/merka.h"
#include "include/vesk_event.h"
#include "source/vesk_interface/vesk_interface.h"
#include "source/vesk_main/log.h"

/** Whether a handler was called without what it works on; logs it for the handler. */
inline bool is_missing(const void *body, VeskLogSite caller = VESK_CALLER)
{
    if (body == nullptr)
        VESK_LOG_NULL_AS(caller);
    return body == nullptr;
}
inline bool is_missing(const void *body, const char *ifName, VeskLogSite caller = VESK_CALLER)
{
    return is_missing(body != nullptr ? ifName : nullptr, caller);
}

/** Writes the outer form of an inner name into a body's name field; what the sender left there goes. */
inline void put_outer_name(char (&field)[VESK_IFNAME_SIZE], const char *ifName)
{
    memset(field, 0, sizeof field);
    vesk_get_intf_outer_name(field, ifName);
}

/** Sends a whole record as it stands. Nobody looks at the result: a lost signal is lost. */
template <class T>
void send_record(const char *signal, const T *record)
{
    merkaSendSignal(nullptr, signal, record, sizeof *record);
}
