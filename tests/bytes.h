// Bytes of records, for all tests.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

inline std::vector<uint8_t> bytes_at(const void *at, size_t size) {
    const auto *bytes = static_cast<const uint8_t *>(at);
    return { bytes, bytes + size };
}
template <class T>
std::vector<uint8_t> bytes_of(const T &value) {
    return bytes_at(&value, sizeof value);
}

/** A record put together by offset; everything not mentioned is zero. */
struct Bytes : std::vector<uint8_t> {
    using vector::vector;
    Bytes(const vector &bytes) : vector(bytes) {}

    Bytes &put(size_t at, const vector &bytes) {
        if (!bytes.empty()) static_cast<void>(this->at(at + bytes.size() - 1)); // ends the test that reaches behind it
        std::copy(bytes.begin(), bytes.end(), begin() + static_cast<long>(at));
        return *this;
    }
    /** Values one behind the other. */
    template <class T, class... V>
    Bytes &row(size_t at, V... values) {
        const T list[] = { static_cast<T>(values)... };
        return put(at, bytes_of(list));
    }
    // clang-format off
    template <class... V> Bytes &u8(size_t at, V... values) { return row<uint8_t>(at, values...); }
    template <class... V> Bytes &i32(size_t at, V... values) { return row<int32_t>(at, values...); }
    // clang-format on
    Bytes &mac(size_t at, int last) { return u8(at, 2).u8(at + 5, last); } // 02:00:00:00:00:LAST
    Bytes &text(size_t at, const std::string &s) { return put(at, Bytes(s.begin(), s.end())); }
    /** A name and the zeros behind it. */
    Bytes &name(size_t at, const std::string &s, size_t room = 16) { return put(at, Bytes(room)).text(at, s); }
    /** So many bytes that count up. */
    Bytes &count(size_t at, int first, int n) {
        for (int i = 0; i < n; i++) u8(at + static_cast<size_t>(i), first + i);
        return *this;
    }
};

/** A record's first differing byte, for a readable failure. */
inline std::string first_difference(const std::vector<uint8_t> &got, const Bytes &want) {
    const auto [is, should] = std::mismatch(got.begin(), got.end(), want.begin(), want.end());
    if (is == got.end() && should == want.end()) return "";
    return "offset " + std::to_string(is - got.begin()) + " of " + std::to_string(got.size()) + ", not " +
           std::to_string(want.size());
}
