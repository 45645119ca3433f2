// An SSID or any other text of a device: made safe, measured, cut, escaped. And what people type: addresses, bytes.
#include <strings.h>

#include "tests/fuzz/input.h"
#include "tools/client/names.h"
#include "tools/client/text.h"

void fuzz_one(FuzzInput in) {
    const size_t cells = in.byte() % 40;
    const std::vector<uint8_t> bytes = in.take(in.left);
    const std::string_view text(reinterpret_cast<const char *>(bytes.data()), bytes.size());
    const std::string clean = clean_text(text);
    for (char c : clean) fuzz_expect(static_cast<unsigned char>(c) >= 0x20 && c != 0x7f);
    fuzz_expect(clean_text(clean) == clean);
    fuzz_expect(cells == 0 || cell_count(cut_text(clean, cells)) <= cells);
    fuzz_expect(html_escape(clean).find_first_of("<>\"'") == std::string::npos);

    uint8_t mac[6];
    if (parse_mac(text, mac))
        fuzz_expect(text.size() == 17 && strncasecmp(mac_text(mac).c_str(), text.data(), 17) == 0);
    std::vector<uint8_t> hex;
    if (from_hex(text, hex)) fuzz_expect(hex.size() <= text.size() / 2);
    band_of(text);
    bandwidth_of(text);
}
