#include "tools/vesk-setup/capability.h"

#include <algorithm>
#include <iterator>
#include <span>

#include "platform/nl80211/channels.h"
#include "platform/nl80211/netlink.h"
#include "platform/nl80211/wiphy.h"

namespace setup
{

namespace
{

using Bands = Capability[2];

template <size_t N>
bool copy_bytes(const nlattr *attr, uint8_t (&to)[N])
{
    const auto bytes = radio::attr_bytes(attr);
    if (bytes.size() < N)
        return false;
    std::copy_n(bytes.begin(), N, to);
    return true;
}

/** Numbers of 16 bits, lowest byte first. */
template <size_t N>
bool copy_maps(const nlattr *attr, size_t step, uint16_t (&to)[N])
{
    const auto bytes = radio::attr_bytes(attr);
    if (bytes.size() < (N - 1) * step + 2)
        return false;
    for (size_t i = 0; i < N; i++)
        to[i] = static_cast<uint16_t>(bytes[i * step] | bytes[i * step + 1] << 8);
    return true;
}

/** 802.11ax has a set of capabilities for each kind of interface; the access point's counts. */
void add_kind(const nlattr *kind, Capability &band)
{
    nlattr *values[NL80211_BAND_IFTYPE_ATTR_MAX + 1];
    nlattr *kinds[NUM_NL80211_IFTYPES];
    radio::attr_nested(kind, values);
    radio::attr_nested(values[NL80211_BAND_IFTYPE_ATTR_IFTYPES], kinds);
    if (kinds[NL80211_IFTYPE_AP])
        band.hasHe = copy_bytes(values[NL80211_BAND_IFTYPE_ATTR_HE_CAP_PHY], band.hePhy) &&
                     copy_maps(values[NL80211_BAND_IFTYPE_ATTR_HE_CAP_MCS_SET], 2, band.heMcs);
}

/** A band comes over several pieces, each with a part of it. */
void add_piece(const radio::Attributes &answer, Bands &bands)
{
    radio::attr_each(answer[NL80211_ATTR_WIPHY_BANDS], [&](const nlattr *piece) {
        if (nla_type(piece) != NL80211_BAND_2GHZ && nla_type(piece) != NL80211_BAND_5GHZ)
            return;
        Capability &band = bands[nla_type(piece) == NL80211_BAND_5GHZ];
        nlattr *values[NL80211_BAND_ATTR_MAX + 1];
        radio::attr_nested(piece, values);
        if (copy_bytes(values[NL80211_BAND_ATTR_HT_MCS_SET], band.htMcs)) {
            band.ht = radio::attr_value<uint16_t>(values[NL80211_BAND_ATTR_HT_CAPA]);
            band.hasHt = band.htMcs[0] != 0;
        }
        if (copy_maps(values[NL80211_BAND_ATTR_VHT_MCS_SET], 4, band.vhtMcs)) {
            band.vht = radio::attr_value<uint32_t>(values[NL80211_BAND_ATTR_VHT_CAPA]);
            band.hasVht = nla_type(piece) == NL80211_BAND_5GHZ && band.vht != 0;
        }
        radio::attr_each(values[NL80211_BAND_ATTR_IFTYPE_DATA],
                         [&](const nlattr *kind) { add_kind(kind, band); });
    });
}

bool is_usable(const radio::Wiphy &wiphy, int band)
{
    return std::any_of(wiphy.channels, wiphy.channels + wiphy.count,
                       [&](const radio::Channel &one) { return one.band == band && !one.disabled; });
}

int streams_of(uint16_t map)
{
    int streams = 0;
    for (int i = 0; i < 8; i++) {
        if ((map >> (2 * i) & 3) != 3)
            streams = i + 1;
    }
    return streams;
}

int ht_receives(const Capability &band)
{
    return static_cast<int>(
        std::count_if(band.htMcs, band.htMcs + 4, [](uint8_t stream) { return stream != 0; }));
}

/** As many as are received, unless the set says that they differ (its bits 96 to 99). */
int ht_sends(const Capability &band)
{
    const uint8_t set = band.htMcs[12];
    return (set & 3) == 3 ? (set >> 2 & 3) + 1 : ht_receives(band);
}

bool he_bit(const Capability &band, int bit)
{
    return (band.hePhy[bit / 8] >> (bit % 8) & 1) != 0;
}

int vht_width(const Capability &band) // 1: 160 MHz, 2: 80+80 as well
{
    return static_cast<int>(band.vht >> 2 & 3);
}

bool is_ht(const Capability &band)
{
    return band.hasHt;
}
bool is_vht(const Capability &band)
{
    return band.hasVht;
}
bool is_he(const Capability &band)
{
    return band.hasHe;
}

struct Row {
    bool (*applies)(const Capability &);
    const char *key;
    bool isFlag;
    int (*of)(const Capability &);
};

constexpr Row rows[] = {
    { is_ht, "HTShortGI20MHz", true, [](const Capability &band) { return band.ht >> 5 & 1; } },
    { is_ht, "HTShortGI40MHz", true, [](const Capability &band) { return band.ht >> 6 & 1; } },
    { is_ht, "HT40MHz", true, [](const Capability &band) { return band.ht >> 1 & 1; } },
    { is_ht, "HTNumberOfTxStreams", false, ht_sends },
    { is_ht, "HTNumberOfRxStreams", false, ht_receives },
    { is_vht, "VHTShortGI80MHz", true, [](const Capability &band) { return int(band.vht >> 5 & 1); } },
    { is_vht, "VHTShortGI160And80+80MHz", true,
      [](const Capability &band) { return int(band.vht >> 6 & 1); } },
    { is_vht, "VHTNumberOfTxStreams", false,
      [](const Capability &band) { return streams_of(band.vhtMcs[1]); } },
    { is_vht, "VHTNumberOfRxStreams", false,
      [](const Capability &band) { return streams_of(band.vhtMcs[0]); } },
    { is_vht, "VHT80+80MHz", true, [](const Capability &band) { return int(vht_width(band) == 2); } },
    { is_vht, "VHT160MHz", true, [](const Capability &band) { return int(vht_width(band) > 0); } },
    { is_vht, "VHTSUBeamFormer", true, [](const Capability &band) { return int(band.vht >> 11 & 1); } },
    { is_vht, "VHTMUBeamFormer", true, [](const Capability &band) { return int(band.vht >> 19 & 1); } },
    { is_vht, "VHTTxMCS", false, [](const Capability &band) { return int(band.vhtMcs[1]); } },
    { is_vht, "VHTRxMCS", false, [](const Capability &band) { return int(band.vhtMcs[0]); } },
    { is_he, "HEULMUMIMO", true, [](const Capability &band) { return int(he_bit(band, 22)); } },
    { is_he, "HEULMUMIMOOFDMA", true, [](const Capability &band) { return int(he_bit(band, 23)); } },
    { is_he, "HEDLMUMIMOOFDMA", true, [](const Capability &band) { return int(he_bit(band, 54)); } },
    // No bit tells of OFDMA: every access point of 802.11ax has it (IEEE 802.11ax-2021, 27.1.1).
    { is_he, "HEULOFDMA", true, [](const Capability &) { return 1; } },
    { is_he, "HEDLOFDMA", true, [](const Capability &) { return 1; } },
    { is_he, "HENumberOfTxStreams", false, [](const Capability &band) { return streams_of(band.heMcs[1]); } },
    { is_he, "HENumberOfRxStreams", false, [](const Capability &band) { return streams_of(band.heMcs[0]); } },
    { is_he, "HE80+80MHz", true, [](const Capability &band) { return int(he_bit(band, 4)); } },
    { is_he, "HE160MHz", true, [](const Capability &band) { return int(he_bit(band, 3)); } },
    { is_he, "HESUBeamFormer", true, [](const Capability &band) { return int(he_bit(band, 31)); } },
    { is_he, "HEMUBeamFormer", true, [](const Capability &band) { return int(he_bit(band, 33)); } },
};

constexpr const char *maps[] = { "RxMapLE80MHz", "TxMapLE80MHz",  "RxMap160MHz",
                                 "TxMap160MHz",  "RxMap80+80MHz", "TxMap80+80MHz" };

/** A map of a width that the phy hasn't is none, whatever stands there. */
Json he_maps(const Capability &band)
{
    constexpr int none = 0xffff;
    const bool has[] = { true, he_bit(band, 3), he_bit(band, 4) };
    Json object = Json::object();
    for (size_t i = 0; i < std::size(maps); i++)
        object.put(maps[i], has[i / 2] ? int(band.heMcs[i]) : none);
    return object;
}

struct Part {
    bool isThere;
    const char *text;
};

std::string listed(std::span<const Part> parts)
{
    std::string all;
    for (const auto &[isThere, text] : parts)
        all += isThere ? (all.empty() ? "" : ",") + std::string(text) : "";
    return all;
}

} // namespace

int capability_read(int wiphy, Capability (&bands)[2])
{
    const radio::Query query = {
        .command = NL80211_CMD_GET_WIPHY, .dump = true, .wiphy = wiphy, .splitWiphy = true
    };
    Bands found = {};
    radio::Wiphy channels;
    int status = radio::netlink_read<Bands>(query, add_piece, found,
                                            [](Bands &result) { result[0] = result[1] = {}; });
    if (status == 0)
        status = radio::wiphy_read(wiphy, channels);
    if (status != 0)
        return status;
    for (int band = 0; band < 2; band++) {
        bands[band] = found[band];
        bands[band].isUsable = is_usable(channels, band);
    }
    return 0;
}

std::string capability_standards(const Capability &band, int index)
{
    const bool is5 = index == radio::band5;
    const Part parts[] = {
        { !is5, "b,g" }, { is5, "a" }, { band.hasHt, "n" }, { band.hasVht, "ac" }, { band.hasHe, "ax" }
    };
    return listed(parts);
}

std::string capability_widths(const Capability &band, int index)
{
    const bool is5 = index == radio::band5;
    const bool he = band.hasHe && is5;
    const Part parts[] = { { true, "20MHz" },
                           { band.hasHt && (band.ht >> 1 & 1) != 0, "40MHz" },
                           { is5 && (band.hasVht || (he && he_bit(band, 2))), "80MHz" },
                           { (band.hasVht && vht_width(band) > 0) || (he && he_bit(band, 3)), "160MHz" } };
    return listed(parts);
}

int capability_streams(const Capability &band)
{
    return band.hasHe    ? streams_of(band.heMcs[1])
           : band.hasVht ? streams_of(band.vhtMcs[1])
           : band.hasHt  ? ht_sends(band)
                         : 1;
}

void capability_put(const Capability &band, Json &to)
{
    for (const Row &row : rows) {
        if (!row.applies(band))
            continue;
        if (row.isFlag)
            to.put(row.key, row.of(band) ? "Supported" : "NotSupported");
        else
            to.put(row.key, row.of(band));
    }
    if (band.hasHe)
        to.put("HEMCS", he_maps(band));
}

} // namespace setup
