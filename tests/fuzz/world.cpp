#include "tests/fuzz/world.h"

#include "foundation/csrv_timer.h"
#include "source/vesk_config/vesk_config.h"
#include "source/vesk_interface/vesk_interface.h"
#include "source/vesk_main/records.h"
#include "source/vesk_scan/vesk_scan.h"
#include "source/vesk_station/vesk_station.h"

void fuzz_reset(uint8_t settings) {
    fake_reset();
    fakeLibc.runSystem = false;
    fakeLibc.statFails = true; // a system call for each log statement would be most of the time
    vesk_get_vesk_info()->logLevel = settings & 7;
}

void fuzz_start(uint8_t settings) {
    vesk_get_vesk_info()->logLevel = 0;
    vesk_destory_scan_info();
    vesk_sta_mon_destroy();
    csrv_clear_timers();
    fuzz_reset(0);
    vesk_load_cfg(); // the defaults: there is no file
    fake_load_product();
    fakeDevice.assocFrame.assign(600, 0x5a); // longer than any buffer for it
    fakeDevice.rc["rilk_getAssocReqFrame"] = settings & 8 ? -1 : 0;
    fakeDevice.addStation("ath0", { 2, 0, 0, 0, 0, 0x77 });
    vesk_init_device_info();
    vesk_init_scan_info();
    vesk_get_vesk_info()->logLevel = settings & 7;
}
