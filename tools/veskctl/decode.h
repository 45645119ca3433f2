// From the bytes of a record or signal to JSON, and back, by the layouts of include/vesk_layouts.h.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <cjson/cJSON.h>

#include "include/vesk_layouts.h"

/** A record as a JSON object; arrays hold the used elements only, a figure marked absent is null. Caller
 * deletes. */
cJSON *decode_record(const RecordLayout &layout, const uint8_t *data);

/** A method's result field as JSON: object, or number. NULL for a method without one. */
cJSON *decode_result(const WireMethod &method, const std::vector<uint8_t> &record);

/** The layout row of a signal's full name, or NULL. */
const SignalLayout *signal_layout(std::string_view name);
/** A signal's payload as a JSON object; {"bytes": HEX} for one that is unknown, opaque or of another size. */
cJSON *decode_signal(std::string_view name, const std::vector<uint8_t> &payload);

/** Fills a record from a JSON object by field names. An empty text, or what is wrong. */
std::string encode_record(const RecordLayout &layout, const cJSON *object, std::vector<uint8_t> &record);

std::string to_hex(const uint8_t *data, size_t size);
/** Hexadecimal digits, blanks and colons allowed. False when it is none. */
bool from_hex(std::string_view text, std::vector<uint8_t> &bytes);
std::string mac_text(const uint8_t *mac);
bool parse_mac(std::string_view text, uint8_t *mac);
