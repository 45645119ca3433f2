// The end of a credential's way: a thread gives wpa_supplicant the key, which it takes its time to digest,
// lets it join, and listens until it does, the key proves wrong, or the time is over. Each outcome is a line.
#pragma once

#include <cstddef>

namespace radio
{

struct BackhaulJob {
    char ifName[16];
    int network;    // the new one, complete but for its key
    char key[192];  // "psk ..."; "" without
    int others[32]; // networks that go before it joins
    size_t otherCount;
};

/** Begins at once, in place of an earlier job. 0, or -1 with a line. */
int backhaul_watch(const BackhaulJob &job);

} // namespace radio
