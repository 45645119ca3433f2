// The bus methods as data: names, arguments, results. The stub derives its policies, its dispatch and the
// bodies that it calls from these rows, clients their knowledge of the calls, the reference its text.
#pragma once

#include <array>
#include <iterator>

#include "include/vesk_wire.h"

enum class WireType : uint8_t { None, Int8, Int32, String, Record };

/** An argument or a result: its field name, its type, and for a record its exact size. */
struct WireField {
    const char *name;
    WireType type;
    uint32_t size;
};

struct WireMethod {
    const char *name;
    std::array<WireField, 2> args; // in call order; type None: not there
    WireField result;              // type None: the reply holds `return` only

    constexpr int argCount() const
    {
        return (args[0].type != WireType::None) + (args[1].type != WireType::None);
    }
};

constexpr WireField wire_i32(const char *name)
{
    return { name, WireType::Int32, 4 };
}
constexpr WireField wire_i8(const char *name)
{
    return { name, WireType::Int8, 1 };
}
constexpr WireField wire_text(const char *name)
{
    return { name, WireType::String, 0 };
}
template <class T>
constexpr WireField wire_record(const char *name)
{
    return { name, WireType::Record, sizeof(T) };
}

inline constexpr WireField wire_nothing = {};
inline constexpr WireField wire_band = wire_i32("band");
inline constexpr WireField wire_vap = wire_text("vapName");

// clang-format off
#define VESK_ARGUMENTS(...) { __VA_ARGS__ }
// clang-format on
#define METHOD(name, arguments, result) { #name, VESK_ARGUMENTS arguments, result },
inline constexpr WireMethod vesk_methods[] = {
#include "include/vesk_methods.inc"
};

/** How many there are; nowhere else does the figure stand. */
inline constexpr int VESK_METHODS = 38;
static_assert(std::size(vesk_methods) == VESK_METHODS,
              "with a method more or less VESK_METHODS changes, too");
