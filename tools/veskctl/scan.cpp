// Commands on channels and scans: what was measured, which neighbours were heard, and the readiness of the
// device.
#include <ctime>

#include <CLI/CLI.hpp>
#include <unistd.h>

#include "tools/veskctl/cli.h"

namespace
{
std::string age(int32_t since)
{
    if (since == 0)
        return "unknown";
    const long seconds = static_cast<long>(time(nullptr)) - since;
    return seconds < 0 ? "0 s" : seconds < 120 ? number(seconds) + " s" : number(seconds / 60) + " min";
}

std::string level(double dbm)
{
    char text[24];
    snprintf(text, sizeof text, "%.1f", dbm);
    return dbm == 0.0 ? "unknown" : text;
}

int neighbors_on(const WireNbAPInfo &all, int channel)
{
    int count = 0;
    for (int i = 0; i < all.nbNums && i < VESK_WIRE_NEIGHBORS; i++)
        count += all.neighbors[i].channel == channel;
    return count;
}

void show_scan(const std::string &band)
{
    cJSON *array = cJSON_CreateArray();
    Table table({ { "BAND" },
                  { "CHANNEL", true },
                  { "" },
                  { "USED", true },
                  { "" },
                  { "NOISE", true },
                  { "SMOOTHED", true },
                  { "NEIGHBORS", true },
                  { "AGE", true } });
    for (int b : bands_or_all(band)) {
        const auto figures = must_get<WireOffChInfo>("getOffChannelInfo", { arg_band(b) });
        const auto heard = must_get<WireNbAPInfo>("getNeighborAPInfo", { arg_band(b) });
        const auto radio = must_get<WireRadioInfo>("getRadioInfo", { arg_band(b) });
        cJSON *object = decode_record(layoutOffChInfo, reinterpret_cast<const uint8_t *>(&figures));
        cJSON_AddItemToArray(array, object);
        for (const WireOffChannel &c : figures.channels)
            if (c.ch > 0)
                table.add({ band_name(b), number(c.ch), c.ch == radio.curChannel ? "*" : "",
                            number(c.chnUtil) + "%", bar(c.chnUtil, 20), number(c.noise),
                            level(c.smoothedNoise), number(neighbors_on(heard, c.ch)), age(c.time) });
    }
    print_either(array, table);
    if (!options.json && table.rows.empty())
        puts("no channel has been measured yet");
}

void show_neighbors(const std::string &band)
{
    cJSON *array = cJSON_CreateArray();
    Table table({ { "BAND" }, { "CHANNEL", true }, { "BSSID" }, { "LEVEL", true }, { "SSID" } });
    for (int b : bands_or_all(band)) {
        const auto all = must_get<WireNbAPInfo>("getNeighborAPInfo", { arg_band(b) });
        cJSON_AddItemToArray(array, decode_record(layoutNbAPInfo, reinterpret_cast<const uint8_t *>(&all)));
        for (int i = 0; i < all.nbNums && i < VESK_WIRE_NEIGHBORS; i++) {
            const WireNeighbor &n = all.neighbors[i];
            table.add({ band_name(b), number(n.channel), mac_text(n.bssid), or_unknown(n.rssi, "dBm"),
                        FIELD_TEXT(n.ssid) });
        }
    }
    print_either(array, table);
    if (!options.json && table.rows.empty())
        puts("no neighbour has been heard yet");
}

void show_channels(const std::string &band)
{
    const int b = parse_band(band);
    const auto radio = must_get<WireRadioInfo>("getRadioInfo", { arg_band(b) });
    const auto usable = must_get<WireChList>("getRadioAvaliableChannelList", { arg_band(b) });
    if (options.json) {
        print_record(layoutChList, bytes_of_record(usable));
        return;
    }
    Table table({ { "CHANNEL", true }, { "" }, { "AVAILABLE" }, { "ATTRIBUTES", true } });
    for (int i = 0; i < radio.chListNums && i < VESK_WIRE_CHANNELS; i++) {
        const int ch = radio.curchList[i];
        bool available = false;
        for (int k = 0; k < usable.chListNums && k < VESK_WIRE_CHANNELS; k++)
            available = available || usable.chList[k] == ch;
        char attr[8];
        snprintf(attr, sizeof attr, "0x%04x", radio.curchAttr[i]);
        table.add({ number(ch), ch == radio.curChannel ? "*" : "", available ? "yes" : "no", attr });
    }
    table.print();
}

void trigger(const std::string &band)
{
    must_call("triggerScan", { arg_band(parse_band(band)) });
    print_done();
}

void show_channel(const std::string &band)
{
    const auto c = must_get<WireChannel>("getChannel", { arg_band(parse_band(band)) });
    if (options.json)
        print_record(layoutChannel, bytes_of_record(c));
    else
        printf("channel %d, %s\n", c.channel, bandwidth_name(c.bandwidth));
}

int parse_bandwidth(const std::string &text)
{
    static constexpr struct {
        const char *text;
        int index;
    } names[] = { { "20", 0 }, { "40", 1 }, { "80", 2 }, { "160", 3 }, { "80+80", 4 }, { "keep", 5 } };
    for (const auto &name : names)
        if (text == name.text)
            return name.index;
    usage_error("\"" + text + "\" is no bandwidth; say 20, 40, 80, 160, 80+80 or keep");
}

/** Asks for a channel, waits until the daemon has applied it and tells what the radio then runs on. */
void set_channel(const std::string &band, int channel, const std::string &bandwidth)
{
    const int b = parse_band(band);
    const WireChannel data = { channel, parse_bandwidth(bandwidth) };
    CallResult result = ctl_call(*ctl_method("setChannel"), { arg_band(b), arg_record("data", data) });
    if (!result.error.empty())
        fail(result.error);
    usleep(2500000); // requests are applied two seconds after they came
    show_channel(band);
}
} // namespace

void add_scan_commands(CLI::App &app)
{
    static std::string band, bandwidth = "keep";
    static int channel;
    auto with_band = [&app](const char *name, const char *help, bool required,
                            void (*run)(const std::string &)) {
        CLI::App *command = app.add_subcommand(name, help);
        command->add_option("BAND", band, "2.4 or 5")->required(required);
        command->callback([run] { run(band); });
    };
    with_band("scan", "What the scans measured, channel by channel", false, show_scan);
    with_band("neighbors", "Neighbouring access points", false, show_neighbors);
    with_band("channels", "A radio's channels and which of them are available", true, show_channels);
    with_band("scan-trigger", "Sweep a radio's channels again", true, trigger);
    CLI::App *command = app.add_subcommand("channel", "The operating channel of a radio, or `set` another");
    command->add_option("BAND", band, "2.4 or 5")->required();
    CLI::App *set = command->add_subcommand("set", "Set the channel");
    set->add_option("CHANNEL", channel, "Channel number; 0 leaves it")->required()->check(CLI::Range(0, 255));
    set->add_option("BANDWIDTH", bandwidth, "20, 40, 80, 160, 80+80 or keep");
    set->callback([] { set_channel(band, channel, bandwidth); });
    command->callback([set] {
        if (!set->parsed())
            show_channel(band);
    });
}
