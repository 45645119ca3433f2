// What keeps the daemon from full service on a machine, and how to mend it.
#pragma once

#include "tools/vesk-setup/plan.h"

namespace setup
{

/** Fills `missing`, `sentence` and the folders of the control sockets, and takes interfaces out of the plan
 * that the daemon can't serve. */
void checks_make(const Machine &machine, Plan &plan);

} // namespace setup
