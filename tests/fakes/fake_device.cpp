// librilk and libhul as a recording fake.
#include "tests/fakes/fakes.h"

#include <algorithm>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

FakeDevice fakeDevice;

namespace
{
std::vector<uint8_t> raw(const void *p, size_t n)
{
    const auto *b = static_cast<const uint8_t *>(p);
    return { b, b + n };
}

std::string text(const char *s, size_t size)
{
    return { s, strnlen(s, size) };
}

/** Records a call and answers the result set for it. */
[[gnu::format(printf, 3, 4)]] int record(const char *name, std::vector<uint8_t> bytes, const char *format,
                                         ...)
{
    char args[512];
    va_list ap;
    va_start(ap, format);
    vsnprintf(args, sizeof args, format, ap);
    va_end(ap);
    FakeCall call{ name, args, std::move(bytes) };
    fakeDevice.log.push_back(call);
    if (fakeDevice.onCall)
        fakeDevice.onCall(call);
    auto rc = fakeDevice.rc.find(name);
    return rc == fakeDevice.rc.end() ? 0 : rc->second;
}

FakeRadio *radio_named(const char *name)
{
    for (FakeRadio &r : fakeDevice.radio)
        if (text(r.ap.radioIfname, 16) == name)
            return &r;
    return nullptr;
}

FakeRadio *radio_on(int32_t band)
{
    return band == 0 ? &fakeDevice.radio[0] : band == 3 ? &fakeDevice.radio[1] : nullptr;
}

#define MAC_FORMAT "%02x:%02x:%02x:%02x:%02x:%02x"
#define MAC_BYTES(m) (m)[0], (m)[1], (m)[2], (m)[3], (m)[4], (m)[5]

std::vector<uint32_t> scanList; // rilk_initScanChannelList

/** Hands a value of `from` over unless the call is to fail or there is no such device. */
template <class From, class Fill>
int answer(int rc, From *from, Fill fill)
{
    if (rc == 0 && from)
        fill(*from);
    return rc;
}
} // namespace

FakeVap *FakeDevice::vap(const std::string &name)
{
    for (FakeVap &v : vaps)
        if (v.name == name)
            return &v;
    return nullptr;
}

FakeVap &FakeDevice::addVap(int index, const std::string &name, uint8_t attr)
{
    VeskApIntfInfo &ap = radio[index].ap;
    int slot = 0;
    while (slot < VESK_WIRE_VAPS && ap.vapIfname[slot][0] != '\0')
        slot++;
    if (slot < VESK_WIRE_VAPS) {
        snprintf(ap.vapIfname[slot], 16, "%s", name.c_str());
        ap.vapNums = slot + 1;
    }
    const auto number = static_cast<uint8_t>(vaps.size() + 1);
    FakeVap &v = vaps.emplace_back();
    v.name = name;
    v.ssid = "net-" + name;
    v.cfg.vapAttr = attr;
    v.bssid[0] = 2;
    v.bssid[4] = static_cast<uint8_t>(index);
    v.bssid[5] = number;
    return v;
}

FakeStation &FakeDevice::addStation(const std::string &name, const uint8_t (&mac)[6])
{
    FakeStation &s = vap(name)->stations.emplace_back();
    memcpy(s.mac, mac, 6);
    memcpy(s.entry.mac, mac, 6);
    snprintf(s.entry.vapIntf, 16, "%s", name.c_str());
    s.entry.rssi = -50;
    return s;
}

std::vector<FakeCall> FakeDevice::calls(const std::string &name) const
{
    std::vector<FakeCall> found = log;
    std::erase_if(found, [&](const FakeCall &c) { return c.name != name; });
    return found;
}

// clang-format off
#define GETTER(function, key, format, device, type, field)                                                           \
    int function(key id, type *out) { return answer(record(__func__, {}, format, id), device(id), [&](auto &f) { *out = f.field; }); }
