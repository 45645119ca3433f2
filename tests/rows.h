// Cases in text, for the runners of *.rows files. A case begins with "[what it shows]", behind which stands what it
// begins from. Its steps follow, a line each; a line that begins with blanks goes on with the one before, "#" begins a
// remark. A table at the end of a case runs the case once for each row, with "<column>" filled in.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

using Texts = std::vector<std::string>;

inline Texts split(const std::string &text, char at = ' ') {
    Texts parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, at);)
        if (!part.empty() || at != ' ') parts.push_back(part);
    return parts;
}

inline std::string replaced(std::string text, const std::string &from, const std::string &to) {
    for (size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

/** The text between the first quote and the last one. */
inline std::string quoted(const std::string &step) {
    const size_t open = step.find('"');
    const std::string text = step.substr(open + 1, step.rfind('"') - open - 1);
    return replaced(replaced(text, "\\n", "\n"), "\\r", "\r");
}

/** What stands on either side of a sign; without the sign the right side is empty. */
inline std::pair<std::string, std::string> halves(const std::string &step, const std::string &sign) {
    const size_t at = step.find(sign);
    if (at == std::string::npos) return { step, "" };
    const size_t behind = at + sign.size();
    const std::string before = step.substr(0, at);
    return { before.substr(0, before.find_last_not_of(' ') + 1), step.substr(std::min(step.size(), behind + 1)) };
}

/** A case: its steps by their lines, and the rows of its table, the first of which names the columns. */
struct RowCase {
    std::string base;
    std::vector<std::pair<int, std::string>> steps, table;

    /** `begin(base)` before each row, `run_step(step)` for each step. */
    template <class Begin, class Step>
    void run(const std::string &file, Begin begin, Step run_step) const {
        const Texts columns = table.empty() ? Texts{} : cells(table[0].second);
        for (size_t row = 1; row < std::max<size_t>(2, table.size()); row++) {
            const Texts values = table.empty() ? Texts{} : cells(table[row].second);
            const auto filled_in = [&](std::string text) {
                for (size_t i = 0; i < values.size(); i++) text = replaced(text, "<" + columns.at(i) + ">", values[i]);
                return text;
            };
            begin(filled_in(base));
            for (const auto &[line, text] : steps) {
                const std::string step = filled_in(text);
                const std::string where = values.empty() ? "" : ", row " + std::to_string(table[row].first);
                SCOPED_TRACE(file + ":" + std::to_string(line) + where + ": " + step);
                run_step(step);
            }
        }
    }
    static Texts cells(const std::string &row) {
        Texts found;
        for (std::string cell : split(row.substr(1), '|')) {
            cell.erase(0, std::min(cell.size(), cell.find_first_not_of(' ')));
            cell.erase(cell.find_last_not_of(' ') + 1);
            found.push_back(cell);
        }
        return found;
    }
};

inline std::vector<RowCase> row_cases(const std::string &file, const std::string &base = "") {
    std::vector<RowCase> cases;
    std::ifstream rows(file);
    std::string line;
    for (int n = 1; std::getline(rows, line); n++) {
        if (line.empty() || line[0] == '#') continue;
        if (line[0] == ' ') { // goes on
            std::string &step = cases.back().steps.back().second;
            step += line.substr(line.find_first_not_of(' ') - !step.ends_with("\\n"));
            continue;
        }
        const size_t close = line.rfind(']');
        if (line[0] == '[') {
            cases.push_back({ close + 2 < line.size() ? line.substr(close + 2) : base, {}, {} });
        } else {
            (line[0] == '|' ? cases.back().table : cases.back().steps).emplace_back(n, line);
        }
    }
    EXPECT_FALSE(cases.empty()) << file;
    return cases;
}

/** Names of a folder's files of rows, without their end: what a parametrised test is instantiated with. */
inline Texts row_files(const std::string &folder) {
    Texts stems;
    for (const auto &entry : std::filesystem::directory_iterator(folder))
        if (entry.path().extension() == ".rows") stems.push_back(entry.path().stem());
    std::ranges::sort(stems);
    return stems;
}
