// What the kernel answers, as rows write it: items with ";" between them, each a message. rows/README.md lists the
// words.
#pragma once

#include "platform/nl80211/places.h"
#include "tests/nl80211/world.h"
#include "tests/rows.h"

/** A word's attribute, and how its value is written: in 1 to 8 bytes, as text, digits (x), a rate in 4 bytes (r) or in
 * 2 (o), as a flag (f), as what is known of a station's (s). */
struct Attribute {
    int type;
    char form;
};
using Words = std::map<std::string, Attribute>;

inline const Words interfaceWords = { { "power", { NL80211_ATTR_WIPHY_TX_POWER_LEVEL, 4 } },
                                      { "ssid", { NL80211_ATTR_SSID, 'x' } },
                                      { "width", { NL80211_ATTR_CHANNEL_WIDTH, 4 } } };
inline const Words surveyWords = {
    { "in-use", { NL80211_SURVEY_INFO_IN_USE, 'f' } },
    { "noise", { NL80211_SURVEY_INFO_NOISE, 1 } },
    { "time", { NL80211_SURVEY_INFO_TIME, 8 } },
    { "busy", { NL80211_SURVEY_INFO_TIME_BUSY, 8 } },
    { "ext-busy", { NL80211_SURVEY_INFO_TIME_EXT_BUSY, 8 } },
    { "rx", { NL80211_SURVEY_INFO_TIME_RX, 8 } },
    { "bss-rx", { NL80211_SURVEY_INFO_TIME_BSS_RX, 8 } },
    { "tx", { NL80211_SURVEY_INFO_TIME_TX, 8 } },
    { "short-busy", { NL80211_SURVEY_INFO_TIME_BUSY, 4 } },
};
inline const Words stationWords = {
    { "inactive", { NL80211_STA_INFO_INACTIVE_TIME, 4 } },
    { "connected", { NL80211_STA_INFO_CONNECTED_TIME, 4 } },
    { "rx-bytes", { NL80211_STA_INFO_RX_BYTES64, 8 } },
    { "tx-bytes", { NL80211_STA_INFO_TX_BYTES64, 8 } },
    { "rx-bytes32", { NL80211_STA_INFO_RX_BYTES, 4 } },
    { "rx-packets", { NL80211_STA_INFO_RX_PACKETS, 4 } },
    { "tx-packets", { NL80211_STA_INFO_TX_PACKETS, 4 } },
    { "retries", { NL80211_STA_INFO_TX_RETRIES, 4 } },
    { "failed", { NL80211_STA_INFO_TX_FAILED, 4 } },
    { "dropped", { NL80211_STA_INFO_RX_DROP_MISC, 8 } },
    { "signal", { NL80211_STA_INFO_SIGNAL, 1 } },
    { "average", { NL80211_STA_INFO_SIGNAL_AVG, 1 } },
    { "tx", { NL80211_STA_INFO_TX_BITRATE, 'r' } },
    { "rx", { NL80211_STA_INFO_RX_BITRATE, 'r' } },
    { "old-rx", { NL80211_STA_INFO_RX_BITRATE, 'o' } },
    { "throughput", { NL80211_STA_INFO_EXPECTED_THROUGHPUT, 4 } },
    { "authorised", { NL80211_STA_INFO_STA_FLAGS, 's' } },
};
inline const Words networkWords = { { "mhz", { NL80211_BSS_FREQUENCY, 4 } },
                                    { "mbm", { NL80211_BSS_SIGNAL_MBM, 4 } },
                                    { "age", { NL80211_BSS_SEEN_MS_AGO, 4 } },
                                    { "capability", { NL80211_BSS_CAPABILITY, 2 } },
                                    { "elements", { NL80211_BSS_INFORMATION_ELEMENTS, 'x' } } };

inline int64_t integer(const std::string &word) { return strtoll(word.c_str(), nullptr, 0); }

inline Blob valued(Attribute of, const std::string &text) {
    const auto value = static_cast<uint64_t>(integer(text));
    const nl80211_sta_flag_update update = { 0xff, 1u << (value ? NL80211_STA_FLAG_AUTHORIZED
                                                                : NL80211_STA_FLAG_ASSOCIATED) };
    const Blob bytes = of.form == 'x' ? bytes_of(text) : Blob{};
    switch (of.form) {
    case 1:
        return number(of.type, static_cast<uint8_t>(value));
    case 2:
        return number(of.type, static_cast<uint16_t>(value));
    case 4:
        return number(of.type, static_cast<uint32_t>(value));
    case 8:
        return number(of.type, value);
    case 'r':
        return nest(of.type, { number(NL80211_RATE_INFO_BITRATE32, static_cast<uint32_t>(value)) });
    case 'o':
        return nest(of.type, { number(NL80211_RATE_INFO_BITRATE, static_cast<uint16_t>(value)) });
    case 's':
        return attribute(of.type, &update, sizeof update);
    default:
        return attribute(of.type, bytes.data(), bytes.size());
    }
}

