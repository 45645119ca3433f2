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

std::string hexmac(const uint8_t *m)
{
    char s[18];
    snprintf(s, sizeof s, "%02x:%02x:%02x:%02x:%02x:%02x", m[0], m[1], m[2], m[3], m[4], m[5]);
    return s;
}

std::vector<uint32_t> scanList; // rilk_initScanChannelList

/** Gets a value from a radio unless the call is to fail. */
template <class F>
int from_radio(const char *function, const char *name, F fill)
{
    int rc = record(function, {}, "%s", name);
    FakeRadio *r = radio_named(name);
    if (rc == 0 && r)
        fill(*r);
    return rc;
}

template <class F>
int from_vap(const char *function, const char *name, F fill)
{
    int rc = record(function, {}, "%s", name);
    FakeVap *v = fakeDevice.vap(name);
    if (rc == 0 && v)
        fill(*v);
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
    for (int i = 0; i < VESK_WIRE_VAPS; i++) {
        if (ap.vapIfname[i][0] != '\0')
            continue;
        snprintf(ap.vapIfname[i], 16, "%s", name.c_str());
        ap.vapNums = i + 1;
        break;
    }
    FakeVap v;
    v.name = name;
    v.ssid = "net-" + name;
    v.cfg.vapAttr = attr;
    const uint8_t mac[6] = {
        0x02, 0, 0, 0, static_cast<uint8_t>(index), static_cast<uint8_t>(vaps.size() + 1)
    };
    memcpy(v.bssid, mac, 6);
    vaps.push_back(v);
    return vaps.back();
}

FakeStation &FakeDevice::addStation(const std::string &name, const uint8_t (&mac)[6])
{
    FakeStation s;
    memcpy(s.mac, mac, 6);
    memcpy(s.entry.mac, mac, 6);
    snprintf(s.entry.vapIntf, 16, "%s", name.c_str());
    s.entry.rssi = -50;
    vap(name)->stations.push_back(s);
    return vap(name)->stations.back();
}

std::vector<FakeCall> FakeDevice::calls(const std::string &name) const
{
    std::vector<FakeCall> found;
    for (const FakeCall &c : log)
        if (c.name == name)
            found.push_back(c);
    return found;
}

