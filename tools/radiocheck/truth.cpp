#include "tools/radiocheck/truth.h"

#include <algorithm>
#include <cstring>
#include <filesystem>

#include <unistd.h>

#include "tools/client/json.h"
#include "tools/client/text.h"
#include "tools/radiocheck/output.h"

namespace
{
namespace fs = std::filesystem;

constexpr const char *configFile = "/usr/etc/vesk-radio.json";
constexpr const char *noLine = "iw doesn't show it";
constexpr const char *noHostapd = "hostapd_cli isn't installed or its socket doesn't answer";

std::string sys(const std::string &interface, const std::string &file)
{
    return first_line("/sys/class/net/" + interface + "/" + file);
}

// iw: one block of lines for an interface, a channel, a station.

/** The parts of a text that begin with a line that `begins`, up to the next one. */
std::vector<std::string> blocks_of(const std::string &text, bool (*begins)(const std::string &line))
{
    std::vector<std::string> blocks;
    for (const std::string &line : lines_of(text)) {
        if (begins(line))
            blocks.emplace_back();
        if (!blocks.empty())
            blocks.back() += line + "\n";
    }
    return blocks;
}

std::string iw_info(const std::string &interface)
{
    std::string output;
    run_program({ "iw", "dev", interface, "info" }, output);
    return output;
}

struct IwInterface {
    std::string name, type, info;
};

/** All interfaces of a phy, in the kernel's order. */
std::vector<IwInterface> iw_interfaces(const std::string &phy)
{
    std::vector<IwInterface> all;
    std::string output;
    run_program({ "iw", "dev" }, output);
    for (const std::string &block :
         blocks_of(output, [](const std::string &line) { return line.starts_with("\tInterface "); })) {
        const std::string name = word_behind(block, "Interface ");
        if (sys(name, "phy80211/name") == phy)
            all.push_back({ name, behind(block, "type "), block });
    }
    std::ranges::sort(all, {},
                      [](const IwInterface &each) { return atoi(sys(each.name, "ifindex").c_str()); });
    return all;
}

/** iw writes a byte that can't be printed as \xNN. */
std::string unescaped(const std::string &text)
{
    std::string plain;
    std::vector<uint8_t> byte;
    for (size_t i = 0; i < text.size(); i++) {
        if (text.compare(i, 2, "\\x") == 0 && from_hex(text.substr(i + 2, 2), byte) && byte.size() == 1) {
            plain += static_cast<char>(byte[0]);
            i += 3;
        } else {
            plain += text[i];
        }
    }
    return plain;
}

bool is_on_air(const IwInterface &interface)
{
    return interface.type == "AP" && !behind(interface.info, "channel ").empty() &&
           sys(interface.name, "operstate") == "up";
}

/** The access point that stands for its radio: the first one with a channel, else the first one. */
const IwInterface *first_ap(const std::vector<IwInterface> &interfaces)
{
    const IwInterface *chosen = nullptr;
    for (const IwInterface &each : interfaces) {
        const bool onChannel = !behind(each.info, "channel ").empty();
        if (each.type == "AP" && (!chosen || (behind(chosen->info, "channel ").empty() && onChannel)))
            chosen = &each;
    }
    return chosen;
}

/** "channel 36 (5180 MHz), width: 80 MHz, center1: 5210 MHz" */
std::string width_in(const std::string &info)
{
    const std::string line = behind(info, "channel ");
    const size_t at = line.find("width: ");
    const std::string width = at == std::string::npos ? "" : line.substr(at + 7);
    if (width.starts_with("80+80"))
        return "80+80";
    const int mhz = atoi(width.c_str());
    return mhz >= 20 && mhz <= 160 ? printed("%dMHz", mhz) : "";
}

struct IwChannel {
    int number, limits;
    bool disabled, unavailable;
};

bool is_listed(int radio, int mhz, int number)
{
    const bool has24 = mhz > 2400 && mhz < 2500 && number <= 13;
    const bool has5 = mhz > 5000 && mhz < 5900 &&
                      ((number >= 36 && number <= 64) || (number >= 100 && number <= 144) ||
                       (number >= 149 && number <= 165));
    return radio == 0 ? has24 : has5 && number % 4 == (number < 149 ? 0 : 1);
}

/** Of the radio's band, with the daemon's bits: 1 radar, 2 no transmission first, 4, 8, 16: not 40, 80, 160
 * MHz. */
std::vector<IwChannel> iw_channels(const SaidRadio &radio)
{
    std::vector<IwChannel> channels;
    std::string output;
    run_program({ "iw", "phy", radio.name, "channels" }, output);
    for (const std::string &block :
         blocks_of(output, [](const std::string &line) { return line.find("* ") < 4; })) {
        const auto has = [&](const char *words) { return block.find(words) != std::string::npos; };
        int mhz = 0, number = 0;
        const char *mark = strchr(block.c_str(), '*');
        if (!mark || sscanf(mark, "* %d MHz [%d]", &mhz, &number) != 2 ||
            !is_listed(radio.index, mhz, number))
            continue;
        const int limits = (has("Radar detection") ? 1 : 0) | (has("No IR") ? 2 : 0) |
                           (has("HT40-") || has("HT40+") ? 0 : 4) | (has("VHT80") ? 0 : 8) |
                           (has("VHT160") ? 0 : 16);
        channels.push_back({ number, limits, has("(disabled)"), has("DFS state: unavailable") });
    }
    return channels;
}

template <class Wanted>
std::string listed(const std::vector<IwChannel> &channels, bool withLimits, Wanted wanted)
{
    std::string text;
    for (const IwChannel &channel : channels)
        if (wanted(channel))
            text += (text.empty() ? "" : " ") + std::to_string(channel.number) +
                    (withLimits && channel.limits ? printed("/%d", channel.limits) : "");
    return text;
}

void add_channels(Values &values, const Sources &sources, const SaidRadio &radio)
{
    const std::vector<IwChannel> channels = iw_channels(radio);
    const std::vector<int> &excluded = sources.excluded[radio.index];
    values.add("non-occupancy", listed(channels, false, [](const IwChannel &c) { return c.unavailable; }),
               "no channel");
    values.add("channels", listed(channels, true, [](const IwChannel &c) { return !c.disabled; }), noLine);
    values.add("excluded",
               listed(channels, false,
                      [&](const IwChannel &c) {
                          return c.disabled || c.unavailable || (c.limits & 2) ||
                                 std::ranges::find(excluded, c.number) != excluded.end();
                      }),
               "no channel");
}

// hostapd: "name=value", a line each.

std::string ask_hostapd(const Sources &sources, const std::string &vap, std::vector<std::string> command)
{
    std::string output;
    std::vector<std::string> words = { "hostapd_cli", "-p", sources.hostapdFolder, "-i", vap };
    words.insert(words.end(), command.begin(), command.end());
    if (!sources.hasHostapdCli || !run_program(words, output) || output.starts_with("FAIL"))
        return "";
    return output;
}

bool has_mark(const std::string &status, const char *name)
{
    return behind(status, (std::string(name) + "=").c_str()) == "1";
}

std::string standards_in(const std::string &status, int radio)
{
    const std::string rates = " " + behind(status, "supported_rates=") + " ";
    bool isB = false, isG = false;
    for (size_t at = 0; at + 3 < rates.size(); at += 3) {
        const long rate = strtol(rates.substr(at + 1, 2).c_str(), nullptr, 16) & 0x7f; // 500 kbit/s
        const bool old = rate == 2 || rate == 4 || rate == 11 || rate == 22;
        isB = isB || old;
        isG = isG || (rate > 0 && !old);
    }
    std::string text = radio == 1 ? (isG ? ",a" : "") : std::string(isB ? ",b" : "") + (isG ? ",g" : "");
    for (const char *mode : { "n", "ac", "ax", "be" })
        if (has_mark(status, (std::string("ieee80211") + mode).c_str()) &&
            (radio == 1 || strcmp(mode, "ac") != 0))
            text += std::string(",") + mode;
    return text.empty() ? "" : text.substr(1);
}

void add_security(Values &values, const std::string &config)
{
    const std::string keys = behind(config, "key_mgmt=");
    const std::string ciphers =
        behind(config, "rsn_pairwise_cipher=") + behind(config, "wpa_pairwise_cipher=");
    const auto has = [](const std::string &text, const char *word) {
        return text.find(word) != std::string::npos;
    };
    const bool isWpa = !behind(config, "wpa_pairwise_cipher=").empty();
    const int psk = has(keys, "PSK") ? (isWpa && !has(keys, "SAE") ? 34 : 32) : 0;
    const int mode = has(keys, "EAP") ? 16 : psk + (has(keys, "SAE") ? 64 : 0);
    const int encryption =
        (has(ciphers, "TKIP") ? 4 : 0) + (has(ciphers, "CCMP") || has(ciphers, "GCMP") ? 8 : 0);
    const auto put = [&](const char *name, int value) {
        values.add(name, config.empty() ? "" : std::to_string(value), noHostapd);
    };
    put("authMode", mode ? mode : 1);
    put("encryptMode", encryption);
    put("backhaul", behind(config, "multi_ap=") == "1");
}

/** Of the radio's own interfaces, or of one: sums of /sys. */
void add_counters(Values &values, const std::vector<std::string> &interfaces, size_t stations)
{
    for (const char *name : counterNames) {
        uint64_t sum = 0;
        for (const std::string &interface : interfaces)
            sum +=
                name ? strtoull(sys(interface, std::string("statistics/") + name).c_str(), nullptr, 10) : 0;
        if (name)
            values.add(name, std::to_string(sum));
    }
    values.add("stations", std::to_string(stations));
}

/** An access point and the interfaces that the kernel makes for stations with a link of their own: they share
 * its phy and its address. */
std::vector<std::string> with_own_links(const std::string &vap)
{
    std::vector<std::string> names = { vap };
    for (const auto &entry : fs::directory_iterator("/sys/class/net")) {
        const std::string name = entry.path().filename();
        const bool shares = sys(name, "phy80211/name") == sys(vap, "phy80211/name") &&
                            sys(name, "address") == sys(vap, "address");
        if (name != vap && shares)
            names.push_back(name);
    }
    return names;
}

std::string station_dump(const std::string &vap)
{
    std::string all, output;
    for (const std::string &interface : with_own_links(vap)) {
        run_program({ "iw", "dev", interface, "station", "dump" }, output);
        all += output;
    }
    return all;
}

bool begins_station(const std::string &line)
{
    return line.starts_with("Station ");
}

bool is_authorised(const std::string &station)
{
    return behind(station, "authorized:") == "yes";
}

size_t count_stations(const std::string &vap)
{
    return static_cast<size_t>(
        std::ranges::count_if(blocks_of(station_dump(vap), begins_station), is_authorised));
}

/** Whole numbers as the records have them; those after a point are cut off. */
void add_numbers(Values &values, const std::string &station)
{
    static constexpr const char *names[] = {
        "signal",         "signal avg",    "tx bitrate", "rx bitrate", "expected throughput",
        "connected time", "inactive time", "rx packets", "tx packets", "rx bytes",
        "tx bytes",       "rx drop misc",  "tx retries", "tx failed"
    };
    for (const char *name : names) {
        const bool isCount = strstr(name, "time") || strstr(name, "packets") || strstr(name, "bytes") ||
                             strstr(name, "drop") || strstr(name, "retries") || strstr(name, "failed");
        const std::string word = word_behind(station, (std::string(name) + ":").c_str());
        const std::string number = std::to_string(atoll(word.c_str()));
        const bool isUnknown = !isCount && number == "0"; // as the records have it
        values.add(name, isUnknown ? "" : number, noLine);
    }
}

void add_abilities(Values &values, const std::string &heard)
{
    const std::string extended = behind(heard, "ext_capab=");
    const std::string flags = behind(heard, "flags=");
    const auto bits = strtoul(behind(heard, "capability=").c_str(), nullptr, 16);
    const bool moves = extended.size() >= 6 && (strtoul(extended.substr(4, 2).c_str(), nullptr, 16) & 8) != 0;
    const char *mode = "";
    for (const auto &[flag, name] : { std::pair("[HT]", "11n"), { "[VHT]", "11ac" }, { "[HE]", "11ax" } })
        if (flags.find(flag) != std::string::npos)
            mode = name;
    values.add("11k", heard.empty() ? "" : std::to_string(bits >> 12 & 1), noHostapd);
    values.add("11v", heard.empty() ? "" : std::to_string(moves), noHostapd);
    values.add("mode", mode, heard.empty() ? noHostapd : "older than 802.11n");
}

/** In the library's order, which the product file gives; behind them those that it should have named. */
std::string access_points(const SaidRadio &radio, const std::vector<IwInterface> &interfaces)
{
    std::vector<std::string> names = radio.vaps;
    std::erase_if(names, [&](const std::string &name) {
        return std::ranges::none_of(interfaces,
                                    [&](const IwInterface &i) { return i.name == name && i.type == "AP"; });
    });
    for (const IwInterface &each : interfaces) {
        const bool isTooLong = each.name.size() > 11; // the library leaves it out
        if (each.type == "AP" && std::ranges::find(radio.vaps, each.name) == radio.vaps.end() && !isTooLong)
            names.push_back(each.name);
    }
    std::string text;
    for (const std::string &name : names)
        text += (text.empty() ? "" : " ") + name;
    return text;
}

std::string driver_of(const std::string &phy)
{
    std::error_code error;
    const fs::path driver = fs::read_symlink("/sys/class/ieee80211/" + phy + "/device/driver", error);
    return error ? "nl80211" : driver.filename().string();
}

std::string phy_number(const std::string &phy)
{
    return first_line("/sys/class/ieee80211/" + phy + "/index");
}

std::string country_of(const std::string &phy)
{
    std::string domain;
    run_program({ "iw", "reg", "get" }, domain);
    const size_t own = domain.find("phy#" + phy_number(phy)); // where it has a domain of its own
    return word_behind(own == std::string::npos ? domain : domain.substr(own), "country ").substr(0, 2);
}

/** What its first access point says of the radio; NULL without any. */
void add_operation(Values &values, const Sources &sources, const SaidRadio &radio, const IwInterface *ap)
{
    const std::string info = ap ? ap->info : "";
    const std::string channel = word_behind(info, "channel ");
    const std::string status = ap ? ask_hostapd(sources, ap->name, { "status" }) : "";
    values.add("channel", channel, noLine);
    values.add("width", width_in(info), noLine);
    values.add("standards", standards_in(status, radio.index), noHostapd);
    values.add("power", word_behind(info, "txpower "), noLine);
    std::string survey;
    if (ap)
        run_program({ "iw", "dev", ap->name, "survey", "dump" }, survey);
    const size_t inUse = survey.find("[in use]");
    values.add("load's channel", channel, noLine);
    values.add("noise", inUse == std::string::npos ? "" : word_behind(survey.substr(inUse), "noise:"),
               "the driver's survey doesn't mark the operating channel");
}

void read_config(Sources &sources)
{
    std::string text, error;
    read_file(configFile, 1u << 20, text, error);
    const Json config = Json::parse(text.c_str());
    if (const cJSON *folder = config.at("hostapdDir"); cJSON_IsString(folder))
        sources.hostapdFolder = folder->valuestring;
    for (int i = 0; i < 2; i++) {
        const cJSON *radio = cJSON_GetArrayItem(config.at("radios"), i);
        const cJSON *channel;
        cJSON_ArrayForEach(channel, cJSON_GetObjectItemCaseSensitive(radio, "excluded")) sources.excluded[i]
            .push_back(channel->valueint);
        sources.chipIsChosen[i] = cJSON_GetObjectItemCaseSensitive(radio, "chip") != nullptr;
    }
}
} // namespace

