// The daemon as scanning sees it: a filled device model, the default configuration, nothing armed yet.
#pragma once

#include "source/vesk_scan/scan_private.h"
#include "tests/unit/device_test.h"

using Channels = std::vector<uint8_t>;
using Numbers = std::vector<int64_t>;

struct ScanTest : DeviceTest {
    void SetUp() override { restart(); }
    void TearDown() override { vesk_destory_scan_info(); }

    /** A fresh daemon; also between the rows of a table. */
    void restart(const Channels &channels0 = { 1, 6, 11 }, const Channels &channels1 = { 36, 40, 44, 48 }) {
        vesk_destory_scan_info();
        DeviceTest::SetUp();
        scan->scanEnable = scan->scanEnableCfg = 1, scan->firstScanItv = 10;
        for (uint32_t i = 0; i < 2; i++) {
            const Channels &channels = i == 0 ? channels0 : channels1;
            fakeDevice.radio[i].channels.chListNums = static_cast<int32_t>(channels.size());
            std::copy(channels.begin(), channels.end(), fakeDevice.radio[i].channels.chList);
            VeskScanCfg *cfg = scan_cfg(i);
            cfg->scanItv = 60, cfg->dwellMax = 150, cfg->rxThd = cfg->txThd = 10, cfg->noiseEval = 5;
        }
        fill();
    }
    static void set_flags(uint32_t band, uint8_t isFirstScan, uint8_t isScanEnd, int cycScanSend) {
        VeskScanCfg *cfg = scan_cfg(band);
        cfg->isFirstScan = isFirstScan, cfg->isScanEnd = isScanEnd, cfg->cycScanSend = cycScanSend;
    }
    /** isFirstScan, isScanEnd, cycScanSend, alreadyScanCount. */
    static Numbers flags(uint32_t band) {
        const VeskScanCfg *cfg = scan_cfg(band);
        return { cfg->isFirstScan, cfg->isScanEnd, cfg->cycScanSend, cfg->alreadyScanCount };
    }
    /** The library calls since the last time, "name args" each, without the library's name. */
    static Texts calls() {
        Texts found;
        for (const FakeCall &call : std::exchange(fakeDevice.log, {}))
            found.push_back(call.name.substr(call.name.find('_') + 1) + " " + call.args);
        return found;
    }
    static bool logged(const std::string &message) { return fake_logged("", message); }
};

inline Channels channel_range(int first, int count) {
    Channels channels;
    for (int i = 0; i < count; i++) channels.push_back(static_cast<uint8_t>(first + i));
    return channels;
}
