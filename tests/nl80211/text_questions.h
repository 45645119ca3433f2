// What rows ask of the parts that need no kernel: channel tables, elements off the air, hostapd's texts.
#pragma once

#include <cstring>
#include <memory>

#include "platform/nl80211/channels.h"
#include "platform/nl80211/ctrl.h"
#include "platform/nl80211/element.h"
#include "platform/nl80211/hostapd.h"
#include "tests/nl80211/kernel_text.h"

/** What a row hands to a question: its words, and the text that it has in quotes or brackets. */
struct Given {
    Texts words;
    std::string text;
    const char *name(size_t i = 0) const { return words.at(i).c_str(); }
    int number(size_t i = 0) const { return static_cast<int>(integer(words.at(i))); }
    uint32_t mhz(size_t i = 0) const { return static_cast<uint32_t>(integer(words.at(i))); }
};
using Question = std::string (*)(const Given &given);

/** Numbers and texts with blanks between them; one that is empty leaves none. */
template <class... T>
std::string spaced(const T &...values) {
    std::string all;
    const auto add = [&](const auto &value) {
        std::ostringstream text;
        text << value;
        all += (all.empty() || text.str().empty() ? "" : " ") + text.str();
    };
    (add(values), ...);
    return all;
}

inline int width_index(const std::string &mhz) {
    return mhz == "80+80" ? 4 : radio::width_of_mhz(static_cast<uint16_t>(integer(mhz))).index;
}

/** Width, PHY type, security and name of a network. The bytes end where their memory does. */
inline std::string network_of(const Blob &bytes, uint16_t capability) {
    const auto exact = std::make_unique<uint8_t[]>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), exact.get());
    const radio::Bytes list(exact.get(), bytes.size());
    char ssid[33], security[32];
    radio::element_ssid(list, ssid);
    radio::element_security(list, capability, security);
    return spaced(radio::element_width(list), int{ radio::element_phy(list) }, security, replaced(ssid, "\n", "\\n"));
}

inline std::string ask_elements(const Given &given) {
    const Blob bytes = bytes_of(given.words.size() > 1 ? given.words[1] : "");
    const auto capability = static_cast<uint16_t>(given.number());
    for (auto cut = bytes.begin(); cut != bytes.end(); cut++) network_of(Blob(bytes.begin(), cut), capability);
    return network_of(bytes, capability);
}

inline std::string ask_security(const Given &given) {
    const radio::Security security = radio::hostapd_security(given.text.c_str());
    return spaced(security.authMode, security.encryptMode, security.isBackhaul);
}

inline std::string ask_abilities(const Given &given) {
    const radio::Abilities abilities = radio::hostapd_abilities(given.text.c_str());
    return spaced(abilities.is11k, abilities.is11v, abilities.mode);
}

inline std::string ask_modes(const Given &given) {
    char modes[32];
    radio::hostapd_modes(given.text.c_str(), given.number(), modes, given.mhz(1));
    return modes;
}

inline std::string ask_value(const Given &given) {
    char value[8];
    return radio::ctrl_value(given.text.c_str(), given.name(), value) ? value : "none";
}

inline std::string ask_file(const Given &given) {
    char value[16];
    const bool found = radio::hostapd_file_value(given.text.c_str(), given.name(), "key", value, sizeof value);
    return found ? value : "none";
}

inline std::string ask_frequency(const Given &given) {
    const int band = radio::band_of_frequency(given.mhz()), channel = radio::channel_of_frequency(given.mhz());
    return spaced(band, channel, radio::is_listed_channel(band, channel), radio::frequency_of_channel(band, channel));
}

inline std::string ask_width(const Given &given) {
    const radio::Width &width = radio::width_of(given.number());
    return spaced(width.index, width.bond);
}

inline std::string ask_class(const Given &given) {
    return spaced(int{ radio::operating_class(given.mhz(), width_index(given.words.at(1)), given.mhz(2)) });
}

inline std::string ask_frequency_of(const Given &given) {
    return spaced(radio::frequency_of_channel(given.number(), given.number(1)));
}

inline const std::map<std::string, Question> textQuestions = {
    { "frequency", ask_frequency }, { "frequency-of", ask_frequency_of },
    { "width", ask_width },         { "class", ask_class },
    { "elements", ask_elements },   { "security", ask_security },
    { "abilities", ask_abilities }, { "modes", ask_modes },
    { "value", ask_value },         { "in-file", ask_file },
};
