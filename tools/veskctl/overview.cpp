// Commands that show the whole device at once: page, screen, metrics.
#include <algorithm>
#include <cstdio>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include "tools/client/signals.h"
#include "tools/client/text.h"
#include "tools/veskctl/explain.h"
#include "tools/veskctl/log_state.h"
#include "tools/veskctl/metrics.h"
#include "tools/veskctl/output.h"
#include "tools/veskctl/report.h"
#include "tools/veskctl/status.h"

namespace
{
constexpr size_t keptSignals = 10;
constexpr int statusMs = 1000; // between two looks of status --watch

void write_or_fail(const std::string &path, const std::string &text)
{
    std::string error;
    if (!write_by_rename(path.empty() ? "-" : path, text, error))
        fail(error);
}

// --- report ---

/** A page again and again; while the daemon can't be asked it says so, and since when. */
void report_forever(const std::string &path, int every)
{
    catch_stop();
    do {
        Snapshot snapshot;
        std::string error;
        const bool isTold = take_snapshot(snapshot, PartOverview, error);
        if (!stop_asked())
            write_or_fail(path, isTold ? report_page(snapshot, every) : report_failure(error, every));
    } while (sleep_between_looks(every));
}

// --- status ---

void keep_last(std::deque<std::string> &signals)
{
    while (signals.size() > keptSignals)
        signals.pop_front();
}

/** The signals that the daemon's log tells of: joins, leaves and unsafe channels are all it writes there. */
void signals_from_log(const Logbook &log, StatusView &view)
{
    view.signalSource = "as far as the log tells; all of them: --watch";
    for (const LogLine &line : log.lines)
        if (is_message_of(line.message(), VESK_TEXT_SENT_CLIENT) ||
            is_message_of(line.message(), VESK_TEXT_SENT))
            view.signals.push_back(clock_time(line.when) +
                                   std::string(line.message().substr(line.message().find(" ["))));
}

void signals_from_record(const std::string &path, StatusView &view)
{
    view.signalSource = "from " + path;
    std::string error;
    const auto keep = [&](const SeenSignal &signal) {
        view.signals.push_back(signal_line(signal, true));
        keep_last(view.signals);
        return true;
    };
    if (!read_record(path, keep, error))
        fail(error);
}

Json status_json(const StatusView &view)
{
    Json object = Json::object();
    object.put("role", Json::text_or_null(view.role));
    object.put("roleLine", view.roleLine ? Json::text(view.roleLine->text) : Json::null());
    Json signals = Json::array();
    for (const std::string &signal : view.signals)
        signals.push(Json::text(signal));
    object.put("signals", std::move(signals));
    object.put("device", snapshot_json(*view.device));
    return object;
}

void status_once(const Arguments &arguments)
{
    const Snapshot snapshot = must_take_snapshot(PartOverview);
    const Logbook log = read_log(log_path(arguments));
    StatusView view = { &snapshot, "", "", nullptr, {}, "" };
    view.role = role_from_log(log, &view.roleLine);
    if (arguments.has("--from"))
        signals_from_record(arguments.text("--from"), view);
    else
        signals_from_log(log, view);
    keep_last(view.signals);
    if (arguments.json)
        print_json(status_json(view));
    else
        fputs(status_text(view, screen_of_terminal(arguments.color)).c_str(), stdout);
}

/** The lines that fit; the last one tells of the others. It has no line end, so that nothing scrolls. */
std::string kept_to_height(const std::string &text, int height)
{
    const auto lines = static_cast<int>(std::count(text.begin(), text.end(), '\n'));
    if (height < 2 || lines < height)
        return text;
    size_t end = 0;
    for (int i = 0; i < height - 1; i++)
        end = text.find('\n', end) + 1;
    return text.substr(0, end) + printed("... %d more lines; q ends", lines - height + 1);
}

/** The terminal hands over keys as they are pressed while this lives. */
struct Keys {
    termios before = {};
    bool isTerminal = isatty(STDIN_FILENO) && isatty(STDOUT_FILENO) && tcgetattr(STDIN_FILENO, &before) == 0;

