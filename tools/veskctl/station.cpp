// Commands on stations: who is there, who is watched, who may not join, and the requests that steer them.
#include <cctype>

#include <CLI/CLI.hpp>

#include "tools/veskctl/cli.h"

namespace
{
void need_mac(const std::string &text, uint8_t *mac)
{
    if (!parse_mac(text, mac))
        usage_error("\"" + text + "\" is no MAC address; say 02:11:22:33:44:55");
}

void need_fit(const std::string &text, size_t size, const char *what)
{
    if (text.size() >= size)
        usage_error(std::string(what) + " has at most " + std::to_string(size - 1) + " characters");
}

void show_stations(const std::string &only)
{
    cJSON *array = cJSON_CreateArray();
    Table table({ { "STATION" },
                  { "VAP" },
                  { "SIGNAL", true },
                  { "TX", true },
                  { "RX", true },
                  { "TIME", true },
                  { "WIDTH", true },
                  { "11k" },
                  { "11v" },
                  { "BACKHAUL" } });
    for (const std::string &vap : only.empty() ? all_vaps() : std::vector<std::string>{ only }) {
        const auto info = must_get<WireStaInfo>("getStaInfo", { arg_text("vapName", vap) });
        cJSON_AddItemToArray(array, decode_record(layoutStaInfo, reinterpret_cast<const uint8_t *>(&info)));
        for (int i = 0; i < info.count && i < VESK_WIRE_STATIONS; i++) {
            const WireStation &s = info.stations[i];
            table.add({ mac_text(s.mac), vap, or_unknown(s.rssi, "dBm"), number(s.tx), number(s.rx),
                        number(s.time) + " s", bandwidth_name(s.bw), s.is11k ? "yes" : "no",
                        s.is11v ? "yes" : "no", s.isBhInt ? "yes" : "no" });
        }
    }
    print_either(array, table);
    if (!options.json && table.rows.empty())
        puts("no station is associated");
}

void monitor(uint32_t operation, const std::string &macText, int channel)
{
    WireStaMon record = {};
    record.operation = operation;
    need_mac(macText, record.mac);
    record.channel = static_cast<uint8_t>(channel);
    must_call("setStaMon", { arg_record("monStaInfo", record) });
    print_done();
}

void block(uint32_t operation, const std::string &vap, const std::string &macText)
{
    WireAclMac record = {};
    record.operation = operation;
    need_mac(macText, record.mac);
    must_call("setBlockClient", { arg_text("vapName", vap), arg_record("aclMac", record) });
    print_done();
}

void kick(const std::string &vap, const std::string &macText)
{
    uint8_t mac[6];
    need_mac(macText, mac);
    must_call("disassocSta", { arg_text("vapName", vap), arg_text("mac", macText) });
    print_done();
}

struct BeaconOptions {
    std::string vap, mac, bssid = "ff:ff:ff:ff:ff:ff", ssid, elements;
    std::vector<int> channels;
    int opClass = 0, channel = 255, mode = 0, detail = 0;
} beacon;

void beacon_request()
{
    WireBeaconReq req = {};
    need_mac(beacon.mac, req.mac);
    need_mac(beacon.bssid, req.bssid);
    need_fit(beacon.ssid, sizeof req.ssid, "an SSID");
    req.value1 = static_cast<uint8_t>(beacon.opClass);
    req.value2 = static_cast<uint8_t>(beacon.channel);
    req.value3 = static_cast<uint8_t>(beacon.mode);
    req.value4 = static_cast<uint8_t>(beacon.detail);
    if (beacon.channels.size() > sizeof req.list)
        usage_error("at most 64 channels can be listed");
    for (int channel : beacon.channels)
        req.list[req.listNums++] = static_cast<uint8_t>(channel);
    memcpy(req.ssid, beacon.ssid.data(), beacon.ssid.size());
    must_call("setBeaconRequest", { arg_text("vapName", beacon.vap), arg_record("bcnReq", req) });
    print_done();
}

struct BtmOptions {
    std::string vap, mac;
    std::vector<std::string> targets;
    int value1 = 0, value2 = 0, timer = 0;
} btm;

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

void btm_request()
{
    WireBtmReq req = {};
    need_mac(btm.mac, req.mac);
    req.value1 = static_cast<uint8_t>(btm.value1);
    req.value2 = static_cast<uint8_t>(btm.value2);
    req.value3 = static_cast<uint16_t>(btm.timer);
    if (btm.targets.size() > VESK_WIRE_BTM_TARGETS)
        usage_error("at most 32 targets can be named");
    for (const std::string &text : btm.targets)
        req.targets[req.targetNums++] = parse_target(text);
    must_call("setBTMRequest", { arg_text("vapName", btm.vap), arg_record("btmReq", req) });
    print_done();
}

void vendor_ie(const char *method, const std::string &vap, uint32_t pktType, const std::string &hex)
{
    WireVendorIE ie = {};
    std::vector<uint8_t> bytes;
    need_fit(vap, sizeof ie.ifName, "an interface name");
    if (!from_hex(hex, bytes) || bytes.size() > sizeof ie.data)
        usage_error("the element is given as up to 256 bytes in hexadecimal");
    memcpy(ie.ifName, vap.data(), vap.size());
    ie.pktType = pktType;
    memcpy(ie.data, bytes.data(), bytes.size());
    ie.dataLen = static_cast<uint32_t>(bytes.size());
    must_call(method, { arg_record("vendorIE", ie) });
    print_done();
}
} // namespace

