#pragma once

#include "include/vesk_wire.h"

/** Body of the method getVersionInfo. */
int vesk_getVersionInfo(WireVersionInfo *info);
