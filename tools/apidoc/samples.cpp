// The sentences on each row of the tables, and an example of each record as JSON by field names. The examples
// are encoded and decoded by the client's own coder, so that a field that changes its name, place or range
// shows here.
#include "tools/apidoc/apidoc.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tools/client/record.h"

namespace
{
struct Sample {
    const RecordLayout *layout;
    const char *json;
};

#define COUNTERS                                                                                             \
    R"({"counters1":[48211,3950,61230448,2210771],"counters2":[12,0,3,0,318,27,0,0,5,0,1],"value1":2,"value2":0})"

constexpr Sample samples[] = {
    { &layoutVersionInfo, R"({"name":"vesk","version":"1.4.3"})" },
    { &layoutRadioInfo,
      R"({"band":3,"radioMac":"02:1a:10:00:00:20","radioIfname":"wifi1","status":1,"isEnabled":1,"isAcsEnabled":1,
          "curChannel":44,"curFreq":5220,"bond":"80MHz","countryCode":"DE","maxStaNums":128,"chListNums":6,
          "curchList":[36,40,44,48,52,56],"curchAttr":[0,0,0,0,1,1],"txPower":23.5,"curBw":2,
          "operatingStandards":"a,n,ac,ax"})" },
    { &layoutApIntfsInfo, R"({"radioIfname":"wifi1","vapNums":2,"vapIfname":["ath10.v0","ath11.v0"]})" },
    { &layoutIntfStats, COUNTERS },
    { &layoutVapInfo,
      R"({"radio":"wifi0","vapName":"ath0.v0","ssid":"Lindenhof","keyPassphrase":"am-alten-markt-7","authMode":32,
          "supportedModes":[1,2,4,8,16,32,64,96,34],"encryptMode":8,"mode":"ap","network":"lan","maxStations":128,
          "bssid":"02:1a:10:00:00:10","bstaPeerBssid":"00:00:00:00:00:00","status":1,"vapAttr":0,"isBackhaulBss":0})" },
    { &layoutStaInfo,
      R"({"count":1,"vapIntf":"ath0.v0","stations":[{"mac":"02:5e:70:00:00:01","rssi":-58,"value1":0,"value2":-61,
          "isBhInt":0,"value3":0,"value4":0,"tx":72,"rx":65,"time":412,"is11v":1,"is11k":1,"value5":0,
          "text1":"phone","text2":"11n","vapIntf":"ath0.v0","bw":0,"stats":)" COUNTERS "}]}" },
    { &layoutCurChannelInfo,
      R"({"channel":44,"ccaInbss":2,"value1":0,"value2":0,"value3":0,"ccaIdle":93,"ccaTxUtil":5,
          "counters":[901,17,4400,12,0],"noise":-97,"value4":0,"time":1767225600,"value5":0})" },
    { &layoutOffChInfo,
      R"({"radioBand":3,"scanNums":3,"channels":[
          {"ch":36,"inC":3,"chnUtil":41,"noise":-93,"cac":0,"smoothedNoise":-92.5,"time":1767225600,"dwell":150},
          {"ch":52,"inC":0,"chnUtil":0,"noise":0,"cac":1,"smoothedNoise":0,"time":1767225600,"dwell":150}]})" },
    { &layoutNbAPInfo,
      R"({"radioBand":3,"nbNums":1,"neighbors":[{"channel":36,"rssi":-76,"bssid":"02:c1:36:00:00:01",
          "ssid":"Familie Petersen","value1":0,"value2":0,"text":"11ac"}]})" },
    { &layout1905List, R"({"count":3,"names":["eth0","ath11.v0","apclii0"]})" },
    { &layoutBstaIntf, R"({"ifName":"apclii0","mac":"02:1a:10:00:00:2a"})" },
    { &layoutBackhaulCred,
      R"({"band":3,"ifName":"apclii0","ssid":"Lindenhof-bh","ssidKey":"between-the-nodes","encryption":4,
          "authMode":32,"bssid":"02:1a:20:00:00:21","channel":44,"bw":2})" },
    { &layoutBstaAuto, R"({"band":3,"enableAuto":1,"connectItv":30})" },
    { &layoutChannel, R"({"channel":44,"bandwidth":2})" },
    { &layoutEirp, R"({"eirp":20})" },
    { &layoutLinkMetrics, "{}" },
    { &layoutStaMon, R"({"operation":0,"mac":"02:5e:70:00:00:09","channel":44})" },
    { &layoutAclMac, R"({"operation":0,"mac":"02:5e:70:00:00:01"})" },
    { &layoutBeaconReq,
      R"({"mac":"02:5e:70:00:00:01","value1":81,"value2":255,"bssid":"ff:ff:ff:ff:ff:ff","value3":1,"listNums":3,
          "list":[1,6,11],"ssid":"Lindenhof","elementNums":1,"elements":[{"id":10,"length":2,"data":"0030"}]})" },
    { &layoutBtmReq,
      R"({"mac":"02:5e:70:00:00:01","value1":1,"value2":255,"value3":10,"targetNums":1,
          "targets":[{"bssid":"02:1a:10:00:00:20","value1":115,"value2":44}]})" },
    { &layoutHtCap, R"({"txStreams":2,"rxStreams":2,"shortGi20":1,"shortGi40":1,"ht40":1})" },
    { &layoutVhtCap,
      R"({"txMcs":65530,"rxMcs":65530,"txStreams":2,"rxStreams":2,"shortGi80":1,"shortGi160":0,"vht160":0,
          "vht80p80":0,"suBeamformer":1,"muBeamformer":1})" },
    { &layoutHeCap,
      R"({"mcsLen":12,"rxMapLE80":65530,"txMapLE80":65530,"rxMap160":65535,"txMap160":65535,"rxMap80p80":65535,
          "txMap80p80":65535,"txStreams":2,"rxStreams":2,"he80p80":0,"he160":0,"suBeamformer":1,"muBeamformer":1,
          "ulMuMimo":0,"ulMuMimoOfdma":0,"dlMuMimoOfdma":0,"ulOfdma":1,"dlOfdma":1})" },
    { &layoutNolList, R"({"count":2,"channels":[{"value":1860,"channel":52},{"value":1860,"channel":56}]})" },
    { &layoutVendorIE, R"({"ifName":"ath0.v0","pktType":1,"data":"dd050050f20a01","dataLen":7})" },
    { &layoutScanCap, R"({"isSupportScan":1,"scanItv":60})" },
    { &layoutChList, R"({"chListNums":4,"chList":[36,40,52,56],"chAttr":[0,0,1,1]})" },
    { &layoutDot1qCfg, R"({"vid":10,"pcp":5})" },
    { &layoutLogSetting, R"({"level":7,"destination":"/tmp/mine.log"})" },

    { &layoutClientJoin,
      R"({"ifName":"ath0.v0","mac_addr":"02:5e:70:00:00:01","rssi":-52,"channel":6,"frequency":2437,"bw":0,"opClass":81,
          "radioId":0,"ssid":"Lindenhof","bssid":"02:1a:10:00:00:10","assoc_time":0,"assoc_req_len":12,
          "assoc_req":"31040a0000094c696e64656e"})" },
    { &layoutClientLeave, R"({"ifName":"ath0.v0","mac":"02:5e:70:00:00:01"})" },
    { &layoutChChange,
      R"({"reason":1,"radioId":3,"oldCh":44,"oldBw":2,"oldOpClass":128,"oldHwMode":"11ax","oldTxPower":23,"newCh":36,
          "newBw":2,"newOpClass":128,"newHwMode":"11ax","newTxPower":23,"interfaceIndex":3})" },
    { &layoutRadarEvent, R"({"data":"034401020000"})" },
    { &layoutBtmQuery, R"({"ifName":"ath0.v0","query":"025e700000010601"})" },
    { &layoutBtmResp,
      R"({"ifName":"ath0.v0","mac":"02:5e:70:00:00:01","bssid":"02:1a:10:00:00:10","response":"010002"})" },
    { &layoutBcnReport, R"({"ifName":"ath0.v0","report":"025e7000000151060000"})" },
    { &layoutEnrolleeWps,
      R"({"ifName":"ath1.v0","mac_addr":"02:1a:20:00:00:1a","connected_bssid":"02:1a:10:00:00:11"})" },
    { &layoutMapR2AssocResp, R"({"ifname":"apclii0","peerMac":"02:1a:20:00:00:21","vid":10,"pcp":5})" },
    { &layoutUnsafeChannel, R"({"ch_bitmap":[64,0,3]})" },
    { &layoutIfStatus, R"({"ifName":"apclii0","status":1})" },
    { &layoutVapAttr, R"({"ifName":"ath0.v0","attribute":1})" },
    { &layoutUnassocMetrics,
      R"({"ifName":"ath10.v0","mac":"02:5e:70:00:00:09","channel":44,"rssi":-71,"time":86412})" },
};

