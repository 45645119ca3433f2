#include "tools/radiocheck/compare.h"

#include <algorithm>
#include <cstdlib>

namespace
{
constexpr int attempts = 3;

bool is_number(const std::string &text, double &value)
{
    char *end;
    value = strtod(text.c_str(), &end);
    return !text.empty() && *end == '\0';
}

/** Equal, or on the way from one to the other; numbers by their value: "20.00" is "20". */
bool fits(const std::string &said, const std::string &before, const std::string &after)
{
    double value, first, last;
    if (said == before || said == after)
        return true;
    return is_number(said, value) && is_number(before, first) && is_number(after, last) &&
           value >= std::min(first, last) && value <= std::max(first, last);
}

std::string text_of(const Value *value)
{
    return value ? value->text : "";
}

std::string reason(const Value *said, const Value *truth)
{
    if (truth && truth->text.empty())
        return truth->why;
    return said ? said->why : "";
}

Finding judge(const std::string &of, const std::string &name, const Value *said, const Value *before,
              const Value *after)
{
    Finding finding = { of, name, Verdict::Same, text_of(said), text_of(after), "" };
    const bool isThere = said && !said->text.empty();
    const bool hasTruth = !text_of(before).empty() || !finding.truth.empty();
    if (!isThere && !hasTruth) {
        finding.verdict = Verdict::Absent;
        finding.why = reason(said, after);
    } else if (isThere && !hasTruth && after && after->why.starts_with("hostapd_cli")) {
        finding.verdict = Verdict::Absent; // the other side can't be asked
        finding.why = after->why;
    } else if (!fits(finding.said, text_of(before), finding.truth)) {
        finding.verdict = Verdict::Differs;
    }
    return finding;
}

std::vector<Finding> look(const std::string &of, const std::function<Values()> &said,
                          const std::function<Values()> &truth)
{
    std::vector<Finding> findings;
    const Values before = truth();
    const Values mine = said();
    const Values after = truth();
    for (const Value &value : mine.all)
        findings.push_back(judge(of, value.name, &value, before.find(value.name), after.find(value.name)));
    for (const Value &value : after.all)
        if (!mine.find(value.name))
            findings.push_back(judge(of, value.name, nullptr, before.find(value.name), &value));
    return findings;
}
} // namespace

void compare(std::vector<Finding> &findings, const std::string &of, const std::function<Values()> &said,
             const std::function<Values()> &truth)
{
    std::vector<Finding> last;
    for (int i = 0; i < attempts && (i == 0 || count(last, Verdict::Differs) > 0); i++)
        last = look(of, said, truth);
    findings.insert(findings.end(), last.begin(), last.end());
}

size_t count(const std::vector<Finding> &findings, Verdict verdict)
{
    return static_cast<size_t>(
        std::ranges::count_if(findings, [&](const Finding &finding) { return finding.verdict == verdict; }));
}
