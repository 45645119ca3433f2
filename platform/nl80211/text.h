// Texts in fixed fields.
#pragma once

#include <cstddef>
#include <cstring>

namespace radio
{

/** Copies a text into a field, cut and terminated; the rest of the field is zero. */
template <size_t N>
void put_text(char (&field)[N], const char *text)
{
    memset(field, 0, N);
    for (size_t i = 0; i + 1 < N && text[i] != '\0'; i++)
        field[i] = text[i];
}

} // namespace radio
