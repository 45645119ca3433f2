// The command that gives reasons: gathers what there is to reason from, and prints the statements.
#include <cstdio>

#include "tools/client/text.h"
#include "tools/veskctl/checks.h"
#include "tools/veskctl/explain.h"
#include "tools/veskctl/log_state.h"
#include "tools/veskctl/output.h"

namespace
{
Json explanation_json(const Explanation &explanation)
{
    Json object = Json::object();
    object.put("title", explanation.title);
    Json statements = Json::array();
    for (const Statement &s : explanation.statements) {
        Json item = Json::object();
        item.put("text", s.text);
        item.put("source", Json::text_or_null(s.source));
        item.put("number", s.number ? std::optional(s.number) : std::nullopt);
        item.put("line", s.number ? Json::text(s.line) : Json::null());
        statements.push(std::move(item));
    }
    object.put("statements", std::move(statements));
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
Evidence gather(const Arguments &arguments, Snapshot &snapshot)
{
    Evidence evidence = {};
    evidence.device = take_snapshot(snapshot, PartOverview, evidence.busError) ? &snapshot : nullptr;
    evidence.readySince = snapshot.readySince;
    evidence.log = read_log(log_path(arguments));
    evidence.now = time(nullptr);
    return evidence;
}

void print_explanations(const Arguments &arguments, const std::vector<Explanation> &all)
{
    Json array = Json::array();
    for (const Explanation &explanation : all) {
        if (arguments.json)
            array.push(explanation_json(explanation));
        else
            print_explanation(explanation);
    }
    if (arguments.json)
        print_json(array);
}

/** Radio 0 or 1 of a word, -1 for both. Without a daemon a radio's name can't be known. */
int wanted_radio(const Arguments &arguments, const Evidence &evidence)
{
    if (!arguments.has("BAND"))
        return -1;
    const std::string &word = arguments.text("BAND");
    int band = band_of(word);
    if (evidence.device)
        band = must_radio(*evidence.device, word).band;
    if (band < 0)
        usage_error("\"" + word + "\" isn't a band; say 2.4 or 5");
    return band == 0 ? 0 : 1;
}
} // namespace

void run_explain_scan(const Arguments &arguments)
{
    Snapshot snapshot;
    const Evidence evidence = gather(arguments, snapshot);
    const int wanted = wanted_radio(arguments, evidence);
    std::vector<Explanation> all;
    for (int radio = 0; radio < 2; radio++)
        if (wanted < 0 || wanted == radio)
            all.push_back(explain_scan(evidence, radio));
    print_explanations(arguments, all);
}

void run_explain_ready(const Arguments &arguments)
{
    Snapshot snapshot;
    print_explanations(arguments, { explain_ready(gather(arguments, snapshot)) });
}
