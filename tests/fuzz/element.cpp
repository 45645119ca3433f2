// Elements of a beacon, off the air.
#include "platform/nl80211/element.h"
#include "tests/fuzz/input.h"

#include <cstring>

using namespace radio;

void fuzz_one(FuzzInput in) {
    const std::vector<uint8_t> bytes = in.take(in.left);
    char ssid[33], security[32];
    element_ssid(bytes, ssid);
    element_security(bytes, 0x10, security);
    const uint16_t width = element_width(bytes);
    fuzz_expect(memchr(ssid, 0, sizeof ssid) && memchr(security, 0, sizeof security));
    fuzz_expect(width == 20 || width == 40 || width == 80 || width == 160);
}
