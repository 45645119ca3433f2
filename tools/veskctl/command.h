// A command of the client is a row: its words, its parameters, its help, its function. The rows make the
// command line's grammar, the grouped help, the completion and the guess at a misspelled word.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

enum class Group : uint8_t { Looking, Overviews, Steering, Switches, AnythingElse };
inline constexpr const char *groupNames[] = { "Looking", "Overviews", "Steering", "Switches of the daemon",
                                              "Anything else" };

enum class Kind : uint8_t {
    Text,   // one word
    List,   // words up to the next option
    Number, // whole, within limits
    Real,   // likewise
    Flag,   // nothing behind it
};

/** A positional ("BAND") or an option ("--count", "-o,--output"). */
struct Parameter {
    const char *name;
    const char *help;
    Kind kind = Kind::Text;
    bool isRequired = false;
    long long low = 0, high = 0; // of a number
    const char *words = nullptr; // what may stand there ("on off"), for the completion; "@band", "@vap",
                                 // "@method", "@command" and "@file" are looked up
    bool isClosed = false;       // only these words may
    const char *short_name() const { return name[0] == '-' && name[1] != '-' ? name + 3 : name; }
};

class Arguments;

struct Command {
    const char *name;  // "backhaul info" stands below "backhaul"
    const char *alias; // another spelling, or NULL
    Group group;
    const char *help;
    std::span<const Parameter> parameters;
    void (*run)(const Arguments &); // NULL: only its subcommands do something
};

std::span<const Command> all_commands();
/** What every command takes. */
std::span<const Parameter> common_parameters();

/** What the command line gave. Names are those of the row, options with their dashes. */
class Arguments
{
public:
    bool json = false;
    bool color = false;   // standard output is a terminal and NO_COLOR isn't set
    bool secrets = false; // passphrases are shown
    std::string socket;   // of the broker; empty: the device's own

    const Command *command = nullptr;
    std::vector<std::vector<std::string>> values; // by parameter of the row
    std::vector<bool> given;

    bool has(const char *name) const { return given[index(name)]; }
    /** The word given, or "". */
    const std::string &text(const char *name) const;
    const std::vector<std::string> &list(const char *name) const { return values[index(name)]; }
    /** The number given, or the other. Limits have been checked. */
    long long number(const char *name, long long otherwise = 0) const;
    double real(const char *name) const;

private:
    size_t index(const char *name) const;
};

/** Parses and runs; the status to end with. */
int run_command_line(int argc, char **argv);

/** Prints what may stand next behind these words (the last one is begun), one per line. Status 3: names of
 * files. */
int complete(std::span<char *const> words);

// The functions of the rows.
void run_backhaul_auto(const Arguments &);
void run_backhaul_credential(const Arguments &);
void run_backhaul_info(const Arguments &);
void run_beacon_request(const Arguments &);
void run_block(const Arguments &);
void run_btm_request(const Arguments &);
void run_call(const Arguments &);
void run_capability(const Arguments &);
void run_channel(const Arguments &);
void run_channels(const Arguments &);
void run_explain_ready(const Arguments &);
void run_explain_scan(const Arguments &);
void run_interfaces(const Arguments &);
void run_kick(const Arguments &);
void run_log(const Arguments &);
void run_log_level(const Arguments &);
void run_log_to(const Arguments &);
void run_metrics(const Arguments &);
void run_monitor(const Arguments &);
void run_neighbors(const Arguments &);
void run_nol(const Arguments &);
void run_object(const Arguments &);
void run_polling(const Arguments &);
void run_radio(const Arguments &);
void run_radio_check(const Arguments &);
void run_radios(const Arguments &);
void run_record(const Arguments &);
void run_refresh(const Arguments &);
void run_report(const Arguments &);
void run_scan(const Arguments &);
void run_scan_trigger(const Arguments &);
void run_scanning(const Arguments &);
void run_station(const Arguments &);
void run_stations(const Arguments &);
void run_stats(const Arguments &);
void run_status(const Arguments &);
void run_support(const Arguments &);
void run_vap(const Arguments &);
void run_vaps(const Arguments &);
void run_vendor_ie(const Arguments &);
void run_version(const Arguments &);
void run_vlan(const Arguments &);
void run_watch(const Arguments &);
