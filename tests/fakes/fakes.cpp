// Reset of everything between tests, capture of the log and of stderr, and the default device.
#include "tests/fakes/fakes.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "source/vesk_interface/interface_private.h"
#include "source/vesk_main/records.h"
#include "source/vesk_scan/scan_private.h"

namespace {
struct Capture {
    char *text = nullptr;
    size_t size = 0;
    FILE *stream = nullptr;

    void start() {
        if (!stream) stream = open_memstream(&text, &size);
        rewind(stream);
        fputc('\0', stream);
        rewind(stream);
        fflush(stream);
    }
    std::string get() {
        fflush(stream);
        return { text, static_cast<size_t>(ftell(stream)) };
    }
};

Capture logCapture;
Capture errCapture;

void default_radio(int i, int operating, std::initializer_list<int> channels) {
    FakeRadio &r = fakeDevice.radio[i];
    strcpy(r.ap.radioIfname, i ? "wifi1" : "wifi0");
    r.hul.radioId = r.dyn.bw = i;
    r.hul.isAcsEnabled = r.hul.isEnabled = 1;
    r.channel = operating;
    strcpy(r.dyn.bond, i ? "HT80" : "HT40");
    strcpy(r.dyn.operatingStandards, i ? "a,n,ac,ax" : "b,g,n,ax");
    for (int ch : channels) {
        r.channels.chList[r.channels.chListNums] = static_cast<uint8_t>(ch);
        r.channels.chAttr[r.channels.chListNums++] = static_cast<uint16_t>(0x100 + ch);
    }
}

template <class T>
void clear(T *records, size_t count = 1) {
    memset(static_cast<void *>(records), 0, count * sizeof(T));
}
} // namespace

void fake_reset() {
    fakeDevice = FakeDevice{};
    fakeBus = FakeBus{};
    fakeLibc = FakeLibc{};
    fakeLoop = FakeLoop{};
    default_radio(0, 6, { 1, 6, 11 });
    default_radio(1, 36, { 36, 40, 44, 48 });
    fakeDevice.addVap(0, "ath0"), fakeDevice.addVap(0, "ath1", 0x40);
    fakeDevice.addVap(1, "ath10"), fakeDevice.addVap(1, "ath11", 0x40);

    free(vesk_get_sta_info()->staDb.pool);
    free(vesk_get_sta_info()->staDb.list.buckets);
    clear(vesk_get_radio_info(), VESK_RADIOS), clear(vesk_get_vap_info(), VESK_VAPS);
    clear(vesk_get_vesk_info()), clear(vesk_get_sta_info()), clear(vesk_get_scan_info()), clear(vesk_get_dot1q_cfg());
    clear(vesk_get_model_state()), clear(vesk_get_scan_state());

    logCapture.start();
    errCapture.start();
    stderr = errCapture.stream; // the sanitizers write to the descriptor and are not caught by this
    vesk_get_vesk_info()->logFile = logCapture.stream;
    vesk_get_vesk_info()->logLevel = 7;
}

// clang-format off
std::string fake_log() { return logCapture.get(); }
void fake_clear_log() { logCapture.start(), errCapture.start(); }
std::string fake_stderr() { return errCapture.get(); }
// clang-format on

std::vector<FakeLogLine> fake_log_lines() {
    static constexpr const char *start = "VESK > ";
    std::vector<FakeLogLine> lines;
    for (const std::string &log : { fake_log(), fake_stderr() }) {
        for (size_t at = log.find(start); at != std::string::npos;) {
            const size_t next = log.find(start, at + 1);
            std::string entry = log.substr(at, next == std::string::npos ? next : next - at);
            at = next;
            std::string part[4]; // time, level, module, function:line
            for (std::string &p : part) {
                const size_t bar = entry.find(" | ");
                p = entry.substr(0, bar);
                entry.erase(0, bar + 3);
                p.erase(p.find_last_not_of(' ') + 1);
            }
            lines.push_back({ part[1], part[3].substr(0, part[3].rfind(':')), entry });
        }
    }
    return lines;
}

bool fake_logged(const std::string &level, const std::string &message, const std::string &function) {
    return std::ranges::any_of(fake_log_lines(), [&](const FakeLogLine &line) {
        return (level.empty() || line.level == level) && line.message == message &&
               (function.empty() || line.function == function);
    });
}

void fake_load_product() {
    VeskConfigInfo *cfg = vesk_get_vesk_cfg_info();
    cfg->NumberOfWifiRadios = cfg->wifiNum = 2;
    strcpy(cfg->EnabledInterfaceNames1905, "eth0,ath0.v0,ath10.v0");
    const char *names[2][3] = { { "ath0.v0", "ath1.v0", "apcli0" }, { "ath10.v0", "ath11.v0", "apclii0" } };
    for (int i = 0; i < 2; i++) {
        VeskCfgWifi &wifi = cfg->Wifi[i];
        strcpy(wifi.OperatingFrequencyBand, i ? "5GHZ" : "2.4GHZ");
        wifi.heMcsLen = 12;
        wifi.vapNum = 3;
        for (uint8_t v = 0; v < 3; v++) {
            wifi.Vap[v].DataModelIndex = v;
            strcpy(wifi.Vap[v].InterfaceName, names[i][v]);
            strcpy(wifi.Vap[v].Mode, v == 2 ? "sta" : "ap");
        }
    }
}
