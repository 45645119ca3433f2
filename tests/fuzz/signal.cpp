// Inbound signals: settings, then the signals, each the row's number and its payload as a piece.
#include "source/vesk_handler/vesk_handler.h"
#include "source/vesk_main/records.h"
#include "source/vesk_main/vesk_main.h"
#include "tests/fuzz/world.h"

void fuzz_one(FuzzInput in) {
    fuzz_start(in.byte());
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
