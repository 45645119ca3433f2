// Requests to stations and vendor elements: the compact bus record is repacked into the driver's wider one. A
// count or length beyond the record's own limits is refused before the driver sees it; the driver's code is
// the result otherwise.
#include "bus/vesk_api/vesk_api.h"

#include <cstring>

#include "bus/vesk_api/api_private.h"

namespace
{
/** Whether all counts of a beacon request stay within its arrays. */
bool beacon_counts_fit(const WireBeaconReq *req, VeskLogSite caller = VESK_CALLER)
{
    if (!api_in_range(req->listNums, 0, VESK_WIRE_BCN_CHANNELS + 1, caller) ||
        !api_in_range(req->elementNums, 0, VESK_WIRE_BCN_ELEMENTS + 1, caller))
        return false;
    for (int i = 0; i < req->elementNums; i++)
        if (!api_in_range(req->elements[i].length, 0, VESK_WIRE_BCN_ELEMENT_LEN + 1, caller))
            return false;
    return true;
}

void repack_beacon(RilkBeaconReq *to, const WireBeaconReq *from)
{
    static_assert(offsetof(WireBeaconReq, listNums) == offsetof(RilkBeaconReq, ssid));
    memset(to, 0, sizeof *to);
    memcpy(to, from, offsetof(RilkBeaconReq, ssid)); // alike so far
    memcpy(to->ssid, from->ssid, strnlen(from->ssid, sizeof from->ssid - 1));
    to->elementNums = from->elementNums;
    for (int i = 0; i < from->elementNums; i++) {
        to->elements[i].id = from->elements[i].id;
        to->elements[i].length = from->elements[i].length;
        memcpy(to->elements[i].data, from->elements[i].data, from->elements[i].length);
    }
    to->listNums = from->listNums;
    memcpy(to->list, from->list, from->listNums);
    to->value4 = from->value4;
}

using VendorIECall = int (*)(const char *, uint32_t, const uint8_t *, uint32_t);

int apply_vendor_ie(VendorIECall apply, const WireVendorIE *ie, const char *ifName,
                    VeskLogSite caller = VESK_CALLER)
{
    if (ie->dataLen > VESK_WIRE_IE_LEN) {
        api_in_range(static_cast<int>(ie->dataLen), 0, VESK_WIRE_IE_LEN + 1,
                     caller); // negative from 2^31 on: out too
        return -1;
    }
    const ApiName inner = api_inner_name(ifName);
    return apply(inner.text, ie->pktType, ie->data, ie->dataLen);
}
} // namespace

int vesk_setBeaconRequest(const char *vapName, const WireBeaconReq *bcnReq)
{
    VESK_LOG(DEBUG, " call vesk set beacon request\n\n");
    if (!vapName || !beacon_counts_fit(bcnReq))
        return -1;
    RilkBeaconReq req;
    repack_beacon(&req, bcnReq);
    const ApiName inner = api_inner_name(vapName);
    return rilk_sendBeaconReq(inner.text, &req);
}

int vesk_setBTMRequest(const char *vapName, const WireBtmReq *btmReq)
{
    VESK_LOG(DEBUG, " call vesk set BTM request\n\n");
    if (!api_in_range(btmReq->targetNums, 0, VESK_WIRE_BTM_TARGETS + 1))
        return -1;
    static_assert(offsetof(WireBtmReq, targets) == offsetof(RilkBtmReq, targets));
    RilkBtmReq req = {};
    memcpy(&req, btmReq, offsetof(RilkBtmReq, targets)); // alike so far
    for (int i = 0; i < btmReq->targetNums; i++)
        memcpy(&req.targets[i], &btmReq->targets[i], sizeof btmReq->targets[i]);
    const ApiName inner = api_inner_name(vapName); // stays empty without a name
    return rilk_sendBTMReq(inner.text, &req);
}

int vesk_addVendorIE(const WireVendorIE *vendorIE)
{
    char ifName[VESK_IFNAME_SIZE + 1] = {}; // the field may lack its terminator
    memcpy(ifName, vendorIE->ifName, sizeof vendorIE->ifName);
    VESK_LOG(DEBUG, " ifName=%s, pktType=%d, dataLen=%d\r\n\n", ifName, static_cast<int>(vendorIE->pktType),
             static_cast<int>(vendorIE->dataLen));
    return apply_vendor_ie(rilk_addVendorIE, vendorIE, ifName);
}

int vesk_delVendorIE(const WireVendorIE *vendorIE)
{
    char ifName[VESK_IFNAME_SIZE + 1] = {};
    memcpy(ifName, vendorIE->ifName, sizeof vendorIE->ifName);
    VESK_LOG(DEBUG, " ifName=%s, pktType=%d\r\n\n", ifName, static_cast<int>(vendorIE->pktType));
    return apply_vendor_ie(rilk_delVendorIE, vendorIE, ifName);
}