#define RADIO_GETTER(function, type, field) GETTER(function, const char *, "%s", radio_named, type, field)
#define VAP_GETTER(function, type, field) GETTER(function, const char *, "%s", fakeDevice.vap, type, field)
#define BAND_GETTER(function, type, field) GETTER(function, int32_t, "%d", radio_on, type, field)
#define RECORD_COMMAND(function, type)                                                                               \
    int function(const char *v, const type *r) { return record(__func__, raw(r, sizeof *r), "%s", v); }

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
BAND_GETTER(hul_getRadioInfo, HulRadioInfo, hul)
BAND_GETTER(hul_getRadioChannelList, HulChannelList, channels)
BAND_GETTER(hul_getRadioExcludedChannelList, HulExcludedChannelList, excluded)
RECORD_COMMAND(rilk_sendBeaconReq, RilkBeaconReq)
RECORD_COMMAND(rilk_sendBTMReq, RilkBtmReq)
RECORD_COMMAND(rilk_set8021dotqCfg, VeskDot1qCfg)
int rilk_initDriver(void) { return record(__func__, {}, "%s", ""); }
int rilk_update_debuglevel(int32_t level) { return record(__func__, {}, "%d", level); }
int rilk_setRRMEnable(const char *v, int32_t on) { return record(__func__, {}, "%s %d", v, on); }
int rilk_setWNMEnable(const char *v, int32_t on) { return record(__func__, {}, "%s %d", v, on); }
int rilk_disConnectSta(const char *v, const char *mac) { return record(__func__, {}, "%s %s", v, mac); }
int rilk_setMinMaxDwellTime(const char *r, int32_t min, int32_t max) { return record(__func__, {}, "%s %d %d", r, min, max); }
int rilk_setEnableNoiseFloor(const char *r) { return record(__func__, {}, "%s", r); }
int rilk_setRadioCurChannel(const char *r, int32_t channel) { return record(__func__, {}, "%s %d", r, channel); }
int rilk_setRadioChanSpec(const char *r, int32_t bw, int32_t channel) { return record(__func__, {}, "%s %d %d", r, bw, channel); }
int rilk_cleanHwFwdRule(const char *r) { return record(__func__, {}, "%s", r); }
int rilk_addVendorIE(const char *v, uint32_t type, const uint8_t *data, uint32_t n) { return record(__func__, raw(data, n), "%s %u %u", v, type, n); }
int rilk_delVendorIE(const char *v, uint32_t type, const uint8_t *data, uint32_t n) { return record(__func__, raw(data, n), "%s %u %u", v, type, n); }
// clang-format on

