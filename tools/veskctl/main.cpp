// veskctl: the command line client of vesk. Every command asks the daemon over the bus; records are read by
// the layouts of include/ alone.
#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <unistd.h>

#include <CLI/CLI.hpp>

#include "tools/veskctl/cli.h"

int main(int argc, char **argv)
{
    setlocale(LC_CTYPE, ""); // tables show what the terminal can, SSIDs in UTF-8 included
    CLI::App app{ "Client of the Wi-Fi service daemon vesk", "veskctl" };
    app.set_version_flag("--version", std::string("veskctl ") + VESK_VERSION);
    app.add_flag("--json", options.json, "Print JSON instead of tables");
    app.require_subcommand(1);
    app.fallthrough(); // --json may stand behind the command, too
    options.color = isatty(STDOUT_FILENO) && getenv("NO_COLOR") == nullptr;
    add_query_commands(app);
    add_scan_commands(app);
    add_station_commands(app);
    add_control_commands(app);
    add_watch_commands(app);
    add_overview_commands(app);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &e) {
        return app.exit(e) == 0 ? 0 : 2;
    }
    ctl_disconnect();
    if (!output_works())
        fail(std::string("can't write to standard output: ") + strerror(errno));
    return 0;
}
