// Who the daemon is.
#include "source/vesk_main/version.h"

#include <cstring>

int vesk_getVersionInfo(WireVersionInfo *info)
{
    memset(info, 0, sizeof *info);
    memcpy(info->name, "vesk", sizeof "vesk");
    memcpy(info->version, VESK_VERSION, sizeof VESK_VERSION);
    return 0;
}
