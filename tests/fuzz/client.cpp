// What the client reads: lines of the daemon's log, records, texts of devices and of people.
#include <strings.h>

#include "tests/fuzz/input.h"
#include "tools/client/log.h"
#include "tools/client/names.h"
#include "tools/client/record.h"
#include "tools/client/signals.h"
#include "tools/client/text.h"

/** Lines, pieces of the input each: taken apart, matched, and read for numbers. */
void fuzz_logline(FuzzInput in) {
    while (in.left > 0) {
        const std::vector<uint8_t> bytes = in.piece();
        const std::string_view text(reinterpret_cast<const char *>(bytes.data()), bytes.size());
        const LogLine line = parse_log_line(text, false, 1, 1767225600);
        // The columns are pieces of the text, in order.
        fuzz_expect(line.levelAt + line.levelSize <= line.text.size() && line.messageAt <= line.text.size());
        fuzz_expect(line.levelAt <= line.functionAt && line.functionAt + line.functionSize <= line.text.size());
        for (const char *format : { VESK_TEXT_PASS, VESK_TEXT_STEP_CHIP, VESK_TEXT_SENT_CLIENT, VESK_TEXT_UNSELECTED })
            if (is_message_of(line.message(), format)) log_number(line, "scanItv");
    }
}

/** A record's bytes under each layout, to JSON and back; the rest of the input is a line of a record file. */
void fuzz_record(FuzzInput in) {
    const MethodLayout &row = vesk_method_layouts[in.byte() % std::size(vesk_method_layouts)];
    std::vector<uint8_t> record = in.piece(), back;
    record.resize(row.layout->size);
    const Json object = decode_record(*row.layout, record.data(), Secrets::Shown);
    fuzz_expect(cJSON_IsObject(object.get()));
    encode_record(*row.layout, Json::parse(object.line().c_str()).get(), back);
    fuzz_expect(back.size() == row.layout->size);

    const std::vector<uint8_t> rest = in.take(in.left);
    const std::string line(rest.begin(), rest.end());
    SeenSignal signal = {};
    if (parse_signal(line.c_str(), signal)) {
        const std::string shown = signal_line(signal, true);
        for (char c : shown) fuzz_expect(static_cast<unsigned char>(c) >= 0x20);
        fuzz_expect(static_cast<bool>(Json::parse(signal_json(signal, true).line().c_str())));
    }
}

/** An SSID or any other text of a device: made safe, measured, cut, escaped. And what people type: addresses, bytes. */
void fuzz_text(FuzzInput in) {
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
