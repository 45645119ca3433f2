// Bytes that a plain pointer may not reach: misaligned fields of packed records.
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

/** Reads a T from any address, aligned or not. */
template <class T>
T load_bytes(const void *from)
{
    static_assert(std::is_trivially_copyable_v<T>);
    T value;
    memcpy(&value, from, sizeof value);
    return value;
}

/** Writes a T to any address; name the type, store_bytes<uint16_t>(p, v), where the width matters. */
template <class T>
void store_bytes(void *to, T value)
{
    static_assert(std::is_trivially_copyable_v<T>);
    memcpy(to, &value, sizeof value);
}