void add_station_commands(CLI::App &app)
{
    static std::string vap, mac, hex;
    static int channel;
    static uint32_t pktType;
    CLI::App *stations = app.add_subcommand("stations", "Associated stations of one VAP or of all");
    stations->add_option("VAP", vap, "Interface name");
    stations->callback([] { show_stations(vap); });

    CLI::App *mon =
        app.add_subcommand("monitor", "Watch a station without an association; its level comes as a signal");
    mon->require_subcommand(1);
    for (auto [name, operation] : { std::pair{ "add", 0u }, std::pair{ "del", 1u } }) {
        CLI::App *command =
            mon->add_subcommand(name, operation ? "Stop watching" : "Watch, or ask for a new report");
        command->add_option("MAC", mac, "The station")->required();
        command->add_option("CHANNEL", channel, "Its channel; 0 with del: any")
            ->required()
            ->check(CLI::Range(0, 255));
        command->callback([operation = operation] { monitor(operation, mac, channel); });
    }
    for (auto [name, operation] : { std::pair{ "block", 0u }, std::pair{ "unblock", 1u } }) {
        CLI::App *command = app.add_subcommand(name, operation ? "Let a blocked station join again"
                                                               : "Keep a station off a VAP");
        command->add_option("VAP", vap, "Interface name")->required();
        command->add_option("MAC", mac, "The station")->required();
        command->callback([operation = operation] { block(operation, vap, mac); });
    }
    CLI::App *off = app.add_subcommand("kick", "Disconnect a station");
    off->add_option("VAP", vap, "Interface name")->required();
    off->add_option("MAC", mac, "The station")->required();
    off->callback([] { kick(vap, mac); });

    CLI::App *bcn = app.add_subcommand("beacon-request", "Ask a station for a beacon report (802.11k)");
    bcn->add_option("VAP", beacon.vap, "Interface name")->required();
    bcn->add_option("MAC", beacon.mac, "The station")->required();
    bcn->add_option("--bssid", beacon.bssid, "BSSID to look for; all ones: any");
    bcn->add_option("--ssid", beacon.ssid, "SSID to look for");
    bcn->add_option("--op-class", beacon.opClass, "Operating class")->check(CLI::Range(0, 255));
    bcn->add_option("--channel", beacon.channel, "Channel; 255: those of --channels")
        ->check(CLI::Range(0, 255));
    bcn->add_option("--mode", beacon.mode, "Measurement mode")->check(CLI::Range(0, 255));
    bcn->add_option("--detail", beacon.detail, "Reporting detail")->check(CLI::Range(0, 255));
    bcn->add_option("--channels", beacon.channels, "Channels to measure")->check(CLI::Range(0, 255));
    bcn->callback(beacon_request);

    CLI::App *trans = app.add_subcommand("btm-request", "Ask a station to move to another BSS (802.11v)");
    trans->add_option("VAP", btm.vap, "Interface name")->required();
    trans->add_option("MAC", btm.mac, "The station")->required();
    trans->add_option("--target", btm.targets, "BSSID[,OPCLASS[,CHANNEL]] of a candidate, best first");
    trans->add_option("--mode", btm.value1, "Request mode")->check(CLI::Range(0, 255));
    trans->add_option("--validity", btm.value2, "Validity interval, beacon intervals")
        ->check(CLI::Range(0, 255));
    trans->add_option("--timer", btm.timer, "Disassociation timer, beacon intervals")
        ->check(CLI::Range(0, 65535));
    trans->callback(btm_request);

    CLI::App *element = app.add_subcommand("vendor-ie", "Add or remove a vendor element of a VAP's frames");
    element->require_subcommand(1);
    for (auto [name, method] : { std::pair{ "add", "addVendorIE" }, std::pair{ "del", "delVendorIE" } }) {
        CLI::App *command = element->add_subcommand(name, "The element as it stands in the frame");
        command->add_option("VAP", vap, "Interface name")->required();
        command->add_option("TYPE", pktType, "Frame type, the driver's number")->required();
        command->add_option("HEX", hex, "The element's bytes")->required();
        command->callback([method = method] { vendor_ie(method, vap, pktType, hex); });
    }
}
