// The device as one HTML page that needs nothing else: inline style, inline pictures, no script.
#pragma once

#include <string>

#include "tools/client/device.h"

/** The page; `refresh`: seconds after which a browser loads it again, 0 never. */
std::string report_page(const Snapshot &snapshot, int refresh);
/** The page while the daemon can't be asked. */
std::string report_failure(const std::string &error, int refresh);

/** A number with a real minus sign. */
std::string minus(const std::string &number);
/** How a level is spelled on the page; "unknown" where it is absent. */
std::string dbm_text(const std::optional<int> &value);
std::string dbm_text(const std::optional<double> &value);
/** A name that others gave, escaped and kept from turning the line round it; "hidden network" where it is
 * empty. */
std::string ssid_html(const std::string &ssid);
/** The same for the title of a picture's part, which takes no markup. */
std::string ssid_text(const std::string &ssid);

struct ChartSize {
    int width;              // of the drawing, in its own units
    int hills, bars, noise; // heights of the three panels
    int font;
    size_t labels;  // names at most
    const char *id; // makes identifiers unique in the page
};

/** Three panels over one channel axis: neighbours as hills, utilisation as bars, noise as marks. */
std::string band_chart(const RadioState &radio, const ChartSize &size);
