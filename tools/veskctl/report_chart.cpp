// The picture of a band. All three panels share one horizontal axis, in MHz with wide gaps closed up, so that
// a neighbour's hill stands over the bars of the channels that it disturbs.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>

#include "tools/client/text.h"
#include "tools/veskctl/report.h"

namespace
{
constexpr double leftMargin = 42, rightMargin = 10, gapMhz = 40; // the widest gap that is drawn
constexpr double hillHalf24 = 11, hillHalf5 = 10;                // half a 20 MHz signal, MHz
constexpr double levelBottom = -95;                              // dBm
constexpr int panelGap = 30;                                     // between panels, holds the next one's title
constexpr int palette = 8;                                       // colours of hills in the style sheet

double channel_mhz(int band, int channel)
{
    if (band == 0)
        return channel == 14 ? 2484 : 2407 + 5.0 * channel;
    return 5000 + 5.0 * channel;
}

/** Channel number to horizontal position. */
struct Axis {
    std::map<int, double> x;
    double perMhz = 1, half = hillHalf5, spacing = 0; // units per MHz; MHz; units between closest channels

    double at(int channel) const
    {
        const auto found = x.find(channel);
        return found == x.end() ? -1 : found->second;
    }
};

Axis make_axis(const RadioState &radio, double width)
{
    Axis axis;
    axis.half = radio.band == 0 ? hillHalf24 : hillHalf5;
    for (const ChannelState &c : radio.channels)
        axis.x[c.number] = 0;
    for (const NeighborState &n : radio.neighbors)
        if (n.channel > 0)
            axis.x[n.channel] = 0;
    if (radio.channel > 0)
        axis.x[radio.channel] = 0;
    double position = axis.half, last = 0, closest = gapMhz;
    for (auto &[channel, x] : axis.x) {
        const double mhz = channel_mhz(radio.band, channel);
        if (last > 0) {
            position += std::min(mhz - last, gapMhz);
            closest = std::min(closest, mhz - last);
        }
        x = position;
        last = mhz;
    }
    axis.perMhz = (width - leftMargin - rightMargin) / (position + axis.half);
    axis.spacing = closest * axis.perMhz;
    for (auto &[channel, x] : axis.x)
        x = leftMargin + x * axis.perMhz;
    return axis;
}

struct Panel {
    double top, height, high, low; // values at the upper and the lower edge
    double y(double value) const
    {
        return top +
               height * (high - std::clamp(value, std::min(low, high), std::max(low, high))) / (high - low);
    }
    double bottom() const { return top + height; }
};

struct Box {
    double left, right, top, bottom;
    bool meets(const Box &o) const
    {
        return left < o.right && o.left < right && top < o.bottom && o.top < bottom;
    }
};

/** Width of a text in units of the font's size, guessed from its characters: fonts differ, boxes only have to
 * be wide enough. */
double guessed_width(std::string_view text)
{
    double width = 0;
    for (char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        width += byte >= 0xe0                             ? 1.05 // CJK and the like
                 : (byte & 0xc0) == 0x80                  ? 0
                 : strchr("WM@mw%", c)                    ? 1.0
                 : (c >= 'A' && c <= 'Z') || byte >= 0xc0 ? 0.72
                                                          : 0.58;
    }
    return width;
}

struct Chart {
    const RadioState &radio;
    const ChartSize &size;
    Axis axis;
    Panel hills, bars, noise;
    std::vector<Box> taken; // by texts among the hills
    std::string svg;

