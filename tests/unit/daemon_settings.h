// The daemon configuration: a file that is loaded, and everything that it sets.
#pragma once

#include <cstdlib>

#include "tests/unit/common.h"

// clang-format off
inline const char conf[] = "/configs/vesk/vesk.conf";

/** Everything that the file sets: "on1 onCfg0 first15 ...". */
inline std::string settings() {
    const VeskOffScanCfg &scan = *vesk_get_scan_info();
    const VeskRadioInfo &radio = *vesk_get_radio_info();
    const VeskStaInfo &sta = *vesk_get_sta_info();
    const VeskInfo &vesk = *vesk_get_vesk_info();
    char text[512];
    int used = snprintf(text, sizeof text,
        "on%d onCfg%d first%d level%d sink%d intf%d every%d trigger%d stat%d/%d sta%d/%d/%d ch%d/%d", scan.scanEnable,
        scan.scanEnableCfg, scan.firstScanItv, vesk.logLevel, vesk.logFile == stderr, radio.intfPollEnable, radio.intfPollItv,
        radio.intfTriggerItv, radio.isIntfStatEnabled, radio.intfStatItv, sta.isStaPollEnabled, sta.timeItv, sta.threshold,
        vesk.chChange.chEventEnable, vesk.chChange.timeItv);
    for (uint32_t band : { 0u, 1u }) {
        const VeskScanCfg c = *scan_cfg(band);
        used += snprintf(text + used, 100, " %s:%d:%d-%d/%d/%d/%d", band ? "5G" : "24G", c.scanItv, c.dwellMin, c.dwellMax,
            c.txThd, c.rxThd, c.noiseEval);
    }
    return text;
}

inline void load_settings(bool debug, const char *text) {
    fake_reset();
    vesk_get_vesk_info()->logLevel = 6;
    vesk_get_radio_info()->intfSupportTrigger = 1;
    ASSERT_EQ(system("rm -rf /configs/vesk; mkdir /configs/vesk"), 0);
    if (debug) put_file("/configs/vesk/vesk_debug_flag", "");
    if (text) put_file(conf, text);
    vesk_load_cfg();
}

inline const std::string byDefault = "on1 onCfg0 first15 level6 sink0 intf1 every30 trigger3 stat1/30 sta1/10/75 ch1/5 "
    "24G:30:55-70/50/50/5 5G:30:55-70/50/50/5";
// clang-format on
