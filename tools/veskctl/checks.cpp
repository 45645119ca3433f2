#include "tools/veskctl/checks.h"

#include <cstdio>
#include <cstring>

#include <unistd.h>

#include "tools/client/text.h"
#include "tools/veskctl/output.h"

namespace
{
constexpr int askMs = 250, dotMs = 1000;

std::string listed_radios(const Snapshot &snapshot)
{
    std::string text;
    for (const RadioState &radio : snapshot.radios)
        text += (text.empty() ? "" : ", ") + radio.name + " (" + band_name(radio.band) + ")";
    return text.empty() ? "none" : text;
}

std::string listed_vaps(const Snapshot &snapshot, bool stationsToo)
{
    std::string text;
    for (const VapState &vap : snapshot.vaps)
        if (stationsToo || !vap.is_station())
            text += (text.empty() ? "" : ", ") + vap.name;
    return text.empty() ? "none" : text;
}
} // namespace

const RadioState &must_radio(const Snapshot &snapshot, const std::string &word)
{
    for (const RadioState &radio : snapshot.radios)
        if (radio.name == word || radio.band == band_of(word))
            return radio;
    if (band_of(word) < 0)
        usage_error("\"" + word + "\" is neither a band nor a radio; there are " + listed_radios(snapshot));
    fail(std::string("no radio runs on ") + band_name(band_of(word)) + "; there are " +
         listed_radios(snapshot));
}

const VapState &must_vap(const Snapshot &snapshot, const std::string &word)
{
    if (const VapState *vap = snapshot.find_vap(word))
        return *vap;
    fail("no interface \"" + clean_text(word) + "\"; there are " + listed_vaps(snapshot, true));
}

const VapState &must_access_point(const Snapshot &snapshot, const std::string &word)
{
    const VapState *vap = snapshot.find_vap(word);
    if (!vap)
        fail("no access point \"" + clean_text(word) + "\"; there are " + listed_vaps(snapshot, false));
    if (vap->is_station())
        fail(vap->name + " is a backhaul station and has no stations; access points are " +
             listed_vaps(snapshot, false));
    return *vap;
}

const StationState &must_station(const Snapshot &snapshot, const VapState &vap, const std::string &mac)
{
    uint8_t bytes[6];
    need_mac(mac, bytes);
    const std::string wanted = mac_text(bytes);
    for (const StationState &station : vap.stations)
        if (station.mac == wanted)
            return station;
    for (const VapState &other : snapshot.vaps)
        for (const StationState &station : other.stations)
            if (station.mac == wanted)
                fail(wanted + " isn't on " + vap.name + ", but on " + other.name);
    fail(wanted + " isn't associated; `veskctl stations` shows who is");
}

void need_mac(const std::string &text, uint8_t *mac)
{
    if (!parse_mac(text, mac))
        usage_error("\"" + text + "\" is no MAC address; say 02:11:22:33:44:55");
}

void need_text(char *field, size_t size, const std::string &text, const char *what)
{
    if (text.size() >= size)
        usage_error(printed("%s has at most %zu bytes", what, size - 1));
    memcpy(field, text.data(), text.size());
}

std::vector<uint8_t> need_hex(const std::string &text, const char *what)
{
    std::vector<uint8_t> bytes;
    if (!from_hex(text, bytes))
        usage_error(std::string(what) + " is given in hexadecimal, two digits a byte");
    return bytes;
}

int need_name(std::span<const ValueName> names, const std::string &word, const char *what)
{
    long long number;
    int value = value_of_name(names, word);
    if (value < 0 && parse_number(word, 0, INT32_MAX, number) && find_name(names, static_cast<int>(number)))
        value = static_cast<int>(number);
    if (value < 0)
        usage_error("\"" + word + "\" is no " + what + "; there are " + listed_names(names));
    return value;
}

bool wait_until(int limitMs, const std::function<bool()> &isSo)
{
    const bool isTerminal = isatty(STDERR_FILENO) != 0;
    const int64_t begin = monotonic_ms();
    int64_t asked = begin, dots = 0;
    bool is = isSo();
    while (!is && asked < begin + limitMs && sleep_until_stop(askMs)) {
        asked = monotonic_ms(); // an answer can take longer than the time that is left
        is = isSo();
        for (; isTerminal && dots < (monotonic_ms() - begin) / dotMs; dots++)
            fputc('.', stderr);
    }
    if (dots > 0)
        fputc('\n', stderr);
    return is;
}
