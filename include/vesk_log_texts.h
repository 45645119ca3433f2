// Texts of the daemon's log that others read: veskctl explains the daemon's doings from them. A statement and
// its readers take the text from here, so that neither can change alone.
#pragma once

/** In front of every message: local time without the year, level, module, function and line. */
#define VESK_LOG_PREFIX "VESK > %.19s | %-7s | %-15s | %s:%d | "

// Start and readiness.
#define VESK_TEXT_VERSION " vesk version [%s] load vesk conf %s, %d\n"
#define VESK_TEXT_ROLE " vesk start work role = %d\n"
#define VESK_TEXT_CONTROLLER " Current role: HUL_CONTROLLER. Skip waiting first scan, create ready file.\n"
#define VESK_TEXT_READY_CHECKS_BEGIN " vesk_start_check_all_ready_ubus_timer\n"
#define VESK_TEXT_NOT_READY " Not ready continue checkCnt = %d\n"
#define VESK_TEXT_READY " Create ready file checkCnt=%d\n"
#define VESK_TEXT_UNSELECTED " The node is UNSELECTED AP ,scan not reay\n"
#define VESK_TEXT_RADIO_END " isend[%d]=%d, isFirstScan=%d\n"
#define VESK_TEXT_RADIO_ACS_OFF " radioInfo[%d].isAcsEnabled = %d, set radio scan status to end\n"
#define VESK_TEXT_RADIOS_AT_END " count=%d\n"

// First scans.
#define VESK_TEXT_FIRST_CHANNEL                                                                              \
    " usleep=500ms, radio[%d]=%s, name=%s, idx=%d, chIdx=%d, channel=%d, alyScanCnt=%d\r\n\n"
#define VESK_TEXT_FIRST_WHOLE_BAND " usleep=%d, band=%d, chipName=%s\r\n\n"

// Periodic scans: a pass, a radio's step of it, what ends a step, its result.
#define VESK_TEXT_SWITCHES_ITV " scanEnable=%d, scanEnableCfg=%d, itv=%d\n"
#define VESK_TEXT_SWITCHES_BAND_ITV " band=%d, scanEnable=%d, scanEnableCfg=%d, itv=%d\n"
#define VESK_TEXT_SWITCHES " scanEnable=%d, scanEnableCfg=%d\n"
#define VESK_TEXT_PASS " scanEnable=%d, scanEnableCfg=%d, scanItv=%d\n"
#define VESK_TEXT_PASS_OFF " Scan channel metric polling not enabled ---- continue\n"
#define VESK_TEXT_TIMER_OFF " Scan channel metric polling not enabled ----exit\n"
#define VESK_TEXT_STEP_UNSELECTED " The node is UNSELECTED AP - exit\n"
#define VESK_TEXT_STEP_RADIO_DOWN " Radio %s is not enable - exit\n"
#define VESK_TEXT_AUTO_CONNECT " offScan->scanCfg[%d].bstaAuto.enableAuto=%d, scan return\n"
#define VESK_TEXT_STEP_NOT_ALLOWED " band=[%d] is not allowed to scan return!\n"
#define VESK_TEXT_STEP_FIRST_OWED " ====CFG to RGW or AGENT retrigger first scan band=%d ====\n"
#define VESK_TEXT_STEP_FIRST_RUNS " ====First scan is doing now return timer band=%d ====\n"
#define VESK_TEXT_STEP_CHIP_REFRESHES                                                                        \
    " Radio %s chipName %s is not support only update current channel by old acs\n"
#define VESK_TEXT_STEP_CHIP " Radio %s chipName %s is not support - exit\n"
#define VESK_TEXT_STEP_BUSY " band=%d, ccaInbss=%d, ccaTxUtil=%d, out range return\n"
#define VESK_TEXT_STEP_STATION " Has station connected , band=%d do not scan\n"
#define VESK_TEXT_STEP_ACS_OFF " radioInfo[%d].isAcsEnabled = %d, scan return\n"
#define VESK_TEXT_STEP_NO_BASE " Trigger scan base vap interface name is NULL, break\n"
#define VESK_TEXT_STEP_BASE_BACKHAUL " Trigger scan base vap interface is backhaul, break\n"
#define VESK_TEXT_RESULT_2G                                                                                  \
    " band=%d, radio=%s, scanning=%d, chanIdx=%d, offChListNum=%d, alreadyScanCount=%d\n"
#define VESK_TEXT_RESULT_5G " band=%d, scanning=%d, chanIdx=%d, offChListNum=%d, alreadyScanCount=%d\n"

// The state dump, behind the start's lines.
#define VESK_TEXT_DUMP_CHANNELS "    scanCfg[%d]->offChListNums   = %d\n"
#define VESK_TEXT_DUMP_TX_LIMIT "    scanCfg[%d]->txThd           = %d\n"
#define VESK_TEXT_DUMP_RX_LIMIT "    scanCfg[%d]->rxThd           = %d\n"

// Switches, and signals that went out.
#define VESK_TEXT_SET_SCANNING " Set scanning status=%d\r\n\n"
#define VESK_TEXT_SET_STATISTICS " Set interface statistics status=%d\r\n\n"
#define VESK_TEXT_SET_STATIONS " Set client polling status=%d\r\n\n"
#define VESK_TEXT_SET_CHANNELS " Set channel change polling status=%d\r\n\n"
#define VESK_TEXT_SET_OBJECT " Set ubus obj status=%d\r\n\n"
#define VESK_TEXT_LOG_TO_STDERR " vesk_setLogDestinationSignal logFile=%s, level=[%d]\n"
#define VESK_TEXT_LOG_TO_FILE " vesk_setLogDestinationSignal logifle=[%s]\n"
#define VESK_TEXT_SENT_CLIENT " Ubus send successfully [%s] [%s] [%s] [%02x:%02x:%02x:%02x:%02x:%02x]\n"
#define VESK_TEXT_SENT " Ubus send successfully [%s]\n"
