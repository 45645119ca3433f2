// Requests that concern a station: who may join, who has to leave, what a station is asked for. The driver
// carries them out and its answer says little, so the interface and the station are looked up before.
#include <cctype>
#include <cstdio>

#include "tools/client/signals.h"
#include "tools/client/text.h"
#include "tools/veskctl/checks.h"
#include "tools/veskctl/output.h"

namespace
{
constexpr int leaveMs = 20000; // the station table is polled every 13 s, or sooner
constexpr int askMs = 500;

const StationState *find_station(const Snapshot &snapshot, const std::string &vap, const std::string &mac)
{
    if (const VapState *state = snapshot.find_vap(vap))
        for (const StationState &station : state->stations)
            if (station.mac == mac)
                return &station;
    return nullptr;
}

/** What is known of a station that was told to go. The signal may come, and the table tells in any case. */
struct Leave {
    std::string vap, mac;
    long seconds; // since its association, before
    bool isAsked = false, isGone = false;
    int64_t end = 0, next = 0;
    std::string error;

    void hear(const SeenSignal &signal)
    {
        WireLeave record;
        if (signal.name != VESK_SIGNAL_CLIENT_LEAVE || signal.payload.size() != sizeof record)
            return;
        memcpy(&record, signal.payload.data(), sizeof record);
        isGone = isGone || mac_text(record.mac) == mac;
    }
    void ask()
    {
        const CallResult result =
            bus_call(*bus_method("disassocSta"), { arg_text("vapName", vap), arg_text("mac", mac) });
        error = result.error;
        isAsked = true;
        end = monotonic_ms() + leaveMs;
    }
    /** True when it is over. A station that is back has a younger association. */
    bool look()
    {
        bus_start_time();
        if (!isAsked)
            ask();
        if (isGone || !error.empty() || monotonic_ms() >= end)
            return true;
        if (monotonic_ms() < next)
            return false;
        next = monotonic_ms() + askMs;
        Snapshot snapshot;
        if (!take_snapshot(snapshot, PartVaps | PartStations, error))
            return true;
        const StationState *station = find_station(snapshot, vap, mac);
        isGone = !station || station->seconds < seconds;
        return isGone;
    }
    using WireLeave = VeskClientLeave;
};

/** The number from 0 to 255 behind the comma at `text`, which moves on behind it; 0 where there is none. */
uint8_t next_byte(const char *&text)
{
    if (text[0] != ',' || !isdigit(static_cast<unsigned char>(text[1])))
        return 0;
    char *end;
    const unsigned long value = strtoul(text + 1, &end, 10);
    if (value > 255)
        usage_error("an operating class or a channel is a number from 0 to 255");
    text = end;
    return static_cast<uint8_t>(value);
}

/** A target is BSSID[,VALUE[,VALUE]]: what the two bytes mean lies with the driver (operating class,
 * channel). */
WireBtmTarget parse_target(const std::string &text)
{
    WireBtmTarget target = {};
    need_mac(text.substr(0, 17), target.bssid);
    const char *rest = text.c_str() + 17;
    target.value1 = next_byte(rest);
    target.value2 = next_byte(rest);
    if (*rest)
        usage_error("a target is BSSID[,OPCLASS[,CHANNEL]]");
    return target;
}

uint8_t byte_option(const Arguments &arguments, const char *name, uint8_t otherwise = 0)
{
    return static_cast<uint8_t>(arguments.number(name, otherwise));
}

/** The whole element that the command line gave or described. */
std::vector<uint8_t> vendor_element(const Arguments &arguments)
{
    constexpr uint8_t vendorId = 221;
    const bool isBuilt = arguments.has("--oui");
    if (isBuilt == arguments.has("HEX"))
        usage_error("an element is given as HEX or built from --oui and --data");
    std::vector<uint8_t> bytes;
    if (!isBuilt) {
        bytes = need_hex(arguments.text("HEX"), "the element");
        if (bytes.size() < 5 || bytes[0] != vendorId || bytes[1] != bytes.size() - 2)
            usage_error(
                "HEX is no whole vendor element: it begins with dd and the number of bytes that follow, at "
                "least the three of an organisation; --oui and --data build one");
        return bytes;
    }
    bytes = { vendorId, 0 };
    const std::vector<uint8_t> oui = need_hex(arguments.text("--oui"), "--oui");
    const std::vector<uint8_t> data = need_hex(arguments.text("--data"), "--data");
    if (oui.size() != 3 || data.size() > 252)
        usage_error("--oui has three bytes, --data at most 252");
    bytes.insert(bytes.end(), oui.begin(), oui.end());
    bytes.insert(bytes.end(), data.begin(), data.end());
    bytes[1] = static_cast<uint8_t>(bytes.size() - 2);
    return bytes;
}
} // namespace

