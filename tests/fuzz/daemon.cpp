// What the daemon reads, started anew on the fakes for each input, so that an input always does the same. The first
// byte holds settings: its low three bits the log level, the next one: no frame from the driver.
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include "bus/stub.h"
#include "foundation/csrv_timer.h"
#include "include/vesk_methods.h"
#include "source/vesk_config/vesk_config.h"
#include "source/vesk_drelm/vesk_drelm.h"
#include "source/vesk_handler/vesk_handler.h"
#include "source/vesk_interface/vesk_interface.h"
#include "source/vesk_main/records.h"
#include "source/vesk_main/vesk_main.h"
#include "source/vesk_scan/vesk_scan.h"
#include "source/vesk_station/vesk_station.h"
#include "tests/fakes/fakes.h"
#include "tests/fuzz/input.h"
#include "tests/unit/test_files.h"

namespace {
int sender; // of events

/** Fresh fakes and records. */
void reset(uint8_t settings) {
    fake_reset();
    fakeLibc.runSystem = false;
    fakeLibc.statFails = true; // a system call for each log statement would be most of the time
    vesk_get_vesk_info()->logLevel = settings & 7;
}

/** Started to the point where the main loop would run. */
void start(uint8_t settings) {
    vesk_get_vesk_info()->logLevel = 0;
    vesk_destory_scan_info();
    vesk_sta_mon_destroy();
    csrv_clear_timers();
    reset(0);
    vesk_load_cfg(); // the defaults: there is no file
    fake_load_product();
    fakeDevice.assocFrame.assign(600, 0x5a); // longer than any buffer for it
    fakeDevice.rc["rilk_getAssocReqFrame"] = settings & 8 ? -1 : 0;
    fakeDevice.addStation("ath0", { 2, 0, 0, 0, 0, 0x77 });
    vesk_init_device_info();
    vesk_init_scan_info();
    vesk_get_vesk_info()->logLevel = settings & 7;
}

/** The daemon's descriptor for events, its socket replaced by one end of a pair. */
uloop_fd *intake() {
    static uloop_fd *watched = [] {
        vesk_init_dev_event();
        uloop_fd *fd = fakeLoop.fds.at(0);
        int pair[2];
        fuzz_expect(socketpair(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK, 0, pair) == 0 && dup2(pair[0], fd->fd) == fd->fd);
        sender = pair[1];
        return fd;
    }();
    return watched;
}
} // namespace

/** Driver events: a datagram per piece, through the read callback and a socket of its own. */
void fuzz_datagram(FuzzInput in) {
    start(in.byte());
    uloop_fd *fd = intake();
    while (in.left > 0) {
        const std::vector<uint8_t> datagram = in.piece();
        send(sender, datagram.data(), datagram.size(), 0);
        fd->cb(fd, ULOOP_READ);
    }
    for (const FakeSignal &signal : fakeBus.signals) // frames never claim more bytes than they have
        fuzz_expect(signal.payload.size() != 619 || signal.payload[105] + signal.payload[106] * 256 <= 512);
    fake_advance(2s); // the station poll that a client event brings forward
}

/** Bus calls, each the method's number and its message as a piece. */
void fuzz_method(FuzzInput in) {
    start(in.byte());
    while (in.left > 0) {
        const char *method = vesk_methods[in.byte() % VESK_METHODS].name;
        const std::vector<uint8_t> fields = in.piece();
        std::vector<uint8_t> message(sizeof(blob_attr) + fields.size());
        std::copy(fields.begin(), fields.end(), message.begin() + sizeof(blob_attr));
        auto *head = reinterpret_cast<blob_attr *>(message.data());
        head->id_len = cpu_to_be32(static_cast<uint32_t>(message.size()));
        ubus_request_data request = {};
        onTamloPelkVeskDispatch(nullptr, TamloPelkVesk_object_get(), &request, method, head);
        fake_advance(3s); // what it put off
    }
}

/** Inbound signals, each the row's number and its payload as a piece. */
void fuzz_signal(FuzzInput in) {
    start(in.byte());
    vesk_get_ubus_obj();
    FILE *&log = vesk_get_vesk_info()->logFile;
    while (in.left > 0) {
        FILE *const own = log = fopen("/dev/null", "a"); // a signal may close or replace it
        const MerkaSignalRow &row = vesk_inbound_signals()[in.byte() % vesk_inbound_signals().size()];
        std::vector<uint8_t> payload = in.piece();
        row.handler(row.interface, row.signal, payload.data(), static_cast<int>(payload.size()));
        fake_advance(4s);
        fuzz_expect(vesk_get_vesk_info()->logLevel >= 0 && vesk_get_vesk_info()->logLevel <= 7);
        if (FILE *left = log == stderr ? own : log) // level 99 leaves the old one open
            fclose(left);
        log = nullptr;
    }
}

/** The product file. */
void fuzz_product(FuzzInput in) {
    reset(in.byte());
    put_file("/tmp/kor-product-cfg.json", { in.at, in.at + in.left });
    vesk_load_platform_config();
    const VeskConfigInfo &cfg = *vesk_get_vesk_cfg_info();
    fuzz_expect(cfg.appNum <= VESK_CFG_APPS && cfg.wifiNum <= VESK_CFG_WIFI && cfg.ethernetNum <= VESK_CFG_ETHERNET);
    for (const VeskCfgWifi &wifi : cfg.Wifi)
        fuzz_expect(wifi.vapNum <= VESK_CFG_VAPS && memchr(wifi.InterfaceName, 0, sizeof wifi.InterfaceName));
}

/** The configuration file; each line of it also alone. */
void fuzz_config(FuzzInput in) {
    reset(in.byte());
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
