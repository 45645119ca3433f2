#include "tools/veskctl/status.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include <sys/ioctl.h>
#include <unistd.h>

#include "tools/client/text.h"

namespace
{
constexpr int progressCells = 20;

struct Painter {
    const Screen &screen;
    std::string text;

    std::string paint(const char *code, const std::string &what) const
    {
        return screen.color ? printed("\033[%sm%s\033[0m", code, what.c_str()) : what;
    }
    std::string bold(const std::string &what) const { return paint("1", what); }
    std::string dim(const std::string &what) const { return paint("2", what); }

    /** Adds a line, cut at the screen's edge; colour sequences take no room. */
    void line(const std::string &what)
    {
        size_t room = static_cast<size_t>(screen.width);
        for (std::string_view rest = what; !rest.empty();) {
            const size_t escape = rest.find('\033');
            const std::string piece(rest.substr(0, escape));
            const size_t cells = cell_count(piece);
            text += cells <= room ? piece : cut_text(piece, room, "");
            room -= std::min(cells, room);
            if (escape == std::string_view::npos)
                break;
            const size_t end = rest.find('m', escape);
            text += rest.substr(escape, end - escape + 1);
            rest.remove_prefix(end + 1);
        }
        text += "\n";
    }
};

std::string bars_text(const std::optional<int> &signal, const Screen &screen)
{
    static constexpr const char *cells[] = { "▂", "▄", "▆", "█" };
    const int bars = signal ? signal_bars(*signal) : 0;
    std::string text;
    for (int i = 0; i < 4; i++)
        text += i < bars ? (screen.unicode ? cells[i] : "|") : (screen.unicode ? "·" : ".");
    return text;
}

std::string level_text(const std::optional<int> &signal)
{
    return signal ? printed("%4d dBm", *signal) : " unknown";
}

void add_header(Painter &out, const StatusView &view)
{
    const Snapshot &s = *view.device;
    std::string ready = "not ready";
    if (s.isReady)
        ready = "ready since " + clock_time(*s.readySince);
    out.line(out.bold(s.name + " " + s.version) + "   " + ready + "   role " +
             (view.role.empty() ? "unknown (the log doesn't tell)" : view.role + " (log)") + "   " +
             out.dim(clock_time(static_cast<time_t>(s.time))));
    out.line(s.areFirstScansOver ? "First scans are over." : "First scans are under way or still to come.");
}

void add_progress(Painter &out, const RadioState &radio)
{
    const int all = std::min<int>(static_cast<int>(radio.channels.size()), VESK_WIRE_OFF_CHANNELS);
    if (all == 0)
        return;
    const int done = std::min(radio.measured(), all), cells = done * progressCells / all;
    std::string bar;
    for (int i = 0; i < progressCells; i++)
        bar += i < cells ? (out.screen.unicode ? "█" : "#") : (out.screen.unicode ? "░" : ".");
    out.line("     " + bar + printed("  %d of %d channels measured", done, all));
}

void add_radio(Painter &out, const RadioState &radio, bool showProgress)
{
    out.line("");
    out.line(out.bold(band_name(radio.band)) +
             printed("  %s  %s  channel %d  %s  %.1f dBm  %s", radio.name.c_str(), radio.state(),
                     radio.channel, bandwidth_name(radio.bandwidth), radio.power, radio.standards.c_str()));
    if (showProgress)
        add_progress(out, radio);
    const ChannelState *busiest = nullptr, *quietest = nullptr;
    for (const ChannelState &c : radio.channels) {
        if (!c.isMeasured())
            continue;
        if (!busiest || *c.utilisation > *busiest->utilisation)
            busiest = &c;
        if (!quietest || *c.utilisation < *quietest->utilisation)
            quietest = &c;
    }
    if (radio.channels.empty())
        return;
    out.line(printed("%4d ", radio.channels.front().number) + spark_line(radio, out.screen) +
             printed(" %d", radio.channels.back().number));
    out.line(busiest ? printed("     busiest %d (%d %%), quietest %d (%d %%), ", busiest->number,
                               *busiest->utilisation, quietest->number, *quietest->utilisation) +
                           counted(radio.neighbors.size(), "neighbour")
             : radio.measured() == 0 ? "     nothing has been measured yet"
                                     : "     use unknown, " + counted(radio.neighbors.size(), "neighbour"));
}

void add_vap(Painter &out, const VapState &vap)
{
    const bool isStation = vap.is_station();
    out.line(padded(vap.name, 10) + padded(cut_text(vap.ssid, 20, out.screen.unicode ? "…" : "."), 21) +
             padded(band_name(vap.band), 8) + padded(vap_role(vap.attribute), 17) +
             (vap.isUp ? "up" : "down") + (isStation && !vap.peer.empty() ? "  peer " + vap.peer : ""));
    for (const StationState &s : vap.stations)
        out.line("  " + s.mac + "  " + bars_text(s.signal, out.screen) + " " + level_text(s.signal) + "  " +
                 padded(span_text(s.seconds), 8) + (s.is11k ? "11k " : "    ") + (s.is11v ? "11v " : "    ") +
                 (s.isBackhaul ? "backhaul" : ""));
}

void add_signals(Painter &out, const StatusView &view)
{
    out.line("");
    out.line(out.bold("SIGNALS") + "  " + out.dim(view.signalSource));
    if (view.signals.empty())
        out.line("  none");
    for (const std::string &signal : view.signals)
        out.line("  " + signal);
}

bool is_utf8_locale()
{
    for (const char *name : { "LC_ALL", "LC_CTYPE", "LANG" }) {
        const char *value = getenv(name);
        if (value && *value)
            return strcasestr(value, "utf-8") || strcasestr(value, "utf8");
    }
    return false;
}
} // namespace

Screen screen_of_terminal(bool color)
{
    Screen screen;
    winsize size = {};
    const char *columns = getenv("COLUMNS");
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        screen.width = size.ws_col;
    else if (columns && atoi(columns) > 0)
        screen.width = atoi(columns);
    if (isatty(STDOUT_FILENO))
        screen.height = size.ws_row;
    screen.color = color;
    screen.unicode = is_utf8_locale();
    return screen;
}

std::string spark_line(const RadioState &radio, const Screen &screen)
{
    static constexpr const char *cells[] = { "▁", "▂", "▃", "▄", "▅", "▆", "▇", "█" };
    std::string text;
    for (const ChannelState &c : radio.channels) {
        std::string cell = screen.unicode ? "·" : ".";
        if (c.isMeasured()) {
            const int share = std::clamp(*c.utilisation, 0, 99);
            cell = screen.unicode ? cells[share * 8 / 100] : std::to_string(share / 10);
        }
        text += !c.isOwn ? cell : screen.color ? "\033[7m" + cell + "\033[0m" : "[" + cell + "]";
    }
    return text;
}

std::string status_text(const StatusView &view, const Screen &screen)
{
    Painter out = { screen, "" };
    if (!view.device) {
        out.line(out.bold("vesk") + "   " + view.error);
        add_signals(out, view);
        return out.text;
    }
    add_header(out, view);
    for (const RadioState &radio : view.device->radios)
        add_radio(out, radio, !view.device->areFirstScansOver);
    out.line("");
    out.line(out.bold("ACCESS POINTS AND STATIONS"));
    for (const VapState &vap : view.device->vaps)
        add_vap(out, vap);
    add_signals(out, view);
    return out.text;
}