    void add(const std::string &text) { svg += text; }
    void text(double x, double y, const char *style, const std::string &content)
    {
        add(printed("<text x=\"%.1f\" y=\"%.1f\" class=\"%s\">%s</text>", x, y, style, content.c_str()));
    }
};

/** Noise panel: whole tens round all values, at least 20 dB. */
Panel noise_panel(const RadioState &radio, double top, double height)
{
    double low = 0, high = -200;
    const auto take = [&](double value) {
        low = std::min(low, value);
        high = std::max(high, value);
    };
    for (const ChannelState &c : radio.channels) {
        if (c.noise)
            take(*c.noise);
        if (c.smoothed)
            take(*c.smoothed);
    }
    if (high < low)
        return { top, height, -80, -100 };
    low = std::max(10 * std::floor((low - 1) / 10), -140.0);
    high = std::max(10 * std::ceil((high + 1) / 10), low + 20);
    return { top, height, high, low };
}

/** Room for the strongest neighbour and its name. */
Panel hill_panel(const RadioState &radio, double top, double height)
{
    const auto strongest = radio.neighbors.empty() ? std::nullopt : radio.neighbors.front().level;
    const double high = std::clamp(10 * std::ceil((strongest.value_or(-60) + 12) / 10.0), -50.0, -10.0);
    return { top, height, high, levelBottom };
}

/** Up to 50 % as long as nothing comes near it. */
Panel bar_panel(const RadioState &radio, double top, double height)
{
    int most = 0;
    for (const ChannelState &c : radio.channels)
        most = std::max(most, c.utilisation.value_or(0));
    return { top, height, most <= 45 ? 50.0 : 100.0, 0 };
}

void draw_grid(Chart &chart, const Panel &panel, const char *title, double step, double lift = 9)
{
    chart.text(leftMargin, panel.top - lift, "t", title);
    const int first = static_cast<int>(std::ceil(panel.low / step));
    const int last = static_cast<int>(std::floor(panel.high / step));
    for (int i = first; i <= last; i++) {
        const double value = i * step, y = panel.y(value);
        chart.add(printed("<line x1=\"%.0f\" x2=\"%.1f\" y1=\"%.1f\" y2=\"%.1f\" class=\"g\"/>", leftMargin,
                          chart.size.width - rightMargin, y, y));
        chart.text(leftMargin - 6, y + chart.size.font * 0.35, "y", minus(printed("%.0f", value)));
    }
}

void draw_own(Chart &chart)
{
    const ChannelBlock block = channel_block(chart.radio.band, chart.radio.channel, chart.radio.bandwidth);
    const double half = chart.axis.half * chart.axis.perMhz;
    double from = chart.size.width, to = 0;
    for (const auto &[channel, x] : chart.axis.x) {
        if (channel < block.first || channel > block.last)
            continue;
        from = std::min(from, x - half);
        to = std::max(to, x + half);
    }
    if (to == 0)
        return;
    chart.add(printed("<rect x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"%.1f\" class=\"own\"/>", from,
                      chart.hills.top, to - from, chart.noise.bottom() - chart.hills.top));
    chart.add(printed("<rect x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"3\" class=\"ownbar\"/>", from,
                      chart.hills.top, to - from));
    const double middle = (from + to) / 2, y = chart.hills.top + chart.size.font + 6;
    const double reach = guessed_width("this device") * chart.size.font / 2;
    chart.text(middle, y, "dev", "this device");
    chart.taken.push_back({ middle - reach, middle + reach, y - chart.size.font, y + 3 });
}

double bar_width(const Chart &chart)
{
    return std::min(chart.axis.spacing * 0.66, 44.0);
}

void draw_nol(Chart &chart, const ChannelState &c)
{
    const double width = chart.axis.spacing * 0.92, x = chart.axis.at(c.number) - width / 2;
    chart.add(printed("<rect x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"%.1f\" fill=\"url(#%s-nol)\"/>", x,
                      chart.hills.top, width, chart.noise.bottom() - chart.hills.top, chart.size.id));
}

void draw_bar(Chart &chart, const ChannelState &c)
{
    const double width = bar_width(chart), x = chart.axis.at(c.number), left = x - width / 2;
    if (!c.isMeasured()) {
        chart.add(
            printed("<rect x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"%.1f\" rx=\"2\" class=\"open\"/>",
                    left, chart.bars.top, width, chart.bars.height));
        return;
    }
    const double y = chart.bars.y(*c.utilisation);
    const char *load = *c.utilisation >= 70 ? "u2" : *c.utilisation >= 40 ? "u1" : "u0";
    chart.add(printed("<rect x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"%.1f\" rx=\"%.1f\" class=\"%s\"/>",
                      left, y, width, std::max(chart.bars.bottom() - y, 1.0), std::min(2.0, width / 4),
                      load));
    if (chart.axis.spacing >= chart.size.font * 1.2)
        chart.text(x, y - 4, "v", std::to_string(*c.utilisation));
}

void draw_noise(Chart &chart, const ChannelState &c)
{
    const double x = chart.axis.at(c.number), width = bar_width(chart);
    if (c.smoothed)
        chart.add(printed("<rect x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"3\" rx=\"1.5\" class=\"sm\"/>",
                          x - width / 2, chart.noise.y(*c.smoothed) - 1.5, width));
    if (c.noise)
        chart.add(
            printed("<circle cx=\"%.1f\" cy=\"%.1f\" r=\"3\" class=\"raw\"/>", x, chart.noise.y(*c.noise)));
}

void draw_tick(Chart &chart, const ChannelState &c, size_t index)
{
    const double x = chart.axis.at(c.number), y = chart.noise.bottom() + chart.size.font + 7;
    const bool isTight = chart.axis.spacing < chart.size.font * 2;
    if (c.isOwn) {
        const double width =
            chart.size.font * 0.62 * static_cast<double>(std::to_string(c.number).size()) + 10;
        chart.add(printed(
            "<rect x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"%d\" rx=\"%d\" class=\"pill\"/>",
            x - width / 2, y - chart.size.font - 1, width, chart.size.font + 6, (chart.size.font + 6) / 2));
    }
    if (c.isOwn || c.isNol || !isTight || index % 2 == 0)
        chart.text(x, y, c.isOwn ? "x o" : c.isAvailable ? "x" : "x d", std::to_string(c.number));
    const bool isLabelled = isTight && index > 0 && chart.radio.channels[index - 1].isNol;
    if (c.isNol && !isLabelled)
        chart.text(x, y + chart.size.font + 2, "x nol", "NOL");
}

/** The channel's column: what it holds, said where the pointer rests. */
std::string column_title(const ChannelState &c)
{
    std::string text = printed("Channel %d", c.number);
    text += c.isOwn ? ", in use by this device" : "";
    text += c.isNol ? ", under non-occupancy after radar" : "";
    if (!c.isVisited)
        return text + ": not measured yet";
    const std::string used = c.utilisation ? printed("%d %%", *c.utilisation) : "unknown share";
    return text + ": " + used + " used, noise " + dbm_text(c.noise) + ", smoothed " + dbm_text(c.smoothed) +
           ", " + counted(static_cast<size_t>(c.neighbors), "neighbour");
}

void draw_column(Chart &chart, const ChannelState &c, size_t index)
{
    chart.add("<g><title>" + column_title(c) + "</title>");
    if (c.isNol)
        draw_nol(chart, c);
    draw_bar(chart, c);
    draw_noise(chart, c);
    draw_tick(chart, c, index);
    chart.add(printed("<rect x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"%.1f\" class=\"hit\"/></g>",
                      chart.axis.at(c.number) - chart.axis.spacing / 2, chart.bars.top, chart.axis.spacing,
                      chart.noise.bottom() - chart.bars.top));
}

/** Stays the same from page to page. */
int hill_color(const std::string &bssid)
{
    unsigned hash = 2166136261u;
    for (char c : bssid)
        hash = (hash ^ static_cast<unsigned char>(c)) * 16777619u;
    return static_cast<int>((hash >> 8) % palette);
}

void draw_hill(Chart &chart, const NeighborState &n)
{
    const double x = chart.axis.at(n.channel), half = chart.axis.half * chart.axis.perMhz;
    if (x < 0 || !n.level)
        return;
    const double base = chart.hills.bottom(), top = chart.hills.y(*n.level);
    const double control =
        (4 * top - base) / 3; // a cubic with both control points here has its peak at `top`
    chart.add(printed("<path d=\"M%.1f %.1fC%.1f %.1f %.1f %.1f %.1f %.1fZ\" class=\"h h%d\"><title>",
                      x - half, base, x - half * 0.62, control, x + half * 0.62, control, x + half, base,
                      hill_color(n.bssid)) +
              ssid_text(n.ssid) + printed(", channel %d, ", n.channel) + dbm_text(n.level) +
              "</title></path>");
}

/** Names over the strongest hills, moved up until they touch no other; what finds no place is in the table.
 */
void draw_names(Chart &chart)
{
    const double font = chart.size.font, most = chart.size.width - rightMargin;
    std::vector<Box> &placed = chart.taken;
    size_t names = 0;
    for (const NeighborState &n : chart.radio.neighbors) {
        const double x = chart.axis.at(n.channel);
        if (x < 0 || !n.level || names >= chart.size.labels)
            continue;
        const std::string name = n.ssid.empty() ? "hidden" : cut_text(n.ssid, 18);
        const std::string level = minus(std::to_string(*n.level));
        const double half = (guessed_width(name) + guessed_width(level) + 0.4) * font / 2 + 3;
        const double middle = std::clamp(x, leftMargin + half, most - half);
        for (int step = 0; step < 3; step++) {
            const double y = chart.hills.y(*n.level) - 5 - step * (font + 2);
            const Box box = { middle - half, middle + half, y - font, y + 2 };
            const bool meets =
                std::any_of(placed.begin(), placed.end(), [&](const Box &other) { return box.meets(other); });
            if (meets || box.top < chart.hills.top + 4)
                continue;
            placed.push_back(box);
            names++;
            chart.add(
                printed("<text x=\"%.1f\" y=\"%.1f\" class=\"n n%d\">", middle, y, hill_color(n.bssid)) +
                html_escape(name) + " <tspan class=\"l\">" + level + "</tspan></text>");
            break;
        }
    }
}

/** The picture in words, for those who don't see it. */
std::string description(const RadioState &radio)
{
    std::string text = printed("This device uses channel %d. %d of %zu channels have been measured. ",
                               radio.channel, radio.measured(), radio.channels.size());
    for (const ChannelState &c : radio.channels)
        text += column_title(c) + ". ";
    return text + counted(radio.neighbors.size(), "neighbouring access point") + ".";
}

void draw_panels(Chart &chart)
{
    draw_grid(chart, chart.hills, "Neighbours, dBm", 10);
    draw_grid(chart, chart.bars, "Channel use, %", chart.bars.high / 2, 19); // over the figures
    draw_grid(chart, chart.noise, "Noise, dBm", 10);
    for (size_t i = 0; i < chart.radio.channels.size(); i++)
        draw_column(chart, chart.radio.channels[i], i);
    for (auto n = chart.radio.neighbors.rbegin(); n != chart.radio.neighbors.rend(); ++n)
        draw_hill(chart, *n); // weakest behind
    draw_names(chart);
    if (chart.radio.measured() == 0)
        chart.text((leftMargin + chart.size.width) / 2, chart.hills.top + chart.hills.height / 2, "none",
                   "nothing measured yet");
}
} // namespace

