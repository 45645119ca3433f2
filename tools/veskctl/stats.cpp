// Interface counters, once or again and again.
#include <cstdio>

#include "tools/client/text.h"
#include "tools/veskctl/checks.h"
#include "tools/veskctl/output.h"

namespace
{
/** Reads the counters; the interface or radio is told by the snapshot, which is taken once. */
std::vector<uint8_t> stats_of(const Snapshot &snapshot, const std::string &target)
{
    bus_start_time();
    if (const VapState *vap = snapshot.find_vap(target))
        return must_call("getVapIntfStats", { arg_text("vapName", vap->name) });
    for (const RadioState &radio : snapshot.radios)
        if (radio.name == target || radio.band == band_of(target))
            return must_call("getRadioIntfStats", { arg_band(radio.band) });
    must_vap(snapshot, target);
    return {};
}

/** Counters as they are and, from the second look on, what they grew by since the one before. */
void print_growth(const std::vector<uint8_t> &now, const std::vector<uint8_t> &before)
{
    Table table({ { "COUNTER" }, { "VALUE", true }, { "GROWTH", true } });
    for (const FieldLayout &field : layoutIntfStats.fields)
        for (uint32_t i = 0; field.width == sizeof(uint64_t) && i < field.count; i++) {
            const size_t at = field.offset + i * field.width;
            uint64_t value, last = 0;
            memcpy(&value, &now[at], sizeof value);
            if (!before.empty())
                memcpy(&last, &before[at], sizeof last);
            table.add({ printed("%s[%u]", field.name, i), std::to_string(value),
                        before.empty() ? "" : std::to_string(value - last) });
        }
    table.print();
}
} // namespace

void run_stats(const Arguments &arguments)
{
    const Snapshot snapshot = must_take_snapshot(PartVaps);
    const std::string &target = arguments.text("NAME");
    if (!arguments.has("--watch")) {
        print_record(arguments, layoutIntfStats, stats_of(snapshot, target));
        return;
    }
    std::vector<uint8_t> before;
    catch_stop();
    do {
        const std::vector<uint8_t> now = stats_of(snapshot, target);
        if (arguments.json)
            print_record(arguments, layoutIntfStats, now);
        else
            print_growth(now, before);
        before = now;
    } while (sleep_between_looks(static_cast<int>(arguments.number("--interval", 2))));
}
