// veskctl: the command line client of vesk. Every command asks the daemon over the bus; records are read by
// the layouts alone.
#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <cstring>

#include "tools/client/bus.h"
#include "tools/veskctl/command.h"
#include "tools/veskctl/output.h"

int main(int argc, char **argv)
{
    setlocale(LC_CTYPE, ""); // tables show what the terminal can, SSIDs in UTF-8 included
    if (const char *socket = getenv("VESK_SOCKET"); socket && *socket)
        bus_use_socket(socket);
    if (argc > 1 && strcmp(argv[1], "--complete") == 0)
        return complete({ argv + 2, static_cast<size_t>(argc - 2) });
    const int status = run_command_line(argc, argv);
    bus_disconnect();
    if (!output_works())
        fail(std::string("can't write to standard output: ") + strerror(errno));
    return status;
}
