// drelm for real radios: takes the lock, then hands each event to the daemon until it is told to end.
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include <arpa/inet.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>

#include "platform/nl80211/drelm/drelm.h"
#include "platform/nl80211/log.h"
#include "platform/nl80211/places.h"

namespace
{

volatile sig_atomic_t ends = 0;
int port = -1; // socket towards the daemon
radio::Drelm drelm;

/** Not connected: an event that nobody was there to hear must not spoil the next one. */
void send_datagram(const void *datagram, size_t size)
{
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(VESK_EVENT_PORT);
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (sendto(port, datagram, size, 0, reinterpret_cast<const sockaddr *>(&to), sizeof to) < 0)
        radio::log_once(radio::levelError, "sending failed: %s", strerror(errno));
}

/** Two would double every signal, and the daemon starts one whenever it finds none in the list of processes.
 */
bool take_lock()
{
    radio::Path path;
    if (!radio::place(path, "/var/run/drelm.lock"))
        return false;
    const int fd = open(path, O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0644);
    if (fd >= 0 && flock(fd, LOCK_EX | LOCK_NB) == 0)
        return true; // held until the process ends
    fprintf(stderr, "drelm: %s: %s\n", path,
            fd >= 0 && errno == EWOULDBLOCK ? "another one is running" : strerror(errno));
    return false;
}

int print_help(FILE *out, int status)
{
    fprintf(out,
            "Usage: drelm\n"
            "Sends what hostapd, wpa_supplicant and the kernel tell of the two radios to 127.0.0.1:%d, one "
            "datagram\n"
            "an event. Reads /usr/etc/vesk-radio.json.\n",
            VESK_EVENT_PORT);
    return status;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc > 1)
        return strcmp(argv[1], "--help") == 0 ? print_help(stdout, 0) : print_help(stderr, 2);
    radio::log_set_name("drelm");
    if (!take_lock())
        return 1;
    struct sigaction action = {};
    action.sa_handler = [](int) { ends = 1; };
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
    port = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    drelm_begin(drelm, send_datagram);
    while (!ends)
        drelm_turn(drelm, 5000); // a look is due before
    drelm_end(drelm);
    return 0;
}
