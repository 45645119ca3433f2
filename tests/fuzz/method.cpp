// Bus calls: settings, then the calls, each the method's number and its message as a piece.
#include "bus/stub.h"
#include "include/vesk_methods.h"
#include "tests/fuzz/world.h"

void fuzz_one(FuzzInput in) {
    fuzz_start(in.byte());
    while (in.left > 0) {
        const char *method = vesk_methods[in.byte() % VESK_METHODS].name;
        const std::vector<uint8_t> fields = in.piece();
        std::vector<uint8_t> message(sizeof(blob_attr) + fields.size());
        std::copy(fields.begin(), fields.end(), message.begin() + sizeof(blob_attr));
        auto *head = reinterpret_cast<blob_attr *>(message.data());
        head->id_len = cpu_to_be32(static_cast<uint32_t>(message.size()));
        ubus_request_data request = {};
        onTamloPelkVeskDispatch(nullptr, TamloPelkVesk_object_get(), &request, method, head);
        fake_advance(3s); // what it put off
    }
}
