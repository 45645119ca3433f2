// One station: where it is, how well it is heard, what it can do, and what the last signals said of it.
#include <cstdio>
#include <deque>

#include "tools/client/signals.h"
#include "tools/client/text.h"
#include "tools/veskctl/checks.h"
#include "tools/veskctl/log_state.h"
#include "tools/veskctl/output.h"

namespace
{
constexpr size_t keptSignals = 5;

/** Lines on the station, newest last: of a record, or of the daemon's log, which tells joins and leaves only.
 */
std::deque<std::string> signals_on(const Arguments &arguments, const std::string &mac)
{
    std::deque<std::string> lines;
    std::string error;
    const auto keep = [&](std::string line) {
        lines.push_back(std::move(line));
        if (lines.size() > keptSignals)
            lines.pop_front();
    };
    const auto look = [&](const SeenSignal &signal) {
        if (concerns_station(signal, mac))
            keep(signal_line(signal, true));
        return true;
    };
    if (arguments.has("--from")) {
        if (!read_record(arguments.text("--from"), look, error))
            fail(error);
        return lines;
    }
    const Logbook log = read_log(log_path(arguments));
    for (const LogLine &line : log.lines)
        if (is_message_of(line.message(), VESK_TEXT_SENT_CLIENT) &&
            line.message().find(mac) != std::string_view::npos)
            keep(clock_time(line.when, true) + " " +
                 std::string(line.message().substr(line.message().find('['))));
    return lines;
}

const WireStation &record_of(const VapState &vap, const StationState &station)
{
    const auto *all = reinterpret_cast<const WireStaInfo *>(vap.stationTable.data()); // packed: lies anywhere
    return all->stations[&station - vap.stations.data()];
}

void print_station(const Snapshot &snapshot, const VapState &vap, const StationState &s,
                   const std::deque<std::string> &signals)
{
    const RadioState *radio = snapshot.find_radio(vap.band);
    const WireStation &record = record_of(vap, s);
    Table table({ { "FIELD" }, { "VALUE" } });
    table.add({ "station", s.mac });
    table.add({ "access point", vap.name + ", \"" + vap.ssid + "\"" });
    if (radio)
        table.add({ "radio", radio->name + ", " + band_name(radio->band) +
                                 printed(", channel %d, ", radio->channel) + bandwidth_name(s.bandwidth) });
    table.add({ "signal", level_text(s.signal) });
    table.add({ "rates", printed("TX %d, RX %d Mbit/s", s.tx, s.rx) });
    table.add({ "connected", span_text(s.seconds) });
    table.add({ "supports", std::string(s.is11k ? "802.11k " : "") + (s.is11v ? "802.11v" : "") });
    table.add({ "backhaul", s.isBackhaul ? "yes" : "no" });
    table.add({ "the driver says", FIELD_TEXT(record.text1) + " " + FIELD_TEXT(record.text2) });
    table.print();
    puts(signals.empty() ? "no signal of it is known" : "last signals:");
    for (const std::string &line : signals)
        printf("  %s\n", line.c_str());
}
} // namespace

void run_station(const Arguments &arguments)
{
    uint8_t bytes[6];
    need_mac(arguments.text("MAC"), bytes);
    const std::string mac = mac_text(bytes);
    const std::deque<std::string> signals = signals_on(arguments, mac);
    const Snapshot snapshot = must_take_snapshot(PartVaps | PartStations);
    for (const VapState &vap : snapshot.vaps)
        for (const StationState &station : vap.stations) {
            if (station.mac != mac)
                continue;
            if (!arguments.json) {
                print_station(snapshot, vap, station, signals);
                return;
            }
            Json object = decode_as(layoutStation, record_of(vap, station));
            object.put("vap", vap.name);
            object.put("ssid", vap.ssid);
            object.put("band", vap.band);
            object.put("bandName", band_name(vap.band));
            Json list = Json::array();
            for (const std::string &line : signals)
                list.push(Json::text(line));
            object.put("signals", std::move(list));
            print_json(object);
            return;
        }
    fail(mac + " isn't associated" + (signals.empty() ? "" : "; the last signal of it: " + signals.back()));
}
