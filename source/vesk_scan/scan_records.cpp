// The scan record: lists and tables are built from the radio records at start and torn down at the end. Here
// too are the run-time switch and the look-ups on the record.
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "foundation/vesk_utils.h"
#include "source/vesk_scan/scan_private.h"

namespace
{
constexpr int neighborSlots = VESK_SCAN_CHANNELS * VESK_SCAN_NEIGHBORS_PER_CHANNEL;

VeskScanState scanState;

/** One radio's part of the lists, from its full channel list. */
void set_radio_list(VeskOffScanCfg *offScan, uint32_t band)
{
    const VeskRadioInfo *radio = scan_radio(band);
    VeskScanCfg *cfg = scan_cfg(band);
    cfg->offChListNums = vesk_clamp_count(radio->chListNums, VESK_SCAN_CHANNELS);
    for (int i = 0; i < cfg->offChListNums; i++) {
        cfg->offChList[i] = radio->curchList[i];
        if (offScan->channelNums < VESK_SCAN_CHANNELS)
            offScan->channelList[offScan->channelNums++] = radio->curchList[i];
    }
    vesk_util_strncpy(cfg->radio, radio->apIntf.radioIfname, sizeof cfg->radio);
}

void vesk_set_off_scan_channel_list()
{
    VeskOffScanCfg *offScan = vesk_get_scan_info();
    offScan->channelNums = 0;
    for (uint32_t band = 0; band < VESK_SCAN_RADIOS; band++) {
        set_radio_list(offScan, band);
        VESK_LOG(INFO, " offChListNums=%d, radio=%s\n", scan_cfg(band)->offChListNums, scan_cfg(band)->radio);
    }
    VESK_LOG(INFO, " offScan->channelNums=%d\n", offScan->channelNums);
}

void init_radio(uint32_t band)
{
    VeskScanCfg *cfg = scan_cfg(band);
    flag_store(&cfg->isFirstScan, 1);
    flag_store(&cfg->alreadyScanCount, 0);
    flag_store(&cfg->cycScanSend, 0);
    flag_store(&cfg->isScanEnd, 0);
    cfg->bstaAutoTimer = -1;
    rilk_setMinMaxDwellTime(cfg->radio, cfg->dwellMin, cfg->dwellMax);
    const char *chip = scan_radio(band)->chipName;
    cfg->isSupportScan = strncmp(chip, "MTK7592", sizeof scan_radio(band)->chipName) != 0;
    scan_clear_visited(cfg);
    vesk_start_scan_ubus_timer();
}

void free_channels(VeskOffScanCfg *offScan)
{
    if (offScan->channels == nullptr)
        return;
    for (int i = 0; i < offScan->channelNums; i++)
        free(offScan->channels[i]);
    free(offScan->channels);
    offScan->channels = nullptr;
}

/** The result records and the neighbour table. False, with what was taken still in place, without memory. */
bool alloc_tables(VeskOffScanCfg *offScan)
{
    const auto count = static_cast<size_t>(offScan->channelNums);
    offScan->neighbors = nullptr;
    offScan->channels = static_cast<VeskScanChannel **>(calloc(count + 1, sizeof(VeskScanChannel *)));
    if (offScan->channels == nullptr)
        return false;
    for (size_t i = 0; i < count; i++) {
        offScan->channels[i] = static_cast<VeskScanChannel *>(calloc(1, sizeof(VeskScanChannel)));
        if (offScan->channels[i] == nullptr)
            return false;
    }
    offScan->neighbors = static_cast<VeskScanNeighbor **>(calloc(neighborSlots, sizeof(VeskScanNeighbor *)));
    return offScan->neighbors != nullptr;
}

void vesk_destory_neighbor_ap()
{
    VESK_LOG(INFO, " vesk_destory_neighbor_ap\n");
    VeskOffScanCfg *offScan = vesk_get_scan_info();
    if (offScan->neighbors == nullptr)
        return;
    for (int i = 0; i < neighborSlots; i++) {
        free(offScan->neighbors[i]);
        offScan->neighbors[i] = nullptr;
    }
    free(offScan->neighbors);
    offScan->neighbors = nullptr;
}

void stop_timers()
{
    vesk_stop_check_all_ready_ubus_timer();
    vesk_stop_backhaul_credential_timer();
    vesk_stop_scan_ubus_timer();
    for (uint32_t band = 0; band < VESK_SCAN_RADIOS; band++) {
        vesk_stop_first_scan_ubus_timer(band);
        vesk_stop_period_scan_ubus_timer(band);
        vesk_stop_scan_result_ubus_timer(band);
    }
}

/** Whether the VAP of this name is up and an access point. Runs on scan threads, too. */
bool can_carry_scan(const char (&name)[VESK_IFNAME_SIZE])
{
    for (int i = 0; i < VESK_VAPS; i++) {
        const VeskVapInfo &vap = vesk_get_vap_info()[i];
        char ifName[sizeof vap.ifName], mode[sizeof vap.mode];
        shared_get(ifName, vap.ifName);
        if (strcmp(ifName, name) != 0)
            continue;
        shared_get(mode, vap.mode);
        return flag_load(&vap.status) != 0 && strstr(mode, "ap") != nullptr;
    }
    return false;
}

void print_neighbor(int row, int slot, const VeskScanNeighbor *entry)
{
    VeskScanNeighbor neighbor;
    memcpy(&neighbor, entry, sizeof neighbor); // a scan thread's library call may be renewing it
    if (neighbor.ch <= 0)
        return;
    neighbor.bssid[sizeof neighbor.bssid - 1] = '\0';
    neighbor.ssid[sizeof neighbor.ssid - 1] = '\0';
    fprintf(stderr, "j=%d, i=%d, ch=%d, bssid=%s, ssid=%s, rssi=%d\r\n", row, slot, neighbor.ch,
            neighbor.bssid, neighbor.ssid, neighbor.rssi);
}
} // namespace

