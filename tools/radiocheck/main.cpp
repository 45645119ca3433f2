// vesk-radio-check: what the driver libraries of real radios say, held against iw, hostapd_cli and /sys. It
// only reads; the daemon may run beside it.
#include <algorithm>
#include <clocale>
#include <cstdio>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <libsmartcols/libsmartcols.h>

#include "include/vesk_wire.h"
#include "tools/client/json.h"
#include "tools/client/text.h"
#include "tools/radiocheck/capture.h"
#include "tools/radiocheck/compare.h"
#include "tools/radiocheck/truth.h"

namespace
{
constexpr const char *verdictNames[] = { "same", "differs", "absent" };
constexpr int loadMs = 1100;      // the library counts a load over at least a second
constexpr int loadTolerance = 10; // percent: the two sides' spans begin and end some milliseconds apart

std::string joined(const std::vector<std::string> &words)
{
    std::string text;
    for (const std::string &word : words)
        text += (text.empty() ? "" : " ") + word;
    return text;
}

/** The list itself, first: who is there that shouldn't be, and who is missing. */
void check_stations(std::vector<Finding> &findings, const Sources &sources, const std::string &vap)
{
    const auto listed = [&] {
        Values values;
        values.add("list of stations", joined(said_stations(vap)), "no station");
        return values;
    };
    const auto there = [&] {
        std::vector<std::string> macs;
        for (const auto &[mac, values] : truth_of_stations(sources, vap))
            macs.push_back(mac);
        Values values;
        values.add("list of stations", joined(macs), "no station");
        return values;
    };
    compare(findings, vap, listed, there);
    for (const std::string &mac : said_stations(vap)) {
        const auto said = [&] {
            said_stations(vap);
            return said_of_station(vap, mac);
        };
        compare(findings, vap + " " + mac, said, [&] { return truth_of_stations(sources, vap)[mac]; });
    }
}

std::string share(uint64_t part, uint64_t whole)
{
    return whole > 0 ? std::to_string(100 * part / whole) : "";
}

/** Both sides count from a first look to a second one. */
void check_load(std::vector<Finding> &findings, const SaidRadio &radio)
{
    said_load(radio);
    const Sample first = truth_sample(radio);
    usleep(loadMs * 1000);
    const Load said = said_load(radio);
    const Sample last = truth_sample(radio);
    const uint64_t time = last.time - first.time;
    const auto judge = [&](const char *name, const std::optional<int> &mine, const std::string &truth) {
        const std::string text = mine ? std::to_string(*mine) : "";
        const bool fits = text.empty() == truth.empty() &&
                          (text.empty() || abs(*mine - atoi(truth.c_str())) <= loadTolerance);
        const Verdict verdict = !fits ? Verdict::Differs : text.empty() ? Verdict::Absent : Verdict::Same;
        findings.push_back({ radio.name, name, verdict, text, truth,
                             verdict == Verdict::Absent ? "the driver's survey doesn't count it" : "" });
    };
    judge("load", said.used, share(last.busy - first.busy, time));
    judge("own load", said.own, last.hasOwn ? share(last.own - first.own, time) : "");
}

std::vector<Finding> check_all(const Sources &sources, const std::vector<SaidRadio> &radios)
{
    std::vector<Finding> findings;
    for (const SaidRadio &radio : radios) {
        compare(
            findings, radio.name, [&] { return said_of_radio(radio); },
            [&] { return truth_of_radio(sources, radio); });
        check_load(findings, radio);
        for (const std::string &vap : radio.vaps) {
            compare(
                findings, vap, [&] { return said_of_vap(vap); }, [&] { return truth_of_vap(sources, vap); });
            check_stations(findings, sources, vap);
        }
    }
    return findings;
}

void print_table(const std::vector<Finding> &findings)
{
    setlocale(LC_CTYPE, "");
    libscols_table *table = scols_new_table();
    for (const char *name : { "WHAT", "VALUE", "VERDICT", "LIBRARY", "ELSEWHERE" })
        scols_table_new_column(table, name, 0, name[0] == 'E' || name[0] == 'L' ? SCOLS_FL_WRAP : 0);
    for (const Finding &finding : findings) {
        libscols_line *line = scols_table_new_line(table, nullptr);
        const bool isAbsent = finding.verdict == Verdict::Absent;
        const std::string cells[] = { finding.of, finding.name,
                                      verdictNames[static_cast<int>(finding.verdict)],
                                      finding.said.empty() ? "-" : finding.said,
                                      isAbsent                ? finding.why
                                      : finding.truth.empty() ? "-"
                                                              : finding.truth };
        for (size_t i = 0; i < std::size(cells); i++)
            scols_line_set_data(line, i, clean_text(cells[i]).c_str());
    }
    scols_print_table(table);
    scols_unref_table(table);
}

Json json_of(const std::vector<Finding> &findings)
{
    Json rows = Json::array();
    for (const Finding &finding : findings) {
        Json row = Json::object();
        row.put("of", clean_text(finding.of));
        row.put("value", finding.name);
        row.put("verdict", verdictNames[static_cast<int>(finding.verdict)]);
        row.put("library", Json::text_or_null(clean_text(finding.said)));
        row.put("elsewhere", Json::text_or_null(clean_text(finding.truth)));
        if (!finding.why.empty())
            row.put("why", finding.why);
        rows.push(std::move(row));
    }
    Json all = Json::object();
    for (const Verdict verdict : { Verdict::Same, Verdict::Differs, Verdict::Absent })
        all.put(verdictNames[static_cast<int>(verdict)], static_cast<int>(count(findings, verdict)));
    all.put("findings", std::move(rows));
    return all;
}

int fail(const std::string &what)
{
    fprintf(stderr, "vesk-radio-check: %s\n", what.c_str());
    return 1;
}

int check(bool asJson, const std::string &folder)
{
    Sources sources;
    std::string error;
    if (!find_sources(sources, error))
        return fail(error);
    const std::vector<SaidRadio> radios = said_radios();
    if (radios.empty())
        return fail("the library finds no radio: is there a Wi-Fi card, and does hostapd run?");
    const std::vector<Finding> findings = check_all(sources, radios);
    if (asJson)
        puts(json_of(findings).pretty().c_str());
    else
        print_table(findings);
    const size_t same = count(findings, Verdict::Same), differs = count(findings, Verdict::Differs);
    fprintf(asJson ? stderr : stdout, "%zu same, %zu differ, %zu absent\n", same, differs,
            count(findings, Verdict::Absent));
    if (!folder.empty() && !capture(folder, error))
        return fail(error);
    return differs == 0 && same > 0 ? 0 : 1;
}
} // namespace

int main(int argc, char **argv)
{
    bool asJson = false;
    std::string folder;
    CLI::App app{ "Compares what the driver libraries say of the radios with iw, hostapd_cli and /sys, value "
                  "by value. It "
                  "only reads. The status is 0 without a difference.",
                  "vesk-radio-check" };
    app.set_version_flag("--version", std::string("vesk-radio-check ") + VESK_VERSION);
    app.add_flag("--json", asJson, "The findings as JSON");
    app.add_option(
        "--capture", folder,
        "New folder for the messages that the values came from, addresses, names and keys made anonymous");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    const int status = check(asJson, folder);
    return fflush(stdout) == 0 ? status : fail("can't write to standard output");
}
