// The rows of all commands.
#include "tools/veskctl/command.h"

#include <climits>

namespace
{
constexpr int yearS = 31536000;

constexpr Parameter band = { "BAND", "2.4 or 5, or the radio's name", Kind::Text, true, 0, 0, "@band" };
constexpr Parameter maybeBand = {
    "BAND", "2.4 or 5, or the radio's name (default: all)", Kind::Text, false, 0, 0, "@band"
};
constexpr Parameter vap = { "VAP", "Interface, by its outer or inner name", Kind::Text, true, 0, 0, "@vap" };
constexpr Parameter mac = { "MAC", "The station", Kind::Text, true };
constexpr Parameter noWait = { "--no-wait", "Don't wait for the outcome", Kind::Flag };
constexpr Parameter count = { "--count", "End after this many signals", Kind::Number, false, 0, INT_MAX };
constexpr Parameter seconds = { "--seconds", "End after this time", Kind::Real, false, 0, yearS };
constexpr Parameter log = { "--log", "The daemon's log (default /tmp/vesk.log)", Kind::Text, false, 0, 0,
                            "@file" };

constexpr Parameter common[] = {
    { "--json", "Print JSON instead of tables", Kind::Flag },
    { "--show-secrets", "Show passphrases instead of ********", Kind::Flag },
    { "--socket", "The broker's socket (default: VESK_SOCKET, or /var/run/ubus.sock)", Kind::Text, false, 0,
      0, "@file" },
};

constexpr Parameter station[] = {
    mac,
    { "--from", "Take the signals from a record instead of the log", Kind::Text, false, 0, 0, "@file" },
    log,
};
constexpr Parameter channels[] = {
    band,
    { "--recommend", "Which channel would be best, each with its reason", Kind::Flag },
};
constexpr Parameter radioCheck[] = {
    { "--capture", "Folder to keep the messages in that the values came from, made anonymous", Kind::Text,
      false, 0, 0, "@file" },
};
constexpr Parameter support[] = {
    { "FILE", "Archive to write (.tar.gz)", Kind::Text, true, 0, 0, "@file" },
};
constexpr Parameter withBand[] = { band };
constexpr Parameter withMaybeBand[] = { maybeBand };
constexpr Parameter withVap[] = { vap };
constexpr Parameter withVapAndMac[] = { vap, mac };
constexpr Parameter kick[] = { vap, mac, noWait };
constexpr Parameter stations[] = {
    { "VAP", "Interface, by its outer or inner name (default: all)", Kind::Text, false, 0, 0, "@vap" },
    { "--sort", "By signal (rssi, the strongest first), time (the longest first) or vap (default)",
      Kind::Text, false, 0, 0, "rssi time vap", true },
};
constexpr Parameter stats[] = {
    { "NAME", "Interface, radio or band", Kind::Text, true, 0, 0, "@vap" },
    { "--watch", "Again and again, with what the counters grew by", Kind::Flag },
    { "--interval", "Seconds between two looks (default 2)", Kind::Number, false, 1, 3600 },
};
constexpr Parameter watch[] = {
    count,
    seconds,
    { "--from", "Read a record instead of the bus; - is standard input", Kind::Text, false, 0, 0, "@file" },
    { "--signal", "Only this one", Kind::Text, false, 0, 0, "@signal" },
    { "--station", "Only what names this station" },
    { "--interface", "Only what concerns this interface", Kind::Text, false, 0, 0, "@vap" },
    { "--until", "End with success when this signal comes", Kind::Text, false, 0, 0, "@signal" },
    { "--timeout", "With --until: give up after this time, with status 1", Kind::Real, false, 0, yearS },
};
constexpr Parameter record[] = {
    { "FILE", "File to append to; - is standard output", Kind::Text, true, 0, 0, "@file" },
    count,
    seconds,
};
constexpr Parameter status[] = {
    { "--watch", "Keep it up to date and listen to signals", Kind::Flag },
    { "--from", "Take the signals from a record", Kind::Text, false, 0, 0, "@file" },
    log,
};
constexpr Parameter output = {
    "-o,--output", "File to replace (default: standard output)", Kind::Text, false, 0, 0, "@file"
};
constexpr Parameter report[] = {
    output,
    { "--watch", "Write it again every N seconds", Kind::Number, false, 1, 86400 },
};
constexpr Parameter metrics[] = { output };
constexpr Parameter explainScan[] = { maybeBand, log };
constexpr Parameter explainReady[] = { log };
constexpr Parameter channel[] = {
    band,
    { "ACTION", "set: another channel; else the present one is shown", Kind::Text, false, 0, 0, "set", true },
    { "CHANNEL", "With set: channel number; 0 leaves it", Kind::Number, false, 0, 255 },
    { "WIDTH", "With set: width in MHz; keep leaves it", Kind::Text, false, 0, 0, "20 40 80 160 80+80 keep" },
    noWait,
    log,
};
constexpr Parameter scanTrigger[] = { band, log };
constexpr Parameter monitor[] = {
    { "ACTION", "add: watch, or ask for a new report; del: no longer", Kind::Text, true, 0, 0, "add del",
      true },
    mac,
    { "CHANNEL", "Its channel; 0 with del: any", Kind::Number, true, 0, 255 },
};
constexpr Parameter beaconRequest[] = {
    vap,
    mac,
    { "--bssid", "BSSID to look for (default: any)" },
    { "--ssid", "SSID to look for" },
    { "--op-class", "Operating class", Kind::Number, false, 0, 255 },
    { "--channel", "Channel; 255: those of --channels (default)", Kind::Number, false, 0, 255 },
    { "--mode", "Measurement mode", Kind::Number, false, 0, 255 },
    { "--detail", "Reporting detail", Kind::Number, false, 0, 255 },
    { "--channels", "Channels to measure", Kind::List },
};
constexpr Parameter btmRequest[] = {
    vap,
    mac,
    { "--target", "BSSID[,OPCLASS[,CHANNEL]] of a candidate, best first", Kind::List },
    { "--mode", "Request mode", Kind::Number, false, 0, 255 },
    { "--validity", "Validity interval, beacon intervals", Kind::Number, false, 0, 255 },
    { "--timer", "Disassociation timer, beacon intervals", Kind::Number, false, 0, 65535 },
};
constexpr Parameter vendorIe[] = {
    { "ACTION", "add or del", Kind::Text, true, 0, 0, "add del", true },
    vap,
    { "TYPE", "Frame type, the driver's number", Kind::Number, true, 0, UINT_MAX },
    { "HEX", "The whole element, from its id dd on" },
    { "--oui", "Build the element: its organisation, 00:11:22" },
    { "--data", "Build the element: what follows the organisation, in hexadecimal" },
};
constexpr Parameter credential[] = {
    band,
    { "INTERFACE", "Backhaul station of that band", Kind::Text, true, 0, 0, "@vap" },
    { "SSID", "Network name, 1 to 32 bytes", Kind::Text, true },
    { "KEY", "Network key; everybody who lists processes sees it: better --key-file, or leave it out" },
    { "--key-file", "File whose first line is the key; - is standard input", Kind::Text, false, 0, 0,
      "@file" },
    { "--security,--auth", "Name or number (default WPA2-PSK)", Kind::Text, false, 0, 0,
      "open WPA-PSK WPA2-EAP WPA2-PSK WPA/WPA2-PSK WPA3-SAE WPA2-PSK/WPA3-SAE" },
    { "--encryption", "Name or number (default CCMP)", Kind::Text, false, 0, 0, "TKIP CCMP TKIP+CCMP" },
    { "--bssid", "Access point to join" },
    { "--channel", "Its channel", Kind::Number, false, 0, 255 },
    { "--width,--bw", "Its width", Kind::Text, false, 0, 0, "20 40 80 160 80+80" },
    log,
    noWait,
};
constexpr Parameter backhaulAuto[] = {
    band,
    { "STATE", "on or off", Kind::Text, true, 0, 0, "on off", true },
    { "--interval", "Seconds between attempts", Kind::Number, false, 0, INT_MAX },
};
constexpr Parameter vlan[] = {
    { "VID", "VLAN id", Kind::Number, false, 0, 4094 },
    { "PCP", "Priority (default: as it is)", Kind::Number, false, 0, 7 },
};
constexpr Parameter logLevel[] = {
    { "LEVEL",
      "0-7 the daemon's (3 errors, 5 notices, 6 information, 7 everything); 9-16 the driver library's 0-7; "
      "99 all on "
      "stderr",
      Kind::Number, true, 0, 99, "0 1 2 3 4 5 6 7 9 10 11 12 13 14 15 16 99" },
};
constexpr Parameter logTo[] = {
    { "DESTINATION", "Absolute path of at most 31 characters, or stderr", Kind::Text, true, 0, 0,
      "stderr @file" },
};
constexpr Parameter onOff = {
    "STATE", "on or off (default: say how it stands)", Kind::Text, false, 0, 0, "on off", true
};
constexpr Parameter scanning[] = { onOff, log };
constexpr Parameter object[] = { onOff };
constexpr Parameter polling[] = {
    { "POLLER", "stations, channels (changes of the operating channel) or stats (interface statistics)",
      Kind::Text, false, 0, 0, "stations channels stats", true },
    onOff,
    log,
};
constexpr Parameter call[] = {
    { "METHOD", "Method name", Kind::Text, false, 0, 0, "@method" },
    { "ARG=VALUE", "Arguments; a record as {\"field\": value} or in hexadecimal", Kind::List },
    { "--hex", "The record's bytes in hexadecimal", Kind::Flag },
    { "--list", "List the methods", Kind::Flag },
};

// clang-format off
constexpr Command commands[] = {
    { "version", nullptr, Group::Looking, "Name and version of the daemon", {}, run_version },
    { "radios", nullptr, Group::Looking, "All radios", {}, run_radios },
    { "radio", nullptr, Group::Looking, "One radio, every field", withBand, run_radio },
    { "vaps", nullptr, Group::Looking, "All access points and backhaul stations", {}, run_vaps },
    { "vap", nullptr, Group::Looking, "One access point, every field", withVap, run_vap },
    { "stations", nullptr, Group::Looking, "Associated stations of one VAP or of all", stations, run_stations },
    { "station", nullptr, Group::Looking, "One station: where, how well heard, what its last signals said", station, run_station },
    { "stats", nullptr, Group::Looking, "Interface counters of a VAP or a radio", stats, run_stats },
    { "scan", nullptr, Group::Looking, "What the scans measured, channel by channel", withMaybeBand, run_scan },
    { "neighbors", "neighbours", Group::Looking, "Neighbouring access points", withMaybeBand, run_neighbors },
    { "channels", nullptr, Group::Looking, "A radio's channels and which of them are available", channels, run_channels },
    { "nol", nullptr, Group::Looking, "Channels under non-occupancy after radar", withBand, run_nol },
    { "interfaces", nullptr, Group::Looking, "Interfaces that IEEE 1905 is to use", {}, run_interfaces },
    { "capability", "capabilities", Group::Looking, "What a radio can do, from the product configuration", withBand, run_capability },
    { "watch", nullptr, Group::Looking, "Every signal of the daemon as it comes, decoded", watch, run_watch },
    { "record", nullptr, Group::Looking, "Write every signal into a file: a JSON object with its time per line", record, run_record },

    { "status", nullptr, Group::Overviews, "The device on one screen, with its last signals", status, run_status },
    { "report", nullptr, Group::Overviews, "Channels, radios and stations as one HTML page", report, run_report },
    { "metrics", nullptr, Group::Overviews, "The device in Prometheus' text format", metrics, run_metrics },
    { "support", nullptr, Group::Overviews, "Log, configuration, queries and ten seconds of signals in one archive", support, run_support },
    { "radio-check", nullptr, Group::Overviews, "What the libraries of real radios say, against iw, hostapd and /sys", radioCheck, run_radio_check },
    { "explain", nullptr, Group::Overviews, "Why something is as it is, with the lines it rests on", {}, nullptr },
    { "explain scan", nullptr, Group::Overviews, "Why the last pass did or didn't scan; when the next is due", explainScan, run_explain_scan },
    { "explain ready", nullptr, Group::Overviews, "What holds readiness back, or what made it", explainReady, run_explain_ready },

    { "channel", nullptr, Group::Steering, "The operating channel of a radio, or `set` another", channel, run_channel },
    { "scan-trigger", nullptr, Group::Steering, "Sweep a radio's channels again", scanTrigger, run_scan_trigger },
    { "kick", nullptr, Group::Steering, "Disconnect a station", kick, run_kick },
    { "block", nullptr, Group::Steering, "Keep a station off a VAP", withVapAndMac, run_block },
    { "unblock", nullptr, Group::Steering, "Let a blocked station join again", withVapAndMac, run_block },
    { "monitor", nullptr, Group::Steering, "Watch a station without an association; its level comes as a signal", monitor, run_monitor },
    { "beacon-request", nullptr, Group::Steering, "Ask a station for a beacon report (802.11k)", beaconRequest, run_beacon_request },
    { "btm-request", nullptr, Group::Steering, "Ask a station to move to another BSS (802.11v)", btmRequest, run_btm_request },
    { "vendor-ie", nullptr, Group::Steering, "Add or remove a vendor element of a VAP's frames", vendorIe, run_vendor_ie },
    { "backhaul", nullptr, Group::Steering, "The backhaul stations", {}, nullptr },
    { "backhaul info", nullptr, Group::Steering, "Interface, address and state of each", {}, run_backhaul_info },
    { "backhaul credential", nullptr, Group::Steering, "Give a station the network to join (stops scanning)", credential, run_backhaul_credential },
    { "backhaul auto", nullptr, Group::Steering, "Auto-connect; while it is on nothing scans", backhaulAuto, run_backhaul_auto },
    { "vlan", nullptr, Group::Steering, "The default VLAN of the backhaul BSSs; with VID: set it", vlan, run_vlan },

    { "log", nullptr, Group::Switches, "The daemon's log: how it stands, its level and destination", explainReady, run_log },
    { "log level", nullptr, Group::Switches, "How much is written", logLevel, run_log_level },
    { "log to", nullptr, Group::Switches, "A file, or stderr", logTo, run_log_to },
    { "scanning", nullptr, Group::Switches, "All scanning; off turns backhaul auto-connect on", scanning, run_scanning },
    { "polling", nullptr, Group::Switches, "The daemon's pollers", polling, run_polling },
    { "refresh", nullptr, Group::Switches, "Read radios and VAPs again (the WLAN configuration changed)", {}, run_refresh },
    { "object", nullptr, Group::Switches, "Presence of the daemon's object on the bus", object, run_object },

    { "call", nullptr, Group::AnythingElse, "Any method by its name; the reply as JSON", call, run_call },
};
// clang-format on
} // namespace

std::span<const Command> all_commands()
{
    return commands;
}

std::span<const Parameter> common_parameters()
{
    return common;
}