void run_kick(const Arguments &arguments)
{
    uint8_t mac[6];
    need_mac(arguments.text("MAC"), mac);
    const Snapshot snapshot = must_take_snapshot(PartVaps | PartStations);
    const VapState &vap = must_access_point(snapshot, arguments.text("VAP"));
    const StationState &station = must_station(snapshot, vap, arguments.text("MAC"));
    Leave leave = { vap.name, station.mac, station.seconds };
    if (arguments.has("--no-wait")) {
        leave.ask();
        if (!leave.error.empty())
            fail(leave.error);
        print_done(arguments, "asked for: " + station.mac + " has to leave " + vap.name);
        return;
    }
    std::string error;
    if (!listen_for_signals([&](const SeenSignal &signal) { leave.hear(signal); },
                            [&] { return leave.look(); }, error))
        fail(error);
    if (!leave.error.empty())
        fail(leave.error);
    if (!leave.isGone)
        fail(station.mac + (stop_asked() ? " may still be on " : " is still on ") + vap.name +
             "; the daemon's log says what the driver answered");
    print_done(arguments, station.mac + " has left " + vap.name);
}

void run_block(const Arguments &arguments)
{
    const bool isBlock = std::string_view(arguments.command->name) == "block";
    WireAclMac record = {};
    record.operation = isBlock ? 0 : 1;
    need_mac(arguments.text("MAC"), record.mac);
    const Snapshot snapshot = must_take_snapshot(PartVaps | (isBlock ? PartStations : 0u));
    const VapState &vap = must_access_point(snapshot, arguments.text("VAP"));
    const std::string mac = mac_text(record.mac);
    must_call("setBlockClient", { arg_text("vapName", vap.name), arg_record("aclMac", record) });
    std::string text = isBlock ? "asked the driver to keep " + mac + " off " + vap.name
                               : "asked the driver to let " + mac + " join " + vap.name + " again";
    text += "; it gives no answer";
    if (isBlock && find_station(snapshot, vap.name, mac))
        text += ". The station is there now: `veskctl kick " + vap.name + " " + mac + "` disconnects it";
    print_done(arguments, text);
}

void run_monitor(const Arguments &arguments)
{
    const bool isAdd = arguments.text("ACTION") == "add";
    WireStaMon record = {};
    record.operation = isAdd ? 0 : 1;
    record.channel = byte_option(arguments, "CHANNEL");
    need_mac(arguments.text("MAC"), record.mac);
    if (isAdd && record.channel == 0)
        usage_error("which channel is the station on? 0 stands for any with del only");
    must_call("setStaMon", { arg_record("monStaInfo", record) });
    const std::string mac = mac_text(record.mac);
    print_done(arguments, isAdd ? mac + " is watched; its level comes as the signal veskUnassocClientMetrics"
                                : mac + " is no longer watched");
}

