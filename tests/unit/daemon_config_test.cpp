// The daemon configuration: three values per key, the order of matching, and when the file is written anew.
#include <cstdlib>

#include "tests/unit/common.h"

namespace {
const char conf[] = "/configs/vesk/vesk.conf";

// clang-format off
/** Everything that the file sets: "on1 onCfg0 first15 ...". */
std::string settings() {
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
    for (const VeskScanCfg &c : scan.scanCfg)
        used += snprintf(text + used, 100, " %d:%d-%d/%d/%d/%d", c.scanItv, c.dwellMin, c.dwellMax, c.txThd, c.rxThd, c.noiseEval);
    return text;
}

void load(bool debug, const char *text) {
    fake_reset();
    vesk_get_vesk_info()->logLevel = 6;
    vesk_get_radio_info()->intfSupportTrigger = 1;
    ASSERT_EQ(system("rm -rf /configs/vesk; mkdir /configs/vesk"), 0);
    if (debug) put_file("/configs/vesk/vesk_debug_flag", "");
    if (text) put_file(conf, text);
    vesk_load_cfg();
}

const std::string byDefault = "on1 onCfg0 first15 level6 sink0 intf1 every30 trigger3 stat1/30 sta1/10/75 ch1/5 "
    "30:55-70/50/50/5 30:55-70/50/50/5";
const std::string builtIn = "on1 onCfg1 first10 level6 sink0 intf0 every30 trigger3 stat1/29 sta1/13/80 ch1/5 "
    "60:55-150/10/10/5 60:55-150/10/10/5";
// Lines of a file, and the part of the settings that they change from its default; "": none.
const char *const keys[][3] = {
    { "VESK_SCAN_24G_INTERVAL=5", " 30:55-70/50/50/5 ", " 5:55-70/50/50/5 " }, { "VESK_SCAN_24G_INTERVAL=4294967296", "", "" },
    { "VESK_SCAN_24G_DWELL_MIN=1000", " 30:55-", " 30:1000-" }, { "VESK_SCAN_24G_DWELL_MIN=1001", "", "" },
    { "VESK_SCAN_24G_DWELL_MAX=55", "-70", "-55" }, { "VESK_SCAN_24G_DWELL_MAX=54", "", "" },
    { "VESK_SCAN_24G_TX_THRESHOLD=100", "-70/50", "-70/100" }, { "VESK_SCAN_24G_TX_THRESHOLD=101", "", "" },
    { "VESK_SCAN_24G_RX_THRESHOLD=0", "/50/50", "/50/0" }, { "VESK_SCAN_24G_NOISE_EVALUATE=abc", "/50/5 ", "/50/0 " },
    { "VESK_SCAN_CONFIG=1", "onCfg0", "onCfg1" }, { "VESK_SCAN_CONFIG=2", "on1", "on0" },
    { "VESK_SCAN_FIRST_INTERVAL=0", "first15", "first0" }, { "VESK_SCAN_FIRST_INTERVAL=3601", "", "" },
    { "VESK_LOG_LEVEL=9", "level6", "level3" }, { "VESK_LOG_LEVEL=", "level6", "level3" },
    { "VESK_LOG_SINK=1", "sink0", "sink1" }, { "VESK_LOG_SINK=2", "", "" }, { "VESK_UPDATE_INTF_ENABLE=0", "intf1", "intf0" },
    { "VESK_UPDATE_INTF_INTERVAL=36000", "every30", "every36000" }, { "VESK_TRIGGER_INTF_INTERVAL=36001", "", "" },
    { "VESK_TRIGGER_INTF_INTERVAL=1", "trigger3", "trigger1" }, { "VESK_UPDATE_INTF_STAT_ENABLE=0", "stat1", "stat0" },
    { "VESK_UPDATE_INTF_STAT_INTERVAL=29", "stat1/30", "stat1/29" }, { "VESK_UPDATE_CLIENTS_ENABLE=0", "sta1", "sta0" },
    { "VESK_UPDATE_CLIENTS_INTERVAL=9", "/10/", "/9/" }, { "VESK_UPDATE_CLIENTS_THRESHOLD=80", "/75", "/80" },
    { "VESK_CH_CHANGE_ENABLE=0", "ch1", "ch0" }, { "VESK_CH_CHANGE_INTERVAL=7 seconds", "ch1/5", "ch1/7" },
    { "# VESK_CH_CHANGE_INTERVAL=9", "ch1/5", "ch1/9" }, { "VESK_SCAN_5GH_INTERVAL=100", "", "" },
    { "VESK_SCAN_5GL_INTERVAL=100\nVESK_SCAN_5GA_INTERVAL=200", "50/5 30:", "50/5 200:" },
    { "VESK_SCAN_5GA_INTERVAL=200\nVESK_SCAN_5GL_INTERVAL=100", "50/5 30:", "50/5 100:" }, // the last line wins
    { "VESK_SCAN_INVALID_KEY=77", "50/5 30:", "50/5 77:" }, { "SCAN VESK_LOG_LEVEL=7", "", "" },
};
// clang-format on

TEST(DaemonConfig, EachKeyHasADefaultARangeAndAFallback) {
    for (const auto &[lines, before, after] : keys) {
        SCOPED_TRACE(lines);
        load(true, lines);
        std::string expected = byDefault;
        EXPECT_EQ(settings(), expected.replace(expected.find(before), strlen(before), after));
    }
    EXPECT_EQ(fakeDevice.count("rilk_update_debuglevel"), 0);
    load(true, "\nVESK_SCAN_CONFIG=1\nwhat\nVESK_RILK_LOG_LEVEL=8\n");
    EXPECT_EQ(fakeDevice.calls("rilk_update_debuglevel").at(0).args, "3");
    EXPECT_EQ(std::ranges::count(messages(), " Add your configure\n"),
              3); // for each line outside the scan group
}

TEST(DaemonConfig, TheFileIsReplacedOutsideDebugMode) {
    for (const bool debug : { false, true })
        for (const char *text : { static_cast<const char *>(nullptr), "edited=1\n" }) {
            load(debug, text);
            EXPECT_EQ(vesk_get_radio_info()->intfSupportTrigger, 0); // until the first trigger
            EXPECT_EQ(settings(), debug && text ? byDefault : builtIn);
            EXPECT_EQ(file_text(conf).size(), debug && text ? 9 : 1054);
        }
    fakeLibc.runSystem = false;
    remove(conf), vesk_load_cfg();
    EXPECT_TRUE(fake_logged("INFO", " Open vesk configure file [/configs/vesk/vesk.conf] failed\n"));
    EXPECT_EQ(fake_log_lines().back().function, "vesk_load_platform_config"); // the last act on every path
}
} // namespace
