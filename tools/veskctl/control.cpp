// Commands on the backhaul station and the VLAN default, and the daemon's run-time switches (its inbound
// signals).
#include <CLI/CLI.hpp>

#include "tools/veskctl/cli.h"

namespace
{
WireBackhaulCred credential;
int encryption = 4, authMode = 32, channel, bandwidth;
std::string ifName, ssid, key, bssid;

void put_text(char *field, size_t size, const std::string &text, const char *what)
{
    if (text.size() >= size)
        usage_error(std::string(what) + " has at most " + std::to_string(size - 1) + " characters");
    memcpy(field, text.data(), text.size());
}

void backhaul_info()
{
    cJSON *array = cJSON_CreateArray();
    Table table({ { "BAND" }, { "STATION" }, { "MAC" }, { "STATE" }, { "SSID" }, { "PEER" } });
    for (int band : live_bands()) {
        WireBstaIntf bsta = {};
        WireVapInfo vap = {};
        if (!may_get("getBstaIntfInfo", { arg_band(band) }, &bsta))
            continue;
        const std::string name = FIELD_TEXT(bsta.ifName);
        may_get("getVapInfo", { arg_text("vapName", name) }, &vap);
        cJSON_AddItemToArray(array, decode_record(layoutBstaIntf, reinterpret_cast<const uint8_t *>(&bsta)));
        table.add({ band_name(band), name, mac_text(bsta.mac), vap.status ? "up" : "down",
                    FIELD_TEXT(vap.ssid), mac_text(vap.bstaPeerBssid) });
    }
    print_either(array, table);
}

void backhaul_credential(const std::string &band)
{
    credential.band = parse_band(band);
    credential.encryption = encryption;
    credential.authMode = authMode;
    credential.channel = static_cast<uint8_t>(channel);
    credential.bw = bandwidth;
    put_text(credential.ifName, sizeof credential.ifName, ifName, "an interface name");
    put_text(credential.ssid, sizeof credential.ssid, ssid, "an SSID");
    put_text(credential.ssidKey, sizeof credential.ssidKey, key, "a key");
    if (!bssid.empty() && !parse_mac(bssid, credential.bssid))
        usage_error("\"" + bssid + "\" is no MAC address");
    must_call("applyBackhaulCredentialToBsta", { arg_record("bh", credential) });
    print_done();
}

void backhaul_auto(const std::string &band, bool on, int interval)
{
    WireBstaAuto record = {};
    record.band = parse_band(band);
    record.enableAuto = on;
    record.connectItv = interval;
    must_call("setBstaAutoConnect", { arg_record("autoConnect", record) });
    print_done();
}

void vlan(int vid, int pcp)
{
    if (vid < 0) {
        const auto cfg = must_get<VeskDot1qCfg>("getDefault802dot1qSetting", {});
        if (options.json)
            print_record(layoutDot1qCfg, bytes_of_record(cfg));
        else
            printf("VLAN id %d, priority %d\n", cfg.vid, cfg.pcp);
        return;
    }
    const VeskDot1qCfg cfg = { static_cast<uint16_t>(vid), static_cast<uint8_t>(pcp), 0 };
    must_call("setDefault802dot1qSetting", { arg_record("cfg", cfg) });
    print_done();
}

void log_level(int level)
{
    const WireLogSetting record = { static_cast<uint32_t>(level), {} };
    must_signal("setLogLevel", &record, sizeof record);
}

void log_to(const std::string &destination)
{
    WireLogSetting record = {};
    put_text(record.destination, sizeof record.destination, destination, "a log destination");
    must_signal("setLogDestination", &record, sizeof record);
}

/** A switch that takes the words on and off. */
void add_switch(CLI::App *parent, const char *name, const char *help, const char *signal)
{
    CLI::App *command = parent->add_subcommand(name, help);
    command->require_subcommand(1);
    for (int32_t value : { 1, 0 }) {
        CLI::App *state = command->add_subcommand(value ? "on" : "off", value ? "Switch on" : "Switch off");
        state->callback([signal, value] { must_signal(signal, &value, sizeof value); });
    }
}
} // namespace

