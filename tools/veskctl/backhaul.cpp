// The backhaul stations' network and auto-connect, and the VLAN default of the backhaul BSSs.
#include <cstdio>
#include <cstring>

#include <termios.h>
#include <unistd.h>

#include "tools/client/text.h"
#include "tools/veskctl/checks.h"
#include "tools/veskctl/log_state.h"
#include "tools/veskctl/output.h"

namespace
{
constexpr int applyMs = 5000; // the daemon hands a credential over two seconds after it came
constexpr int defaultSecurity = 32, defaultEncryption = 8;
constexpr const char *applyHandler = "vesk_set_backhaul_credential_ubus_handle";

/** The backhaul station of the band; ends the program when the name is another. */
const VapState &must_backhaul_station(const Snapshot &snapshot, const RadioState &radio,
                                      const std::string &name)
{
    const VapState *own = nullptr;
    for (const VapState &vap : snapshot.vaps)
        if (vap.bsta && vap.band == radio.band)
            own = &vap;
    if (!own)
        fail(std::string("no backhaul station on ") + band_name(radio.band));
    if (snapshot.find_vap(name) != own)
        fail("\"" + clean_text(name) + "\" isn't the backhaul station of " + band_name(radio.band) +
             "; that is " + own->name);
    return *own;
}

std::string first_line(const std::string &text)
{
    return text.substr(0, text.find_first_of("\r\n"));
}

/** Asked for on the terminal, unseen. */
std::string prompted_key()
{
    termios seen, unseen;
    tcgetattr(STDIN_FILENO, &seen);
    unseen = seen;
    unseen.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    fputs("Key: ", stderr);
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &unseen);
    char line[256] = "";
    const bool isRead = fgets(line, sizeof line, stdin) != nullptr;
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &seen);
    fputc('\n', stderr);
    return isRead ? first_line(line) : "";
}

std::string read_key(const std::string &path)
{
    std::string text, error;
    if (!read_file(path, 4096, text, error))
        fail(error);
    return first_line(text);
}

/** From the command line, a file, or the standard input: a terminal is asked. */
std::string take_key(const Arguments &arguments)
{
    if (arguments.has("KEY") && arguments.has("--key-file"))
        usage_error("the key is given twice");
    if (arguments.has("--key-file"))
        return read_key(arguments.text("--key-file"));
    if (!arguments.has("KEY"))
        return isatty(STDIN_FILENO) ? prompted_key() : read_key("-");
    fputs("veskctl: warning: a key on the command line can be seen by everybody who lists processes; "
          "--key-file "
          "FILE, or leave it out and be asked\n",
          stderr);
    return arguments.text("KEY");
}

/** A passphrase of 8 to 63 printable characters, or the key itself as 64 hexadecimal digits (IEEE 802.11,
 * annex J).
 */
bool is_key(const std::string &key)
{
    std::vector<uint8_t> bytes;
    if (key.size() == 64)
        return key.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
    for (char c : key)
        if (c < ' ' || c > '~')
            return false;
    return key.size() >= 8 && key.size() <= 63;
}

WireBackhaulCred make_credential(const Arguments &arguments, const RadioState &radio, const VapState &station)
{
    WireBackhaulCred cred = {};
    const std::string &ssid = arguments.text("SSID"), &security = arguments.text("--security,--auth"),
                      &encryption = arguments.text("--encryption"), &width = arguments.text("--width,--bw");
    if (ssid.empty() || ssid.size() > 32)
        usage_error("an SSID has 1 to 32 bytes");
    cred.band = radio.band;
    cred.authMode = security.empty() ? defaultSecurity : need_name(securityNames, security, "security");
    cred.encryption =
        encryption.empty() ? defaultEncryption : need_name(encryptionNames, encryption, "encryption");
    cred.channel = static_cast<uint8_t>(arguments.number("--channel"));
    if (cred.channel != 0 && !radio.find_channel(cred.channel))
        fail(printed("channel %d is none of %s", cred.channel, radio.name.c_str()));
    const int index = width.empty() ? 0 : bandwidth_of(width);
    if (index < 0 || index > 4)
        usage_error("\"" + width + "\" is no width; say 20, 40, 80, 160 or 80+80");
    cred.bw = index;
    if (arguments.has("--bssid"))
        need_mac(arguments.text("--bssid"), cred.bssid);
    need_text(cred.ifName, sizeof cred.ifName, station.name, "an interface name");
    need_text(cred.ssid, sizeof cred.ssid, ssid, "an SSID");
    const std::string key = take_key(arguments);
    if (!is_key(key))
        usage_error("a key has 8 to 63 characters, or 64 hexadecimal digits");
    need_text(cred.ssidKey, sizeof cred.ssidKey, key, "a key");
    return cred;
}

