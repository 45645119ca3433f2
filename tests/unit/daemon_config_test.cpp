// The daemon configuration: three values per key, the order of matching, and when the file is written anew.
#include "tests/unit/daemon_settings.h"

namespace {
// clang-format off
const std::string builtIn = "on1 onCfg1 first10 level6 sink0 intf0 every30 trigger3 stat1/29 sta1/13/80 ch1/5 "
    "24G:60:55-150/10/10/5 5G:60:55-150/10/10/5";
// clang-format on

TEST(DaemonConfig, LinesOutsideTheScanGroup) {
    load_settings(true, "\nVESK_SCAN_CONFIG=1\nwhat\nVESK_RILK_LOG_LEVEL=8\n");
    EXPECT_EQ(fakeDevice.calls("rilk_update_debuglevel").at(0).args, "3");
    EXPECT_EQ(std::ranges::count(messages(), " Add your configure\n"), 3); // for each of them
}

TEST(DaemonConfig, TheFileIsReplacedOutsideDebugMode) {
    for (const bool debug : { false, true })
        for (const char *text : { static_cast<const char *>(nullptr), "edited=1\n" }) {
            load_settings(debug, text);
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