int rilk_getRadioApInterfaceInfo(int32_t i, VeskApIntfInfo *info)
{
    FakeRadio *radio = i == 0 || i == 1 ? &fakeDevice.radio[i] : nullptr;
    return answer(record(__func__, {}, "%d", i), radio, [&](FakeRadio &f) { *info = f.ap; });
}
int rilk_getRadioChipName(const char *r, int32_t size, char *chip) // may lack its terminator on purpose
{
    return answer(record(__func__, {}, "%s %d", r, size), radio_named(r),
                  [&](FakeRadio &f) { strncpy(chip, f.chip.c_str(), static_cast<size_t>(size)); });
}
int rilk_getVapBssid(const char *v, uint8_t *bssid)
{
    return answer(record(__func__, {}, "%s", v), fakeDevice.vap(v),
                  [&](FakeVap &f) { memcpy(bssid, f.bssid, 6); });
}
int rilk_getVapSsid(const char *v, int32_t size, char *ssid)
{
    return answer(record(__func__, {}, "%s", v), fakeDevice.vap(v),
                  [&](FakeVap &f) { strncpy(ssid, f.ssid.c_str(), static_cast<size_t>(size)); });
}
int rilk_getVapAssocStationNumber(const char *v, int32_t *n)
{
    return answer(record(__func__, {}, "%s", v), fakeDevice.vap(v), [&](FakeVap &f) {
        *n = f.stationCount == -1 ? static_cast<int32_t>(f.stations.size()) : f.stationCount;
    });
}
int rilk_getVapAssocStationMac(const char *v, int32_t position, uint8_t *mac)
{
    return answer(record(__func__, {}, "%s %d", v, position), fakeDevice.vap(v), [&](FakeVap &f) {
        if (position >= 1 && static_cast<size_t>(position) <= f.stations.size())
            memcpy(mac, f.stations[static_cast<size_t>(position - 1)].mac, 6);
    });
}
int rilk_getVapAssocStationInfo(const char *v, const uint8_t *mac, VeskStaEntry *entry)
{
    const int rc = record(__func__, {}, "%s " MAC_FORMAT, v, MAC_BYTES(mac));
    return answer(rc, fakeDevice.vap(v), [&](FakeVap &f) {
        for (FakeStation &s : f.stations)
            if (memcmp(s.mac, mac, 6) == 0)
                memcpy(entry, &s.entry, sizeof s.entry);
    });
}
int rilk_getAssocReqFrame(const char *v, const uint8_t *mac, uint32_t *length, uint8_t *frame)
{
    const int rc = record(__func__, {}, "%s " MAC_FORMAT " %u", v, MAC_BYTES(mac), *length);
    return answer(rc, &fakeDevice.assocFrame, [&](std::vector<uint8_t> &sent) {
        std::copy_n(sent.begin(), std::min<size_t>(*length, sent.size()), frame);
        *length = static_cast<uint32_t>(sent.size());
    });
}
int rilk_setVapAclMac(const char *v, const RilkAclMac *acl)
{
    return record(__func__, raw(acl, sizeof *acl), "%s %d " MAC_FORMAT, v, acl->operation,
                  MAC_BYTES(acl->mac));
}
int rilk_initScanChannelList(const uint32_t *list, int32_t n)
{
    scanList.assign(list, list + n);
    return record(__func__, raw(list, static_cast<size_t>(n) * 4), "%d", n);
}
int rilk_triggerScan(const char *r, const VeskScanParam *p)
{
    int32_t dwell;
    memcpy(&dwell, reinterpret_cast<const uint8_t *>(p) + 1, 4);
    return record(__func__, raw(p, sizeof *p), "%s channel=%d dwell=%d baseVap=%s", r, p->channel, dwell,
                  text(p->baseVap, 16).c_str());
}
int rilk_getScanChannelResult(const char *r, VeskScanChannel **channels)
{
    return answer(record(__func__, {}, "%s", r), channels, [&](VeskScanChannel *&) {
        for (size_t i = 0; i < scanList.size(); i++) {
            auto found = fakeDevice.scan.find(static_cast<int>(scanList[i]));
            if (channels[i] && found != fakeDevice.scan.end())
                memcpy(channels[i], &found->second, offsetof(VeskScanChannel, smoothedNoise));
        }
    });
}
int rilk_getScanNeighborApOneChannel(const char *r, int32_t channel, VeskScanNeighbor **table)
{
    const int rc = record(__func__, {}, "%s %d", r, channel);
    const auto row = std::find(scanList.begin(), scanList.end(), static_cast<uint32_t>(channel));
    if (rc != 0 || !table || row == scanList.end())
        return rc;
    VeskScanNeighbor **slot = table + (row - scanList.begin()) * VESK_SCAN_NEIGHBORS_PER_CHANNEL;
    const std::vector<VeskScanNeighbor> &list = fakeDevice.neighbors[channel];
    for (size_t i = 0; i < list.size() && i < VESK_SCAN_NEIGHBORS_PER_CHANNEL; i++) {
        if (!slot[i])
            slot[i] = static_cast<VeskScanNeighbor *>(calloc(1, sizeof(VeskScanNeighbor)));
        if (slot[i])
            memcpy(slot[i], &list[i], sizeof list[i]);
    }
    return rc;
}
int rilk_setBstaAutoConnect(const VeskBstaAuto *a)
{
    return record(__func__, raw(a, sizeof *a), "%s enable=%d radar=%d", text(a->ifName, 16).c_str(),
                  a->enableAuto, a->needSetRadar);
}
int rilk_applyBackhaulCredentialToBsta(const VeskBackhaulCred *c)
{
    return record(__func__, raw(c, sizeof *c), "%s %s", text(c->ifName, 16).c_str(),
                  text(c->ssid, 65).c_str());
}
int hul_EM_getWorkRole(int32_t *role)
{
    return answer(record(__func__, {}, "%s", ""), &fakeDevice.role, [&](int32_t &r) { *role = r; });
}
int hul_getCountryID(char *code, int32_t size)
{
    return answer(record(__func__, {}, "%d", size), &fakeDevice.country,
                  [&](std::string &c) { strncpy(code, c.c_str(), static_cast<size_t>(size)); });
}
}
