// What a step of rows/*.rows can ask for beside fields: "NAME(WORD) == ANSWER".
#include "tests/unit/rows_words.h"

namespace {
/** Values of these bytes, a blank between them. */
std::string listed(const Texts &values) {
    std::string all;
    for (const std::string &value : values) all += value + " ";
    return all;
}

/** The settings that aren't what an empty file gives. */
std::string changed_settings(const std::string &) {
    Texts changed;
    const Texts now = split(settings()), before = split(byDefault);
    for (size_t i = 0; i < now.size(); i++)
        if (now[i] != before.at(i)) changed.push_back(now[i]);
    return listed(changed);
}

std::string names_of(const char *outer, const char *given) {
    char name[32] = {}, other[17] = {};
    strcpy(name, given);
    return outer ? (vesk_get_intf_outer_name(name, name), name) : (vesk_get_intf_inner_name(other, name), other);
}

/** Of the station with this last byte; no byte: of the events' one. */
std::string capability(const std::string &last) {
    uint8_t cap[3] = {};
    const Bytes mac = last.empty() ? STA : stored_mac(number<uint8_t>(last));
    return vesk_get_sta_cap(mac.data(), cap) == 0 ? words(+cap[0], +cap[1]) : "unknown";
}

std::string heard_on(const std::string &channel) {
    const VeskStaMon *node = vesk_sta_mon_get(STA.data(), number<int>(channel));
    return node ? words(+node->channel, node->ifName, node->rssi, node->lastProbeTime) : "nothing";
}

/** isFirstScan, isScanEnd, cycScanSend, alreadyScanCount */
std::string flags(const std::string &band) {
    const VeskScanCfg &cfg = *scan_cfg(number<uint32_t>(band));
    return words(+cfg.isFirstScan, +cfg.isScanEnd, cfg.cycScanSend, cfg.alreadyScanCount);
}

std::string sequence(const std::string &) {
    std::string all;
    for (const FakeCall &made : fakeDevice.log) all += made.name + " " + made.args + "; ";
    return all;
}

/** Milliseconds in sleeps of half a second at most: longer ones are deaf to the end. */
std::string slept(const std::string &) {
    unsigned us = 0;
    for (const unsigned each : fakeLibc.sleepsUs) us += each <= 500000 ? each : 0;
    return words(us / 1000);
}

/** How much the number behind this word has grown from its first line of the log to its last. */
std::string growth(const std::string &word) {
    const std::string log = fake_log();
    const auto behind = [&](size_t at) { return atoi(log.c_str() + at + word.size()); };
    return words(behind(log.rfind(word)) - behind(log.find(word)));
}

/** The functions that logged, in order, each with its level's first letter. */
std::string trace(const std::string &) {
    std::string all;
    for (const FakeLogLine &line : fake_log_lines()) all += line.function + ":" + line.level[0] + " ";
    return all;
}

/** A log that goes nowhere shows its lines on stderr. */
std::string log_goes(const std::string &) {
    const FILE *file = vesk_get_vesk_info()->logFile;
    return !file ? "nowhere" : file == stderr ? "stderr" : "file";
}

std::string lines_of(const std::string &function) {
    return words(std::ranges::count(fake_log_lines(), function, &FakeLogLine::function));
}

std::string dwell(const std::string &limits) {
    const Texts each = split(limits);
    return words(vesk_setMinMaxDwellTime(number<uint32_t>(each.at(0)), number<uint32_t>(each.at(1)),
                                         number<uint32_t>(each.at(2))));
}

/** FUNCTION NUMBER: what its call of this number was given, from 0. */
std::string nth(const std::string &asked) {
    return fakeDevice.calls(split(asked)[0]).at(number<size_t>(split(asked).at(1))).args;
}

/** TEXT: its bytes, or why there are none. */
std::string mac_of(const std::string &text) {
    uint8_t mac[6] = { 9, 9, 9, 9, 9, 9 };
    char shown[18];
    const int rc = vesk_utils_str2mac(text.c_str(), mac);
    vesk_utils_mac2str(mac, shown);
    return words(rc, shown);
}

std::string reply(const std::string &) {
    const BusReply &last = rowWorld.reply;
    return listed(last.fields) + words(last.resultType);
}
} // namespace

