#include "tools/client/record.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "tools/client/text.h"

namespace
{
/** An integer of 1, 2, 4 or 8 bytes at any address, sign-extended if it has one. */
int64_t load_integer(const uint8_t *from, uint32_t width, bool isSigned)
{
    uint64_t value = 0;
    memcpy(&value, from, width); // little-endian hosts only, as the records are the host's
    const unsigned shift = 64 - 8 * width;
    return isSigned ? static_cast<int64_t>(value << shift) >> shift : static_cast<int64_t>(value);
}
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__);

double load_float(const uint8_t *from, uint32_t width)
{
    if (width == sizeof(float)) {
        float value;
        memcpy(&value, from, sizeof value);
        return static_cast<double>(value);
    }
    double value;
    memcpy(&value, from, sizeof value);
    return value;
}

/** Nothing may steer a terminal, and JSON takes valid UTF-8 only. */
std::string load_text(const FieldLayout &field, const uint8_t *from, Secrets secrets)
{
    const std::string text = field_text(reinterpret_cast<const char *>(from), field.width);
    return field.isSecret && secrets == Secrets::Hidden && !text.empty() ? "********" : text;
}

/** Whole numbers that a double can't hold exactly travel as text. */
Json integer_value(int64_t value, bool isSigned)
{
    return Json::raw(isSigned ? std::to_string(value) : std::to_string(static_cast<uint64_t>(value)));
}

Json decode_element(const FieldLayout &field, const uint8_t *data, Secrets secrets)
{
    switch (field.kind) {
    case FieldKind::Int:
    case FieldKind::Unsigned: {
        const int64_t value = load_integer(data, field.width, field.kind == FieldKind::Int);
        const bool isAbsent =
            (field.zeroIsAbsent && value == 0) || (field.kind == FieldKind::Int && value < field.lowest);
        return isAbsent ? Json::null() : integer_value(value, field.kind == FieldKind::Int);
    }
    case FieldKind::Float: {
        const double value = load_float(data, field.width);
        return (field.zeroIsAbsent && value == 0.0) || !std::isfinite(value) ? Json::null()
                                                                             : Json::number(value);
    }
    case FieldKind::Text:
        return Json::text(load_text(field, data, secrets));
    case FieldKind::Mac:
        return Json::text(mac_text(data));
    case FieldKind::Record:
        return decode_record(*field.record, data, secrets);
    case FieldKind::Bytes:
        return Json::text(to_hex(data, field.width));
    }
    return Json::null();
}

/** Elements (or, for bytes, bytes) in use, as the record's count field tells. */
uint32_t used_count(const RecordLayout &layout, const FieldLayout &field, const uint8_t *data)
{
    const uint32_t limit = field.kind == FieldKind::Bytes ? field.width : field.count;
    if (!field.countField)
        return limit;
    for (const FieldLayout &f : layout.fields)
        if (std::string_view(f.name) == field.countField) {
            const int64_t used = load_integer(data + f.offset, f.width, f.kind == FieldKind::Int);
            return used < 0 ? 0 : used > limit ? limit : static_cast<uint32_t>(used);
        }
    return limit;
}

bool is_all_zero(const uint8_t *data, size_t size)
{
    for (size_t i = 0; i < size; i++)
        if (data[i] != 0)
            return false;
    return true;
}

Json decode_field(const RecordLayout &layout, const FieldLayout &field, const uint8_t *data, Secrets secrets)
{
    const uint8_t *at = data + field.offset;
    if (field.kind == FieldKind::Bytes)
        return Json::text(to_hex(at, used_count(layout, field, data)));
    if (field.count == 1)
        return decode_element(field, at, secrets);
    Json array = Json::array();
    const uint32_t used = used_count(layout, field, data);
    for (uint32_t i = 0; i < used; i++) {
        if (field.record && !field.countField && is_all_zero(at + i * field.width, field.width))
            continue; // an entry that nobody filled
        array.push(decode_element(field, at + i * field.width, secrets));
    }
    return array;
}

const FieldLayout *find_field(const RecordLayout &layout, std::string_view name)
{
    for (const FieldLayout &field : layout.fields)
        if (name == field.name)
            return &field;
    return nullptr;
}

/** Whether this is the name beside a value, which a record doesn't hold. */
bool is_name_of_value(const RecordLayout &layout, std::string_view key)
{
    constexpr std::string_view suffix = "Name";
    if (key.size() <= suffix.size() || key.substr(key.size() - suffix.size()) != suffix)
        return false;
    const FieldLayout *field = find_field(layout, key.substr(0, key.size() - suffix.size()));
    return field && field->naming != FieldNaming::None;
}

/** The reason behind the field's name, if it isn't one or doesn't fit. */
std::string encode_number(const FieldLayout &field, const cJSON *value, uint8_t *to)
{
    if (!cJSON_IsNumber(value))
        return " takes a number";
    if (field.kind == FieldKind::Float) {
        const auto narrow = static_cast<float>(value->valuedouble);
        memcpy(to, field.width == sizeof narrow ? static_cast<const void *>(&narrow) : &value->valuedouble,
               field.width);
        return "";
    }
    const double low =
        field.kind == FieldKind::Int ? -std::ldexp(1.0, static_cast<int>(8 * field.width - 1)) : 0.0;
    const double high = low + std::ldexp(1.0, static_cast<int>(8 * field.width)) - 1.0;
    if (value->valuedouble < low || value->valuedouble > high ||
        value->valuedouble != std::floor(value->valuedouble))
        return " is out of range";
    const auto number = static_cast<int64_t>(value->valuedouble);
    memcpy(to, &number, field.width);
    return "";
}

