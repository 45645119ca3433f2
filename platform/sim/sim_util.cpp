// Helpers of the simulated device that know nothing of its state: texts, the clock, figures that move in a
// repeatable way, look-ups.
#include "platform/sim/sim.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <mutex>

#include <unistd.h>

#include "foundation/mac.h"

namespace
{

std::mutex clockLock;   // 64-bit atomics want a library of their own on 32-bit MIPS
int64_t stoppedAt = -1; // what the clock shows while it stands still, ms; -1: it runs
std::atomic<int> sleepers{ 0 };

int64_t stopped_at()
{
    const std::lock_guard hold(clockLock);
    return stoppedAt;
}

} // namespace

std::string sim_format(const char *format, ...)
{
    char text[2048];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return text;
}

std::string sim_hex(const uint8_t *bytes, size_t count)
{
    std::string text;
    for (size_t i = 0; i < count; i++) {
        char pair[3];
        snprintf(pair, sizeof pair, "%02x", bytes[i]);
        text += pair;
    }
    return text;
}

bool sim_parse_hex(const char *text, std::vector<uint8_t> &bytes)
{
    const size_t digits = strlen(text);
    if (digits % 2 != 0 || strspn(text, "0123456789abcdefABCDEF") != digits)
        return false;
    bytes.resize(digits / 2);
    for (size_t i = 0; i < bytes.size(); i++) {
        const char pair[] = { text[i * 2], text[i * 2 + 1], '\0' };
        bytes[i] = static_cast<uint8_t>(strtoul(pair, nullptr, 16));
    }
    return true;
}

bool sim_parse_mac(const char *text, SimMac &mac)
{
    return text && strlen(text) == MAC_TEXT_LENGTH && mac_parse(text, mac.bytes);
}

int64_t sim_monotonic_ms()
{
    const int64_t stopped = stopped_at();
    if (stopped >= 0)
        return stopped;
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

int sim_advance(int64_t ms)
{
    const int64_t at = sim_monotonic_ms() + ms;
    const std::lock_guard hold(clockLock);
    stoppedAt = at;
    return sleepers;
}

void sim_sleep(int ms)
{
    const int64_t end = sim_monotonic_ms() + ms;
    sleepers++;
    for (int64_t left; (left = end - sim_monotonic_ms()) > 0;)
        usleep(stopped_at() < 0 ? static_cast<useconds_t>(left) * 1000 : 1000);
    sleepers--;
}

int sim_flutter(uint32_t salt, uint32_t visit, int range)
{
    if (range <= 0)
        return 0;
    uint64_t x = (static_cast<uint64_t>(salt) << 32 | visit) + 0x9e3779b97f4a7c15u;
    x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9u;
    x = (x ^ (x >> 27)) * 0x94d049bb133111ebu;
    x ^= x >> 31;
    return static_cast<int>(x % (2 * static_cast<uint64_t>(range) + 1)) - range;
}

bool sim_present(const SimCycle &cycle, uint32_t visit)
{
    if (cycle.off <= 0)
        return true;
    const uint32_t on = static_cast<uint32_t>(std::max(cycle.on, 0));
    return visit % (on + static_cast<uint32_t>(cycle.off)) < on;
}

void sim_fill_stats(VeskIntfStats &stats, const std::vector<uint64_t> &described, uint32_t query)
{
    for (size_t i = 0; i < sizeof stats.counters / sizeof stats.counters[0]; i++)
        stats.counters[i] = i < described.size() ? described[i] : uint64_t{ query } * 1500 * (i + 1);
    stats.value1 = static_cast<uint16_t>(query);
    stats.value2 = 1;
}

SimRadio *sim_radio(SimDevice &device, const char *name)
{
    for (SimRadio &radio : device.radios) {
        if (name && strncmp(radio.name, name, sizeof radio.name) == 0)
            return &radio;
    }
    return nullptr;
}

SimRadio *sim_radio_of_band(SimDevice &device, int32_t actualBand)
{
    if (actualBand == 0)
        return &device.radios[0];
    return actualBand == 3 ? &device.radios[1] : nullptr;
}

SimVap *sim_vap(SimDevice &device, const char *name, SimRadio **owner)
{
    for (SimRadio &radio : device.radios) {
        for (SimVap &vap : radio.vaps) {
            if (name && strncmp(vap.name, name, sizeof vap.name) == 0) {
                *owner = &radio;
                return &vap;
            }
        }
    }
    return nullptr;
}

const SimChannel *sim_channel(const std::vector<SimChannel> &list, int32_t channel)
{
    const auto found =
        std::find_if(list.begin(), list.end(), [&](const SimChannel &c) { return c.ch == channel; });
    return found == list.end() ? nullptr : &*found;
}

bool sim_vap_is_up(const SimRadio &radio, const SimVap &vap)
{
    return radio.enabled && radio.status && vap.status;
}

bool sim_mac_equal(const SimMac &mac, const uint8_t *bytes)
{
    return memcmp(mac.bytes, bytes, 6) == 0;
}
