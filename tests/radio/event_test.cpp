// drelm on real radios: what it sends to the daemon's port, events.rows.
#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <thread>

#include "include/vesk_event.h"
#include "tests/radio/script.h"

namespace {

/** Writes what is sent to the daemon's port, while the daemon isn't there, into /tmp/heard: "ID IF BYTES". */
struct Port {
    std::ofstream heard{ "/tmp/heard" };
    int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    std::jthread reader;

    Port() {
        const sockaddr_in address = { AF_INET, htons(VESK_EVENT_PORT), { htonl(INADDR_LOOPBACK) }, {} };
        EXPECT_EQ(bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
        const timeval often = { 0, 200000 };
        setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &often, sizeof often);
        reader = std::jthread([this](std::stop_token stop) {
            while (!stop.stop_requested()) read();
        });
    }
    ~Port() {
        reader = {};
        close(fd);
    }
    void read() {
        uint8_t bytes[VESK_EVENT_MAX];
        const ssize_t size = recv(fd, bytes, sizeof bytes, 0);
        VeskEventHeader header;
        if (size < static_cast<ssize_t>(sizeof header)) return;
        memcpy(&header, bytes, sizeof header);
        std::string text = std::to_string(header.eventId) + " " + header.ifName + " ";
        char pair[3];
        for (ssize_t i = sizeof header; i < size; i++) {
            snprintf(pair, sizeof pair, "%02x", bytes[i]);
            text += pair;
        }
        heard << text + "\n" << std::flush;
    }
};

struct Event : testing::Test {
    static inline Port *port;

    static void SetUpTestSuite() {
        port = new Port;
        sh("sed -i '1s/{/{\"monitor\": true,/' /usr/etc/vesk-radio.json");
        sh("/vesk/lib/nl80211/drelm >/tmp/drelm.log 2>&1 &");
        EXPECT_TRUE(within(10s, [] { return sh("grep -c 'wlan[01][bso]\\?: attached' /tmp/drelm.log") == "6\n"; }))
            << sh("cat /tmp/drelm.log");
        std::this_thread::sleep_for(300ms); // frames are asked for next
    }
    static void TearDownTestSuite() {
        sh("phone disable_network all; agent disconnect; killall drelm; while pidof drelm; do sleep 0.1; done;"
           " cp /etc/radio/vesk-radio.json /usr/etc/; iw dev veskmon0 del; iw dev veskmon1 del");
        delete port;
    }
};
[[maybe_unused]] const bool isReady = add_tests<Event>("Event", "events.rows");

} // namespace
