// A record's bytes under each layout, to JSON and back; the rest of the input is a line of a record file.
#include "tools/client/record.h"
#include "tests/fuzz/input.h"
#include "tools/client/signals.h"

void fuzz_one(FuzzInput in) {
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