constexpr Text methods[] = {
    { "getVersionInfo", "Name and version of the daemon." },
    { "getRadioCapability",
      "What the device's set of radios is, by their number: 1, 9, 7 or 16 for one to four." },
    { "getRadioInfo", "A radio: its state, its channel, and in `curchList` all its channels, excluded ones "
                      "too, as they were read "
                      "at the start; `getRadioAvaliableChannelList` has those that it may use now." },
    { "getRadioApIntfsInfo", "The access point interfaces of a radio. Backhaul stations aren't among them." },
    { "getRadioIntfStats", "The driver's counters of a radio." },
    { "getVapInfo", "An access point or backhaul station, its key included." },
    { "getVapIntfStats", "The driver's counters of an access point or backhaul station." },
    { "getStaInfo", "The stations that are associated with an access point, as of the last poll." },
    { "getCurChannelInfo", "Utilisation and noise of the channel that a radio runs on." },
    { "getOffChannelInfo",
      "What the scans have measured, channel by channel. `scanNums` counts the channels of the "
      "radio, not the entries that are filled. All entries carry one `time`: when the 5 GHz radio's scans "
      "last "
      "stored a result." },
    { "getNeighborAPInfo", "The neighbouring access points that the scans have found." },
    { "get1905interfacesList", "The interfaces that IEEE 1905 is to use." },
    { "getBstaIntfInfo", "The backhaul station of a radio." },
    { "applyBackhaulCredentialToBsta", "Gives a backhaul station the network to join, and stops scanning." },
    { "setBstaAutoConnect",
      "Switches a backhaul station's auto-connect, at once. While it is on nothing scans." },
    { "getChannel", "The channel and bandwidth that a radio runs on." },
    { "setChannel",
      "Asks for a channel and bandwidth; channel 0 leaves the channel, bandwidth 5 the bandwidth. "
      "`return` tells how the radio's request before this one went. What the radio was at when its channel "
      "was polled last (every five seconds) isn't asked of the driver: a request back to it does nothing "
      "before a poll has seen that the radio moved." },
    { "getEirp",
      "Answers for the radiated power, which the daemon doesn't know: the record's content means nothing." },
    { "setEirp", "Accepts a radiated power; nothing is done with it." },
    { "getLinkMetrics", "Answers for the metrics of a link; the record has no defined field." },
    { "setStaMon",
      "Watches a station that isn't associated (`operation` 0), or no longer (1). Its level comes as the "
      "signal `veskUnassocClientMetrics`." },
    { "setBeaconRequest", "Asks a station for a beacon report (802.11k)." },
    { "setBTMRequest", "Asks a station to move to another BSS (802.11v), with candidates." },
    { "getRadioHtCap", "HT capabilities of a radio, from the product configuration." },
    { "getRadioVhtCap", "VHT capabilities of a radio, from the product configuration." },
    { "getRadioHeCap", "HE capabilities of a radio, from the product configuration." },
    { "getNolChannelList", "Channels that are under non-occupancy after radar." },
    { "triggerScan", "Sweeps all channels of a radio again." },
    { "setBlockClient", "Keeps a station off an access point (`operation` 0), or lets it join again (1)." },
    { "addVendorIE", "Adds a vendor element to an access point's frames." },
    { "delVendorIE", "Takes a vendor element out of an access point's frames." },
    { "getScanStatus", "1 when the first scans of both radios are over, 0 before." },
    { "getScanCap", "Whether a radio's chip is said to support scans, and the interval. The flag is only "
                    "told: a radio with 0 scans "
                    "like any other." },
    { "getRadioAvaliableChannelList", "The channels that a radio may use now: `curchList` of `getRadioInfo` "
                                      "without the excluded ones. The method's "
                                      "name is spelled as it is." },
    { "disassocSta", "Disconnects a station." },
    { "getDefault802dot1qSetting", "The default VLAN of the backhaul BSSs." },
    { "setDefault802dot1qSetting", "Sets the default VLAN of the backhaul BSSs." },
    { "getRadioAdvancedCapability", "Further capabilities of the device's radios." },
};