std::string band_chart(const RadioState &radio, const ChartSize &size)
{
    const double width = size.width;
    Chart chart = { radio, size, make_axis(radio, width), {}, {}, {}, {}, "" };
    chart.hills = hill_panel(radio, 24, size.hills);
    chart.bars = bar_panel(radio, chart.hills.bottom() + panelGap + 14, size.bars);
    chart.noise = noise_panel(radio, chart.bars.bottom() + panelGap, size.noise);
    const int height = static_cast<int>(chart.noise.bottom()) + 2 * size.font + 16;
    chart.add(
        printed("<svg viewBox=\"0 0 %d %d\" class=\"%s\" role=\"img\" aria-labelledby=\"%s-t %s-d\" "
                "font-size=\"%d\"><title id=\"%s-t\">%s: channels and neighbours</title><desc id=\"%s-d\">",
                size.width, height, size.width > 600 ? "wide" : "narrow", size.id, size.id, size.font,
                size.id, band_name(radio.band), size.id) +
        description(radio) + "</desc>");
    chart.add(printed(
        "<defs><pattern id=\"%s-nol\" width=\"7\" height=\"7\" patternUnits=\"userSpaceOnUse\" "
        "patternTransform=\"rotate(45)\"><rect width=\"2\" height=\"7\" class=\"hatch\"/></pattern></defs>",
        size.id));
    draw_own(chart);
    draw_panels(chart);
    return chart.svg + "</svg>";
}
