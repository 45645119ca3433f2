// From the bytes of a record or signal to JSON, and back, by the layouts.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/client/json.h"
#include "tools/client/layouts.h"

enum class Secrets : bool { Hidden, Shown };

/** A record as a JSON object; arrays hold the used elements only, a figure marked absent is null, a value
 * that has a name is followed by it ("curBw", "curBwName"), a key that is there reads "********" unless it is
 * to be shown. */
Json decode_record(const RecordLayout &layout, const uint8_t *data, Secrets secrets = Secrets::Hidden);

template <class T>
Json decode_as(const RecordLayout &layout, const T &record, Secrets secrets = Secrets::Hidden)
{
    return decode_record(layout, reinterpret_cast<const uint8_t *>(&record), secrets);
}

/** A method's result field as JSON: object, or number. No value for a method without one. */
Json decode_result(const WireMethod &method, const std::vector<uint8_t> &record,
                   Secrets secrets = Secrets::Hidden);

/** The layout row of a signal's full name, or NULL. */
const SignalLayout *signal_layout(std::string_view name);
/** A signal's payload as a JSON object; {"bytes": HEX} for one that is unknown, opaque or of another size. */
Json decode_signal(std::string_view name, const std::vector<uint8_t> &payload);

/** Fills a record from a JSON object by field names. An empty text, or what is wrong. */
std::string encode_record(const RecordLayout &layout, const cJSON *object, std::vector<uint8_t> &record);

/** What a value of the field is called, "" where it has no name. */
std::string value_name(const FieldLayout &field, int64_t value);

template <class T>
std::vector<uint8_t> bytes_of_record(const T &record)
{
    const auto *p = reinterpret_cast<const uint8_t *>(&record);
    return { p, p + sizeof record };
}
