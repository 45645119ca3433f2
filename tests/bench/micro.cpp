// Costs inside the daemon, with fakes of the closed libraries: a log statement, a poll of 256 stations, and
// the bodies of the two largest replies.
#include <benchmark/benchmark.h>

#include "bus/vesk_api/vesk_api.h"
#include "source/vesk_interface/interface_private.h"
#include "source/vesk_main/log.h"
#include "source/vesk_main/records.h"
#include "source/vesk_scan/vesk_scan.h"
#include "tests/fakes/fakes.h"

namespace {
void fresh_device(int logLevel, int stations = 0) {
    fake_reset();
    fake_load_product();
    vesk_get_vesk_info()->logFile = fopen("/dev/null", "a");
    vesk_get_vesk_info()->logLevel = logLevel;
    vesk_get_sta_info()->isStaPollEnabled = 1;
    vesk_get_sta_info()->threshold = 100;
    vesk_init_device_info();
    for (int i = 0; i < stations; i++) {
        const uint8_t mac[6] = { 2, 0, 0, 1, static_cast<uint8_t>(i >> 8), static_cast<uint8_t>(i) };
        fakeDevice.addStation("ath0", mac);
    }
}

void log_statement(benchmark::State &state) {
    fresh_device(static_cast<int>(state.range(0)));
    for (auto _ : state) VESK_LOG(INFO, " band=%d, isFirstScan=%d\n", 1, 0);
}
BENCHMARK(log_statement)->ArgName("level")->Arg(3)->Arg(6);

/** The driver calls of a poll alone, to be taken off the next figure. */
void driver_calls() {
    for (int i = 1; i <= 256; i++) {
        uint8_t mac[6];
        VeskStaEntry entry = {};
        rilk_getVapAssocStationMac("ath0", i, mac);
        rilk_getVapAssocStationInfo("ath0", mac, &entry);
        benchmark::DoNotOptimize(entry);
    }
}

void of_256_stations(benchmark::State &state, void (*poll)()) {
    fresh_device(3, 256);
    for (auto _ : state) {
        poll();
        fakeDevice.log.clear();
    }
}
BENCHMARK_CAPTURE(of_256_stations, driver_calls, driver_calls)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(of_256_stations, poll, [] { vesk_update_sta_ubus_handle(nullptr); })->Unit(benchmark::kMicrosecond);

void body_of_getStaInfo(benchmark::State &state) {
    fresh_device(3, 256);
    vesk_update_sta_ubus_handle(nullptr);
    static WireStaInfo info;
    for (auto _ : state) vesk_getStaInfo("ath0", &info);
    if (info.count != 256) state.SkipWithError("not all stations are there");
}
BENCHMARK(body_of_getStaInfo)->Unit(benchmark::kMicrosecond);

void body_of_getNeighborAPInfo(benchmark::State &state) {
    fresh_device(3);
    vesk_init_scan_info();
    VeskScanNeighbor neighbor = { .ch = 36, .bssid = "02:00:00:00:00:01", .ssid = "net", .rssi = -70 };
    for (int ch : { 36, 40, 44, 48 }) {
        neighbor.ch = ch;
        fakeDevice.neighbors[ch].assign(64, neighbor);
        rilk_getScanNeighborApOneChannel("wifi1", ch, vesk_get_scan_info()->neighbors);
    }
    static WireNbAPInfo info;
    for (auto _ : state) vesk_getNeighborAPInfo(3, &info);
    if (info.nbNums != 256) state.SkipWithError("not all neighbours are there");
}
BENCHMARK(body_of_getNeighborAPInfo)->Unit(benchmark::kMicrosecond);
} // namespace

BENCHMARK_MAIN();
