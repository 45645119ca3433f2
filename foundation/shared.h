// What scan threads and the main loop share without a lock. A value may be seen old, a record or a text torn
// between old and new or, with two writers at once, mixed; but nothing is undefined.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "foundation/vesk_utils.h"

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

/** Copies a record or a field that the main loop may be writing, byte by byte. */
template <class T>
void shared_get(T &to, const T &from)
{
    auto *copy = reinterpret_cast<uint8_t *>(&to);
    const auto *byte = reinterpret_cast<const uint8_t *>(&from);
    for (size_t i = 0; i < sizeof to; i++)
        copy[i] = flag_load(byte + i);
}

/** Writes a record or a field that scan threads may be reading: only the bytes that differ. */
template <class T>
void shared_put(T &to, const T &from)
{
    auto *byte = reinterpret_cast<uint8_t *>(&to);
    const auto *fresh = reinterpret_cast<const uint8_t *>(&from);
    for (size_t i = 0; i < sizeof to; i++)
        if (flag_load(byte + i) != fresh[i])
            flag_store(byte + i, fresh[i]);
}

/** Puts a text into a field of the model: cut, terminated, and nothing of a former text behind it. */
template <size_t N>
void vesk_set_text(char (&field)[N], const char *text)
{
    char fresh[N] = {};
    vesk_util_strncpy(fresh, text, N);
    shared_put(field, fresh);
}
