// Access to bytes and flags that a plain pointer may not reach: misaligned fields of packed records,
// counts from outside, and flags shared between a scan thread and the main loop.
#pragma once

#include <algorithm>
#include <atomic>
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

/** A count from outside, brought into 0..limit. */
constexpr int vesk_clamp_count(int value, int limit)
{
    return std::clamp(value, 0, limit);
}

/** Whether a 6-byte MAC is 00:00:00:00:00:00. */
inline bool mac_is_zero(const uint8_t *mac)
{
    constexpr uint8_t zero[6] = {};
    return memcmp(mac, zero, sizeof zero) == 0;
}

/** Relaxed read of a flag that another thread may write; the member must be aligned for T. */
template <class T>
T flag_load(const T *flag)
{
    return std::atomic_ref<T>(*const_cast<T *>(flag)).load(std::memory_order_relaxed);
}

/** Relaxed write of such a flag. */
template <class T>
void flag_store(T *flag, std::type_identity_t<T> value)
{
    std::atomic_ref<T>(*flag).store(value, std::memory_order_relaxed);
}