    Keys()
    {
        termios raw = before;
        raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
        if (isTerminal)
            tcsetattr(STDIN_FILENO, TCSANOW, &raw);
    }
    ~Keys()
    {
        if (isTerminal)
            tcsetattr(STDIN_FILENO, TCSANOW, &before);
    }
    bool is_end_asked() const
    {
        pollfd input = { STDIN_FILENO, POLLIN, 0 };
        char key = 0;
        return isTerminal && poll(&input, 1, 0) == 1 && read(STDIN_FILENO, &key, 1) == 1 &&
               (key == 'q' || key == 'Q');
    }
};

/** One look of status --watch. On a terminal the screen is drawn over, elsewhere the looks follow each other.
 */
void draw_status(const Screen &screen, Logbook &log, const std::deque<std::string> &signals)
{
    Snapshot snapshot;
    StatusView view = { nullptr, "", "", nullptr, signals, "as they come" };
    if (take_snapshot(snapshot, PartOverview, view.error))
        view.device = &snapshot;
    if (stop_asked())
        return;
    follow_log(log);
    view.role = role_from_log(log, &view.roleLine);
    std::string text = status_text(view, screen);
    if (isatty(STDOUT_FILENO)) {
        text = kept_to_height(text, screen.height);
        std::string drawn = "\033[H"; // from the top, each line's rest cleared, then what is below
        for (char c : text)
            drawn += c == '\n' ? "\033[K\n" : std::string(1, c);
        text = drawn + "\033[J";
    } else {
        text += "\n";
    }
    fputs(text.c_str(), stdout);
    fflush(stdout);
}

void status_forever(const Arguments &arguments)
{
    if (arguments.json)
        usage_error("status --watch draws a screen; --json is for a single status");
    if (arguments.has("--from"))
        usage_error("status --watch listens to signals; --from is for a single status");
    std::deque<std::string> signals;
    std::string error;
    Logbook log;
    log.path = log_path(arguments);
    int64_t next = 0;
    const Keys keys;
    const auto look = [&] {
        if (monotonic_ms() >= next) {
            draw_status(screen_of_terminal(arguments.color), log, signals);
            next = monotonic_ms() + statusMs;
        }
        return keys.is_end_asked() || !output_works();
    };
    const auto keep = [&](const SeenSignal &signal) {
        signals.push_back(signal_line(signal));
        keep_last(signals);
    };
    const bool isHeard = listen_for_signals(keep, look, error);
    if (!isHeard)
        fail(error);
    if (keys.isTerminal)
        putchar('\n');
}
} // namespace

void run_report(const Arguments &arguments)
{
    const std::string &path = arguments.text("-o,--output");
    if (arguments.has("--watch")) {
        if (path.empty())
            usage_error("report --watch needs -o FILE");
        if (arguments.json)
            usage_error("report --watch writes a page; --json is for a single report");
        report_forever(path, static_cast<int>(arguments.number("--watch")));
        return;
    }
    const Snapshot snapshot = must_take_snapshot(PartOverview);
    write_or_fail(path, arguments.json ? snapshot_json(snapshot).pretty() + "\n" : report_page(snapshot, 0));
}

void run_status(const Arguments &arguments)
{
    if (arguments.has("--watch"))
        status_forever(arguments);
    else
        status_once(arguments);
}

void run_metrics(const Arguments &arguments)
{
    Snapshot snapshot;
    std::string error;
    const bool isUp = take_snapshot(snapshot, PartOverview | PartCounters, error);
    write_or_fail(arguments.text("-o,--output"), metrics_text(isUp ? &snapshot : nullptr));
    if (!isUp)
        fail(error); // the page says so, too: vesk_up 0
}
