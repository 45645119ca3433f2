#include "tools/radiocheck/anonymous.h"

#include <algorithm>
#include <cstring>

#include <linux/netlink.h>
#include <linux/nl80211.h>

#include "tools/client/text.h"
#include "tools/radiocheck/output.h"

namespace
{
/** Begins of lines whose values are figures and words of the standard. */
constexpr const char *openKeys[] = {
    "state",
    "phy",
    "freq",
    "channel",
    "secondary_channel",
    "ieee80211",
    "beacon_int",
    "dtim_period",
    "vht_",
    "he_",
    "ht_",
    "max_txpower",
    "num_sta",
    "bssid",
    "olbc",
    "edmg_",
    "supported_rates",
    "flags",
    "aid",
    "capability",
    "ext_capab",
    "listen_",
    "timeout_next",
    "wpa=",
    "AKMSuite",
    "key_mgmt",
    "group_cipher",
    "rsn_pairwise_",
    "wpa_pairwise_cipher",
    "multi_ap",
    "rx_",
    "tx_",
    "signal",
    "inactive_msec",
    "connected_time",
    "wps_state",
    "backhaul_ap",
    "cac_time_",
    "min_txpower",
    "last_ack_rssi",
};

bool is_open(const std::string &line)
{
    return std::ranges::any_of(openKeys, [&](const char *key) { return line.starts_with(key); });
}

bool is_mac(const std::string &text)
{
    uint8_t bytes[6];
    return parse_mac(text, bytes);
}

std::string bytes_of(const std::string &mac)
{
    uint8_t bytes[6];
    parse_mac(mac, bytes);
    return std::string(reinterpret_cast<const char *>(bytes), sizeof bytes);
}

/** Addresses at any depth: attributes of that size. What only happens to look like one, in a counter, stays.
 */
void replace_attributes(std::vector<uint8_t> &content, const std::string &real, const std::string &other)
{
    const nlattr whole = { static_cast<uint16_t>(NLA_HDRLEN + real.size()), 0 };
    auto at = content.begin();
    while ((at = std::search(at, content.end(), real.begin(), real.end())) != content.end()) {
        const auto offset = static_cast<size_t>(at - content.begin());
        if (offset >= NLA_HDRLEN &&
            memcmp(&content[offset - NLA_HDRLEN], &whole.nla_len, sizeof whole.nla_len) == 0)
            std::copy(other.begin(), other.end(), at);
        ++at;
    }
}
} // namespace

std::string Anonymous::other(std::map<std::string, std::string> &known, const std::string &real, char kind)
{
    const auto [found, isNew] = known.try_emplace(real);
    if (isNew) {
        found->second = kind + std::to_string(known.size());
        found->second.resize(real.size(), 'x');
    }
    return found->second;
}

std::string Anonymous::mac(const std::string &real)
{
    if (real == "00:00:00:00:00:00" || real == "ff:ff:ff:ff:ff:ff")
        return real;
    const auto [found, isNew] = macs.try_emplace(real);
    if (isNew)
        found->second = printed("5a:5e:5c:00:%02zx:%02zx", macs.size() >> 8 & 0xff, macs.size() & 0xff);
    return found->second;
}

std::string Anonymous::name(const std::string &real)
{
    const size_t point = std::min(real.find('.'), real.size());
    const std::string base = real.substr(0, point);
    const bool isUsual = base.starts_with("phy") && base.size() > 3 &&
                         base.find_first_not_of("0123456789", 3) == std::string::npos;
    if (base.empty() || isUsual)
        return real;
    return other(names, base, 'n') + real.substr(point);
}

std::string Anonymous::ssid(const std::string &real)
{
    return real.empty() ? real : other(ssids, real, 's');
}

std::string Anonymous::words(const std::string &text)
{
    std::string all;
    for (size_t at = 0; at <= text.size();) {
        const size_t end = std::min(text.find(' ', at), text.size());
        const std::string word = text.substr(at, end - at);
        const auto known = names.find(word.substr(0, word.find('.')));
        all += (at > 0 ? " " : "") + (is_mac(word) ? mac(word) : known != names.end() ? name(word) : word);
        at = end + 1;
    }
    return all;
}

std::string Anonymous::reply(const std::string &text)
{
    std::string all;
    for (std::string line : lines_of(text)) {
        const size_t sign = line.find('=');
        const std::string value = sign == std::string::npos ? "" : line.substr(sign + 1);
        if (is_mac(line))
            line = mac(line);
        else if (is_mac(value))
            line = line.substr(0, sign + 1) + mac(value);
        else if (sign != std::string::npos && line.starts_with("ssid"))
            line = line.substr(0, sign + 1) + ssid(value);
        else if (line.starts_with("bss["))
            line = line.substr(0, sign + 1) + name(value);
        else if (sign != std::string::npos && !is_open(line))
            std::fill(line.begin() + static_cast<std::ptrdiff_t>(sign) + 1, line.end(), 'x');
        all += line + "\n";
    }
    return all;
}

void Anonymous::attributes(std::vector<uint8_t> &content)
{
    for (size_t at = 0; at + NLA_HDRLEN <= content.size();) {
        nlattr header;
        memcpy(&header, &content[at], sizeof header);
        const size_t end = std::min(at + header.nla_len, content.size());
        if (header.nla_len < NLA_HDRLEN)
            break;
        uint8_t *value = content.data() + at + NLA_HDRLEN;
        const size_t size = end - at - NLA_HDRLEN;
        const std::string text(reinterpret_cast<const char *>(value), size);
        switch (header.nla_type & NLA_TYPE_MASK) {
        case NL80211_ATTR_IFNAME:
        case NL80211_ATTR_WIPHY_NAME:
            memcpy(value, name(text.c_str()).data(), strlen(text.c_str()));
            break;
        case NL80211_ATTR_SSID:
            memcpy(value, ssid(text).data(), size);
            break;
        case NL80211_ATTR_MAC:
            if (size == 6)
                mac(mac_text(value)); // known from here on
            break;
        case NL80211_ATTR_IE:
        case NL80211_ATTR_REQ_IE:
        case NL80211_ATTR_RESP_IE:
        case NL80211_ATTR_VENDOR_DATA:
            memset(value, 0, size);
            break;
        default:
            break;
        }
        at += NLA_ALIGN(header.nla_len);
    }
    for (const auto &[real, replacement] : macs)
        replace_attributes(content, bytes_of(real), bytes_of(replacement));
}
