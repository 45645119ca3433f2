// Texts of hostapd: a reply to a command, or a file.
#include "platform/nl80211/ctrl.h"
#include "platform/nl80211/hostapd.h"
#include "tests/fuzz/input.h"

#include <cstring>

using namespace radio;

void fuzz_one(FuzzInput in) {
    std::vector<uint8_t> bytes = in.take(in.left);
    bytes.push_back(0);
    const char *text = reinterpret_cast<const char *>(bytes.data());
    char value[8];
    for (const char *name : { "key_mgmt", "flags", "" })
        if (ctrl_value(text, name, value)) fuzz_expect(memchr(value, 0, sizeof value));
    const Abilities abilities = hostapd_abilities(text);
    const Security security = hostapd_security(text);
    fuzz_expect(memchr(abilities.mode, 0, sizeof abilities.mode) &&
                memchr(security.passphrase, 0, sizeof security.passphrase));
    for (const int band : { 0, 1 }) {
        hostapd_modes(text, band, value, sizeof value);
        fuzz_expect(memchr(value, 0, sizeof value));
    }
    if (hostapd_file_value(text, "wlan0", "wpa_passphrase", value, sizeof value))
        fuzz_expect(memchr(value, 0, sizeof value));
}
