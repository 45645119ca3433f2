// librilk and libhul as a recording fake.
#include "tests/fakes/fakes.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <utility>

#include "foundation/vesk_utils.h"

FakeDevice fakeDevice;

namespace {
std::vector<uint32_t> scanList; // rilk_initScanChannelList

const auto text = [](const char *s, size_t size) { return std::string(s, strnlen(s, size)); };
const auto radio_at = [](int32_t i) { return i == 0 || i == 1 ? &fakeDevice.radio[i] : nullptr; };
const auto radio_on = [](int32_t band) { return band == 0 || band == 3 ? &fakeDevice.radio[band / 3] : nullptr; };
const auto radio_named = [](const std::string &name) {
    const auto found = std::ranges::find(fakeDevice.radio, name, [](auto &r) { return text(r.ap.radioIfname, 16); });
    return found == std::end(fakeDevice.radio) ? nullptr : found;
};

const auto copy_text = [](char *to, int32_t size, const std::string &from) {
    strncpy(to, from.c_str(), static_cast<size_t>(size));
};

/** Records a call, its arguments with blanks between them, and answers the result set for it. */
template <class... T>
int record(const char *name, std::vector<uint8_t> bytes, T... args) {
    std::ostringstream words;
    [[maybe_unused]] const char *gap = "";
    ((words << std::exchange(gap, " ") << args), ...);
    const FakeCall call{ name, words.str(), std::move(bytes) };
    fakeDevice.log.push_back(call);
    if (fakeDevice.onCall) fakeDevice.onCall(call);
    const auto rc = fakeDevice.rc.find(name);
    return rc == fakeDevice.rc.end() ? 0 : rc->second;
}

std::string mac_text(const uint8_t *mac) {
    char written[18];
    vesk_utils_mac2str(mac, written);
    return written;
}

/** Hands a value of `from` over unless the call is to fail or there is no such device. */
template <class From, class Fill>
int answer(int rc, From *from, Fill fill) {
    if (rc == 0 && from) fill(*from);
    return rc;
}
} // namespace

FakeVap *FakeDevice::vap(const std::string &name) {
    const auto found = std::ranges::find(vaps, name, &FakeVap::name);
    return found == vaps.end() ? nullptr : &*found;
}

FakeVap &FakeDevice::addVap(int index, const std::string &name, uint8_t attr) {
    VeskApIntfInfo &ap = radio[index].ap;
    if (ap.vapNums < VESK_WIRE_VAPS) snprintf(ap.vapIfname[ap.vapNums++], 16, "%s", name.c_str());
    const auto number = static_cast<uint8_t>(vaps.size() + 1);
    FakeVap vap = { .name = name, .ssid = "net-" + name, .bssid = { 2, 0, 0, 0, static_cast<uint8_t>(index), number } };
    vap.cfg.vapAttr = attr;
    return vaps.emplace_back(vap);
}

FakeStation &FakeDevice::addStation(const std::string &name, const uint8_t (&mac)[6]) {
    FakeStation &s = vap(name)->stations.emplace_back();
    memcpy(s.mac, mac, 6);
    memcpy(s.entry.mac, mac, 6);
    snprintf(s.entry.vapIntf, 16, "%s", name.c_str());
    s.entry.rssi = -50;
    return s;
}

std::vector<FakeCall> FakeDevice::calls(const std::string &name) const {
    std::vector<FakeCall> found = log;
    std::erase_if(found, [&](const FakeCall &c) { return c.name != name; });
    return found;
}

// clang-format off
#define GETTER(function, key, device, type, field)                                                                   \
    int function(key id, type *out)                                                                                  \
    { return answer(record(__func__, {}, id), device(id), [&](auto &f) { *out = f.field; }); }
/** The text may lack its terminator, as the libraries' does. */
#define TEXT_GETTER(function, device, field)                                                                         \
    int function(const char *id, int32_t size, char *out)                                                            \
    { return answer(record(__func__, {}, id, size), device(id), [&](auto &f) { copy_text(out, size, f.field); }); }
