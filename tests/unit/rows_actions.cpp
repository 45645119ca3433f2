// What a step of rows/*.rows may do beside setting and asking: "do NAME WORDS".
#include "tests/unit/rows_words.h"

RowWorld rowWorld;

namespace {
VeskOffScanCfg *const scan = vesk_get_scan_info();

template <class T = int>
T word(const Texts &words, size_t i, T otherwise = {}) {
    return words.size() > i ? number<T>(words[i]) : otherwise;
}

/** A station on a VAP of the driver's; its MAC ends in these two. */
void add_stations(const Texts &words) {
    for (const uint8_t last : range_of(words.at(1)))
        fakeDevice.addStation(words.at(0), { 2, 0, 1, 1, word<uint8_t>(words, 2, 1), last });
}

/** Straight into the store. */
void store_stations(const Texts &words) {
    for (const uint8_t last : range_of(words.at(1))) {
        VeskStaEntry entry = { .mac = { 2, 0, 0, word<uint8_t>(words, 2), 1, last } };
        snprintf(entry.vapIntf, sizeof entry.vapIntf, "%s", words[0].c_str());
        kvhmgr_set(&vesk_get_sta_info()->staDb, &entry, sizeof entry);
    }
}

void own_object(const Texts &) {
    static ubus_object object = {};
    object.name = "vesk";
    vesk_get_vesk_info()->ubusObj = &object;
}

void know(const Texts &words) {
    const Bytes bits = { word<uint8_t>(words, 1), word<uint8_t>(words, 2) };
    for (const uint8_t last : range_of(words[0])) vesk_set_sta_cap(stored_mac(last).data(), bits.data());
}

void set_flags(const Texts &words) {
    for (const uint8_t band : range_of(words.at(0))) {
        VeskScanCfg &cfg = scan->scanCfg[band];
        cfg.isFirstScan = word<uint8_t>(words, 1), cfg.isScanEnd = word<uint8_t>(words, 2);
        cfg.cycScanSend = word(words, 3);
    }
}

/** With the n-th allocation failing; no number: none. */
void init_scans(const Texts &words) {
    fakeLibc.failAlloc = word(words, 0, -1);
    vesk_init_scan_info();
    fakeLibc.failAlloc = -1;
}

void scan_first(const Texts &words) {
    int32_t band = word(words, 0);
    vesk_first_scanning(words.empty() ? nullptr : &band);
}

/** What the driver finds on these channels. */
void measure(const Texts &words) {
    for (const uint8_t ch : range_of(words.at(0))) fakeDevice.scan[ch] = { ch, 0, 0, ch, -92, 1.0 };
}

/** A network in these slots of the neighbour table; "-" for a BSSID: each byte of its texts is an x. */
void put_neighbors(const Texts &words) {
    const int first = number<int>(words.at(0)), count = word(words, 3, 1);
    for (int slot = first; slot < first + count; slot++) {
        free(scan->neighbors[slot]);
        auto *n = scan->neighbors[slot] = static_cast<VeskScanNeighbor *>(calloc(1, sizeof(VeskScanNeighbor)));
        n->ch = word(words, 1), n->rssi = -70, n->value1 = 91, n->value2 = 93;
        memset(n->ssid, 's', sizeof n->ssid), memset(n->text, 't', sizeof n->text); // unterminated
        memset(n->bssid, 'x', words.at(2) == "-" ? sizeof n->bssid : 0);
        if (words[2] != "-") memcpy(n->bssid, words[2].data(), std::min(words[2].size(), sizeof n->bssid));
    }
}

void note_call(const std::string &function, const std::string &args) {
    rowWorld.sentAtLastCall = static_cast<int>(fakeBus.signals.size());
    rowWorld.scanningAtLastCall = vesk_get_scan_status();
    rowWorld.times[function] +=
        std::to_string(fakeLoop.nowMs / 1000) + ":" + args.substr(0, args.find(" dwell")) + "; ";
    const int number = ++rowWorld.calls[function];
    for (const RowWorld::Hook &hook : std::vector(rowWorld.hooks))
        if (hook.function == function && (hook.number == 0 || hook.number == number)) run_row_step(hook.step);
}

const auto band_of_words = [](void (*function)(uint32_t)) {
    return [function](const Texts &words) { function(word<uint32_t>(words, 0)); };
};
const auto band_and_interval = [](void (*function)(uint32_t, uint32_t)) {
    return [function](const Texts &words) { function(word<uint32_t>(words, 0), word<uint32_t>(words, 1)); };
};
} // namespace

