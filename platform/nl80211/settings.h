// What the daemon has asked of a BSS and hostapd forgets when it restarts: 802.11k, 802.11v, blocked
// stations, vendor elements. It is remembered here and told again to a control socket that is a new one; it
// is also told late to one that wasn't there yet.
#pragma once

#include <cstdint>

#include "platform/nl80211/vendor.h"

namespace radio
{

// 0 if hostapd took it; -1 if not, or if nobody answered: remembered all the same.
int settings_rrm(const char *ifName, bool on);
int settings_wnm(const char *ifName, bool on);
int settings_block(const char *ifName, const uint8_t *mac, bool blocked);
/** -1 with a line, and nothing remembered, where there is no room or nothing to remove. */
int settings_element(const char *ifName, const VendorElement &element, bool add);

/** Looks at the control sockets, and tells those that are new. For a poll: costs one stat() a BSS otherwise.
 */
void settings_renew();

/** For tests. */
void settings_forget();

} // namespace radio