/** Words from the `first` one on, NAME=VALUE; one whose value is "-" is left out. */
inline Blob attributes(const Words &known, const Texts &item, size_t first) {
    Blob all;
    for (size_t i = first; i < item.size(); i++) {
        const size_t sign = std::min(item[i].find('='), item[i].size());
        const std::string name = item[i].substr(0, sign), value = item[i].substr(std::min(sign + 1, item[i].size()));
        EXPECT_TRUE(known.contains(name)) << name << ": no such word";
        if (value != "-" && known.contains(name)) all = join({ all, valued(known.at(name), value) });
    }
    return all;
}

// NAME TYPE MHZ LAST; its number and phy are those of /sys.
inline Blob interface_item(const Texts &item) {
    static const std::map<std::string, uint32_t> types = { { "station", NL80211_IFTYPE_STATION },
                                                           { "ap", NL80211_IFTYPE_AP },
                                                           { "vlan", NL80211_IFTYPE_AP_VLAN },
                                                           { "monitor", NL80211_IFTYPE_MONITOR } };
    const char *name = item.at(0).c_str();
    return join({ interface(radio::interface_index(name), radio::interface_phy(name), types.at(item.at(1)), name,
                            static_cast<uint32_t>(integer(item.at(2))), static_cast<uint8_t>(integer(item.at(3)))),
                  attributes(interfaceWords, item, 4) });
}

// MHZ
inline Blob survey_item(const Texts &item) {
    return nest(NL80211_ATTR_SURVEY_INFO,
                { number(NL80211_SURVEY_INFO_FREQUENCY, static_cast<uint32_t>(integer(item.at(0)))),
                  attributes(surveyWords, item, 1) });
}

// LAST, or LAST@GENERATION
inline Blob station_item(const Texts &item) {
    const Texts parts = split(item.at(0), '@');
    const auto generation = static_cast<uint32_t>(integer(parts.back()));
    return join({ parts.size() > 1 ? number(NL80211_ATTR_GENERATION, generation) : Blob{},
                  mac(NL80211_ATTR_MAC, static_cast<uint16_t>(integer(parts[0]))),
                  nest(NL80211_ATTR_STA_INFO, { attributes(stationWords, item, 1) }) });
}

// LAST
inline Blob network_item(const Texts &item) {
    return nest(NL80211_ATTR_BSS, { mac(NL80211_BSS_BSSID, static_cast<uint16_t>(integer(item.at(0)))),
                                    attributes(networkWords, item, 1) });
}

/** What can be asked of the kernel: the command, how an item of the answer is written, and its recording. */
struct Kind {
    uint8_t command;
    Blob (*item)(const Texts &words);
    const char *recording;
};
inline const std::map<std::string, Kind> kinds = {
    { "interfaces", { NL80211_CMD_GET_INTERFACE, interface_item, "iface" } },
    { "surveys", { NL80211_CMD_GET_SURVEY, survey_item, "survey" } },
    { "stations", { NL80211_CMD_GET_STATION, station_item, "station_wlan0" } },
    { "networks", { NL80211_CMD_GET_SCAN, network_item, "scan" } },
    { "wiphy", { NL80211_CMD_GET_WIPHY, nullptr, "wiphy" } },
    { "country", { NL80211_CMD_GET_REG, nullptr, "reg" } },
};

/** Items; beside those of the kind: recorded[=COUNT], 0xDIGITS, !refused=ERRNO, !unsupported (whose
 * number isn't the same everywhere), !lost, !cut=BYTES, !interrupted. */
inline Reply reply_of(const Kind &kind, const std::string &text) {
    Reply reply;
    std::vector<Blob> &to = reply.messages;
    for (const std::string &one : split(text, ';')) {
        Texts words = split(one);
        if (words.empty()) continue;
        const std::string first = words[0], name = first.substr(0, first.find('='));
        const auto value = static_cast<int>(integer(first.substr(first.find('=') + 1)));
        if (name == "!refused") reply.error = -value;
        if (name == "!unsupported") reply.error = -EOPNOTSUPP;
        if (name == "!cut") reply.cutTo = static_cast<size_t>(value);
        if (name == "!lost") reply.lost = true;
        if (name == "!interrupted") reply.flags = NLM_F_DUMP_INTR;
        if (name[0] == '!') continue;
        if (name == "recorded") {
            const std::vector<Blob> all = recorded(kind.recording);
            to.insert(to.end(), all.begin(), value ? all.begin() + value : all.end());
        } else if (first.starts_with("0x")) {
            to.push_back(bytes_of(first.substr(2)));
        } else {
            const size_t dots = std::min(first.find(".."), first.size()); // FROM..TO: one each
            for (int64_t i = value; i <= (dots < first.size() ? integer(first.substr(dots + 2)) : value); i++) {
                if (dots < first.size()) words[0] = std::to_string(i);
                to.push_back(kind.item(words));
            }
        }
    }
    return reply;
}
