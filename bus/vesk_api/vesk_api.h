// Bodies of the bus methods (getVersionInfo's is the core's): plain functions from decoded arguments to a
// fixed-size record. Each returns the value of the reply's `return` field, 0 or -1 unless stated. A text
// argument is NULL when it was missing and lives only for the call; a result record was zeroed by the stub.
// Main loop only.
#pragma once

#include "include/vesk_wire.h"

int vesk_getRadioCapability(int32_t *rfCfgAbility);
int vesk_getRadioAdvancedCapability(int32_t *rfCfgAdvancedCapability);
int vesk_getRadioHtCap(int band, WireHtCap *htCap);
int vesk_getRadioVhtCap(int band, WireVhtCap *vhtCap);
int vesk_getRadioHeCap(int band, WireHeCap *heCap);
int vesk_getNolChannelList(int band, WireNolList *nolChList);

int vesk_getRadioInfo(int band, WireRadioInfo *radioInfo);
int vesk_getRadioApIntfsInfo(int band, WireApIntfsInfo *apIfacInfo);
int vesk_getRadioIntfStats(int band, WireIntfStats *intfStats);
int vesk_getVapInfo(const char *vapName, WireVapInfo *vapInfo);
int vesk_getVapIntfStats(const char *vapName, WireIntfStats *intfStats);
int vesk_get1905interfacesList(Wire1905List *intfList);

int vesk_getStaInfo(const char *vapName, WireStaInfo *staInfo);
int vesk_getLinkMetrics(const char *local_iface, const char *peer_mac, WireLinkMetrics *metrics);
int vesk_setStaMon(const WireStaMon *monStaInfo);
int vesk_setBlockClient(const char *vapName, const WireAclMac *aclMac);
int vesk_disassocSta(const char *vapName, const char *mac);

int vesk_getCurChannelInfo(int band, WireCurChannelInfo *channelInfo);
int vesk_getOffChannelInfo(int band, WireOffChInfo *offChInfo);
int vesk_getNeighborAPInfo(int band, WireNbAPInfo *nbAPInfo);
int vesk_getChannel(int band, WireChannel *data);
/** The outcome of the previous request: this one is applied 2 seconds later. */
int vesk_setChannel(int band, const WireChannel *data);
int vesk_getEirp(int band, WireEirp *eirp);
int vesk_setEirp(int band, const WireEirp *eirp);
int vesk_triggerScan(int band);
int vesk_getScanStatus(int8_t *scanStatus);
int vesk_getScanCap(int band, WireScanCap *scanCap);
int vesk_getRadioAvaliableChannelList(int band, WireChList *chList);
/** Dwell limits of a radio, milliseconds; no bus method reaches it. */
int vesk_setMinMaxDwellTime(uint32_t band, uint32_t min, uint32_t max);

int vesk_setBeaconRequest(const char *vapName, const WireBeaconReq *bcnReq); // the driver's own code
int vesk_setBTMRequest(const char *vapName, const WireBtmReq *btmReq);
int vesk_addVendorIE(const WireVendorIE *vendorIE);
int vesk_delVendorIE(const WireVendorIE *vendorIE);

int vesk_getBstaIntfInfo(int band, WireBstaIntf *info);
int vesk_applyBackhaulCredentialToBsta(const WireBackhaulCred *bh);
int vesk_setBstaAutoConnect(const WireBstaAuto *autoConnect);

int vesk_getDefault802dot1qSetting(VeskDot1qCfg *cfg);
int vesk_setDefault802dot1qSetting(const VeskDot1qCfg *cfg);