void run_beacon_request(const Arguments &arguments)
{
    WireBeaconReq req = {};
    const std::string &bssid = arguments.text("--bssid");
    need_mac(arguments.text("MAC"), req.mac);
    need_mac(bssid.empty() ? "ff:ff:ff:ff:ff:ff" : bssid, req.bssid);
    need_text(req.ssid, 33, arguments.text("--ssid"), "an SSID");
    req.value1 = byte_option(arguments, "--op-class");
    req.value2 = byte_option(arguments, "--channel", 255);
    req.value3 = byte_option(arguments, "--mode");
    req.value4 = byte_option(arguments, "--detail");
    if (arguments.list("--channels").size() > sizeof req.list)
        usage_error(printed("at most %zu channels can be listed", sizeof req.list));
    for (const std::string &word : arguments.list("--channels")) {
        long long channel;
        if (!parse_number(word, 1, 255, channel))
            usage_error("--channels: \"" + word + "\" is no number from 1 to 255");
        req.list[req.listNums++] = static_cast<uint8_t>(channel);
    }
    const Snapshot snapshot = must_take_snapshot(PartVaps | PartStations);
    const VapState &vap = must_access_point(snapshot, arguments.text("VAP"));
    const StationState &station = must_station(snapshot, vap, arguments.text("MAC"));
    must_call("setBeaconRequest", { arg_text("vapName", vap.name), arg_record("bcnReq", req) });
    print_done(arguments,
               "sent to " + station.mac + "; its answer comes as the signal veskBcnReport" +
                   (station.is11k ? "" : " (if it answers: it didn't say that it supports 802.11k)"));
}

void run_btm_request(const Arguments &arguments)
{
    WireBtmReq req = {};
    need_mac(arguments.text("MAC"), req.mac);
    req.value1 = byte_option(arguments, "--mode");
    req.value2 = byte_option(arguments, "--validity");
    req.value3 = static_cast<uint16_t>(arguments.number("--timer"));
    if (arguments.list("--target").size() > VESK_WIRE_BTM_TARGETS)
        usage_error(printed("at most %d targets can be named", VESK_WIRE_BTM_TARGETS));
    for (const std::string &text : arguments.list("--target"))
        req.targets[req.targetNums++] = parse_target(text);
    const Snapshot snapshot = must_take_snapshot(PartVaps | PartStations);
    const VapState &vap = must_access_point(snapshot, arguments.text("VAP"));
    const StationState &station = must_station(snapshot, vap, arguments.text("MAC"));
    must_call("setBTMRequest", { arg_text("vapName", vap.name), arg_record("btmReq", req) });
    print_done(arguments,
               "sent to " + station.mac + "; its answer comes as the signal veskBtmResp" +
                   (station.is11v ? "" : " (if it answers: it didn't say that it supports 802.11v)"));
}

void run_vendor_ie(const Arguments &arguments)
{
    const bool isAdd = arguments.text("ACTION") == "add";
    const std::vector<uint8_t> element = vendor_element(arguments);
    const Snapshot snapshot = must_take_snapshot(PartVaps);
    const VapState &vap = must_access_point(snapshot, arguments.text("VAP"));
    WireVendorIE ie = {};
    static_assert(sizeof ie.data >= 255, "an element is at most 257 bytes, one of ours at most 2 + 254");
    if (element.size() > sizeof ie.data)
        usage_error(printed("an element has at most %zu bytes", sizeof ie.data));
    need_text(ie.ifName, sizeof ie.ifName, vap.name, "an interface name");
    ie.pktType = static_cast<uint32_t>(arguments.number("TYPE"));
    memcpy(ie.data, element.data(), element.size());
    ie.dataLen = static_cast<uint32_t>(element.size());
    must_call(isAdd ? "addVendorIE" : "delVendorIE", { arg_record("vendorIE", ie) });
    print_done(arguments, std::string("the driver has ") + (isAdd ? "added" : "removed") + " the element " +
                              to_hex(element.data(), element.size()) + (isAdd ? " to " : " from ") +
                              vap.name);
}