bool find_sources(Sources &sources, std::string &error)
{
    if (!has_program("iw")) {
        error = "iw isn't installed, and it is what the library is compared with";
        return false;
    }
    sources.hasHostapdCli = has_program("hostapd_cli");
    read_config(sources);
    if (sources.hostapdFolder.empty())
        sources.hostapdFolder = access("/run/hostapd", F_OK) == 0 ? "/run/hostapd" : "/var/run/hostapd";
    return true;
}

Values truth_of_radio(const Sources &sources, const SaidRadio &radio)
{
    Values values;
    const std::vector<IwInterface> interfaces = iw_interfaces(radio.name);
    std::vector<std::string> carriers;
    size_t stations = 0;
    for (const IwInterface &each : interfaces) {
        const bool isAp = each.type == "AP";
        stations += isAp ? count_stations(each.name) : 0;
        if (isAp || each.type == "AP/VLAN" || each.type == "managed")
            carriers.push_back(each.name);
    }
    values.add("access points", access_points(radio, interfaces), "iw lists none on this phy");
    values.add("driver", sources.chipIsChosen[radio.index] ? "" : driver_of(radio.name),
               "vesk-radio.json chooses the name");
    values.add("up", std::ranges::any_of(interfaces, is_on_air) ? "1" : "0");
    add_operation(values, sources, radio, first_ap(interfaces));
    add_counters(values, carriers, stations);
    add_channels(values, sources, radio);
    values.add("phy number", phy_number(radio.name));
    values.add("country", country_of(radio.name));
    return values;
}

