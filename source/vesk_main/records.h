// Accessors of the daemon's static records. Each returns the one instance and never fails.
#pragma once

#include "include/vesk_device.h"
#include "include/vesk_scan.h"

VeskInfo *vesk_get_vesk_info();
VeskConfigInfo *vesk_get_vesk_cfg_info();
VeskRadioInfo *vesk_get_radio_info(); // array of VESK_RADIOS
VeskVapInfo *vesk_get_vap_info();     // array of VESK_VAPS
VeskStaInfo *vesk_get_sta_info();
VeskOffScanCfg *vesk_get_scan_info();
VeskDot1qCfg *vesk_get_dot1q_cfg(); // gDefault8021dotqCfg: the default VLAN