VeskScanState *vesk_get_scan_state()
{
    return &scanState;
}

void vesk_init_scan_info()
{
    VESK_LOG(INFO, " vesk_init_scan_info\n");
    VeskOffScanCfg *offScan = vesk_get_scan_info();
    vesk_set_off_scan_channel_list();
    rilk_initScanChannelList(offScan->channelList, offScan->channelNums);
    for (uint32_t band = 0; band < VESK_SCAN_RADIOS; band++)
        init_radio(band);
    if (alloc_tables(offScan))
        return;
    VESK_LOG(ERROR, " channel or neighbor calloc NULL\n");
    free_channels(offScan);
    offScan->channelNums = 0; // no position is found any more: both radios count as without channels
}

void vesk_destory_scan_info()
{
    stop_timers();
    if (!scan_stop_threads()) {
        VESK_LOG(ERROR, " a first scan is still in the driver, its tables stay\n");
        return;
    }
    free_channels(vesk_get_scan_info());
    vesk_destory_neighbor_ap();
}

void vesk_reset_scan_status()
{
    VESK_LOG(INFO, " Reset scan data flag!!\n");
    for (uint32_t band = 0; band < VESK_SCAN_RADIOS; band++)
        flag_store(&scan_cfg(band)->cycScanSend, 0);
    vesk_get_scan_info()->scanTime = static_cast<int32_t>(time(nullptr));
}

void vesk_reset_scan_info()
{
    VeskOffScanCfg *offScan = vesk_get_scan_info();
    if (offScan->needResetScan == 0)
        return;
    VESK_LOG(INFO, " Reset scan data !!\n");
    for (uint32_t band = 0; band < VESK_SCAN_RADIOS; band++)
        scan_radio(band)->curChannelInfo = {};
    vesk_destory_scan_info();
    vesk_init_scan_info();
    offScan->needResetScan = 0;
}

void vesk_print_scan_info()
{
    const VeskOffScanCfg *offScan = vesk_get_scan_info();
    fprintf(stderr, "channelNums=%d\r\n", offScan->channelNums);
    if (offScan->neighbors == nullptr)
        return;
    for (int row = 0; row < offScan->channelNums; row++) {
        for (int slot = 0; slot < VESK_SCAN_NEIGHBORS_PER_CHANNEL; slot++) {
            const VeskScanNeighbor *entry = offScan->neighbors[row * VESK_SCAN_NEIGHBORS_PER_CHANNEL + slot];
            if (entry != nullptr)
                print_neighbor(row, slot, entry);
        }
    }
}

void vesk_set_scan_status(uint32_t enable)
{
    VeskOffScanCfg *offScan = vesk_get_scan_info();
    const auto status = static_cast<uint8_t>(enable);
    const int blocking = scan_auto_radio();
    if (status != 0 && blocking >= 0) {
        VESK_LOG(INFO, " offScan->scanCfg[%d].bstaAuto.enableAuto=%d, not enable scan\n", blocking,
                 scan_auto_enabled(blocking));
        flag_store(&offScan->scanEnable, 0);
        return;
    }
    flag_store(&offScan->scanEnable, status);
    VESK_LOG(INFO, " set offScan->scanEnable = %d\n", status);
}

uint8_t vesk_get_scan_status()
{
    return flag_load(&vesk_get_scan_info()->scanEnable);
}

void vesk_get_base_vap(uint32_t band, char *dst)
{
    if (band >= VESK_SCAN_RADIOS || dst == nullptr)
        return;
    VeskApIntfInfo intf;
    shared_get(intf, scan_radio(band)->apIntf);
    const int count = vesk_clamp_count(intf.vapNums, VESK_WIRE_VAPS);
    for (int i = 0; i < count; i++) {
        if (!can_carry_scan(intf.vapIfname[i]))
            continue;
        VESK_LOG(INFO, " found the baseVap=%s\r\n\n", intf.vapIfname[i]);
        memcpy(dst, intf.vapIfname[i], sizeof intf.vapIfname[i]);
        return;
    }
}

int vesk_find_channel_idx(uint32_t channel, const uint32_t *list, int count)
{
    for (int i = 0; i < count; i++) {
        if (list[i] == channel)
            return i;
    }
    return -1;
}

VeskScanChannel *vesk_scan_channel_at(int chIdx)
{
    const VeskOffScanCfg *offScan = vesk_get_scan_info();
    if (offScan->channels == nullptr || chIdx < 0 || chIdx >= offScan->channelNums)
        return nullptr;
    return offScan->channels[chIdx];
}
