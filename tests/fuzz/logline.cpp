// Lines of the daemon's log, pieces of the input each: taken apart, matched, and read for numbers.
#include "tests/fuzz/input.h"
#include "tools/client/log.h"

void fuzz_one(FuzzInput in) {
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
