// The configuration file: settings, then the file; each line of it also alone.
#include "source/vesk_config/vesk_config.h"
#include "source/vesk_main/records.h"
#include "tests/fuzz/world.h"
#include "tests/unit/test_files.h"

#include <sys/stat.h>

void fuzz_one(FuzzInput in) {
    fuzz_reset(in.byte());
    mkdir("/configs/vesk", 0755);
    put_file("/configs/vesk/vesk.conf", { in.at, in.at + in.left });
    vesk_load_cfg();
    const VeskOffScanCfg &scan = *vesk_get_scan_info();
    fuzz_expect(scan.firstScanItv >= 0 && scan.firstScanItv <= 3600 && scan.scanCfg[0].scanItv >= 5);
    while (in.left > 0) {
        const auto *end = std::find(in.at, in.at + in.left, '\n');
        const std::vector<uint8_t> line = in.take(static_cast<size_t>(end - in.at) + 1);
        std::vector<uint8_t> text(line.size() + 1);
        std::copy(line.begin(), line.end(), text.begin());
        const int value = vesk_cfg_get_int(reinterpret_cast<const char *>(text.data()), -7, 1, 100);
        fuzz_expect(value == -7 || (value >= 1 && value <= 100));
    }
}
