// Start and stop of the device model: the first fill of all records, then every poller and monitor that keeps
// them current. The order of both is fixed; the records themselves outlive the stop.
#include "foundation/csrv_timer.h"
#include "foundation/kvhmgr.h"
#include "include/rilk.h"
#include "source/vesk_drelm/vesk_drelm.h"
#include "source/vesk_interface/interface_private.h"
#include "source/vesk_main/log.h"
#include "source/vesk_main/records.h"
#include "source/vesk_main/timer_service.h"
#include "source/vesk_station/vesk_station.h"

namespace
{
VeskModelState modelState;
} // namespace

VeskModelState *vesk_get_model_state()
{
    return &modelState;
}

void vesk_init_device_info()
{
    rilk_initDriver(); // before any other driver call
    vesk_update_radio_info();
    vesk_update_vap_info();
    vesk_update_intf_stats(); // counters are there before the first bus call

    VeskStaInfo *store = vesk_get_sta_info();
    store->timeId = -1;
    store->timeEventId = -1;
    kvhmgr_init(&store->staDb, VESK_STA_BUCKETS, VESK_STATIONS, sizeof(VeskStaEntry), vesk_sta_hash,
                vesk_sta_mac_cmp);

    vesk_start_timer_service();
    vesk_start_intf_timer();
    vesk_start_intf_stat_timer();
    vesk_start_sta_timer();
    vesk_start_channel_change_timer();
    vesk_start_sta_mon_timer();
    vesk_start_app_mon_timer();
    vesk_init_g_sta_cap();
}

void vesk_deinit_devide_info()
{
    VESK_LOG(INFO, " vesk_stop_intf_timer\n");
    VeskRadioInfo &radio0 = vesk_get_radio_info()[0];
    if (radio0.intfTimeId != -1)
        csrv_stop_timer(radio0.intfTimeId);
    radio0.intfTimeId = -1;
    vesk_stop_intf_stat_timer();
    vesk_stop_intf_event_timer();
    vesk_stop_channel_change_timer();
    vesk_stop_sta_timer();
    kvhmgr_deinit(&vesk_get_sta_info()->staDb);
    vesk_stop_sta_mon_timer();
    vesk_stop_app_mon_timer();
    vesk_stop_timer_service();
}