extern "C" {
int rilk_initDriver(void)
{
    return record(__func__, {}, "%s", "");
}
int rilk_update_debuglevel(int32_t level)
{
    return record(__func__, {}, "%d", level);
}

int rilk_getRadioApInterfaceInfo(int32_t i, VeskApIntfInfo *info)
{
    int rc = record(__func__, {}, "%d", i);
    if (rc == 0 && (i == 0 || i == 1))
        *info = fakeDevice.radio[i].ap;
    return rc;
}
int rilk_getRadioChipName(const char *r, int32_t size, char *chip)
{
    int rc = record(__func__, {}, "%s %d", r, size);
    if (FakeRadio *radio = radio_named(r); rc == 0 && radio)
        strncpy(chip, radio->chip.c_str(), static_cast<size_t>(size)); // may lack its terminator on purpose
    return rc;
}
int rilk_getRadioStatus(const char *r, uint8_t *status)
{
    return from_radio(__func__, r, [&](FakeRadio &f) { *status = f.status; });
}
int rilk_getRadioDynParamters(const char *r, RilkRadioDynParams *p)
{
    return from_radio(__func__, r, [&](FakeRadio &f) { *p = f.dyn; });
}
int rilk_getRadioCurChannel(const char *r, int32_t *channel)
{
    return from_radio(__func__, r, [&](FakeRadio &f) { *channel = f.channel; });
}
int rilk_getRadioTxpower(const char *r, float *power)
{
    return from_radio(__func__, r, [&](FakeRadio &f) { *power = f.power; });
}
int rilk_getCurChannelInfo(const char *r, VeskCurChannelInfo *info)
{
    return from_radio(__func__, r, [&](FakeRadio &f) { *info = f.cur; });
}
int rilk_getVapBssid(const char *v, uint8_t *bssid)
{
    return from_vap(__func__, v, [&](FakeVap &f) { memcpy(bssid, f.bssid, 6); });
}
int rilk_getVapSsid(const char *v, int32_t size, char *ssid)
{
    return from_vap(__func__, v,
                    [&](FakeVap &f) { strncpy(ssid, f.ssid.c_str(), static_cast<size_t>(size)); });
}
int rilk_getVapStatus(const char *v, uint8_t *status)
{
    return from_vap(__func__, v, [&](FakeVap &f) { *status = f.status; });
}
int rilk_setRRMEnable(const char *v, int32_t on)
{
    return record(__func__, {}, "%s %d", v, on);
}
int rilk_setWNMEnable(const char *v, int32_t on)
{
    return record(__func__, {}, "%s %d", v, on);
}
int rilk_getRadioIfStat(const char *r, VeskIntfStats *stats)
{
    return from_radio(__func__, r, [&](FakeRadio &f) { *stats = f.stats; });
}
int rilk_getVapIfStat(const char *v, VeskIntfStats *stats)
{
    return from_vap(__func__, v, [&](FakeVap &f) { *stats = f.stats; });
}
int rilk_getVapAssocStationNumber(const char *v, int32_t *n)
{
    return from_vap(__func__, v, [&](FakeVap &f) {
        *n = f.stationCount == -1 ? static_cast<int32_t>(f.stations.size()) : f.stationCount;
    });
}
int rilk_getVapAssocStationMac(const char *v, int32_t position, uint8_t *mac)
{
    int rc = record(__func__, {}, "%s %d", v, position);
    FakeVap *f = fakeDevice.vap(v);
    if (rc == 0 && f && position >= 1 && static_cast<size_t>(position) <= f->stations.size())
        memcpy(mac, f->stations[static_cast<size_t>(position - 1)].mac, 6);
    return rc;
}
int rilk_getVapAssocStationInfo(const char *v, const uint8_t *mac, VeskStaEntry *entry)
{
    int rc = record(__func__, {}, "%s %s", v, hexmac(mac).c_str());
    if (FakeVap *f = fakeDevice.vap(v); rc == 0 && f)
        for (FakeStation &s : f->stations)
            if (memcmp(s.mac, mac, 6) == 0)
                memcpy(entry, &s.entry, sizeof s.entry);
    return rc;
}
int rilk_getAssocReqFrame(const char *v, const uint8_t *mac, uint32_t *length, uint8_t *frame)
{
    int rc = record(__func__, {}, "%s %s %u", v, hexmac(mac).c_str(), *length);
    if (rc == 0) {
        std::copy_n(fakeDevice.assocFrame.begin(), std::min<size_t>(*length, fakeDevice.assocFrame.size()),
                    frame);
        *length = static_cast<uint32_t>(fakeDevice.assocFrame.size());
    }
    return rc;
}
int rilk_disConnectSta(const char *v, const char *mac)
{
    return record(__func__, {}, "%s %s", v, mac);
}
int rilk_setVapAclMac(const char *v, const RilkAclMac *acl)
{
    return record(__func__, raw(acl, sizeof *acl), "%s %d %s", v, acl->operation, hexmac(acl->mac).c_str());
}
int rilk_initScanChannelList(const uint32_t *list, int32_t n)
{
    scanList.assign(list, list + n);
    return record(__func__, raw(list, static_cast<size_t>(n) * 4), "%d", n);
}
int rilk_setMinMaxDwellTime(const char *r, int32_t min, int32_t max)
{
    return record(__func__, {}, "%s %d %d", r, min, max);
}
int rilk_triggerScan(const char *r, const VeskScanParam *p)
{
    int32_t dwell;
    memcpy(&dwell, reinterpret_cast<const uint8_t *>(p) + 1, 4);
    return record(__func__, raw(p, sizeof *p), "%s channel=%d dwell=%d baseVap=%s", r, p->channel, dwell,
                  text(p->baseVap, 16).c_str());
}
int rilk_setEnableNoiseFloor(const char *r)
{
    return record(__func__, {}, "%s", r);
}
int rilk_getScanChannelResult(const char *r, VeskScanChannel **channels)
{
    int rc = record(__func__, {}, "%s", r);
    for (size_t i = 0; rc == 0 && channels && i < scanList.size(); i++) {
        auto found = fakeDevice.scan.find(static_cast<int>(scanList[i]));
        if (channels[i] && found != fakeDevice.scan.end())
            memcpy(channels[i], &found->second, offsetof(VeskScanChannel, smoothedNoise));
    }
    return rc;
}
int rilk_getScanNeighborApOneChannel(const char *r, int32_t channel, VeskScanNeighbor **table)
{
    int rc = record(__func__, {}, "%s %d", r, channel);
    for (size_t row = 0; rc == 0 && table && row < scanList.size(); row++) {
        if (static_cast<int32_t>(scanList[row]) != channel)
            continue;
        VeskScanNeighbor **slot = table + row * VESK_SCAN_NEIGHBORS_PER_CHANNEL;
        const std::vector<VeskScanNeighbor> &list = fakeDevice.neighbors[channel];
        for (size_t i = 0; i < list.size() && i < VESK_SCAN_NEIGHBORS_PER_CHANNEL; i++) {
            if (!slot[i])
                slot[i] = static_cast<VeskScanNeighbor *>(calloc(1, sizeof(VeskScanNeighbor)));
            if (slot[i])
                memcpy(slot[i], &list[i], sizeof list[i]);
        }
        break;
    }
    return rc;
}
int rilk_setRadioCurChannel(const char *r, int32_t channel)
{
    return record(__func__, {}, "%s %d", r, channel);
}
int rilk_setRadioChanSpec(const char *r, int32_t bw, int32_t channel)
{
    return record(__func__, {}, "%s %d %d", r, bw, channel);
}
int rilk_getChannelNolList(const char *r, RilkNolList *list)
{
    return from_radio(__func__, r, [&](FakeRadio &f) { *list = f.nol; });
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
int rilk_sendBeaconReq(const char *v, const RilkBeaconReq *q)
{
    return record(__func__, raw(q, sizeof *q), "%s", v);
}
int rilk_sendBTMReq(const char *v, const RilkBtmReq *q)
{
    return record(__func__, raw(q, sizeof *q), "%s", v);
}
int rilk_addVendorIE(const char *v, uint32_t type, const uint8_t *data, uint32_t n)
{
    return record(__func__, raw(data, n), "%s %u %u", v, type, n);
}
int rilk_delVendorIE(const char *v, uint32_t type, const uint8_t *data, uint32_t n)
{
    return record(__func__, raw(data, n), "%s %u %u", v, type, n);
}
int rilk_cleanHwFwdRule(const char *r)
{
    return record(__func__, {}, "%s", r);
}
int rilk_set8021dotqCfg(const char *v, const VeskDot1qCfg *cfg)
{
    return record(__func__, raw(cfg, sizeof *cfg), "%s", v);
}

int hul_EM_getWorkRole(int32_t *role)
{
    int rc = record(__func__, {}, "%s", "");
    if (rc == 0)
        *role = fakeDevice.role;
    return rc;
}
int hul_getRadioInfo(int32_t band, HulRadioInfo *info)
{
    int rc = record(__func__, {}, "%d", band);
    if (FakeRadio *r = radio_on(band); rc == 0 && r)
        *info = r->hul;
    return rc;
}
int hul_getCountryID(char *code, int32_t size)
{
    int rc = record(__func__, {}, "%d", size);
    if (rc == 0)
        strncpy(code, fakeDevice.country.c_str(), static_cast<size_t>(size));
    return rc;
}
int hul_getRadioChannelList(int32_t band, HulChannelList *list)
{
    int rc = record(__func__, {}, "%d", band);
    if (FakeRadio *r = radio_on(band); rc == 0 && r)
        *list = r->channels;
    return rc;
}
int hul_getRadioExcludedChannelList(int32_t band, HulExcludedChannelList *list)
{
    int rc = record(__func__, {}, "%d", band);
    if (FakeRadio *r = radio_on(band); rc == 0 && r)
        *list = r->excluded;
    return rc;
}
int hul_getEnabledVapCfg(const char *v, HulVapCfg *cfg)
{
    return from_vap(__func__, v, [&](FakeVap &f) { *cfg = f.cfg; });
}
}