#define RADIO_GETTER(function, type, field) GETTER(function, const char *, radio_named, type, field)
#define VAP_GETTER(function, type, field) GETTER(function, const char *, fakeDevice.vap, type, field)
#define BAND_GETTER(function, type, field) GETTER(function, int32_t, radio_on, type, field)
#define RECORD_COMMAND(function, type)                                                                               \
    int function(const char *v, const type *r) { return record(__func__, bytes_of(*r), v); }
#define ELEMENT_COMMAND(function)                                                                                    \
    int function(const char *v, uint32_t type, const uint8_t *data, uint32_t n)                                      \
    { return record(__func__, bytes_at(data, n), v, type, n); }

extern "C" {
RADIO_GETTER(rilk_getRadioStatus, uint8_t, status)
RADIO_GETTER(rilk_getRadioDynParamters, RilkRadioDynParams, dyn)
RADIO_GETTER(rilk_getRadioCurChannel, int32_t, channel)
RADIO_GETTER(rilk_getRadioTxpower, float, power)
RADIO_GETTER(rilk_getCurChannelInfo, VeskCurChannelInfo, cur)
RADIO_GETTER(rilk_getRadioIfStat, VeskIntfStats, stats)
RADIO_GETTER(rilk_getChannelNolList, RilkNolList, nol)
VAP_GETTER(rilk_getVapStatus, uint8_t, status)
VAP_GETTER(rilk_getVapIfStat, VeskIntfStats, stats)
VAP_GETTER(hul_getEnabledVapCfg, HulVapCfg, cfg)
GETTER(rilk_getRadioApInterfaceInfo, int32_t, radio_at, VeskApIntfInfo, ap)
BAND_GETTER(hul_getRadioInfo, HulRadioInfo, hul)
BAND_GETTER(hul_getRadioChannelList, HulChannelList, channels)
BAND_GETTER(hul_getRadioExcludedChannelList, HulExcludedChannelList, excluded)
TEXT_GETTER(rilk_getRadioChipName, radio_named, chip)
TEXT_GETTER(rilk_getVapSsid, fakeDevice.vap, ssid)
RECORD_COMMAND(rilk_sendBeaconReq, RilkBeaconReq)
RECORD_COMMAND(rilk_sendBTMReq, RilkBtmReq)
RECORD_COMMAND(rilk_set8021dotqCfg, VeskDot1qCfg)
int rilk_initDriver(void) { return record(__func__, {}); }
int rilk_update_debuglevel(int32_t level) { return record(__func__, {}, level); }
int rilk_setRRMEnable(const char *v, int32_t on) { return record(__func__, {}, v, on); }
int rilk_setWNMEnable(const char *v, int32_t on) { return record(__func__, {}, v, on); }
int rilk_disConnectSta(const char *v, const char *mac) { return record(__func__, {}, v, mac); }
int rilk_setMinMaxDwellTime(const char *r, int32_t min, int32_t max) { return record(__func__, {}, r, min, max); }
int rilk_setEnableNoiseFloor(const char *r) { return record(__func__, {}, r); }
int rilk_setRadioCurChannel(const char *r, int32_t channel) { return record(__func__, {}, r, channel); }
int rilk_setRadioChanSpec(const char *r, int32_t bw, int32_t channel) { return record(__func__, {}, r, bw, channel); }
int rilk_cleanHwFwdRule(const char *r) { return record(__func__, {}, r); }
ELEMENT_COMMAND(rilk_addVendorIE)
ELEMENT_COMMAND(rilk_delVendorIE)
// clang-format on

int rilk_getVapBssid(const char *v, uint8_t *bssid) {
    return answer(record(__func__, {}, v), fakeDevice.vap(v), [&](FakeVap &f) { memcpy(bssid, f.bssid, 6); });
}
int rilk_getVapAssocStationNumber(const char *v, int32_t *n) {
    return answer(record(__func__, {}, v), fakeDevice.vap(v), [&](FakeVap &f) {
        *n = f.stationCount == -1 ? static_cast<int32_t>(f.stations.size()) : f.stationCount;
    });
}
int rilk_getVapAssocStationMac(const char *v, int32_t position, uint8_t *mac) {
    return answer(record(__func__, {}, v, position), fakeDevice.vap(v), [&](FakeVap &f) {
        if (position >= 1 && static_cast<size_t>(position) <= f.stations.size())
            memcpy(mac, f.stations[static_cast<size_t>(position - 1)].mac, 6);
    });
}
int rilk_getVapAssocStationInfo(const char *v, const uint8_t *mac, VeskStaEntry *entry) {
    const int rc = record(__func__, {}, v, mac_text(mac));
    return answer(rc, fakeDevice.vap(v), [&](FakeVap &f) {
        for (FakeStation &s : f.stations)
            if (memcmp(s.mac, mac, 6) == 0) memcpy(entry, &s.entry, sizeof s.entry);
    });
}
int rilk_getAssocReqFrame(const char *v, const uint8_t *mac, uint32_t *length, uint8_t *frame) {
    const int rc = record(__func__, {}, v, mac_text(mac), *length);
    return answer(rc, &fakeDevice.assocFrame, [&](std::vector<uint8_t> &sent) {
        std::copy_n(sent.begin(), std::min<size_t>(*length, sent.size()), frame);
        *length = static_cast<uint32_t>(sent.size());
    });
}
int rilk_setVapAclMac(const char *v, const RilkAclMac *a) {
    return record(__func__, bytes_of(*a), v, +a->operation, mac_text(a->mac));
}
int rilk_initScanChannelList(const uint32_t *list, int32_t n) {
    scanList.assign(list, list + n);
    return record(__func__, bytes_at(list, static_cast<size_t>(n) * 4), n);
}
int rilk_triggerScan(const char *r, const VeskScanParam *p) {
    std::ostringstream args;
    args << "channel=" << +p->channel << " dwell=" << p->dwell << " baseVap=" << text(p->baseVap, 16);
    return record(__func__, bytes_of(*p), r, args.str());
}
int rilk_getScanChannelResult(const char *r, VeskScanChannel **channels) {
    return answer(record(__func__, {}, r), channels, [&](VeskScanChannel *&) {
        for (size_t i = 0; i < scanList.size(); i++) {
            auto found = fakeDevice.scan.find(static_cast<int>(scanList[i]));
            if (channels[i] && found != fakeDevice.scan.end())
                memcpy(channels[i], &found->second, offsetof(VeskScanChannel, smoothedNoise));
        }
    });
}
int rilk_getScanNeighborApOneChannel(const char *r, int32_t channel, VeskScanNeighbor **table) {
    const int rc = record(__func__, {}, r, channel);
    const auto row = std::find(scanList.begin(), scanList.end(), static_cast<uint32_t>(channel));
    if (rc != 0 || !table || row == scanList.end()) return rc;
    VeskScanNeighbor **slot = table + (row - scanList.begin()) * VESK_SCAN_NEIGHBORS_PER_CHANNEL;
    const std::vector<VeskScanNeighbor> &list = fakeDevice.neighbors[channel];
    for (size_t i = 0; i < list.size() && i < VESK_SCAN_NEIGHBORS_PER_CHANNEL; i++) {
        if (!slot[i]) slot[i] = static_cast<VeskScanNeighbor *>(calloc(1, sizeof(VeskScanNeighbor)));
        if (slot[i]) memcpy(slot[i], &list[i], sizeof list[i]);
    }
    return rc;
}
int rilk_setBstaAutoConnect(const VeskBstaAuto *a) {
    const std::string flags = "enable=" + std::to_string(a->enableAuto) + " radar=" + std::to_string(a->needSetRadar);
    return record(__func__, bytes_of(*a), text(a->ifName, 16), flags);
}
int rilk_applyBackhaulCredentialToBsta(const VeskBackhaulCred *c) {
    return record(__func__, bytes_of(*c), text(c->ifName, 16), text(c->ssid, 65));
}
int hul_EM_getWorkRole(int32_t *role) {
    return answer(record(__func__, {}), &fakeDevice.role, [&](int32_t &r) { *role = r; });
}
int hul_getCountryID(char *code, int32_t size) {
    return answer(record(__func__, {}, size), &fakeDevice.country, [&](std::string &c) { copy_text(code, size, c); });
}
}
