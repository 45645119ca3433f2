// The command line, read by CLI11 from the rows. Everything comes as words; what a number is, and whether it
// is within its limits, is looked at here, so that there is one kind of option only.
#include "tools/veskctl/command.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <functional>
#include <unistd.h>

#include <CLI/CLI.hpp>

#include "tools/client/bus.h"
#include "tools/client/names.h"
#include "tools/client/text.h"
#include "tools/veskctl/output.h"

namespace
{
/** A row and what the command line gave for its parameters. */
struct Slot {
    const Command *command;
    CLI::App *parser;
    std::vector<std::vector<std::string>> values;
    std::vector<bool> given;
};

struct Grammar {
    CLI::App app{
        "Client of the Wi-Fi service daemon vesk. BAND is 2.4 or 5 (or a radio's name, or a band word), VAP "
        "an interface by its outer or inner name, MAC an address like 02:11:22:33:44:55.",
        "veskctl"
    };
    std::deque<Slot> slots; // parsers hold on to them
};

CLI::App *parent_of(Grammar &grammar, std::string_view name)
{
    const size_t blank = name.rfind(' ');
    for (const Slot &slot : grammar.slots)
        if (blank != std::string_view::npos && name.substr(0, blank) == slot.command->name)
            return slot.parser;
    return &grammar.app;
}

void add_parameter(CLI::App *parser, const Parameter &p,
                   const std::function<void(const CLI::results_t &)> &take)
{
    if (p.kind == Kind::Flag) {
        parser->add_flag_callback(
            p.name, [take] { take({}); }, p.help);
        return;
    }
    CLI::Option *option = parser->add_option(
        p.name,
        [take](const CLI::results_t &words) {
            take(words);
            return true;
        },
        p.help);
    option->required(p.isRequired)->type_name("");
    if (p.kind == Kind::List)
        option->expected(1, CLI::detail::expected_max_vector_size)->allow_extra_args();
    else
        option->expected(1);
}

void add_command(Grammar &grammar, const Command &command)
{
    const std::string_view name = command.name;
    CLI::App *parent = parent_of(grammar, name);
    CLI::App *parser = parent->add_subcommand(std::string(name.substr(name.rfind(' ') + 1)), command.help);
    if (parent == &grammar.app)
        parser->group(groupNames[static_cast<size_t>(command.group)]);
    if (command.alias)
        parser->alias(command.alias);
    if (!command.run)
        parser->require_subcommand(1);
    const size_t count = command.parameters.size();
    Slot &slot = grammar.slots.emplace_back(
        Slot{ &command, parser, std::vector<std::vector<std::string>>(count), std::vector<bool>(count) });
    for (size_t i = 0; i < count; i++)
        add_parameter(parser, command.parameters[i], [&slot, i](const CLI::results_t &words) {
            slot.values[i] = words;
            slot.given[i] = true;
        });
}

void check_number(const Parameter &p, const std::string &word)
{
    long long number;
    if (!parse_number(word, p.low, p.high, number))
        usage_error(printed("%s: \"%s\" is no number from %lld to %lld", p.short_name(), word.c_str(), p.low,
                            p.high));
}

void check_real(const Parameter &p, const std::string &word)
{
    char *end;
    const double number = strtod(word.c_str(), &end);
    if (word.empty() || *end ||
        !(number >= static_cast<double>(p.low) && number <= static_cast<double>(p.high)))
        usage_error(printed("%s: \"%s\" is no number from %lld to %lld", p.short_name(), word.c_str(), p.low,
                            p.high));
}

void check_word(const Parameter &p, const std::string &word)
{
    const std::string words = std::string(" ") + p.words + " ";
    if (word.empty() || words.find(" " + word + " ") == std::string::npos)
        usage_error(printed("%s: \"%s\" is none of: %s", p.short_name(), word.c_str(), p.words));
}

void check_values(const Arguments &arguments)
{
    for (size_t i = 0; i < arguments.values.size(); i++)
        for (const std::string &word : arguments.values[i]) {
            const Parameter &p = arguments.command->parameters[i];
            if (p.kind == Kind::Number)
                check_number(p, word);
            else if (p.kind == Kind::Real)
                check_real(p, word);
            else if (p.isClosed)
                check_word(p, word);
        }
}

/** Words that may stand behind a command ("" for the first place). */
std::vector<const char *> words_below(std::string_view command)
{
    std::vector<const char *> words;
    for (const Command &row : all_commands()) {
        const std::string_view name = row.name;
        const size_t blank = name.rfind(' ');
        if ((blank == std::string_view::npos ? std::string_view() : name.substr(0, blank)) == command) {
            words.push_back(row.name + (blank == std::string_view::npos ? 0 : blank + 1));
            if (row.alias)
                words.push_back(row.alias);
        }
    }
    return words;
}

bool is_among(std::string_view word, const std::vector<const char *> &words)
{
    for (const char *known : words)
        if (word == known)
            return true;
    return false;
}

/** A first word that is no command gets a better answer than the library's. */
void check_first_words(std::span<char *> words)
{
    std::string above;
    for (size_t i = 0; i < words.size(); i++) {
        const char *word = words[i];
        i += std::string_view(word) == "--socket"; // a value stands behind it
        if (word[0] == '-' || std::string_view(word) == "help")
            continue;
        const std::vector<const char *> known = words_below(above);
        const Command *row = nullptr;
        for (const Command &command : all_commands())
            if (above == command.name)
                row = &command;
        if (known.empty() || is_among(word, known) || (row && row->run && !row->parameters.empty())) {
            if (!is_among(word, known))
                return;
            above += (above.empty() ? "" : " ") + std::string(word);
            continue;
        }
        const char *guess = closest_word(word, known);
        usage_error(
            "unknown command \"" + (above.empty() ? "" : above + " ") + word + "\"" +
            (guess ? std::string("; did you mean \"") + guess + "\"?" : "; `veskctl help` lists them all"));
    }
}

/** `help COMMAND...` is `COMMAND... --help`. */
std::vector<std::string> words_of(std::span<char *> words)
{
    std::vector<std::string> all(words.begin(), words.end());
    for (size_t i = 0; i < all.size(); i++) {
        if (all[i][0] == '-')
            continue;
        if (all[i] != "help")
            break;
        all.erase(all.begin() + static_cast<std::ptrdiff_t>(i));
        all.push_back("--help");
        break;
    }
    return all;
}

void build(Grammar &grammar, Arguments &arguments)
{
    grammar.app.set_version_flag("--version", std::string("veskctl ") + VESK_VERSION);
    grammar.app.require_subcommand(1);
    grammar.app.fallthrough(); // --json may stand behind the command, too
    bool *const flags[] = { &arguments.json, &arguments.secrets };
    for (size_t i = 0; i < std::size(flags); i++)
        add_parameter(&grammar.app, common_parameters()[i],
                      [flag = flags[i]](const CLI::results_t &) { *flag = true; });
    add_parameter(&grammar.app, common_parameters()[std::size(flags)],
                  [&arguments](const CLI::results_t &words) { arguments.socket = words.front(); });
    for (const Command &command : all_commands())
        add_command(grammar, command);
}

/** The row that was chosen: the deepest one, which stands behind its parents. */
void take_choice(Grammar &grammar, Arguments &arguments)
{
    for (Slot &slot : grammar.slots) {
        if (!slot.parser->parsed())
            continue;
        arguments.command = slot.command;
        arguments.values = slot.values;
        arguments.given = slot.given;
    }
}
} // namespace