const std::map<std::string, std::function<std::string(const std::string &word)>> rowQuestions = {
    // the device's calls
    { "calls", [](const std::string &name) { return words(fakeDevice.count(name)); } },
    { "asked", [](const std::string &) { return words(fakeDevice.log.size()); } },
    { "sequence", sequence },
    { "times", [](const std::string &name) { return rowWorld.times[name]; } },
    { "nth", nth },
    { "sent-at-last-call", [](const std::string &) { return words(rowWorld.sentAtLastCall); } },
    { "scanning-at-last-call", [](const std::string &) { return words(rowWorld.scanningAtLastCall); } },
    { "slept", slept },
    { "commands", [](const std::string &) { return listed(fakeLibc.systems); } },
    { "pipes", [](const std::string &) { return listed(fakeLibc.popens) + words(fakeLibc.openPipes); } },
    // the bus
    { "signals", [](const std::string &) { return words(fakeBus.signals.size()); } },
    { "bus", [](const std::string &) { return fakeBus.calls.empty() ? "" : fakeBus.calls.back(); } },
    { "bus-calls", [](const std::string &) { return words(fakeBus.calls.size()); } },
    { "reply", reply },
    { "fatal", [](const std::string &) { return replaced(listed(fakeBus.fatal), "\n", "\\n"); } },
    { "register", [](const std::string &) { return words(register_vesk_service()); } },
    { "switch", [](const std::string &index) { return vesk_inbound_signals()[number<size_t>(index)].signal; } },
    // the log
    { "lines", [](const std::string &level) { return words(messages(level).size()); } },
    { "lines-of", lines_of },
    { "trace", trace },
    { "growth", growth },
    { "log", log_goes },
    { "removed", [](const std::string &path) { return words(remove(path.c_str())); } },
    // timers
    { "due",
      [](const std::string &timer) {
          return words(fakeLoop.due(static_cast<uloop_timeout *>(find_field(timer).at)));
      } },
    { "timers", [](const std::string &) { return words(fakeLoop.pendingTimers()); } },
    { "service-timers", [](const std::string &) { return words(csrv_timer_count()); } },
    // stations
    { "stored", [](const std::string &) { return words(kvhlist_count(&vesk_get_sta_info()->staDb.list)); } },
    { "fronthaul", [](const std::string &) { return words(vesk_is_connected_fronthaul_station()); } },
    { "capability", capability },
    { "heard", heard_on },
    { "monitor", [](const std::string &channel) { return words(vesk_sta_mon_set(STA.data(), number<int>(channel))); } },
    { "monitor-nobody", [](const std::string &) { return words(vesk_sta_mon_set(nullptr, 1)); } },
    { "monitor-all",
      [](const std::string &last) {
          int refused = 0;
          for (int channel = 1; channel <= number<int>(last); channel++)
              refused += vesk_sta_mon_set(STA.data(), channel);
          return words(refused);
      } },
    // names and numbers
    { "slot", [](const std::string &name) { return words(vesk_getVapIdxByName(name.c_str())); } },
    { "active",
      [](const std::string &name) {
          return words(vesk_is_active_ap_interface(vesk_get_vap_info() + vesk_getVapIdxByName(name.c_str())));
      } },
    { "outer", [](const std::string &name) { return names_of("", name.c_str()); } },
    { "inner", [](const std::string &name) { return names_of(nullptr, name.c_str()); } },
    { "band-of-channel", [](const std::string &ch) { return words(vesk_utils_get_band_by_channel(number<int>(ch))); } },
    { "frequency", [](const std::string &ch) { return words(vesk_utils_channel_to_freq(number<int>(ch))); } },
    { "radio-of-band", [](const std::string &band) { return words(vesk_utils_mapping_band(number<int>(band))); } },
    { "mac", mac_of },
    // scans
    { "scanning", [](const std::string &) { return words(+vesk_get_scan_status()); } },
    { "flags", flags },
    { "end-of-first-scans", [](const std::string &) { return words(vesk_first_scanning_is_end()); } },
    { "base", [](const std::string &band) { return std::string(scan_param(number<uint32_t>(band), 36).baseVap); } },
    { "is-visited",
      [](const std::string &position) { return words(scan_is_visited(scan_cfg(1), number<int>(position))); } },
    { "tables",
      [](const std::string &) {
          return words(vesk_get_scan_info()->channels != nullptr, vesk_get_scan_info()->neighbors != nullptr);
      } },
    { "noise-bias", [](const std::string &ch) { return words(vesk_get_noise_bias(number<int>(ch))); } },
    { "dwell", dwell },
    // configuration
    { "changed", changed_settings },
    { "load-product", [](const std::string &) { return words(vesk_load_platform_config()); } },
    { "band-row", [](const std::string &band) { return words(vesk_get_cfg_band_idx(number<int>(band))); } },
};
