// A record as a row writes it: its size, then what isn't zero, as OFFSET:TYPE=VALUE,VALUE. Types: u8 u16 i32 u64 f32
// f64 (numbers), text, name (a text and 15 zeros behind), mac (02:00:00:00:00:LAST), sta (the station of the events),
// count (FIRST,HOW MANY: bytes that count up), fill (BYTE,HOW MANY), hex. In texts "_" is a blank, x*64 64 times x.
#pragma once

#include "tests/bytes.h"
#include "tests/rows.h"

/** The text that a word stands for. */
inline std::string plain(const std::string &word) {
    const size_t star = word.find('*');
    if (star == 1) return std::string(std::stoul(word.substr(2)), word[0]);
    return replaced(word, "_", " ");
}

template <class T>
T number(const std::string &word) {
    if constexpr (std::is_floating_point_v<T>)
        return static_cast<T>(strtod(word.c_str(), nullptr));
    else
        return static_cast<T>(strtoll(word.c_str(), nullptr, 0));
}

template <class T>
Bytes numbers(const Texts &values) {
    Bytes bytes;
    for (const std::string &value : values)
        for (const uint8_t byte : bytes_of(number<T>(value))) bytes.push_back(byte);
    return bytes;
}

/** The station of the events. */
inline const Bytes STA = { 0x02, 0x11, 0x22, 0x33, 0x44, 0x55 };

/** Two digits a byte; colons between them don't count. */
inline Bytes from_digits(const std::string &text) {
    Bytes bytes;
    const std::string digits = replaced(text, ":", "");
    for (size_t i = 0; i + 1 < digits.size(); i += 2)
        bytes.push_back(static_cast<uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    return bytes;
}

inline Bytes value_of(const std::string &type, const std::string &text) {
    const Texts values = split(text, ',');
    const auto value = [&](size_t i) { return number<int>(values.at(i)); };
    if (type == "u8") return numbers<uint8_t>(values);
    if (type == "u16") return numbers<uint16_t>(values);
    if (type == "i32") return numbers<int32_t>(values);
    if (type == "u64") return numbers<uint64_t>(values);
    if (type == "f32") return numbers<float>(values);
    if (type == "f64") return numbers<double>(values);
    if (type == "mac") return Bytes(6).mac(0, value(0));
    if (type == "sta") return STA;
    if (type == "count") return Bytes(static_cast<size_t>(value(1))).count(0, value(0), value(1));
    if (type == "fill") return Bytes(static_cast<size_t>(value(1)), static_cast<uint8_t>(value(0)));
    if (type == "hex") return from_digits(text);
    if (type == "name") return Bytes(16).text(0, plain(text));
    EXPECT_EQ(type, "text") << "no such type";
    const std::string letters = plain(text);
    return Bytes(letters.begin(), letters.end());
}

/** The record that a text stands for, put into these bytes if there are any. */
inline Bytes record_of(const std::string &text, Bytes record = {}) {
    const Texts tokens = split(text);
    if (!tokens.empty()) record.resize(std::stoul(tokens[0]));
    for (size_t i = 1; i < tokens.size(); i++) {
        const size_t colon = tokens[i].find(':'), equals = tokens[i].find('=');
        const std::string type = tokens[i].substr(colon + 1, equals - colon - 1), value = tokens[i].substr(equals + 1);
        record.put(std::stoul(tokens[i]), value_of(type, value));
    }
    return record;
}

/** How a record differs from what a row says of it; a row that begins with "*" says nothing of the other bytes. */
inline std::string record_difference(const std::vector<uint8_t> &got, std::string text) {
    if (!text.starts_with('*')) return first_difference(got, record_of(text));
    return first_difference(got, record_of(std::to_string(got.size()) + text.substr(1), got));
}

/** What stands between the braces behind this place; no braces: nothing. */
inline std::string braced(const std::string &step, size_t from = 0) {
    const size_t open = step.find('{', from);
    return open == std::string::npos ? "" : step.substr(open + 1, step.find('}', open) - open - 1);
}

/** Nothing is expected of a record that a step says nothing of. */
inline void expect_record(const std::vector<uint8_t> &got, const std::string &step) {
    const std::string difference = step.find('{') == std::string::npos ? "" : record_difference(got, braced(step));
    EXPECT_EQ(difference, "");
}
