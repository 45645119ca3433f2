// Readiness: the flag file that the rest of the device waits for is made at once on a controller, otherwise
// when both first scans are over, and 32 seconds after the start in any case.
#include "source/vesk_main/vesk_main.h"
#include "source/vesk_scan/scan_private.h"

namespace
{
constexpr uint32_t checkItv = 2; // seconds
constexpr int waits = 15;        // checks that may put the flag off

void vesk_start_check_all_ready_ubus_timer()
{
    VeskInfo *info = vesk_get_vesk_info();
    if (info->workRole == HUL_CONTROLLER) {
        VESK_LOG(INFO, VESK_TEXT_CONTROLLER);
        vesk_create_ready_flag();
        return;
    }
    VESK_LOG(INFO, VESK_TEXT_READY_CHECKS_BEGIN);
    info->checkAllReadyTimer.cb = vesk_check_all_ready_ubus_handle;
    uloop_timeout_set(&info->checkAllReadyTimer, vesk_timer_ms(checkItv));
}
} // namespace

void vesk_check_all_ready()
{
    VESK_LOG(INFO, " vesk_check_all_ready\n");
    hul_EM_getWorkRole(&vesk_get_vesk_info()->workRole);
    vesk_start_check_all_ready_ubus_timer();
}

void vesk_check_all_ready_ubus_handle(uloop_timeout *timer)
{
    VESK_LOG(INFO, " vesk_check_all_ready_ubus_handle itv=2\n");
    int32_t *checkCnt = &vesk_get_scan_state()->checkCnt;
    if (vesk_first_scanning_is_end() == 0 && *checkCnt < waits) {
        VESK_LOG(INFO, VESK_TEXT_NOT_READY, *checkCnt);
        ++*checkCnt;
        if (timer != nullptr)
            uloop_timeout_set(timer, vesk_timer_ms(checkItv));
        return;
    }
    VESK_LOG(INFO, VESK_TEXT_READY, *checkCnt);
    vesk_create_ready_flag();
    vesk_stop_check_all_ready_ubus_timer();
}

void vesk_stop_check_all_ready_ubus_timer()
{
    VESK_LOG(INFO, " vesk_stop_check_all_ready_ubus_timer\n");
    uloop_timeout_cancel(&vesk_get_vesk_info()->checkAllReadyTimer);
}
