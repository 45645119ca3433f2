#include "tools/veskctl/decode.h"

#include <cmath>
#include <cstdio>
#include <cstring>

#include "tools/veskctl/text.h"

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
std::string load_text(const uint8_t *from, uint32_t width)
{
    const auto *text = reinterpret_cast<const char *>(from);
    return clean_text({ text, strnlen(text, width) });
}

/** Whole numbers that a double can't hold exactly travel as text. */
cJSON *integer_value(int64_t value, bool isSigned)
{
    char text[24];
    if (isSigned)
        snprintf(text, sizeof text, "%lld", static_cast<long long>(value));
    else
        snprintf(text, sizeof text, "%llu", static_cast<unsigned long long>(value));
    return cJSON_CreateRaw(text);
}

cJSON *decode_element(const FieldLayout &field, const uint8_t *data)
{
    switch (field.kind) {
    case FieldKind::Int:
    case FieldKind::Unsigned: {
        const int64_t value = load_integer(data, field.width, field.kind == FieldKind::Int);
        return field.zeroIsAbsent && value == 0 ? cJSON_CreateNull()
                                                : integer_value(value, field.kind == FieldKind::Int);
    }
    case FieldKind::Float: {
        const double value = load_float(data, field.width);
        return (field.zeroIsAbsent && value == 0.0) || !std::isfinite(value) ? cJSON_CreateNull()
                                                                             : cJSON_CreateNumber(value);
    }
    case FieldKind::Text:
        return cJSON_CreateString(load_text(data, field.width).c_str());
    case FieldKind::Mac:
        return cJSON_CreateString(mac_text(data).c_str());
    case FieldKind::Record:
        return decode_record(*field.record, data);
    case FieldKind::Bytes:
        return cJSON_CreateString(to_hex(data, field.width).c_str());
    }
    return cJSON_CreateNull();
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

cJSON *decode_field(const RecordLayout &layout, const FieldLayout &field, const uint8_t *data)
{
    const uint8_t *at = data + field.offset;
    if (field.kind == FieldKind::Bytes)
        return cJSON_CreateString(to_hex(at, used_count(layout, field, data)).c_str());
    if (field.count == 1)
        return decode_element(field, at);
    cJSON *array = cJSON_CreateArray();
    const uint32_t used = used_count(layout, field, data);
    for (uint32_t i = 0; i < used; i++) {
        if (field.record && !field.countField && is_all_zero(at + i * field.width, field.width))
            continue; // an entry that nobody filled
        cJSON_AddItemToArray(array, decode_element(field, at + i * field.width));
    }
    return array;
}

std::string encode_element(const FieldLayout &field, const cJSON *value, uint8_t *to)
{
    const std::string where = std::string("\"") + field.name + "\"";
    switch (field.kind) {
    case FieldKind::Int:
    case FieldKind::Unsigned: {
        if (!cJSON_IsNumber(value))
            return where + " takes a number";
        const double low =
            field.kind == FieldKind::Int ? -std::ldexp(1.0, static_cast<int>(8 * field.width - 1)) : 0.0;
        const double high = low + std::ldexp(1.0, static_cast<int>(8 * field.width)) - 1.0;
        if (value->valuedouble < low || value->valuedouble > high ||
            value->valuedouble != std::floor(value->valuedouble))
            return where + " is out of range";
        const auto number = static_cast<int64_t>(value->valuedouble);
        memcpy(to, &number, field.width);
        return "";
    }
    case FieldKind::Float: {
        if (!cJSON_IsNumber(value))
            return where + " takes a number";
        const auto narrow = static_cast<float>(value->valuedouble);
        memcpy(to, field.width == sizeof narrow ? static_cast<const void *>(&narrow) : &value->valuedouble,
               field.width);
        return "";
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
        memcpy(to, bytes.data(), bytes.size());
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

int hex_digit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    c = static_cast<char>(c | 0x20);
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}
} // namespace

cJSON *decode_record(const RecordLayout &layout, const uint8_t *data)
{
    cJSON *object = cJSON_CreateObject();
    for (const FieldLayout &field : layout.fields)
        cJSON_AddItemToObject(object, field.name, decode_field(layout, field, data));
    return object;
}

cJSON *decode_result(const WireMethod &method, const std::vector<uint8_t> &record)
{
    const WireField &field = method.result;
    if (field.type == WireType::None || record.size() != field.size)
        return nullptr;
    if (field.type == WireType::Record)
        return decode_record(*vesk_layout_of(method.name, field.name), record.data());
    return integer_value(load_integer(record.data(), field.size, true), true);
}

const SignalLayout *signal_layout(std::string_view name)
{
    for (const SignalLayout &row : vesk_signals)
        if (name == row.name)
            return &row;
    return nullptr;
}

cJSON *decode_signal(std::string_view name, const std::vector<uint8_t> &payload)
{
    const SignalLayout *row = signal_layout(name);
    if (row && row->layout && row->size == payload.size())
        return decode_record(*row->layout, payload.data());
    cJSON *object = cJSON_CreateObject();
    cJSON_AddStringToObject(object, "bytes", to_hex(payload.data(), payload.size()).c_str());
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
        const FieldLayout *row = nullptr;
        for (const FieldLayout &f : layout.fields)
            if (std::string_view(f.name) == item->string)
                row = &f;
        if (!row)
            return std::string(layout.name) + " has no field \"" + item->string + "\"";
        const std::string error = encode_field(*row, item, record.data());
        if (!error.empty())
            return error;
    }
    return "";
}

std::string to_hex(const uint8_t *data, size_t size)
{
    static constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (size_t i = 0; i < size; i++) {
        text += digits[data[i] >> 4];
        text += digits[data[i] & 15];
    }
    return text;
}

bool from_hex(std::string_view text, std::vector<uint8_t> &bytes)
{
    bytes.clear();
    int high = -1;
    for (char c : text) {
        if (c == ' ' || c == ':')
            continue;
        const int digit = hex_digit(c);
        if (digit < 0)
            return false;
        if (high < 0) {
            high = digit;
        } else {
            bytes.push_back(static_cast<uint8_t>(high << 4 | digit));
            high = -1;
        }
    }
    return high < 0;
}

std::string mac_text(const uint8_t *mac)
{
    char text[18];
    snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4],
             mac[5]);
    return text;
}

bool parse_mac(std::string_view text, uint8_t *mac)
{
    std::vector<uint8_t> bytes;
    if (text.size() != 17 || !from_hex(text, bytes) || bytes.size() != 6)
        return false;
    memcpy(mac, bytes.data(), 6);
    return true;
}
