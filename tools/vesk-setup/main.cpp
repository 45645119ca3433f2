// vesk-setup: looks at a machine with Wi-Fi radios and writes the two files that vesk needs on it. A program
// of its own: it speaks to the kernel and to hostapd, of which the daemon's client knows nothing, and is run
// once.
#include <cstdio>
#include <cstring>
#include <iterator>

#include <getopt.h>
#include <libsmartcols/libsmartcols.h>

#include "platform/nl80211/channels.h"
#include "platform/nl80211/ctrl.h"
#include "platform/nl80211/log.h"
#include "tools/client/text.h"
#include "tools/vesk-setup/plan.h"
#include "tools/vesk-setup/write.h"

using namespace setup;

namespace
{

constexpr int patience = 1000; // ms; a person waits, no loop

constexpr char usage[] = "Usage: vesk-setup [--force] [--dry-run]\n"
                         "Looks at this machine's Wi-Fi radios and writes what vesk needs to know of them:\n"
                         "/usr/etc/kor-product-cfg.json and /usr/etc/vesk-radio.json.\n"
                         "  -f, --force    write over files that are there\n"
                         "  -n, --dry-run  print the files instead\n"
                         "  -h, --help     this text\n";

struct Options {
    bool force, dryRun;
};

/** 0, or the status to end with. -1: help was asked for. */
int read_options(int count, char **words, Options &options)
{
    static const option names[] = { { "force", no_argument, nullptr, 'f' },
                                    { "dry-run", no_argument, nullptr, 'n' },
                                    { "help", no_argument, nullptr, 'h' },
                                    {} };
    for (int option; (option = getopt_long(count, words, "fnh", names, nullptr)) != -1;) {
        options.force |= option == 'f';
        options.dryRun |= option == 'n';
        if (option == 'h')
            return -1;
        if (option == '?')
            return 2;
    }
    if (optind == count)
        return 0;
    fprintf(stderr, "vesk-setup: unexpected: %s\n", words[optind]);
    return 2;
}

void print_table(std::initializer_list<const char *> columns,
                 const std::vector<std::vector<std::string>> &rows)
{
    libscols_table *table = scols_new_table();
    for (const char *column : columns)
        scols_table_new_column(table, column, 0, SCOLS_FL_WRAP);
    for (const auto &row : rows) {
        libscols_line *line = scols_table_new_line(table, nullptr);
        for (size_t i = 0; i < row.size(); i++)
            scols_line_set_data(line, i, row[i].c_str());
    }
    scols_print_table(table);
    scols_unref_table(table);
}

std::string joined(const std::vector<std::string> &words)
{
    std::string all;
    for (const std::string &word : words)
        all += (all.empty() ? "" : " ") + word;
    return clean_text(all);
}

std::string or_none(const std::string &text)
{
    return text.empty() ? "none" : text;
}

void add_radio(const PlannedRadio &radio, int band, std::vector<std::vector<std::string>> &rows)
{
    const char *name = band == radio::band24 ? "2.4 GHz" : "5 GHz";
    if (!radio.isThere) {
        rows.push_back({ name, "no radio", "left out" });
        return;
    }
    const Capability &can = radio.phy.bands[band];
    rows.push_back(
        { name, radio.phy.name + " (" + or_none(radio.phy.driver) + "): " + radio.why, radio.identity });
    rows.push_back(
        { "  can",
          printed("802.11 %s, %d streams", capability_standards(can, band).c_str(), capability_streams(can)),
          capability_widths(can, band) });
    rows.push_back({ "  access points", printed("%zu", radio.accessPoints.size()),
                     or_none(joined(radio.accessPoints)) });
    rows.push_back({ "  backhaul", printed("%zu", radio.stations.size()), or_none(joined(radio.stations)) });
}

void print_findings(const Machine &machine, const Plan &plan)
{
    std::vector<std::vector<std::string>> rows;
    for (int band = 0; band < 2; band++)
        add_radio(plan.radios[band], band, rows);
    std::string phys;
    for (const Phy &phy : machine.phys)
        phys += (phys.empty() ? "" : " ") + phy.name;
    rows.push_back({ "radios in all", phys, "" });
    rows.push_back({ "hostapd's files", printed("%zu access points", machine.sections.size()),
                     or_none(joined(plan.files)) });
    rows.push_back({ "bridge", or_none(joined(plan.bridges)), "" });
    rows.push_back({ "wired ports", or_none(joined(machine.ports)), "" });
    rows.push_back(
        { "role", plan.role == 1 ? "no backhaul station" : "a backhaul station", printed("%d", plan.role) });
    print_table({ "WHAT", "FOUND", "CHOSEN" }, rows);
    if (!plan.sentence.empty())
        printf("\n%s\n", plan.sentence.c_str());
    puts("");
    if (plan.missing.empty()) {
        puts("Nothing is missing for full service.");
        return;
    }
    rows.clear();
    for (const Finding &one : plan.missing)
        rows.push_back({ clean_text(one.what), clean_text(one.remedy) });
    print_table({ "MISSING FOR FULL SERVICE", "HOW TO MEND IT" }, rows);
}

int fail(const std::string &what)
{
    fprintf(stderr, "vesk-setup: %s\n", what.c_str());
    return 1;
}

} // namespace

int main(int count, char **words)
{
    Options options = {};
    const int status = read_options(count, words, options);
    if (status != 0) {
        fputs(usage, status < 0 ? stdout : stderr);
        return status < 0 ? 0 : status;
    }
    radio::log_set_level(radio::levelError);
    radio::ctrl_set_patience(patience);
    Machine machine;
    if (machine_read(machine) != 0)
        return fail("there is no nl80211 here: no Wi-Fi driver is loaded");
    const Plan plan = plan_make(machine);
    if (!plan.radios[0].isThere && !plan.radios[1].isThere)
        return fail("there is no radio that can use 2.4 or 5 GHz");
    print_findings(machine, plan);
    puts("");
    const std::vector<File> files = {
        { "/usr/etc/kor-product-cfg.json", plan_product(machine, plan).pretty() + "\n" },
        { "/usr/etc/vesk-radio.json", plan_radio(plan).pretty() + "\n" },
    };
    std::string error;
    if (!options.dryRun && !write_files(files, options.force, error))
        return fail(error);
    for (const auto &[path, text] : files)
        printf(options.dryRun ? "%s:\n%s" : "%s is written.\n", path.c_str(), text.c_str());
    return fflush(stdout) == 0 ? 0 : 1;
}
