// The product file: settings, then the file.
#include "source/vesk_config/vesk_config.h"
#include "source/vesk_main/records.h"
#include "tests/fuzz/world.h"
#include "tests/unit/test_files.h"

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzInput in{ data, size };
    fake_reset();
    fakeLibc.statFails = true;
    vesk_get_vesk_info()->logLevel = in.byte() & 7;
    put_file("/tmp/kor-product-cfg.json", { in.at, in.at + in.left });
    vesk_load_platform_config();
    const VeskConfigInfo &cfg = *vesk_get_vesk_cfg_info();
    fuzz_expect(cfg.appNum <= VESK_CFG_APPS && cfg.wifiNum <= VESK_CFG_WIFI &&
                cfg.ethernetNum <= VESK_CFG_ETHERNET);
    for (const VeskCfgWifi &wifi : cfg.Wifi)
        fuzz_expect(wifi.vapNum <= VESK_CFG_VAPS && memchr(wifi.InterfaceName, 0, sizeof wifi.InterfaceName));
    return 0;
}