void watch_calls() {
    fakeDevice.onCall = [](const FakeCall &call) { note_call(call.name, call.args); };
    fakeLibc.onSleep = [](unsigned us) { note_call("sleep", std::to_string(us)); };
}

const std::map<std::string, std::function<void(const Texts &)>> rowActions = {
    // the model and its refreshes
    { "fill", [](const Texts &) { fill_model(); } },
    { "refresh-radios", [](const Texts &) { vesk_update_radio_info(); } },
    { "refresh-vaps", [](const Texts &) { fakeBus.signals.clear(), vesk_update_vap_info(); } },
    { "poll-channels",
      [](const Texts &words) {
          fakeBus.signals.clear();
          for (int i = word(words, 0); i > 0; i--) vesk_channel_change_handle(nullptr);
      } },
    { "fill-slots",
      [](const Texts &) {
          for (int i = 6; i < VESK_VAPS; i++) snprintf(vesk_get_vap_info()[i].ifName, 16, "x%d", i);
      } },
    { "name-station-vap", [](const Texts &words) { vesk_init_bsta_info(words.at(0).c_str(), word(words, 1)); } },
    { "name-vap", [](const Texts &words) { vesk_init_vap_info(words.at(0).c_str(), words.at(1).c_str(), 0); } },
    { "start-pollers", [](const Texts &) { vesk_init_device_info(); } },
    { "stop-pollers", [](const Texts &) { vesk_deinit_devide_info(); } },
    { "wlan-changed", [](const Texts &words) { vesk_retrigger_intf_timer(word(words, 0)); } },
    { "statistics", [](const Texts &words) { vesk_set_intf_stat_status(word<uint8_t>(words, 0)); } },
    { "channel-poller", [](const Texts &words) { vesk_set_channel_change_timer_status(word<uint8_t>(words, 0)); } },
    { "set-channel-timer", [](const Texts &words) { vesk_start_set_channel_timer(word<uint32_t>(words, 0)); } },
    // stations
    { "poll-stations", [](const Texts &) { vesk_update_sta_ubus_handle(&vesk_get_sta_info()->staTimer); } },
    { "poll-switch", [](const Texts &words) { vesk_set_sta_timer_status(word<uint8_t>(words, 0)); } },
    { "add-station", add_stations },
    { "add-zero-station",
      [](const Texts &words) {
          fakeDevice.addStation(words.at(0), { 0, 0, 0, 0, 0, 0 });
      } },
    { "store-stations", store_stations },
    { "drop-stations", [](const Texts &words) { fakeDevice.vap(words.at(0))->stations.clear(); } },
    { "know", know },
    { "know-station", [](const Texts &) { vesk_set_sta_cap(STA.data(), STA.data()); } },
    { "forget", [](const Texts &words) { vesk_unset_sta_cap(stored_mac(word<uint8_t>(words, 0)).data()); } },
    { "monitor", [](const Texts &words) { vesk_sta_mon_set(STA.data(), word(words, 0)); } },
    { "end-monitor", [](const Texts &words) { vesk_sta_mon_remove(STA.data(), word(words, 0)); } },
    { "start-monitor", [](const Texts &) { vesk_start_sta_mon_timer(); } },
    { "stop-monitor", [](const Texts &) { vesk_stop_sta_mon_timer(); } },
    { "check-monitor", [](const Texts &) { vesk_sta_mon_routine_check(nullptr); } },
    // scans
    { "channels",
      [](const Texts &words) { begin_scans(range_of(words.at(0)), range_of(words.at(1))), watch_calls(); } },
    { "init-scans", init_scans },
    { "end-scans", [](const Texts &) { vesk_destory_scan_info(); } },
    { "reset-scans", [](const Texts &) { vesk_reset_scan_info(); } },
    { "reset-scan-flags", [](const Texts &) { vesk_reset_scan_status(); } },
    { "flags", set_flags },
    { "scanning", [](const Texts &words) { vesk_set_scan_status(word<uint32_t>(words, 0)); } },
    { "auto-connect", [](const Texts &words) { vesk_set_bsta_auto_status(word<uint32_t>(words, 0)); } },
    { "scan-timer", [](const Texts &) { vesk_start_scan_ubus_timer(); } },
    { "stop-scan-timer", [](const Texts &) { vesk_stop_scan_ubus_timer(); } },
    { "first-timer", band_and_interval(vesk_start_first_scan_ubus_timer) },
    { "stop-first-timer", band_of_words(vesk_stop_first_scan_ubus_timer) },
    { "period-timer", band_and_interval(vesk_start_period_scan_ubus_timer) },
    { "result-timer", band_and_interval(vesk_start_scan_result_ubus_timer) },
    { "first-scan", scan_first },
    { "first-handler", [](const Texts &) { vesk_scan_2G_first_ubus_handle(nullptr); } },
    { "retrigger", band_of_words(vesk_retrigger_scan) },
    { "step", band_of_words(vesk_scan_process) },
    { "result",
      [](const Texts &words) {
          for (int i = word(words, 1, 1); i > 0; i--)
              (word(words, 0) ? vesk_scan_5GA_result_ubus_handle : vesk_scan_2G_result_ubus_handle)(nullptr);
      } },
    { "smooth", [](const Texts &words) { vesk_smooth_channel_noise(scan, word<uint32_t>(words, 0)); } },
    { "visited", [](const Texts &words) { scan_mark_visited(scan_cfg(word<uint32_t>(words, 0)), word(words, 1)); } },
    { "all-visited", [](const Texts &words) { memset(scan_cfg(word<uint32_t>(words, 0))->chScanned, 1, 256); } },
    { "lose-record", [](const Texts &words) { free(std::exchange(scan->channels[word(words, 0)], nullptr)); } },
    { "fetch", [](const Texts &words) { scan_fetch_neighbors(scan, scan_cfg(1), word<uint32_t>(words, 0)); } },
    { "print-neighbors", [](const Texts &) { vesk_print_scan_info(); } },
    { "put-neighbor", put_neighbors },
    { "measure", measure },
    { "ready-check", [](const Texts &) { vesk_check_all_ready(); } },
    { "credential-timer", [](const Texts &) { vesk_start_backhaul_credential_timer(); } },
    { "auto-connect-timer", band_and_interval(vesk_start_bsta_auto_connect_timer) },
    { "stop-auto-connect-timer", band_of_words(vesk_stop_bsta_auto_connect_timer) },
    { "timer-service", [](const Texts &) { vesk_start_timer_service(); } },
    // the device and the rest
    { "add-vap", [](const Texts &words) { fakeDevice.addVap(word(words, 0), words.at(1)); } },
    { "list-vap", [](const Texts &words) { fakeDevice.vaps.push_back({ .name = words.at(0) }); } },
    { "frame",
      [](const Texts &words) { fakeDevice.assocFrame.assign(word<size_t>(words, 0), word<uint8_t>(words, 1)); } },
    { "own-object", own_object },
    { "vesk-object", [](const Texts &) { vesk_get_ubus_obj(); } },
    { "add-object", [](const Texts &) { vesk_add_ubus_obj(); } },
    { "watch-sibling", [](const Texts &) { vesk_start_app_mon_timer(); } },
    { "end-watch", [](const Texts &) { vesk_stop_app_mon_timer(); } },
    { "fail-alloc", [](const Texts &words) { fakeLibc.failAlloc = word(words, 0); } },
    { "unhook", [](const Texts &) { rowWorld.hooks.clear(); } },
    { "log-nowhere", [](const Texts &) { vesk_get_vesk_info()->logFile = nullptr; } },
    { "dump", [](const Texts &) { vesk_print(); } },
    { "clear",
      [](const Texts &) { fake_clear_log(), fakeDevice.log.clear(), fakeBus.signals.clear(), fakeBus.calls.clear(); } },
};
