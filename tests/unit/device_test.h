// What the tests of the device model share: fresh fakes and records, and a model that has been filled once.
#pragma once

#include "source/vesk_interface/interface_private.h"
#include "source/vesk_scan/vesk_scan.h"
#include "tests/unit/common.h"

struct DeviceTest : testing::Test {
    VeskRadioInfo *radio = vesk_get_radio_info();
    VeskVapInfo *vap = vesk_get_vap_info();
    VeskOffScanCfg *scan = vesk_get_scan_info();
    void SetUp() override {
        fake_reset(), fake_load_product();
        fakeLibc.runSystem = false;
    }
    static void fill() { vesk_update_radio_info(), vesk_update_vap_info(), fakeDevice.log.clear(); }
    VeskVapInfo &vap_of(const char *name) { return vap[vesk_getVapIdxByName(name)]; }
};
