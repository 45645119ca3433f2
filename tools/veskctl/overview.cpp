// Commands that show the whole device at once: report, status, metrics, explain.
#include <CLI/CLI.hpp>
#include <unistd.h>

#include "tools/veskctl/cli.h"
#include "tools/veskctl/explain.h"
#include "tools/veskctl/metrics.h"
#include "tools/veskctl/report.h"
#include "tools/veskctl/status.h"
#include "tools/veskctl/text.h"

namespace
{
constexpr size_t keptSignals = 10;
constexpr double statusInterval = 1.0; // seconds between two looks of status --watch

struct Choice {
    std::string out, band, log = defaultLog, from;
    int every = 0;
    bool watch = false;
} choice;

void write_or_fail(const std::string &text)
{
    std::string error;
    if (!write_by_rename(choice.out.empty() ? "-" : choice.out, text, error))
        fail(error);
}

// --- report ---

void report_once()
{
    const Snapshot snapshot = must_take_snapshot();
    if (options.json) {
        cJSON *object = snapshot_json(snapshot);
        char *text = cJSON_Print(object);
        write_or_fail(std::string(text) + "\n");
        cJSON_free(text);
        cJSON_Delete(object);
    } else {
        write_or_fail(report_page(snapshot, 0));
    }
}

/** A page again and again; while the daemon can't be asked it says so, and since when. */
void report_forever()
{
    if (choice.out.empty())
        usage_error("report --watch needs -o FILE");
    if (options.json)
        usage_error("report --watch writes a page; --json is for a single report");
    catch_stop();
    do {
        Snapshot snapshot;
        std::string error;
        if (take_snapshot(snapshot, error)) {
            write_or_fail(report_page(snapshot, choice.every));
        } else {
            ctl_disconnect(); // the next look connects anew
            write_or_fail(report_failure(error, choice.every));
        }
    } while (sleep_unless_stopped(choice.every));
}

// --- status ---

/** The signals that the daemon's log tells of: joins, leaves and unsafe channels are all it writes there. */
void signals_from_log(const Logbook &log, StatusView &view)
{
    view.signalSource = "as far as the log tells; all of them: --watch";
    for (const LogLine &line : log.lines)
        if (line.message.compare(0, 22, "Ubus send successfully") == 0)
            view.signals.push_back(clock_time(line.when) + line.message.substr(22));
}

void signals_from_record(StatusView &view)
{
    view.signalSource = "from " + choice.from;
    std::string error;
    const auto keep = [&](const SeenSignal &signal) {
        view.signals.push_back(signal_line(signal));
        return true;
    };
    if (!read_record(choice.from, keep, error))
        fail(error);
}

cJSON *status_json(const StatusView &view)
{
    cJSON *object = cJSON_CreateObject();
    cJSON_AddItemToObject(object, "role",
                          view.role.empty() ? cJSON_CreateNull() : cJSON_CreateString(view.role.c_str()));
    cJSON_AddItemToObject(object, "roleLine",
                          view.roleLine ? cJSON_CreateString(view.roleLine->text.c_str())
                                        : cJSON_CreateNull());
    cJSON *signals = cJSON_AddArrayToObject(object, "signals");
    for (const std::string &signal : view.signals)
        cJSON_AddItemToArray(signals, cJSON_CreateString(signal.c_str()));
    cJSON_AddItemToObject(object, "device", snapshot_json(*view.device));
    return object;
}

void keep_last(std::deque<std::string> &signals)
{
    while (signals.size() > keptSignals)
        signals.pop_front();
}

void status_once()
{
    const Snapshot snapshot = must_take_snapshot();
    const Logbook log = read_log(choice.log);
    StatusView view = { &snapshot, "", "", nullptr, {}, "" };
    view.role = role_from_log(log, &view.roleLine);
    if (choice.from.empty())
        signals_from_log(log, view);
    else
        signals_from_record(view);
    keep_last(view.signals);
    if (options.json)
        print_json(status_json(view));
    else
        fputs(status_text(view, screen_of_terminal()).c_str(), stdout);
}

/** One look of status --watch. On a terminal the screen is drawn over, elsewhere the looks follow each other.
 */
void draw_status(const std::deque<std::string> &signals)
{
    Snapshot snapshot;
    StatusView view = { nullptr, "", "", nullptr, signals, "as they come" };
    if (take_snapshot(snapshot, view.error))
        view.device = &snapshot;
    const Logbook log = read_log(choice.log);
    view.role = role_from_log(log, &view.roleLine);
    std::string text = status_text(view, screen_of_terminal());
    if (isatty(STDOUT_FILENO)) {
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

void status_forever()
{
    if (options.json)
        usage_error("status --watch draws a screen; --json is for a single status");
    std::deque<std::string> signals;
    std::string error;
    double next = 0;
    const auto look = [&] {
        if (now_seconds() >= next) {
            draw_status(signals);
            next = now_seconds() + statusInterval;
        }
        return !output_works();
    };
    const auto keep = [&](const SeenSignal &signal) {
        signals.push_back(signal_line(signal));
        keep_last(signals);
    };
    if (!listen_for_signals(keep, look, error))
        fail(error);
}

// --- metrics ---

void metrics()
{
    Snapshot snapshot;
    std::string error;
    const bool isUp = take_snapshot(snapshot, error, true);
    write_or_fail(metrics_text(isUp ? &snapshot : nullptr));
    if (!isUp)
        fail(error); // the page says so, too: vesk_up 0
}

// --- explain ---

cJSON *explanation_json(const Explanation &explanation)
{
    cJSON *object = cJSON_CreateObject();
    cJSON_AddStringToObject(object, "title", explanation.title.c_str());
    cJSON *statements = cJSON_AddArrayToObject(object, "statements");
    for (const Statement &s : explanation.statements) {
        cJSON *item = cJSON_CreateObject();
        cJSON_AddStringToObject(item, "text", s.text.c_str());
        cJSON_AddItemToObject(item, "source",
                              s.source.empty() ? cJSON_CreateNull() : cJSON_CreateString(s.source.c_str()));
        cJSON_AddItemToObject(item, "number", s.number ? cJSON_CreateNumber(s.number) : cJSON_CreateNull());
        cJSON_AddItemToObject(item, "line",
                              s.number ? cJSON_CreateString(s.line.c_str()) : cJSON_CreateNull());
        cJSON_AddItemToArray(statements, item);
    }
    return object;
}

void print_explanation(const Explanation &explanation)
{
    puts(explanation.title.c_str());
    for (const Statement &s : explanation.statements) {
        printf("  %s%s\n", s.text.c_str(), s.source == "bus" ? " [bus]" : "");
        if (s.number)
            printf("      %s:%d: %s\n", s.source.c_str(), s.number, s.line.c_str());
    }
}

/** The bus is asked first: that it asks for the state of the first scans makes the daemon log it. */
Evidence gather(Snapshot &snapshot)
{
    Evidence evidence = {};
    evidence.device = take_snapshot(snapshot, evidence.busError) ? &snapshot : nullptr;
    evidence.readySince = snapshot.readySince;
    evidence.log = read_log(choice.log);
    evidence.now = time(nullptr);
    return evidence;
}

void print_explanations(const std::vector<Explanation> &all)
{
    cJSON *array = cJSON_CreateArray();
    for (const Explanation &explanation : all) {
        if (options.json)
            cJSON_AddItemToArray(array, explanation_json(explanation));
        else
            print_explanation(explanation);
    }
    if (options.json)
        print_json(array);
    else
        cJSON_Delete(array);
}

void explain_scans()
{
    Snapshot snapshot;
    const Evidence evidence = gather(snapshot);
    std::vector<Explanation> all;
    for (int radio = 0; radio < 2; radio++)
        if (choice.band.empty() || (parse_band(choice.band) == 0) == (radio == 0))
            all.push_back(explain_scan(evidence, radio));
    print_explanations(all);
}

void explain_readiness()
{
    Snapshot snapshot;
    print_explanations({ explain_ready(gather(snapshot)) });
}

void add_log_option(CLI::App *command)
{
    command->add_option("--log", choice.log, "The daemon's log (default " + std::string(defaultLog) + ")");
}
} // namespace

void add_overview_commands(CLI::App &app)
{
    CLI::App *report = app.add_subcommand("report", "Channels, radios and stations as one HTML page");
    report->add_option("-o,--output", choice.out, "File to replace (default: standard output)");
    report->add_option("--watch", choice.every, "Write it anew every N seconds")->check(CLI::Range(1, 86400));
    report->callback([] { choice.every > 0 ? report_forever() : report_once(); });

    CLI::App *status = app.add_subcommand("status", "The device on one screen, with its last signals");
    CLI::Option *watch =
        status->add_flag("--watch", choice.watch, "Keep it up to date and listen to signals");
    status->add_option("--from", choice.from, "Take the signals from a record")->excludes(watch);
    add_log_option(status);
    status->callback([] { choice.watch ? status_forever() : status_once(); });

    CLI::App *numbers = app.add_subcommand("metrics", "The device in Prometheus' text format");
    numbers->add_option("-o,--output", choice.out, "File to replace, for a textfile collector");
    numbers->callback(metrics);

    CLI::App *explain =
        app.add_subcommand("explain", "Why something is as it is, with the lines it rests on");
    explain->require_subcommand(1);
    CLI::App *scan =
        explain->add_subcommand("scan", "Why the last pass did or didn't scan; when the next is due");
    scan->add_option("BAND", choice.band, "2.4 or 5 (default: both)");
    add_log_option(scan);
    scan->callback(explain_scans);
    CLI::App *ready = explain->add_subcommand("ready", "What holds readiness back, or what made it");
    add_log_option(ready);
    ready->callback(explain_readiness);
}
