// What may stand next on a command line, by the rows. A shell hands over its words as they stand and takes
// the candidates as they stand: nothing in between expands them.
#include <cstdio>
#include <cstring>

#include "tools/client/device.h"
#include "tools/client/signals.h"
#include "tools/veskctl/command.h"

namespace
{
constexpr int limitMs = 2000; // somebody is typing
constexpr int filesWanted = 3;

std::vector<std::string> split(const char *words)
{
    std::vector<std::string> parts;
    while (words && *words) {
        const size_t length = strcspn(words, " ");
        parts.emplace_back(words, length);
        words += length + (words[length] == ' ');
    }
    return parts;
}

/** Where the words before the last one lead: the row, and its positionals that are taken. */
struct Place {
    std::string name; // of the row, "" at the beginning
    const Command *command = nullptr;
    size_t taken = 0;
    const Parameter *option = nullptr; // the word is its value
    bool isLost = false;               // a word that is none
};

const Command *find_command(const std::string &above, std::string_view word)
{
    for (const Command &row : all_commands()) {
        const std::string_view name = row.name;
        const size_t blank = name.rfind(' ');
        const std::string_view parent = blank == std::string_view::npos ? "" : name.substr(0, blank);
        if (parent == above && (name.substr(name.rfind(' ') + 1) == word || (row.alias && word == row.alias)))
            return &row;
    }
    return nullptr;
}

bool is_spelled(const Parameter &p, std::string_view word)
{
    const std::string names = std::string(",") + p.name + ",";
    return p.name[0] == '-' && names.find("," + std::string(word) + ",") != std::string::npos;
}

const Parameter *find_option(const Command *command, std::string_view word)
{
    for (const Parameter &p : common_parameters())
        if (is_spelled(p, word))
            return &p;
    if (command)
        for (const Parameter &p : command->parameters)
            if (is_spelled(p, word))
                return &p;
    return nullptr;
}

void step(Place &place, std::string_view word)
{
    if (place.option) {
        place.option = nullptr;
    } else if (word.starts_with('-')) {
        const Parameter *option = find_option(place.command, word);
        place.option = option && option->kind != Kind::Flag ? option : nullptr;
    } else if (const Command *below = place.taken == 0 ? find_command(place.name, word) : nullptr) {
        place.command = below;
        place.name = below->name;
    } else if (word != "help") {
        place.isLost = place.isLost || !place.command;
        place.taken++;
    }
}

void add_vaps(std::vector<std::string> &candidates)
{
    Snapshot snapshot;
    std::string error;
    if (take_snapshot(snapshot, PartVaps, error, limitMs))
        for (const VapState &vap : snapshot.vaps)
            candidates.push_back(vap.name);
}

/** The words that a parameter takes. True: names of files, too. */
bool add_values(const Parameter &p, std::vector<std::string> &candidates)
{
    bool isFile = false;
    for (const std::string &word : split(p.words)) {
        if (word == "@band")
            candidates.insert(candidates.end(), { "2.4", "5" });
        else if (word == "@vap")
            add_vaps(candidates);
        else if (word == "@method")
            for (const WireMethod &row : vesk_methods)
                candidates.push_back(row.name);
        else if (word == "@signal")
            for (const SignalLayout &row : vesk_signals)
                candidates.push_back(short_name(row.name));
        else if (word == "@file")
            isFile = true;
        else
            candidates.push_back(word);
    }
    return isFile;
}

void add_options(std::span<const Parameter> parameters, std::vector<std::string> &candidates)
{
    for (const Parameter &p : parameters) {
        std::string names = p.name;
        for (char &c : names)
            c = c == ',' ? ' ' : c;
        if (p.name[0] == '-')
            for (std::string &name : split(names.c_str()))
                candidates.push_back(std::move(name));
    }
}

void add_commands(const Place &place, std::vector<std::string> &candidates)
{
    for (const Command &row : all_commands()) {
        const std::string_view name = row.name;
        const std::string_view last = name.substr(name.rfind(' ') + 1);
        if (find_command(place.name, last) == &row)
            candidates.emplace_back(last);
    }
}

const Parameter *next_positional(const Place &place)
{
    size_t left = place.taken;
    if (place.command)
        for (const Parameter &p : place.command->parameters)
            if (p.name[0] != '-' && left-- == 0)
                return &p;
    return nullptr;
}
} // namespace

int complete(std::span<char *const> words)
{
    const std::string_view begun = words.empty() ? "" : words.back();
    Place place;
    for (size_t i = 0; i + 1 < words.size(); i++)
        step(place, words[i]);
    std::vector<std::string> candidates;
    bool isFile = false;
    if (place.option) {
        isFile = add_values(*place.option, candidates);
    } else if (begun.starts_with('-')) {
        add_options(common_parameters(), candidates);
        candidates.insert(candidates.end(), { "--help", "--version" });
        if (place.command)
            add_options(place.command->parameters, candidates);
    } else if (!place.isLost) {
        if (place.taken == 0)
            add_commands(place, candidates);
        if (const Parameter *p = next_positional(place))
            isFile = add_values(*p, candidates);
    }
    for (const std::string &candidate : candidates)
        if (candidate.starts_with(begun))
            puts(candidate.c_str());
    return isFile ? filesWanted : 0;
}
