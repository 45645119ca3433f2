// The start: every initialiser runs to its end before the next one. Timers that they arm fire only from the
// main loop on, because nothing serves the event loop earlier.
#include <cstdio>
#include <malloc.h>

#include "bus/stub.h"
#include "include/merka.h"
#include "source/vesk_config/vesk_config.h"
#include "source/vesk_drelm/vesk_drelm.h"
#include "source/vesk_interface/vesk_interface.h"
#include "source/vesk_main/log.h"
#include "source/vesk_main/records.h"
#include "source/vesk_main/vesk_main.h"
#include "source/vesk_scan/vesk_scan.h"

namespace
{
/** Otherwise glibc gives each scanning thread a heap of its own, 64 KiB and more that stay resident. */
void share_one_heap()
{
#ifdef M_ARENA_MAX
    mallopt(M_ARENA_MAX, 1);
#endif
}

/** Radio 0 after a second, radio 1 the configured interval later. */
void start_first_scans()
{
    VESK_LOG_AS("vesk_start_pthread", INFO, " vesk_start_pthread\n");
    vesk_start_first_scan_ubus_timer(0, 1);
    vesk_start_first_scan_ubus_timer(1, static_cast<uint32_t>(vesk_get_scan_info()->firstScanItv + 1));
}
} // namespace

int main()
{
    share_one_heap();
    vesk_wait_for_bus();
    if (vesk_lock_instance() != 0)
        return -1;
    fputs("Vesk is starting ... \n", stderr);
    vesk_hold_signals();
    uloop_init();
    vesk_init_signals();
    vesk_init_log();
    vesk_load_cfg();
    vesk_init_device_info();
    vesk_init_dev_event();
    vesk_init_scan_info();
    start_first_scans();
    vesk_print();
    register_vesk_service(); // a failure is in the library's log; the daemon runs on without its object
    vesk_get_ubus_obj();
    vesk_check_all_ready();
    merkaMainLoop();
    return 0;
}
