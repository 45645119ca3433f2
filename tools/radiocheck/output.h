// Output of other programs, and how to find something in it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

/** What a program prints; its errors are thrown away. False if it couldn't be run or ended with an error. */
bool run_program(std::vector<std::string> words, std::string &output);
bool has_program(const char *name);

/** First line of a file, without its end; "" if it can't be read. */
std::string first_line(const std::string &path);

std::vector<std::string> lines_of(std::string_view text);

/** What stands behind `key` at the beginning of a line, blanks before both left out; "" without. */
std::string behind(const std::string &text, const char *key);
/** The first word of it. */
std::string word_behind(const std::string &text, const char *key);
