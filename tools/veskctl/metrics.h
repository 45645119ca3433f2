// The device in the text format of Prometheus.
#pragma once

#include <string>

struct Snapshot;

/** All metrics of a snapshot; NULL: the daemon can't be asked, which is a metric, too. Figures that are
 * absent are left out. */
std::string metrics_text(const Snapshot *snapshot);