std::string encode_element(const FieldLayout &field, const cJSON *value, uint8_t *to)
{
    const std::string where = std::string("\"") + field.name + "\"";
    switch (field.kind) {
    case FieldKind::Int:
    case FieldKind::Unsigned:
    case FieldKind::Float: {
        const std::string error = encode_number(field, value, to);
        return error.empty() ? "" : where + error;
    }
    case FieldKind::Text:
        if (!cJSON_IsString(value) || strlen(value->valuestring) >= field.width)
            return where + " takes a text of at most " + std::to_string(field.width - 1) + " characters";
        memcpy(to, value->valuestring, strlen(value->valuestring));
        return "";
    case FieldKind::Mac:
        return cJSON_IsString(value) && parse_mac(value->valuestring, to) ? ""
                                                                          : where + " takes a MAC address";
    case FieldKind::Bytes: {
        std::vector<uint8_t> bytes;
        if (!cJSON_IsString(value) || !from_hex(value->valuestring, bytes) || bytes.size() > field.width)
            return where + " takes up to " + std::to_string(field.width) + " bytes in hexadecimal";
        std::copy(bytes.begin(), bytes.end(), to);
        return "";
    }
    case FieldKind::Record: {
        std::vector<uint8_t> inner;
        const std::string error = encode_record(*field.record, value, inner);
        if (error.empty())
            memcpy(to, inner.data(), inner.size());
        return error.empty() ? "" : where + ": " + error;
    }
    }
    return where + " can't be given";
}

std::string encode_field(const FieldLayout &field, const cJSON *value, uint8_t *record)
{
    if (field.count == 1)
        return encode_element(field, value, record + field.offset);
    if (!cJSON_IsArray(value) || cJSON_GetArraySize(value) > static_cast<int>(field.count))
        return std::string("\"") + field.name + "\" takes a list of at most " + std::to_string(field.count);
    uint32_t i = 0;
    const cJSON *item;
    cJSON_ArrayForEach(item, value)
    {
        const std::string error = encode_element(field, item, record + field.offset + field.width * i++);
        if (!error.empty())
            return error;
    }
    return "";
}

} // namespace

std::string value_name(const FieldLayout &field, int64_t value)
{
    const char *name = nullptr;
    switch (field.naming) {
    case FieldNaming::None:
        return "";
    case FieldNaming::VhtMcs:
        return vht_mcs_text(static_cast<int>(value));
    case FieldNaming::HeMcs:
        return he_mcs_text(static_cast<int>(value));
    case FieldNaming::Table:
        name = find_name(field.names, static_cast<int>(value));
        break;
    }
    return name ? name : "";
}

Json decode_record(const RecordLayout &layout, const uint8_t *data, Secrets secrets)
{
    Json object = Json::object();
    for (const FieldLayout &field : layout.fields) {
        object.put(field.name, decode_field(layout, field, data, secrets));
        if (field.naming != FieldNaming::None) {
            const int64_t value =
                load_integer(data + field.offset, field.width, field.kind == FieldKind::Int);
            object.put((std::string(field.name) + "Name").c_str(),
                       Json::text_or_null(value_name(field, value)));
        }
    }
    return object;
}

Json decode_result(const WireMethod &method, const std::vector<uint8_t> &record, Secrets secrets)
{
    const WireField &field = method.result;
    if (field.type == WireType::None || record.size() != field.size)
        return Json();
    if (field.type == WireType::Record)
        return decode_record(*vesk_layout_of(method.name, field.name), record.data(), secrets);
    return integer_value(load_integer(record.data(), field.size, true), true);
}

const SignalLayout *signal_layout(std::string_view name)
{
    for (const SignalLayout &row : vesk_signals)
        if (name == row.name)
            return &row;
    return nullptr;
}

Json decode_signal(std::string_view name, const std::vector<uint8_t> &payload)
{
    const SignalLayout *row = signal_layout(name);
    if (row && row->layout && row->size == payload.size())
        return decode_record(*row->layout, payload.data());
    Json object = Json::object();
    object.put("bytes", to_hex(payload.data(), payload.size()));
    return object;
}

std::string encode_record(const RecordLayout &layout, const cJSON *object, std::vector<uint8_t> &record)
{
    record.assign(layout.size, 0);
    if (!cJSON_IsObject(object))
        return std::string(layout.name) + " takes an object";
    const cJSON *item;
    cJSON_ArrayForEach(item, object)
    {
        const FieldLayout *row = find_field(layout, item->string);
        if (!row && is_name_of_value(layout, item->string))
            continue;
        if (!row)
            return std::string(layout.name) + " has no field \"" + item->string + "\"";
        const std::string error = encode_field(*row, item, record.data());
        if (!error.empty())
            return error;
    }
    return "";
}