Values truth_of_vap(const Sources &sources, const std::string &vap)
{
    Values values;
    const std::string info = iw_info(vap);
    const bool hasChannel = behind(info, "type ") != "AP" || !behind(info, "channel ").empty();
    values.add("BSSID", behind(info, "addr "), noLine);
    values.add("SSID", clean_text(unescaped(behind(info, "ssid "))), noLine);
    values.add("up", sys(vap, "operstate") == "up" && hasChannel ? "1" : "0");
    add_counters(values, { vap }, count_stations(vap));
    add_security(values, ask_hostapd(sources, vap, { "get_config" }));
    return values;
}

std::map<std::string, Values> truth_of_stations(const Sources &sources, const std::string &vap)
{
    std::map<std::string, Values> stations;
    for (const std::string &block : blocks_of(station_dump(vap), begins_station)) {
        if (!is_authorised(block))
            continue;
        const std::string mac = word_behind(block, "Station ");
        Values &values = stations[mac];
        values.add("access point", vap);
        add_numbers(values, block);
        add_abilities(values, ask_hostapd(sources, vap, { "sta", mac }));
    }
    return stations;
}

Sample truth_sample(const SaidRadio &radio)
{
    Sample sample;
    std::string survey;
    if (const std::vector<IwInterface> all = iw_interfaces(radio.name); const IwInterface *ap = first_ap(all))
        run_program({ "iw", "dev", ap->name, "survey", "dump" }, survey);
    for (const std::string &block :
         blocks_of(survey, [](const std::string &line) { return line.starts_with("Survey data"); })) {
        if (block.find("[in use]") == std::string::npos)
            continue;
        const auto ms = [&](const char *key) {
            return strtoull(word_behind(block, key).c_str(), nullptr, 10);
        };
        sample.time = ms("channel active time:");
        sample.busy = ms("channel busy time:");
        const std::string received = behind(block, "channel BSS receive time:");
        const char *key = received.empty() ? "channel receive time:" : "channel BSS receive time:";
        sample.hasOwn = !behind(block, "channel transmit time:").empty() && !behind(block, key).empty();
        sample.own = ms("channel transmit time:") + ms(key);
    }
    return sample;
}