/** What `return` says, where it is more than 0 for done and -1 for refused. */
constexpr Text returns[] = {
    { "getStaInfo", "0, also for an interface that doesn't exist: `count` is 0 then" },
    { "applyBackhaulCredentialToBsta",
      "0: will be applied; -1: the interface, SSID, key, encryption or authentication is missing" },
    { "setBstaAutoConnect",
      "0, whatever the driver's library answered; -1: the band has no backhaul station" },
    { "setChannel", "-1: refused; else the result of the radio's request before this one" },
    { "getEirp", "always 0" },
    { "setEirp", "always 0" },
    { "getLinkMetrics", "always 0" },
    { "setStaMon", "0, also when there was nothing to remove; -1, without a line: another `operation`" },
    { "setBeaconRequest",
      "the code of the driver's library; -1: a count doesn't fit, or, without a line, no `vapName`" },
    { "setBTMRequest", "the code of the driver's library; -1: too many candidates" },
    { "setBlockClient",
      "0, whatever the driver's library answered; -1, without a line: another `operation`" },
    { "addVendorIE", "the code of the driver's library; -1: the element is too long" },
    { "delVendorIE", "the code of the driver's library; -1: the element is too long" },
    { "disassocSta", "always 0, also without `mac`; the log has a line then" },
    { "setDefault802dot1qSetting", "always 0, whatever the driver's library answered" },
};

