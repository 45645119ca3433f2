// A line taken apart: words, options of the form name=value, and flags. Each getter marks the words it has
// looked at, so that a word nobody asked for can be refused; the first mistake is kept in `error`.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

struct Line {
    std::vector<std::string> words; // the command first
    std::vector<bool> used;
    std::string error;
};

Line line_split(const char *text);

/** Word at a position, behind the command from 1; a missing one is a mistake and gives an empty text. */
const char *line_word(Line &line, size_t at, const char *what);
/** Value of "name=value", or NULL. */
const char *line_option(Line &line, const char *name);
bool line_flag(Line &line, const char *name);
/** Option as a number, decimal or 0x; `fallback` if it isn't there. */
int64_t line_number(Line &line, const char *name, int64_t low, int64_t high, int64_t fallback);
float line_float(Line &line, const char *name, float fallback);
/** Option as a text in a zeroed field, which keeps a terminator. */
void line_text(Line &line, const char *name, char *field, size_t size);

int64_t to_number(Line &line, const char *text, const char *what, int64_t low, int64_t high);
double to_seconds(Line &line, const char *text);
void to_mac(Line &line, const char *text, uint8_t *mac);
/** Hexadecimal digits to at most `max` bytes; the number of bytes. */
size_t to_bytes(Line &line, const char *text, uint8_t *bytes, size_t max);

void line_refuse(Line &line, const std::string &why);
/** A word that no getter has asked for is a mistake. */
void line_refuse_rest(Line &line);
