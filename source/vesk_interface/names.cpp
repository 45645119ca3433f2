// Who is who: radios and VAPs by number and by name, and the two forms of an interface's name. The inner name
// is what the libraries and the records use; the outer name, with ".v0" behind it, is what the bus shows.
#include <cstring>

#include "foundation/vesk_utils.h"
#include "source/vesk_interface/interface_private.h"
#include "source/vesk_main/log.h"
#include "source/vesk_main/records.h"

namespace
{

constexpr char outerSuffix[] = ".v0";
constexpr char plainNameChip[] = "MTK7915IDU"; // a device with this chip has no outer form

/** Whether a VAP of this name has exactly this attribute. */
bool has_attr(const char *name, uint8_t attr)
{
    const int idx = vesk_getVapIdxByName(name);
    return idx >= 0 && vesk_get_vap_info()[idx].vapAttr == attr;
}

/** One radio with the chip is enough for the whole device. */
bool has_plain_names()
{
    const VeskRadioInfo *radio = vesk_get_radio_info();
    for (int i = 0; i < VESK_RADIOS; i++)
        if (strncmp(radio[i].chipName, plainNameChip, sizeof radio[i].chipName) == 0)
            return true;
    return false;
}

} // namespace

int vesk_getRadioIdxByBand(int actualBand)
{
    const VeskRadioInfo *radio = vesk_get_radio_info();
    for (int i = 0; i < VESK_RADIOS; i++)
        if (radio[i].actualBand == actualBand)
            return i;
    return -1;
}

int vesk_getRadioIdxByName(const char *name)
{
    const VeskRadioInfo *radio = vesk_get_radio_info();
    for (int i = 0; name != nullptr && i < VESK_RADIOS; i++)
        if (strcmp(radio[i].apIntf.radioIfname, name) == 0)
            return i;
    return -1;
}

int vesk_getVapIdxByName(const char *name)
{
    const VeskVapInfo *vap = vesk_get_vap_info();
    for (int i = 0; name != nullptr && i < VESK_VAPS; i++)
        if (strcmp(vap[i].ifName, name) == 0)
            return i;
    return -1;
}

uint32_t vesk_find_vap_slot(const char *name)
{
    if (name == nullptr)
        return 0;
    const VeskVapInfo *vap = vesk_get_vap_info();
    uint32_t slot = 0;
    while (slot < VESK_VAPS && vap[slot].ifName[0] != '\0' && strcmp(vap[slot].ifName, name) != 0)
        slot++;
    return slot;
}

uint8_t vesk_is_active_radio(const VeskRadioInfo *radio)
{
    if (radio == nullptr || radio->apIntf.radioIfname[0] == '\0')
        return 0;
    return radio->status;
}

bool vesk_is_bsta_intf(const char *name)
{
    return has_attr(name, VESK_VAP_BSTA);
}

bool vesk_is_backhaul_intf(const char *name)
{
    return has_attr(name, VESK_VAP_BBSS);
}

bool vesk_is_active_ap_interface(const VeskVapInfo *vap)
{
    if (vap == nullptr)
        return false;
    VESK_LOG(DEBUG, " vap->ifName=%s, vap->band=%d, vap->mode=%s, vap->status=%d\n", vap->ifName, vap->band,
             vap->mode, vap->status);
    if (vap->ifName[0] == '\0' || vap->band < 0 || vap->band >= VESK_RADIOS)
        return false;
    return vesk_get_radio_info()[vap->band].status != 0 && vap->status != 0 && strcmp(vap->mode, "ap") == 0;
}

int vesk_get_intf_inner_name(char *dst, const char *src)
{
    if (dst == nullptr || src == nullptr)
        return -1;
    VESK_LOG(DEBUG, " %s, %d, %s\n\n", __func__, __LINE__, src);
    char inner[VESK_IFNAME_SIZE + 1] = {};
    memcpy(inner, src, strnlen(src, VESK_IFNAME_SIZE));
    if (char *dot = strchr(inner, '.'))
        *dot = '\0';
    inner[VESK_IFNAME_SIZE - 1] = '\0';
    VESK_LOG(DEBUG, " out tmp name = %s\n\n", inner);
    vesk_util_strncpy(dst, inner, VESK_IFNAME_SIZE);
    return 0;
}

// With the suffix 14 characters survive; a name without one keeps 15.
int vesk_get_intf_outer_name(char *dst, const char *src)
{
    if (dst == nullptr || src == nullptr)
        return -1;
    VESK_LOG(DEBUG, " %s, %d, %s\n\n", __func__, __LINE__, src);
    char outer[VESK_IFNAME_SIZE] = {};
    if (has_plain_names() || vesk_is_bsta_intf(src)) {
        vesk_util_strncpy(outer, src, sizeof outer);
    } else {
        constexpr size_t size = sizeof outer - 1;
        vesk_util_strncpy(outer, src, size);
        const size_t length = strlen(outer);
        vesk_util_strncpy(outer + length, outerSuffix, size - length);
    }
    vesk_util_strncpy(dst, outer, VESK_IFNAME_SIZE);
    return 0;
}

int vesk_update_intf_mapping()
{
    return 0;
}
