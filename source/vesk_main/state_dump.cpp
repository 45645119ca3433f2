// The model as it stands at the end of start-up, written to the log once, and a copy of the log that outlives
// its rotations. Read-only; every line stands under the name of vesk_print.
#include "source/vesk_main/vesk_main.h"

#include <cstdio>
#include <cstdlib>

#include "foundation/clamp.h"
#include "foundation/shared.h"
#include "foundation/vesk_utils.h"
#include "source/vesk_config/vesk_config.h"
#include "source/vesk_main/log.h"
#include "source/vesk_main/records.h"
#include "source/vesk_scan/vesk_scan.h"

namespace
{
constexpr char stepOf[] = "vesk_print"; // the steps below log under its name

struct ListText {
    char text[512];
};
struct ChannelText {
    char text[1024]; // 64 numbers of up to ten digits, each with a blank
};

template <class T>
constexpr int size_of = static_cast<int>(sizeof(T));

/** The non-zero channels of a radio, each followed by a blank. */
ListText channel_text(const VeskRadioInfo &radio)
{
    ListText list = {};
    size_t used = 0;
    for (int i = 0; i < vesk_clamp_count(radio.chListNums, VESK_WIRE_CHANNELS); i++)
        if (radio.curchList[i] != 0)
            used += static_cast<size_t>(
                snprintf(list.text + used, sizeof list.text - used, "%d ", radio.curchList[i]));
    return list;
}

/** A radio's VAP names, each followed by a blank. */
ListText vap_text(const VeskApIntfInfo &ap)
{
    ListText list = {};
    size_t used = 0;
    for (int i = 0; i < vesk_clamp_count(ap.vapNums, VESK_WIRE_VAPS); i++)
        used += static_cast<size_t>(
            snprintf(list.text + used, sizeof list.text - used, "%.16s ", ap.vapIfname[i]));
    return list;
}

ChannelText number_text(const uint32_t *channels, int count)
{
    ChannelText list = {};
    vesk_utils_translate_channelInt2Str(channels, vesk_clamp_count(count, VESK_SCAN_CHANNELS), list.text,
                                        size_of<ChannelText>);
    return list;
}

void dump_sizes()
{
    VESK_LOG_AS(stepOf, INFO, " Vesk print\n");
    VESK_LOG_AS(stepOf, INFO, " VeskRadioInfo size  = %d\n", size_of<VeskRadioInfo>);
    VESK_LOG_AS(stepOf, INFO, " VeskVapInfo size    = %d\n", size_of<VeskVapInfo>);
    VESK_LOG_AS(stepOf, INFO, " VeskOffScanCfg size = %d\n", size_of<VeskOffScanCfg>);
    VESK_LOG_AS(stepOf, INFO, " VeskInfo size = %d\n", size_of<VeskInfo>);
}

void dump_radio(int i)
{
    const VeskRadioInfo &radio = vesk_get_radio_info()[i];
    const VeskApIntfInfo &ap = radio.apIntf;
    VESK_LOG_AS(stepOf, INFO,
                " VeskRadioInfo info :\n"
                "    radio[%d]->status      = %d\n"
                "    radio[%d]->band        = %d\n"
                "    radio[%d]->actualBand  = %d\n"
                "    radio[%d]->txPower     = %f\n"
                "    radio[%d]->curChannel  = %d\n"
                "    radio[%d]->curBw       = %d\n"
                "    radio[%d]->intfNums    = %d\n"
                "    radio[%d]->bond        = %.8s\n"
                "    radio[%d]->chListNums  = %d\n"
                "    radio[%d]->curchList   = %s\n"
                "    radio[%d]->radioIfname = %.16s\n"
                "    radio[%d]->vapNums     = %d\n"
                "    radio[%d]->vapIfname   = %s\n",
                i, radio.status, i, radio.band, i, radio.actualBand, i, static_cast<double>(radio.txPower), i,
                radio.curChannel, i, radio.curBw, i, radio.intfNums, i, radio.bond, i, radio.chListNums, i,
                channel_text(radio).text, i, ap.radioIfname, i, ap.vapNums, i, vap_text(ap).text);
}

void dump_vap(int i)
{
    const VeskVapInfo &vap = vesk_get_vap_info()[i];
    if (vap.ifName[0] == '\0')
        return;
    char bssid[18] = {};
    vesk_utils_mac2str(vap.bssid, bssid);
    VESK_LOG_AS(stepOf, INFO,
                " VeskVapInfo info :\n"
                "    vapInfo[%d]->radio    = %.16s\n"
                "    vapInfo[%d]->ifName   = %.16s\n"
                "    vapInfo[%d]->mode     = %.32s\n"
                "    vapInfo[%d]->bssid    = %s\n"
                "    vapInfo[%d]->status   = %d\n"
                "    vapInfo[%d]->staNums  = %d\n"
                "    vapInfo[%d]->band     = %d\n",
                i, vap.radio, i, vap.ifName, i, vap.mode, i, bssid, i, vap.status, i, vap.staNums, i,
                vap.band);
}

void dump_scan()
{
    const VeskOffScanCfg &scan = *vesk_get_scan_info();
    VESK_LOG_AS(stepOf, INFO,
                " VeskOffScanCfg info :\n"
                "    offScan->scanEnable  = %d\n"
                "    offScan->channelList = %s\n"
                "    offScan->channelNums = %d\n",
                flag_load(&scan.scanEnable), number_text(scan.channelList, scan.channelNums).text,
                scan.channelNums);
}

void dump_scan_radio(int i)
{
    const VeskScanCfg &cfg = vesk_get_scan_info()->scanCfg[i];
    VESK_LOG_AS(stepOf, INFO,
                " VeskOffScanCfg info :\n"
                "    scanCfg[%d]->radio           = %.16s\n"
                "    scanCfg[%d]->offChList       = %s\n" VESK_TEXT_DUMP_CHANNELS
                "    scanCfg[%d]->dwellMin        = %d\n"
                "    scanCfg[%d]->dwellMax        = %d\n"
                "    scanCfg[%d]->scanItv         = %d\n" VESK_TEXT_DUMP_TX_LIMIT VESK_TEXT_DUMP_RX_LIMIT
                "    scanCfg[%d]->isFirstScan     = %d\n"
                "    scanCfg[%d]->noiseEval       = %d\n",
                i, cfg.radio, i, number_text(cfg.offChList, cfg.offChListNums).text, i, cfg.offChListNums, i,
                cfg.dwellMin, i, cfg.dwellMax, i, cfg.scanItv, i, cfg.txThd, i, cfg.rxThd, i,
                flag_load(&cfg.isFirstScan), i, cfg.noiseEval);
}

/** The addresses are not known at this point; their labels stay, empty. */
void dump_other()
{
    const VeskRadioInfo &radio = vesk_get_radio_info()[0];
    const VeskStaInfo &stations = *vesk_get_sta_info();
    VESK_LOG_AS(stepOf, INFO,
                " other info :\n"
                "    local mac             = %s\n"
                "    local ip              = %s\n"
                "    work role             = %s\n"
                "    dwell min             = %d\n"
                "    dwell max             = %d\n"
                "    dwell def min         = %d\n"
                "    dwell def max         = %d\n"
                "    scan def itv          = %d\n"
                "    scan def stu          = %d\n"
                "    scan def first itv    = %d\n"
                "    radio intf update itd = %d\n"
                "    radio intf update itv = %d\n"
                "    sta info update itd   = %d\n"
                "    sta info update itv   = %d\n",
                "", "", "Controller", VESK_DWELL_LOW, VESK_DWELL_HIGH, VESK_DWELL_MIN_DEFAULT,
                VESK_DWELL_MAX_DEFAULT, VESK_SCAN_ITV_DEFAULT, vesk_get_scan_status(),
                vesk_get_scan_info()->firstScanItv, radio.intfTimeId, radio.intfPollItv, stations.timeId,
                stations.timeItv);
}

void dump_channels(int count)
{
    for (int i = 0; i < count; i++) {
        const VeskScanChannel *slot = vesk_scan_channel_at(i);
        if (slot == nullptr)
            continue;
        const VeskScanChannel channel = *slot; // the scan threads write the tables without a lock
        if (channel.ch > 0)
            VESK_LOG_AS(stepOf, INFO, " ch=%d,cac=%d,inC=%d,chnUtil=%d,noise=%d\n", channel.ch, channel.cac,
                        channel.inC, channel.chnUtil, channel.noise);
    }
}

void dump_neighbors(int count)
{
    VeskScanNeighbor *const *table = vesk_get_scan_info()->neighbors;
    if (table == nullptr)
        return;
    for (int i = 0; i < count * VESK_SCAN_NEIGHBORS_PER_CHANNEL; i++) {
        if (table[i] == nullptr)
            continue;
        VeskScanNeighbor neighbor = *table[i];
        neighbor.bssid[sizeof neighbor.bssid - 1] = '\0'; // the library's texts may lack their end
        neighbor.ssid[sizeof neighbor.ssid - 1] = '\0';
        if (neighbor.ch > 0)
            VESK_LOG_AS(stepOf, INFO, " ch=%d, bssid=%s, ssid=%s, rssi=%d\n", neighbor.ch, neighbor.bssid,
                        neighbor.ssid, neighbor.rssi);
    }
}

/** Whatever the level and the destination: what stands in the log file is kept. */
void save_log()
{
    char command[256];
    snprintf(command, sizeof command, "cp -rf %s %s 2> /dev/null", VESK_LOG_FILE, VESK_INIT_LOG_FILE);
    [[maybe_unused]] const int status = system(command);
}
} // namespace

void vesk_print()
{
    dump_sizes();
    for (int i = 0; i < VESK_RADIOS; i++)
        dump_radio(i);
    for (int i = 0; i < VESK_VAPS; i++)
        dump_vap(i);
    dump_scan();
    for (int i = 0; i < VESK_RADIOS; i++)
        dump_scan_radio(i);
    dump_other();
    const int channels = vesk_clamp_count(vesk_get_scan_info()->channelNums, VESK_SCAN_CHANNELS);
    dump_channels(channels);
    dump_neighbors(channels);
    save_log();
}
