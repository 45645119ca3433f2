#include "platform/nl80211/steering.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "platform/nl80211/channels.h"
#include "platform/nl80211/ctrl.h"
#include "platform/nl80211/element.h"
#include "platform/nl80211/iface.h"
#include "platform/nl80211/log.h"
#include "platform/nl80211/scan_table.h"
#include "platform/nl80211/text.h"

namespace radio
{

namespace
{

// A measurement request element has 255 bytes; three of them are its token, mode and type (802.11-2020,
// 9.4.2.20).
constexpr size_t measurementSize = 252;
constexpr uint8_t measurementDuration = 100; // time units of 1024 us: a beacon interval

enum SubElement : uint8_t { subSsid = 0, subDetail = 2, subChannels = 51 };
constexpr uint8_t lastMode = 2, lastDetail = 2;
constexpr uint8_t listedChannels = 255; // those of the AP channel reports
constexpr size_t ssidSize = 32;

enum MoveMode : uint8_t { modeCandidates = 1, modeAbridged = 2, modeImminent = 4 };
constexpr uint8_t phyHt = 7, phyVht = 9;

struct Measurement {
    uint8_t bytes[measurementSize];
    size_t length; // more than fits: it was cut
};

void put(Measurement &to, Bytes bytes)
{
    if (to.length + bytes.size() <= sizeof to.bytes)
        std::copy(bytes.begin(), bytes.end(), to.bytes + to.length);
    to.length = std::min(to.length + bytes.size(), sizeof to.bytes + 1);
}

void put_element(Measurement &to, uint8_t id, Bytes body)
{
    const uint8_t head[] = { id, static_cast<uint8_t>(body.size()) };
    put(to, head);
    put(to, body);
}

uint32_t frequency_of(int channel)
{
    const uint32_t low = frequency_of_channel(band24, channel);
    return low != 0 ? low : frequency_of_channel(band5, channel);
}

/** Of a channel 20 MHz wide; 0 for a number that no channel has. */
uint8_t class_of(int channel)
{
    return operating_class(frequency_of(channel), 0);
}

/** A report for each run of channels of one class. False if a channel has none. */
bool put_channels(Measurement &to, const RilkBeaconReq &req)
{
    uint8_t report[1 + VESK_WIRE_BCN_CHANNELS];
    for (size_t at = 0; at < req.listNums;) {
        size_t count = 1;
        report[0] = req.value1 != 0 ? req.value1 : class_of(req.list[at]);
        for (; at < req.listNums && (req.value1 != 0 || class_of(req.list[at]) == report[0]); at++)
            report[count++] = req.list[at];
        if (report[0] == 0)
            return false;
        put_element(to, subChannels, { report, count });
    }
    return true;
}

/** What is wrong with a beacon request; NULL if nothing is. */
const char *fault_of(const RilkBeaconReq &req)
{
    if (!is_station_mac(req.mac))
        return "no station's address";
    if (req.elementNums > std::size(req.elements) || req.listNums > std::size(req.list))
        return "a count is beyond its table";
    if (req.value3 > lastMode || req.value4 > lastDetail)
        return "no such mode or reporting detail";
    if (strnlen(req.ssid, sizeof req.ssid) > ssidSize)
        return "an SSID has at most 32 bytes";
    return nullptr;
}

uint8_t class_of(const RilkBeaconReq &req)
{
    if (req.value1 != 0)
        return req.value1;
    return req.value2 != listedChannels ? class_of(req.value2) : req.listNums > 0 ? class_of(req.list[0]) : 0;
}

struct Place {
    uint32_t frequency; // MHz
    uint8_t phy;
};

/** Where a candidate is, by the scans or as one of our own. Nothing if neither knows it. */
Place look_up(const uint8_t *bssid)
{
    Place place = {};
    LocalList<Iface> interfaces;
    if (scan_find(bssid, place.frequency, place.phy))
        return place;
    iface_list(interfaces);
    for (const Iface &iface : interfaces) {
        if (iface_is_ap(iface) && memcmp(iface.mac, bssid, sizeof iface.mac) == 0)
            place.frequency = iface.frequency;
    }
    return place;
}

bool add_candidate(Command &command, const RilkBtmTarget &target)
{
    const Place place = look_up(target.bssid);
    const int channel = target.value2 != 0 ? target.value2 : channel_of_frequency(place.frequency);
    const uint8_t opClass = target.value1 != 0 ? target.value1 : class_of(channel);
    if (channel == 0 || opClass == 0)
        return false;
    const int band = band_of_frequency(frequency_of(channel));
    const uint8_t phy = place.phy != 0 ? place.phy : band == band24 ? phyHt : phyVht;
    command_add(command, " neighbor=%s,0x0000,%d,%d,%d", mac_text(target.bssid).text, opClass, channel, phy);
    return true;
}

} // namespace

int steering_request_beacon(const char *ifName, const RilkBeaconReq &req)
{
    const uint8_t opClass = class_of(req);
    const char *fault = fault_of(req);
    if (fault || opClass == 0)
        return log_refusal("%s: no beacon request: %s", ifName, fault ? fault : "no operating class");
    const uint8_t head[] = { opClass, req.value2, 0, 0, measurementDuration, 0, req.value3 };
    Measurement measurement = {};
    put(measurement, head);
    put(measurement, { req.bssid, sizeof req.bssid });
    const size_t ssidLength = strnlen(req.ssid, sizeof req.ssid);
    if (ssidLength > 0)
        put_element(measurement, subSsid, { reinterpret_cast<const uint8_t *>(req.ssid), ssidLength });
    put_element(measurement, subDetail, { &req.value4, 1 });
    if (!put_channels(measurement, req))
        return log_refusal("%s: no beacon request: a channel without operating class", ifName);
    for (size_t i = 0; i < req.elementNums; i++)
        put_element(measurement, req.elements[i].id, { req.elements[i].data, req.elements[i].length });
    if (measurement.length > sizeof measurement.bytes)
        return log_refusal("%s: no beacon request: more than %zu bytes", ifName, measurementSize);
    Command command = {};
    command_add(command, "REQ_BEACON %s ", mac_text(req.mac).text);
    command_add_hex(command, { measurement.bytes, measurement.length });
    return ctrl_send(CtrlPeer::accessPoint, ifName, command);
}

int steering_request_move(const char *ifName, const RilkBtmReq &req)
{
    constexpr uint8_t known = modeCandidates | modeAbridged | modeImminent;
    if (!is_station_mac(req.mac) || req.targetNums > std::size(req.targets))
        return log_refusal("%s: no transition request: no station's address, or too many candidates", ifName);
    if ((req.value1 & ~known) != 0)
        return log_refusal("%s: no transition request: mode 0x%02x needs fields that the request lacks",
                           ifName, req.value1);
    Command command = {};
    command_add(command, "BSS_TM_REQ %s disassoc_timer=%d", mac_text(req.mac).text, int{ req.value3 });
    if (req.value2 != 0)
        command_add(command, " valid_int=%d", req.value2);
    if (req.value1 & modeCandidates || req.targetNums > 0) // a list in the frame has to be announced
        command_add(command, " pref=1");
    if (req.value1 & modeAbridged)
        command_add(command, " abridged=1");
    if (req.value1 & modeImminent)
        command_add(command, " disassoc_imminent=1");
    for (size_t i = 0; i < req.targetNums; i++) {
        if (!add_candidate(command, req.targets[i]))
            return log_refusal("%s: no transition request: channel and class of %s aren't known", ifName,
                               mac_text(req.targets[i].bssid).text);
    }
    return ctrl_send(CtrlPeer::accessPoint, ifName, command);
}

} // namespace radio
