// The product file: settings, then the file.
#include "source/vesk_config/vesk_config.h"
#include "source/vesk_main/records.h"
#include "tests/fuzz/world.h"
#include "tests/unit/test_files.h"

void fuzz_one(FuzzInput in) {
    fuzz_reset(in.byte());
    put_file("/tmp/kor-product-cfg.json", { in.at, in.at + in.left });
    vesk_load_platform_config();
    const VeskConfigInfo &cfg = *vesk_get_vesk_cfg_info();
    fuzz_expect(cfg.appNum <= VESK_CFG_APPS && cfg.wifiNum <= VESK_CFG_WIFI && cfg.ethernetNum <= VESK_CFG_ETHERNET);
    for (const VeskCfgWifi &wifi : cfg.Wifi)
        fuzz_expect(wifi.vapNum <= VESK_CFG_VAPS && memchr(wifi.InterfaceName, 0, sizeof wifi.InterfaceName));
}