constexpr Text signals[] = {
    { "veskClientJoin", "A station has joined, with its association request." },
    { "veskClientLeave", "A station has left." },
    { "veskChChange", "A radio has changed its channel: `reason` 1 when the daemon's own poll found it." },
    { "veskChPassCac", "A channel has passed its availability check." },
    { "veskRadarNotif", "Radar was detected." },
    { "veskBtmQuery", "A station asks where to move." },
    { "veskBtmResp", "A station's answer to a request to move." },
    { "veskBcnReport", "A station's beacon report." },
    { "veskEnrolleeWpsFinish", "An enrollee has finished WPS on an access point." },
    { "veskMapR2AssocResp", "The association of a backhaul station brought a default VLAN." },
    { "veskUnsafeChannel",
      "The set of channels to keep off has changed: one word for 2.4 GHz, two for 5 GHz." },
    { "veskIfStatusChange", "An interface went up (1) or down (0)." },
    { "veskVapAttrChange", "An access point has another SSID (`attribute` 1) or BSSID (2)." },
    { "veskIEEE1905VlanIfChange", "What `notifyIEEE1905VlanIntfChange` brought." },
    { "veskUnassocClientMetrics", "Level of a watched station, in answer to `setStaMon`." },
};

constexpr Text arguments[] = {
    { "band", "band word" },          { "vapName", "interface" },
    { "local_iface", "interface" },   { "peer_mac", "MAC address as text" },
    { "mac", "MAC address as text" },
};

/** What stands for a text or a number in an example. */
constexpr Text values[] = {
    { "band", "3" },
    { "vapName", "ath0.v0" },
    { "local_iface", "ath0.v0" },
    { "peer_mac", "02:5e:70:00:00:01" },
    { "mac", "02:5e:70:00:00:01" },
    { "rfCfgAbility", "9" },
    { "scanStatus", "1" },
    { "rfCfgAdvancedCapability", "64" },
};

const char *find_text(std::span<const Text> rows, std::string_view name, const char *what)
{
    for (const Text &row : rows)
        if (name == row.name)
            return row.text;
    give_up(std::string("tools/apidoc/samples.cpp has no ") + what + " for " + std::string(name));
}
} // namespace

void give_up(const std::string &what)
{
    fprintf(stderr, "vesk-apidoc: %s\n", what.c_str());
    exit(1);
}

const char *method_text(std::string_view method)
{
    return find_text(methods, method, "sentence");
}

const char *return_text(std::string_view method)
{
    for (const Text &row : returns)
        if (method == row.name)
            return row.text;
    return "0, or -1: refused";
}

const char *signal_text(std::string_view shortName)
{
    return find_text(signals, shortName, "sentence");
}

const char *argument_text(std::string_view argument)
{
    for (const Text &row : arguments)
        if (argument == row.name)
            return row.text;
    return "the request"; // a record: its table tells
}

Json sample_object(const RecordLayout &layout)
{
    for (const Sample &sample : samples)
        if (sample.layout == &layout)
            if (Json object = Json::parse(sample.json))
                return object;
    give_up(std::string("tools/apidoc/samples.cpp has no valid example of ") + layout.name);
}

std::vector<uint8_t> sample_record(const RecordLayout &layout)
{
    std::vector<uint8_t> record;
    const std::string error = encode_record(layout, sample_object(layout).get(), record);
    if (!error.empty())
        give_up(std::string(layout.name) + ": " + error);
    return record;
}

std::string sample_argument(const WireMethod &method, const WireField &field)
{
    if (field.type != WireType::Record)
        return find_text(values, field.name, "example");
    return sample_object(*vesk_layout_of(method.name, field.name)).line();
}

std::vector<uint8_t> sample_result(const WireMethod &method)
{
    const WireField &field = method.result;
    if (field.type == WireType::None)
        return {};
    if (field.type == WireType::Record)
        return sample_record(*vesk_layout_of(method.name, field.name));
    const auto value = static_cast<int32_t>(strtol(find_text(values, field.name, "example"), nullptr, 10));
    std::vector<uint8_t> bytes(field.size);
    memcpy(bytes.data(), &value, field.size); // little-endian: a shorter number is the front of a longer one
    return bytes;
}
