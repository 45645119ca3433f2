#include "tools/veskctl/report.h"

#include <algorithm>

#include "tools/client/recommend.h"
#include "tools/client/text.h"
#include "tools/veskctl/report_css.h"

namespace
{
constexpr ChartSize wideChart = { 1080, 240, 96, 72, 13, 24, "w" };
constexpr ChartSize narrowChart = { 350, 190, 84, 60, 11, 10, "n" };

std::string unknown()
{
    return "<span class=\"unknown\">unknown</span>";
}

/** Four bars and the figure; the picture says nothing that the figure doesn't. */
std::string level_cell(const std::optional<int> &level)
{
    if (!level)
        return unknown();
    std::string svg = "<span class=\"level\"><svg viewBox=\"0 0 22 14\" aria-hidden=\"true\">";
    for (int i = 0; i < 4; i++)
        svg += printed("<rect x=\"%d\" y=\"%d\" width=\"4\" height=\"%d\" rx=\"1\" class=\"%s\"/>", i * 6,
                       10 - 3 * i, 4 + 3 * i, i < signal_bars(*level) ? "on" : "off");
    return svg + "</svg>" + dbm_text(level) + "</span>";
}

std::string percent_text(const std::optional<int> &share)
{
    return share ? printed("%d %%", *share) : unknown();
}

std::string fact(const char *name, const std::string &value)
{
    return printed("<div><dt>%s</dt><dd>", name) + value + "</dd></div>";
}

std::string radio_facts(const RadioState &r)
{
    std::string text = "<dl class=\"facts\">";
    text += fact("Radio", html_escape(r.name) + ", " + r.state());
    text += fact("Channel", r.channel > 0 ? std::to_string(r.channel) : unknown());
    text += fact("Width", bandwidth_name(r.bandwidth));
    text += fact("Power", minus(printed("%.1f dBm", r.power)));
    text += fact("Standards", html_escape(r.standards));
    text += fact("Auto channel", r.isAcsEnabled ? "on" : "off");
    text += fact("Measured", printed("%d of %zu", r.measured(), r.channels.size()));
    if (r.operating) {
        text += fact("Own traffic", percent_text(known_share(*r.operating, r.operating->ccaInbss)));
        text += fact("Transmitting", percent_text(known_share(*r.operating, r.operating->ccaTxUtil)));
    }
    return text + "</dl>";
}

std::string listed(const std::vector<const ChannelState *> &channels)
{
    std::string text;
    for (const ChannelState *c : channels)
        text += (text.empty() ? "" : ", ") + printed("%d (%d %%)", c->number, *c->utilisation);
    return text;
}

/** Levels inside a sentence with a real minus sign. */
std::string minus_signs(std::string text)
{
    for (size_t at; (at = text.find(" -")) != std::string::npos;)
        text.replace(at, 2, " −");
    return text;
}

/** What a person wants to know first. */
std::string radio_summary(const RadioState &r)
{
    std::vector<const ChannelState *> measured;
    for (const ChannelState &c : r.channels)
        if (c.isMeasured())
            measured.push_back(&c);
    if (measured.empty())
        return r.measured() == 0 ? "<p>No channel has been measured yet.</p>"
                                 : "<p>The driver doesn't tell how much the channels are used.</p>";
    std::stable_sort(measured.begin(), measured.end(),
                     [](auto *a, auto *b) { return *a->utilisation < *b->utilisation; });
    const auto own = std::find_if(measured.begin(), measured.end(), [](auto *c) { return c->isOwn; });
    std::string text = "<p>";
    if (own != measured.end())
        text += printed("The radio's channel %d is used for %d %% of the time. ", (*own)->number,
                        *(*own)->utilisation);
    else
        text += "The radio's channel hasn't been measured yet. ";
    const size_t few = std::min<size_t>(3, measured.size());
    text +=
        "Least used: " + listed({ measured.begin(), measured.begin() + static_cast<std::ptrdiff_t>(few) }) +
        ". Most used: " + listed({ measured.back() }) + ". " + minus_signs(advice(r, recommend_channels(r))) +
        "</p>";
    return text;
}

std::string legend()
{
    return "<ul class=\"legend\">"
           "<li><svg viewBox=\"0 0 18 12\" aria-hidden=\"true\"><rect width=\"18\" height=\"12\" "
           "class=\"own\"/><rect "
           "width=\"18\" height=\"3\" class=\"ownbar\"/></svg>this device</li>"
           "<li><svg viewBox=\"0 0 18 12\" aria-hidden=\"true\"><circle cx=\"9\" cy=\"6\" r=\"4\" "
           "class=\"raw\"/></svg>raw noise</li>"
           "<li><svg viewBox=\"0 0 18 12\" aria-hidden=\"true\"><rect y=\"4\" width=\"18\" height=\"4\" "
           "rx=\"2\" "
           "class=\"sm\"/></svg>smoothed noise</li>"
           "<li><svg viewBox=\"0 0 18 12\" aria-hidden=\"true\"><rect x=\"1\" y=\"1\" width=\"16\" "
           "height=\"10\" "
           "class=\"open\"/></svg>not measured yet</li>"
           "<li><svg viewBox=\"0 0 18 12\" aria-hidden=\"true\"><rect width=\"3\" height=\"12\" "
           "class=\"hatch\"/><rect "
           "x=\"7\" width=\"3\" height=\"12\" class=\"hatch\"/><rect x=\"14\" width=\"3\" height=\"12\" "
           "class=\"hatch\"/></svg>NOL: under non-occupancy after radar</li></ul>";
}

std::string channel_row(const ChannelState &c)
{
    std::string text = printed("<tr><th scope=\"row\">%d", c.number);
    text += c.isOwn ? "<span class=\"tag own\">in use</span>" : "";
    text += c.isNol ? "<span class=\"tag nol\">NOL</span>" : "";
    text += !c.isAvailable && !c.isNol ? "<small>not available</small>" : "";
    text += c.needsDfs ? "<small>DFS</small>" : "";
    text += "</th>";
    if (!c.isVisited)
        return text + "<td colspan=\"4\"><span class=\"unknown\">not measured yet</span></td></tr>";
    text += "<td class=\"r\">" + percent_text(c.utilisation) + "</td>";
    text += "<td class=\"r\">" + (c.noise ? dbm_text(c.noise) : unknown()) + "</td>";
    text += "<td class=\"r\">" + (c.smoothed ? dbm_text(c.smoothed) : unknown()) + "</td>";
    return text + printed("<td class=\"r\">%d</td></tr>", c.neighbors);
}

std::string channel_table(const RadioState &r)
{
    std::string text =
        "<table><caption>Channels</caption><thead><tr><th scope=\"col\">Channel</th><th scope=\"col\" "
        "class=\"r\">Used</th><th scope=\"col\" class=\"r\">Noise</th><th scope=\"col\" "
        "class=\"r\">Smoothed</th><th scope=\"col\" class=\"r\">Heard</th></tr></thead><tbody>";
    for (const ChannelState &c : r.channels)
        text += channel_row(c);
    return text + "</tbody></table>";
}

std::string neighbor_table(const RadioState &r)
{
    if (r.neighbors.empty())
        return "<p class=\"note\">No neighbour has been heard yet.</p>";
    std::string text =
        "<table><caption>Neighbours, strongest first</caption><thead><tr><th scope=\"col\">Network</th>"
        "<th scope=\"col\">Channel</th><th scope=\"col\">Level</th></tr></thead><tbody>";
    for (const NeighborState &n : r.neighbors)
        text += "<tr><th scope=\"row\">" + ssid_html(n.ssid) + "<small class=\"mac\">" + n.bssid +
                printed("</small></th><td>%d</td><td>", n.channel) + level_cell(n.level) + "</td></tr>";
    return text + "</tbody></table>";
}

std::string chart_for(const RadioState &r, ChartSize size)
{
    const std::string id = printed("b%d%s", r.band, size.id);
    size.id = id.c_str();
    return band_chart(r, size);
}

std::string radio_section(const RadioState &r)
{
    std::string text =
        printed("<section id=\"band%d\" aria-labelledby=\"band%d-h\"><h2 id=\"band%d-h\">%s</h2>", r.band,
                r.band, r.band, band_name(r.band));
    text += radio_summary(r) + radio_facts(r);
    if (r.channels.empty())
        return text + "<p class=\"note\">This radio lists no channels.</p></section>";
    text += "<figure>" + chart_for(r, wideChart) + chart_for(r, narrowChart) + "<figcaption>" + legend() +
            "</figcaption></figure>";
    return text + "<details><summary>The same as tables: " + counted(r.channels.size(), "channel") + ", " +
           counted(r.neighbors.size(), "neighbour") + "</summary><div class=\"tables\"><div>" +
           channel_table(r) + "</div><div>" + neighbor_table(r) + "</div></div></details></section>";
}

std::string station_table(const VapState &vap)
{
    std::string text = "<table><caption>" + counted(vap.stations.size(), "station") +
                       "</caption><thead><tr><th scope=\"col\">Station</th><th scope=\"col\">Signal</th><th "
                       "scope=\"col\" class=\"r\">Connected</th></tr></thead><tbody>";
    for (const StationState &s : vap.stations)
        text += "<tr><th scope=\"row\"><span class=\"mac\">" + s.mac + "</span><small>" +
                printed("tx %d, rx %d Mbit/s", s.tx, s.rx) + (s.is11k ? ", 802.11k" : "") +
                (s.is11v ? ", 802.11v" : "") + (s.isBackhaul ? ", backhaul" : "") + "</small></th><td>" +
                level_cell(s.signal) + "</td><td class=\"r\">" + span_text(s.seconds) + "</td></tr>";
    return text + "</tbody></table>";
}

std::string vap_card(const VapState &vap)
{
    const bool isStation = vap.is_station();
    const std::string title = vap.ssid.empty() && isStation ? "backhaul station" : ssid_html(vap.ssid);
    std::string text = "<article><h3>" + title + "</h3><p class=\"note\">" + html_escape(vap.name) + ", " +
                       band_name(vap.band) + ", " + vap_role(vap.attribute) + ", " +
                       (vap.isUp ? "up" : "down");
    if (vap.bssid != "00:00:00:00:00:00")
        text += ", <span class=\"mac\">" + vap.bssid + "</span>";
    text += "</p>";
    if (isStation)
        text += vap.peer.empty() ? "<p class=\"note\">Peer " + unknown() + "</p>"
                                 : "<p class=\"note\">Peer <span class=\"mac\">" + vap.peer + "</span></p>";
    else if (vap.stations.empty())
        text += "<p class=\"note\">No station is connected.</p>";
    else
        text += station_table(vap);
    return text + "</article>";
}

std::string vap_section(const Snapshot &s)
{
    std::string text =
        "<section id=\"stations\" aria-labelledby=\"stations-h\"><h2 id=\"stations-h\">Access points and "
        "stations</h2><div class=\"vaps\">";
    for (const VapState &vap : s.vaps)
        text += vap_card(vap);
    return text + "</div></section>";
}

std::string state_item(bool isGood, const std::string &text)
{
    return printed("<li class=\"%s\">", isGood ? "good" : "bad") + text + "</li>";
}

std::string header(const Snapshot &s)
{
    std::string text = "<header><h1>Wi-Fi channels</h1><p class=\"sub\">As " + html_escape(s.name) + " " +
                       html_escape(s.version) + " knew them at <time>" +
                       clock_time(static_cast<time_t>(s.time), true) + "</time></p><ul class=\"states\">";
    text += state_item(s.isReady, s.isReady ? "ready since " + clock_time(*s.readySince) : "not ready yet");
    text += state_item(s.areFirstScansOver,
                       s.areFirstScansOver ? "first scans are over" : "first scans aren't over yet");
    text += s.lastResult ? "<li>last 5 GHz result " + span_text(static_cast<long>(s.time) - *s.lastResult) +
                               " ago</li>"
                         : "<li>no periodic 5 GHz result yet</li>";
    text += "</ul><nav aria-label=\"On this page\"><ul>";
    for (const RadioState &r : s.radios)
        text += printed("<li><a href=\"#band%d\">%s</a></li>", r.band, band_name(r.band));
    return text + "<li><a href=\"#stations\">Stations</a></li></ul></nav></header>";
}

std::string document(const std::string &body, int refresh)
{
    std::string text =
        "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\"><meta name=\"viewport\" "
        "content=\"width=device-width,initial-scale=1\"><link rel=\"icon\" href=\"data:,\">";
    if (refresh > 0)
        text += printed("<meta http-equiv=\"refresh\" content=\"%d\">", refresh);
    return text + "<title>Wi-Fi channels</title><style>" + report_css +
           "</style></head><body><a class=\"skip\" href=\"#main\">To the channels</a>" + body +
           "</body></html>\n";
}
} // namespace

