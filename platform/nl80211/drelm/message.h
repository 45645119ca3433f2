// What comes on a control socket: the reply to a command, or an event, "<3>NAME ...". The texts carry what
// came off the air, so only the beginning of a line tells what it is, and nothing is read beyond its end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/nl80211/element.h"

namespace radio
{

enum class MessageKind {
    reply,
    unknown,
    joined,    // mac
    left,      // mac
    frame,     // hex
    probe,     // mac, signal
    enabled,   // an access point came up, perhaps with other settings
    changed,   // its channel, or whether it is there
    enrolled,  // mac: by WPS, at an access point of ours
    wpsDone,   // by our own station
    connected, // mac: our own station, to this BSSID
};

struct Message {
    MessageKind kind;
    uint8_t mac[6];
    int signal; // dBm; 0 if unknown
    std::string_view hex;
};

/** Takes a text apart. An event whose arguments are no good is unknown. */
Message message_read(std::string_view text);

/** Digits to bytes, as many as there are pairs and `to` has room for. */
Bytes message_bytes(std::string_view hex, uint8_t *to, size_t size);

} // namespace radio
