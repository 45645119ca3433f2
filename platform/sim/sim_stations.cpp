// The stations that drelm let join and leave, read from the list that it writes, over those of the
// description.
#include "platform/sim/sim.h"

#include <algorithm>
#include <cstdio>

#include <sys/stat.h>

namespace
{

constexpr size_t LINE_ROOM = 2048; // a frame of 512 bytes in hexadecimal, and the rest

/** How far the list has been read. */
struct ListMark {
    ino_t inode = 0;
    off_t offset = 0;
};

ListMark &mark()
{
    static ListMark &instance = *new ListMark;
    return instance;
}

/** A station is associated with one access point at a time. */
void leave_all(SimDevice &device, const SimMac &mac)
{
    for (SimRadio &radio : device.radios) {
        for (SimVap &vap : radio.vaps) {
            for (SimStation &station : vap.stations)
                station.gone = station.gone || sim_mac_equal(station.mac, mac.bytes);
        }
    }
}

/** The station's own entry if the interface has one, with what the description says of it besides. */
SimStation &entry_of(SimVap &vap, const SimMac &mac, bool fast)
{
    const auto found = std::find_if(vap.stations.begin(), vap.stations.end(),
                                    [&](const SimStation &s) { return sim_mac_equal(s.mac, mac.bytes); });
    if (found != vap.stations.end())
        return *found;
    SimStation station;
    station.mac = mac;
    station.tx = station.rx = fast ? 433 : 72;
    return vap.stations.emplace_back(station);
}

bool apply_line(SimDevice &device, const char *line)
{
    char word[8], ifName[16], macText[18], frame[LINE_ROOM] = "";
    int rssi = 0, is11v = 0, is11k = 0;
    uint32_t time = 0;
    const int fields = sscanf(line, "%7s %15s %17s rssi=%d time=%u 11v=%d 11k=%d frame=%2047s", word, ifName,
                              macText, &rssi, &time, &is11v, &is11k, frame);
    SimMac mac;
    std::vector<uint8_t> bytes;
    if (fields < 3 || !sim_parse_mac(macText, mac) || !sim_parse_hex(frame, bytes))
        return false;
    SimRadio *radio;
    SimVap *vap = sim_vap(device, ifName, &radio);
    const bool joins = strcmp(word, "join") == 0 && fields >= 7;
    if (!vap || (!joins && strcmp(word, "leave") != 0))
        return false;
    leave_all(device, mac);
    if (!joins)
        return true;
    SimStation &station = entry_of(*vap, mac, radio != &device.radios[0]);
    station.rssi = rssi;
    station.flutter = 0;
    station.time = time;
    station.is11v = is11v != 0;
    station.is11k = is11k != 0;
    station.frame = bytes;
    station.polls = {};
    station.gone = false;
    return true;
}

} // namespace

bool sim_stations_replaced(const char *path)
{
    struct stat info = {};
    return mark().offset > 0 &&
           (stat(path, &info) != 0 || info.st_ino != mark().inode || info.st_size < mark().offset);
}

void sim_follow_stations(const char *path, SimDevice &device, bool fromStart)
{
    struct stat info = {};
    if (fromStart)
        mark() = {};
    if (stat(path, &info) != 0 || !S_ISREG(info.st_mode) || info.st_size <= mark().offset)
        return;
    FILE *file = fopen(path, "re");
    if (!file)
        return;
    char line[LINE_ROOM];
    fseeko(file, mark().offset, SEEK_SET);
    while (fgets(line, sizeof line, file) &&
           strchr(line, '\n')) { // a line without its end is still being written
        if (!apply_line(device, line))
            sim_log_note((std::string("station list: not understood: ") + line).c_str());
        mark() = { info.st_ino, ftello(file) };
    }
    fclose(file);
}