std::string minus(const std::string &number)
{
    return number[0] == '-' ? "−" + number.substr(1) : number;
}

std::string dbm_text(const std::optional<int> &value)
{
    return value ? minus(printed("%d", *value)) + " dBm" : "unknown";
}

std::string dbm_text(const std::optional<double> &value)
{
    return value ? minus(printed("%.1f", *value)) + " dBm" : "unknown";
}

std::string ssid_html(const std::string &ssid)
{
    return ssid.empty() ? "hidden network" : "<bdi>" + html_escape(ssid) + "</bdi>";
}

std::string ssid_text(const std::string &ssid)
{
    return ssid.empty() ? "hidden network" : html_escape(ssid);
}

std::string report_page(const Snapshot &snapshot, int refresh)
{
    std::string body = header(snapshot) + "<main id=\"main\">";
    for (const RadioState &radio : snapshot.radios)
        body += radio_section(radio);
    body += vap_section(snapshot) +
            "</main><footer><p>A hill is a neighbour's 20 MHz around its channel: the record tells no width. "
            "Noise is what "
            "the radio measured there; smoothed, it carries the daemon's bias of 6 dB.</p></footer>";
    return document(body, refresh);
}

std::string report_failure(const std::string &error, int refresh)
{
    return document(
        "<header><h1>Wi-Fi channels</h1></header><main id=\"main\"><section><h2>No answer</h2><p>At " +
            clock_time(static_cast<time_t>(now_seconds()), true) + ": " + html_escape(error) +
            "</p></section></main>",
        refresh);
}