size_t Arguments::index(const char *name) const
{
    for (size_t i = 0; i < command->parameters.size(); i++)
        if (strcmp(command->parameters[i].name, name) == 0)
            return i;
    fprintf(stderr, "veskctl: the row of %s has no %s\n", command->name, name);
    abort();
}

const std::string &Arguments::text(const char *name) const
{
    static const std::string none;
    const std::vector<std::string> &words = values[index(name)];
    return words.empty() ? none : words.front();
}

long long Arguments::number(const char *name, long long otherwise) const
{
    const std::vector<std::string> &words = values[index(name)];
    return words.empty() ? otherwise : strtoll(words.front().c_str(), nullptr, 10);
}

double Arguments::real(const char *name) const
{
    const std::vector<std::string> &words = values[index(name)];
    return words.empty() ? 0 : strtod(words.front().c_str(), nullptr);
}

int run_command_line(int argc, char **argv)
{
    const std::span<char *> words(argv + 1, static_cast<size_t>(argc - 1));
    Grammar grammar;
    Arguments arguments;
    arguments.color = isatty(STDOUT_FILENO) && getenv("NO_COLOR") == nullptr;
    check_first_words(words);
    build(grammar, arguments);
    std::vector<std::string> line = words_of(words);
    std::reverse(line.begin(), line.end()); // the library takes them from the end
    try {
        grammar.app.parse(line);
    } catch (const CLI::ParseError &e) {
        return grammar.app.exit(e) == 0 ? 0 : 2;
    }
    take_choice(grammar, arguments);
    check_values(arguments);
    if (!arguments.socket.empty())
        bus_use_socket(arguments.socket.c_str());
    bus_start_time();
    arguments.command->run(arguments);
    return 0;
}
