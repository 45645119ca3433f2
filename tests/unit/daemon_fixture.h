// The whole daemon on the fakes: started as main() does, from real files, asked everything that its object
// offers.
#pragma once

#include <cjson/cJSON.h>
#include <sys/stat.h>

#include "include/vesk_methods.h"
#include "tests/unit/bus_call.h"

using Answers = std::map<std::string, std::vector<uint8_t>>; // method: status and record, of both radios

struct DaemonTest : testing::Test {
    static void SetUpTestSuite() {
        put_file("/tmp/kor-product-cfg.json", R"({"ProductParameters":{"NumberOfWifiRadios":2,"Wifi":[
            {"OperatingFrequencyBand":"2.4GHZ","Vap":[{"InterfaceName":"ath0.v0","Mode":"ap"},
                {"InterfaceName":"ath1.v0","Mode":"ap"},{"InterfaceName":"apcli0","Mode":"sta"}]},
            {"OperatingFrequencyBand":"5GHZ","Vap":[{"InterfaceName":"ath10.v0","Mode":"ap"}]}]}})");
        // Put away through malloc and free as this program links them, so that its allocations can fail, too.
        cJSON_Hooks hooks = { [](size_t size) { return malloc(size); }, [](void *p) { free(p); } };
        cJSON_InitHooks(&hooks);
    }
    static void TearDownTestSuite() { cJSON_InitHooks(nullptr); }
    void SetUp() override { reset(); }
    void TearDown() override { stop(); }

    static void reset() {
        stop(), fake_reset();
        fakeLibc.runSystem = false; // commands only seem to run
        mkdir("/configs/vesk", 0755);
        put_file("/configs/vesk/vesk_debug_flag", "");
        put_file("/configs/vesk/vesk.conf", "VESK_SCAN_CONFIG=1\nVESK_SCAN_FIRST_INTERVAL=10\nVESK_LOG_LEVEL=3\n");
        fakeDevice.addStation("ath1", { 2, 0, 0, 0, 0, 0x77 }); // on ath0 it would hold up the periodic scan
        for (FakeRadio &radio : fakeDevice.radio) {
            radio.stats.counters[0] = 7, radio.cur.noise = -90, radio.nol = { 1, { 44 } };
            radio.excluded = { 1, { { radio.channels.chList[2], 0, 0 } } };
        }
        for (FakeVap &vap : fakeDevice.vaps) vap.stats.counters[0] = 8;
        for (int channel : { 1, 6, 11, 36, 40, 44, 48 }) {
            VeskScanNeighbor &neighbor = fakeDevice.neighbors[channel].emplace_back();
            neighbor.ch = fakeDevice.scan[channel].ch = channel;
            strcpy(neighbor.bssid, "02:aa:00:00:00:01");
        }
    }
    static void start() {
        vesk_load_cfg(), vesk_init_device_info(), vesk_init_dev_event(), vesk_init_scan_info();
        vesk_start_first_scan_ubus_timer(0, 1), vesk_start_first_scan_ubus_timer(1, 11);
        vesk_print(), register_vesk_service(), vesk_get_ubus_obj(), vesk_check_all_ready();
        fake_advance(100s);
    }
    static void stop() {
        vesk_destory_scan_info(), vesk_deinit_devide_info(), vesk_deinit_dev_event(), vesk_sta_mon_destroy();
        csrv_clear_timers(), vesk_get_vesk_info()->cfgInfo = {};
    }

    static BusReply call(const WireMethod &method, int band) {
        static const std::map<std::string, Bytes> records = {
            // where zeros are refused
            { "data", Bytes(8).i32(4, 5) }, // a channel
            { "bh", Bytes(172).text(4, "apcli0").text(20, "home").text(85, "key").i32(152, 1, 1) },
            { "vendorIE", Bytes(280).text(0, "ath0.v0").i32(16, 1).u8(20, 0xdd).i32(276, 6) },
            { "monStaInfo", Bytes(12).mac(4, 0x99).u8(10, 6) },
            { "aclMac", Bytes(12).mac(4, 0x77) },
            { "bcnReq", Bytes(1235).mac(0, 0x77) },
            { "btmReq", Bytes(268).mac(0, 0x77) }
        };
        const char *name = band == 0 ? "ath1.v0" : "ath10.v0";
        Args args;
        for (const WireField &field : method.args) {
            const auto record = records.find(field.name ? field.name : "");
            if (field.type == WireType::Int32)
                args.i32(field.name, band);
            else if (field.type == WireType::String)
                args.text(field.name, strstr(field.name, "mac") ? "02:00:00:00:00:77" : name);
            else if (field.type == WireType::Record)
                args.record(field.name, record == records.end() ? Bytes(field.size) : record->second);
        }
        return bus_call(method.name, args);
    }
    static Answers answers() {
        Answers all;
        for (const WireMethod &method : vesk_methods)
            for (int band : { 0, 3 }) {
                const BusReply reply = call(method, band);
                EXPECT_TRUE(reply.sent) << method.name;
                std::vector<uint8_t> &bytes = all[method.name];
                bytes.push_back(static_cast<uint8_t>(reply.status));
                bytes.insert(bytes.end(), reply.result.begin(), reply.result.end());
            }
        fake_advance(5s); // what they put off
        return all;
    }
    /** Names of the methods that answer otherwise, a blank behind each. */
    static std::string differing(const Answers &now, const Answers &before) {
        std::string names;
        for (const auto &[method, bytes] : now)
            if (bytes != before.at(method)) names += method + " ";
        return names;
    }
    /** ERROR messages since the reset that aren't in `usual`, each once. */
    static std::set<std::string> errors(const std::set<std::string> &usual = {}) {
        const Texts all = messages("ERROR");
        std::set<std::string> found(all.begin(), all.end());
        std::erase_if(found, [&](const std::string &message) { return usual.contains(message); });
        return found;
    }
};