void add_control_commands(CLI::App &app)
{
    static std::string band, state, destination;
    static int interval, vid = -1, pcp, level;
    CLI::App *backhaul = app.add_subcommand("backhaul", "The backhaul stations");
    backhaul->require_subcommand(1);
    backhaul->add_subcommand("info", "Interface, address and state of each")->callback(backhaul_info);
    CLI::App *cred =
        backhaul->add_subcommand("credential", "Give a station the network to join (stops scanning)");
    cred->add_option("BAND", band, "2.4 or 5")->required();
    cred->add_option("INTERFACE", ifName, "Station interface")->required();
    cred->add_option("SSID", ssid, "Network name")->required();
    cred->add_option("KEY", key, "Network key")->required();
    cred->add_option("--encryption", encryption, "Encryption, the driver's number")->default_val(4);
    cred->add_option("--auth", authMode, "Authentication, the driver's number");
    cred->add_option("--bssid", bssid, "Access point to join");
    cred->add_option("--channel", channel, "Its channel")->check(CLI::Range(0, 255));
    cred->add_option("--bw", bandwidth, "Its bandwidth index");
    cred->callback([] { backhaul_credential(band); });
    CLI::App *automatic = backhaul->add_subcommand("auto", "Auto-connect; while it is on nothing scans");
    automatic->add_option("BAND", band, "2.4 or 5")->required();
    automatic->add_option("STATE", state, "on or off")->required()->check(CLI::IsMember({ "on", "off" }));
    automatic->add_option("--interval", interval, "Seconds between attempts")
        ->check(CLI::Range(0, INT32_MAX));
    automatic->callback([] { backhaul_auto(band, state == "on", interval); });

    CLI::App *dot1q =
        app.add_subcommand("vlan", "The default VLAN of the backhaul BSSs; with VID PCP: set it");
    CLI::Option *vidOption = dot1q->add_option("VID", vid, "VLAN id")->check(CLI::Range(0, 65535));
    dot1q->add_option("PCP", pcp, "Priority code point")->check(CLI::Range(0, 255))->needs(vidOption);
    dot1q->callback([] { vlan(vid, pcp); });

    CLI::App *log = app.add_subcommand("log", "Level and destination of the daemon's log");
    log->require_subcommand(1);
    CLI::App *setLevel =
        log->add_subcommand("level", "0-7 the daemon's; 9-16 the driver library's 0-7; 99 all on stderr");
    setLevel->add_option("LEVEL", level, "3 errors, 5 notices, 6 information, 7 everything")
        ->required()
        ->check(CLI::Range(0, 7) | CLI::Range(9, 16) | CLI::Range(99, 99));
    setLevel->callback([] { log_level(level); });
    CLI::App *to = log->add_subcommand("to", "A file, or stderr");
    to->add_option("DESTINATION", destination, "Path of at most 31 characters, or stderr")->required();
    to->callback([] { log_to(destination); });

    add_switch(&app, "scanning", "All scanning; off turns backhaul auto-connect on", "setScanEnable");
    CLI::App *polling = app.add_subcommand("polling", "The daemon's pollers");
    polling->require_subcommand(1);
    add_switch(polling, "stations", "Station table", "setStaEnable");
    add_switch(polling, "channels", "Channel changes", "setChannelChangeEnable");
    add_switch(polling, "stats", "Interface statistics", "setIntfStatEnable");
    app.add_subcommand("refresh", "Read radios and VAPs anew (the WLAN configuration changed)")->callback([] {
        const int32_t value = 1;
        must_signal("notifyWlanChange", &value, sizeof value);
    });
    add_switch(&app, "object", "Presence of the daemon's object on the bus", "setUbusObjSignal");
}
