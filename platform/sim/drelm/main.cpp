// drelm: reads lines from a scenario file, from the FIFO, or from both in this order, and sends what they say
// to the event port on the loopback interface.
#include "platform/sim/drelm/drelm.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <arpa/inet.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include "include/vesk_event.h"
#include "platform/sim/station_list.h"

namespace
{

constexpr char FIFO_PATH[] = "/tmp/drelm.in";

int event_socket()
{
    static const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    return fd;
}

/** Not connected: an event that nobody was there to hear must not spoil the next one. */
void send_datagram(const void *datagram, size_t size)
{
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(VESK_EVENT_PORT);
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (sendto(event_socket(), datagram, size, 0, reinterpret_cast<const sockaddr *>(&to), sizeof to) < 0)
        fprintf(stderr, "drelm: sending failed: %s\n", strerror(errno));
}

/** Carries out all lines of a stream; the number of bad ones. */
int run_lines(FILE *in, const char *name)
{
    char *text = nullptr;
    size_t room = 0;
    int number = 0;
    int bad = 0;
    while (getline(&text, &room, in) >= 0) {
        std::string message;
        number++;
        if (drelm_run_line(text, send_datagram, message) == 0)
            continue;
        fprintf(stderr, "drelm: %s:%d: %s\n", name, number, message.c_str());
        bad++;
    }
    free(text);
    return bad;
}

int run_scenario(const char *path)
{
    FILE *in = fopen(path, "re");
    if (!in) {
        fprintf(stderr, "drelm: %s: %s\n", path, strerror(errno));
        return 1;
    }
    const int bad = run_lines(in, path);
    fclose(in);
    return bad > 0 ? 1 : 0;
}

/** Held open for writing as well, so that it doesn't end with the writer that leaves. */
int run_fifo()
{
    struct stat info;
    if (mkfifo(FIFO_PATH, 0600) != 0 && errno != EEXIST) {
        fprintf(stderr, "drelm: %s: %s\n", FIFO_PATH, strerror(errno));
        return 1;
    }
    const int fd = open(FIFO_PATH, O_RDWR | O_CLOEXEC);
    if (fd < 0 || fstat(fd, &info) != 0 || !S_ISFIFO(info.st_mode)) {
        fprintf(stderr, "drelm: %s: can't be used as a FIFO\n", FIFO_PATH);
        return 1;
    }
    FILE *in = fdopen(fd, "r");
    return in && run_lines(in, FIFO_PATH) == 0 ? 0 : 1;
}

int print_help(FILE *out, int status)
{
    fprintf(out,
            "Usage: drelm [--fifo] [SCENARIO]\n"
            "Sends event datagrams to 127.0.0.1:%d, as the lines of SCENARIO and then, with --fifo or\n"
            "without a SCENARIO, those written to %s tell it. Lines:\n",
            VESK_EVENT_PORT, FIFO_PATH);
    drelm_print_commands(out);
    return status;
}

} // namespace

int main(int argc, char **argv)
{
    drelm_share_stations(SIM_STATION_LIST);
    const char *scenario = nullptr;
    bool fifo = false;
    for (int i = 1; i < argc; i++) {
        if (strcmp(argv[i], "--help") == 0)
            return print_help(stdout, 0);
        if (strcmp(argv[i], "--fifo") == 0)
            fifo = true;
        else if (argv[i][0] == '-' || scenario)
            return print_help(stderr, 2);
        else
            scenario = argv[i];
    }
    const int status = scenario ? run_scenario(scenario) : 0;
    return fifo || !scenario ? run_fifo() : status;
}
