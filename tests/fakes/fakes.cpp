// Reset of everything between tests, capture of the log and of stderr, and the default device.
#include "tests/fakes/fakes.h"

#include <cstdio>
#include <cstdlib>

#include "source/vesk_main/records.h"

void fake_reset_uloop();

namespace
{
struct Capture {
    char *text = nullptr;
    size_t size = 0;
    FILE *stream = nullptr;

    void start()
    {
        if (stream) {
            rewind(stream);
            ftruncate_memory();
        } else {
            stream = open_memstream(&text, &size);
        }
    }
    void ftruncate_memory()
    {
        fseek(stream, 0, SEEK_SET);
        fputc('\0', stream);
        fseek(stream, 0, SEEK_SET);
        fflush(stream);
    }
    std::string get()
    {
        fflush(stream);
        return { text, static_cast<size_t>(ftell(stream)) };
    }
};

Capture logCapture;
Capture errCapture;

void default_radio(int i, int32_t band, const char *name, std::initializer_list<int> channels)
{
    FakeRadio &r = fakeDevice.radio[i];
    snprintf(r.ap.radioIfname, 16, "%s", name);
    r.hul.radioId = i;
    r.hul.isAcsEnabled = 1;
    r.hul.isEnabled = 1;
    r.dyn.bw = i;
    snprintf(r.dyn.bond, sizeof r.dyn.bond, "%s", band ? "HT80" : "HT40");
    snprintf(r.dyn.operatingStandards, 32, "%s", band ? "a,n,ac,ax" : "b,g,n,ax");
    int n = 0;
    for (int ch : channels) {
        r.channels.chList[n] = static_cast<uint8_t>(ch);
        r.channels.chAttr[n] = static_cast<uint16_t>(0x100 + ch);
        n++;
    }
    r.channels.chListNums = n;
}

void cfg_vap(VeskCfgVap &row, int index, const char *name, const char *mode)
{
    row.DataModelIndex = static_cast<uint8_t>(index);
    snprintf(row.InterfaceName, sizeof row.InterfaceName, "%s", name);
    snprintf(row.Mode, sizeof row.Mode, "%s", mode);
}
} // namespace

void fake_reset()
{
    fakeDevice = FakeDevice{};
    fakeBus = FakeBus{};
    fakeLibc = FakeLibc{};
    fake_reset_uloop();
    default_radio(0, 0, "wifi0", { 1, 6, 11 });
    default_radio(1, 3, "wifi1", { 36, 40, 44, 48 });
    fakeDevice.radio[0].channel = 6;
    fakeDevice.radio[1].channel = 36;
    fakeDevice.addVap(0, "ath0");
    fakeDevice.addVap(0, "ath1", 0x40);
    fakeDevice.addVap(1, "ath10");
    fakeDevice.addVap(1, "ath11", 0x40);

    free(vesk_get_sta_info()->staDb.pool);
    free(vesk_get_sta_info()->staDb.list.buckets);
    memset(static_cast<void *>(vesk_get_vesk_info()), 0, sizeof(VeskInfo));
    memset(static_cast<void *>(vesk_get_radio_info()), 0, sizeof(VeskRadioInfo) * VESK_RADIOS);
    memset(static_cast<void *>(vesk_get_vap_info()), 0, sizeof(VeskVapInfo) * VESK_VAPS);
    memset(static_cast<void *>(vesk_get_sta_info()), 0, sizeof(VeskStaInfo));
    memset(static_cast<void *>(vesk_get_scan_info()), 0, sizeof(VeskOffScanCfg));
    memset(static_cast<void *>(vesk_get_dot1q_cfg()), 0, sizeof(VeskDot1qCfg));

    logCapture.start();
    errCapture.start();
    stderr = errCapture.stream; // the sanitizers write to the descriptor and are not caught by this
    vesk_get_vesk_info()->logFile = logCapture.stream;
    vesk_get_vesk_info()->logLevel = 7;
}

std::string fake_log()
{
    return logCapture.get();
}

void fake_clear_log()
{
    logCapture.start();
}

std::string fake_stderr()
{
    return errCapture.get();
}

std::vector<FakeLogLine> fake_log_lines()
{
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
            lines.push_back({ part[1], part[2], part[3].substr(0, part[3].rfind(':')), entry });
        }
    }
    return lines;
}

bool fake_logged(const std::string &level, const std::string &message)
{
    for (const FakeLogLine &line : fake_log_lines())
        if ((level.empty() || line.level == level) && line.message == message)
            return true;
    return false;
}

void fake_load_product()
{
    VeskConfigInfo *cfg = vesk_get_vesk_cfg_info();
    cfg->NumberOfWifiRadios = 2;
    cfg->wifiNum = 2;
    snprintf(cfg->EnabledInterfaceNames1905, sizeof cfg->EnabledInterfaceNames1905, "eth0,ath0.v0,ath10.v0");
    const char *bands[2] = { "2.4GHZ", "5GHZ" };
    const char *names[2][3] = { { "ath0.v0", "ath1.v0", "apcli0" }, { "ath10.v0", "ath11.v0", "apclii0" } };
    for (int i = 0; i < 2; i++) {
        VeskCfgWifi &wifi = cfg->Wifi[i];
        snprintf(wifi.OperatingFrequencyBand, sizeof wifi.OperatingFrequencyBand, "%s", bands[i]);
        wifi.heMcsLen = 12;
        wifi.vapNum = 3;
        for (int v = 0; v < 3; v++)
            cfg_vap(wifi.Vap[v], v, names[i][v], v == 2 ? "sta" : "ap");
    }
}