/** What the log tells of the hand-over behind `before`: 0 nothing yet, 1 done, -1 refused. */
int handed_over(Logbook &log, int before)
{
    follow_log(log);
    int outcome = 0;
    for (const LogLine &line : log.lines) {
        if (line.function() != applyHandler || line.isPacked || line.number <= before)
            continue;
        outcome = line.message().find("is error !!") != std::string_view::npos ? -1
                  : outcome == 0                                               ? 1
                                                                               : outcome;
    }
    return outcome;
}

void watch_hand_over(const Arguments &arguments, Logbook &log, const VapState &station,
                     const std::string &ssid)
{
    const int before = log.number;
    int outcome = 0;
    const bool isTold = wait_until(applyMs, [&] { return (outcome = handed_over(log, before)) != 0; });
    if (outcome < 0)
        fail("refused: the driver didn't take the credential for " + station.name + "; scanning stays off");
    if (!isTold)
        fail("handed to the daemon, but its log doesn't tell whether the driver took it; scanning stays off");
    const Snapshot snapshot = must_take_snapshot(PartVaps);
    const VapState *now = snapshot.find_vap(station.name);
    print_done(arguments, "the driver has taken the credential: " + station.name + " is to join \"" +
                              clean_text(ssid) + "\" and is " + (now && now->isUp ? "up" : "down") +
                              "; scanning is off until `veskctl scanning on`");
}
} // namespace

void run_backhaul_credential(const Arguments &arguments)
{
    const Snapshot snapshot = must_take_snapshot(PartVaps);
    const RadioState &radio = must_radio(snapshot, arguments.text("BAND"));
    const VapState &station = must_backhaul_station(snapshot, radio, arguments.text("INTERFACE"));
    const WireBackhaulCred cred = make_credential(arguments, radio, station);
    Logbook log = read_log(log_path(arguments));
    bus_start_time(); // a key may have been typed
    must_call("applyBackhaulCredentialToBsta", { arg_record("bh", cred) });
    if (arguments.has("--no-wait"))
        print_done(arguments, "handed to the daemon, which hands it to the driver two seconds later");
    else
        watch_hand_over(arguments, log, station, arguments.text("SSID"));
}

void run_backhaul_auto(const Arguments &arguments)
{
    const Snapshot snapshot = must_take_snapshot(PartVaps);
    const RadioState &radio = must_radio(snapshot, arguments.text("BAND"));
    const bool on = arguments.text("STATE") == "on";
    WireBstaAuto record = {};
    record.band = radio.band;
    record.enableAuto = on;
    record.connectItv = static_cast<int32_t>(arguments.number("--interval"));
    must_call("setBstaAutoConnect", { arg_record("autoConnect", record) });
    print_done(arguments, std::string("auto-connect on ") + band_name(radio.band) +
                              (on ? ": on; nothing scans while it is" : ": off"));
}

void run_vlan(const Arguments &arguments)
{
    auto cfg = must_get<VeskDot1qCfg>("getDefault802dot1qSetting", {});
    const VeskDot1qCfg wanted = { static_cast<uint16_t>(arguments.number("VID")),
                                  static_cast<uint8_t>(arguments.number("PCP", cfg.pcp)), 0 };
    if (arguments.has("VID")) {
        must_call("setDefault802dot1qSetting", { arg_record("cfg", wanted) });
        cfg = must_get<VeskDot1qCfg>("getDefault802dot1qSetting", {});
        if (cfg.vid != wanted.vid || cfg.pcp != wanted.pcp)
            fail(printed("refused: the default is still VLAN id %d, priority %d", cfg.vid, cfg.pcp));
    }
    if (arguments.json)
        print_record(arguments, layoutDot1qCfg, bytes_of_record(cfg));
    else
        printf("VLAN id %d, priority %d\n", cfg.vid, cfg.pcp);
}
